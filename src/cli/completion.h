#pragma once

#include "cli/commands.h"

#include <QList>
#include <QString>

#include <span>

namespace Cli {

/// A script that lets a shell complete the words after catalist-cli. The shell is bash, fish or zsh.
[[nodiscard]] QString completionScript(const QString &shell, std::span<const Command> commands);

// Each file completion_*.cpp writes the script of one shell.
[[nodiscard]] QString bashScript(std::span<const Command> commands);
[[nodiscard]] QString fishScript(std::span<const Command> commands);
[[nodiscard]] QString zshScript(std::span<const Command> commands);

/// How a shell completes a value.
struct Ways
{
    QString words; ///< with %1 in the place of the allowed ones
    QString files;
    QString folders;
};

/// The way that is right for a value of an option, or for an argument; empty where it may be any text.
[[nodiscard]] QString wayToComplete(const char *value, const Ways &ways);
[[nodiscard]] QString wayToComplete(const Argument &argument, const Ways &ways);

/// The options before a command.
[[nodiscard]] QList<Option> programOptions();

/// The options after a command.
[[nodiscard]] QList<Option> optionsOf(const Command &command);

/// "--" and the name.
[[nodiscard]] QString dashed(const Option &option);

/// A text as one word of bash or zsh.
[[nodiscard]] QString quoted(QString text);

} // namespace Cli
