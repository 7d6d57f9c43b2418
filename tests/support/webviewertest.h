#pragma once

#include "folder.h"
#include "httpserver.h"
#include "pictures.h"
#include "viewer/simplewebviewer.h"

#include <QApplication>
#include <QChildEvent>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>
#include <QTest>
#include <QTextDocument>

#include <memory>

inline constexpr int IMAGE = QTextDocument::ImageResource;
inline constexpr int PAGE = QTextDocument::HtmlResource;
inline constexpr int STYLE_SHEET = QTextDocument::StyleSheetResource;

inline const QString ERROR_PAGE = QStringLiteral("<!DOCTYPE html><html><head><meta charset=\"utf-8\"></head><body>"
                                                 "<h1>Connection error.</h1></body></html>");

/// A visible viewer, as a hidden one delays its layout and the loading of images.
class CountingViewer : public SimpleWebViewer
{
public:
    CountingViewer()
    {
        resize(300, 400);
        show();
    }

    void reload() override
    {
        ++reloads;
        SimpleWebViewer::reload();
    }

    int reloads = 0;
};

/// Finds the private network access manager of a viewer, and sees the end of its replies.
class ReplyWatch : public QObject
{
public:
    ReplyWatch() { qApp->installEventFilter(this); }

    [[nodiscard]] QList<QNetworkReply *> running() const
    {
        return manager ? manager->findChildren<QNetworkReply *>() : QList<QNetworkReply *>();
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::ChildAdded && qobject_cast<QNetworkAccessManager *>(watched))
            manager = static_cast<QNetworkAccessManager *>(watched);
        else if (event->type() == QEvent::DeferredDelete && qobject_cast<QNetworkReply *>(watched))
            deleted.append(static_cast<QNetworkReply *>(watched)->request().url());
        return false;
    }

    QPointer<QNetworkAccessManager> manager; ///< null until the first request
    QList<QUrl> deleted; ///< the URLs of the replies that were deleted later
};

/// Base of the tests of the viewer. Each starts with a visible viewer and a server.
class ViewerTest : public QObject
{
    Q_OBJECT

protected slots:
    void init()
    {
        folder = std::make_unique<Folder>();
        server = std::make_unique<HttpServer>();
        watch = std::make_unique<ReplyWatch>();
        viewer = std::make_unique<CountingViewer>();
    }

    void cleanup()
    {
        viewer.reset();
        watch.reset();
        server.reset();
        folder.reset();
        QVERIFY(QApplication::topLevelWidgets().isEmpty());
    }

protected:
    /// Whether the viewer shows a whole picture of the colour.
    [[nodiscard]] bool hasPicture(const QColor &colour) const { return pixelsOf(*viewer, colour) == 20 * 20; }

    std::unique_ptr<Folder> folder;
    std::unique_ptr<HttpServer> server;
    std::unique_ptr<ReplyWatch> watch;
    std::unique_ptr<CountingViewer> viewer;
};
