#pragma once

#include "check/verifyserver.h"
#include "cli/httpfetcher.h"
#include "io/fileresult.h"

#include <QJsonObject>
#include <QString>

#include <optional>

// What the command takes as a place: a file or a folder, or a URL of http or https.

namespace Cli {

[[nodiscard]] bool isUrl(const QString &place);

/// Why a URL cannot be a place or a repository URL; empty when it can.
[[nodiscard]] QString urlProblem(const QString &url);

struct VerifyOptions
{
    QString place; ///< the folder or URL with what is published
    QString index; ///< empty for Apps.json there
    QString repoUrl; ///< with a "/" at its end
    std::optional<QString> appName;
    int threads = 1; ///< that hash the files of a folder
    FetchOptions fetch; ///< from a server
};

/// The file or URL of the index that verifyPlace() reads.
[[nodiscard]] QString indexPlace(const VerifyOptions &options);

/// The index in a file or at a URL.
[[nodiscard]] FileResult<QJsonObject> readIndexAt(const QString &place, const FetchOptions &options);

/// Verifies a folder, or a server while a line on a terminal shows how far it is.
[[nodiscard]] FileResult<Check::Result> verifyPlace(const VerifyOptions &options);

} // namespace Cli
