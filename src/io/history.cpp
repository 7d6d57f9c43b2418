#include "io/history.h"

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
constexpr QFile::Permissions OWNER_FILE = QFile::ReadOwner | QFile::WriteOwner;
constexpr QFile::Permissions OWNER_FOLDER = OWNER_FILE | QFile::ExeOwner;

const QString &originName()
{
    static const QString name = QStringLiteral("origin.txt");
    return name;
}

/// Two paths of one file share their versions.
QString canonical(const QString &path)
{
    const QFileInfo info(path);
    const QString known = info.canonicalFilePath();
    return known.isEmpty() ? info.absoluteFilePath() : known;
}

std::optional<QByteArray> currentContent(const QString &path)
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    QByteArray content = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return std::nullopt;
    return content;
}

bool makeOwnFolder(const QString &path)
{
    return QFileInfo(path).isDir() || (QDir().mkpath(QFileInfo(path).path()) && QDir().mkdir(path, OWNER_FOLDER));
}

bool writeNew(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly, OWNER_FILE))
        return false;
    if (file.write(content) == content.size() && file.flush())
        return true;
    file.remove();
    return false;
}

/// Newest first. Names begin with the time, so their order is that of the versions.
QFileInfoList versions(const QString &folder)
{
    QFileInfoList found;
    QDirIterator entries(folder, QDir::Files | QDir::NoSymLinks, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        entries.next();
        if (entries.fileName() != originName())
            found.append(entries.fileInfo());
    }
    std::sort(found.begin(), found.end(),
              [](const QFileInfo &a, const QFileInfo &b) { return a.fileName() > b.fileName(); });
    return found;
}

void removeOld(const QString &fileFolder)
{
    const QString oldest = QDateTime::currentDateTimeUtc().addDays(-MAX_DAYS).toString(QStringLiteral("yyyyMMdd"));
    const QFileInfoList ofFile = versions(fileFolder);
    for (qsizetype i = MAX_VERSIONS; i < ofFile.size(); ++i)
        QFile::remove(ofFile.at(i).filePath());

    qint64 bytes = 0;
    const QFileInfoList all = versions(historyFolder());
    for (const QFileInfo &version : all) {
        bytes += version.size();
        if (bytes > MAX_BYTES || version.fileName() < oldest)
            QFile::remove(version.filePath());
    }
}

void keep(const QString &path, const QByteArray &content, const char *reason)
{
    if (content.size() > MAX_BYTES)
        return;
    const QString key = QString::fromLatin1(QCryptographicHash::hash(path.toUtf8(), QCryptographicHash::Sha1).toHex());
    const QString folder = historyFolder() + QLatin1Char('/') + key;
    if (!makeOwnFolder(historyFolder()) || !makeOwnFolder(folder)) {
        qDebug() << "No history of" << path << "in" << folder;
        return;
    }
    const QString origin = folder + QLatin1Char('/') + originName();
    if (!QFile::exists(origin))
        writeNew(origin, path.toUtf8() + '\n');

    // Another window may keep a version of the same file in the same millisecond.
    const QString time = QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-hhmmss-zzz"));
    for (int attempt = 0; attempt < 100; ++attempt) {
        const QString name = QStringLiteral("%1-%2-%3-%4")
                                 .arg(time)
                                 .arg(attempt, 2, 10, QLatin1Char('0'))
                                 .arg(QLatin1String(reason), QFileInfo(path).fileName());
        if (writeNew(folder + QLatin1Char('/') + name, content)) {
            removeOld(folder);
            return;
        }
    }
    qDebug() << "No history of" << path << "in" << folder;
}

} // namespace

QString historyFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
           + QStringLiteral("/Orva model/Catalist/history");
}

void keepReplaced(const QString &path, const QByteArray &newContent)
{
    const std::optional<QByteArray> old = currentContent(path);
    if (old && *old != newContent)
        keep(canonical(path), *old, "replaced");
}

void keepUnsaved(const QString &path, const QByteArray &content)
{
    const std::optional<QByteArray> saved = currentContent(path);
    if (!saved || *saved != content)
        keep(canonical(path), content, "unsaved");
}
