#pragma once

#include "history/version.h"
#include "io/fileresult.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

// What an author's files held before they were replaced, and what was never saved to them. It is outside the project,
// in the user's data folder, readable by the owner only; docs/reliability.md says where, and how to get a file back.
//
// Of each file the newest 50 versions are kept, and 200 MB in all. Drafts, the newest version and the newest unsaved
// text of each file stay in any case.

namespace History {

enum class Pruning {
    Now,
    Later, ///< the next call that keeps something removes old versions
};

/// Keeps the content of a file, unless it is the same as the new one. No error when there is no file.
FileResult<> keepReplaced(const QString &path, const QByteArray &newContent, Pruning pruning = Pruning::Now);

/// Keeps what would have been saved to a file, unless the file holds it or it was the last unsaved text that was kept.
FileResult<> keepUnsaved(const QString &path, const QByteArray &content);

/// Replaces a file's content with replaceFile(). What it held is kept, as far as possible.
[[nodiscard]] FileResult<> saveFile(const QString &path, const QByteArray &content);

/// What is kept of a file, which need not exist any more; newest first, those dated in the future last.
[[nodiscard]] QList<Version> versions(const QString &path);

/// The files in a folder, or below it, of which the history holds something.
[[nodiscard]] QStringList filesBelow(const QString &folder);

} // namespace History
