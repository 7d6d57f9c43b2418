#include "io/replacefile.h"

#include "io/history.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace {

// A full disk may show as late as when the buffers are flushed.
bool writeAll(QFileDevice &file, const QByteArray &content)
{
    return file.write(content) == content.size() && file.flush();
}

} // namespace

bool replaceFile(const QString &path, const QByteArray &content, LineEnds lineEnds)
{
    QIODevice::OpenMode mode = QIODevice::WriteOnly;
    if (lineEnds == LineEnds::Platform)
        mode |= QIODevice::Text;

    keepReplaced(path, content);
    const QFileInfo target(path);
    if (target.exists() && !target.isFile()) {
        QFile file(path);
        return file.open(mode) && writeAll(file, content);
    }

    QSaveFile file(path);
    file.setDirectWriteFallback(true);
    return file.open(mode) && writeAll(file, content) && file.commit();
}
