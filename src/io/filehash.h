#pragma once

#include "io/digest.h"
#include "io/fileresult.h"

#include <QCryptographicHash>
#include <QString>

/// The digest of a file's content in lower-case hexadecimal digits.
/// A null string, and a debug message, when the file cannot be read.
[[nodiscard]] QString generateHash(const QString &path, QCryptographicHash::Algorithm algorithm);

/// The debug message for a file that cannot be read.
void logReadError(const QString &path);

struct ContentHash
{
    QString digits;
    qint64 size = 0; ///< of the file in bytes, when it was opened
};

/// Does the same for one file after another, with one buffer for all of them and without the message.
class FileHasher
{
public:
    explicit FileHasher(QCryptographicHash::Algorithm algorithm);

    [[nodiscard]] FileResult<ContentHash> hash(const QString &path);

private:
    FileResult<qint64> addContent(const QString &path);

    Digest digest;
    QByteArray block;
};
