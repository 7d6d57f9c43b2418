#pragma once

#include <QHash>
#include <QNetworkAccessManager>
#include <QTextDocument>
#include <QTextObjectInterface>
#include <QVariant>

class QTextEdit;
class QTextImageFormat;

inline constexpr qint64 LARGEST_CACHE = 512LL * 1000 * 1000; // bytes of downloads and pictures that a viewer keeps

/// The decoded picture: a pixmap on the main thread, else an image. Invalid when the bytes are no picture, or one
/// that takes more than @p room bytes.
[[nodiscard]] QVariant decodedPicture(const QByteArray &bytes, qint64 room);

/// The bytes of the decoded picture according to its header; 0 when that does not say.
[[nodiscard]] qint64 decodedBytes(const QByteArray &bytes);

/// In bytes; a decoded picture has four for each pixel.
[[nodiscard]] qint64 bytesOf(const QVariant &resource);

/// Reads local files at once with readWholeFile(); a download of what that refuses fails.
class BoundedNetwork : public QNetworkAccessManager
{
    Q_OBJECT

protected:
    QNetworkReply *createRequest(Operation operation, const QNetworkRequest &request, QIODevice *body) override;
};

/// Loads the resources of a view's document.
///
/// When its view has no answer, Qt's document opens the file itself, even a pipe, a device or a file of any size. It
/// does not when its parent is another document, so this one is its parent. Qt's handler of pictures opens files too;
/// it is only called when there is a picture, or for its own icon of a missing one.
class BoundedResources : public QTextDocument, public QTextObjectInterface
{
    Q_OBJECT
    Q_INTERFACES(QTextObjectInterface)

public:
    /// Gives the view a document of its own.
    explicit BoundedResources(QTextEdit *textView);

    qint64 cachedBytes = 0; ///< in the cache of the view
    [[nodiscard]] qint64 room() const { return LARGEST_CACHE - cachedBytes - bytesOfPictures; }

    /// Limits the height of all pictures together that do not state one; further ones do not show.
    void setHeightForPictures(qreal height);

    QSizeF intrinsicSize(QTextDocument *shown, int position, const QTextFormat &format) override;
    void drawObject(QPainter *painter, const QRectF &rectangle, QTextDocument *shown, int position,
                    const QTextFormat &format) override;

protected:
    QVariant loadResource(int type, const QUrl &name) override;

private:
    [[nodiscard]] QVariant kept(const QUrl &name, const QVariant &picture);
    [[nodiscard]] QVariant contentOf(const QUrl &name) const;
    void onContentsChange(int position, int removed, int added);

    QTextEdit *view;
    QTextDocument *document; // of the view
    QTextObjectInterface *pictures; // Qt's own handler
    qint64 bytesOfPictures = 0; // in the document's own cache
    qreal heightLeft = 0;
    QHash<int, qreal> heights; // by position, of the pictures that do not state one
};
