#pragma once

#include "viewer/boundedresources.h"

#include <QMap>
#include <QSet>
#include <QTextBrowser>
#include <QTimer>
#include <QUrl>
#include <QVariant>

#include <optional>

class QNetworkReply;

/// A read-only HTML view that also fetches what is not local, images above all, without blocking.
///
/// A resource that is not there yet shows as nothing; when the last pending download has finished, the document is
/// rendered again at the same scroll position. Everything is fetched once and kept until clear(); at most five
/// downloads run at a time, each for at most five seconds and of at most 32 MB. At most 512 MB are kept, with pictures
/// decoded; further resources do not show.
class SimpleWebViewer : public QTextBrowser
{
    Q_OBJECT

public:
    explicit SimpleWebViewer(QWidget *parent = nullptr);
    ~SimpleWebViewer() override;

    /// The resource if it is there now; starts its download when it was never requested.
    /// Relative names are looked up in the search paths while the content was set as HTML.
    QVariant loadResource(int type, const QUrl &name) override;

    /// Starts a download, unless five are pending: then the resource stays unknown until the next render.
    void downloadResource(const QUrl &url);

    /// Aborts every pending download; each counts as failed.
    void abort();

    /// Shows HTML, or a message where Qt's layout of it would not end.
    void setHtml(const QString &html);

    /// Renders again and keeps the scroll position.
    void reload() override;

public slots:
    /// Empties the view and the cache and forgets the pending downloads without aborting them.
    void clear();

protected:
    /// Another source aborts the downloads of the old one and forgets its resources.
    void doSetSource(const QUrl &name, QTextDocument::ResourceType type) override;
    void changeEvent(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private slots:
    void onReplyFinished(QNetworkReply *reply);

private:
    [[nodiscard]] QVariant localFile(const QUrl &name) const;
    void decode(const QUrl &url, const QByteArray &bytes);
    [[nodiscard]] QUrl foundInSearchPaths(const QUrl &name) const;
    void store(const QNetworkReply &reply, const QVariant &value);
    void setCached(const QUrl &url, const QVariant &value);
    [[nodiscard]] static QString tooLarge();
    bool canBeLaidOut();
    void withholdLayout();
    void replaceWithheld();
    void showTooLarge();
    void onContentsChange();
    void tryAgain();

    QSet<QNetworkReply *> replies; // pending; owned by the manager
    BoundedNetwork manager;
    QMap<QUrl, QVariant> cache; // invalid while pending or failed, else bytes, a decoded picture or a page
    BoundedResources *resources;
    bool isFull = false; // a picture was too large to be kept too
    QString shownHtml; // as given to setHtml()
    bool isRefused = false; // the message shows instead of the content
    QTimer retry; // tries refused content again in another width or font
    std::optional<QSizeF> withheldPageSize; // of the document, while its layout is prevented
};
