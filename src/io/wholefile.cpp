#include "io/wholefile.h"

#include <QFile>
#include <QFileInfo>

std::optional<QByteArray> readWholeFile(const QString &path)
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    QByteArray content = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return std::nullopt;
    return content;
}
