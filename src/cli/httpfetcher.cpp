#include "cli/httpfetcher.h"

#include "cli/terminal.h"

#ifdef CATALIST_HTTP

#include <QHash>
#include <QList>

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <deque>
#include <utility>

namespace Cli {

namespace {

using Check::Answer;
using Check::Receiver;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr int TRIES = 3;
constexpr milliseconds FIRST_PAUSE{500}; // doubled for the next
constexpr int MOST_REDIRECTS = 10;
constexpr milliseconds STEP{100}; // after which a timeout or an interruption is noticed
constexpr long BUFFER_SIZE = 256L * 1024;

constexpr int OK = 200;
constexpr std::array<int, 5> STATUSES_TO_TRY_AGAIN{429, 500, 502, 503, 504};

/// A URL that is to be fetched, until its receiver has finished.
struct Request
{
    QUrl start;
    Receiver *receiver = nullptr;
    QUrl url = start; // the redirect that it is at
    int triesLeft = TRIES;
    milliseconds pause = FIRST_PAUSE;
    Clock::time_point notBefore = {}; // of the next try
    Answer answer = {};
};

/// One of the requests that are under way.
struct Transfer
{
    CURL *handle = nullptr;
    Request request;
    Clock::time_point lastByte;
    qint64 received = 0; // of a body with the status 200
    bool isActive = false;
};

size_t onBody(const char *data, size_t /*unit*/, size_t size, void *context)
{
    auto *transfer = static_cast<Transfer *>(context);
    transfer->lastByte = Clock::now();
    long status = 0;
    curl_easy_getinfo(transfer->handle, CURLINFO_RESPONSE_CODE, &status);
    if (status != OK)
        return size;
    transfer->received += static_cast<qint64>(size);
    transfer->request.answer.isCut =
        !transfer->request.receiver->receive(QByteArrayView(data, static_cast<qsizetype>(size)));
    return transfer->request.answer.isCut ? 0 : size;
}

size_t onHeader(const char * /*data*/, size_t /*unit*/, size_t size, void *context)
{
    static_cast<Transfer *>(context)->lastByte = Clock::now();
    return size;
}

class HttpFetcher : public Check::Fetcher
{
public:
    explicit HttpFetcher(const FetchOptions &fetchOptions);
    ~HttpFetcher() override;
    Q_DISABLE_COPY_MOVE(HttpFetcher)

    void add(const QUrl &url, Receiver *receiver) override;
    bool run(const std::function<void()> &progress) override;

private:
    void startWaiting();
    void start(Transfer *transfer, Request &&request);
    void stop(Transfer *transfer);
    void finishTransfers();
    void endSilentTransfers();
    void finish(Transfer *transfer, CURLcode result);
    void end(Request &&request);
    void tryAgainOrEnd(Request &&request, milliseconds askedPause);
    /// Why a redirect must not be followed; empty when it may be.
    [[nodiscard]] static QString refusal(const Request &request, const QUrl &target);

    FetchOptions options;
    CURLM *multi;
    curl_slist *headers;
    std::deque<Transfer> transfers; // which curl points to
    std::deque<Request> waiting;
    QList<Request> paused;
    qsizetype active = 0;
};

HttpFetcher::HttpFetcher(const FetchOptions &fetchOptions)
    : options(fetchOptions), multi(curl_multi_init()), headers(curl_slist_append(nullptr, "Accept-Encoding: identity"))
{
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
        curl_easy_setopt(handle, CURLOPT_BUFFERSIZE, BUFFER_SIZE);
        curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
        // As other programs do, for servers whose certificates the system does not know.
        if (const QByteArray trusted = qgetenv("SSL_CERT_FILE"); !trusted.isEmpty())
            curl_easy_setopt(handle, CURLOPT_CAINFO, trusted.constData());
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

void HttpFetcher::add(const QUrl &url, Receiver *receiver)
{
    waiting.push_back({.start = url, .receiver = receiver});
}

bool HttpFetcher::run(const std::function<void()> &progress)
{
    catchInterruption();
    while (active > 0 || !waiting.empty() || !paused.isEmpty()) {
        if (isInterrupted())
            return false;
        startWaiting();
        int running = 0;
        curl_multi_perform(multi, &running);
        finishTransfers();
        endSilentTransfers();
        if (progress)
            progress();
        const bool hasRoom = active < options.jobs && !waiting.empty();
        if (!hasRoom)
            curl_multi_poll(multi, nullptr, 0, static_cast<int>(STEP.count()), nullptr);
    }
    return true;
}

void HttpFetcher::startWaiting()
{
    const auto now = Clock::now();
    for (Transfer &transfer : transfers) {
        if (transfer.isActive)
            continue;
        const auto due = std::find_if(paused.begin(), paused.end(),
                                      [now](const Request &request) { return request.notBefore <= now; });
        if (due != paused.end()) {
            Request request = std::move(*due);
            paused.erase(due);
            start(&transfer, std::move(request));
        } else if (!waiting.empty()) {
            Request request = std::move(waiting.front());
            waiting.pop_front();
            start(&transfer, std::move(request));
        }
    }
}

void HttpFetcher::start(Transfer *transfer, Request &&request)
{
    transfer->request = std::move(request);
    transfer->lastByte = Clock::now();
    transfer->received = 0;
    transfer->isActive = true;
    transfer->request.receiver->begin();
    curl_easy_setopt(transfer->handle, CURLOPT_URL, transfer->request.url.toEncoded().constData());
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
        const CURLcode result = message->data.result; // the message goes with the handle
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
    long status = 0;
    const char *type = nullptr;
    const char *redirect = nullptr;
    curl_off_t stated = -1;
    curl_off_t retryAfter = 0;
    curl_easy_getinfo(transfer->handle, CURLINFO_RESPONSE_CODE, &status);
    curl_easy_getinfo(transfer->handle, CURLINFO_CONTENT_TYPE, &type);
    curl_easy_getinfo(transfer->handle, CURLINFO_REDIRECT_URL, &redirect);
    curl_easy_getinfo(transfer->handle, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &stated);
    curl_easy_getinfo(transfer->handle, CURLINFO_RETRY_AFTER, &retryAfter);
    answer.status = static_cast<int>(status);
    answer.type = QString::fromLatin1(type);
    answer.statedSize = stated;
    answer.isShort = result == CURLE_PARTIAL_FILE && transfer->received < stated;

    const bool isWhole = result == CURLE_OK || answer.isCut || answer.isShort;
    if (!isWhole) {
        answer.failure = result == CURLE_OPERATION_TIMEDOUT
                             ? QStringLiteral("No byte within %1 s").arg(options.timeout.count())
                             : QString::fromUtf8(curl_easy_strerror(result));
        tryAgainOrEnd(std::move(request), milliseconds(0));
    } else if (redirect) {
        const QUrl target = QUrl::fromEncoded(redirect);
        answer.failure = refusal(request, target);
        if (!answer.failure.isEmpty()) {
            end(std::move(request));
        } else {
            answer.redirects.append(target.toDisplayString());
            request.url = target;
            waiting.push_front(std::move(request));
        }
    } else if (std::find(STATUSES_TO_TRY_AGAIN.begin(), STATUSES_TO_TRY_AGAIN.end(), answer.status)
               != STATUSES_TO_TRY_AGAIN.end()) {
        tryAgainOrEnd(std::move(request), std::chrono::seconds(retryAfter));
    } else {
        end(std::move(request));
    }
}

void HttpFetcher::end(Request &&request)
{
    request.receiver->finish(request.answer);
}

void HttpFetcher::tryAgainOrEnd(Request &&request, milliseconds askedPause)
{
    if (--request.triesLeft == 0) {
        end(std::move(request));
        return;
    }
    request.notBefore =
        Clock::now() + std::clamp(askedPause, request.pause, std::max<milliseconds>(options.timeout, request.pause));
    request.pause *= 2;
    request.url = request.start;
    request.answer = {};
    paused.append(std::move(request));
}

QString HttpFetcher::refusal(const Request &request, const QUrl &target)
{
    const QStringList &before = request.answer.redirects;
    const QString scheme = target.scheme();
    if (scheme != QLatin1String("http") && scheme != QLatin1String("https"))
        return QStringLiteral("Redirected to another scheme");
    if (scheme == QLatin1String("http") && request.url.scheme() == QLatin1String("https"))
        return QStringLiteral("Redirected from a secure to an insecure URL");
    if (target == request.start || before.contains(target.toDisplayString()))
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
