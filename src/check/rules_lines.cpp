#include "check/rules.h"

#include "io/projectfile.h"

#include <QJsonDocument>

#include <algorithm>

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

bool isBlank(const QStringList &cells)
{
    return cells.join(QString()).trimmed().isEmpty();
}

bool isWhole(const QStringList &cells)
{
    return cells.size() == COLUMN_COUNT && isObject(cells.constFirst()) && isObject(cells.at(DescriptionColumn));
}

/// The cells with those from a position on made one again, as they were before a ";" in a text came between.
QStringList joinedAt(const QStringList &cells, qsizetype position)
{
    const qsizetype count = cells.size() - COLUMN_COUNT + 1;
    return cells.mid(0, position) + QStringList{cells.mid(position, count).join(SEPARATOR)}
           + cells.mid(position + count);
}

/// The column of a text that was torn apart so that the line cannot be understood any more.
QString tornColumn(const Row &row)
{
    if (row.isHeader || row.app || row.cells.size() <= COLUMN_COUNT)
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
    if (row.cells.size() >= COLUMN_COUNT || isBlank(row.cells) || isBlank(next.cells) || (row.app && next.app))
        return false;
    const QStringList joined = row.cells.mid(0, row.cells.size() - 1)
                               + QStringList{row.cells.constLast() + next.cells.constFirst()} + next.cells.mid(1);
    return isWhole(joined);
}

} // namespace

namespace LineRules {

void headerMissing(const Catalogue &catalogue, const Report &report)
{
    if (catalogue.rows.isEmpty() || !catalogue.rows.constFirst().isHeader)
        report.add({}, 1, {header()});
}

void headerDiffers(const Catalogue &catalogue, const Report &report)
{
    if (catalogue.rows.isEmpty() || !catalogue.rows.constFirst().isHeader)
        return;
    if (catalogue.rows.constFirst().cells.join(SEPARATOR) != header())
        report.add({}, 1, {header()});
}

void headerAgain(const Catalogue &catalogue, const Report &report)
{
    for (const Row &row : catalogue.rows) {
        if (row.isHeader && row.line > 1)
            reportAt(row, report);
    }
}

void tooShort(const Catalogue &catalogue, const Report &report)
{
    for (const Row &row : catalogue.rows) {
        if (!row.isHeader && row.cells.size() < REQUIRED_COLUMNS)
            reportAt(row, report, {rowProblem(row.cells)});
    }
}

void tooLong(const Catalogue &catalogue, const Report &report)
{
    for (const Row &row : catalogue.rows) {
        if (!row.isHeader && row.cells.size() > COLUMN_COUNT)
            reportAt(row, report, {QString::number(row.cells.size()), row.cells.mid(COLUMN_COUNT).join(SEPARATOR)});
    }
}

void notJson(const Catalogue &catalogue, const Report &report)
{
    for (const Row &row : catalogue.rows) {
        if (!row.isHeader && !row.app && row.cells.size() >= REQUIRED_COLUMNS)
            reportAt(row, report, {rowProblem(row.cells)});
    }
}

void semicolon(const Catalogue &catalogue, const Report &report)
{
    for (const Row &row : catalogue.rows) {
        const QString column = row.app ? columnWithSemicolon(*row.app) : tornColumn(row);
        if (!column.isEmpty())
            reportAt(row, report, {column});
    }
}

void lineBreak(const Catalogue &catalogue, const Report &report)
{
    for (qsizetype i = 0; i < catalogue.rows.size(); ++i) {
        const Row &row = catalogue.rows.at(i);
        const bool isInside = row.cells.join(SEPARATOR).contains(QLatin1Char('\r'));
        if (isInside || (i + 1 < catalogue.rows.size() && isBrokenOver(row, catalogue.rows.at(i + 1))))
            reportAt(row, report);
    }
}

void encoding(const Catalogue &catalogue, const Report &report)
{
    for (const Row &row : catalogue.rows) {
        if (row.cells.join(SEPARATOR).contains(QChar(QChar::ReplacementCharacter)))
            reportAt(row, report);
    }
}

void noApps(const Catalogue &catalogue, const Report &report)
{
    const bool hasSome =
        std::any_of(catalogue.rows.cbegin(), catalogue.rows.cend(), [](const Row &row) { return !row.isHeader; });
    if (!hasSome)
        report.add({}, 0);
}

} // namespace LineRules
