#pragma once

#include "history/projecthistory.h"

#include <QElapsedTimer>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

// What the command prints.

namespace Cli {

/// Writes a text to standard output. False when that failed; standard error then says why.
[[nodiscard]] bool print(const QString &text);

/// "catalist-cli: " and a message, on standard error; more lines may follow it.
void printError(const QString &message, const QStringList &more = {});

/// A text with its control characters escaped, so that no name can look like a line of its own.
[[nodiscard]] QString visible(const QString &text);

/// What an app is called where every app needs a title.
[[nodiscard]] QString titleOf(const QString &app);

/// A line below the title of an app, in columns: what kind of thing it says, what about, and the text.
[[nodiscard]] QString entryLine(const QString &kind, const QString &about, const QString &text);

/// A line for each version.
[[nodiscard]] QString asText(const QList<History::ProjectVersion> &versions);

/// "1 file", "2 files".
[[nodiscard]] QString counted(qint64 number, const QString &thing);

/// A line on a terminal, which is removed in the end.
class ProgressLine
{
public:
    ProgressLine();
    ~ProgressLine();
    Q_DISABLE_COPY_MOVE(ProgressLine)

    /// Shows a text instead of the one before it, at most ten times a second.
    void show(const std::function<QString()> &text);

private:
    bool isVisible;
    QElapsedTimer sinceShown;
    bool isShown = false;
};

} // namespace Cli
