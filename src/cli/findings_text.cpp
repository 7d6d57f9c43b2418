#include "cli/findings.h"
#include "cli/output.h"

namespace Cli {

using Check::Finding;
using Check::Severity;

namespace {

QString heading(const Finding &finding)
{
    if (finding.app.isEmpty() && finding.line == 0)
        return QStringLiteral("As a whole");
    const QString app = finding.app.isEmpty() ? QStringLiteral("(no name)") : finding.app;
    return finding.line == 0 ? app : QStringLiteral("%1, line %2").arg(app, QString::number(finding.line));
}

} // namespace

QString asText(const Findings &found)
{
    const QList<Finding> &findings = found.result.findings;
    QString text;
    QString last;
    for (const Finding &finding : findings) {
        const QString title = visible(heading(finding));
        if (title != last)
            text += (last.isEmpty() ? QString() : QStringLiteral("\n")) + title + QLatin1Char('\n');
        last = title;
        text += QStringLiteral("  %1 %2 %3\n")
                    .arg(severityName(finding.severity).leftJustified(7), finding.code.leftJustified(22),
                         visible(finding.text));
    }
    if (findings.isEmpty())
        return QStringLiteral("Nothing found.\n");
    return text
           + QStringLiteral("\n%1, %2, %3\n")
                 .arg(counted(count(findings, Severity::Error), QStringLiteral("error")),
                      counted(count(findings, Severity::Warning), QStringLiteral("warning")),
                      counted(count(findings, Severity::Note), QStringLiteral("note")));
}

} // namespace Cli
