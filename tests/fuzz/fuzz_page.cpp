// Reads any bytes as the HTML page of a description. No picture of it is looked for outside of the project.

#include "check/page.h"
#include "check/projecttree.h"

#include <QFile>
#include <QTemporaryDir>

#include <cstdint>
#include <optional>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("en.html"));
    QFile file(path);
    const auto length = static_cast<qint64>(size);
    if (!file.open(QIODevice::WriteOnly) || file.write(reinterpret_cast<const char *>(data), length) != length)
        qFatal("Cannot write the input");
    file.close();

    const std::optional<Check::Page> page = Check::readPage(folder.path(), QStringLiteral("en.html"));
    if (!page)
        qFatal("Cannot read the input");
    for (const Check::Picture &picture : page->pictures) {
        if (picture.path && (Check::isAbsolutePath(*picture.path) || Check::climbsOut(*picture.path)))
            qFatal("A picture outside of the project: %s", qPrintable(picture.source));
    }
    return 0;
}
