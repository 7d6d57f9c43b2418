#pragma once

#include "io/fileresult.h"

#include <QLatin1String>
#include <QString>
#include <QtGlobal>

#include <cerrno>
#include <filesystem>
#include <functional>

class QFileDevice;
class QFileInfo;
class QObject;

// What differs between systems.

/// A path for the standard library, whose own conversion throws when a text is not valid Unicode.
[[nodiscard]] std::filesystem::path systemPath(const QString &path);

/// Whether listings leave an entry of a folder out.
[[nodiscard]] bool isHiddenEntry(const QFileInfo &entry);

#ifdef Q_OS_UNIX
/// Calls again what a signal has interrupted.
template <typename Call> auto uninterrupted(Call call)
{
    auto answer = call();
    while (answer == -1 && errno == EINTR)
        answer = call();
    return answer;
}
#endif

// These succeed where the system has no such call.

/// Waits until the disk has what was written to an open file and flushed.
[[nodiscard]] FileResult<> syncFile(const QFileDevice &file);

/// Waits until the disk has the names in a folder. A folder that cannot be opened is ignored.
[[nodiscard]] FileResult<> syncFolder(const QString &folder);

/// Gives an open file the owner and the group of another one, or only the group where the system allows no more.
/// False when neither was possible.
bool giveToOwnerOf(const QFileInfo &other, const QFileDevice &file);

/// Between the lines of a text file.
#ifdef Q_OS_WIN
inline constexpr QLatin1String LINE_END("\r\n");
#else
inline constexpr QLatin1String LINE_END("\n");
#endif

/// Makes the event loop call a function before a signal of the system ends the process, as at a logout. A second signal
/// ends it at once. To be called once.
void beforeTermination(QObject *context, const std::function<void()> &function);
