#include "check/catalogue.h"

#include "io/folderwalk.h"
#include "io/linktarget.h"
#include "io/repositoryindex.h"
#include "io/wholefile.h"

#include <utility>

namespace Check {

namespace {

/// Walks over a listed path, but not over what is outside the project folder: it may be the whole disk.
class ListedWalk
{
public:
    ListedWalk(const ProjectTree &projectTree, ListedPath *found) : tree(projectTree), listed(found) { }

    WalkStep visit(const WalkEntry &entry)
    {
        const QString &path = entry.path;
        switch (entry.kind) {
        case WalkEntry::File:
            if (isInside(entry))
                lookInto(entry);
            listed->files.append({path, publishedPath(path)});
            break;
        case WalkEntry::Folder:
            return isInside(entry) ? WalkStep::GoOn : WalkStep::Skip;
        case WalkEntry::Circle:
            listed->circles.append(path);
            return WalkStep::Skip;
        case WalkEntry::Missing:
            listed->isMissing = listed->isMissing || entry.isStart;
            if (!entry.isStart)
                listed->missing.append(path);
            break;
        case WalkEntry::Other:
            listed->others.append(path);
            break;
        case WalkEntry::NotUtf8:
            // Several names may be the same as far as they can be read; they come one after another.
            if (listed->notUtf8.isEmpty() || listed->notUtf8.constLast() != path)
                listed->notUtf8.append(path);
            break;
        case WalkEntry::Unreadable:
            listed->unreadable.append(path);
            break;
        }
        return WalkStep::GoOn;
    }

private:
    void lookInto(const WalkEntry &file)
    {
        const auto beginning = readBeginning(file.info.filePath(), 1);
        if (!beginning)
            listed->unreadable.append(file.path);
        else if (beginning->isEmpty())
            listed->empty.append(file.path);
    }

    bool isInside(const WalkEntry &entry)
    {
        const bool isInside = tree.holds(entry.info.filePath());
        if (!isInside)
            listed->outside.append(entry.path);
        else if (isAbsoluteLink(entry.info.filePath()))
            listed->absoluteLinks.append(entry.path);
        return isInside;
    }

    const ProjectTree &tree;
    ListedPath *listed;
};

ListedPath walkListed(const QString &path, const ProjectTree &tree)
{
    ListedPath listed;
    listed.path = path;
    ListedWalk listedWalk(tree, &listed);
    walk(path, tree.path(), [&](const WalkEntry &entry) { return listedWalk.visit(entry); });
    return listed;
}

void addFiles(Row *row, const ProjectTree &tree)
{
    for (const QString &path : std::as_const(row->app->files))
        row->listed.append(walkListed(path, tree));
    const QMap<QString, QString> &descriptions = row->app->descriptions;
    for (auto entry = descriptions.cbegin(); entry != descriptions.cend(); ++entry) {
        const auto page = tree.isOutside(entry.value()) ? std::nullopt : readPage(tree.path(), entry.value());
        row->descriptions.append({entry.key(), entry.value(), page.has_value(), page.value_or(Page())});
    }
}

} // namespace

QString Row::name() const
{
    if (!app || app->names.isEmpty())
        return {};
    return app->names.value(DEFAULT_LANGUAGE, app->names.first());
}

QStringList Row::pages() const
{
    return app ? QStringList{app->icon} + app->descriptions.values() : QStringList();
}

QStringList Row::publishedFiles() const
{
    QStringList paths;
    for (const ListedPath &path : listed) {
        for (const PublishedFile &file : path.files)
            paths.append(file.onDisk);
    }
    return paths;
}

FileResult<Catalogue> readCatalogue(const QString &projectFile, QDate today)
{
    Catalogue catalogue{projectFile, today, ProjectTree(projectFolder(projectFile)), {}};
    const auto read = readProjectLines(projectFile, [&](ProjectLine &&line) {
        catalogue.rows.append(Row{std::move(line), {}, {}});
        return true;
    });
    if (!read)
        return read.error();
    for (Row &row : catalogue.rows) {
        if (row.app)
            addFiles(&row, catalogue.tree);
    }
    return catalogue;
}

} // namespace Check
