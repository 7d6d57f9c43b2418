#include "check/rules.h"

#include "io/csv.h"
#include "io/projectfile.h"

#include <QHash>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>

namespace {

constexpr qsizetype NAMES_SHOWN = 3; // besides the default one

/// The cell as a version is read from it.
QString versionCell(const Row &row, ProjectColumn column)
{
    return row.cells.value(column).remove(QLatin1Char('"')).remove(QLatin1Char('\r'));
}

bool isWhollyVersion(const QString &text)
{
    qsizetype end = 0;
    const QVersionNumber version = QVersionNumber::fromString(text, &end);
    return !version.isNull() && end == text.size();
}

QString defaultName(const AppConfig &app)
{
    return app.names.value(DEFAULT_LANGUAGE).trimmed();
}

struct HardwareIds
{
    QStringList unclear;
    QList<qint32> ids; ///< the rest, in their order
};

HardwareIds hardwareIds(const Row &row)
{
    HardwareIds read;
    const QString cell = QString(row.cells.value(HardwareColumn)).remove(QLatin1Char('\r'));
    if (cell.trimmed().isEmpty())
        return read;
    const QStringList parts = cell.split(QLatin1Char(','));
    for (const QString &part : parts) {
        bool isNumber = false;
        const qint32 id = part.toInt(&isNumber);
        if (isNumber)
            read.ids.append(id);
        else
            read.unclear.append(part);
    }
    return read;
}

} // namespace

bool isLanguageCode(const QString &text)
{
    static const QRegularExpression code(QStringLiteral("\\A[a-z]{2}\\z"));
    return code.match(text).hasMatch();
}

bool isOfferedLanguage(const QString &code)
{
    return std::any_of(LANGUAGES.cbegin(), LANGUAGES.cend(),
                       [&code](const char *language) { return code == QLatin1String(language); });
}

namespace FactRules {

void nameMissing(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    if (defaultName(*row.app).isEmpty())
        reportAt(row, report);
}

void nameCode(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    const QStringList codes = row.app->names.keys();
    for (const QString &code : codes) {
        if (!isLanguageCode(code))
            reportAt(row, report, {code});
    }
}

void nameNotOffered(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    const QStringList codes = row.app->names.keys();
    for (const QString &code : codes) {
        if (isLanguageCode(code) && !isOfferedLanguage(code))
            reportAt(row, report, {code});
    }
}

void namesTooMany(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    QStringList codes = row.app->names.keys();
    codes.removeOne(DEFAULT_LANGUAGE);
    for (qsizetype i = NAMES_SHOWN; i < codes.size(); ++i)
        reportAt(row, report, {codes.at(i)});
}

void nameTwice(const Catalogue &catalogue, const Report &report)
{
    QHash<QString, int> lines;
    for (const Row &row : catalogue.rows) {
        const QString name = row.app ? defaultName(*row.app) : QString();
        if (name.isEmpty())
            continue;
        if (lines.contains(name))
            reportAt(row, report, {QString::number(lines.value(name))});
        else
            lines.insert(name, row.line);
    }
}

void versionMissing(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    if (versionCell(row, VersionColumn).trimmed().isEmpty())
        reportAt(row, report);
}

void versionUnclear(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    const QString text = versionCell(row, VersionColumn);
    if (!text.trimmed().isEmpty() && !isWhollyVersion(text))
        reportAt(row, report, {text, row.app->version.toString()});
}

void dateMissing(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    if (row.cells.value(DateColumn).trimmed().isEmpty())
        reportAt(row, report);
}

void dateUnclear(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    const QString text = row.cells.value(DateColumn).trimmed();
    if (!text.isEmpty() && !row.app->date.isValid())
        reportAt(row, report, {text});
}

void dateForm(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    const QString text = row.cells.value(DateColumn).trimmed();
    const QString usual = row.app->date.toString(QString(DATE_FORMAT));
    if (row.app->date.isValid() && text != usual)
        reportAt(row, report, {text, usual});
}

void minVersionMissing(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    const QString text = versionCell(row, MinVersionColumn);
    if (text.trimmed().isEmpty() || (isWhollyVersion(text) && row.app->minTxVersion.normalized().isNull()))
        reportAt(row, report);
}

void minVersionUnclear(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    const QString text = versionCell(row, MinVersionColumn);
    if (!text.trimmed().isEmpty() && (!isWhollyVersion(text) || row.app->minTxVersion.segmentCount() != 2))
        reportAt(row, report, {text, firmwareText(row.app->minTxVersion)});
}

void hardwareMissing(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    const HardwareIds read = hardwareIds(row);
    if (read.ids.isEmpty() && read.unclear.isEmpty())
        reportAt(row, report);
}

void hardwareUnclear(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    const QStringList unclear = hardwareIds(row).unclear;
    for (const QString &part : unclear)
        reportAt(row, report, {part});
}

void hardwareUnknown(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    const QList<qint32> ids = hardwareIds(row).ids;
    for (const qint32 id : ids) {
        if (std::find(TX_IDS.cbegin(), TX_IDS.cend(), id) == TX_IDS.cend())
            reportAt(row, report, {QString::number(id)});
    }
}

void hardwareTwice(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    QSet<qint32> seen;
    const QList<qint32> ids = hardwareIds(row).ids;
    for (const qint32 id : ids) {
        if (seen.contains(id))
            reportAt(row, report, {QString::number(id)});
        seen.insert(id);
    }
}

} // namespace FactRules
