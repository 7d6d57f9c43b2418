#include "pictures.h"

#include <QBuffer>
#include <QImage>
#include <QPixmap>
#include <QWidget>

using namespace Qt::StringLiterals;

QByteArray picture(const QColor &colour, const QSize &size)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(colour);
    QByteArray png;
    QBuffer buffer(&png);
    if (!buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "PNG"))
        qFatal("Cannot make a picture");
    return png;
}

int pixelsOf(QWidget &widget, const QColor &colour)
{
    const QImage image = widget.grab().toImage().convertToFormat(QImage::Format_RGB32);
    int found = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            found += image.pixel(x, y) == colour.rgb() ? 1 : 0;
    }
    return found;
}

QString htmlWithImages(const QStringList &sources)
{
    QString html;
    for (const QString &source : sources)
        html += u"<p><img src=\"%1\"></p>"_s.arg(source);
    return html;
}

QString htmlWithImages(const QList<QUrl> &urls)
{
    QStringList sources;
    for (const QUrl &url : urls)
        sources += url.toString();
    return htmlWithImages(sources);
}
