#include "cli/commands.h"

#include "check/catalogue.h"
#include "check/checkrules.h"
#include "check/verify.h"
#include "cli/output.h"
#include "io/linktarget.h"
#include "io/projectfile.h"
#include "io/projecthistory.h"
#include "io/repositoryindex.h"
#include "io/wholefile.h"
#include "model/appconfigmodel.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>

#include <cerrno>
#include <system_error>
#include <utility>

namespace {

constexpr qint64 PROGRESS_INTERVAL = 100; // milliseconds

QString loadFailure(const QString &project)
{
    const QString problem = loadProblem(project);
    return problem.isEmpty() ? project + QStringLiteral(": Cannot be read") : problem;
}

/// The project file that is meant by a folder, which may be gone, or by the file itself.
QString projectFile(const QString &project)
{
    const QFileInfo info(project);
    const bool isFile =
        !info.isDir() && (info.exists() || project.endsWith(QLatin1String(".csv"), Qt::CaseInsensitive));
    return isFile ? project : QDir(project).filePath(PROJECT_FILE_NAME);
}

ExitCode failed(const QString &message, const QStringList &more = {})
{
    printError(message, more);
    return Failed;
}

QString systemReason(int error)
{
    return QString::fromStdString(std::generic_category().message(error));
}

/// Why an index must not be written to a file: it is one that the catalogue is made of.
QString sourceProblem(const QString &output, const AppConfigModel &model, const QString &project)
{
    if (!isSourceOfIndex(output, model.apps, project))
        return {};
    const bool isProject = QFileInfo(output).canonicalFilePath() == QFileInfo(project).canonicalFilePath();
    return output
           + (isProject ? QStringLiteral(": Is the catalogue itself") : QStringLiteral(": Is a file of the catalogue"));
}

/// Why an index must not be written through a link, which a catalogue may have brought along.
QString linkProblem(const QString &output)
{
    const QFileInfo file(output);
    const bool isDevice = file.exists() && !file.isFile();
    const QString target = isDevice ? QString() : targetOutside(output);
    return target.isEmpty() ? QString()
                            : output + QStringLiteral(": Is a link that leads out of its folder, to ") + target;
}

ExitCode exportIndex(const QStringList &arguments, const QCommandLineParser &options)
{
    const QString project = projectFile(arguments.constFirst());
    AppConfigModel model;
    if (!model.load(project))
        return failed(loadFailure(project));

    const QString output = options.value(QStringLiteral("output"));
    for (const QString &problem : {sourceProblem(output, model, project), linkProblem(output)}) {
        if (!problem.isEmpty())
            return failed(problem);
    }
    const QString url = repositoryUrl(options.value(QStringLiteral("url")));
    IndexReport report;
    {
        ProgressLine line;
        QElapsedTimer sinceShown;
        report.progress = [&](const IndexReport &now) {
            if (sinceShown.isValid() && sinceShown.elapsed() < PROGRESS_INTERVAL)
                return;
            sinceShown.start();
            line.show(QStringLiteral("%1 of %2, %3")
                          .arg(QString::number(now.apps), counted(model.apps.size(), QStringLiteral("app")),
                               counted(now.bytes, QStringLiteral("byte"))));
        };
        model.saveRepo(output, url, QFileInfo(project).absoluteDir().canonicalPath(), &report);
    }
    if (!report.error.isEmpty())
        return failed(output + QStringLiteral(": ") + report.error);
    for (const QString &path : std::as_const(report.missing))
        printError(path + QStringLiteral(": No such file or folder; it is left out"));
    for (const QString &path : std::as_const(report.unreadable)) {
        const bool isFolder = QFileInfo(path).isDir();
        printError((isFolder ? listProblem(path) : openProblem(path))
                   + (isFolder ? QStringLiteral("; it has no entries") : QStringLiteral("; it has an empty hash")));
    }
    if (!print(QStringLiteral("%1, %2, %3: %4\n")
                   .arg(counted(report.apps, QStringLiteral("app")), counted(report.files, QStringLiteral("file")),
                        counted(report.bytes, QStringLiteral("byte")), visible(output))))
        return Failed;
    return report.missing.isEmpty() && report.unreadable.isEmpty() ? Clean : HasErrors;
}

ExitCode tell(const CheckResult &result, const QString &input, const QString &command,
              const QCommandLineParser &options)
{
    if (!result.error.isEmpty())
        return failed(result.error);
    const bool isJson = options.value(QStringLiteral("format")) == QLatin1String("json");
    if (!print(isJson ? asJson(result.findings, command, input) : asText(result.findings)))
        return Failed;
    const bool countsWarnings = options.isSet(QStringLiteral("strict"));
    const bool hasErrors = count(result.findings, Severity::Error) > 0
                           || (countsWarnings && count(result.findings, Severity::Warning) > 0);
    return hasErrors ? HasErrors : Clean;
}

ExitCode check(const QStringList &arguments, const QCommandLineParser &options)
{
    const QString project = projectFile(arguments.constFirst());
    return tell(checkCatalogue(project), project, QStringLiteral("check"), options);
}

ExitCode verify(const QStringList &arguments, const QCommandLineParser &options)
{
    const QString index = options.value(QStringLiteral("index"));
    const QString url = repositoryUrl(options.value(QStringLiteral("url")));
    return tell(verifyIndex(arguments.constFirst(), index, url), index, QStringLiteral("verify"), options);
}

/// A catalogue that does not open any more has a history all the same.
QList<ProjectVersion> versionsOf(const QString &project)
{
    AppConfigModel model;
    if (QFileInfo(project).isFile() && !model.load(project))
        printError(loadFailure(project));
    return projectVersions(project);
}

ExitCode history(const QStringList &arguments, const QCommandLineParser & /*options*/)
{
    const QString project = projectFile(arguments.constFirst());
    const QList<ProjectVersion> versions = versionsOf(project);
    if (versions.isEmpty() && !QFileInfo::exists(arguments.constFirst()))
        return failed(arguments.constFirst() + QStringLiteral(": ") + systemReason(ENOENT));
    if (versions.isEmpty())
        return print(QStringLiteral("The history holds nothing of %1.\n").arg(visible(project))) ? Clean : Failed;
    return print(asText(versions)) ? Clean : Failed;
}

ExitCode restore(const QStringList &arguments, const QCommandLineParser &options)
{
    const QString &entry = arguments.at(1);
    const QList<ProjectVersion> called = versionsCalled(entry, versionsOf(projectFile(arguments.constFirst())));
    if (called.isEmpty())
        return failed(entry + QStringLiteral(": No such entry in the history of this project"));
    if (called.size() > 1) {
        QStringList paths;
        for (const ProjectVersion &one : called)
            paths.append(one.version.path);
        return failed(QStringLiteral("Several files have an entry of this name; name one by its path:"), paths);
    }

    const ProjectVersion &one = called.constFirst();
    const QString output = options.isSet(QStringLiteral("output")) ? options.value(QStringLiteral("output")) : one.file;
    const QString problem = restoreVersion(one.version, output);
    if (!problem.isEmpty())
        return failed(problem);
    const QString size = counted(one.version.size, QStringLiteral("byte"));
    return print(QStringLiteral("%1: %2\n").arg(size, visible(output))) ? Clean : Failed;
}

} // namespace

const std::array<Command, 5> &commands()
{
    static const Argument project{"PROJECT", "Folder of a catalogue, or its Apps.csv."};
    static const Option format{"format", "text|json", "Format of the findings; text by default.", "text"};
    static const Option strict{"strict", nullptr, "Count warnings as errors."};
    static const std::array<Command, 5> all{{
        {"export",
         {project},
         "Writes the index of a catalogue, as \"Save and generate JSON\" does.",
         {{"url", "URL", "Repository URL, under which the folder of the catalogue will lie.", nullptr, true},
          {"output", "FILE", "Index to write.", "Apps.json"}},
         exportIndex},
        {"check", {project}, "Reports what is wrong with a catalogue.", {format, strict}, check},
        {"verify",
         {{"FOLDER", "What lies under the repository URL."}},
         "Reports whether a folder holds what an index says, as a download client would find it.",
         {{"index", "FILE", "Index to verify.", nullptr, true},
          {"url", "URL", "Repository URL that stands for the folder.", nullptr, true},
          format,
          strict},
         verify},
        {"history", {project}, "Lists what is kept of a catalogue and its descriptions, newest first.", {}, history},
        {"restore",
         {project, {"ENTRY", "As the list of the history names it, or the path of its file there."}},
         "Brings an entry of the history back; what stands in its place is kept first.",
         {{"output", "FILE", "Where to write it instead of to the file that it was kept of."}},
         restore},
    }};
    return all;
}
