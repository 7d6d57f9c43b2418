#pragma once

#include <QCryptographicHash>
#include <QString>

#include <memory>

/// The digest of a file's content in lower-case hexadecimal digits.
/// A null string, and a debug message, when the file cannot be read.
[[nodiscard]] QString generateHash(const QString &path, QCryptographicHash::Algorithm algorithm);

/// Does the same for one file after another, with one buffer for all of them.
class FileHasher
{
public:
    explicit FileHasher(QCryptographicHash::Algorithm algorithm);
    ~FileHasher();
    Q_DISABLE_COPY_MOVE(FileHasher)

    [[nodiscard]] QString hash(const QString &path);

private:
    class Digest;

    std::unique_ptr<Digest> digest;
    QByteArray block;
};
