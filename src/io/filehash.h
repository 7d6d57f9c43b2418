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

/// Does the same for one file after another, with one buffer for all of them and without the message.
class FileHasher
{
public:
    explicit FileHasher(QCryptographicHash::Algorithm algorithm);

    [[nodiscard]] FileResult<QString> hash(const QString &path);

private:
    FileResult<> addContent(const QString &path);

    Digest digest;
    QByteArray block;
};
