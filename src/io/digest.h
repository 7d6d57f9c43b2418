#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QCryptographicHash>

#include <functional>

/// Computes one digest after another.
struct Digest
{
    std::function<void(QByteArrayView)> add;
    std::function<QByteArray()> result; ///< of the bytes that were added since the last one; empty after an error
};

[[nodiscard]] Digest makeDigest(QCryptographicHash::Algorithm algorithm);
