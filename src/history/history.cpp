#include "history/history.h"

#include "io/folderwalk.h"
#include "io/replacefile.h"
#include "io/wholefile.h"

#include <QDebug>
#include <QFileInfo>
#include <QSet>

#include <algorithm>

namespace History {

namespace {

constexpr qsizetype MOST_VERSIONS = 50;

/// Finds the versions that are never removed: drafts, and of each file the newest version and the newest unsaved text,
/// which may be the only copy of somebody's work. To be called for every version, the newest first.
class Lasting
{
public:
    bool add(const Version &version)
    {
        // A draft does not count as a version: the next draft replaces it.
        if (version.reason() == Reason::Draft)
            return true;
        const bool isNewest = isFirstIn(version.folder(), &newest);
        return (version.reason() == Reason::Unsaved && isFirstIn(version.folder(), &newestUnsaved)) || isNewest;
    }

private:
    static bool isFirstIn(const QString &folder, QSet<QString> *folders)
    {
        const bool isFirst = !folders->contains(folder);
        folders->insert(folder);
        return isFirst;
    }

    QSet<QString> newest;
    QSet<QString> newestUnsaved;
};

// Uses only the order of the versions, as a date may be wrong.
void removeOld(const QString &fileFolder)
{
    Lasting ofFile;
    qsizetype count = 0;
    for (const Version &version : versionsIn(fileFolder)) {
        if (!ofFile.add(version) && count >= MOST_VERSIONS)
            removeVersion(version);
        count += version.reason() == Reason::Draft ? 0 : 1;
    }

    Lasting ofAll;
    qint64 bytes = 0;
    for (const Version &version : versionsIn(historyFolder())) {
        bytes += version.size;
        if (!ofAll.add(version) && bytes > MOST_BYTES)
            removeVersion(version);
    }
}

FileResult<> keep(const QString &file, const QByteArray &content, Reason reason, Pruning pruning)
{
    const auto added = addVersion(file, content, reason);
    if (!added)
        return added.error();
    if (pruning == Pruning::Now)
        removeOld(folderOfVersions(file));
    return {};
}

bool isLastUnsaved(const QString &file, const QByteArray &content)
{
    const QList<Version> all = versionsIn(folderOfVersions(file));
    const auto last = std::find_if(all.cbegin(), all.cend(),
                                   [](const Version &version) { return version.reason() == Reason::Unsaved; });
    return last != all.cend() && holds(last->path, content);
}

} // namespace

FileResult<> keepReplaced(const QString &path, const QByteArray &newContent, Pruning pruning)
{
    const auto old = readWholeFile(path, MOST_BYTES);
    if (old)
        return *old == newContent ? FileResult<>() : keep(canonical(path), *old, Reason::Replaced, pruning);
    if (!QFileInfo(path).isFile())
        return {};
    qDebug() << "No history of" << path << "which cannot be read";
    return old.error();
}

FileResult<> keepUnsaved(const QString &path, const QByteArray &content)
{
    const QString file = canonical(path);
    if (holds(path, content) || isLastUnsaved(file, content))
        return {};
    return keep(file, content, Reason::Unsaved, Pruning::Now);
}

FileResult<> saveFile(const QString &path, const QByteArray &content)
{
    return replaceFile(path, content, [&] { return static_cast<bool>(keepReplaced(path, content)); });
}

QList<Version> versions(const QString &path)
{
    return versionsIn(folderOfVersions(canonical(path)));
}

QStringList filesBelow(const QString &folder)
{
    const QString place = canonical(folder) + QLatin1Char('/');
    QStringList files;
    walk({}, historyFolder(), [&](const WalkEntry &entry) {
        if (entry.kind == WalkEntry::File && entry.info.fileName() == ORIGIN_NAME) {
            const auto origin = readWholeFile(entry.info.filePath(), LARGEST_ORIGIN);
            const QString path =
                origin ? QString::fromUtf8(origin->chopped(origin->endsWith('\n') ? 1 : 0)) : QString();
            if (path.startsWith(place))
                files.append(path);
        }
        return entry.isLink && !entry.isStart ? WalkStep::Skip : WalkStep::GoOn;
    });
    files.sort();
    return files;
}

} // namespace History
