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
    connect(document(), &QTextDocument::contentsChange, this, &SimpleWebViewer::withholdLayout);
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
            *cached = decoded(cached->toByteArray());
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
    if (replies.size() >= MAX_DOWNLOADS)
        return;

    cache.insert(url, QVariant());
    QNetworkReply *reply = manager.get(QNetworkRequest(url));
    replies.insert(reply);

    connect(reply, &QNetworkReply::downloadProgress, reply, [reply](qint64 received) {
        if (received > LARGEST_DOWNLOAD)
            reply->abort();
    });

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
    cache.insert(reply.url(), value);
    cache.insert(reply.request().url(), value);
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
    if (event->type() == QEvent::FontChange && !canBeLaidOut())
        showTooLarge();
    QTextBrowser::changeEvent(event);
}

bool SimpleWebViewer::canBeLaidOut() const
{
    // Scroll bars come and go in the midst of a layout, which cannot be withheld any more.
    const int margins = 2 * (frameWidth() + style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, this));
    return ::canBeLaidOut(*document(), font(), width() - margins);
}

void SimpleWebViewer::showTooLarge()
{
    QTextBrowser::setHtml(messagePage(tr("Too large or too deeply nested to be shown.")));
}

// New content is parsed but not yet laid out. Without a page there is no layout, and nobody is to be told of that.
void SimpleWebViewer::withholdLayout()
{
    if (withheldPageSize || canBeLaidOut())
        return;
    withheldPageSize = document()->pageSize();
    document()->documentLayout()->blockSignals(true);
    document()->setPageSize({0, 0});
}

void SimpleWebViewer::replaceWithheld()
{
    if (!withheldPageSize)
        return;
    showTooLarge();
    document()->documentLayout()->blockSignals(false);
    document()->setPageSize(*withheldPageSize);
    withheldPageSize.reset();
}
