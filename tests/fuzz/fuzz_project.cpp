// Loads any bytes as a project. What was loaded once and saved is stable from then on.

#include "io/projectfile.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstdint>

using namespace Qt::StringLiterals;

namespace {

bool load(const QString &path, const QByteArray &content, QList<AppConfig> *apps)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("Cannot write the input");
    file.close();
    return static_cast<bool>(readProject(path, apps));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const QTemporaryDir folder;
    const QString path = folder.filePath(u"Apps.csv"_s);
    QList<AppConfig> apps;
    if (!load(path, QByteArray(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size)), &apps))
        return 0;

    // The first save drops what the format cannot hold.
    if (!load(path, projectContent(apps), &apps))
        return 0;
    const QByteArray saved = projectContent(apps);
    if (load(path, saved, &apps) && projectContent(apps) != saved)
        qFatal("Saving again changes the file");
    return 0;
}
