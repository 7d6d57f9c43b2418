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

namespace {

constexpr QLatin1Char SLASH('/');

/// What the app names: files and folders, icon and descriptions.
QStringList namedPaths(const Row &row)
{
    return row.app->files + row.pages();
}

/// The listed paths that are parts of one name with a "," in it. Those of each name are joined.
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

} // namespace

namespace PathRules {

void form(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    const QStringList paths = row.pages();
    for (const QString &path : paths) {
        const QString cleaned = QDir::cleanPath(path);
        if (path != cleaned && !isAbsolutePath(path) && !climbsOut(path))
            reportAt(row, report, {path, cleaned});
    }
}

void filesMissing(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    if (row.publishedFiles().isEmpty())
        reportAt(row, report);
}

void empty(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    for (const QString &path : row.app->files) {
        if (isWholeProject(path))
            reportAt(row, report, {path});
    }
}

void absolute(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    for (const QString &path : row.app->files) {
        if (isAbsolutePath(path))
            reportAt(row, report, {path});
    }
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
        // A link that leads nowhere has a name.
        const bool hasOtherCase = !spelling.isEmpty() && spelling != listed.path;
        if (listed.isMissing && !isAbsolutePath(listed.path) && !parts.contains(i) && !hasOtherCase)
            reportAt(row, report, {listed.path});
        for (const QString &path : listed.missing)
            reportAt(row, report, {path});
    }
}

void otherKind(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    for (const ListedPath &listed : row.listed) {
        if (listed.isOther)
            reportAt(row, report, {listed.path});
        for (const QString &path : listed.others)
            reportAt(row, report, {path});
    }
}

void notUtf8(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    for (const ListedPath &listed : row.listed) {
        for (const QString &path : listed.notUtf8)
            reportAt(row, report, {path});
    }
}

void circle(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    for (const ListedPath &listed : row.listed) {
        for (const QString &path : listed.circles)
            reportAt(row, report, {path});
    }
}

void outside(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
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
        reportFile(icon, openProblem(catalogue.tree.path(icon)).isEmpty());
    for (const DescriptionFile &description : row.descriptions)
        reportFile(description.path, description.page.has_value());
}

void twice(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
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
                    reportAt(row, report, {file.path, QString::number(first->line)});
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
    // What a line lists that cannot be understood is not known.
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
            const QStringList sources = description.page ? description.page->pictures : QStringList();
            for (const QString &source : sources)
                use(pictureFile(description.path, source).value_or(QString()));
        }
        const QStringList files = row.publishedFiles();
        for (const QString &file : files)
            use(file);
        // What is named in another case is reported already.
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

} // namespace PathRules
