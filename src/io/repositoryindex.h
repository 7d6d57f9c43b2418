#pragma once

#include "model/appconfig.h"

#include <QFileInfo>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

// The repository index, Apps.json: every app with its metadata, and every file with URL, destination, size and SHA-1.

inline constexpr QLatin1String INDEX_FILE_NAME("Apps.json");

/// Before the paths of the files on a transmitter.
inline constexpr QLatin1String APPS_FOLDER("Apps/");

/// What somebody who watches the publishing sees of it.
struct IndexReport
{
    qsizetype apps = 0; ///< begun so far
    qsizetype files = 0; ///< published so far
    qint64 bytes = 0; ///< in those files
    QStringList missing; ///< listed paths that do not exist and have no entry
    QStringList unreadable; ///< files whose hash is empty, and folders that look empty
    QString error; ///< the system's reason why the index is not on the disk as a whole
    std::function<void(const IndexReport &)> progress; ///< called before each file is read
};

/// What the walk over a listed path meets. A file comes with its path relative to the project folder, where each
/// backslash has become a slash.
struct WalkVisitor
{
    std::function<void(const QFileInfo &file, const QString &relativePath)> file;
    std::function<bool(const QFileInfo &folder)> enters; ///< without one every folder is entered
    std::function<void(const QFileInfo &entry)> neither; ///< file nor folder
};

/// Walks over what is published of a listed path: itself or, of a folder, the files in it without hidden ones.
void walkListedPath(const QString &listed, const QString &projectDir, const WalkVisitor &visitor);

/// Whether an existing file in the project folder is one that the index names: an icon, a description, or a file that
/// is published, under its own name or through a link. The folder's path is canonical.
[[nodiscard]] bool isNamedByIndex(const QString &file, const QList<AppConfig> &apps, const QString &projectDir);

/// Whether an existing file is one that the catalogue is made of: the project file, or one that the index names. A
/// former index is none, though it may be listed with the whole project folder.
[[nodiscard]] bool isSourceOfIndex(const QString &file, const QList<AppConfig> &apps, const QString &projectFile);

/// Whether a file begins as every index does.
[[nodiscard]] bool isRepositoryIndex(const QString &file);

/// A repository URL as it stands before paths: a "/" is added where it does not end in one.
[[nodiscard]] QString repositoryUrl(const QString &typed);

/// The index as a JSON object. Reads every file that the apps list, in folders too, from the project folder,
/// whose path is absolute; with an empty one no file is found.
/// The repository URL is put before each path as it stands; it ends in "/" for all common purposes.
[[nodiscard]] QJsonObject buildRepositoryIndex(const QList<AppConfig> &apps, const QString &repoUrl,
                                               const QString &projectDir, IndexReport *report = nullptr);

/// Writes the index as indented JSON. The file is truncated before the walk over the apps' files, which may
/// meet it. False when it cannot be opened; later write errors show in the report alone.
bool writeRepositoryIndex(const QString &jsonFile, const QList<AppConfig> &apps, const QString &repoUrl,
                          const QString &projectDir, IndexReport *report = nullptr);
