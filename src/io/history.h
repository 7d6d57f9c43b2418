#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

// What an author's files held before they were replaced, and what was never saved to them. It lies outside the
// project, in the user's data folder, readable by the owner only; docs/reliability.md says where and how to get
// a file back. A history that cannot be written is passed over with a debug message.
//
// Of each file the newest 50 versions are kept, none older than a year, and at most 200 MB in all.

/// The folder of the history. It need not exist.
[[nodiscard]] QString historyFolder();

enum class Pruning {
    Now,
    Later, ///< whoever keeps something next removes what is too old or too much
};

/// Keeps what a file holds now, unless that is the content it is about to get. False when there is something to keep
/// that could not be kept.
bool keepReplaced(const QString &path, const QByteArray &newContent, Pruning pruning = Pruning::Now);

/// Keeps what would have been saved to a file, unless the file holds it.
void keepUnsaved(const QString &path, const QByteArray &content);

/// What the history holds of a file.
struct KeptVersion
{
    QString path; ///< where it lies in the history
    QDateTime time; ///< in UTC
    qint64 size = 0;
    bool isUnsaved = false; ///< was never saved to the file; otherwise the file held it before a save
    bool isOfFuture = false; ///< comes from a clock that was wrong, and may be older than any
};

/// What is kept of a file, which need not exist any more; newest first, those dated in the future last.
[[nodiscard]] QList<KeptVersion> keptVersions(const QString &path);

/// The files in a folder, or below it, of which the history knows something.
[[nodiscard]] QStringList filesInHistory(const QString &folder);
