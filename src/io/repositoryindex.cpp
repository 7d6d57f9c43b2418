#include "io/repositoryindex.h"

#include "io/filehash.h"
#include "io/platform.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <optional>
#include <utility>

namespace {

// By name ignoring case, as Qt sorts a folder; Qt leaves names that differ only in
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

/// One walk over what a listed path stands for.
class FileWalk
{
public:
    FileWalk(const QString &folder, const WalkVisitor &visited) : projectDir(folder), visitor(visited) { }

    void appendFile(const QString &name, const QString &parentPath)
    {
        const QFileInfo info(parentPath + QLatin1Char('/') + name);
        if (info.isFile())
            visitor.file(info, prefix ? *prefix + withSlashes(name) : relativePath(info));
        else if (info.isDir())
            appendFolder(info);
        else if (visitor.neither)
            visitor.neither(info);
    }

private:
    void appendFolder(const QFileInfo &folder)
    {
        if (visitor.enters && !visitor.enters(folder))
            return;
        const std::optional<QString> outer = std::exchange(prefix, prefixOf(folder));
        const QStringList names = entryNames(folder.filePath());
        for (const QString &name : names)
            appendFile(name, folder.filePath());
        prefix = outer;
    }

    [[nodiscard]] QString prefixOf(const QFileInfo &folder) const
    {
        // Not after the change of backslashes: a name may end in one. A folder above ends in a slash.
        const QString path = projectDir.relativeFilePath(folder.filePath());
        if (path == QLatin1String("."))
            return QLatin1String("");
        return withSlashes(path.endsWith(QLatin1Char('/')) ? path : path + QLatin1Char('/'));
    }

    static QString withSlashes(QString path) { return path.replace(QLatin1Char('\\'), QLatin1Char('/')); }

    [[nodiscard]] QString relativePath(const QFileInfo &info) const
    {
        return withSlashes(projectDir.relativeFilePath(info.filePath()));
    }

    QDir projectDir;
    const WalkVisitor &visitor;
    /// Of the files in the folder that is walked over; a listed path has none, and may have dots.
    std::optional<QString> prefix;
};

QJsonObject toObject(const QMap<QString, QString> &map, const QString &prefix)
{
    QJsonObject object;
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry)
        object.insert(entry.key(), QString(prefix + entry.value()));
    return object;
}

/// A file's entry before its values are set: a copy of it takes the keys over as a whole.
QJsonObject emptyEntry()
{
    return {
        {QStringLiteral("url"), QString()},
        {QStringLiteral("destination"), QString()},
        {QStringLiteral("hash"), QString()},
        {QStringLiteral("size"), 0},
    };
}

/// What the apps of one index share.
struct Export
{
    QString repoUrl;
    QString projectDir;
    IndexReport *report;
    FileHasher hasher{QCryptographicHash::Sha1};
    QJsonObject empty = emptyEntry();
};

QJsonObject fileObject(const QFileInfo &info, const QString &relativePath, Export *all)
{
    IndexReport *report = all->report;
    if (report->progress)
        report->progress(*report);
    const QString hash = all->hasher.hash(info.filePath());
    if (hash.isEmpty())
        report->unreadable.append(info.filePath());
    ++report->files;
    report->bytes += info.size();
    QJsonObject entry = all->empty;
    entry[QStringLiteral("url")] = QString(all->repoUrl + relativePath);
    entry[QStringLiteral("destination")] = QString(APPS_FOLDER + relativePath);
    entry[QStringLiteral("hash")] = hash;
    entry[QStringLiteral("size")] = info.size();
    return entry;
}

QJsonObject appObject(const AppConfig &app, Export *all)
{
    IndexReport *report = all->report;
    QJsonArray hardware;
    for (const qint32 id : app.hardware)
        hardware.append(id);

    ++report->apps;
    QJsonArray files;
    const WalkVisitor visitor{
        [&files, all](const QFileInfo &info, const QString &path) { files.append(fileObject(info, path, all)); },
        [report](const QFileInfo &folder) {
            if (!folder.isReadable())
                report->unreadable.append(folder.filePath());
            return true;
        },
        [report](const QFileInfo &entry) { report->missing.append(entry.filePath()); },
    };
    // A project folder that is gone has no canonical path; the entries must not be looked for at the root.
    if (!all->projectDir.isEmpty()) {
        for (const QString &file : app.files)
            walkListedPath(file, all->projectDir, visitor);
    }

    return {
        {QStringLiteral("id"), 0}, // clients tell apps apart by name
        {QStringLiteral("version"), app.version.toString()},
        {QStringLiteral("author"), app.author},
        {QStringLiteral("hw"), hardware},
        {QStringLiteral("releaseDate"), app.date.toString(Qt::TextDate)},
        {QStringLiteral("name"), toObject(app.names, {})},
        {QStringLiteral("description"), toObject(app.descriptions, all->repoUrl)},
        {QStringLiteral("previewIcon"), QString(all->repoUrl + app.icon)},
        {QStringLiteral("files"), files},
    };
}

} // namespace

void walkListedPath(const QString &listed, const QString &projectDir, const WalkVisitor &visitor)
{
    FileWalk(projectDir, visitor).appendFile(listed, projectDir);
}

bool isNamedByIndex(const QString &file, const QList<AppConfig> &apps, const QString &projectDir)
{
    const QString target = QFileInfo(file).canonicalFilePath();
    if (!target.startsWith(projectDir + QLatin1Char('/')))
        return false;
    bool isNamed = false;
    const auto compare = [&](const QFileInfo &info) { isNamed = isNamed || info.canonicalFilePath() == target; };
    WalkVisitor visitor;
    visitor.file = [&](const QFileInfo &info, const QString & /*path*/) { compare(info); };
    for (const AppConfig &app : apps) {
        const QStringList pages = QStringList{app.icon} + app.descriptions.values();
        for (const QString &page : pages)
            compare(QFileInfo(projectDir + QLatin1Char('/') + page));
        for (const QString &listed : app.files)
            walkListedPath(listed, projectDir, visitor);
    }
    return isNamed;
}

bool isSourceOfIndex(const QString &file, const QList<AppConfig> &apps, const QString &projectFile)
{
    const QString target = QFileInfo(file).canonicalFilePath();
    const QString folder = QFileInfo(projectFile).absoluteDir().canonicalPath();
    if (!QFileInfo(target).isFile() || target == folder + QLatin1Char('/') + INDEX_FILE_NAME)
        return false;
    return target == QFileInfo(projectFile).canonicalFilePath() || isNamedByIndex(target, apps, folder);
}

bool isRepositoryIndex(const QString &file)
{
    const QByteArray begin = "{\n    \"applications\": [";
    QFile index(file);
    return openRegularFile(&index).isEmpty() && index.read(begin.size()) == begin;
}

QString repositoryUrl(const QString &typed)
{
    return typed.endsWith(QLatin1Char('/')) ? typed : typed + QLatin1Char('/');
}

QJsonObject buildRepositoryIndex(const QList<AppConfig> &apps, const QString &repoUrl, const QString &projectDir,
                                 IndexReport *report)
{
    clearVectorRegisters();
    IndexReport unwatched;
    Export all{repoUrl, projectDir, report ? report : &unwatched};
    QJsonArray applications;
    for (const AppConfig &app : apps)
        applications.append(appObject(app, &all));
    return {{QStringLiteral("applications"), applications}};
}

bool writeRepositoryIndex(const QString &jsonFile, const QList<AppConfig> &apps, const QString &repoUrl,
                          const QString &projectDir, IndexReport *report)
{
    IndexReport unwatched;
    if (!report)
        report = &unwatched;
    QFile file(jsonFile);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text)) {
        report->error = file.errorString();
        return false;
    }
    const QJsonDocument index(buildRepositoryIndex(apps, repoUrl, projectDir, report));
    file.write(index.toJson(QJsonDocument::Indented));
    file.close();
    if (file.error() != QFileDevice::NoError)
        report->error = file.errorString();
    return true;
}
