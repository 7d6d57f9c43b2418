#pragma once

#include "io/history.h"

#include <QList>
#include <QString>

// What the history holds of a whole project, and how a version of it is brought back.

struct ProjectVersion
{
    QString file; ///< that it is a version of; it need not exist any more
    QString place; ///< of that file, from the folder of the project
    KeptVersion version;

    /// The name of the version, which files with the same name may share when they were kept in the same moment.
    [[nodiscard]] QString entry() const;
};

/// What is kept of a project file and of its descriptions, former ones in its folder too; newest first, those dated
/// in the future last. The project file may be unreadable or gone, as may its folder.
[[nodiscard]] QList<ProjectVersion> projectVersions(const QString &projectFile);

/// Those that are meant by the name of an entry, or by its path in the history.
[[nodiscard]] QList<ProjectVersion> versionsCalled(const QString &entry, const QList<ProjectVersion> &versions);

/// Replaces a file's content by a version. What the file holds is kept first; where that cannot be, nothing is
/// replaced. No older version goes, as the one that is asked for next may be among them. Returns why it could not be
/// done, as "FILE: WHY"; empty when it is done.
[[nodiscard]] QString restoreVersion(const KeptVersion &version, const QString &file);
