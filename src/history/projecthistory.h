#pragma once

#include "history/version.h"
#include "io/fileresult.h"

#include <QList>
#include <QString>

// What the history holds of a whole project, and how a version of it is brought back.

namespace History {

/// A version of a file of the project.
struct ProjectVersion
{
    QString file; ///< need not exist any more
    QString place; ///< of the file, relative to the folder of the project
    Version version;
};

/// What is kept of a project file and of its descriptions, former ones in its folder too; newest first, those dated
/// in the future last. The project file and its folder need not exist any more.
[[nodiscard]] QList<ProjectVersion> projectVersions(const QString &projectFile);

/// Those with a given name or path. Files with the same name may share a name of a
/// version when they were kept in the same moment.
[[nodiscard]] QList<ProjectVersion> versionsCalled(const QString &entry, const QList<ProjectVersion> &versions);

/// Replaces a file's content by a version. What the file holds is kept first; where that cannot be, nothing is
/// replaced. No older version is removed, as the one that is asked for next may be among them.
[[nodiscard]] FileResult<> restoreVersion(const Version &version, const QString &file);

} // namespace History
