#pragma once

#include "check/finding.h"

#include <QJsonObject>
#include <QList>
#include <QString>

// The formats in which check and verify print what they found; each is in a file findings_*.cpp.

namespace Cli {

/// What a command found.
struct Findings
{
    QString command;
    QString input; ///< the file or URL that they were found in, as the user named it
    QList<Check::Rule> rules; ///< of the command
    Check::Result result = {};
    bool isWhole = false; ///< otherwise the text only has examples of what was found very often
};

/// For people, grouped by app.
[[nodiscard]] QString asText(const Findings &found);

/// One JSON object.
[[nodiscard]] QString asJson(const Findings &found);

/// Workflow commands, one on each line, which a build server shows beside the lines of the file.
[[nodiscard]] QString asAnnotations(const Findings &found);

/// A log of the static analysis format SARIF 2.1.0, with one run.
[[nodiscard]] QString asSarif(const Findings &found);

/// A finding as an object of the JSON format.
[[nodiscard]] QJsonObject asObject(const Check::Finding &finding);

[[nodiscard]] qsizetype count(const QList<Check::Finding> &findings, Check::Severity severity);

} // namespace Cli
