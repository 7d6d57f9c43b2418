#pragma once

#include "io/fileresult.h"

#include <QFileInfo>
#include <QList>
#include <QString>

#include <functional>

/// A name in a folder.
struct FolderName
{
    QString name;
    bool isUtf8 = true; ///< otherwise only a part of the name could be read, and the entry cannot be opened
    bool isLink = false;
    bool isFile = false; ///< a regular file itself, not a link to one
};

/// All names in a folder, hidden ones too, unsorted.
[[nodiscard]] FileResult<QList<FolderName>> listFolder(const QString &folder);

/// What a walk meets.
struct WalkEntry
{
    enum Kind {
        File, ///< when its folder was listed
        Folder,
        Circle, ///< a link that leads back to itself, or to a folder on the way to it
        Missing, ///< nothing, or a link that leads nowhere
        Other, ///< neither file nor folder
        NotUtf8,
        Unreadable, ///< a folder that the walk cannot enter; the reason says why
    };

    Kind kind;
    QFileInfo info;
    QString path; ///< relative to the given folder
    bool isStart = false; ///< what the walk began with
    bool isLink = false;
    QString reason;
};

enum class WalkStep {
    GoOn, ///< into the folder, if it is one
    Skip, ///< the folder
    Stop,
};

/// Visits what a path in a folder leads to and, when that is a folder, everything in it but hidden entries. Links are
/// followed; circles too if the visitor enters them, until the system refuses.
///
/// Entries come by name ignoring case, as Qt sorts a folder. Qt leaves names that differ only in case in the order of
/// the disk; here the letters of the names decide, so that the order is the same everywhere.
void walk(const QString &path, const QString &folder, const std::function<WalkStep(const WalkEntry &)> &visit);
