#include "check/rules.h"

#include "io/projectfile.h"

#include <QJsonDocument>

#include <algorithm>

namespace Check {

namespace {

constexpr QLatin1Char SEPARATOR(';');

QString header()
{
    return QString::fromUtf8(projectContent({})).trimmed();
}

bool isObject(const QString &cell)
{
    return QJsonDocument::fromJson(cell.toUtf8()).isObject();
}

bool isEmpty(const QStringList &cells)
{
    return cells.join(QString()).trimmed().isEmpty();
}

bool isWhole(const QStringList &cells)
{
    return cells.size() == COLUMN_COUNT && isObject(cells.constFirst()) && isObject(cells.at(DescriptionColumn));
}

/// The cells as they were before a ";" in the text of the one at a position split it.
QStringList joinedAt(const QStringList &cells, qsizetype position)
{
    const qsizetype count = cells.size() - COLUMN_COUNT + 1;
    return cells.mid(0, position) + QStringList{cells.mid(position, count).join(SEPARATOR)}
           + cells.mid(position + count);
}

/// The column whose text was split by a ";", so that the line became malformed.
QString splitColumn(const Row &row)
{
    if (row.problem.isEmpty() || row.cells.size() <= COLUMN_COUNT)
        return {};
    for (const ProjectColumn column : {NameColumn, AuthorColumn, DescriptionColumn}) {
        if (isWhole(joinedAt(row.cells, column)))
            return columnTitle(column);
    }
    return {};
}

QString columnWithSemicolon(const AppConfig &app)
{
    const auto hasOne = [](const QMap<QString, QString> &map) {
        for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
            if (entry.key().contains(SEPARATOR) || entry.value().contains(SEPARATOR))
                return true;
        }
        return false;
    };
    if (hasOne(app.names))
        return columnTitle(NameColumn);
    return hasOne(app.descriptions) ? columnTitle(DescriptionColumn) : QString();
}

bool isBrokenOver(const Row &row, const Row &next)
{
    if (row.cells.size() >= COLUMN_COUNT || isEmpty(row.cells) || isEmpty(next.cells) || (row.app && next.app))
        return false;
    const QStringList joined = row.cells.mid(0, row.cells.size() - 1)
                               + QStringList{row.cells.constLast() + next.cells.constFirst()} + next.cells.mid(1);
    return isWhole(joined);
}

void headerMissing(const Catalogue &catalogue, const Report &report)
{
    if (catalogue.rows.isEmpty() || !catalogue.rows.constFirst().isHeader)
        report.add({}, 1, {header()});
}

void headerDiffers(const Catalogue &catalogue, const Report &report)
{
    if (catalogue.rows.isEmpty() || !catalogue.rows.constFirst().isHeader)
        return;
    const Row &first = catalogue.rows.constFirst();
    if (first.hasCarriageReturn || first.cells.join(SEPARATOR) != header())
        report.add({}, 1, {header(), first.cells.join(SEPARATOR)});
}

void headerAgain(const Row &row, const Report &report)
{
    if (row.isHeader && row.number > 1)
        reportAt(row, report);
}

void tooShort(const Row &row, const Report &report)
{
    if (!row.problem.isEmpty() && row.cells.size() < REQUIRED_COLUMNS)
        reportAt(row, report, {row.problem});
}

void tooLong(const Row &row, const Report &report)
{
    if (!row.isHeader && row.cells.size() > COLUMN_COUNT)
        reportAt(row, report, {QString::number(row.cells.size()), row.cells.mid(COLUMN_COUNT).join(SEPARATOR)});
}

void notJson(const Row &row, const Report &report)
{
    if (!row.problem.isEmpty() && row.cells.size() >= REQUIRED_COLUMNS)
        reportAt(row, report, {row.problem});
}

void semicolon(const Row &row, const Report &report)
{
    const QString column = row.app ? columnWithSemicolon(*row.app) : splitColumn(row);
    if (!column.isEmpty())
        reportAt(row, report, {column});
}

void lineBreak(const Catalogue &catalogue, const Report &report)
{
    for (qsizetype i = 0; i < catalogue.rows.size(); ++i) {
        const Row &row = catalogue.rows.at(i);
        if (row.hasCarriageReturn || (i + 1 < catalogue.rows.size() && isBrokenOver(row, catalogue.rows.at(i + 1))))
            reportAt(row, report);
    }
}

void encoding(const Row &row, const Report &report)
{
    if (row.cells.join(SEPARATOR).contains(QChar(QChar::ReplacementCharacter)))
        reportAt(row, report);
}

void noApps(const Catalogue &catalogue, const Report &report)
{
    const bool hasSome =
        std::any_of(catalogue.rows.cbegin(), catalogue.rows.cend(), [](const Row &row) { return !row.isHeader; });
    if (!hasSome)
        report.add({}, 0);
}

} // namespace

QList<Rule> lineRules()
{
    using enum Severity;
    return {
        {"header-missing", Warning, "The header is missing: begin the file with \"%1\".", headerMissing,
         Places{.expected = 1}},
        {"header-differs", Warning,
         "The header is \"%2\", not \"%1\": write it so; the columns are read in that order whatever it says.",
         headerDiffers, Places{.expected = 1, .actual = 2}},
        {"header-again", Warning,
         "The line begins with the cell NAME, so it is skipped like a header: remove it, or name the app.",
         inEachLine<headerAgain>},
        {"row-too-short", Error, "%1, and the catalogue does not open with it: complete it or remove it.",
         inEachLine<tooShort>},
        {"row-not-json", Error, "%1, and the catalogue does not open with it: correct the cell.", inEachLine<notJson>},
        {"row-too-long", Error,
         "The line has %1 cells, but there are only 9 columns, and \"%2\" is dropped: remove each \";\" from the "
         "texts.",
         inEachLine<tooLong>, Places{.actual = 1}},
        {"text-semicolon", Error, "%1 contains a \";\", which ends the cell when the catalogue is read: remove it.",
         inEachLine<semicolon>},
        {"text-line-break", Error, "A text contains a line break, which ends the line or is dropped: remove it.",
         lineBreak},
        {"text-not-utf8", Error, "A letter could not be read: save the file as UTF-8.", inEachLine<encoding>},
        {"no-apps", Warning, "The catalogue has no apps: add one.", noApps},
    };
}

} // namespace Check
