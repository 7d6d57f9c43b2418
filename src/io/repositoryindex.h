#pragma once

#include "io/fileresult.h"
#include "io/folderwalk.h"
#include "model/appconfig.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <functional>
#include <optional>

// The repository index, Apps.json: every app with its metadata, and every file with URL, destination, size and SHA-1.

inline constexpr QLatin1String INDEX_FILE_NAME("Apps.json");

/// Begins the paths of all files on a transmitter.
inline constexpr QLatin1String APPS_FOLDER("Apps/");

/// How far the publishing of an index is, and what went wrong.
struct IndexReport
{
    qsizetype apps = 0; ///< published, the current one too
    qsizetype files = 0; ///< published
    qint64 bytes = 0; ///< in those files
    QList<FileError> leftOut; ///< listed paths, folders and files that have no entries
    QList<FileError> withoutHash; ///< files that have an entry with an empty hash
    std::optional<FileError> error; ///< why the index is not on the disk as a whole
    std::function<void(const IndexReport &)> progress; ///< called at first, and after each file
    std::function<void(const WalkEntry &)> visited; ///< called with everything that is met under the listed paths
};

/// A path relative to the project folder as it is published: each backslash has become a slash.
[[nodiscard]] QString publishedPath(QString path);

/// Whether the index names an existing file of the project folder as an icon, a description or a published file, by its
/// own name or through a link. The path of the folder is canonical.
[[nodiscard]] bool isNamedByIndex(const QString &file, const QList<AppConfig> &apps, const QString &projectDir);

/// Whether an existing file belongs to the catalogue: the project file, or a file that the index names. A former index
/// does not, though it may be listed with the whole project folder.
[[nodiscard]] bool isSourceOfIndex(const QString &file, const QList<AppConfig> &apps, const QString &projectFile);

/// Whether a file begins as every index does.
[[nodiscard]] bool isRepositoryIndex(const QString &file);

/// The typed repository URL with a "/" at its end.
[[nodiscard]] QString repositoryUrl(const QString &typed);

/// The index as indented JSON. Reads every file that the apps list, in folders too, from the project folder, whose path
/// is absolute; with an empty one no file is found. The threads hash the files.
/// The repository URL is put before each path, unchanged; usually it ends in "/".
[[nodiscard]] QByteArray repositoryIndex(const QList<AppConfig> &apps, const QString &repoUrl,
                                         const QString &projectDir, IndexReport *report = nullptr, int threads = 1);

/// Writes the index as indented JSON. The file is truncated before the walk over the apps' files, which may meet it.
/// False when it cannot be opened; what goes wrong later is in the report alone.
bool writeRepositoryIndex(const QString &jsonFile, const QList<AppConfig> &apps, const QString &repoUrl,
                          const QString &projectDir, IndexReport *report = nullptr);
