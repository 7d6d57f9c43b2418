#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// The content of a regular file; nothing when it cannot be opened or not be read to its end.
/// Pipes and devices are refused, as they would be waited for.
[[nodiscard]] std::optional<QByteArray> readWholeFile(const QString &path);

/// Why a regular file cannot be opened, as "FILE: WHY" with the system's reason; empty when it can.
[[nodiscard]] QString openProblem(const QString &path);

/// Why a folder cannot be listed, in the same form; empty when it can.
[[nodiscard]] QString listProblem(const QString &folder);

/// Why readWholeFile gave nothing, in the same form.
[[nodiscard]] QString readProblem(const QString &path);
