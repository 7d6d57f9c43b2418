#pragma once

#include "cli/commands.h"

#include <QString>
#include <QStringList>

class QCommandLineParser;

// What the commands do; the table in commands.cpp says which options they have. Each prints its result.

namespace Cli {

ExitCode diff(const QStringList &arguments, const QCommandLineParser &options);
ExitCode exportIndex(const QStringList &arguments, const QCommandLineParser &options);

/// How many threads the user wants; by default one for each core.
[[nodiscard]] int threads(const QCommandLineParser &options);

/// The project file in a folder, which need not exist any more, or the file itself.
[[nodiscard]] QString projectFile(const QString &project);

/// Says on standard error what failed.
[[nodiscard]] ExitCode failed(const QString &message, const QStringList &more = {});

} // namespace Cli
