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
    HasErrors, ///< done, and the catalogue has errors, or what the options count as such
    Failed, ///< wrong usage, or something could not be read or written
};

struct Argument
{
    const char *name;
    const char *description;
};

struct Option
{
    const char *name;
    const char *value; ///< name of its value, or the allowed words with "|" between them; null for a switch
    const char *description;
    const char *fallback = nullptr;
    bool isRequired = false;
};

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

[[nodiscard]] const std::array<Command, 5> &commands();

} // namespace Cli
