#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// The most bytes that are read of a file. A larger one counts as unreadable.
inline constexpr qint64 LARGEST_RESOURCE = 32'000'000; ///< a picture or style sheet of a page, a page behind a link
inline constexpr qint64 LARGEST_DESCRIPTION = 64'000'000;
inline constexpr qint64 LARGEST_CATALOGUE = 1'000'000'000; ///< Apps.csv, an index, a version in the history

/// The content of a regular file; nothing when it cannot be opened, or not read to its end, or has more bytes than
/// @p most. The problem is then "FILE: WHY", with the system's reason where it gave one.
/// Nothing is waited for: pipes and devices are refused.
[[nodiscard]] std::optional<QByteArray> readWholeFile(const QString &path, qint64 most, QString *problem = nullptr);

/// Why a regular file cannot be opened, in the same form; empty when it can.
[[nodiscard]] QString openProblem(const QString &path);

/// Why a folder cannot be listed, in the same form; empty when it can.
[[nodiscard]] QString listProblem(const QString &folder);
