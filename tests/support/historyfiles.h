#pragma once

#include "folder.h"
#include "history/history.h"

#include <QByteArray>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QList>
#include <QRegularExpression>
#include <QString>
#include <QStringList>

// The folder of the history, read independently of the program.

/// Sets the folder of the user's data during its lifetime.
class DataHome
{
public:
    explicit DataHome(const QString &path) { qputenv("XDG_DATA_HOME", QFile::encodeName(path)); }
    ~DataHome() { qputenv("XDG_DATA_HOME", before); }
    Q_DISABLE_COPY_MOVE(DataHome)

private:
    QByteArray before = qgetenv("XDG_DATA_HOME");
};

/// The log message when nothing could be kept.
inline const QRegularExpression NO_HISTORY(QStringLiteral("^No history of "));

/// A version of a file in the history.
struct Version
{
    QString name;
    QByteArray content;
};

/// The path of the origin.txt that names the file; empty when there is none.
inline QString originPath(const QString &file)
{
    QDirIterator origins(History::historyFolder(), {QStringLiteral("origin.txt")}, QDir::Files,
                         QDirIterator::Subdirectories);
    while (origins.hasNext()) {
        const QString origin = origins.next();
        if (readFile(origin) == file.toUtf8() + '\n')
            return origin;
    }
    return {};
}

/// The files in the folder of a file's versions, newest first.
inline QStringList versionNames(const QString &file)
{
    const QString found = originPath(file);
    if (found.isEmpty())
        return {};
    QStringList entries = QFileInfo(found).dir().entryList(QDir::Files | QDir::Hidden, QDir::Name | QDir::Reversed);
    entries.removeOne(QStringLiteral("origin.txt"));
    return entries;
}

inline QString versionPath(const QString &file, const QString &name)
{
    return QFileInfo(originPath(file)).path() + u'/' + name;
}

/// Newest first.
inline QList<Version> versions(const QString &path)
{
    QList<Version> all;
    const QStringList found = versionNames(path);
    for (const QString &name : found) {
        const QByteArray content = readFile(versionPath(path, name));
        if (content.isNull())
            qFatal("Cannot read %s", qPrintable(name));
        all.append({name, content});
    }
    return all;
}

/// Newest first.
inline QList<QByteArray> keptContents(const QString &file)
{
    QList<QByteArray> all;
    for (const Version &version : versions(file))
        all.append(version.content);
    return all;
}

/// The next version gets a later time than those before.
inline void awaitNextMoment()
{
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    while (QDateTime::currentMSecsSinceEpoch() == now) { }
}

inline qsizetype countInHistory()
{
    qsizetype count = 0;
    for (QDirIterator files(History::historyFolder(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
         files.hasNext(); files.next())
        ++count;
    return count;
}
