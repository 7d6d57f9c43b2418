#pragma once

#include <QHash>
#include <QNetworkAccessManager>
#include <QTextDocument>
#include <QTextObjectInterface>
#include <QVariant>

class QTextEdit;
class QTextImageFormat;

inline constexpr qint64 LARGEST_CACHE = 512LL * 1000 * 1000; // bytes; what a viewer keeps of downloads and pictures

/// The decoded picture: a pixmap on the main thread, else an image. Invalid when the bytes are no picture, or one
/// that takes more than @p room bytes.
[[nodiscard]] QVariant decodedPicture(const QByteArray &bytes, qint64 room);

/// What the picture will take by its own account; 0 when it gives none.
[[nodiscard]] qint64 decodedBytes(const QByteArray &bytes);

/// In bytes; a decoded picture has four for each point.
[[nodiscard]] qint64 bytesOf(const QVariant &resource);

/// Reads local files whole and at once, as readWholeFile() does; what that refuses is a download that failed.
class BoundedNetwork : public QNetworkAccessManager
{
    Q_OBJECT

protected:
    QNetworkReply *createRequest(Operation operation, const QNetworkRequest &request, QIODevice *body) override;
};

/// Stands between a view's document and its resources.
///
/// A document opens files by itself when its view has no answer: pipes, devices, files of any size. It does not when
/// its parent is another document, which is this one. So does Qt's handler of pictures, which is only called here when
/// there is a picture, or for its own picture of a missing one.
class BoundedResources : public QTextDocument, public QTextObjectInterface
{
    Q_OBJECT
    Q_INTERFACES(QTextObjectInterface)

public:
    /// Gives the view a document of its own.
    explicit BoundedResources(QTextEdit *textView);

    qint64 cachedBytes = 0; ///< in the cache of the view
    [[nodiscard]] qint64 room() const { return LARGEST_CACHE - cachedBytes - bytesOfPictures; }

    /// From now on, pictures that do not state a height show while they are no higher than that in all.
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
    qint64 bytesOfPictures = 0; // that the document keeps by itself
    qreal heightLeft = 0;
    QHash<int, qreal> heights; // of the pictures that do not state one, by their positions
};
