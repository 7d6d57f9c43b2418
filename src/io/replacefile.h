#pragma once

#include <QByteArray>
#include <QString>

enum class LineEnds {
    AsGiven,
    Platform, ///< each line feed becomes the platform's line end
};

enum class Replaced {
    IsKept, ///< in the history, as far as possible
    IsKeptAlready, ///< by the caller
};

/// Replaces a file's content so that a crash at any moment leaves the old content or the new one, whole:
/// the new bytes are staged beside the file and take its place in one step. Symbolic links are written
/// through, permissions kept, and owner and group as far as the system allows. A target that may be written but not
/// replaced, whose folder does not allow a staged file, or whose name is too long for one, is written directly; one
/// that is no regular file is refused. What the file held goes into the history before it is touched. False when the
/// new content did not get there.
[[nodiscard]] bool replaceFile(const QString &path, const QByteArray &content, LineEnds lineEnds,
                               Replaced replaced = Replaced::IsKept);
