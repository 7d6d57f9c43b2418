#include "history/version.h"

#include "io/folderwalk.h"
#include "io/linktarget.h"
#include "io/platform.h"
#include "io/wholefile.h"

#include <QCryptographicHash>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStandardPaths>

#include <algorithm>
#include <array>

namespace History {

namespace {

constexpr QFile::Permissions OWNER_FILE = QFile::ReadOwner | QFile::WriteOwner;
constexpr QFile::Permissions OWNER_FOLDER = OWNER_FILE | QFile::ExeOwner;

QString timeFormat()
{
    return QStringLiteral("yyyyMMdd-hhmmss-zzz");
}

/// Leaves room for the time and the reason in a name of 255 bytes, the most that a disk allows.
QString shortened(QString fileName)
{
    constexpr qsizetype MOST_BYTES_OF_NAME = 200;
    while (fileName.toUtf8().size() > MOST_BYTES_OF_NAME)
        fileName.remove(0, fileName.front().isHighSurrogate() ? 2 : 1);
    return fileName;
}

/// Names after this one are from the future. The minute is for another window that keeps something now.
QString lastName()
{
    return QDateTime::currentDateTimeUtc().addSecs(60).toString(timeFormat());
}

FileResult<> makeOwnFolder(const QString &path)
{
    // Another window may make it at the same moment, so only the outcome counts.
    if (!QFileInfo(path).isDir() && QDir().mkpath(QFileInfo(path).path()))
        QDir().mkdir(path, OWNER_FOLDER);
    if (QFileInfo(path).isDir())
        return {};
    return FileError{path, QStringLiteral("Cannot be made")};
}

FileResult<> writeNew(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly, OWNER_FILE))
        return FileError{path, file.errorString()};
    FileResult<> written;
    if (file.write(content) == content.size() && file.flush())
        written = syncFile(file);
    else
        written = FileError{path, file.errorString()};
    if (written)
        return written;
    // The file's own remove() does nothing once closing has failed, as it does on a full disk.
    file.close();
    QFile::remove(path);
    return written;
}

// The draft gets its name when it is whole. It need not survive the system, so that the author does not wait for the
// disk while typing.
FileResult<> writeDraft(const QString &path, const QByteArray &content)
{
    const QString staged = QFileInfo(path).path() + QStringLiteral("/draft");
    QFile::remove(staged);
    QFile file(staged);
    const bool isWritten = file.open(QIODevice::WriteOnly | QIODevice::NewOnly, OWNER_FILE)
                           && file.write(content) == content.size() && file.flush();
    if (isWritten && file.rename(path))
        return {};
    const FileError error{path, file.errorString()};
    file.close();
    QFile::remove(staged);
    return error;
}

FileResult<QString> addTo(const QString &folder, const QString &path, const QByteArray &content, Reason reason)
{
    for (const QString &needed : {historyFolder(), folder}) {
        if (const auto made = makeOwnFolder(needed); !made)
            return made.error();
    }
    // It is empty when the program was killed before it could fill it.
    const QString origin = folder + QLatin1Char('/') + ORIGIN_NAME;
    if (QFileInfo(origin).size() == 0) {
        QFile::remove(origin);
        (void)writeNew(origin, path.toUtf8() + '\n');
    }

    // Another window may keep a version of the same file in the same millisecond.
    const QString time = QDateTime::currentDateTimeUtc().toString(timeFormat());
    const auto write = reason == Reason::Draft ? &writeDraft : &writeNew;
    for (int attempt = 0;; ++attempt) {
        QString version = QStringLiteral("%1/%2-%3-%4-%5")
                              .arg(folder, time, QStringLiteral("%1").arg(attempt, 2, 10, QLatin1Char('0')),
                                   reasonName(reason), shortened(QFileInfo(path).fileName()));
        const auto written = write(version, content);
        if (written)
            return version;
        if (attempt == 99 || !QFile::exists(version))
            return written.error();
    }
}

} // namespace

QString reasonName(Reason reason)
{
    static constexpr std::array NAMES{"replaced", "unsaved", "draft"};
    return QString::fromLatin1(NAMES.at(static_cast<size_t>(reason)));
}

QString Version::name() const
{
    return QFileInfo(path).fileName();
}

QString Version::folder() const
{
    return QFileInfo(path).path();
}

QDateTime Version::time() const
{
    QDateTime moment = QDateTime::fromString(name().section(QLatin1Char('-'), 0, 2), timeFormat());
    moment.setTimeSpec(Qt::UTC);
    return moment;
}

Reason Version::reason() const
{
    const QString called = name().section(QLatin1Char('-'), 4, 4);
    for (const Reason reason : {Reason::Unsaved, Reason::Draft}) {
        if (called == reasonName(reason))
            return reason;
    }
    return Reason::Replaced;
}

QString Version::pathWithReason(Reason other) const
{
    const QChar dash = QLatin1Char('-');
    const QStringList parts{name().section(dash, 0, 3), reasonName(other), name().section(dash, 5)};
    return folder() + QLatin1Char('/') + parts.join(dash);
}

QString historyFolder()
{
    // Both programs must find it, so it is named after the vendor and the editor, as the settings are.
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
           + QStringLiteral("/Orva model/Catalist/history");
}

QString canonical(const QString &path)
{
    const QFileInfo info(path);
    QString known = info.canonicalFilePath();
    if (!known.isEmpty())
        return known;
    const QString target = behindLinks(path);
    return target.isEmpty() ? info.absoluteFilePath() : target;
}

QString folderOfVersions(const QString &file)
{
    const QByteArray key = QCryptographicHash::hash(file.toUtf8(), QCryptographicHash::Sha1).toHex();
    return historyFolder() + QLatin1Char('/') + QString::fromLatin1(key);
}

QList<Version> versionsIn(const QString &folder)
{
    static const QRegularExpression named(QStringLiteral("^[0-9].*-[0-9].*-[0-9].*-[0-9].*-"));
    const QString last = lastName();
    QList<Version> found;
    walk({}, folder, [&](const WalkEntry &entry) {
        const QString name = entry.info.fileName();
        if (entry.kind == WalkEntry::File && !entry.isLink && named.match(name).hasMatch())
            found.append({entry.info.filePath(), entry.info.size(), name >= last});
        return entry.isLink && !entry.isStart ? WalkStep::Skip : WalkStep::GoOn;
    });
    // Names begin with the time.
    std::sort(found.begin(), found.end(), [](const Version &a, const Version &b) {
        return a.isFromFuture == b.isFromFuture ? a.name() > b.name() : b.isFromFuture;
    });
    return found;
}

FileResult<QString> addVersion(const QString &file, const QByteArray &content, Reason reason)
{
    const QString folder = folderOfVersions(file);
    if (content.size() > MOST_BYTES)
        return FileError{file, QStringLiteral("Is larger than %1 bytes").arg(MOST_BYTES)};
    auto added = addTo(folder, file, content, reason);
    // Another window may remove the folder before there is a version in it.
    if (!added && !QFileInfo::exists(folder))
        added = addTo(folder, file, content, reason);
    if (!added)
        qDebug() << "No history of" << file << "in" << folder;
    return added;
}

void removeVersion(const Version &version)
{
    QFile::remove(version.path);
    const QDir folder(version.folder());
    const QStringList left = folder.entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    if (left != QStringList{ORIGIN_NAME})
        return;
    const QString origin = folder.filePath(ORIGIN_NAME);
    const auto file = readWholeFile(origin, LARGEST_ORIGIN);
    QFile::remove(origin);
    // The folder stays when another window has just kept something in it.
    if (!QDir().rmdir(folder.path()) && file)
        (void)writeNew(origin, *file);
}

bool holds(const QString &path, const QByteArray &content)
{
    const auto read = readWholeFile(path, content.size());
    return read && *read == content;
}

} // namespace History
