#include "io/wholefile.h"

#include "io/platform.h"

#include <QFile>

#include <algorithm>

FileResult<QByteArray> readWholeFile(const QString &path, qint64 most)
{
    constexpr qint64 STEP = 65536;
    QFile file(path);
    if (const auto opened = openRegularFile(&file); !opened)
        return opened.error();
    const FileError tooLarge{path, QStringLiteral("Is larger than %1 bytes").arg(most)};
    if (file.size() > most)
        return tooLarge;
    // The file may have grown since; some files of the system report no size at all.
    QByteArray content(file.size() + 1, Qt::Uninitialized);
    qint64 size = 0;
    while (true) {
        const qint64 count = file.read(content.data() + size, content.size() - size);
        if (count < 0)
            return FileError{path, file.errorString()};
        size += count;
        if (size > most)
            return tooLarge;
        if (count == 0)
            break;
        if (size == content.size())
            content.resize(std::min(2 * size + STEP, most + 1));
    }
    content.resize(size);
    return content;
}

FileResult<QByteArray> readBeginning(const QString &path, qint64 count)
{
    QFile file(path);
    if (const auto opened = openRegularFile(&file); !opened)
        return opened.error();
    QByteArray content = file.read(count);
    if (file.error() != QFileDevice::NoError)
        return FileError{path, file.errorString()};
    return content;
}
