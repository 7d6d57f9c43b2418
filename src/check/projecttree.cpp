#include "check/projecttree.h"

#include "io/folderwalk.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>
#include <functional>
#include <utility>

namespace Check {

namespace {

constexpr QLatin1Char SLASH('/');

/// Whether there is a file in a folder or below it. Links are not followed.
bool holdsFiles(const QString &folder)
{
    bool hasFile = false;
    walk({}, folder, [&hasFile](const WalkEntry &entry) {
        hasFile = hasFile || entry.kind == WalkEntry::File;
        if (hasFile)
            return WalkStep::Stop;
        return entry.isLink && !entry.isStart ? WalkStep::Skip : WalkStep::GoOn;
    });
    return hasFile;
}

} // namespace

ProjectTree::ProjectTree(QString folder) : root(std::move(folder)) { }

QString ProjectTree::path(const QString &relative) const
{
    return root + SLASH + relative;
}

const ProjectTree::Names &ProjectTree::names(const QString &folder) const
{
    const auto found = known.constFind(folder);
    if (found != known.constEnd())
        return *found;
    Names listed;
    const auto entries = holds(folder) ? listFolder(folder) : FileResult<QList<FolderName>>();
    if (entries) {
        for (const FolderName &entry : *entries) {
            if (!entry.isUtf8)
                continue;
            listed.exact.insert(entry.name);
            listed.folded.insert(entry.name.toCaseFolded(), entry.name);
        }
    }
    return *known.insert(folder, listed);
}

QString ProjectTree::spelling(const QString &relative) const
{
    const QString cleaned = QDir::cleanPath(relative);
    if (cleaned.isEmpty() || isAbsolutePath(cleaned) || climbsOut(cleaned))
        return QFileInfo::exists(path(relative)) ? relative : QString();

    QSet<std::pair<QString, qsizetype>> deadEnds;
    const QString spelled = spelling(cleaned.split(SLASH), {}, &deadEnds);
    return spelled == cleaned ? relative : spelled;
}

QString ProjectTree::spelling(const QStringList &parts, const QString &folder,
                              QSet<std::pair<QString, qsizetype>> *deadEnds) const
{
    if (parts.isEmpty())
        return folder;
    const QString &part = parts.constFirst();
    const QString place = folder.isEmpty() ? root : path(folder);
    // Computed only when it is needed, as it asks the disk.
    const auto here = [&] { return std::pair(canonical(place), parts.size()); };
    if (!deadEnds->isEmpty() && deadEnds->contains(here()))
        return {};
    QStringList candidates;
    {
        const Names &there = names(place);
        candidates = there.folded.values(part.toCaseFolded());
        std::sort(candidates.begin(), candidates.end(), std::greater<>());
        // A folder that cannot be listed shows no names, but its files may exist.
        const bool isHere = there.exact.contains(part) || part == QLatin1String(".")
                            || (there.exact.isEmpty() && QFileInfo::exists(place + SLASH + part));
        candidates.removeOne(part);
        if (isHere)
            candidates.prepend(part);
    }
    for (const QString &candidate : std::as_const(candidates)) {
        QString found = spelling(parts.mid(1), folder.isEmpty() ? candidate : folder + SLASH + candidate, deadEnds);
        if (!found.isEmpty())
            return found;
    }
    deadEnds->insert(here());
    return {};
}

// Canonical folders are remembered, so that the system need not follow their links again for each file.
QString ProjectTree::canonical(const QString &path) const
{
    const QFileInfo info(path);
    const QString name = info.fileName();
    if (info.isSymLink() || name.isEmpty() || name == QLatin1String(".") || name == QLatin1String(".."))
        return info.canonicalFilePath();
    if (!info.exists())
        return {};
    QString &folder = canonicalFolders[info.path()];
    if (folder.isEmpty())
        folder = QFileInfo(info.path()).canonicalFilePath();
    return folder + SLASH + name;
}

bool ProjectTree::holds(const QString &path) const
{
    const QString place = canonical(path);
    return place == root || place.startsWith(root + SLASH);
}

bool ProjectTree::isOutside(const QString &relative) const
{
    return isAbsolutePath(relative) || climbsOut(relative)
           || (QFileInfo::exists(path(relative)) && !holds(path(relative)));
}

void ProjectTree::use(const QString &path, QSet<QString> *used) const
{
    used->insert(QDir::cleanPath(path));
    const QString place = canonical(this->path(path));
    if (place.startsWith(root + SLASH))
        used->insert(place.mid(root.size() + 1));
}

QStringList ProjectTree::unused(const QSet<QString> &used) const
{
    QSet<QString> usedFolders;
    for (const QString &path : used) {
        for (qsizetype end = path.lastIndexOf(SLASH); end > 0; end = path.lastIndexOf(SLASH, end - 1)) {
            const QString folder = path.left(end);
            if (usedFolders.contains(folder))
                break;
            usedFolders.insert(folder);
        }
    }
    QStringList found;
    walk({}, root, [&](const WalkEntry &entry) {
        const QString &path = entry.path;
        if (entry.isStart)
            return WalkStep::GoOn;
        const bool isUsedFolder = usedFolders.contains(path);
        if (used.contains(path) || (entry.isLink && isUsedFolder))
            return WalkStep::Skip;
        if (isUsedFolder)
            return WalkStep::GoOn;
        if (entry.kind == WalkEntry::File || (entry.isLink && entry.info.isDir()))
            found.append(path);
        else if (entry.kind == WalkEntry::Folder && holdsFiles(entry.info.filePath()))
            found.append(path + SLASH);
        return WalkStep::Skip;
    });
    found.sort();
    return found;
}

bool isAbsolutePath(const QString &path)
{
    static const QRegularExpression drive(QStringLiteral("^[A-Za-z]:"));
    return path.startsWith(SLASH) || path.startsWith(QLatin1Char('\\')) || drive.match(path).hasMatch();
}

bool climbsOut(const QString &path)
{
    const QString cleaned = QDir::cleanPath(path);
    return cleaned == QLatin1String("..") || cleaned.startsWith(QLatin1String("../"));
}

bool isCutInUrl(const QString &path)
{
    static const QRegularExpression cut(QStringLiteral("[#?%\\\\]"));
    return path.contains(cut);
}

bool isEscapedInUrl(const QString &path)
{
    static const QRegularExpression escaped(QStringLiteral(R"([^!$&'()*+,./0-9:;=@A-Z_a-z~#?%\\-])"));
    return path.contains(escaped);
}

} // namespace Check
