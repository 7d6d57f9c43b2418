#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// The content of a regular file; nothing when it cannot be opened or not be read to its end.
/// Pipes and devices are refused, as they would be waited for.
[[nodiscard]] std::optional<QByteArray> readWholeFile(const QString &path);
