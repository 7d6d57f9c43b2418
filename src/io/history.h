#pragma once

#include <QByteArray>
#include <QString>

// What an author's files held before they were replaced, and what was never saved to them. It lies outside the
// project, in the user's data folder, readable by the owner only; docs/reliability.md says where and how to get
// a file back. Nothing here ever fails: a history that cannot be written is passed over with a debug message.
//
// Of each file the newest 50 versions are kept, none older than a year, and at most 200 MB in all.

/// The folder of the history. It need not exist.
[[nodiscard]] QString historyFolder();

/// Keeps what a file holds now, unless that is the content it is about to get.
void keepReplaced(const QString &path, const QByteArray &newContent);

/// Keeps what would have been saved to a file, unless the file holds it.
void keepUnsaved(const QString &path, const QByteArray &content);
