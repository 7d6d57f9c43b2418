#include "io/projectfile.h"

#include "io/csv.h"
#include "io/platform.h"
#include "io/replacefile.h"
#include "io/wholefile.h"

#include <QBuffer>
#include <QCalendar>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QTextStream>

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace {

constexpr QLatin1Char CELL_SEPARATOR(';');
constexpr QLatin1Char LIST_SEPARATOR(',');

/// Whether JSON holds a text unescaped. Texts that Qt escapes, or that hold half of a character, are left to Qt.
bool isPlain(QStringView text)
{
    return std::none_of(text.cbegin(), text.cend(), [](QChar character) {
        return character < u' ' || character == u'"' || character == u'\\' || character.isSurrogate();
    });
}

QString jsonCell(const QMap<QString, QString> &map)
{
    QJsonObject object;
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry)
        object.insert(entry.key(), entry.value());
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

// A map is in the order of JSON's keys; building an object of it would cost more than the rest of the row.
QString mapToCell(const QMap<QString, QString> &map)
{
    constexpr QLatin1Char QUOTE('"');
    QString members;
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
        if (!isPlain(entry.key()) || !isPlain(entry.value()))
            return jsonCell(map);
        if (!members.isEmpty())
            members += QLatin1Char(',');
        members += QUOTE + entry.key() + QStringLiteral("\":\"") + entry.value() + QUOTE;
    }
    return QLatin1Char('{') + members + QLatin1Char('}');
}

/// Reads back what is written of plain texts. False when it is anything else.
bool plainMapFromCell(QStringView cell, QMap<QString, QString> *map)
{
    constexpr QStringView BEGIN = u"{\"";
    constexpr QStringView COLON = u"\":\"";
    constexpr QStringView COMMA = u"\",\"";
    constexpr QStringView END = u"\"}";
    if (!cell.startsWith(BEGIN) || !cell.endsWith(END) || cell.size() < BEGIN.size() + END.size())
        return false;
    for (const QStringView member : cell.sliced(BEGIN.size()).chopped(END.size()).tokenize(COMMA)) {
        const qsizetype colon = member.indexOf(COLON);
        if (colon < 0)
            return false;
        const QStringView key = member.first(colon);
        const QStringView value = member.sliced(colon + COLON.size());
        if (!isPlain(key) || !isPlain(value))
            return false;
        map->insert(key.toString(), value.toString());
    }
    return true;
}

bool mapFromCell(const QString &cell, QMap<QString, QString> *map)
{
    // Qt's parser would cost as much as the rest of the row.
    if (plainMapFromCell(cell, map))
        return true;
    map->clear();
    QJsonParseError error;
    const QJsonObject object = QJsonDocument::fromJson(cell.toUtf8(), &error).object();
    if (error.error != QJsonParseError::NoError)
        return false;
    for (auto member = object.constBegin(); member != object.constEnd(); ++member)
        map->insert(member.key(), member.value().toVariant().toString());
    return true;
}

QVersionNumber versionFromCell(QString cell)
{
    return QVersionNumber::fromString(cell.remove(QLatin1Char('"')));
}

QString idsToCell(const QList<qint32> &ids)
{
    QStringList texts;
    for (const qint32 id : ids)
        texts.append(QString::number(id));
    return texts.join(LIST_SEPARATOR);
}

QList<qint32> idsFromCell(const QString &cell)
{
    QList<qint32> ids;
    for (const QString &text : cell.split(LIST_SEPARATOR))
        ids.append(text.toInt());
    return ids;
}

/// Dates by their text. Trying its forms takes longer than the rest of a row, and dates repeat. Not a hash, as hashing
/// a text leaves the vector registers in use.
using KnownDates = QMap<QString, QDate>;

QDate dateFromCell(const QString &cell, KnownDates *known)
{
    const QString text = cell.trimmed();
    const auto found = known->constFind(text);
    return found != known->constEnd() ? *found : *known->insert(text, toDate(text));
}

struct Column
{
    const char *title;
    QString (*write)(const AppConfig &app);
    /// False when the row cannot be understood.
    bool (*read)(const QString &cell, AppConfig *app, KnownDates *dates);
};

constexpr std::array<Column, COLUMN_COUNT> COLUMNS{{
    {"NAME", [](const AppConfig &app) { return mapToCell(app.names); },
     [](const QString &cell, AppConfig *app, KnownDates * /*dates*/) { return mapFromCell(cell, &app->names); }},
    {"AUTHOR", [](const AppConfig &app) { return app.author; },
     [](const QString &cell, AppConfig *app, KnownDates * /*dates*/) {
         app->author = cell;
         return true;
     }},
    {"VERSION", [](const AppConfig &app) { return app.version.toString(); },
     [](const QString &cell, AppConfig *app, KnownDates * /*dates*/) {
         app->version = versionFromCell(cell);
         return true;
     }},
    {"HARDWARE", [](const AppConfig &app) { return idsToCell(app.hardware); },
     [](const QString &cell, AppConfig *app, KnownDates * /*dates*/) {
         app->hardware = idsFromCell(cell);
         return true;
     }},
    {"DATE",
     [](const AppConfig &app) {
         return app.date.toString(QString(DATE_FORMAT), QCalendar(QCalendar::System::Gregorian));
     },
     [](const QString &cell, AppConfig *app, KnownDates *dates) {
         app->date = dateFromCell(cell, dates);
         return true;
     }},
    {"DESCRIPTION", [](const AppConfig &app) { return mapToCell(app.descriptions); },
     [](const QString &cell, AppConfig *app, KnownDates * /*dates*/) { return mapFromCell(cell, &app->descriptions); }},
    {"FILES_FOLDERS", [](const AppConfig &app) { return app.files.join(LIST_SEPARATOR); },
     [](const QString &cell, AppConfig *app, KnownDates * /*dates*/) {
         const QString paths = cell.trimmed();
         if (!paths.isEmpty())
             app->files = paths.split(LIST_SEPARATOR);
         return true;
     }},
    {"ICON", [](const AppConfig &app) { return app.icon; },
     [](const QString &cell, AppConfig *app, KnownDates * /*dates*/) {
         app->icon = cell;
         return true;
     }},
    {"MIN_TXVER", [](const AppConfig &app) { return firmwareText(app.minTxVersion); },
     [](const QString &cell, AppConfig *app, KnownDates * /*dates*/) {
         app->minTxVersion = versionFromCell(cell);
         return true;
     }},
}};

std::optional<AppConfig> appFromRow(const QStringList &row, KnownDates *dates)
{
    if (row.size() < REQUIRED_COLUMNS)
        return std::nullopt;

    AppConfig app;
    auto cell = row.cbegin();
    for (const Column &column : COLUMNS) {
        if (cell == row.cend())
            break;
        if (!column.read(*cell++, &app, dates))
            return std::nullopt;
    }
    return app;
}

QString joined(const QStringList &cells)
{
    return cells.join(CELL_SEPARATOR) + QLatin1Char('\n');
}

QString headerLine()
{
    QStringList titles;
    for (const Column &column : COLUMNS)
        titles.append(QLatin1String(column.title));
    return joined(titles);
}

QString appLine(const AppConfig &app)
{
    QStringList cells;
    for (const Column &column : COLUMNS)
        cells.append(column.write(app));
    return joined(cells);
}

} // namespace

QString columnTitle(ProjectColumn column)
{
    return QString::fromLatin1(COLUMNS.at(column).title);
}

bool readProject(const QString &path, QList<AppConfig> *apps)
{
    std::optional<QByteArray> content = readWholeFile(path, LARGEST_CATALOGUE);
    if (!content)
        return false;

    clearVectorRegisters();
    apps->clear();
    QBuffer lines(&*content);
    lines.open(QIODevice::ReadOnly | QIODevice::Text);
    QTextStream stream(&lines);
    KnownDates dates;
    QStringList row;
    while (readCSVRow(stream, &row)) {
        if (row.constFirst() == columnTitle(NameColumn))
            continue;
        std::optional<AppConfig> app = appFromRow(row, &dates);
        if (!app)
            return false;
        apps->append(*std::move(app));
    }
    return true;
}

std::optional<AppConfig> appFromCells(const QStringList &cells)
{
    KnownDates dates;
    return appFromRow(cells, &dates);
}

ProjectBuilder::ProjectBuilder(QList<AppConfig> records) : content(headerLine().toUtf8()), apps(std::move(records)) { }

bool ProjectBuilder::addLine()
{
    if (next == apps.size())
        return false;
    content += appLine(apps.at(next++)).toUtf8();
    return true;
}

QByteArray projectContent(const QList<AppConfig> &apps)
{
    clearVectorRegisters();
    ProjectBuilder builder(apps);
    while (builder.addLine()) { }
    return builder.content;
}

bool writeProject(const QString &path, const QList<AppConfig> &apps)
{
    return replaceFile(path, projectContent(apps), LineEnds::Platform);
}
