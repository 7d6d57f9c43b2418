#include "cli/completion.h"

#include <QStringList>

namespace Cli {

namespace {

/// With a backslash before each of some characters.
QString escaped(const QString &text, const QString &characters)
{
    QString all;
    for (const QChar character : text) {
        if (characters.contains(character))
            all += QLatin1Char('\\');
        all += character;
    }
    return all;
}

const Ways &ways()
{
    static const Ways all{QStringLiteral("(%1)"), QStringLiteral("_files"), QStringLiteral("_files -/")};
    return all;
}

/// What _arguments takes for a value: its name, and how it is completed. A space only shows the name.
QString value(const char *name, const QString &way)
{
    return QStringLiteral(":%1:%2").arg(QLatin1String(name), way.isEmpty() ? QStringLiteral(" ") : way);
}

/// The next line of a call of _arguments.
QString nextLine(const QString &indent, const QString &word)
{
    return QStringLiteral(" \\\n") + indent + word;
}

QString optionLines(const QList<Option> &options, const QString &indent)
{
    QString lines;
    for (const Option &option : options) {
        const QString text =
            QStringLiteral("[%1]").arg(escaped(QLatin1String(option.description), QStringLiteral("\\[]:")));
        QString word = dashed(option);
        if (option.isRepeatable)
            word.prepend(QLatin1Char('*'));
        if (option.value)
            word += QLatin1Char('=') + text + value(option.value, wayToComplete(option.value, ways()));
        else
            word += text;
        // Nothing comes after an option with a letter.
        lines += nextLine(
            indent,
            option.letter
                ? QStringLiteral("'(- *)'{-%1,%2}%3").arg(QLatin1String(option.letter), dashed(option), quoted(text))
                : quoted(word));
    }
    return lines;
}

QString argumentLines(const QList<Argument> &arguments, const QString &indent)
{
    QString lines;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const Argument &argument = arguments.at(i);
        lines +=
            nextLine(indent, quoted(QString::number(i + 1) + value(argument.name, wayToComplete(argument, ways()))));
    }
    return lines;
}

} // namespace

QString zshScript(std::span<const Command> commands)
{
    const QString programIndent(8, QLatin1Char(' '));
    const QString commandIndent(24, QLatin1Char(' '));
    QString names;
    QString cases;
    for (const Command &command : commands) {
        const QString name = QLatin1String(command.name);
        const QString text = escaped(QLatin1String(command.description), QStringLiteral("\\:"));
        names += QStringLiteral("                %1\n").arg(quoted(name + QLatin1Char(':') + text));
        cases += QStringLiteral("                %1)\n                    _arguments -S%2%3\n                    ;;\n")
                     .arg(name, optionLines(optionsOf(command), commandIndent),
                          argumentLines(command.arguments, commandIndent));
    }
    return QStringLiteral(R"(#compdef catalist-cli
# Completes catalist-cli in zsh. "catalist-cli completion zsh" printed it.

_catalist-cli()
{
    local curcontext=$curcontext state line
    local -A opt_args

    _arguments -C -S%1 \
        '1: :->command' \
        '*:: :->argument'
    case $state in
        command)
            local -a commands=(
%2            )
            _describe -t commands command commands
            ;;
        argument)
            case $line[1] in
%3            esac
            ;;
    esac
}

_catalist-cli "$@"
)")
        .arg(optionLines(programOptions(), programIndent), names, cases);
}

} // namespace Cli
