#include "cli/output.h"

#include "cli/terminal.h"
#include "io/fileresult.h"

#include <cerrno>
#include <cstdio>

namespace Cli {

namespace {

bool write(std::FILE *stream, const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    const auto size = static_cast<size_t>(bytes.size());
    return std::fwrite(bytes.constData(), 1, size, stream) == size && std::fflush(stream) == 0;
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

QString titleOf(const QString &app)
{
    return app.isEmpty() ? QStringLiteral("(no name)") : app;
}

QString entryLine(const QString &kind, const QString &about, const QString &text)
{
    return QStringLiteral("  %1 %2 %3\n").arg(kind.leftJustified(7), visible(about).leftJustified(22), visible(text));
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

QString counted(qint64 number, const QString &thing)
{
    return QStringLiteral("%1 %2%3").arg(QString::number(number), thing, number == 1 ? QString() : QStringLiteral("s"));
}

ProgressLine::ProgressLine() : isVisible(isErrorOnTerminal()) { }

ProgressLine::~ProgressLine()
{
    if (isShown)
        write(stderr, QStringLiteral("\r\033[K"));
}

void ProgressLine::show(const std::function<QString()> &text)
{
    constexpr qint64 INTERVAL = 100; // milliseconds
    if (!isVisible || (sinceShown.isValid() && sinceShown.elapsed() < INTERVAL))
        return;
    sinceShown.start();
    isShown = true;
    write(stderr, QStringLiteral("\r\033[K") + text());
}

} // namespace Cli
