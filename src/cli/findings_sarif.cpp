#include "cli/findings.h"
#include "cli/place.h"

#include <QDir>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>
#include <QUrl>

namespace Cli {

using Check::Finding;
using Check::Rule;

namespace {

QJsonObject asRule(const Rule &rule)
{
    // More than any sentence has places for.
    const QStringList particulars(9, QStringLiteral("…"));
    return {
        {QStringLiteral("id"), QString::fromLatin1(rule.code)},
        {QStringLiteral("shortDescription"),
         QJsonObject{{QStringLiteral("text"), Check::sentenceOf(rule, particulars)}}},
        {QStringLiteral("defaultConfiguration"),
         QJsonObject{{QStringLiteral("level"), Check::severityName(rule.severity)}}},
    };
}

/// A URL as it is, a path as a reference to a file, which stays relative if the path is.
QString uriOf(const QString &path)
{
    if (isUrl(path))
        return QString::fromLatin1(QUrl(path).toEncoded());
    const QString portable = QDir::fromNativeSeparators(path);
    if (QDir::isRelativePath(portable))
        return QString::fromLatin1(QUrl::toPercentEncoding(portable, "/"));
    const QString slash = portable.startsWith(QLatin1Char('/')) ? QString() : QStringLiteral("/");
    return QStringLiteral("file://") + slash + QString::fromLatin1(QUrl::toPercentEncoding(portable, "/:"));
}

/// The text of a message, in which braces are places for arguments.
QString escaped(QString text)
{
    text.replace(QLatin1Char('{'), QLatin1String("{{"));
    text.replace(QLatin1Char('}'), QLatin1String("}}"));
    return text;
}

QJsonObject locationOf(const Finding &finding, const QString &uri)
{
    QJsonObject place{{QStringLiteral("artifactLocation"), QJsonObject{{QStringLiteral("uri"), uri}}}};
    if (finding.line > 0)
        place.insert(QStringLiteral("region"), QJsonObject{{QStringLiteral("startLine"), finding.line}});
    QJsonObject location{{QStringLiteral("physicalLocation"), place}};
    if (!finding.app.isEmpty())
        location.insert(QStringLiteral("logicalLocations"),
                        QJsonArray{QJsonObject{{QStringLiteral("name"), finding.app}}});
    return location;
}

} // namespace

QString asSarif(const Findings &found)
{
    QJsonArray rules;
    QHash<QString, int> indexes;
    for (const Rule &rule : found.rules) {
        indexes.insert(QString::fromLatin1(rule.code), static_cast<int>(rules.size()));
        rules.append(asRule(rule));
    }
    const QString uri = uriOf(found.input);
    QJsonArray results;
    for (const Finding &finding : found.result.findings) {
        results.append(QJsonObject{
            {QStringLiteral("ruleId"), finding.code},
            {QStringLiteral("ruleIndex"), indexes.value(finding.code)},
            {QStringLiteral("level"), Check::severityName(finding.severity)},
            {QStringLiteral("message"), QJsonObject{{QStringLiteral("text"), escaped(finding.text)}}},
            {QStringLiteral("locations"), QJsonArray{locationOf(finding, uri)}},
        });
    }
    const QJsonObject driver{
        {QStringLiteral("name"), QStringLiteral("catalist-cli")},
        {QStringLiteral("version"), QStringLiteral(CATALIST_VERSION)},
        {QStringLiteral("rules"), rules},
    };
    QJsonObject run{
        {QStringLiteral("tool"), QJsonObject{{QStringLiteral("driver"), driver}}},
        {QStringLiteral("results"), results},
    };
    if (!found.result.isComplete)
        run.insert(QStringLiteral("invocations"),
                   QJsonArray{QJsonObject{{QStringLiteral("executionSuccessful"), false}}});
    const QJsonObject log{
        {QStringLiteral("version"), QStringLiteral("2.1.0")},
        {QStringLiteral("runs"), QJsonArray{run}},
    };
    return QString::fromUtf8(QJsonDocument(log).toJson(QJsonDocument::Indented));
}

} // namespace Cli
