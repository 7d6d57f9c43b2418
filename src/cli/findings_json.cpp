#include "cli/findings.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace Cli {

using Check::Finding;
using Check::Severity;

QJsonObject asObject(const Finding &finding)
{
    QJsonObject object{
        {QStringLiteral("code"), finding.code}, {QStringLiteral("severity"), severityName(finding.severity)},
        {QStringLiteral("app"), finding.app},   {QStringLiteral("line"), finding.line},
        {QStringLiteral("text"), finding.text},
    };
    const auto insert = [&object](const QString &member, const QString &value) {
        if (!value.isEmpty())
            object.insert(member, value);
    };
    insert(QStringLiteral("file"), finding.file);
    insert(QStringLiteral("expected"), finding.expected);
    insert(QStringLiteral("actual"), finding.actual);
    return object;
}

QString asJson(const Findings &found)
{
    const QList<Finding> &findings = found.result.findings;
    QJsonArray list;
    for (const Finding &finding : findings)
        list.append(asObject(finding));
    const QJsonObject object{
        {QStringLiteral("command"), found.command},
        {QStringLiteral("input"), found.input},
        {QStringLiteral("errors"), count(findings, Severity::Error)},
        {QStringLiteral("warnings"), count(findings, Severity::Warning)},
        {QStringLiteral("notes"), count(findings, Severity::Note)},
        {QStringLiteral("findings"), list},
    };
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Indented));
}

} // namespace Cli
