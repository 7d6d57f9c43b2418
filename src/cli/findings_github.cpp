#include "cli/findings.h"
#include "cli/output.h"
#include "cli/place.h"

#include <QStringList>

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
        QStringList properties;
        if (!isUrl(found.input))
            properties.append(QStringLiteral("file=") + escapedProperty(found.input));
        if (hasLine)
            properties.append(QStringLiteral("line=") + QString::number(finding.line));
        properties.append(QStringLiteral("title=") + escapedProperty(finding.code));
        // Without a line only the name says which app it is.
        const bool needsApp = !hasLine && !finding.app.isEmpty();
        const QString app = needsApp ? escaped(finding.app) + QStringLiteral(": ") : QString();
        lines += QStringLiteral("::") + levelName(finding.severity) + QLatin1Char(' ')
                 + properties.join(QLatin1Char(',')) + QStringLiteral("::") + app + escaped(finding.text)
                 + QLatin1Char('\n');
    }
    return lines;
}

} // namespace Cli
