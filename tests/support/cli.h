#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

class QProcess;

/// The exit code and the output of a program.
struct Outcome
{
    int code = -1; ///< for a killed program that of a shell
    QByteArray out;
    QByteArray err;
};

/// The path of the built command.
[[nodiscard]] QString cliPath();

[[nodiscard]] QProcessEnvironment withoutDisplay();

/// Waits for the end of a started program; fails this one when it does not end.
Outcome finish(QProcess &process);

/// Runs the command without a display.
Outcome run(const QStringList &arguments, const QString &folder = {});

/// The same, while the events of this program are handled, such as those of a server that the command asks.
Outcome runBesideServer(const QStringList &arguments, const QProcessEnvironment &environment = withoutDisplay());

/// Whether runScript() has a shell.
[[nodiscard]] bool hasShell();

/// Runs a shell script in which the command is catalist-cli. Its environment is the given one and a PATH.
Outcome runScript(const QString &script, const QString &folder, QProcessEnvironment environment = {});
