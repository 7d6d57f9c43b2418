#include "cli/findings.h"
#include "cli/output.h"

#include <array>

namespace Cli {

using Check::Finding;

namespace {

QString levelName(Check::Severity severity)
{
    static constexpr std::array NAMES{"notice", "warning", "error"};
    return QString::fromLatin1(NAMES.at(static_cast<size_t>(severity)));
}

/// With the escapes of workflow commands for line ends, and ours for other control characters.
QString escaped(QString text)
{
    text.replace(QLatin1Char('%'), QLatin1String("%25"));
    text.replace(QLatin1Char('\r'), QLatin1String("%0D"));
    text.replace(QLatin1Char('\n'), QLatin1String("%0A"));
    return visible(text);
}

QString escapedProperty(const QString &text)
{
    QString property = escaped(text);
    property.replace(QLatin1Char(':'), QLatin1String("%3A"));
    property.replace(QLatin1Char(','), QLatin1String("%2C"));
    return property;
}

} // namespace

QString asAnnotations(const Findings &found)
{
    QString lines;
    for (const Finding &finding : found.result.findings) {
        const bool hasLine = finding.line > 0;
        lines += QStringLiteral("::") + levelName(finding.severity) + QStringLiteral(" file=")
                 + escapedProperty(found.input);
        if (hasLine)
            lines += QStringLiteral(",line=") + QString::number(finding.line);
        lines += QStringLiteral(",title=") + escapedProperty(finding.code) + QStringLiteral("::");
        // Without a line only the name says which app it is.
        if (!hasLine && !finding.app.isEmpty())
            lines += escaped(finding.app) + QStringLiteral(": ");
        lines += escaped(finding.text) + QLatin1Char('\n');
    }
    return lines;
}

} // namespace Cli
