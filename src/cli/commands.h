#pragma once

#include <QCommandLineParser>
#include <QList>
#include <QString>
#include <QStringList>

#include <array>

namespace Cli {

/// What the program ends with.
enum ExitCode {
    Clean, ///< done
    HasErrors, ///< done, and the catalogue has errors, or what the options count as such, or two indexes differ
    Failed, ///< wrong usage, or something could not be read or written
};

struct Argument
{
    const char *name;
    const char *description;
    const char *words = nullptr; ///< the allowed ones with "|" between them; null for any
};

struct Option
{
    const char *name;
    const char *value; ///< name of its value, or the allowed words with "|" between them; null for a switch
    const char *description;
    const char *fallback = nullptr;
    bool isRequired = false;
    bool isRepeatable = false;
    const char *letter = nullptr; ///< its short form
};

// The program takes them before a command; each command takes the first.
inline constexpr Option SHOW_HELP{"help", nullptr, "Show this help.", nullptr, false, false, "h"};
inline constexpr Option SHOW_VERSION{"version", nullptr, "Show the version.", nullptr, false, false, "v"};

/// The words of a list with "|" between them; none when it is no such list.
[[nodiscard]] inline QStringList allowedWords(const char *list)
{
    QStringList words = QString::fromLatin1(list).split(QLatin1Char('|'));
    return words.size() > 1 ? words : QStringList();
}

struct Command
{
    const char *name;
    QList<Argument> arguments;
    const char *description;
    QList<Option> options;
    ExitCode (*run)(const QStringList &arguments, const QCommandLineParser &options); ///< prints its result
};

/// Says on standard error what is wrong, and where to find help. The command is empty for the whole program.
[[nodiscard]] ExitCode wrongUsage(const QString &message, const QString &command = {});

[[nodiscard]] const std::array<Command, 7> &commands();

} // namespace Cli
