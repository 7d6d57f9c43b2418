#pragma once

#include <QList>
#include <QString>

enum class Severity {
    Note,
    Warning,
    Error,
};

/// One fault of a catalogue or of a published index.
struct Finding
{
    QString code; ///< stable, and a key of the tables in docs/cli.md
    Severity severity = Severity::Error;
    QString app; ///< its name; empty for what concerns no app
    int line = 0; ///< in the project file, the first being 1; 0 for none
    QString text; ///< one sentence that says what to do
};

struct CheckResult
{
    QString error; ///< why nothing could be looked at: file, line and the system's reason; empty otherwise
    QList<Finding> findings;
};

/// A code as the documents list it.
struct KnownCode
{
    QString code;
    Severity severity;
};

/// "note", "warning" or "error".
[[nodiscard]] QString severityName(Severity severity);
