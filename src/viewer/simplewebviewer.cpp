#include "viewer/simplewebviewer.h"

#include "io/wholefile.h"
#include "viewer/layoutlimits.h"

#include <QAbstractTextDocumentLayout>
#include <QFileInfo>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QResizeEvent>
#include <QScrollBar>
#include <QStringDecoder>
#include <QStyle>
#include <QTimer>

#include <chrono>

using namespace std::chrono_literals;

namespace {

constexpr qsizetype MAX_DOWNLOADS = 5;
constexpr auto DOWNLOAD_TIMEOUT = 5000ms;
constexpr auto RETRY_DELAY = 100ms; // while a window is being resized

QString messagePage(const QString &message)
{
    return QStringLiteral("<!DOCTYPE html><html><head><meta charset=\"utf-8\"></head><body><h1>%1</h1></body></html>")
        .arg(message);
}

/// Decodes the bytes of a page as the text browser does.
QString textOf(const QVariant &page)
{
    if (page.metaType() != QMetaType::fromType<QByteArray>())
        return page.toString();
    const QByteArray bytes = page.toByteArray();
    QStringDecoder decoder = QStringDecoder::decoderForHtml(bytes);
    return decoder.isValid() ? decoder(bytes) : QString::fromUtf8(bytes);
}

int scrollValue(const QScrollBar *bar)
{
    return bar ? bar->value() : 0;
}

void setScrollValue(QScrollBar *bar, int value)
{
    if (bar)
        bar->setValue(value);
}

} // namespace

SimpleWebViewer::SimpleWebViewer(QWidget *parent) : QTextBrowser(parent), resources(new BoundedResources(this))
{
    manager.setRedirectPolicy(QNetworkRequest::NoLessSafeRedirectPolicy);
    connect(&manager, &QNetworkAccessManager::finished, this, &SimpleWebViewer::onReplyFinished);
    connect(document(), &QTextDocument::contentsChange, this, &SimpleWebViewer::onContentsChange);
    connect(this, &QTextBrowser::sourceChanged, this, &SimpleWebViewer::replaceWithheld);
    retry.setSingleShot(true);
    retry.setInterval(RETRY_DELAY);
    connect(&retry, &QTimer::timeout, this, &SimpleWebViewer::tryAgain);
    setOpenExternalLinks(true);
}

SimpleWebViewer::~SimpleWebViewer()
{
    // The manager is destroyed after the cache, and its pending replies end then.
    manager.disconnect(this);
}

QVariant SimpleWebViewer::loadResource(int type, const QUrl &name)
{
    QVariant value;
    if (name.isLocalFile()) {
        value = localFile(name);
    } else {
        const QUrl url = source().isEmpty() && name.isRelative() ? foundInSearchPaths(name) : name;
        const auto cached = cache.find(url);
        if (cached == cache.end()) {
            downloadResource(url);
        } else {
            if (type == QTextDocument::ImageResource && cached->metaType() == QMetaType::fromType<QByteArray>())
                decode(url, cached->toByteArray());
            value = *cached;
        }
        if (type == QTextDocument::HtmlResource && cache.size() == 1 && !value.isValid())
            return messagePage(tr("Loading..."));
    }

    if (type == QTextDocument::HtmlResource && !canBeParsed(textOf(value)))
        return messagePage(tooLarge());
    if (type == QTextDocument::MarkdownResource && !canBeParsed(textOf(value)))
        return tooLarge();
    return value;
}

// Finds the same file as the text browser, but reads only a regular file of a bounded size.
QVariant SimpleWebViewer::localFile(const QUrl &name) const
{
    QString path = name.toLocalFile();
    if (QFileInfo(path).isRelative()) {
        const QStringList folders = searchPaths();
        for (QString folder : folders) {
            if (!folder.endsWith(QLatin1Char('/')))
                folder += QLatin1Char('/');
            if (QFileInfo(folder + path).isReadable()) {
                path.prepend(folder);
                break;
            }
        }
    }
    const auto content = readWholeFile(path, LARGEST_RESOURCE);
    return content ? QVariant(*content) : QVariant();
}

void SimpleWebViewer::decode(const QUrl &url, const QByteArray &bytes)
{
    // The picture takes the place of its bytes.
    const qint64 room = resources->room() + bytes.size();
    const QVariant picture = decodedPicture(bytes, room);
    if (picture.isValid())
        setCached(url, picture);
    else if (const qint64 needed = decodedBytes(bytes); needed > room && needed <= LARGEST_CACHE)
        isFull = true;
}

QUrl SimpleWebViewer::foundInSearchPaths(const QUrl &name) const
{
    const QString path = name.path(QUrl::FullyDecoded);
    const QStringList folders = searchPaths();
    for (QString folder : folders) {
        if (!folder.endsWith(QLatin1Char('/')))
            folder += QLatin1Char('/');
        QUrl url(folder + path, QUrl::TolerantMode);
        if (url.isValid())
            return url;
    }
    return name;
}

void SimpleWebViewer::downloadResource(const QUrl &url)
{
    if (replies.size() >= MAX_DOWNLOADS || isFull || resources->room() < 0)
        return;

    cache.insert(url, QVariant());
    QNetworkReply *reply = manager.get(QNetworkRequest(url));
    replies.insert(reply);

    if (!url.isLocalFile()) {
        connect(reply, &QNetworkReply::downloadProgress, reply, [reply](qint64 received) {
            if (received > LARGEST_RESOURCE)
                reply->abort();
        });
    }

    auto *timer = new QTimer(reply);
    timer->setSingleShot(true);
    timer->setInterval(DOWNLOAD_TIMEOUT);
    connect(timer, &QTimer::timeout, reply, &QNetworkReply::abort);
    connect(timer, &QTimer::timeout, timer, &QObject::deleteLater);
    timer->start();
}

void SimpleWebViewer::onReplyFinished(QNetworkReply *reply)
{
    if (!replies.contains(reply)) {
        reply->deleteLater();
        return;
    }

    if (reply->error() == QNetworkReply::NoError)
        store(*reply, reply->readAll());
    else if (cache.size() <= 1)
        store(*reply, messagePage(tr("Connection error.")));

    replies.remove(reply);
    if (replies.isEmpty())
        reload();
    reply->deleteLater();
}

// After a redirect the URL of the reply is not the requested one, which the next render will request.
void SimpleWebViewer::store(const QNetworkReply &reply, const QVariant &value)
{
    setCached(reply.url(), value);
    setCached(reply.request().url(), value);
}

void SimpleWebViewer::setCached(const QUrl &url, const QVariant &value)
{
    QVariant &cached = cache[url];
    resources->cachedBytes += bytesOf(value) - bytesOf(cached);
    cached = value;
}

void SimpleWebViewer::abort()
{
    const QList<QNetworkReply *> pending = replies.values();
    for (QNetworkReply *reply : pending)
        reply->abort();
}

void SimpleWebViewer::clear()
{
    QTextBrowser::clear();
    replies.clear();
    cache.clear();
    resources->cachedBytes = 0;
    isFull = false;
}

void SimpleWebViewer::reload()
{
    const int vertical = scrollValue(verticalScrollBar());
    const int horizontal = scrollValue(horizontalScrollBar());
    if (source().isEmpty())
        setHtml(isRefused ? shownHtml : toHtml());
    else
        QTextBrowser::reload();
    setScrollValue(verticalScrollBar(), vertical);
    setScrollValue(horizontalScrollBar(), horizontal);
}

void SimpleWebViewer::doSetSource(const QUrl &name, QTextDocument::ResourceType type)
{
    if (name != source()) {
        abort();
        clear();
    }
    QTextBrowser::doSetSource(name, type);
}

void SimpleWebViewer::setHtml(const QString &html)
{
    shownHtml = html;
    QTextBrowser::setHtml(canBeParsed(html) ? html : messagePage(tooLarge()));
    replaceWithheld();
}

// A resize and another font both lay the document out again.
void SimpleWebViewer::resizeEvent(QResizeEvent *event)
{
    if (isRefused)
        retry.start();
    else if (!canBeLaidOut())
        showTooLarge();
    QTextBrowser::resizeEvent(event);
}

void SimpleWebViewer::changeEvent(QEvent *event)
{
    const bool changesFont = event->type() == QEvent::FontChange || event->type() == QEvent::ApplicationFontChange;
    if (changesFont && isRefused)
        retry.start();
    else if (changesFont && !canBeLaidOut())
        showTooLarge();
    QTextBrowser::changeEvent(event);
}

void SimpleWebViewer::tryAgain()
{
    if (isRefused)
        reload();
}

QString SimpleWebViewer::tooLarge()
{
    return tr("Too large or too deeply nested to be shown.");
}

bool SimpleWebViewer::canBeLaidOut()
{
    // A scroll bar may appear during the layout, when it is too late to prevent it.
    const int inside = width() - 2 * frameWidth();
    const int bar = style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, this);
    const auto height = heightForPictures(*document(), font(), inside, inside - bar);
    resources->setHeightForPictures(height.value_or(0));
    return height.has_value();
}

// Called when new content is parsed, but not yet laid out.
void SimpleWebViewer::onContentsChange()
{
    if (withheldPageSize)
        return;
    isRefused = !canBeLaidOut();
    if (isRefused)
        withholdLayout();
}

// A document without a page size is not laid out. Nobody must be notified of that.
void SimpleWebViewer::withholdLayout()
{
    withheldPageSize = document()->pageSize();
    document()->documentLayout()->blockSignals(true);
    document()->setPageSize({0, 0});
}

void SimpleWebViewer::replaceWithheld()
{
    if (!withheldPageSize)
        return;
    QTextBrowser::setHtml(messagePage(tooLarge()));
    document()->documentLayout()->blockSignals(false);
    document()->setPageSize(*withheldPageSize);
    withheldPageSize.reset();
}

void SimpleWebViewer::showTooLarge()
{
    isRefused = true;
    withholdLayout();
    replaceWithheld();
}
