#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

// What an author's files held before they were replaced, and what was never saved to them. It lies outside the
// project, in the user's data folder, readable by the owner only; docs/reliability.md says where and how to get
// a file back. A history that cannot be written is ignored, with a debug message.
//
// Of each file the newest 50 versions are kept, and 200 MB in all. Drafts, the newest version and the newest unsaved
// text of each file stay in any case.

/// The folder of the history. It need not exist.
[[nodiscard]] QString historyFolder();

enum class Pruning {
    Now,
    Later, ///< whoever keeps something next removes what is too old or too much
};

/// Keeps what a file holds now, unless that is the content it is about to get. False when there is something to keep
/// that could not be kept.
bool keepReplaced(const QString &path, const QByteArray &newContent, Pruning pruning = Pruning::Now);

/// Keeps what would have been saved to a file, unless the file holds it or it was the last unsaved text that was kept.
/// False when it could not be kept.
bool keepUnsaved(const QString &path, const QByteArray &content);

/// What one window would save, kept for the case that its process ends without saving: one draft for each file. A
/// draft survives the process, but is not flushed to the disk.
///
/// A draft that another process has left becomes an unsaved text as soon as its file gets a draft here or is saved.
class Drafts
{
public:
    /// Replaces the draft of a file. False when that failed; the one before then stays.
    bool keep(const QString &path, const QByteArray &content);

    /// For a file that has nothing unsaved any more.
    void remove(const QString &path);

    /// For a file that was saved.
    void removeSaved(const QString &path);

private:
    void keepThoseOfOthers(const QString &file);

    QHash<QString, QString> own; ///< by the file's canonical path
    QSet<QString> settled; ///< canonical paths of files whose drafts are all of this window
};

enum class Reason {
    Replaced, ///< the file held it before a save
    Unsaved, ///< was never saved to the file
    Draft, ///< was being edited when the process ended, or still is
};

/// What the history holds of a file.
struct KeptVersion
{
    QString path; ///< where it lies in the history
    QDateTime time; ///< in UTC
    qint64 size = 0;
    Reason reason = Reason::Replaced;
    bool isOfFuture = false; ///< comes from a clock that was wrong, and may be older than any
};

/// "replaced", "unsaved" or "draft", as in the name of a version.
[[nodiscard]] QString reasonName(Reason reason);

/// What is kept of a file, which need not exist any more; newest first, those dated in the future last.
[[nodiscard]] QList<KeptVersion> keptVersions(const QString &path);

/// The files in a folder, or below it, of which the history knows something.
[[nodiscard]] QStringList filesInHistory(const QString &folder);
