#include "check/catalogue.h"

#include "io/csv.h"
#include "io/platform.h"
#include "io/projectfile.h"
#include "io/repositoryindex.h"
#include "io/wholefile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QStringDecoder>
#include <QTextStream>

#include <filesystem>
#include <system_error>

namespace {

QString jsonProblem(const QStringList &cells, ProjectColumn column)
{
    QJsonParseError error;
    QJsonDocument::fromJson(cells.at(column).toUtf8(), &error);
    if (error.error == QJsonParseError::NoError)
        return {};
    return QStringLiteral("%1 is not JSON: %2 at byte %3")
        .arg(columnTitle(column), error.errorString())
        .arg(error.offset + 1);
}

// The loading drops every carriage return; here they are still to be seen.
QStringList loadedCells(QStringList cells)
{
    for (QString &cell : cells)
        cell.remove(QLatin1Char('\r'));
    return cells;
}

bool readRows(const QString &projectFile, QList<Row> *rows, QString *error)
{
    std::optional<QByteArray> content = readWholeFile(projectFile, LARGEST_CATALOGUE, error);
    if (!content)
        return false;

    QTextStream stream(&*content, QIODevice::ReadOnly);
    QStringList cells;
    while (readCSVRow(stream, &cells)) {
        Row row;
        row.line = static_cast<int>(rows->size()) + 1;
        row.cells = cells;
        const QStringList loaded = loadedCells(cells);
        row.isHeader = loaded.constFirst() == columnTitle(NameColumn);
        if (!row.isHeader)
            row.app = appFromCells(loaded);
        rows->append(row);
    }
    return true;
}

bool canRead(const QFileInfo &info)
{
    return info.isDir() ? info.isReadable() && info.isExecutable() : openProblem(info.filePath()).isEmpty();
}

/// What lies in a folder and is left out of it without a word.
void addLeftOut(const QFileInfo &folder, const QDir &project, ListedPath *listed)
{
    std::error_code error;
    std::filesystem::directory_iterator entry(systemPath(folder.filePath()), error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        std::error_code unknown;
        const std::u8string bytes = entry->path().filename().u8string();
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        const QString name = decoder(QByteArray(reinterpret_cast<const char *>(bytes.data()), qsizetype(bytes.size())));
        const QString path = folder.filePath() + QLatin1Char('/') + name;
        const QString place = project.relativeFilePath(path);
        if (name.startsWith(QLatin1Char('.')))
            continue;
        if (decoder.hasError())
            listed->notUtf8.append(place);
        else if (entry->is_regular_file(unknown) || entry->is_directory(unknown))
            continue;
        else if (isCircle(path))
            listed->circles.append(place);
        else
            (QFileInfo::exists(path) ? listed->others : listed->missing).append(place);
    }
    for (QStringList *paths : {&listed->notUtf8, &listed->circles, &listed->others, &listed->missing}) {
        paths->sort();
        paths->removeDuplicates();
    }
}

ListedPath walk(const QString &path, const ProjectTree &tree)
{
    ListedPath listed;
    listed.path = path;
    const QDir folder(tree.path());
    // What lies outside is reported and not opened: it may be the whole disk.
    const auto isInside = [&](const QFileInfo &info) {
        const bool inside = tree.holds(info.filePath());
        const QString place = folder.relativeFilePath(info.filePath());
        if (!inside) {
            listed.outside.append(place);
            return false;
        }
        if (isAbsoluteLink(info.filePath()))
            listed.absoluteLinks.append(place);
        if (!canRead(info))
            listed.unreadable.append(place);
        return true;
    };
    WalkVisitor visitor;
    visitor.file = [&](const QFileInfo &info, const QString &relativePath) {
        isInside(info);
        listed.files.append({folder.relativeFilePath(info.filePath()), relativePath});
    };
    visitor.enters = [&](const QFileInfo &info) {
        const bool circle = isCircle(info.filePath());
        if (circle)
            listed.circles.append(folder.relativeFilePath(info.filePath()));
        const bool isEntered = !circle && isInside(info);
        if (isEntered)
            addLeftOut(info, folder, &listed);
        return isEntered;
    };
    visitor.neither = [&](const QFileInfo &info) {
        if (isCircle(info.filePath()))
            listed.circles.append(folder.relativeFilePath(info.filePath()));
        else if (info.filePath() == tree.path(path))
            (info.exists() ? listed.isOther : listed.isMissing) = true;
    };
    walkListedPath(path, tree.path(), visitor);
    return listed;
}

} // namespace

QString Row::name() const
{
    if (!app || app->names.isEmpty())
        return {};
    return app->names.value(DEFAULT_LANGUAGE, app->names.first());
}

QStringList Row::pages() const
{
    return app ? QStringList{app->icon} + app->descriptions.values() : QStringList();
}

QStringList Row::publishedFiles() const
{
    QStringList paths;
    for (const ListedPath &path : listed) {
        for (const PublishedFile &file : path.files)
            paths.append(file.onDisk);
    }
    return paths;
}

std::optional<Catalogue> readCatalogue(const QString &projectFile, QString *error)
{
    Catalogue catalogue{projectFile, ProjectTree(QFileInfo(projectFile).absoluteDir().canonicalPath()), {}};
    if (!readRows(projectFile, &catalogue.rows, error))
        return std::nullopt;
    for (Row &row : catalogue.rows) {
        if (!row.app)
            continue;
        const AppConfig &app = *row.app;
        for (const QString &path : app.files)
            row.listed.append(walk(path, catalogue.tree));
        for (auto entry = app.descriptions.cbegin(); entry != app.descriptions.cend(); ++entry) {
            const QString &path = entry.value();
            row.descriptions.append(
                {entry.key(), path,
                 catalogue.tree.isOutside(path) ? std::nullopt : readPage(catalogue.tree.path(path))});
        }
    }
    return catalogue;
}

QString rowProblem(const QStringList &cells)
{
    const QStringList loaded = loadedCells(cells);
    if (loaded.size() < REQUIRED_COLUMNS)
        return QStringLiteral("%1 of at least %2 cells").arg(loaded.size()).arg(REQUIRED_COLUMNS);
    const QString problem = jsonProblem(loaded, NameColumn);
    return problem.isEmpty() ? jsonProblem(loaded, DescriptionColumn) : problem;
}

QString loadProblem(const QString &projectFile)
{
    QList<Row> rows;
    QString error;
    if (!readRows(projectFile, &rows, &error))
        return error;
    for (const Row &row : std::as_const(rows)) {
        if (!row.isHeader && !row.app)
            return QStringLiteral("%1:%2: ").arg(projectFile, QString::number(row.line)) + rowProblem(row.cells);
    }
    return {};
}
