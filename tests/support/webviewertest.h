#pragma once

#include "pictures.h"
#include "viewer/simplewebviewer.h"

#include <QApplication>
#include <QChildEvent>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>
#include <QTextDocument>

inline constexpr int IMAGE = QTextDocument::ImageResource;
inline constexpr int PAGE = QTextDocument::HtmlResource;
inline constexpr int STYLE_SHEET = QTextDocument::StyleSheetResource;

inline const QString ERROR_PAGE = QStringLiteral("<!DOCTYPE html><html><head><meta charset=\"utf-8\"></head><body>"
                                                 "<h1>Connection error.</h1></body></html>");

/// A viewer on the screen, since hidden ones put off their layout and with it the loading of images.
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

/// Sees the network access manager that a viewer keeps to itself, and the end of its replies.
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
    QList<QUrl> deleted; ///< what the replies that were deleted later had asked for
};

/// Whether a picture of the colour is in sight as a whole.
inline bool shows(QWidget &viewer, const QColor &colour)
{
    return pixelsOf(viewer, colour) == 20 * 20;
}
