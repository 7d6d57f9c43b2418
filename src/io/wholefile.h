#pragma once

#include "io/fileresult.h"

#include <QByteArray>
#include <QString>

// The most bytes that are read of a file. A larger one counts as unreadable.
inline constexpr qint64 LARGEST_RESOURCE = 32'000'000; ///< a picture or style sheet of a page, a page behind a link
inline constexpr qint64 LARGEST_DESCRIPTION = 64'000'000;
inline constexpr qint64 LARGEST_CATALOGUE = 1'000'000'000; ///< Apps.csv, an index, a version in the history

// Both read regular files only, so that nothing waits for a pipe or a device.

/// The content of a file; an error when it cannot be read to its end, or has more bytes than @p most.
[[nodiscard]] FileResult<QByteArray> readWholeFile(const QString &path, qint64 most);

/// The first bytes of a file, at most @p count.
[[nodiscard]] FileResult<QByteArray> readBeginning(const QString &path, qint64 count);
