#include "check/verifyserver.h"

#include "check/fetcher.h"
#include "check/page.h"
#include "check/projecttree.h"
#include "check/verification.h"
#include "check/verify.h"
#include "io/digest.h"
#include "io/wholefile.h"

#include <QHash>

#include <algorithm>
#include <array>
#include <memory>
#include <unordered_map>
#include <utility>

namespace Check {

namespace {

constexpr int NOT_FOUND = 404;
constexpr int GONE = 410;
constexpr qsizetype LONGEST_TAG = 2'000'000; // in characters; a description needs no more memory

/// The media type in a Content-Type header, in lower case.
QString mediaType(const QString &contentType)
{
    return contentType.section(QLatin1Char(';'), 0, 0).trimmed().toLower();
}

/// The charset in a Content-Type header, in lower case; empty for none.
QString charset(const QString &contentType)
{
    const QStringList parameters = contentType.split(QLatin1Char(';')).mid(1);
    for (const QString &parameter : parameters) {
        if (parameter.section(QLatin1Char('='), 0, 0).trimmed().compare(QLatin1String("charset"), Qt::CaseInsensitive)
            == 0)
            return parameter.section(QLatin1Char('='), 1).trimmed().remove(QLatin1Char('"')).toLower();
    }
    return {};
}

bool isUtf8Name(const QString &charset)
{
    return charset == QLatin1String("utf-8") || charset == QLatin1String("utf8");
}

class ServerVerification : public Verification
{
public:
    ServerVerification(const ServerOptions &serverOptions, Fetcher *serverFetcher)
        : Verification(serverOptions.repoUrl), options(serverOptions), fetcher(serverFetcher)
    {
    }

    void reportRedirects(const FetchedIndex &index)
    {
        for (const QString &target : index.redirects)
            report("http-redirect", {index.url, target});
    }

    /// False when it was interrupted.
    bool fetch()
    {
        return fetcher->run([this] {
            if (options.progress)
                options.progress(progress);
        });
    }

protected:
    void verifyFile(const IndexedFile &file) override
    {
        use(file.path, {.kind = Use::File, .position = here(), .size = file.size, .hash = file.hash});
    }
    void verifyIcon(const QString &path) override { use(path, {.kind = Use::Icon, .position = here()}); }
    void verifyDescription(const QString &path) override { use(path, {.kind = Use::Description, .position = here()}); }

private:
    /// What the index or a description wants a resource for.
    struct Use
    {
        enum Kind { File, Icon, Description, Picture };

        Kind kind;
        Position position;
        qint64 size = 0; ///< of a file, in the index
        QString hash = {}; ///< of a file, in the index
        QString page = {}; ///< that shows the picture
    };

    /// Something that is fetched once, for all its uses.
    class Resource : public Receiver
    {
    public:
        Resource(ServerVerification *verification, QString resourcePath)
            : all(verification), path(std::move(resourcePath))
        {
        }

        void begin() override;
        bool receive(QByteArrayView piece) override;
        void finish(const Answer &complete) override;

        /// Adds a use, or judges it when the resource is there already.
        void add(const Use &use);

    private:
        [[nodiscard]] bool isUsedAs(Use::Kind kind) const;
        [[nodiscard]] qint64 most() const { return indexedSize.value_or(LARGEST_RESOURCE); } // of the body
        void addPictures(const Use &description, const QStringList &sources) const;
        void judge(const Use &use);
        void judgeSize(const Use &use) const;
        void judgeType(const Use &use);
        void report(const Use &use, const char *code, const QStringList &particulars) const
        {
            all->reportAt(use.position, code, QStringList{path} + particulars);
        }

        ServerVerification *all;
        QString path; // below the repository URL
        QList<Use> uses;
        std::optional<qint64> indexedSize; // the largest that the index has for it as a file
        qint64 size = 0; // received
        QString hash;
        bool isTypeJudged = false;
        bool pageSaysUtf8 = false;
        bool pageIsUtf8 = true;
        std::unique_ptr<PageReader> page; // while a description is received
        std::unique_ptr<Digest> digest; // while a file is received
        std::optional<Answer> answer;
    };

    void use(const QString &path, const Use &use)
    {
        // What a URL cuts, a client asks for under another name.
        if (!isCutInUrl(path))
            resource(address(path), path)->add(use);
    }

    /// The URL that a client asks for, encoded.
    [[nodiscard]] QByteArray address(const QString &path) const
    {
        return QUrl(options.place.toString(QUrl::FullyEncoded) + path).toEncoded();
    }

    Resource *resource(const QByteArray &url, const QString &path)
    {
        std::unique_ptr<Resource> &found = resources[url];
        if (!found) {
            found = std::make_unique<Resource>(this, path);
            fetcher->add(url, found.get());
            ++progress.allFiles;
        }
        return found.get();
    }

    ServerOptions options;
    Fetcher *fetcher;
    FetchProgress progress;
    std::unordered_map<QByteArray, std::unique_ptr<Resource>> resources; // by URL
};

void ServerVerification::Resource::add(const Use &use)
{
    uses.append(use);
    if (use.kind == Use::File)
        indexedSize = std::max(indexedSize.value_or(0), use.size);
    if (answer)
        judge(use);
}

bool ServerVerification::Resource::isUsedAs(Use::Kind kind) const
{
    return std::any_of(uses.cbegin(), uses.cend(), [kind](const Use &use) { return use.kind == kind; });
}

void ServerVerification::Resource::begin()
{
    size = 0;
    if (isUsedAs(Use::File))
        digest = std::make_unique<Digest>(makeDigest(QCryptographicHash::Sha1));
    if (isUsedAs(Use::Description))
        page = std::make_unique<PageReader>(LONGEST_TAG);
}

bool ServerVerification::Resource::receive(QByteArrayView piece)
{
    size += piece.size();
    all->progress.bytes += piece.size();
    if (size > most())
        return false;
    if (digest)
        digest->add(piece);
    if (page)
        page->add(piece);
    return true;
}

void ServerVerification::Resource::finish(const Answer &complete)
{
    answer = complete;
    ++all->progress.files;
    if (digest)
        hash = QString::fromLatin1(digest->result().toHex());
    QStringList pictures;
    if (page) {
        page->finish();
        pageSaysUtf8 = page->saysUtf8();
        pageIsUtf8 = page->isUtf8();
        pictures = page->pictureSources();
    }
    digest.reset();
    page.reset();
    for (const QString &target : std::as_const(answer->redirects))
        report(uses.constFirst(), "http-redirect", {target});
    for (const Use &use : std::as_const(uses))
        judge(use);
    const auto description =
        std::find_if(uses.cbegin(), uses.cend(), [](const Use &use) { return use.kind == Use::Description; });
    if (description != uses.cend() && answer->failure.isEmpty() && answer->status == HTTP_OK)
        addPictures(Use(*description), pictures);
    uses.clear();
}

void ServerVerification::Resource::judge(const Use &use)
{
    struct Missing
    {
        Use::Kind kind;
        const char *code;
    };
    static constexpr std::array<Missing, 4> MISSING{{
        {Use::File, "file-missing"},
        {Use::Icon, "icon-not-found"},
        {Use::Description, "description-not-found"},
        {Use::Picture, "picture-not-found"},
    }};
    if (!answer->failure.isEmpty()) {
        report(use, "http-failed", {answer->failure});
    } else if (answer->status == NOT_FOUND || answer->status == GONE) {
        report(use, MISSING.at(use.kind).code, {use.page});
    } else if (answer->status != HTTP_OK) {
        report(use, "http-status", {QString::number(answer->status), QString::number(HTTP_OK)});
    } else {
        judgeSize(use);
        judgeType(use);
    }
}

void ServerVerification::Resource::judgeSize(const Use &use) const
{
    const bool isFile = use.kind == Use::File;
    if (isFile && !all->hasHash(use.position, {path, use.size, use.hash}))
        return;
    const bool isUnknown = answer->isCut && answer->statedSize <= most();
    const QString actual = isUnknown ? QStringLiteral("more than %1").arg(most())
                                     : QString::number(answer->isCut ? answer->statedSize : size);
    if (isFile && size != use.size)
        report(use, "size-differs", {actual, QString::number(use.size)});
    else if (answer->isShort)
        report(use, "size-differs", {actual, QString::number(answer->statedSize)});
    else if (answer->isCut && !indexedSize)
        report(use, "size-differs", {actual, QStringLiteral("at most %1").arg(most())});
    else if (isFile && hash != use.hash)
        report(use, "hash-differs", {hash, use.hash});
}

// Once for all uses.
void ServerVerification::Resource::judgeType(const Use &use)
{
    if (use.kind == Use::File || std::exchange(isTypeJudged, true))
        return;
    const QString media = mediaType(answer->type);
    QString actual = answer->type.isEmpty() ? QStringLiteral("no type") : answer->type;
    if (use.kind == Use::Description) {
        const QString letters = charset(answer->type);
        const bool saysUtf8 = letters.isEmpty() ? pageSaysUtf8 : isUtf8Name(letters);
        if (!pageIsUtf8)
            actual = QStringLiteral("bytes that are not UTF-8");
        if (media != QLatin1String("text/html") || !saysUtf8 || !pageIsUtf8)
            report(use, "http-type", {actual, QStringLiteral("text/html; charset=utf-8")});
    } else if (!media.startsWith(QLatin1String("image/"))) {
        report(use, "http-type", {actual, QStringLiteral("a picture")});
    }
}

void ServerVerification::Resource::addPictures(const Use &description, const QStringList &sources) const
{
    // A client shows the page with the URL to which it was led.
    const QByteArray address =
        answer->redirects.isEmpty() ? all->address(path) : answer->redirects.constLast().toUtf8();
    const QUrl base = QUrl::fromEncoded(address);
    const QByteArray place = all->options.place.toEncoded();
    const QByteArray published = QUrl(all->options.repoUrl).toEncoded();
    Position position = description.position;
    for (const QString &source : sources) {
        QByteArray url = base.resolved(QUrl(source)).toEncoded(QUrl::RemoveFragment);
        if (url.startsWith(published))
            url.replace(0, published.size(), place);
        // What comes from elsewhere is no file of this repository.
        if (source.isEmpty() || !url.startsWith(place))
            continue;
        ++position.picture;
        const QString picture = QUrl::fromPercentEncoding(url.sliced(place.size()));
        all->resource(url, picture)->add({.kind = Use::Picture, .position = position, .page = path});
    }
}

/// Keeps the body of an answer.
class WholeBody : public Receiver
{
public:
    explicit WholeBody(qint64 mostBytes) : most(mostBytes) { }

    QByteArray content;
    Answer answer;

    void begin() override { content.clear(); }

    bool receive(QByteArrayView piece) override
    {
        content.append(piece);
        return content.size() <= most;
    }

    void finish(const Answer &complete) override { answer = complete; }

private:
    qint64 most;
};

} // namespace

FileResult<FetchedIndex> fetchIndex(const QUrl &url, Fetcher *fetcher)
{
    WholeBody body(LARGEST_CATALOGUE);
    fetcher->add(url.toEncoded(), &body);
    const QString place = url.toDisplayString();
    const Answer &answer = body.answer;
    if (!fetcher->run({}))
        return FileError{place, QStringLiteral("Interrupted")};
    if (!answer.failure.isEmpty())
        return FileError{place, answer.failure};
    if (answer.status != HTTP_OK)
        return FileError{place, QStringLiteral("Answered with the status %1").arg(answer.status)};
    if (answer.isCut || answer.isShort)
        return FileError{place, answer.isCut ? QStringLiteral("Too large") : QStringLiteral("Shorter than its length")};
    const auto content = parseIndex(body.content, place);
    if (!content)
        return content.error();
    return FetchedIndex{place, *content, answer.redirects};
}

FileResult<Result> verifyServer(FetchedIndex index, const ServerOptions &options, Fetcher *fetcher)
{
    ServerVerification verification(options, fetcher);
    verification.reportRedirects(index);
    if (!verification.verify(index.content, options.appName))
        return FileError{index.url, QStringLiteral("Has no app called \"%1\"").arg(*options.appName)};
    index.content = {}; // it may need much memory
    const bool isComplete = verification.fetch();
    Result result = verification.result();
    result.isComplete = isComplete;
    return result;
}

} // namespace Check
