#include "check/rules.h"

#include "io/csv.h"
#include "io/projectfile.h"

#include <QHash>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>

namespace Check {

namespace {

constexpr qsizetype NAMES_SHOWN = 3; // besides the default one

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

struct HardwareId
{
    QString text; ///< in the cell
    qint32 value; ///< that the text is read as
};

/// None where the cell is empty, although that is read as 0.
QList<HardwareId> hardwareIds(const Row &row)
{
    QList<HardwareId> ids;
    const QString cell = row.cells.value(HardwareColumn);
    if (cell.trimmed().isEmpty())
        return ids;
    const QStringList texts = cell.split(QLatin1Char(','));
    for (qsizetype i = 0; i < texts.size(); ++i)
        ids.append({texts.at(i), row.app->hardware.at(i)});
    return ids;
}

/// Whether the text is no number, and so is read as 0.
bool isUnclear(const HardwareId &id)
{
    bool isNumber = false;
    (void)id.text.toInt(&isNumber);
    return !isNumber;
}

void nameMissing(const Row &row, const Report &report)
{
    if (defaultName(*row.app).isEmpty())
        reportAt(row, report);
}

void namePlaceholder(const Row &row, const Report &report)
{
    if (defaultName(*row.app) == PLACEHOLDER_NAME)
        reportAt(row, report, {PLACEHOLDER_NAME});
}

void nameCode(const Row &row, const Report &report)
{
    const QStringList codes = row.app->names.keys();
    for (const QString &code : codes) {
        if (!isLanguageCode(code))
            reportAt(row, report, {code});
    }
}

void nameNotOffered(const Row &row, const Report &report)
{
    const QStringList codes = row.app->names.keys();
    for (const QString &code : codes) {
        if (isLanguageCode(code) && !isOfferedLanguage(code))
            reportAt(row, report, {code});
    }
}

void namesTooMany(const Row &row, const Report &report)
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
            lines.insert(name, row.number);
    }
}

void versionMissing(const Row &row, const Report &report)
{
    if (versionText(row.cells.value(VersionColumn)).trimmed().isEmpty())
        reportAt(row, report);
}

void versionUnclear(const Row &row, const Report &report)
{
    const QString text = versionText(row.cells.value(VersionColumn));
    if (!text.trimmed().isEmpty() && !isWhollyVersion(text))
        reportAt(row, report, {text, row.app->version.toString()});
}

void dateMissing(const Row &row, const Report &report)
{
    if (row.cells.value(DateColumn).trimmed().isEmpty())
        reportAt(row, report);
}

void dateUnclear(const Row &row, const Report &report)
{
    const QString text = row.cells.value(DateColumn).trimmed();
    if (!text.isEmpty() && !row.app->date.isValid())
        reportAt(row, report, {text});
}

void dateForm(const Row &row, const Report &report)
{
    const QString text = row.cells.value(DateColumn).trimmed();
    const QString usual = row.app->date.toString(QString(DATE_FORMAT));
    if (row.app->date.isValid() && text != usual)
        reportAt(row, report, {text, usual});
}

void datePlaceholder(const Row &row, const Report &report)
{
    if (row.app->date == placeholderDate())
        reportAt(row, report, {row.app->date.toString(QString(DATE_FORMAT))});
}

void dateFuture(const Catalogue &catalogue, const Row &row, const Report &report)
{
    if (row.app->date > catalogue.today)
        reportAt(row, report, {row.app->date.toString(QString(DATE_FORMAT))});
}

void minVersionMissing(const Row &row, const Report &report)
{
    const QString text = versionText(row.cells.value(MinVersionColumn));
    if (text.trimmed().isEmpty() || (isWhollyVersion(text) && row.app->minTxVersion.normalized().isNull()))
        reportAt(row, report);
}

void minVersionUnclear(const Row &row, const Report &report)
{
    const QString text = versionText(row.cells.value(MinVersionColumn));
    if (!text.trimmed().isEmpty() && (!isWhollyVersion(text) || row.app->minTxVersion.segmentCount() != 2))
        reportAt(row, report, {text, firmwareText(row.app->minTxVersion)});
}

void hardwareMissing(const Row &row, const Report &report)
{
    if (hardwareIds(row).isEmpty())
        reportAt(row, report);
}

void hardwareUnclear(const Row &row, const Report &report)
{
    const QList<HardwareId> ids = hardwareIds(row);
    for (const HardwareId &id : ids) {
        if (isUnclear(id))
            reportAt(row, report, {id.text});
    }
}

void hardwareUnknown(const Row &row, const Report &report)
{
    const QList<HardwareId> ids = hardwareIds(row);
    for (const HardwareId &id : ids) {
        if (!isUnclear(id) && std::find(TX_IDS.cbegin(), TX_IDS.cend(), id.value) == TX_IDS.cend())
            reportAt(row, report, {QString::number(id.value)});
    }
}

void hardwareTwice(const Row &row, const Report &report)
{
    QSet<qint32> seen;
    const QList<HardwareId> ids = hardwareIds(row);
    for (const HardwareId &id : ids) {
        if (isUnclear(id))
            continue;
        if (seen.contains(id.value))
            reportAt(row, report, {QString::number(id.value)});
        seen.insert(id.value);
    }
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

QList<Rule> factRules()
{
    using enum Severity;
    return {
        {"name-missing", Error, "The app has no name in \"en\", the default language: add it.", inEachApp<nameMissing>},
        {"name-placeholder", Warning, "The app is still called \"%1\", as the editor calls a new app: name it.",
         inEachApp<namePlaceholder>, Places{.actual = 1}},
        {"name-code", Error, "The language code \"%1\" of a name is not two lower-case letters: correct it.",
         inEachApp<nameCode>, Places{.actual = 1}},
        {"name-not-offered", Warning,
         "The editor does not offer the language \"%1\" of a name, and Apply would store another one: choose one that "
         "it offers.",
         inEachApp<nameNotOffered>, Places{.actual = 1}},
        {"name-too-many", Warning,
         "The editor shows \"en\" and three other names, and Apply would drop the one in \"%1\": remove a name.",
         inEachApp<namesTooMany>},
        {"name-twice", Warning, "The app in line %1 has the same name: rename one of them.", nameTwice},
        {"version-missing", Error, "The app has no version: add one.", inEachApp<versionMissing>},
        {"version-unclear", Error, "The version \"%1\" is read as \"%2\": write it as numbers with dots.",
         inEachApp<versionUnclear>, Places{.actual = 1}},
        {"date-missing", Warning, "The app has no publication date: add one.", inEachApp<dateMissing>},
        {"date-unclear", Error, "The date \"%1\" cannot be read: write it as day-month-year, like 05-03-2024.",
         inEachApp<dateUnclear>, Places{.actual = 1}},
        {"date-form", Note, "The date \"%1\" may be read differently elsewhere: write it as %2.", inEachApp<dateForm>,
         Places{.expected = 2, .actual = 1}},
        {"date-placeholder", Warning,
         "The publication date is still %1, which the editor shows for an app without a date: set it.",
         inEachApp<datePlaceholder>, Places{.actual = 1}},
        {"date-future", Warning, "The publication date %1 is in the future: correct it.", inEachApp<dateFuture>,
         Places{.actual = 1}},
        {"min-version-missing", Note,
         "The app has no minimum transmitter version: set it, unless every version will do.",
         inEachApp<minVersionMissing>},
        {"min-version-unclear", Error,
         "The minimum transmitter version \"%1\" is read as %2: write it as two numbers with a dot.",
         inEachApp<minVersionUnclear>, Places{.actual = 1}},
        {"hardware-missing", Error, "The app runs on no transmitter: choose those that it runs on.",
         inEachApp<hardwareMissing>},
        {"hardware-unclear", Error, "The transmitter id \"%1\" is not a number and is read as 0: correct it.",
         inEachApp<hardwareUnclear>, Places{.actual = 1}},
        {"hardware-unknown", Error, "No known transmitter has the id %1: correct it.", inEachApp<hardwareUnknown>,
         Places{.actual = 1}},
        {"hardware-twice", Warning, "The transmitter id %1 is listed more than once: list it once.",
         inEachApp<hardwareTwice>},
    };
}

} // namespace Check
