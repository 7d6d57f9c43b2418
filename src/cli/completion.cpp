#include "cli/completion.h"

#include <QStringList>

#include <algorithm>
#include <array>

namespace Cli {

namespace {

using Way = QString Ways::*;

/// Nothing for any text.
Way wayOf(const char *value)
{
    struct Kind
    {
        QLatin1String name;
        Way way;
    };
    static constexpr std::array<Kind, 6> KINDS{{
        {QLatin1String("ENTRY"), &Ways::files},
        {QLatin1String("FILE"), &Ways::files},
        {QLatin1String("NEW"), &Ways::files},
        {QLatin1String("OLD"), &Ways::files},
        {QLatin1String("PLACE"), &Ways::folders},
        {QLatin1String("PROJECT"), &Ways::files},
    }};
    if (!allowedWords(value).isEmpty())
        return &Ways::words;
    const auto *kind =
        std::find_if(KINDS.begin(), KINDS.end(), [value](const Kind &one) { return one.name == QLatin1String(value); });
    return kind == KINDS.end() ? nullptr : kind->way;
}

} // namespace

QString completionScript(const QString &shell, std::span<const Command> commands)
{
    struct Shell
    {
        QLatin1String name;
        QString (*script)(std::span<const Command> commands);
    };
    static constexpr std::array<Shell, 3> SHELLS{{
        {QLatin1String("bash"), bashScript},
        {QLatin1String("fish"), fishScript},
        {QLatin1String("zsh"), zshScript},
    }};
    const auto *found =
        std::find_if(SHELLS.begin(), SHELLS.end(), [&shell](const Shell &one) { return one.name == shell; });
    Q_ASSERT(found != SHELLS.end());
    return found->script(commands);
}

QString wayToComplete(const char *value, const Ways &ways)
{
    const Way way = wayOf(value);
    if (!way)
        return {};
    const QString words = allowedWords(value).join(QLatin1Char(' '));
    return words.isEmpty() ? ways.*way : (ways.*way).arg(words);
}

QString wayToComplete(const Argument &argument, const Ways &ways)
{
    return wayToComplete(argument.words ? argument.words : argument.name, ways);
}

QList<Option> programOptions()
{
    return {SHOW_HELP, SHOW_VERSION};
}

QList<Option> optionsOf(const Command &command)
{
    return command.options + QList<Option>{SHOW_HELP};
}

QString dashed(const Option &option)
{
    return QStringLiteral("--") + QLatin1String(option.name);
}

QString quoted(QString text)
{
    return QLatin1Char('\'') + text.replace(QLatin1Char('\''), QLatin1String(R"('\'')")) + QLatin1Char('\'');
}

} // namespace Cli
