#include "io/wholefile.h"

#include "io/regularfile.h"

#include <algorithm>

FileResult<QByteArray> readWholeFile(const QString &path, qint64 most)
{
    constexpr qint64 STEP = 65536;
    RegularFile file;
    if (const auto opened = file.open(path); !opened)
        return opened.error();
    const FileError tooLarge{path, QStringLiteral("Is larger than %1 bytes").arg(most)};
    if (file.size() > most)
        return tooLarge;
    // The file may have grown since; some files of the system report no size at all.
    QByteArray content(file.size() + 1, Qt::Uninitialized);
    qint64 size = 0;
    while (true) {
        const auto count = file.read(content.data() + size, content.size() - size);
        if (!count)
            return count.error();
        size += *count;
        if (size > most)
            return tooLarge;
        if (*count == 0)
            break;
        if (size == content.size())
            content.resize(std::min(2 * size + STEP, most + 1));
    }
    content.resize(size);
    return content;
}

FileResult<QByteArray> readBeginning(const QString &path, qint64 count)
{
    RegularFile file;
    if (const auto opened = file.open(path); !opened)
        return opened.error();
    QByteArray content(count, Qt::Uninitialized);
    qint64 size = 0;
    while (size < count) {
        const auto read = file.read(content.data() + size, count - size);
        if (!read)
            return read.error();
        if (*read == 0)
            break;
        size += *read;
    }
    content.resize(size);
    return content;
}
