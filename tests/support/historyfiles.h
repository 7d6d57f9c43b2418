#pragma once

#include "folder.h"
#include "io/history.h"

#include <QByteArray>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QList>
#include <QRegularExpression>
#include <QString>
#include <QStringList>

// What the folder of the history holds, found without the help of the program.

/// What the log says when nothing could be kept.
inline const QRegularExpression NO_HISTORY(QStringLiteral("^No history of "));

/// A version of a file, as it lies in the history.
struct Version
{
    QString name;
    QByteArray content;
};

/// The path of the note that names the file, in the folder of its versions; empty when there is none.
inline QString originPath(const QString &file)
{
    QDirIterator origins(historyFolder(), {QStringLiteral("origin.txt")}, QDir::Files, QDirIterator::Subdirectories);
    while (origins.hasNext()) {
        const QString origin = origins.next();
        if (readFile(origin) == file.toUtf8() + '\n')
            return origin;
    }
    return {};
}

/// Of what lies in the folder of a file, newest first.
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

/// What is kept from now on is newer than what was kept before.
inline void awaitNextMoment()
{
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    while (QDateTime::currentMSecsSinceEpoch() == now) { }
}

inline qsizetype countInHistory()
{
    qsizetype count = 0;
    for (QDirIterator files(historyFolder(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories); files.hasNext();
         files.next())
        ++count;
    return count;
}
