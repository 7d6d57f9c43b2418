#include "io/filehash.h"

#include "io/platform.h"

#include <QByteArray>
#include <QDebug>

#ifdef CATALIST_LIBCRYPTO
#include <openssl/evp.h>
#endif

namespace {

constexpr qsizetype BLOCK_SIZE = 256LL * 1024;

} // namespace

/// Computes one digest after another, each from begin() to result().
class FileHasher::Digest
{
public:
    class Libcrypto;
    class QtDigest;

    Digest() = default;
    virtual ~Digest() = default;
    Q_DISABLE_COPY_MOVE(Digest)

    [[nodiscard]] virtual bool begin() = 0;
    [[nodiscard]] virtual bool add(QByteArrayView bytes) = 0;
    [[nodiscard]] virtual QByteArray result() = 0; ///< empty at an error
};

class FileHasher::Digest::QtDigest : public Digest
{
public:
    explicit QtDigest(QCryptographicHash::Algorithm algorithm) : hash(algorithm) { }

    bool begin() override
    {
        hash.reset();
        return true;
    }

    bool add(QByteArrayView bytes) override
    {
        hash.addData(bytes);
        return true;
    }

    QByteArray result() override { return hash.result(); }

private:
    QCryptographicHash hash;
};

#ifdef CATALIST_LIBCRYPTO
/// SHA-1 with the processor's own instructions for it, which Qt's does not use.
class FileHasher::Digest::Libcrypto : public Digest
{
public:
    bool begin() override
    {
        return algorithm && context && EVP_DigestInit_ex2(context.get(), algorithm.get(), nullptr);
    }

    bool add(QByteArrayView bytes) override
    {
        return EVP_DigestUpdate(context.get(), bytes.data(), static_cast<size_t>(bytes.size())) == 1;
    }

    QByteArray result() override
    {
        QByteArray bytes(EVP_MAX_MD_SIZE, Qt::Uninitialized);
        unsigned size = 0;
        if (!EVP_DigestFinal_ex(context.get(), reinterpret_cast<unsigned char *>(bytes.data()), &size))
            return {};
        return bytes.first(size);
    }

private:
    template <auto release> struct Release
    {
        template <typename T> void operator()(T *owned) const { release(owned); }
    };

    std::unique_ptr<EVP_MD, Release<&EVP_MD_free>> algorithm{EVP_MD_fetch(nullptr, "SHA1", nullptr)};
    std::unique_ptr<EVP_MD_CTX, Release<&EVP_MD_CTX_free>> context{EVP_MD_CTX_new()};
};
#endif

FileHasher::FileHasher(QCryptographicHash::Algorithm algorithm) : block(BLOCK_SIZE, Qt::Uninitialized)
{
#ifdef CATALIST_LIBCRYPTO
    if (algorithm == QCryptographicHash::Sha1)
        digest = std::make_unique<Digest::Libcrypto>();
    // A system may be set up to refuse it.
    if (!digest || !digest->begin())
#endif
        digest = std::make_unique<Digest::QtDigest>(algorithm);
}

FileHasher::~FileHasher() = default;

QString FileHasher::hash(const QString &path)
{
    SequentialFile file(path);
    bool isRead = file.isOpen() && digest->begin();
    for (qint64 size = -1; isRead && size != 0;) {
        size = file.read(&block);
        isRead = size >= 0 && digest->add(QByteArrayView(block.constData(), size));
    }
    const QByteArray result = isRead ? digest->result() : QByteArray();
    if (result.isEmpty()) {
        qDebug() << "File \"" << path << "\" read error.";
        return {};
    }
    return QString::fromLatin1(result.toHex());
}

QString generateHash(const QString &path, QCryptographicHash::Algorithm algorithm)
{
    return FileHasher(algorithm).hash(path);
}
