#include "cli/findings.h"
#include "cli/output.h"

#include <QHash>

namespace Cli {

using Check::Finding;
using Check::Severity;

namespace {

// A code that was found more often than the first number has as many examples as the second.
constexpr qsizetype MOST_OF_A_CODE = 5;
constexpr qsizetype EXAMPLES = 3;

struct Excerpt
{
    QList<Finding> findings;
    QString rest; ///< a line for each code of which some are left out
};

Excerpt excerptOf(const QList<Finding> &findings)
{
    QHash<QString, qsizetype> numbers;
    for (const Finding &finding : findings)
        ++numbers[finding.code];
    QHash<QString, qsizetype> reached;
    Excerpt excerpt;
    for (const Finding &finding : findings) {
        const qsizetype number = numbers.value(finding.code);
        const qsizetype place = ++reached[finding.code];
        if (number <= MOST_OF_A_CODE || place <= EXAMPLES)
            excerpt.findings.append(finding);
        else if (place == EXAMPLES + 1)
            excerpt.rest += QStringLiteral("%1 more of %2: --all shows them\n")
                                .arg(QString::number(number - EXAMPLES), finding.code);
    }
    return excerpt;
}

QString heading(const Finding &finding)
{
    if (finding.app.isEmpty() && finding.line == 0)
        return QStringLiteral("As a whole");
    const QString app = titleOf(finding.app);
    return finding.line == 0 ? app : QStringLiteral("%1, line %2").arg(app, QString::number(finding.line));
}

QString groupedByApp(const QList<Finding> &findings)
{
    QString text;
    QString last;
    for (const Finding &finding : findings) {
        const QString title = visible(heading(finding));
        if (title != last)
            text += (last.isEmpty() ? QString() : QStringLiteral("\n")) + title + QLatin1Char('\n');
        last = title;
        text += entryLine(severityName(finding.severity), finding.code, finding.text);
    }
    return text;
}

} // namespace

QString asText(const Findings &found)
{
    const QList<Finding> &findings = found.result.findings;
    if (findings.isEmpty())
        return QStringLiteral("%1, %2: %3\n")
            .arg(counted(found.result.apps, QStringLiteral("app")), counted(found.result.files, QStringLiteral("file")),
                 found.result.isComplete ? QStringLiteral("no findings")
                                         : QStringLiteral("interrupted, no findings so far"));
    const Excerpt excerpt = found.isWhole ? Excerpt{findings, {}} : excerptOf(findings);
    return groupedByApp(excerpt.findings) + (excerpt.rest.isEmpty() ? QString() : QLatin1Char('\n') + excerpt.rest)
           + QStringLiteral("\n%1, %2, %3\n")
                 .arg(counted(count(findings, Severity::Error), QStringLiteral("error")),
                      counted(count(findings, Severity::Warning), QStringLiteral("warning")),
                      counted(count(findings, Severity::Note), QStringLiteral("note")));
}

} // namespace Cli
