#pragma once

#include "check/finding.h"
#include "io/projecthistory.h"

#include <QString>
#include <QStringList>

// What the command prints. Nothing here ends the program.

/// Writes a text to standard output, where false means that it did not get there; standard error then says why.
[[nodiscard]] bool print(const QString &text);

/// "catalist-cli: " and a message, on standard error; more lines may follow it.
void printError(const QString &message, const QStringList &more = {});

/// A text with its control characters escaped, so that no name passes for a line of its own.
[[nodiscard]] QString visible(const QString &text);

/// The findings, grouped by app, to be read.
[[nodiscard]] QString asText(const QList<Finding> &findings);

/// A line for each version.
[[nodiscard]] QString asText(const QList<ProjectVersion> &versions);

/// The findings as one JSON object; the input is what they were found in.
[[nodiscard]] QString asJson(const QList<Finding> &findings, const QString &command, const QString &input);

/// "1 file", "2 files".
[[nodiscard]] QString counted(qint64 number, const QString &thing);

[[nodiscard]] qsizetype count(const QList<Finding> &findings, Severity severity);

/// A line on a terminal that is written over again and again, and gone in the end.
class ProgressLine
{
public:
    ProgressLine() = default;
    ~ProgressLine();
    Q_DISABLE_COPY_MOVE(ProgressLine)

    void show(const QString &text);

private:
    bool isShown = false;
};
