#include "cli.h"

#include <QEventLoop>
#include <QFileInfo>
#include <QProcess>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

constexpr int PATIENCE = 120'000;

} // namespace

QString cliPath()
{
    return QStringLiteral(CATALIST_CLI);
}

QProcessEnvironment withoutDisplay()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString &name : {u"DISPLAY"_s, u"WAYLAND_DISPLAY"_s, u"QT_QPA_PLATFORM"_s})
        environment.remove(name);
    return environment;
}

Outcome finish(QProcess &process)
{
    const bool isRunning = process.state() != QProcess::NotRunning;
    const bool ends = !isRunning || (process.waitForStarted() && process.waitForFinished(PATIENCE));
    if (!ends || process.error() == QProcess::FailedToStart || process.exitStatus() != QProcess::NormalExit)
        qFatal("%s did not end: %s", qPrintable(process.program()), process.readAllStandardError().constData());
    const bool isMerged = process.processChannelMode() == QProcess::MergedChannels;
    return {process.exitCode(), process.readAllStandardOutput(),
            isMerged ? QByteArray() : process.readAllStandardError()};
}

Outcome run(const QStringList &arguments, const QString &folder)
{
    QProcess process;
    process.setProcessEnvironment(withoutDisplay());
    process.setWorkingDirectory(folder);
    process.start(cliPath(), arguments);
    return finish(process);
}

Outcome runBesideServer(const QStringList &arguments, const QProcessEnvironment &environment)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    QEventLoop loop;
    QObject::connect(&process, &QProcess::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(PATIENCE, &loop, &QEventLoop::quit);
    process.start(cliPath(), arguments);
    loop.exec();
    return finish(process);
}

bool hasShell()
{
    return QFileInfo::exists(u"/bin/sh"_s);
}

Outcome runScript(const QString &script, const QString &folder, QProcessEnvironment environment)
{
    QProcess process;
    process.setWorkingDirectory(folder);
    environment.insert(u"PATH"_s, QFileInfo(cliPath()).path() + u":/usr/bin:/bin"_s);
    environment.insert(u"LSAN_OPTIONS"_s, qEnvironmentVariable("LSAN_OPTIONS"));
    process.setProcessEnvironment(environment);
    process.start(u"/bin/sh"_s, {u"-c"_s, script});
    return finish(process);
}
