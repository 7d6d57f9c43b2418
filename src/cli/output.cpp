#include "cli/output.h"

#include "cli/terminal.h"
#include "io/fileresult.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cerrno>
#include <cstdio>

namespace Cli {

using Check::Finding;
using Check::Severity;

namespace {

bool write(std::FILE *stream, const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    const auto size = static_cast<size_t>(bytes.size());
    return std::fwrite(bytes.constData(), 1, size, stream) == size && std::fflush(stream) == 0;
}

QString heading(const Finding &finding)
{
    if (finding.app.isEmpty() && finding.line == 0)
        return QStringLiteral("As a whole");
    const QString app = finding.app.isEmpty() ? QStringLiteral("(no name)") : finding.app;
    return finding.line == 0 ? app : QStringLiteral("%1, line %2").arg(app, QString::number(finding.line));
}

} // namespace

bool print(const QString &text)
{
    errno = 0;
    if (write(stdout, text))
        return true;
    printError(FileError{QStringLiteral("standard output"), systemReason(errno)}.text());
    return false;
}

void printError(const QString &message, const QStringList &more)
{
    QString lines = QStringLiteral("catalist-cli: ") + visible(message) + QLatin1Char('\n');
    for (const QString &line : more)
        lines += visible(line) + QLatin1Char('\n');
    write(stderr, lines);
}

QString visible(const QString &text)
{
    QString shown;
    for (const QChar character : text) {
        const QChar::Category category = character.category();
        if (category == QChar::Other_Control || category == QChar::Separator_Line
            || category == QChar::Separator_Paragraph)
            shown += QStringLiteral("\\u%1").arg(character.unicode(), 4, 16, QLatin1Char('0'));
        else
            shown += character;
    }
    return shown;
}

QString asText(const QList<Finding> &findings)
{
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

QString asText(const QList<History::ProjectVersion> &versions)
{
    QString text;
    for (const History::ProjectVersion &one : versions) {
        text += QStringLiteral("%1  %2  %3  %4  %5\n")
                    .arg(one.version.time().toString(Qt::ISODate), QString::number(one.version.size).rightJustified(11),
                         History::reasonName(one.version.reason()).leftJustified(8), visible(one.version.name()),
                         visible(one.place));
    }
    return text;
}

QString asJson(const QList<Finding> &findings, const QString &command, const QString &input)
{
    QJsonArray list;
    for (const Finding &finding : findings) {
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
        list.append(object);
    }
    const QJsonObject object{
        {QStringLiteral("command"), command},
        {QStringLiteral("input"), input},
        {QStringLiteral("errors"), count(findings, Severity::Error)},
        {QStringLiteral("warnings"), count(findings, Severity::Warning)},
        {QStringLiteral("notes"), count(findings, Severity::Note)},
        {QStringLiteral("findings"), list},
    };
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Indented));
}

QString counted(qint64 number, const QString &thing)
{
    return QStringLiteral("%1 %2%3").arg(QString::number(number), thing, number == 1 ? QString() : QStringLiteral("s"));
}

qsizetype count(const QList<Finding> &findings, Severity severity)
{
    return std::count_if(findings.cbegin(), findings.cend(),
                         [severity](const Finding &finding) { return finding.severity == severity; });
}

ProgressLine::~ProgressLine()
{
    if (isShown)
        write(stderr, QStringLiteral("\r\033[K"));
}

void ProgressLine::show(const QString &text)
{
    if (!isErrorOnTerminal())
        return;
    isShown = true;
    write(stderr, QStringLiteral("\r\033[K") + text);
}

} // namespace Cli
