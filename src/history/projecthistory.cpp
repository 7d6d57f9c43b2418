#include "history/projecthistory.h"

#include "history/history.h"
#include "io/projectfile.h"
#include "io/replacefile.h"
#include "io/wholefile.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <QStringList>

#include <algorithm>
#include <iterator>
#include <utility>

namespace History {

namespace {

/// The folder of a project, even if it no longer exists.
QString formerFolder(const QString &projectFile)
{
    const QString folder = projectFolder(projectFile);
    return folder.isEmpty() ? QFileInfo(projectFile).absolutePath() : folder;
}

/// The project file, its descriptions, and the other files of its folder that are in the history.
QStringList filesOf(const QString &projectFile)
{
    const QString folder = formerFolder(projectFile);
    QStringList files{QDir(folder).filePath(QFileInfo(projectFile).fileName())};
    QList<AppConfig> apps;
    // For a malformed file these are the apps before the malformed line.
    (void)readProject(projectFile, &apps);
    for (const AppConfig &app : std::as_const(apps)) {
        for (const QString &path : app.descriptions)
            files.append(QDir::cleanPath(folder + QLatin1Char('/') + path));
    }
    const QStringList known = filesBelow(folder);
    for (const QString &file : known) {
        // Another catalogue in the same folder has a history of its own.
        if (!file.endsWith(QLatin1String(".csv"), Qt::CaseInsensitive))
            files.append(file);
    }
    files.sort();
    return files;
}

} // namespace

QList<ProjectVersion> projectVersions(const QString &projectFile)
{
    QList<ProjectVersion> found;
    QSet<QString> once;
    const QDir folder(formerFolder(projectFile));
    const QStringList files = filesOf(projectFile);
    for (const QString &file : files) {
        const QList<Version> versions = History::versions(file);
        for (const Version &version : versions) {
            if (!once.contains(version.path))
                found.append({file, folder.relativeFilePath(file), version});
            once.insert(version.path);
        }
    }
    std::sort(found.begin(), found.end(), [](const ProjectVersion &a, const ProjectVersion &b) {
        if (a.version.isFromFuture != b.version.isFromFuture)
            return b.version.isFromFuture;
        return a.version.name() == b.version.name() ? a.file < b.file : a.version.name() > b.version.name();
    });
    return found;
}

QList<ProjectVersion> versionsCalled(const QString &entry, const QList<ProjectVersion> &versions)
{
    const QString path = QFileInfo(entry).absoluteFilePath();
    QList<ProjectVersion> called;
    std::copy_if(versions.cbegin(), versions.cend(), std::back_inserter(called),
                 [&](const ProjectVersion &one) { return one.version.name() == entry || one.version.path == path; });
    return called;
}

FileResult<> restoreVersion(const Version &version, const QString &file)
{
    const auto content = readWholeFile(version.path, LARGEST_CATALOGUE);
    if (!content)
        return content.error();
    if (const auto kept = keepReplaced(file, *content, Pruning::Later); !kept) {
        return FileError{file, QStringLiteral("Not replaced, as what it holds cannot be kept in the history (%1)")
                                   .arg(kept.error().text())};
    }
    return replaceFile(file, *content);
}

} // namespace History
