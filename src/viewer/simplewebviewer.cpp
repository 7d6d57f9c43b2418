#include "viewer/simplewebviewer.h"

#include "viewer/layoutlimits.h"

#include <QAbstractTextDocumentLayout>
#include <QCoreApplication>
#include <QImage>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPixmap>
#include <QResizeEvent>
#include <QScrollBar>
#include <QStyle>
#include <QThread>
#include <QTimer>

#include <chrono>

using namespace std::chrono_literals;

namespace {

constexpr qsizetype MAX_DOWNLOADS = 5;
constexpr auto DOWNLOAD_TIMEOUT = 5000ms;
constexpr qint64 LARGEST_DOWNLOAD = 32LL * 1000 * 1000; // bytes; far more than an image of a description has
constexpr qint64 LARGEST_CACHE = 512LL * 1000 * 1000; // bytes; with more nothing is downloaded any more

QString messagePage(const QString &message)
{
    return QStringLiteral("<!DOCTYPE html><html><head><meta charset=\"utf-8\"></head><body><h1>%1</h1></body></html>")
        .arg(message);
}

QVariant decoded(const QByteArray &bytes)
{
    // Pixmaps belong to the main thread.
    if (QThread::currentThread() == QCoreApplication::instance()->thread()) {
        QPixmap pixmap;
        if (pixmap.loadFromData(bytes))
            return pixmap;
    } else {
        const QImage image = QImage::fromData(bytes);
        if (!image.isNull())
            return image;
    }
    return bytes;
}

/// In bytes; a decoded picture has four for each point.
qint64 bytesOf(const QVariant &cached)
{
    QSize picture(0, 0);
    if (cached.metaType() == QMetaType::fromType<QPixmap>())
        picture = cached.value<QPixmap>().size();
    else if (cached.metaType() == QMetaType::fromType<QImage>())
        picture = cached.value<QImage>().size();
    return 4LL * picture.width() * picture.height() + cached.toByteArray().size();
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

SimpleWebViewer::SimpleWebViewer(QWidget *parent) : QTextBrowser(parent)
{
    manager.setRedirectPolicy(QNetworkRequest::NoLessSafeRedirectPolicy);
    connect(&manager, &QNetworkAccessManager::finished, this, &SimpleWebViewer::onReplyFinished);
    connect(document(), &QTextDocument::contentsChange, this, &SimpleWebViewer::onContentsChange);
    setOpenExternalLinks(true);
}

SimpleWebViewer::~SimpleWebViewer()
{
    // The manager ends its pending replies when it goes, after the cache has gone.
    manager.disconnect(this);
}

QVariant SimpleWebViewer::loadResource(int type, const QUrl &name)
{
    if (name.isLocalFile())
        return QTextBrowser::loadResource(type, name);

    const QUrl url = source().isEmpty() && name.isRelative() ? foundInSearchPaths(name) : name;
    QVariant value;
    const auto cached = cache.find(url);
    if (cached == cache.end()) {
        downloadResource(url);
    } else {
        if (type == QTextDocument::ImageResource && cached->metaType() == QMetaType::fromType<QByteArray>())
            setCached(url, decoded(cached->toByteArray()));
        value = *cached;
    }

    if (type == QTextDocument::HtmlResource && cache.size() == 1 && !value.isValid())
        return messagePage(tr("Loading..."));
    return value;
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
    if (replies.size() >= MAX_DOWNLOADS || cachedBytes > LARGEST_CACHE)
        return;

    cache.insert(url, QVariant());
    QNetworkReply *reply = manager.get(QNetworkRequest(url));
    replies.insert(reply);

    if (!url.isLocalFile()) {
        connect(reply, &QNetworkReply::downloadProgress, reply, [reply](qint64 received) {
            if (received > LARGEST_DOWNLOAD)
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

// After a redirect the reply's own URL is not the one that was asked for, which the next render asks for again.
void SimpleWebViewer::store(const QNetworkReply &reply, const QVariant &value)
{
    setCached(reply.url(), value);
    setCached(reply.request().url(), value);
}

void SimpleWebViewer::setCached(const QUrl &url, const QVariant &value)
{
    QVariant &cached = cache[url];
    cachedBytes += bytesOf(value) - bytesOf(cached);
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
    cachedBytes = 0;
}

void SimpleWebViewer::reload()
{
    const int vertical = scrollValue(verticalScrollBar());
    const int horizontal = scrollValue(horizontalScrollBar());
    if (source().isEmpty())
        setHtml(toHtml());
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
    replaceWithheld();
}

void SimpleWebViewer::setHtml(const QString &html)
{
    if (nestsTooDeep(html)) {
        showTooLarge();
    } else {
        QTextBrowser::setHtml(html);
        replaceWithheld();
    }
}

// Both lay the document out anew, in lines of another length or in another font.
void SimpleWebViewer::resizeEvent(QResizeEvent *event)
{
    if (!canBeLaidOut())
        showTooLarge();
    QTextBrowser::resizeEvent(event);
}

void SimpleWebViewer::changeEvent(QEvent *event)
{
    const bool changesFont = event->type() == QEvent::FontChange || event->type() == QEvent::ApplicationFontChange;
    if (changesFont && !canBeLaidOut())
        showTooLarge();
    QTextBrowser::changeEvent(event);
}

bool SimpleWebViewer::canBeLaidOut() const
{
    // Scroll bars come and go in the midst of a layout, which cannot be withheld any more.
    const int margins = 2 * (frameWidth() + style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, this));
    return ::canBeLaidOut(*document(), font(), width() - margins);
}

// New content is parsed, but not yet laid out.
void SimpleWebViewer::onContentsChange()
{
    if (!withheldPageSize && !canBeLaidOut())
        withholdLayout();
}

// A document without a page has no layout, of which nobody is to be told.
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
    QTextBrowser::setHtml(messagePage(tr("Too large or too deeply nested to be shown.")));
    document()->documentLayout()->blockSignals(false);
    document()->setPageSize(*withheldPageSize);
    withheldPageSize.reset();
}

void SimpleWebViewer::showTooLarge()
{
    withholdLayout();
    replaceWithheld();
}
