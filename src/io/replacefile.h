#pragma once

#include "io/fileresult.h"

#include <QByteArray>
#include <QString>

#include <functional>

/// Called when the new bytes are on the disk and the file is still untouched. False when the old content could not be
/// kept, so that it must not be overwritten in place.
using KeepOldContent = std::function<bool()>;

/// Replaces a file's content so that a crash at any moment leaves the old content or the new one, whole:
/// the new bytes are staged beside the file and take its place in one step. Symbolic links are written through,
/// permissions kept, and owner and group as far as the system allows. What is no regular file is refused.
///
/// A file that may be written but not replaced is written directly if its old content was kept. So is, in any case,
/// one whose folder does not allow a staged file, or whose name is too long for one.
[[nodiscard]] FileResult<> replaceFile(const QString &path, const QByteArray &content,
                                       const KeepOldContent &keepOldContent = {});

/// The same for a file whose old content is kept nowhere else: it is never written directly, which is an error instead.
[[nodiscard]] FileResult<> replaceWholeFile(const QString &path, const QByteArray &content);
