#include "check/appname.h"
#include "check/indexdiff.h"
#include "cli/commandfunctions.h"
#include "cli/findings.h"
#include "cli/output.h"
#include "cli/place.h"

#include <QCommandLineParser>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

namespace Cli {

using Check::AppChange;
using Check::IndexDiff;

namespace {

constexpr QLatin1String VERSION("version");

FileResult<QJsonArray> readApps(const QString &place)
{
    const auto index = readIndexAt(place, {});
    if (!index)
        return index.error();
    const QJsonValue apps = index->value(QLatin1String("applications"));
    if (!apps.isArray())
        return FileError{place, QStringLiteral("Has no array \"applications\"")};
    return apps.toArray();
}

QStringList namesOf(const QList<QJsonObject> &apps)
{
    QStringList names;
    for (const QJsonObject &app : apps)
        names.append(Check::nameOf(app));
    return names;
}

QJsonObject objectOf(const AppChange &change)
{
    QJsonObject object{{QStringLiteral("app"), Check::nameOf(change.after)}};
    for (const Check::ValueChange &value : change.values) {
        object.insert(value.member, QJsonObject{
                                        {QStringLiteral("old"), change.before.value(value.member)},
                                        {QStringLiteral("new"), change.after.value(value.member)},
                                    });
    }
    object.insert(QStringLiteral("files"),
                  QJsonObject{
                      {QStringLiteral("added"), QJsonArray::fromStringList(change.files.added)},
                      {QStringLiteral("removed"), QJsonArray::fromStringList(change.files.removed)},
                      {QStringLiteral("changed"), QJsonArray::fromStringList(change.files.changed)},
                  });
    return object;
}

QString asJson(const IndexDiff &diff)
{
    QJsonArray changed;
    QJsonArray findings;
    for (const AppChange &change : diff.changed) {
        changed.append(objectOf(change));
        for (const Check::Finding &finding : change.findings)
            findings.append(asObject(finding));
    }
    const QJsonObject object{
        {QStringLiteral("added"), QJsonArray::fromStringList(namesOf(diff.added))},
        {QStringLiteral("removed"), QJsonArray::fromStringList(namesOf(diff.removed))},
        {QStringLiteral("changed"), changed},
        {QStringLiteral("findings"), findings},
    };
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Indented));
}

/// A value for people.
QString shown(const QJsonValue &value)
{
    QString text;
    if (value.isObject()) {
        text = QString::fromUtf8(QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact));
    } else if (value.isArray()) {
        QStringList elements;
        const QJsonArray array = value.toArray();
        for (const auto element : array)
            elements.append(shown(element));
        text = elements.join(QLatin1String(", "));
    } else {
        text = value.toVariant().toString();
    }
    return text.isEmpty() ? QStringLiteral("(none)") : text;
}

QString shown(const QJsonValue &before, const QJsonValue &after)
{
    return QStringLiteral("%1 → %2").arg(shown(before), shown(after));
}

QJsonValue versionOf(const QJsonObject &app)
{
    return app.value(VERSION);
}

/// One difference for people.
struct Line
{
    QString verb;
    QString what;
    QString value;
};

QList<Line> linesOf(const QList<Check::ValueChange> &values, const Check::FileChanges &files)
{
    const QString added = QStringLiteral("added");
    const QString removed = QStringLiteral("removed");
    const QString changed = QStringLiteral("changed");
    QList<Line> lines;
    for (const Check::ValueChange &one : values) {
        const QString what =
            one.language.isEmpty() ? QString(one.title) : QStringLiteral("%1 in %2").arg(one.title, one.language);
        if (one.before.isUndefined())
            lines.append({added, what, shown(one.after)});
        else if (one.after.isUndefined())
            lines.append({removed, what, shown(one.before)});
        else
            lines.append({changed, what, shown(one.before, one.after)});
    }
    const auto addFiles = [&lines](const QString &verb, const QStringList &destinations) {
        for (const QString &destination : destinations)
            lines.append({verb, QStringLiteral("file"), shown(destination)});
    };
    addFiles(added, files.added);
    addFiles(removed, files.removed);
    addFiles(changed, files.changed);
    return lines;
}

QString sameText(const IndexDiff &diff)
{
    return counted(diff.apps, QStringLiteral("app")) + QStringLiteral(": no differences\n");
}

QString titleLine(const QJsonObject &app)
{
    return visible(titleOf(Check::nameOf(app))) + QLatin1Char('\n');
}

QString asText(const IndexDiff &diff)
{
    if (diff.isEmpty())
        return sameText(diff);
    QStringList groups;
    const auto addWhole = [&groups](const QString &verb, const QList<QJsonObject> &apps) {
        for (const QJsonObject &app : apps) {
            const QString version = QStringLiteral("version ") + shown(versionOf(app));
            groups.append(titleLine(app) + entryLine(verb, QStringLiteral("app"), version));
        }
    };
    addWhole(QStringLiteral("added"), diff.added);
    addWhole(QStringLiteral("removed"), diff.removed);
    for (const AppChange &change : diff.changed) {
        QString group = titleLine(change.after);
        const QList<Line> lines = linesOf(change.values, change.files);
        for (const Line &line : lines)
            group += entryLine(line.verb, line.what, line.value);
        for (const Check::Finding &finding : change.findings)
            group += entryLine(severityName(finding.severity), finding.code, finding.text);
        groups.append(group);
    }
    groups.append(QStringLiteral("%1 added, %2 removed, %3 changed\n")
                      .arg(counted(diff.added.size(), QStringLiteral("app")), QString::number(diff.removed.size()),
                           QString::number(diff.changed.size())));
    return groups.join(QLatin1Char('\n'));
}

/// A text without markup, for the middle of a line: what is markup only at the beginning of one is left.
QString escaped(const QString &text)
{
    static const QRegularExpression markup(QStringLiteral(R"(([\\`*_{}\[\]#+|~^=$@]|:(?=\S)|(?<=www)\.))"),
                                           QRegularExpression::CaseInsensitiveOption);
    QString all = visible(text);
    all.replace(markup, QStringLiteral(R"(\\1)"));
    // Not every reader of Markdown takes a backslash before these.
    all.replace(QLatin1Char('&'), QLatin1String("&amp;"));
    all.replace(QLatin1Char('<'), QLatin1String("&lt;"));
    all.replace(QLatin1Char('>'), QLatin1String("&gt;"));
    return all;
}

QString capitalised(const QString &word)
{
    return word.left(1).toUpper() + word.mid(1);
}

QString heading(const QJsonObject &app, const QString &version)
{
    return QStringLiteral("### %1 %2\n").arg(escaped(titleOf(Check::nameOf(app))), escaped(version));
}

QString asMarkdown(const IndexDiff &diff)
{
    if (diff.isEmpty())
        return sameText(diff);
    QStringList blocks;
    const auto addWhole = [&blocks](const QString &title, const QList<QJsonObject> &apps) {
        if (!apps.isEmpty())
            blocks.append(QStringLiteral("## %1\n").arg(title));
        for (const QJsonObject &app : apps)
            blocks.append(heading(app, shown(versionOf(app))));
    };
    addWhole(QStringLiteral("Added"), diff.added);
    addWhole(QStringLiteral("Removed"), diff.removed);
    if (!diff.changed.isEmpty())
        blocks.append(QStringLiteral("## Changed\n"));
    for (const AppChange &change : diff.changed) {
        const QJsonValue before = versionOf(change.before);
        const QJsonValue after = versionOf(change.after);
        blocks.append(heading(change.after, before == after ? shown(after) : shown(before, after)));
        QList<Check::ValueChange> values = change.values;
        values.removeIf([](const Check::ValueChange &one) { return one.member == VERSION; });
        QString bullets;
        const QList<Line> lines = linesOf(values, change.files);
        for (const Line &line : lines)
            bullets +=
                QStringLiteral("- %1 %2: %3\n").arg(capitalised(line.verb), escaped(line.what), escaped(line.value));
        if (!bullets.isEmpty())
            blocks.append(bullets);
        for (const Check::Finding &finding : change.findings)
            blocks.append(
                QStringLiteral("> %1: %2\n").arg(capitalised(severityName(finding.severity)), escaped(finding.text)));
    }
    return blocks.join(QLatin1Char('\n'));
}

using Format = QString (*)(const IndexDiff &diff);

Format formatCalled(const QString &name)
{
    static const QHash<QString, Format> formats{
        {QStringLiteral("text"), asText},
        {QStringLiteral("json"), asJson},
        {QStringLiteral("markdown"), asMarkdown},
    };
    Q_ASSERT(formats.contains(name));
    return formats.value(name);
}

} // namespace

ExitCode diff(const QStringList &arguments, const QCommandLineParser &options)
{
    for (const QString &place : arguments) {
        const QString problem = isUrl(place) ? urlProblem(place) : QString();
        if (!problem.isEmpty())
            return wrongUsage(place + QLatin1Char(' ') + problem, QStringLiteral("diff"));
    }
    const auto before = readApps(arguments.at(0));
    if (!before)
        return failed(before.error().text());
    const auto after = readApps(arguments.at(1));
    if (!after)
        return failed(after.error().text());
    const IndexDiff found = Check::compareIndexes(*before, *after);
    if (!print(formatCalled(options.value(QStringLiteral("format")))(found)))
        return Failed;
    return found.isEmpty() ? Clean : HasErrors;
}

} // namespace Cli
