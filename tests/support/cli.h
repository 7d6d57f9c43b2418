#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

class QProcess;

/// How a program ended, and what it wrote.
struct Outcome
{
    int code = -1; ///< that of a shell for a program that was killed
    QByteArray out;
    QByteArray err;
};

/// Where the command was built.
[[nodiscard]] QString cliPath();

[[nodiscard]] QProcessEnvironment withoutDisplay();

/// Waits for the end of a program that was started, and fails this one when there is none.
Outcome finish(QProcess &process);

/// Runs the command without a display.
Outcome run(const QStringList &arguments, const QString &folder = {});

/// Runs a script that calls the command as catalist-cli. Besides a path to it nothing is in its environment but what
/// is given.
Outcome runScript(const QString &script, const QString &folder, QProcessEnvironment environment = {});
