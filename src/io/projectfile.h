#pragma once

#include "model/appconfig.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

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

/// As the header has it.
[[nodiscard]] QString columnTitle(ProjectColumn column);

/// Replaces the records by those of a project file. False when there is no regular file that can be read to its end
/// (the records are untouched), or at the first malformed row: one of fewer than seven cells, or whose names or
/// descriptions are not JSON. The records then hold the rows before it.
[[nodiscard]] bool readProject(const QString &path, QList<AppConfig> *apps);

/// The record of a row; nothing when the row is malformed.
[[nodiscard]] std::optional<AppConfig> appFromCells(const QStringList &cells);

/// Builds the content of a project file line by line, so that it can be spread out over a while.
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

/// What a project file with these records holds.
[[nodiscard]] QByteArray projectContent(const QList<AppConfig> &apps);

/// Replaces a project file by the records. False when that failed; the file is then as it was.
[[nodiscard]] bool writeProject(const QString &path, const QList<AppConfig> &apps);
