#pragma once

#include "io/fileresult.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>

// The files that the history is made of. A version is a file with the content that was kept; its name is the time, a
// number, the reason and the name of the file that it is of. The versions of a file share a folder, together with
// origin.txt, which holds the path of that file.

namespace History {

enum class Reason {
    Replaced, ///< the file held it before a save
    Unsaved, ///< was never saved to the file
    Draft, ///< was being edited when the process ended, or still is
};

/// "replaced", "unsaved" or "draft", as in the name of a version.
[[nodiscard]] QString reasonName(Reason reason);

struct Version
{
    QString path;
    qint64 size = 0;
    bool isFromFuture = false; ///< its clock was wrong, and it may be older than any other

    [[nodiscard]] QString name() const;
    [[nodiscard]] QString folder() const;
    [[nodiscard]] QDateTime time() const; ///< in UTC
    [[nodiscard]] Reason reason() const;
    [[nodiscard]] QString pathWithReason(Reason other) const;
};

inline constexpr qint64 MOST_BYTES = 200'000'000; ///< of all versions together
inline constexpr qint64 LARGEST_ORIGIN = 100'000; ///< bytes, more than any path has
inline constexpr QLatin1String ORIGIN_NAME("origin.txt");

/// The folder of the history. It need not exist.
[[nodiscard]] QString historyFolder();

/// The path of a file as the history uses it: the same for every way to name the file, even before it exists.
[[nodiscard]] QString canonical(const QString &path);

/// Where the versions of a file are, by its canonical path.
[[nodiscard]] QString folderOfVersions(const QString &file);

/// The versions in a folder and below it; newest first, those dated in the future last.
[[nodiscard]] QList<Version> versionsIn(const QString &folder);

/// Adds a version of a file, which is given by its canonical path, and returns the path of the version. An error is
/// also a debug message.
[[nodiscard]] FileResult<QString> addVersion(const QString &file, const QByteArray &content, Reason reason);

/// Removes its folder too when nothing else is in it.
void removeVersion(const Version &version);

/// Whether a file has exactly this content.
[[nodiscard]] bool holds(const QString &path, const QByteArray &content);

} // namespace History
