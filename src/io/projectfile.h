#pragma once

#include "io/fileresult.h"
#include "model/appconfig.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

// The project file, Apps.csv: a header, then a line per app; cells are separated by ";" and never quoted.

inline constexpr QLatin1String PROJECT_FILE_NAME("Apps.csv");

/// The cells of a line, in their order.
enum ProjectColumn {
    NameColumn,
    AuthorColumn,
    VersionColumn,
    HardwareColumn,
    DateColumn,
    DescriptionColumn,
    FilesColumn,
    IconColumn,
    MinVersionColumn,
};
inline constexpr qsizetype REQUIRED_COLUMNS = IconColumn; ///< a line has at least the cells before this one
inline constexpr qsizetype COLUMN_COUNT = MinVersionColumn + 1; ///< further cells are ignored

/// In the header.
[[nodiscard]] QString columnTitle(ProjectColumn column);

/// A line of a project file as it is loaded.
struct ProjectLine
{
    int number = 0; ///< the first being 1
    QStringList cells;
    bool isHeader = false; ///< its first cell is that of the header, so it is skipped
    bool hasCarriageReturn = false; ///< in the middle, from where loading removes it
    std::optional<AppConfig> app; ///< nothing for a header and for a malformed line
    QString problem; ///< why it is malformed, with the column and the place in it; empty when it is not
};

/// Visits the lines of a project file, until the visitor returns false. An error when there is no regular file that can
/// be read to its end; then no line was visited.
[[nodiscard]] FileResult<> readProjectLines(const QString &path, const std::function<bool(ProjectLine &&)> &visit);

/// Replaces the records by those of a project file. An error when it cannot be read (the records are untouched), or at
/// its first malformed line: one of fewer than seven cells, or whose names or descriptions are not JSON. The records
/// are then those before it.
[[nodiscard]] FileResult<> readProject(const QString &path, QList<AppConfig> *apps);

/// What a version is read from: the cell without its quotes.
[[nodiscard]] QString versionText(QString cell);

/// The canonical path of the folder that a project file is in; empty when there is none.
[[nodiscard]] QString projectFolder(const QString &projectFile);

/// Builds the content of a project file line by line, so that a window can do it in steps.
class ProjectBuilder
{
public:
    explicit ProjectBuilder(QList<AppConfig> records);

    /// False when there is no further line.
    bool addLine();

    QByteArray content;

private:
    QList<AppConfig> apps;
    qsizetype next = 0;
};

/// The content of a project file with these records.
[[nodiscard]] QByteArray projectContent(const QList<AppConfig> &apps);
