#include "io/repositoryindex.h"

#include "io/filehash.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <utility>

namespace {

// By name ignoring case, as the toolkit sorts a folder; the toolkit leaves names that differ only in
// case in the order of the disk, here the code points decide, so that the index is the same everywhere.
QStringList entryNames(const QString &folder)
{
    QList<std::pair<QString, QString>> entries;
    const QStringList names = QDir(folder).entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot, QDir::Unsorted);
    entries.reserve(names.size());
    for (const QString &name : names)
        entries.emplace_back(name.toLower(), name);
    std::sort(entries.begin(), entries.end());

    QStringList sorted;
    sorted.reserve(entries.size());
    for (const auto &entry : std::as_const(entries))
        sorted.append(entry.second);
    return sorted;
}

/// Collects the file entries of one app.
class FileWalk
{
public:
    FileWalk(QString url, const QString &folder) : repoUrl(std::move(url)), projectDir(folder) { }

    QJsonArray files;

    void appendFile(const QString &name, const QString &parentPath)
    {
        const QString path = parentPath + QLatin1Char('/') + name;
        const QFileInfo info(path);
        if (info.isFile()) {
            files.append(fileObject(info));
        } else if (info.isDir()) {
            const QStringList entries = entryNames(path);
            for (const QString &entry : entries)
                appendFile(entry, path);
        }
    }

private:
    [[nodiscard]] QJsonObject fileObject(const QFileInfo &info) const
    {
        const QString relativePath =
            projectDir.relativeFilePath(info.filePath()).replace(QLatin1Char('\\'), QLatin1Char('/'));
        return {
            {QStringLiteral("url"), repoUrl + relativePath},
            {QStringLiteral("destination"), QStringLiteral("Apps/") + relativePath},
            {QStringLiteral("hash"), generateHash(info.filePath(), QCryptographicHash::Sha1)},
            {QStringLiteral("size"), info.size()},
        };
    }

    QString repoUrl;
    QDir projectDir;
};

QJsonObject toObject(const QMap<QString, QString> &map, const QString &prefix)
{
    QJsonObject object;
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry)
        object.insert(entry.key(), prefix + entry.value());
    return object;
}

QJsonObject appObject(const AppConfig &app, const QString &repoUrl, const QString &projectDir)
{
    QJsonArray hardware;
    for (const qint32 id : app.hardware)
        hardware.append(id);

    FileWalk walk(repoUrl, projectDir);
    // A project folder that is gone has no canonical path; the entries must not be looked for at the root.
    if (!projectDir.isEmpty()) {
        for (const QString &file : app.files)
            walk.appendFile(file, projectDir);
    }

    return {
        {QStringLiteral("id"), 0}, // clients tell apps apart by name
        {QStringLiteral("version"), app.version.toString()},
        {QStringLiteral("author"), app.author},
        {QStringLiteral("hw"), hardware},
        {QStringLiteral("releaseDate"), app.date.toString(Qt::TextDate)},
        {QStringLiteral("name"), toObject(app.names, {})},
        {QStringLiteral("description"), toObject(app.descriptions, repoUrl)},
        {QStringLiteral("previewIcon"), repoUrl + app.icon},
        {QStringLiteral("files"), walk.files},
    };
}

} // namespace

QJsonObject buildRepositoryIndex(const QList<AppConfig> &apps, const QString &repoUrl, const QString &projectDir)
{
    QJsonArray applications;
    for (const AppConfig &app : apps)
        applications.append(appObject(app, repoUrl, projectDir));
    return {{QStringLiteral("applications"), applications}};
}

bool writeRepositoryIndex(const QString &jsonFile, const QList<AppConfig> &apps, const QString &repoUrl,
                          const QString &projectDir)
{
    QFile file(jsonFile);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text))
        return false;
    file.write(QJsonDocument(buildRepositoryIndex(apps, repoUrl, projectDir)).toJson(QJsonDocument::Indented));
    return true;
}
