#include "cli/completion.h"

#include <QStringList>

#include <utility>

namespace Cli {

namespace {

QString inQuotes(QString text)
{
    text.replace(QLatin1Char('\\'), QLatin1String(R"(\\)")).replace(QLatin1Char('\''), QLatin1String(R"(\')"));
    return QLatin1Char('\'') + text + QLatin1Char('\'');
}

/// A line of the script for fish, for what may follow a command. Before any command its name is empty.
QString line(const QString &command, const QString &rest)
{
    return QStringLiteral("complete --command catalist-cli --condition %1 %2\n")
        .arg(inQuotes(QStringLiteral("__catalist_cli_has %1").arg(command).trimmed()), rest);
}

const Ways &ways()
{
    static const Ways all{QStringLiteral("--no-files --arguments '%1'"), QStringLiteral("--force-files"),
                          QStringLiteral("--no-files --arguments '(__fish_complete_directories)'")};
    return all;
}

QString optionLines(const QString &command, const QList<Option> &options)
{
    QString lines;
    for (const Option &option : options) {
        QStringList parts{QStringLiteral("--long-option ") + QLatin1String(option.name)};
        if (option.letter)
            parts.append(QStringLiteral("--short-option ") + QLatin1String(option.letter));
        const QString way = wayToComplete(option.value, ways());
        if (option.value)
            parts.append({QStringLiteral("--require-parameter"), way.isEmpty() ? QStringLiteral("--no-files") : way});
        parts.append(QStringLiteral("--description ") + inQuotes(QLatin1String(option.description)));
        lines += line(command, parts.join(QLatin1Char(' ')));
    }
    return lines;
}

} // namespace

QString fishScript(std::span<const Command> commands)
{
    QString lines = optionLines({}, programOptions());
    for (const Command &command : commands) {
        lines += line({}, QStringLiteral("--arguments %1 --description %2")
                              .arg(QLatin1String(command.name), inQuotes(QLatin1String(command.description))));
    }
    for (const Command &command : commands) {
        const QString name = QLatin1String(command.name);
        lines += optionLines(name, optionsOf(command));
        QStringList places;
        for (const Argument &argument : command.arguments)
            places.append(wayToComplete(argument, ways()));
        places.removeDuplicates();
        places.removeAll(QString());
        for (const QString &place : std::as_const(places))
            lines += line(name, place);
    }
    return QStringLiteral(R"(# Completes catalist-cli in fish. "catalist-cli completion fish" printed it.

# Whether this is the command of the line; without a name, whether there is none yet.
function __catalist_cli_has --argument-names command
    set --local words (commandline --tokenize --current-process --cut-at-cursor)
    for word in $words[2..]
        if not string match --quiet -- '-*' $word
            test $word = "$command"
            return
        end
    end
    test -z "$command"
end

complete --command catalist-cli --no-files
)") + lines;
}

} // namespace Cli
