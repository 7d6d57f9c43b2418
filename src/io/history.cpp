#include "io/history.h"

#include "io/linktarget.h"
#include "io/platform.h"
#include "io/wholefile.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QStandardPaths>

#include <algorithm>
#include <optional>
#include <utility>

namespace {

constexpr qsizetype MAX_VERSIONS = 50;
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
    const QString target = behindLinks(path);
    return target.isEmpty() ? info.absoluteFilePath() : target;
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

// The draft gets its name when it is whole. It need not survive the system, so that the author does not wait for the
// disk while typing.
bool writeDraft(const QString &path, const QByteArray &content)
{
    const QString staged = QFileInfo(path).path() + QStringLiteral("/draft");
    QFile::remove(staged);
    QFile file(staged);
    const bool isWritten = file.open(QIODevice::WriteOnly | QIODevice::NewOnly, OWNER_FILE)
                           && file.write(content) == content.size() && file.flush();
    file.close();
    if (isWritten && file.error() == QFileDevice::NoError && QFile::rename(staged, path))
        return true;
    QFile::remove(staged);
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

/// The name of a version is its time, a number, the reason and the name of the file.
Reason reasonOf(const QString &versionName)
{
    const QString name = versionName.section(QLatin1Char('-'), 4, 4);
    for (const Reason reason : {Reason::Unsaved, Reason::Draft}) {
        if (name == reasonName(reason))
            return reason;
    }
    return Reason::Replaced;
}

/// What is never removed: drafts, and of each file the newest version and the newest unsaved text, which may be all
/// that is left of somebody's work. To be asked for every version, the newest first.
class Lasting
{
public:
    bool add(const QFileInfo &version)
    {
        const Reason reason = reasonOf(version.fileName());
        // A draft is no version yet: the next one takes its place.
        if (reason == Reason::Draft)
            return true;
        const QString folder = version.path();
        const bool isNewest = isFirst(folder, &newest);
        return (reason == Reason::Unsaved && isFirst(folder, &newestUnsaved)) || isNewest;
    }

private:
    static bool isFirst(const QString &folder, QSet<QString> *folders)
    {
        const bool isFirst = !folders->contains(folder);
        folders->insert(folder);
        return isFirst;
    }

    QSet<QString> newest;
    QSet<QString> newestUnsaved;
};

// By their order only: a date may come from a clock that was wrong.
void removeOld(const QString &fileFolder)
{
    Lasting ofFile;
    qsizetype count = 0;
    const QFileInfoList versionsOfFile = versions(fileFolder);
    for (const QFileInfo &version : versionsOfFile) {
        if (!ofFile.add(version) && count >= MAX_VERSIONS)
            removeVersion(version);
        count += reasonOf(version.fileName()) == Reason::Draft ? 0 : 1;
    }

    Lasting ofAll;
    qint64 bytes = 0;
    const QFileInfoList all = versions(historyFolder());
    for (const QFileInfo &version : all) {
        bytes += version.size();
        if (!ofAll.add(version) && bytes > MAX_BYTES)
            removeVersion(version);
    }
}

/// Returns the path of the new version; empty when there is none.
QString keepIn(const QString &folder, const QString &path, const QByteArray &content, Reason reason)
{
    if (!makeOwnFolder(historyFolder()) || !makeOwnFolder(folder))
        return {};
    // It is empty when the program was killed before it could fill it.
    const QString origin = originOf(folder);
    if (QFileInfo(origin).size() == 0) {
        QFile::remove(origin);
        writeNew(origin, path.toUtf8() + '\n');
    }

    // Another window may keep a version of the same file in the same millisecond.
    const QString time = timeName(QDateTime::currentDateTimeUtc());
    const auto write = reason == Reason::Draft ? &writeDraft : &writeNew;
    for (int attempt = 0; attempt < 100; ++attempt) {
        const QString name = QStringLiteral("%1-%2-%3-%4")
                                 .arg(time)
                                 .arg(attempt, 2, 10, QLatin1Char('0'))
                                 .arg(reasonName(reason), shortened(QFileInfo(path).fileName()));
        QString version = folder + QLatin1Char('/') + name;
        if (write(version, content))
            return version;
        if (!QFile::exists(version))
            return {};
    }
    return {};
}

/// The same, for which the folder may be removed by another window before there is a version in it.
QString keepInFolder(const QString &path, const QByteArray &content, Reason reason)
{
    if (content.size() > MAX_BYTES)
        return {};
    const QString folder = folderOf(path);
    QString version = keepIn(folder, path, content, reason);
    if (version.isEmpty() && !QFileInfo::exists(folder))
        version = keepIn(folder, path, content, reason);
    if (version.isEmpty())
        qDebug() << "No history of" << path << "in" << folder;
    return version;
}

bool keep(const QString &path, const QByteArray &content, Reason reason, Pruning pruning)
{
    const bool isKept = !keepInFolder(path, content, reason).isEmpty();
    if (isKept && pruning == Pruning::Now)
        removeOld(folderOf(path));
    return isKept;
}

bool holds(const QString &path, const QByteArray &content)
{
    return readWholeFile(path, content.size()) == content;
}

bool isLastUnsaved(const QString &file, const QByteArray &content)
{
    const QFileInfoList all = versions(folderOf(file));
    const auto last = std::find_if(all.cbegin(), all.cend(), [](const QFileInfo &version) {
        return reasonOf(version.fileName()) == Reason::Unsaved;
    });
    return last != all.cend() && holds(last->filePath(), content);
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
        return *old == newContent || keep(canonical(path), *old, Reason::Replaced, pruning);
    if (!QFileInfo(path).isFile())
        return true;
    qDebug() << "No history of" << path << "which cannot be read";
    return false;
}

bool keepUnsaved(const QString &path, const QByteArray &content)
{
    const QString file = canonical(path);
    return holds(path, content) || isLastUnsaved(file, content) || keep(file, content, Reason::Unsaved, Pruning::Now);
}

bool Drafts::keep(const QString &path, const QByteArray &content)
{
    const QString file = canonical(path);
    keepThoseOfOthers(file);
    const QString draft = keepInFolder(file, content, Reason::Draft);
    if (draft.isEmpty())
        return false;
    const QString before = std::exchange(own[file], draft);
    if (!before.isEmpty())
        QFile::remove(before);
    return true;
}

void Drafts::remove(const QString &path)
{
    const QString draft = own.take(canonical(path));
    if (!draft.isEmpty())
        removeVersion(QFileInfo(draft));
}

void Drafts::removeSaved(const QString &path)
{
    keepThoseOfOthers(canonical(path));
    remove(path);
}

void Drafts::keepThoseOfOthers(const QString &file)
{
    if (settled.contains(file))
        return;
    settled.insert(file);
    const QFileInfoList all = versions(folderOf(file));
    for (const QFileInfo &version : all) {
        const QString name = version.fileName();
        if (reasonOf(name) != Reason::Draft)
            continue;
        const std::optional<QByteArray> content = readWholeFile(version.filePath(), MAX_BYTES);
        if (content && holds(file, *content)) {
            removeVersion(version);
        } else {
            const QString unsaved = name.section(QLatin1Char('-'), 0, 3) + QLatin1Char('-')
                                    + reasonName(Reason::Unsaved) + QLatin1Char('-')
                                    + name.section(QLatin1Char('-'), 5);
            QFile::rename(version.filePath(), version.dir().filePath(unsaved));
        }
    }
}

QString reasonName(Reason reason)
{
    switch (reason) {
    case Reason::Unsaved:
        return QStringLiteral("unsaved");
    case Reason::Draft:
        return QStringLiteral("draft");
    case Reason::Replaced:
        break;
    }
    return QStringLiteral("replaced");
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
        kept.append(
            {version.filePath(), moment, version.size(), reasonOf(version.fileName()), version.fileName() >= latest});
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
