#include "cli/place.h"

#include "check/fetcher.h"
#include "check/verify.h"
#include "cli/output.h"
#include "io/repositoryindex.h"

#include <QDir>
#include <QElapsedTimer>
#include <QUrl>

#include <algorithm>

namespace Cli {

namespace {

FileError cannotFetch(const QString &url)
{
    return {url, QStringLiteral("This program was built without libcurl, and cannot fetch")};
}

QString progressText(const Check::FetchProgress &progress, qint64 milliseconds)
{
    const qint64 rate = progress.bytes * 1000 / std::max<qint64>(milliseconds, 1);
    return QStringLiteral("%1 of %2, %3, %4 per second")
        .arg(QString::number(progress.files), counted(progress.allFiles, QStringLiteral("file")),
             counted(progress.bytes, QStringLiteral("byte")), counted(rate, QStringLiteral("byte")));
}

FileResult<Check::FetchedIndex> fileIndex(const QString &path)
{
    const auto content = Check::readIndex(path);
    if (!content)
        return content.error();
    return Check::FetchedIndex{path, *content, {}};
}

FileResult<Check::Result> verifyUrl(const VerifyOptions &options)
{
    const auto fetcher = makeHttpFetcher(options.fetch);
    if (!fetcher)
        return cannotFetch(options.place);
    const QString indexPath = indexPlace(options);
    const auto index = isUrl(indexPath) ? Check::fetchIndex(QUrl(indexPath), fetcher.get()) : fileIndex(indexPath);
    if (!index)
        return index.error();

    ProgressLine line;
    QElapsedTimer time;
    time.start();
    Check::ServerOptions server{options.repoUrl, QUrl(repositoryUrl(options.place)), options.appName, {}};
    server.progress = [&](const Check::FetchProgress &progress) {
        line.show([&] { return progressText(progress, time.elapsed()); });
    };
    return Check::verifyServer(*index, server, fetcher.get());
}

} // namespace

bool isUrl(const QString &place)
{
    return place.startsWith(QLatin1String("http://"), Qt::CaseInsensitive)
           || place.startsWith(QLatin1String("https://"), Qt::CaseInsensitive);
}

QString urlProblem(const QString &url)
{
    const QUrl parsed(url);
    if (!isUrl(url) || !parsed.isValid() || parsed.host().isEmpty())
        return QStringLiteral("is no URL with http:// or https:// and a host");
    if (parsed.authority().contains(QLatin1Char('@')))
        return QStringLiteral("has the name of a user");
    return {};
}

QString indexPlace(const VerifyOptions &options)
{
    if (!options.index.isEmpty())
        return options.index;
    return isUrl(options.place) ? repositoryUrl(options.place) + INDEX_FILE_NAME
                                : QDir(options.place).filePath(INDEX_FILE_NAME);
}

FileResult<QJsonObject> readIndexAt(const QString &place, const FetchOptions &options)
{
    if (!isUrl(place))
        return Check::readIndex(place);
    const auto fetcher = makeHttpFetcher(options);
    if (!fetcher)
        return cannotFetch(place);
    const auto index = Check::fetchIndex(QUrl(place), fetcher.get());
    if (!index)
        return index.error();
    return index->content;
}

FileResult<Check::Result> verifyPlace(const VerifyOptions &options)
{
    if (isUrl(options.place))
        return verifyUrl(options);
    const QString index = indexPlace(options);
    if (!isUrl(index))
        return Check::verifyIndex(options.place, index, options.repoUrl, options.appName, options.threads);
    const auto content = readIndexAt(index, options.fetch);
    if (!content)
        return content.error();
    return Check::verifyFolder(options.place, {index, *content}, options.repoUrl, options.appName, options.threads);
}

} // namespace Cli
