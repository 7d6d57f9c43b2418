#include "io/filehash.h"

#include <QByteArray>
#include <QDebug>
#include <QFile>

namespace {

constexpr qsizetype BLOCK_SIZE = 256LL * 1024;

// The hash class reads from a device in blocks of a kilobyte, which costs more than the hashing.
bool addContent(QFile &file, QCryptographicHash &hash)
{
    QByteArray block(BLOCK_SIZE, Qt::Uninitialized);
    for (;;) {
        const qint64 size = file.read(block.data(), block.size());
        if (size <= 0)
            return size == 0;
        hash.addData(QByteArrayView(block.constData(), size));
    }
}

} // namespace

QString generateHash(const QString &path, QCryptographicHash::Algorithm algorithm)
{
    QFile file(path);
    QCryptographicHash hash(algorithm);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered) || !file.isReadable() || !addContent(file, hash)) {
        qDebug() << "File \"" << path << "\" read error.";
        return {};
    }
    return QString::fromLatin1(hash.result().toHex());
}
