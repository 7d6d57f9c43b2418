#include "viewer/boundedresources.h"

#include "io/wholefile.h"

#include <QAbstractTextDocumentLayout>
#include <QBuffer>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPainter>
#include <QPixmap>
#include <QTextBlock>
#include <QTextEdit>
#include <QThread>
#include <QUrl>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

const QUrl MISSING_PICTURE(QStringLiteral("qrc:/qt-project.org/styles/commonstyle/images/file-16.png"));

/// A download of a local file, which is complete from the beginning.
class FileReply : public QNetworkReply
{
    Q_OBJECT

public:
    FileReply(const QNetworkRequest &fileRequest, QObject *parent) : QNetworkReply(parent)
    {
        setRequest(fileRequest);
        setUrl(fileRequest.url());
        setOperation(QNetworkAccessManager::GetOperation);
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
        const auto read = readContent();
        if (read)
            content = *read;
        else
            setError(ContentNotFoundError, read.error().text());
        QMetaObject::invokeMethod(this, "finish", Qt::QueuedConnection);
    }

    void abort() override
    {
        if (isFinished())
            return;
        setError(OperationCanceledError, QStringLiteral("Operation canceled"));
        finish();
    }

    [[nodiscard]] qint64 bytesAvailable() const override { return content.size() - position; }
    [[nodiscard]] bool isSequential() const override { return true; }

protected:
    qint64 readData(char *data, qint64 most) override
    {
        const qint64 count = std::min(most, bytesAvailable());
        std::memcpy(data, content.constData() + position, static_cast<size_t>(count));
        position += count;
        return count > 0 || most == 0 ? count : -1;
    }

private:
    [[nodiscard]] FileResult<QByteArray> readContent() const
    {
        QUrl file = url();
        const QString host = file.host();
        if (!host.isEmpty() && host != QLatin1String("localhost"))
            return FileError{file.toString(), QStringLiteral("Is on another machine")};
        file.setHost({});
        return readWholeFile(file.toLocalFile(), LARGEST_RESOURCE);
    }

    Q_INVOKABLE void finish()
    {
        if (isFinished())
            return;
        setFinished(true);
        if (error() != NoError)
            emit errorOccurred(error());
        emit finished();
    }

    QByteArray content;
    qint64 position = 0;
};

/// The parent of a document, which asks it for resources.
class Answer : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    QVariant value;

    Q_INVOKABLE QVariant loadResource(int /*type*/, const QUrl & /*name*/) const { return value; }
};

bool isPicture(const QVariant &resource)
{
    return (resource.metaType() == QMetaType::fromType<QPixmap>() && !resource.value<QPixmap>().isNull())
           || (resource.metaType() == QMetaType::fromType<QImage>() && !resource.value<QImage>().isNull());
}

QByteArray contentOfDataUrl(const QUrl &url)
{
    const QByteArray text =
        QByteArray::fromPercentEncoding(url.url(QUrl::FullyEncoded | QUrl::RemoveScheme).toLatin1());
    const qsizetype comma = text.indexOf(',');
    if (comma < 0)
        return {};
    const QByteArray content = text.sliced(comma + 1);
    return text.first(comma).trimmed().toLower().endsWith(";base64") ? QByteArray::fromBase64(content) : content;
}

/// The name under which Qt's handler looks for a picture on a screen of this pixel ratio.
QString nameForDensity(const QString &name, qreal density)
{
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    for (int times = std::min(static_cast<int>(std::ceil(density)), 9); times > 1; --times) {
        QString denser = name;
        denser.insert(dot < 0 ? name.size() : dot, QStringLiteral("@%1x").arg(times));
        if (QFile::exists(denser))
            return denser;
    }
    return name;
}

/// A format with which Qt's handler opens no file: it opens the file of that name when the document has no picture.
QTextImageFormat bounded(const QTextDocument &document, const QTextFormat &format, qreal density = 1)
{
    QTextImageFormat image = format.toImageFormat();
    // Part of the program.
    if (image.name().startsWith(QLatin1String(":/")))
        return image;
    if (!isPicture(document.resource(QTextDocument::ImageResource, QUrl(nameForDensity(image.name(), density)))))
        image.setName(MISSING_PICTURE.toString());
    return image;
}

} // namespace

qint64 decodedBytes(const QByteArray &bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    const QSize size = QImageReader(&buffer).size();
    return size.isValid() ? 4LL * size.width() * size.height() : 0;
}

QVariant decodedPicture(const QByteArray &bytes, qint64 room)
{
    if (decodedBytes(bytes) > room)
        return {};
    QBuffer buffer;
    buffer.setData(bytes);
    QImageReader reader(&buffer);
    QVariant picture;
    // Pixmaps belong to the main thread.
    if (QThread::currentThread() == QCoreApplication::instance()->thread())
        picture = QPixmap::fromImageReader(&reader);
    else
        picture = reader.read();
    return isPicture(picture) && bytesOf(picture) <= room ? picture : QVariant();
}

qint64 bytesOf(const QVariant &resource)
{
    QSize picture(0, 0);
    if (resource.metaType() == QMetaType::fromType<QPixmap>())
        picture = resource.value<QPixmap>().size();
    else if (resource.metaType() == QMetaType::fromType<QImage>())
        picture = resource.value<QImage>().size();
    return 4LL * picture.width() * picture.height() + resource.toByteArray().size();
}

QNetworkReply *BoundedNetwork::createRequest(Operation operation, const QNetworkRequest &request, QIODevice *body)
{
    if (operation == GetOperation && request.url().isLocalFile())
        return new FileReply(request, this);
    return QNetworkAccessManager::createRequest(operation, request, body);
}

BoundedResources::BoundedResources(QTextEdit *textView)
    : QTextDocument(new Answer(textView)), view(textView), document(new QTextDocument(this)),
      pictures(document->documentLayout()->handlerForObject(QTextFormat::ImageObject))
{
    document->setDefaultFont(view->document()->defaultFont());
    document->setUndoRedoEnabled(false);
    document->documentLayout()->registerHandler(QTextFormat::ImageObject, this);
    connect(document, &QTextDocument::contentsChange, this, &BoundedResources::onContentsChange);
    view->setDocument(document);
    document->documentLayout()->setPaintDevice(view->viewport());
}

void BoundedResources::setHeightForPictures(qreal height)
{
    heightLeft = height;
    heights.clear();
}

// A document forgets its resources when its text is cleared.
void BoundedResources::onContentsChange(int position, int /*removed*/, int added)
{
    if (position == 0 && added == 0) {
        bytesOfPictures = 0;
        clear();
    }
}

QVariant BoundedResources::loadResource(int type, const QUrl &name)
{
    if (name == MISSING_PICTURE)
        return QPixmap(QLatin1Char(':') + name.path());

    QVariant value = view->loadResource(type, name);
    if (value.isNull())
        value = contentOf(name);
    if (type == ImageResource && isPicture(value))
        return kept(name, value);
    if (type != ImageResource || value.metaType() != QMetaType::fromType<QByteArray>())
        return value;

    const QVariant picture = decodedPicture(value.toByteArray(), room());
    // Qt would decode the bytes. Given others, it does not ask again.
    if (!picture.isValid())
        return QByteArray("");
    bytesOfPictures += bytesOf(picture);
    return kept(name, picture);
}

// When HTML is exported, Qt looks up the names of background pictures among the resources of this document.
QVariant BoundedResources::kept(const QUrl &name, const QVariant &picture)
{
    auto *answer = static_cast<Answer *>(parent());
    answer->value = picture;
    QVariant loaded = QTextDocument::loadResource(ImageResource, name);
    answer->value.clear();
    return loaded;
}

// Does what Qt's document does when its view has no answer.
QVariant BoundedResources::contentOf(const QUrl &name) const
{
    if (name.scheme().compare(QLatin1String("data"), Qt::CaseInsensitive) == 0)
        return contentOfDataUrl(name);

    QUrl url = name;
    if (name.isRelative()) {
        const QUrl page(document->metaInformation(DocumentUrl));
        const QFileInfo file(page.toLocalFile());
        const bool isElsewhere = page.isRelative() || (page.isLocalFile() && !file.isAbsolute());
        if (!isElsewhere || (name.hasFragment() && name.path().isEmpty()))
            url = page.resolved(name);
        else if (file.exists())
            url = QUrl::fromLocalFile(file.absolutePath() + QLatin1Char('/')).resolved(name);
        else if (page.isEmpty())
            url.setScheme(QStringLiteral("file"));
    }
    const auto content = readWholeFile(url.toLocalFile(), LARGEST_RESOURCE);
    return content ? QVariant(*content) : QVariant();
}

QSizeF BoundedResources::intrinsicSize(QTextDocument *shown, int position, const QTextFormat &format)
{
    const QSizeF size = pictures->intrinsicSize(shown, position, bounded(*shown, format));
    if (format.hasProperty(QTextFormat::ImageHeight))
        return size;

    // In the middle of a line a picture may raise two lines: also the one that it does not fit into.
    const QTextBlock block = shown->findBlock(position);
    const bool beginsLine =
        position == block.position() || shown->characterAt(position - 1) == QChar(QChar::LineSeparator);
    const qreal line = std::max(size.height(), std::abs(block.blockFormat().lineHeight(size.height(), 1)));
    qreal &height = heights[position];
    heightLeft += height;
    height = beginsLine ? line : 2 * line;
    if (height > heightLeft) {
        height = 0;
        return {};
    }
    heightLeft -= height;
    return size;
}

void BoundedResources::drawObject(QPainter *painter, const QRectF &rectangle, QTextDocument *shown, int position,
                                  const QTextFormat &format)
{
    pictures->drawObject(painter, rectangle, shown, position,
                         bounded(*shown, format, painter->device()->devicePixelRatio()));
}

#include "boundedresources.moc"
