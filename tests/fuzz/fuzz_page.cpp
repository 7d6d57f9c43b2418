// Reads any bytes as the HTML page of a description. No picture of it is looked for outside of the project.

#include "check/page.h"
#include "check/projecttree.h"

#include <QFile>
#include <QTemporaryDir>

#include <cstdint>
#include <optional>
#include <utility>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("en.html"));
    QFile file(path);
    const auto length = static_cast<qint64>(size);
    if (!file.open(QIODevice::WriteOnly) || file.write(reinterpret_cast<const char *>(data), length) != length)
        qFatal("Cannot write the input");
    file.close();

    const std::optional<Page> page = readPage(path);
    if (!page)
        qFatal("Cannot read the input");
    for (const QString &source : std::as_const(page->pictures)) {
        const std::optional<QString> picture = pictureFile(QStringLiteral("doc/en.html"), source);
        if (picture && (isAbsolutePath(*picture) || climbsOut(*picture)))
            qFatal("A picture outside of the project: %s", qPrintable(source));
    }
    return 0;
}
