#pragma once

#include "check/finding.h"
#include "io/fileresult.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>

namespace Check {

/// The content of an index; an error when it is not JSON. The place is its file or URL.
[[nodiscard]] FileResult<QJsonObject> parseIndex(const QByteArray &content, const QString &place);

/// The index in a file; an error when it cannot be read or is not JSON.
[[nodiscard]] FileResult<QJsonObject> readIndex(const QString &path);

struct NamedIndex
{
    QString place; ///< its file or URL
    QJsonObject content;
};

/// What is wrong with a published index, or with one app of it, for a client that downloads from a repository URL; the
/// folder has the files of that URL. In the order of the index; files that the index does not name come last, and only
/// when all apps are looked at. An error when the folder cannot be read, or the app is not in the index. The threads
/// hash the files.
[[nodiscard]] FileResult<Result> verifyFolder(const QString &folder, const NamedIndex &index, const QString &repoUrl,
                                              const std::optional<QString> &appName = {}, int threads = 1);

/// The same with the index in a file; an error also when that cannot be read.
[[nodiscard]] FileResult<Result> verifyIndex(const QString &folder, const QString &indexFile, const QString &repoUrl,
                                             const std::optional<QString> &appName = {}, int threads = 1);

} // namespace Check
