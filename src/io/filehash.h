#pragma once

#include <QCryptographicHash>
#include <QString>

/// The digest of a file's content in lower-case hexadecimal digits.
/// A null string, and a debug message, when the file cannot be read.
[[nodiscard]] QString generateHash(const QString &path, QCryptographicHash::Algorithm algorithm);
