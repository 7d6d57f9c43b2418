#include "cli/httpfetcher.h"

#include "cli/terminal.h"

#ifdef CATALIST_HTTP

#include <QUrl>

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <deque>
#include <map>
#include <utility>

namespace Cli {

namespace {

using Check::Answer;
using Check::HTTP_OK;
using Check::Receiver;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr int TRIES = 3;
constexpr milliseconds FIRST_PAUSE{500}; // doubled for the next
constexpr int MOST_REDIRECTS = 10;
constexpr milliseconds STEP{100}; // after which a timeout or an interruption is noticed
constexpr long MOST_MEMORY = 8L * 1024 * 1024; // for the buffers of all requests
constexpr long LARGEST_BUFFER = 256L * 1024;
constexpr long SMALLEST_BUFFER = 16L * 1024;

// Of what nobody reads; the connection is closed then.
constexpr qint64 MOST_HEADERS = 256LL * 1024;
constexpr qint64 MOST_OF_OTHER_BODIES = 64LL * 1024;

constexpr std::array<int, 5> STATUSES_TO_TRY_AGAIN{429, 500, 502, 503, 504};

/// A URL that is to be fetched.
struct Task
{
    QByteArray url; // encoded
    Receiver *receiver = nullptr;
};

/// A task that was begun, until its receiver has finished.
struct Request
{
    Task task = {};
    QByteArray url = task.url; // the redirect that it is at
    int triesLeft = TRIES;
    milliseconds pause = FIRST_PAUSE;
    Answer answer = {};
};

/// One of the requests that are under way.
struct Transfer
{
    CURL *handle = nullptr;
    Request request;
    Clock::time_point lastByte;
    QByteArray location; // of a redirect, as it was sent
    qint64 headers = 0; // bytes received
    qint64 body = 0; // bytes received
    bool isActive = false;
};

int statusOf(CURL *handle)
{
    long status = 0;
    curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
    return static_cast<int>(status);
}

size_t onBody(const char *data, size_t /*unit*/, size_t size, void *context)
{
    auto *transfer = static_cast<Transfer *>(context);
    transfer->lastByte = Clock::now();
    transfer->body += static_cast<qint64>(size);
    if (statusOf(transfer->handle) != HTTP_OK)
        return transfer->body > MOST_OF_OTHER_BODIES ? 0 : size;
    Request &request = transfer->request;
    request.answer.isCut = !request.task.receiver->receive(QByteArrayView(data, static_cast<qsizetype>(size)));
    return request.answer.isCut ? 0 : size;
}

size_t onHeader(const char *data, size_t /*unit*/, size_t size, void *context)
{
    auto *transfer = static_cast<Transfer *>(context);
    transfer->lastByte = Clock::now();
    transfer->headers += static_cast<qint64>(size);
    constexpr QByteArrayView LOCATION("location:");
    const QByteArrayView line(data, static_cast<qsizetype>(size));
    if (line.first(std::min(line.size(), LOCATION.size())).compare(LOCATION, Qt::CaseInsensitive) == 0)
        transfer->location = line.sliced(LOCATION.size()).trimmed().toByteArray();
    return transfer->headers > MOST_HEADERS ? 0 : size;
}

class HttpFetcher : public Check::Fetcher
{
public:
    explicit HttpFetcher(const FetchOptions &fetchOptions);
    ~HttpFetcher() override;
    Q_DISABLE_COPY_MOVE(HttpFetcher)

    void add(const QByteArray &url, Receiver *receiver) override { waiting.push_back({url, receiver}); }
    bool run(const std::function<void()> &progress) override;

private:
    void startWaiting();
    void start(Transfer *transfer, Request &&request);
    void stop(Transfer *transfer);
    void finishTransfers();
    void endSilentTransfers();
    void finish(Transfer *transfer, CURLcode result);
    void end(Request &&request);
    void tryAgainOrEnd(Request &&request, qint64 askedSeconds);
    [[nodiscard]] QString reasonOf(CURLcode result) const;
    [[nodiscard]] static QByteArray targetOf(const Request &request, const char *resolved, const QByteArray &location);
    /// Why a redirect must not be followed; empty when it may be.
    [[nodiscard]] static QString refusal(const Request &request, const QByteArray &target);

    FetchOptions options;
    CURLM *multi;
    curl_slist *headers;
    std::deque<Transfer> transfers; // which curl points to
    std::deque<Task> waiting;
    std::deque<Request> redirected;
    std::multimap<Clock::time_point, Request> paused; // by the time of the next try
    qsizetype active = 0;
};

HttpFetcher::HttpFetcher(const FetchOptions &fetchOptions)
    : options(fetchOptions), multi(curl_multi_init()), headers(curl_slist_append(nullptr, "Accept-Encoding: identity"))
{
    const long bufferSize = std::clamp(MOST_MEMORY / options.jobs, SMALLEST_BUFFER, LARGEST_BUFFER);
    transfers.resize(static_cast<size_t>(options.jobs));
    for (Transfer &transfer : transfers) {
        transfer.handle = curl_easy_init();
        CURL *handle = transfer.handle;
        curl_easy_setopt(handle, CURLOPT_PRIVATE, &transfer);
        curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &onBody);
        curl_easy_setopt(handle, CURLOPT_WRITEDATA, &transfer);
        curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, &onHeader);
        curl_easy_setopt(handle, CURLOPT_HEADERDATA, &transfer);
        curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers);
        curl_easy_setopt(handle, CURLOPT_USERAGENT, "catalist-cli/" CATALIST_VERSION);
        curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
        curl_easy_setopt(handle, CURLOPT_DISALLOW_USERNAME_IN_URL, 1L);
        curl_easy_setopt(handle, CURLOPT_BUFFERSIZE, bufferSize);
        // As other programs do, for servers whose certificates the system does not know.
        if (const QByteArray trusted = qgetenv("SSL_CERT_FILE"); !trusted.isEmpty()) {
            curl_easy_setopt(handle, CURLOPT_CAINFO, trusted.constData());
            curl_easy_setopt(handle, CURLOPT_CAPATH, nullptr);
        }
        // The name and the password of a proxy are credentials too.
        curl_easy_setopt(handle, CURLOPT_PROXYAUTH, 0L);
        // Or a slow name server would be waited for after an interruption.
        curl_easy_setopt(handle, CURLOPT_QUICK_EXIT, 1L);
    }
}

HttpFetcher::~HttpFetcher()
{
    for (Transfer &transfer : transfers) {
        if (transfer.isActive)
            curl_multi_remove_handle(multi, transfer.handle);
        curl_easy_cleanup(transfer.handle);
    }
    curl_multi_cleanup(multi);
    curl_slist_free_all(headers);
}

bool HttpFetcher::run(const std::function<void()> &progress)
{
    catchInterruption();
    while (active > 0 || !waiting.empty() || !redirected.empty() || !paused.empty()) {
        if (isInterrupted())
            return false;
        startWaiting();
        int running = 0;
        curl_multi_perform(multi, &running);
        finishTransfers();
        endSilentTransfers();
        if (progress)
            progress();
        const bool hasRoom = active < options.jobs && (!waiting.empty() || !redirected.empty());
        if (!hasRoom)
            curl_multi_poll(multi, nullptr, 0, static_cast<int>(STEP.count()), nullptr);
    }
    return true;
}

void HttpFetcher::startWaiting()
{
    for (Transfer &transfer : transfers) {
        if (transfer.isActive)
            continue;
        if (!redirected.empty()) {
            start(&transfer, std::move(redirected.front()));
            redirected.pop_front();
        } else if (!paused.empty() && paused.begin()->first <= Clock::now()) {
            start(&transfer, std::move(paused.begin()->second));
            paused.erase(paused.begin());
        } else if (!waiting.empty()) {
            start(&transfer, Request{.task = std::move(waiting.front())});
            waiting.pop_front();
        }
    }
}

void HttpFetcher::start(Transfer *transfer, Request &&request)
{
    transfer->request = std::move(request);
    transfer->lastByte = Clock::now();
    transfer->location.clear();
    transfer->headers = 0;
    transfer->body = 0;
    transfer->isActive = true;
    transfer->request.task.receiver->begin();
    curl_easy_setopt(transfer->handle, CURLOPT_URL, transfer->request.url.constData());
    curl_multi_add_handle(multi, transfer->handle);
    ++active;
}

void HttpFetcher::stop(Transfer *transfer)
{
    curl_multi_remove_handle(multi, transfer->handle);
    transfer->isActive = false;
    --active;
}

void HttpFetcher::finishTransfers()
{
    int left = 0;
    while (const CURLMsg *message = curl_multi_info_read(multi, &left)) {
        if (message->msg != CURLMSG_DONE)
            continue;
        const CURLcode result = message->data.result; // the message is freed with the handle
        Transfer *transfer = nullptr;
        curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &transfer);
        stop(transfer);
        finish(transfer, result);
    }
}

void HttpFetcher::endSilentTransfers()
{
    const auto now = Clock::now();
    for (Transfer &transfer : transfers) {
        if (transfer.isActive && now - transfer.lastByte > options.timeout) {
            stop(&transfer);
            finish(&transfer, CURLE_OPERATION_TIMEDOUT);
        }
    }
}

void HttpFetcher::finish(Transfer *transfer, CURLcode result)
{
    Request request = std::move(transfer->request);
    Answer &answer = request.answer;
    const char *type = nullptr;
    const char *location = nullptr;
    curl_off_t stated = -1;
    curl_off_t retryAfter = 0;
    answer.status = statusOf(transfer->handle);
    curl_easy_getinfo(transfer->handle, CURLINFO_CONTENT_TYPE, &type);
    curl_easy_getinfo(transfer->handle, CURLINFO_REDIRECT_URL, &location);
    curl_easy_getinfo(transfer->handle, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &stated);
    curl_easy_getinfo(transfer->handle, CURLINFO_RETRY_AFTER, &retryAfter);
    answer.type = QString::fromLatin1(type);
    answer.statedSize = stated;

    if (answer.status == HTTP_OK && result != CURLE_OK && !answer.isCut) {
        const bool isTimeout = result == CURLE_OPERATION_TIMEDOUT;
        answer.isShort = !isTimeout && transfer->body < stated;
        if (!answer.isShort)
            answer.failure = reasonOf(result);
        if (result == CURLE_PARTIAL_FILE && answer.isShort)
            end(std::move(request));
        else
            tryAgainOrEnd(std::move(request), 0);
    } else if (answer.status == 0) {
        answer.failure = reasonOf(result);
        tryAgainOrEnd(std::move(request), 0);
    } else if (const QByteArray target = targetOf(request, location, transfer->location);
               !target.isEmpty() && answer.status / 100 == 3) {
        // Of another status than 200 the body does not matter, nor whether it was whole.
        answer.failure = refusal(request, target);
        if (!answer.failure.isEmpty()) {
            end(std::move(request));
        } else {
            answer.redirects.append(QString::fromUtf8(target));
            request.url = target;
            redirected.push_back(std::move(request));
        }
    } else if (std::find(STATUSES_TO_TRY_AGAIN.begin(), STATUSES_TO_TRY_AGAIN.end(), answer.status)
               != STATUSES_TO_TRY_AGAIN.end()) {
        tryAgainOrEnd(std::move(request), retryAfter);
    } else {
        end(std::move(request));
    }
}

/// Where a redirect leads to. After a body that was cut off, libcurl does not say it.
QByteArray HttpFetcher::targetOf(const Request &request, const char *resolved, const QByteArray &location)
{
    if (resolved || location.isEmpty())
        return resolved;
    return QUrl::fromEncoded(request.url).resolved(QUrl::fromEncoded(location)).toEncoded();
}

QString HttpFetcher::reasonOf(CURLcode result) const
{
    return result == CURLE_OPERATION_TIMEDOUT ? QStringLiteral("No byte within %1 s").arg(options.timeout.count())
                                              : QString::fromUtf8(curl_easy_strerror(result));
}

void HttpFetcher::end(Request &&request)
{
    request.task.receiver->finish(request.answer);
}

void HttpFetcher::tryAgainOrEnd(Request &&request, qint64 askedSeconds)
{
    if (--request.triesLeft == 0) {
        end(std::move(request));
        return;
    }
    const std::chrono::seconds asked(std::clamp<qint64>(askedSeconds, 0, options.timeout.count()));
    const auto next = Clock::now() + std::max<milliseconds>(asked, request.pause);
    request.pause *= 2;
    request.url = request.task.url;
    request.answer = {};
    paused.emplace(next, std::move(request));
}

QString HttpFetcher::refusal(const Request &request, const QByteArray &target)
{
    const QStringList &before = request.answer.redirects;
    const QUrl url = QUrl::fromEncoded(target);
    if (url.scheme() != QLatin1String("http") && url.scheme() != QLatin1String("https"))
        return QStringLiteral("Redirected to another scheme");
    if (!url.isValid() || url.host().isEmpty())
        return QStringLiteral("Redirected to no host");
    if (url.authority().contains(QLatin1Char('@')))
        return QStringLiteral("Redirected with the name of a user");
    if (url.scheme() == QLatin1String("http") && request.url.startsWith("https:"))
        return QStringLiteral("Redirected from a secure to an insecure URL");
    if (target == request.task.url || before.contains(QString::fromUtf8(target)))
        return QStringLiteral("Redirected in a loop");
    return before.size() >= MOST_REDIRECTS ? QStringLiteral("Redirected more than %1 times").arg(MOST_REDIRECTS)
                                           : QString();
}

} // namespace

std::unique_ptr<Check::Fetcher> makeHttpFetcher(const FetchOptions &options)
{
    return std::make_unique<HttpFetcher>(options);
}

} // namespace Cli

#else

namespace Cli {

std::unique_ptr<Check::Fetcher> makeHttpFetcher(const FetchOptions & /*options*/)
{
    return nullptr;
}

} // namespace Cli

#endif
