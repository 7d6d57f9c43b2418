#pragma once

#include "check/finding.h"
#include "io/fileresult.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <functional>
#include <optional>

namespace Check {

class Fetcher;

/// How far the verification of a server is.
struct FetchProgress
{
    qsizetype files = 0; ///< fetched
    qsizetype allFiles = 0; ///< known so far
    qint64 bytes = 0; ///< received
};

struct ServerOptions
{
    QString repoUrl; ///< with which the index was published
    QUrl place; ///< where what begins with it is fetched from; ends in "/"
    std::optional<QString> appName; ///< to look at one app only
    std::function<void(const FetchProgress &)> progress;
};

/// An index from a server.
struct FetchedIndex
{
    QString url;
    QJsonObject content;
    QStringList redirects; ///< that were followed
};

/// The index at a URL; an error when it cannot be fetched or is not JSON.
[[nodiscard]] FileResult<FetchedIndex> fetchIndex(const QUrl &url, Fetcher *fetcher);

/// Fetches everything that an index names below its repository URL, and reports what a download client would not get as
/// the index says. No body is kept. Findings are in the order of the index. An error when the app is not in the index.
[[nodiscard]] FileResult<Result> verifyServer(FetchedIndex index, const ServerOptions &options, Fetcher *fetcher);

} // namespace Check
