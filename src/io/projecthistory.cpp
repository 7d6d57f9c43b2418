#include "io/projecthistory.h"

#include "io/projectfile.h"
#include "io/replacefile.h"
#include "io/wholefile.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <QStringList>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <optional>
#include <system_error>
#include <utility>

namespace {

/// The folder of a project as the history calls it.
QString folderOf(const QString &projectFile)
{
    const QFileInfo info(projectFile);
    const QString folder = info.absoluteDir().canonicalPath();
    return folder.isEmpty() ? info.absolutePath() : folder;
}

/// The project file, its descriptions, and what else of its folder the history knows.
QStringList filesOf(const QString &projectFile)
{
    const QString folder = folderOf(projectFile);
    QStringList files{QDir(folder).filePath(QFileInfo(projectFile).fileName())};
    QList<AppConfig> apps;
    // Of a file that is malformed these are the apps before the fault.
    (void)readProject(projectFile, &apps);
    for (const AppConfig &app : std::as_const(apps)) {
        for (const QString &path : app.descriptions)
            files.append(QDir::cleanPath(folder + QLatin1Char('/') + path));
    }
    const QStringList known = filesInHistory(folder);
    for (const QString &file : known) {
        // Another catalogue in the same folder has a history of its own.
        if (!file.endsWith(QLatin1String(".csv"), Qt::CaseInsensitive))
            files.append(file);
    }
    files.sort();
    return files;
}

/// Why a file could not be written.
QString writeProblem(const QString &path, int error)
{
    const QFileInfo info(path);
    QString reason;
    if (info.isDir())
        reason = QString::fromStdString(std::generic_category().message(EISDIR));
    else if (info.exists() && !info.isFile())
        reason = QStringLiteral("Is not a regular file");
    else if (error == 0)
        reason = QStringLiteral("Cannot be written");
    else
        reason = QString::fromStdString(std::generic_category().message(error));
    return path + QStringLiteral(": ") + reason;
}

} // namespace

QString ProjectVersion::entry() const
{
    return QFileInfo(version.path).fileName();
}

QList<ProjectVersion> projectVersions(const QString &projectFile)
{
    QList<ProjectVersion> found;
    QSet<QString> once;
    const QDir folder(folderOf(projectFile));
    const QStringList files = filesOf(projectFile);
    for (const QString &file : files) {
        const QList<KeptVersion> versions = keptVersions(file);
        for (const KeptVersion &version : versions) {
            if (!once.contains(version.path))
                found.append({file, folder.relativeFilePath(file), version});
            once.insert(version.path);
        }
    }
    std::sort(found.begin(), found.end(), [](const ProjectVersion &a, const ProjectVersion &b) {
        if (a.version.isOfFuture != b.version.isOfFuture)
            return b.version.isOfFuture;
        return a.entry() == b.entry() ? a.file < b.file : a.entry() > b.entry();
    });
    return found;
}

QList<ProjectVersion> versionsCalled(const QString &entry, const QList<ProjectVersion> &versions)
{
    const QString path = QFileInfo(entry).absoluteFilePath();
    QList<ProjectVersion> called;
    std::copy_if(versions.cbegin(), versions.cend(), std::back_inserter(called),
                 [&](const ProjectVersion &one) { return one.entry() == entry || one.version.path == path; });
    return called;
}

QString restoreVersion(const KeptVersion &version, const QString &file)
{
    QString problem;
    const std::optional<QByteArray> content = readWholeFile(version.path, LARGEST_CATALOGUE, &problem);
    if (!content)
        return problem;
    if (!keepReplaced(file, *content, Pruning::Later))
        return file + QStringLiteral(": Cannot be kept in the history, and stays as it is");
    errno = 0;
    if (replaceFile(file, *content, LineEnds::AsGiven, Replaced::IsKeptAlready))
        return {};
    const int error = errno;
    return writeProblem(file, error);
}
