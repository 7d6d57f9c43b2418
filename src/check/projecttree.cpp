#include "check/projecttree.h"

#include "io/platform.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QRegularExpression>

#include <filesystem>
#include <system_error>
#include <utility>

namespace {

constexpr QLatin1Char SLASH('/');

void appendUnused(const QString &folder, const QString &prefix, const QSet<QString> &used,
                  const QSet<QString> &usedFolders, QStringList *found)
{
    const QFileInfoList entries =
        QDir(folder).entryInfoList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    for (const QFileInfo &entry : entries) {
        const QString path = prefix + entry.fileName();
        const bool isLink = entry.isSymLink();
        if (used.contains(path) || (isLink && usedFolders.contains(path)))
            continue;
        if (isLink || !entry.isDir())
            found->append(path);
        else if (usedFolders.contains(path))
            appendUnused(entry.filePath(), path + SLASH, used, usedFolders, found);
        else if (QDirIterator(entry.filePath(), QDir::Files, QDirIterator::Subdirectories).hasNext())
            found->append(path + SLASH);
    }
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
    constexpr QDir::Filters ALL = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    const QStringList entries = holds(folder) ? QDir(folder).entryList(ALL, QDir::Name) : QStringList();
    for (const QString &entry : entries) {
        listed.exact.insert(entry);
        listed.folded.insert(entry.toCaseFolded(), entry);
    }
    return *known.insert(folder, listed);
}

QString ProjectTree::spelling(const QString &relative) const
{
    const QString cleaned = QDir::cleanPath(relative);
    if (cleaned.isEmpty() || isAbsolutePath(cleaned) || climbsOut(cleaned))
        return QFileInfo::exists(path(relative)) ? relative : QString();

    QSet<std::pair<QString, qsizetype>> deadEnds;
    const QString spelt = spelling(cleaned.split(SLASH), {}, &deadEnds);
    return spelt == cleaned ? relative : spelt;
}

QString ProjectTree::spelling(const QStringList &parts, const QString &folder,
                              QSet<std::pair<QString, qsizetype>> *deadEnds) const
{
    if (parts.isEmpty())
        return folder;
    const QString &part = parts.constFirst();
    const QString place = folder.isEmpty() ? root : path(folder);
    // Most paths have no dead end, and then nothing is asked of the disk for this.
    const auto here = [&] { return std::pair(canonical(place), parts.size()); };
    if (!deadEnds->isEmpty() && deadEnds->contains(here()))
        return {};
    QStringList candidates;
    {
        const Names &there = names(place);
        candidates = there.folded.values(part.toCaseFolded());
        // A folder that may be passed but not listed shows no names, nor does one outside.
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

// The system would follow every folder on the way again for each of its files.
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
    appendUnused(root, {}, used, usedFolders, &found);
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

bool isCircle(const QString &path)
{
    const QFileInfo info(path);
    if (!info.isSymLink())
        return false;
    if (!info.exists()) {
        std::error_code error;
        (void)std::filesystem::status(systemPath(path), error);
        return error == std::errc::too_many_symbolic_link_levels;
    }
    const QString target = info.canonicalFilePath();
    for (QString above = info.path(); above.size() > 1; above = QFileInfo(above).path()) {
        if (QFileInfo(above).canonicalFilePath() == target)
            return true;
    }
    return false;
}

bool isAbsoluteLink(const QString &path)
{
    const QFileInfo info(path);
    if (!info.isSymLink())
        return false;
    std::error_code error;
    return std::filesystem::read_symlink(systemPath(path), error).is_absolute();
}
