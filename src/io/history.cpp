#include "io/history.h"

#include "io/platform.h"
#include "io/wholefile.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <algorithm>
#include <optional>

namespace {

constexpr qsizetype MAX_VERSIONS = 50;
constexpr qint64 MAX_DAYS = 365;
constexpr qint64 MAX_BYTES = 200LL * 1000 * 1000;
constexpr qint64 LARGEST_ORIGIN = 100'000; // bytes; more than any path has
constexpr QFile::Permissions OWNER_FILE = QFile::ReadOwner | QFile::WriteOwner;
constexpr QFile::Permissions OWNER_FOLDER = OWNER_FILE | QFile::ExeOwner;

/// Two paths of one file share their versions, even before there is the file.
QString canonical(const QString &path)
{
    const QFileInfo info(path);
    QString known = info.canonicalFilePath();
    if (!known.isEmpty())
        return known;
    const QString folder = QFileInfo(info.absolutePath()).canonicalFilePath();
    return folder.isEmpty() ? info.absoluteFilePath() : QDir(folder).filePath(info.fileName());
}

/// Leaves room for the time and the reason in a name of 255 bytes.
QString shortened(QString fileName)
{
    constexpr qsizetype MAX_NAME = 200;
    while (fileName.toUtf8().size() > MAX_NAME)
        fileName.remove(0, fileName.front().isHighSurrogate() ? 2 : 1);
    return fileName;
}

QString timeName(const QDateTime &time)
{
    return time.toString(QStringLiteral("yyyyMMdd-hhmmss-zzz"));
}

bool makeOwnFolder(const QString &path)
{
    // Another window may make it at the same moment, so only the outcome counts.
    if (!QFileInfo(path).isDir() && QDir().mkpath(QFileInfo(path).path()))
        QDir().mkdir(path, OWNER_FOLDER);
    return QFileInfo(path).isDir();
}

bool writeNew(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly, OWNER_FILE))
        return false;
    if (file.write(content) == content.size() && file.flush() && reachedDisk(file))
        return true;
    // The file's own remove() does nothing once closing has failed, as it does on a full disk.
    file.close();
    QFile::remove(path);
    return false;
}

/// Later than this is what comes from a clock that was wrong. Another window may have kept something meanwhile.
QString latestName()
{
    return timeName(QDateTime::currentDateTimeUtc().addSecs(60));
}

/// Newest first. Names begin with the time, so their order is that of the versions; one that is later than now comes
/// from a clock that was wrong, and may be older than any.
QFileInfoList versions(const QString &folder)
{
    QFileInfoList found;
    QDirIterator entries(folder, {QStringLiteral("[0-9]*-[0-9]*-[0-9]*-[0-9]*-*")}, QDir::Files | QDir::NoSymLinks,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        entries.next();
        found.append(entries.fileInfo());
    }
    std::sort(found.begin(), found.end(),
              [](const QFileInfo &a, const QFileInfo &b) { return a.fileName() > b.fileName(); });
    const QString latest = latestName();
    std::stable_partition(found.begin(), found.end(),
                          [&latest](const QFileInfo &version) { return version.fileName() < latest; });
    return found;
}

QString originOf(const QString &folder)
{
    return folder + QStringLiteral("/origin.txt");
}

/// Together with its folder when that holds nothing else.
void removeVersion(const QFileInfo &version)
{
    QFile::remove(version.filePath());
    const QDir folder = version.dir();
    const QString origin = originOf(folder.path());
    const QStringList left = folder.entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    if (left != QStringList{QFileInfo(origin).fileName()})
        return;
    const std::optional<QByteArray> file = readWholeFile(origin, LARGEST_ORIGIN);
    QFile::remove(origin);
    // The folder stays when another window has just kept something in it.
    if (!QDir().rmdir(folder.path()) && file)
        writeNew(origin, *file);
}

/// Where the versions of a file lie, by its canonical path.
QString folderOf(const QString &path)
{
    const QByteArray key = QCryptographicHash::hash(path.toUtf8(), QCryptographicHash::Sha1).toHex();
    return historyFolder() + QLatin1Char('/') + QString::fromLatin1(key);
}

void removeOld(const QString &fileFolder)
{
    const QString oldest = QDateTime::currentDateTimeUtc().addDays(-MAX_DAYS).toString(QStringLiteral("yyyyMMdd"));
    const QFileInfoList ofFile = versions(fileFolder);
    for (qsizetype i = MAX_VERSIONS; i < ofFile.size(); ++i)
        removeVersion(ofFile.at(i));

    qint64 bytes = 0;
    const QFileInfoList all = versions(historyFolder());
    for (const QFileInfo &version : all) {
        bytes += version.size();
        if (bytes > MAX_BYTES || version.fileName() < oldest)
            removeVersion(version);
    }
}

bool keepIn(const QString &folder, const QString &path, const QByteArray &content, const char *reason)
{
    if (!makeOwnFolder(historyFolder()) || !makeOwnFolder(folder))
        return false;
    // It is empty when the program was killed before it could fill it.
    const QString origin = originOf(folder);
    if (QFileInfo(origin).size() == 0) {
        QFile::remove(origin);
        writeNew(origin, path.toUtf8() + '\n');
    }

    // Another window may keep a version of the same file in the same millisecond.
    const QString time = timeName(QDateTime::currentDateTimeUtc());
    for (int attempt = 0; attempt < 100; ++attempt) {
        const QString name = QStringLiteral("%1-%2-%3-%4")
                                 .arg(time)
                                 .arg(attempt, 2, 10, QLatin1Char('0'))
                                 .arg(QLatin1String(reason), shortened(QFileInfo(path).fileName()));
        const QString version = folder + QLatin1Char('/') + name;
        if (writeNew(version, content))
            return true;
        if (!QFile::exists(version))
            return false;
    }
    return false;
}

bool keep(const QString &path, const QByteArray &content, const char *reason, Pruning pruning)
{
    if (content.size() > MAX_BYTES)
        return false;
    const QString folder = folderOf(path);
    // Another window may remove the folder before there is a version in it.
    const bool isKept =
        keepIn(folder, path, content, reason) || (!QFileInfo::exists(folder) && keepIn(folder, path, content, reason));
    if (!isKept)
        qDebug() << "No history of" << path << "in" << folder;
    else if (pruning == Pruning::Now)
        removeOld(folder);
    return isKept;
}

} // namespace

QString historyFolder()
{
    // Named after the vendor and the program as the settings are; what was kept must be found again by both programs.
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
           + QStringLiteral("/Orva model/Catalist/history");
}

bool keepReplaced(const QString &path, const QByteArray &newContent, Pruning pruning)
{
    const std::optional<QByteArray> old = readWholeFile(path, MAX_BYTES);
    if (old)
        return *old == newContent || keep(canonical(path), *old, "replaced", pruning);
    if (!QFileInfo(path).isFile())
        return true;
    qDebug() << "No history of" << path << "which cannot be read";
    return false;
}

void keepUnsaved(const QString &path, const QByteArray &content)
{
    const std::optional<QByteArray> saved = readWholeFile(path, content.size());
    if (!saved || *saved != content)
        keep(canonical(path), content, "unsaved", Pruning::Now);
}

QList<KeptVersion> keptVersions(const QString &path)
{
    QList<KeptVersion> kept;
    const QFileInfoList found = versions(folderOf(canonical(path)));
    const QString latest = latestName();
    for (const QFileInfo &version : found) {
        const QString time = version.fileName().section(QLatin1Char('-'), 0, 2);
        QDateTime moment = QDateTime::fromString(time, QStringLiteral("yyyyMMdd-hhmmss-zzz"));
        moment.setTimeSpec(Qt::UTC);
        const QString reason = version.fileName().section(QLatin1Char('-'), 4, 4);
        kept.append({version.filePath(), moment, version.size(), reason == QLatin1String("unsaved"),
                     version.fileName() >= latest});
    }
    return kept;
}

QStringList filesInHistory(const QString &folder)
{
    const QString place = canonical(folder) + QLatin1Char('/');
    QStringList files;
    QDirIterator origins(historyFolder(), {QStringLiteral("origin.txt")}, QDir::Files, QDirIterator::Subdirectories);
    while (origins.hasNext()) {
        const QByteArray origin = readWholeFile(origins.next(), LARGEST_ORIGIN).value_or(QByteArray());
        const QString path = QString::fromUtf8(origin.chopped(origin.endsWith('\n') ? 1 : 0));
        if (path.startsWith(place))
            files.append(path);
    }
    files.sort();
    return files;
}
