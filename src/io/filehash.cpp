#include "io/filehash.h"

#include "io/regularfile.h"

#include <QDebug>

namespace {

constexpr qsizetype BLOCK_SIZE = 256LL * 1024;

} // namespace

FileHasher::FileHasher(QCryptographicHash::Algorithm algorithm)
    : digest(makeDigest(algorithm)), block(BLOCK_SIZE, Qt::Uninitialized)
{
}

FileResult<ContentHash> FileHasher::hash(const QString &path)
{
    const auto size = addContent(path);
    const QByteArray result = digest.result();
    if (size && !result.isEmpty())
        return ContentHash{QString::fromLatin1(result.toHex()), *size};
    return size ? FileError{path, QStringLiteral("The hash cannot be computed")} : size.error();
}

FileResult<qint64> FileHasher::addContent(const QString &path)
{
    RegularFile file;
    if (auto opened = file.open(path); !opened)
        return opened.error();
    while (true) {
        const auto size = file.read(block.data(), block.size());
        if (!size)
            return size.error();
        if (*size == 0)
            return file.size();
        digest.add(QByteArrayView(block.constData(), *size));
    }
}

void logReadError(const QString &path)
{
    qDebug() << "File \"" << path << "\" read error.";
}

QString generateHash(const QString &path, QCryptographicHash::Algorithm algorithm)
{
    const auto hash = FileHasher(algorithm).hash(path);
    if (!hash)
        logReadError(path);
    return hash ? hash->digits : QString();
}
