#include "check/pictureheader.h"
#include "check/rules.h"

#include "io/wholefile.h"

#include <QFileInfo>

#include <algorithm>
#include <array>

namespace Check {

namespace {

/// Whether there is no such file, not even in another case.
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

/// Whether a file begins like the kind of picture that its ending says; true when it cannot be opened.
bool beginsLikePicture(const QString &path)
{
    const auto begin = readBeginning(path, 8);
    if (!begin)
        return true;
    struct Ending
    {
        QLatin1String text;
        PictureHeader::Kind kind;
    };
    static constexpr std::array<Ending, 4> ENDINGS{{
        {QLatin1String(".jpg"), PictureHeader::Jpeg},
        {QLatin1String(".jpeg"), PictureHeader::Jpeg},
        {QLatin1String(".png"), PictureHeader::Png},
        {QLatin1String(".gif"), PictureHeader::Gif},
    }};
    const PictureHeader header = pictureHeader(*begin);
    return std::any_of(ENDINGS.begin(), ENDINGS.end(), [&](const Ending &ending) {
        return path.endsWith(ending.text, Qt::CaseInsensitive) && ending.kind == header.kind;
    });
}

void iconMissing(const Row &row, const Report &report)
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

void iconKind(const Row &row, const Report &report)
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

void descriptionMissing(const Row &row, const Report &report)
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

void descriptionCode(const Row &row, const Report &report)
{
    for (const DescriptionFile &description : row.descriptions) {
        if (!isLanguageCode(description.language))
            reportAt(row, report, {description.language});
    }
}

void descriptionNotOffered(const Row &row, const Report &report)
{
    for (const DescriptionFile &description : row.descriptions) {
        if (isLanguageCode(description.language) && !isOfferedLanguage(description.language))
            reportAt(row, report, {description.language});
    }
}

void descriptionEncoding(const Row &row, const Report &report)
{
    for (const DescriptionFile &description : row.descriptions) {
        if (!description.page.isUtf8)
            reportAt(row, report, {description.path});
    }
}

void pictureNotFound(const Catalogue &catalogue, const Row &row, const Report &report)
{
    const ProjectTree &tree = catalogue.tree;
    for (const DescriptionFile &description : row.descriptions) {
        for (const Picture &picture : description.page.pictures) {
            const QString path = picture.path.value_or(QString());
            if (!path.isEmpty() && (tree.spelling(path) != path || !QFileInfo(tree.path(path)).isFile()))
                reportAt(row, report, {picture.source, description.path});
        }
    }
}

void pictureElsewhere(const Catalogue &catalogue, const Row &row, const Report &report)
{
    for (const DescriptionFile &description : row.descriptions) {
        for (const Picture &picture : description.page.pictures) {
            if (!picture.path || catalogue.tree.isOutside(*picture.path))
                reportAt(row, report, {picture.source, description.path});
        }
    }
}

} // namespace

QList<Rule> pageRules()
{
    using enum Severity;
    return {
        {"icon-missing", Warning, "The app has no icon: choose one.", inEachApp<iconMissing>},
        {"icon-not-found", Error, "There is no icon \"%1\": add the file, or choose another one.",
         inEachApp<iconNotFound>, Places{.file = 1}},
        {"icon-outside", Error, "The icon \"%1\" is outside the project folder: move it there and choose it again.",
         inEachApp<iconOutside>, Places{.file = 1}},
        {"icon-kind", Error, "The icon \"%1\" is not a jpg, jpeg, png or gif file: choose another one.",
         inEachApp<iconKind>, Places{.file = 1}},
        {"icon-content", Error, "The icon \"%1\" does not hold the kind of picture that its name says: replace it.",
         inEachApp<iconContent>, Places{.file = 1}},
        {"description-missing", Warning, "The app has no description: write one.", inEachApp<descriptionMissing>},
        {"description-not-found", Error, "There is no file \"%2\", the description in \"%1\": add it.",
         inEachApp<descriptionNotFound>, Places{.file = 2}},
        {"description-outside", Error,
         "The description \"%1\" is outside the project folder: move it there and list it again.",
         inEachApp<descriptionOutside>, Places{.file = 1}},
        {"description-code", Error,
         "The language code \"%1\" of a description is not two lower-case letters: correct it.",
         inEachApp<descriptionCode>, Places{.actual = 1}},
        {"description-not-offered", Warning,
         "The editor does not offer the language \"%1\" of a description: choose one that it offers.",
         inEachApp<descriptionNotOffered>, Places{.actual = 1}},
        {"description-not-utf8", Error, "The description \"%1\" is not UTF-8: save it as UTF-8.",
         inEachApp<descriptionEncoding>, Places{.file = 1}},
        {"picture-not-found", Error, "There is no picture \"%1\", which \"%2\" shows: add the file.",
         inEachApp<pictureNotFound>, Places{.file = 2, .actual = 1}},
        {"picture-elsewhere", Warning, "The picture \"%1\" of \"%2\" is outside the project folder: copy it there.",
         inEachApp<pictureElsewhere>, Places{.file = 2, .actual = 1}},
    };
}

} // namespace Check
