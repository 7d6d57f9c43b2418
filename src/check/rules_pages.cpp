#include "check/pictureheader.h"
#include "check/rules.h"

#include "io/wholefile.h"

#include <QFileInfo>
#include <QMap>

#include <algorithm>
#include <array>

namespace Check {

namespace {

constexpr qint64 LARGEST_ICON = 1'000'000; // bytes
constexpr qint64 ICON_PIXELS = 1024; // at most, in each direction

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

void iconLarge(const Catalogue &catalogue, const Row &row, const Report &report)
{
    const QString &icon = row.app->icon;
    if (catalogue.tree.isOutside(icon))
        return;
    const QString path = catalogue.tree.path(icon);
    const auto content = readBeginning(path, LARGEST_ICON + 1);
    if (!content)
        return;
    if (content->size() > LARGEST_ICON) {
        const QString bytes = QStringLiteral("%1 bytes");
        reportAt(row, report, {icon, bytes.arg(QFileInfo(path).size()), bytes.arg(LARGEST_ICON)});
        return;
    }
    const PictureHeader header = pictureHeader(*content);
    const QString pixels = QStringLiteral("%1 x %2 pixels");
    if (header.width > ICON_PIXELS || header.height > ICON_PIXELS)
        reportAt(row, report,
                 {icon, pixels.arg(header.width).arg(header.height), pixels.arg(ICON_PIXELS).arg(ICON_PIXELS)});
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

void descriptionKind(const Row &row, const Report &report)
{
    for (const DescriptionFile &description : row.descriptions) {
        const QString &path = description.path;
        const bool isHtml = path.endsWith(QLatin1String(".html"), Qt::CaseInsensitive)
                            || path.endsWith(QLatin1String(".htm"), Qt::CaseInsensitive);
        if (!path.isEmpty() && !isHtml)
            reportAt(row, report, {path});
    }
}

void templateUnchanged(const Row &row, const Report &report)
{
    for (const DescriptionFile &description : row.descriptions) {
        if (description.page.isTemplate)
            reportAt(row, report, {description.path});
    }
}

void languageIncomplete(const Row &row, const Report &report)
{
    if (row.descriptions.isEmpty())
        return;
    const QMap<QString, QString> &names = row.app->names;
    const QMap<QString, QString> &descriptions = row.app->descriptions;
    // A map, as it has each language once, in order.
    QMap<QString, QString> languages = names;
    languages.insert(descriptions);
    for (auto language = languages.keyBegin(); language != languages.keyEnd(); ++language) {
        const bool isNamed = !names.value(*language).trimmed().isEmpty();
        // Other rules report what is no code.
        if (!isLanguageCode(*language) || isNamed == descriptions.contains(*language))
            continue;
        const QString name = QStringLiteral("name");
        const QString description = QStringLiteral("description");
        reportAt(row, report, {*language, isNamed ? name : description, isNamed ? description : name});
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
        {"icon-large", Warning, "The icon \"%1\" has %2: choose one of at most %3.", inEachApp<iconLarge>,
         Places{.file = 1, .expected = 3, .actual = 2}},
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
        {"description-kind", Warning,
         "The description \"%1\" does not end in .html or .htm, so a server may not send it as HTML: rename it.",
         inEachApp<descriptionKind>, Places{.file = 1}},
        {"description-template", Warning,
         "The description \"%1\" is still the template of the editor: write your own text.",
         inEachApp<templateUnchanged>, Places{.file = 1}},
        {"language-incomplete", Note, "The app has a %2 in \"%1\", but no %3: add it.", inEachApp<languageIncomplete>},
        {"picture-not-found", Error, "There is no picture \"%1\", which \"%2\" shows: add the file.",
         inEachApp<pictureNotFound>, Places{.file = 2, .actual = 1}},
        {"picture-elsewhere", Warning, "The picture \"%1\" of \"%2\" is outside the project folder: copy it there.",
         inEachApp<pictureElsewhere>, Places{.file = 2, .actual = 1}},
    };
}

} // namespace Check
