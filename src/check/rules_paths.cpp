#include "check/rules.h"

#include "io/linktarget.h"
#include "io/repositoryindex.h"
#include "io/wholefile.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>

namespace Check {

namespace {

constexpr QLatin1Char SLASH('/');

/// What the app names: files and folders, icon and descriptions.
QStringList namedPaths(const Row &row)
{
    return row.app->files + row.pages();
}

/// The names with a "," in them that are listed as several paths, by the position of each such path.
QHash<qsizetype, QString> commaNames(const Catalogue &catalogue, const Row &row)
{
    constexpr qsizetype MOST_PARTS = 8;
    QHash<qsizetype, QString> names;
    const QStringList &files = row.app->files;
    for (qsizetype first = 0; first < files.size(); ++first) {
        for (qsizetype count = 2; count <= std::min(MOST_PARTS, files.size() - first); ++count) {
            const QString name = files.mid(first, count).join(QLatin1Char(','));
            if (!row.listed.at(first).isMissing || !QFileInfo::exists(catalogue.tree.path(name)))
                continue;
            for (qsizetype part = first; part < first + count; ++part)
                names.insert(part, name);
        }
    }
    return names;
}

bool isWholeProject(const QString &path)
{
    const QString cleaned = QDir::cleanPath(path);
    return cleaned.isEmpty() || cleaned == QLatin1String(".");
}

/// Reports the listed paths of a kind.
template <bool (*isFaulty)(const QString &path)> void eachFile(const Row &row, const Report &report)
{
    for (const QString &path : row.app->files) {
        if (isFaulty(path))
            reportAt(row, report, {path});
    }
}

/// Reports what was found under the listed paths.
template <QStringList ListedPath::*paths> void eachFound(const Row &row, const Report &report)
{
    for (const ListedPath &listed : row.listed) {
        for (const QString &path : listed.*paths)
            reportAt(row, report, {path});
    }
}

void form(const Row &row, const Report &report)
{
    const QStringList paths = row.pages();
    for (const QString &path : paths) {
        const QString cleaned = QDir::cleanPath(path);
        if (path != cleaned && !isAbsolutePath(path) && !climbsOut(path))
            reportAt(row, report, {path, cleaned});
    }
}

void filesMissing(const Row &row, const Report &report)
{
    if (row.publishedFiles().isEmpty())
        reportAt(row, report);
}

void comma(const Catalogue &catalogue, const Row &row, const Report &report)
{
    const QHash<qsizetype, QString> names = commaNames(catalogue, row);
    QSet<QString> once;
    for (qsizetype i = 0; i < row.app->files.size(); ++i) {
        const QString name = names.value(i);
        if (!name.isEmpty() && !once.contains(name))
            reportAt(row, report, {name});
        once.insert(name);
    }
}

void otherCase(const Catalogue &catalogue, const Row &row, const Report &report)
{
    const QStringList paths = namedPaths(row);
    for (const QString &path : paths) {
        const QString spelling = path.isEmpty() ? QString() : catalogue.tree.spelling(path);
        if (!spelling.isEmpty() && spelling != path)
            reportAt(row, report, {path, spelling});
    }
}

void notFound(const Catalogue &catalogue, const Row &row, const Report &report)
{
    const QHash<qsizetype, QString> parts = commaNames(catalogue, row);
    for (qsizetype i = 0; i < row.listed.size(); ++i) {
        const ListedPath &listed = row.listed.at(i);
        const QString spelling = catalogue.tree.spelling(listed.path);
        // A link that leads nowhere is found under its own name.
        const bool hasOtherCase = !spelling.isEmpty() && spelling != listed.path;
        if (listed.isMissing && !isAbsolutePath(listed.path) && !parts.contains(i) && !hasOtherCase)
            reportAt(row, report, {listed.path});
        for (const QString &path : listed.missing)
            reportAt(row, report, {path});
    }
}

void outside(const Row &row, const Report &report)
{
    for (const ListedPath &listed : row.listed) {
        if (listed.outside.isEmpty() && climbsOut(listed.path))
            reportAt(row, report, {listed.path});
        for (const QString &path : listed.outside)
            reportAt(row, report, {path});
    }
}

void absoluteLink(const Catalogue &catalogue, const Row &row, const Report &report)
{
    QStringList links;
    for (const ListedPath &listed : row.listed)
        links += listed.absoluteLinks;
    const QStringList paths = row.pages();
    for (const QString &path : paths) {
        const QString file = catalogue.tree.path(path);
        if (isAbsoluteLink(file) && catalogue.tree.holds(file))
            links.append(path);
    }
    for (const QString &link : std::as_const(links))
        reportAt(row, report, {link});
}

void unreadable(const Catalogue &catalogue, const Row &row, const Report &report)
{
    for (const ListedPath &listed : row.listed) {
        for (const QString &path : listed.unreadable)
            reportAt(row, report, {path});
    }
    const auto reportFile = [&](const QString &path, bool isRead) {
        if (!isRead && !catalogue.tree.isOutside(path) && QFileInfo(catalogue.tree.path(path)).isFile())
            reportAt(row, report, {path});
    };
    const QString &icon = row.app->icon;
    if (!catalogue.tree.isOutside(icon))
        reportFile(icon, static_cast<bool>(readBeginning(catalogue.tree.path(icon), 0)));
    for (const DescriptionFile &description : row.descriptions)
        reportFile(description.path, description.isRead);
}

void twice(const Row &row, const Report &report)
{
    QSet<QString> listedBefore;
    QSet<QString> reached;
    for (const ListedPath &listed : row.listed) {
        const QString cleaned = QDir::cleanPath(listed.path);
        if (listedBefore.contains(cleaned)) {
            reportAt(row, report, {listed.path});
            continue;
        }
        listedBefore.insert(cleaned);
        for (const PublishedFile &file : listed.files) {
            if (reached.contains(file.path))
                reportAt(row, report, {file.path});
            reached.insert(file.path);
        }
    }
}

void shared(const Catalogue &catalogue, const Report &report)
{
    QHash<QString, const Row *> publishers;
    for (const Row &row : catalogue.rows) {
        for (const ListedPath &listed : row.listed) {
            bool isReported = false;
            for (const PublishedFile &file : listed.files) {
                const Row *first = publishers.value(file.path);
                if (!first) {
                    publishers.insert(file.path, &row);
                } else if (first != &row && !isReported) {
                    reportAt(row, report, {file.path, QString::number(first->number)});
                    isReported = true;
                }
            }
        }
    }
}

void indexOutside(const Catalogue &catalogue, const Report &report)
{
    const QString target = targetOutside(catalogue.tree.path(INDEX_FILE_NAME));
    if (!target.isEmpty())
        report.add({}, 0, {INDEX_FILE_NAME, QDir(catalogue.tree.path()).relativeFilePath(target)});
}

void unlisted(const Catalogue &catalogue, const Report &report)
{
    // What a malformed line lists is not known.
    for (const Row &row : catalogue.rows) {
        if (!row.isHeader && !row.app)
            return;
    }

    const QDir folder(catalogue.tree.path());
    QSet<QString> used{QFileInfo(catalogue.projectFile).fileName(), INDEX_FILE_NAME};
    const auto use = [&](const QString &path) { catalogue.tree.use(path, &used); };
    for (const Row &row : catalogue.rows) {
        if (!row.app)
            continue;
        use(row.app->icon);
        for (const DescriptionFile &description : row.descriptions) {
            use(description.path);
            for (const Picture &picture : description.page.pictures)
                use(picture.path.value_or(QString()));
        }
        const QStringList files = row.publishedFiles();
        for (const QString &file : files)
            use(file);
        // Another rule reports names in another case.
        const QStringList named = namedPaths(row);
        for (const QString &path : named)
            used.insert(catalogue.tree.spelling(path));
        for (const ListedPath &listed : row.listed) {
            const QStringList notEntered = listed.circles + listed.outside;
            for (const QString &path : notEntered) {
                const QFileInfo link(catalogue.tree.path(path));
                used.insert(path);
                used.insert(
                    folder.relativeFilePath(QFileInfo(link.path()).canonicalFilePath() + SLASH + link.fileName()));
            }
        }
    }
    const QStringList unused = catalogue.tree.unused(used);
    for (const QString &path : unused)
        report.add({}, 0, {path});
}

} // namespace

QList<Rule> pathRules()
{
    using enum Severity;
    return {
        {"path-form", Error, "\"%1\" is published as it is written: write it as \"%2\".", inEachApp<form>,
         Places{.file = 1, .expected = 2, .actual = 1}},
        {"path-none", Warning, "No file of the app is published: list its files.", inEachApp<filesMissing>},
        {"path-whole-project", Error,
         "\"%1\" publishes the whole project folder: remove it from the list, and list the files of the app.",
         inEachApp<eachFile<isWholeProject>>, Places{.file = 1}},
        {"path-absolute", Error, "\"%1\" is an absolute path: list it by its path from the project folder.",
         inEachApp<eachFile<isAbsolutePath>>, Places{.file = 1}},
        {"path-comma", Error, "\"%1\" has a \",\" in its name, so it counts as several paths: rename it.",
         inEachApp<comma>, Places{.file = 1}},
        {"path-other-case", Error, "\"%1\" is called \"%2\" on the disk: write it so.", inEachApp<otherCase>,
         Places{.file = 1, .expected = 2, .actual = 1}},
        {"path-not-found", Error, "There is no file or folder \"%1\": add it, or remove it from the list.",
         inEachApp<notFound>, Places{.file = 1}},
        {"path-other-kind", Error, "\"%1\" is neither a file nor a folder: remove it from the list.",
         inEachApp<eachFound<&ListedPath::others>>, Places{.file = 1}},
        {"path-not-utf8", Error, "\"%1\" is not published, as its name is not UTF-8: rename it.",
         inEachApp<eachFound<&ListedPath::notUtf8>>, Places{.file = 1}},
        {"path-circle", Error, "The link \"%1\" leads back to itself or to a folder above it: remove it.",
         inEachApp<eachFound<&ListedPath::circles>>, Places{.file = 1}},
        {"path-outside", Error,
         "\"%1\" is outside the project folder: copy it there, and list it by its path from that folder.",
         inEachApp<outside>, Places{.file = 1}},
        {"path-link", Warning,
         "The link \"%1\" has an absolute target, so a copy of it leads elsewhere: make it relative.",
         inEachApp<absoluteLink>, Places{.file = 1}},
        {"path-unreadable", Error, "\"%1\" cannot be read: allow reading it.", inEachApp<unreadable>,
         Places{.file = 1}},
        {"path-twice", Warning, "\"%1\" is published twice: list it once, by itself or with its folder.",
         inEachApp<twice>, Places{.file = 1}},
        {"path-shared", Note, "\"%1\" belongs to the app in line %2 too: list it once, unless both need it.", shared,
         Places{.file = 1}},
        {"index-outside", Error,
         "The link \"%1\" leads out of the project folder, and publishing writes to \"%2\": remove it.", indexOutside,
         Places{.file = 1, .actual = 2}},
        {"file-empty", Note, "\"%1\" has no bytes: fill it, unless an empty file is needed.",
         inEachApp<eachFound<&ListedPath::empty>>, Places{.file = 1}},
        {"file-unlisted", Note, "\"%1\" belongs to no app: list it if it should be published.", unlisted,
         Places{.file = 1}},
    };
}

} // namespace Check
