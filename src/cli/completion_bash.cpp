#include "cli/completion.h"

#include <QStringList>

namespace Cli {

namespace {

/// A line of a "case": what it matches, and what is done.
QString bashCase(const QString &pattern, const QString &action)
{
    return QStringLiteral("            %1) %2 ;;\n").arg(quoted(pattern), action);
}

QString words(const QStringList &all)
{
    return QStringLiteral("matches=(-W '%1')").arg(all.join(QLatin1Char(' ')));
}

QStringList dashedAll(const QList<Option> &options)
{
    QStringList all;
    for (const Option &option : options)
        all.append(dashed(option));
    return all;
}

} // namespace

QString bashScript(std::span<const Command> commands)
{
    const Ways ways{words({QStringLiteral("%1")}), QStringLiteral("matches=(-f)"), QStringLiteral("matches=(-d)")};
    QStringList names;
    QStringList withValue;
    QString values;
    QString options = bashCase({}, words(dashedAll(programOptions())));
    QString places;
    for (const Command &command : commands) {
        const QString name = QLatin1String(command.name);
        names.append(name);
        options += bashCase(name, words(dashedAll(optionsOf(command))));
        for (const Option &option : command.options) {
            const QString pattern = name + QLatin1Char(' ') + dashed(option);
            if (!option.value)
                continue;
            withValue.append(quoted(pattern));
            if (const QString matches = wayToComplete(option.value, ways); !matches.isEmpty())
                values += bashCase(pattern, matches);
        }
        for (qsizetype i = 0; i < command.arguments.size(); ++i) {
            if (const QString matches = wayToComplete(command.arguments.at(i), ways); !matches.isEmpty())
                places += bashCase(name + QLatin1Char(' ') + QString::number(i), matches);
        }
    }
    places.prepend(bashCase(QStringLiteral(" 0"), words(names)));
    return QStringLiteral(R"(# Completes catalist-cli in bash. "catalist-cli completion bash" printed it.

_catalist_cli()
{
    local current=${2-${COMP_WORDS[COMP_CWORD]}} command= option= prefix= isJoined= isEnd= word
    local -i at places=0
    local -a matches=()
    COMPREPLY=()

    for ((at = 1; at < COMP_CWORD; at++)); do
        word=${COMP_WORDS[at]}
        if [[ $word =~ ^[=:]+$ ]]; then
            # Bash makes words of them, and of what follows.
            isJoined=yes
            continue
        fi
        if [[ $isJoined && ! $option ]]; then
            isJoined=
            continue
        fi
        isJoined=
        if [[ $option ]]; then
            option=
        elif [[ ! $isEnd && $word == -- ]]; then
            isEnd=yes
        elif [[ ! $isEnd && $word == -?* ]]; then
            case "$command $word" in
                %1) option=$word ;;
            esac
        elif [[ ! $command ]]; then
            command=$word
        else
            places+=1
        fi
    done
    if [[ ${COMP_WORDS[COMP_CWORD]} =~ ^[=:]+$ ]]; then
        isJoined=yes
        current=
    fi
    [[ $isJoined && ! $option ]] && return
    if [[ ! $option && ! $isEnd && $current == --*=* ]]; then
        option=${current%%=*}
        prefix=$option=
        current=${current#*=}
    fi

    if [[ $option ]]; then
        case "$command $option" in
%2        esac
    elif [[ ! $isEnd && $current == -* ]]; then
        case $command in
%3        esac
    else
        case "$command $places" in
%4        esac
    fi
    [[ ${matches-} ]] || return
    # The names of files are quoted then.
    [[ $matches == -W ]] || compopt -o filenames 2>/dev/null
    while IFS= read -r word; do
        COMPREPLY+=("$prefix$word")
    done < <(compgen "${matches[@]}" -- "$current")
}
complete -F _catalist_cli catalist-cli
)")
        .arg(withValue.join(QStringLiteral(" | ")), values, options, places);
}

} // namespace Cli
