#include "check/rules.h"

#include "io/platform.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <array>

namespace {

/// Whether it is no file, under this path or in another case.
bool isNowhere(const ProjectTree &tree, const QString &path)
{
    return !isAbsolutePath(path) && !QFileInfo(tree.path(path)).isFile()
           && (path.isEmpty() || !QFileInfo(tree.path(tree.spelling(path))).isFile());
}

bool hasOfferedEnding(const QString &path)
{
    return std::any_of(ICON_ENDINGS.cbegin(), ICON_ENDINGS.cend(), [&path](const char *ending) {
        return path.endsWith(QLatin1Char('.') + QLatin1String(ending), Qt::CaseInsensitive);
    });
}

/// Whether a file begins as its ending promises; one that cannot be opened does.
bool beginsLikePicture(const QString &path)
{
    QFile file(path);
    if (!openRegularFile(&file).isEmpty())
        return true;
    struct Kind
    {
        QLatin1String ending;
        QByteArray begin;
    };
    static const std::array<Kind, 4> kinds{{
        {QLatin1String(".jpg"), "\xff\xd8\xff"},
        {QLatin1String(".jpeg"), "\xff\xd8\xff"},
        {QLatin1String(".png"), "\x89PNG\r\n\x1a\n"},
        {QLatin1String(".gif"), "GIF8"},
    }};
    const QByteArray begin = file.read(8);
    return std::any_of(kinds.cbegin(), kinds.cend(), [&](const Kind &kind) {
        return path.endsWith(kind.ending, Qt::CaseInsensitive) && begin.startsWith(kind.begin);
    });
}

} // namespace

namespace PageRules {

void iconMissing(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    if (row.app->icon.isEmpty())
        reportAt(row, report);
}

void iconNotFound(const Catalogue &catalogue, const Row &row, const Report &report)
{
    const QString &icon = row.app->icon;
    if (!icon.isEmpty() && isNowhere(catalogue.tree, icon))
        reportAt(row, report, {icon});
}

void iconOutside(const Catalogue &catalogue, const Row &row, const Report &report)
{
    if (catalogue.tree.isOutside(row.app->icon))
        reportAt(row, report, {row.app->icon});
}

void iconKind(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    const QString &icon = row.app->icon;
    if (!icon.isEmpty() && !hasOfferedEnding(icon))
        reportAt(row, report, {icon});
}

void iconContent(const Catalogue &catalogue, const Row &row, const Report &report)
{
    const QString &icon = row.app->icon;
    if (hasOfferedEnding(icon) && !catalogue.tree.isOutside(icon) && !beginsLikePicture(catalogue.tree.path(icon)))
        reportAt(row, report, {icon});
}

void descriptionMissing(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    if (row.descriptions.isEmpty())
        reportAt(row, report);
}

void descriptionNotFound(const Catalogue &catalogue, const Row &row, const Report &report)
{
    for (const DescriptionFile &description : row.descriptions) {
        if (isNowhere(catalogue.tree, description.path))
            reportAt(row, report, {description.language, description.path});
    }
}

void descriptionOutside(const Catalogue &catalogue, const Row &row, const Report &report)
{
    for (const DescriptionFile &description : row.descriptions) {
        if (catalogue.tree.isOutside(description.path))
            reportAt(row, report, {description.path});
    }
}

void descriptionCode(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    for (const DescriptionFile &description : row.descriptions) {
        if (!isLanguageCode(description.language))
            reportAt(row, report, {description.language});
    }
}

void descriptionNotOffered(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    for (const DescriptionFile &description : row.descriptions) {
        if (isLanguageCode(description.language) && !isOfferedLanguage(description.language))
            reportAt(row, report, {description.language});
    }
}

void descriptionEncoding(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    for (const DescriptionFile &description : row.descriptions) {
        if (description.page && !description.page->isUtf8)
            reportAt(row, report, {description.path});
    }
}

void pictureNotFound(const Catalogue &catalogue, const Row &row, const Report &report)
{
    for (const DescriptionFile &description : row.descriptions) {
        const QStringList sources = description.page ? description.page->pictures : QStringList();
        for (const QString &source : sources) {
            const std::optional<QString> path = pictureFile(description.path, source);
            if (!path || path->isEmpty())
                continue;
            const bool isThere =
                catalogue.tree.spelling(*path) == *path && QFileInfo(catalogue.tree.path(*path)).isFile();
            if (!isThere)
                reportAt(row, report, {source, description.path});
        }
    }
}

void pictureElsewhere(const Catalogue &catalogue, const Row &row, const Report &report)
{
    for (const DescriptionFile &description : row.descriptions) {
        const QStringList sources = description.page ? description.page->pictures : QStringList();
        for (const QString &source : sources) {
            const std::optional<QString> path = pictureFile(description.path, source);
            if (!path || catalogue.tree.isOutside(*path))
                reportAt(row, report, {source, description.path});
        }
    }
}

} // namespace PageRules
