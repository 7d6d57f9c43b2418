#include "io/filehash.h"

#include "io/platform.h"

#include <QDebug>
#include <QFile>

namespace {

constexpr qsizetype BLOCK_SIZE = 256LL * 1024;

} // namespace

FileHasher::FileHasher(QCryptographicHash::Algorithm algorithm)
    : digest(makeDigest(algorithm)), block(BLOCK_SIZE, Qt::Uninitialized)
{
}

FileResult<QString> FileHasher::hash(const QString &path)
{
    const auto added = addContent(path);
    const QByteArray result = digest.result();
    if (added && !result.isEmpty())
        return QString::fromLatin1(result.toHex());
    qDebug() << "File \"" << path << "\" read error.";
    return added ? FileError{path, QStringLiteral("The hash cannot be computed")} : added.error();
}

FileResult<> FileHasher::addContent(const QString &path)
{
    QFile file(path);
    if (auto opened = openRegularFile(&file); !opened)
        return opened;
    while (true) {
        const qint64 size = file.read(block.data(), block.size());
        if (size < 0)
            return FileError{path, file.errorString()};
        // Not at a short read: an error after it shows only in the next one.
        if (size == 0)
            return {};
        digest.add(QByteArrayView(block.constData(), size));
    }
}

QString generateHash(const QString &path, QCryptographicHash::Algorithm algorithm)
{
    const auto hash = FileHasher(algorithm).hash(path);
    return hash ? *hash : QString();
}
