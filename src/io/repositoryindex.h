#pragma once

#include "model/appconfig.h"

#include <QJsonObject>
#include <QList>
#include <QString>

// The repository index, Apps.json: every app with its metadata, and every file with URL, destination, size and SHA-1.

/// The index as a JSON object. Reads every file that the apps list, in folders too, from the project folder,
/// whose path is absolute; with an empty one no file is found.
/// The repository URL is put before each path as it stands; it ends in "/" for all common purposes.
[[nodiscard]] QJsonObject buildRepositoryIndex(const QList<AppConfig> &apps, const QString &repoUrl,
                                               const QString &projectDir);

/// Writes the index as indented JSON. The file is truncated before the walk over the apps' files, which may
/// meet it. False when it cannot be opened; later write errors go unnoticed.
bool writeRepositoryIndex(const QString &jsonFile, const QList<AppConfig> &apps, const QString &repoUrl,
                          const QString &projectDir);
