#include "io/projectfile.h"

#include "io/csv.h"
#include "io/datecell.h"
#include "io/jsonmap.h"
#include "io/platform.h"
#include "io/wholefile.h"

#include <QBuffer>
#include <QCalendar>
#include <QDir>
#include <QFileInfo>
#include <QTextStream>

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace {

constexpr QLatin1Char CELL_SEPARATOR(';');
constexpr QLatin1Char LIST_SEPARATOR(',');

QVersionNumber versionFromCell(const QString &cell)
{
    return QVersionNumber::fromString(versionText(cell));
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

struct Column
{
    const char *title;
    QString (*write)(const AppConfig &app);
    QString (*read)(const QString &cell, AppConfig *app); ///< returns why the cell is malformed
};

/// For a column of which every cell can be read.
template <auto read> QString always(const QString &cell, AppConfig *app)
{
    read(cell, app);
    return {};
}

constexpr std::array<Column, COLUMN_COUNT> COLUMNS{{
    {"NAME", [](const AppConfig &app) { return jsonFromMap(app.names); },
     [](const QString &cell, AppConfig *app) { return mapFromJson(cell, &app->names); }},
    {"AUTHOR", [](const AppConfig &app) { return app.author; },
     always<[](const QString &cell, AppConfig *app) { app->author = cell; }>},
    {"VERSION", [](const AppConfig &app) { return app.version.toString(); },
     always<[](const QString &cell, AppConfig *app) { app->version = versionFromCell(cell); }>},
    {"HARDWARE", [](const AppConfig &app) { return idsToCell(app.hardware); },
     always<[](const QString &cell, AppConfig *app) { app->hardware = idsFromCell(cell); }>},
    {"DATE",
     [](const AppConfig &app) {
         return app.date.toString(QString(DATE_FORMAT), QCalendar(QCalendar::System::Gregorian));
     },
     always<[](const QString &cell, AppConfig *app) { app->date = dateFromCell(cell); }>},
    {"DESCRIPTION", [](const AppConfig &app) { return jsonFromMap(app.descriptions); },
     [](const QString &cell, AppConfig *app) { return mapFromJson(cell, &app->descriptions); }},
    {"FILES_FOLDERS", [](const AppConfig &app) { return app.files.join(LIST_SEPARATOR); },
     always<[](const QString &cell, AppConfig *app) {
         const QString paths = cell.trimmed();
         if (!paths.isEmpty())
             app->files = paths.split(LIST_SEPARATOR);
     }>},
    {"ICON", [](const AppConfig &app) { return app.icon; },
     always<[](const QString &cell, AppConfig *app) { app->icon = cell; }>},
    {"MIN_TXVER", [](const AppConfig &app) { return firmwareText(app.minTxVersion); },
     always<[](const QString &cell, AppConfig *app) { app->minTxVersion = versionFromCell(cell); }>},
}};

/// Why the cells are malformed; empty when the record holds them.
QString readCells(const QStringList &cells, AppConfig *app)
{
    if (cells.size() < REQUIRED_COLUMNS)
        return QStringLiteral("The line has %1 of at least %2 cells").arg(cells.size()).arg(REQUIRED_COLUMNS);
    for (qsizetype i = 0; i < std::min(cells.size(), COLUMN_COUNT); ++i) {
        const Column &column = COLUMNS.at(static_cast<size_t>(i));
        const QString problem = column.read(cells.at(i), app);
        if (!problem.isEmpty())
            return QLatin1String(column.title) + QLatin1Char(' ') + problem;
    }
    return {};
}

ProjectLine projectLine(const QStringList &cells)
{
    ProjectLine line;
    line.cells = cells;
    line.isHeader = cells.constFirst() == columnTitle(NameColumn);
    if (!line.isHeader) {
        AppConfig app;
        line.problem = readCells(cells, &app);
        if (line.problem.isEmpty())
            line.app = std::move(app);
    }
    return line;
}

QString joined(const QStringList &cells)
{
    return cells.join(CELL_SEPARATOR) + LINE_END;
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

FileResult<> readProjectLines(const QString &path, const std::function<bool(ProjectLine &&)> &visit)
{
    const auto content = readWholeFile(path, LARGEST_CATALOGUE);
    if (!content)
        return content.error();

    QBuffer buffer;
    buffer.setData(*content);
    buffer.open(QIODevice::ReadOnly | QIODevice::Text);
    QTextStream stream(&buffer);
    qsizetype begin = 0;
    int number = 0;
    for (QStringList cells; readCSVRow(stream, &cells);) {
        const qsizetype end = content->indexOf('\n', begin);
        const QByteArrayView bytes = QByteArrayView(*content).sliced(begin, (end < 0 ? content->size() : end) - begin);
        begin = end + 1;
        ProjectLine line = projectLine(cells);
        line.number = ++number;
        line.hasCarriageReturn = bytes.chopped(bytes.endsWith('\r') ? 1 : 0).contains('\r');
        if (!visit(std::move(line)))
            break;
    }
    return {};
}

FileResult<> readProject(const QString &path, QList<AppConfig> *apps)
{
    QList<AppConfig> read;
    std::optional<FileError> malformed;
    auto lines = readProjectLines(path, [&](ProjectLine &&line) {
        if (line.app)
            read.append(*std::move(line.app));
        else if (!line.isHeader)
            malformed = FileError{path, line.problem, line.number};
        return !malformed;
    });
    if (!lines)
        return lines;
    *apps = std::move(read);
    return malformed ? FileResult<>(*malformed) : FileResult<>();
}

QString versionText(QString cell)
{
    return cell.remove(QLatin1Char('"'));
}

QString projectFolder(const QString &projectFile)
{
    return QFileInfo(projectFile).absoluteDir().canonicalPath();
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
    ProjectBuilder builder(apps);
    while (builder.addLine()) { }
    return builder.content;
}
