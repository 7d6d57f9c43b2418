#include "cli/commands.h"

#include "check/checkrules.h"
#include "check/verification.h"
#include "cli/commandfunctions.h"
#include "cli/completion.h"
#include "cli/findings.h"
#include "cli/output.h"
#include "cli/place.h"
#include "history/projecthistory.h"
#include "io/projectfile.h"
#include "io/repositoryindex.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QThread>
#include <QUrl>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <functional>
#include <utility>

namespace Cli {

namespace {

using Format = QString (*)(const Findings &found);

Format formatCalled(const QString &name)
{
    static const QHash<QString, Format> formats{
        {QStringLiteral("text"), asText},
        {QStringLiteral("json"), asJson},
        {QStringLiteral("github"), asAnnotations},
        {QStringLiteral("sarif"), asSarif},
    };
    Q_ASSERT(formats.contains(name));
    return formats.value(name);
}

/// The least severity that makes the exit code HasErrors.
Check::Severity leastFailing(const QCommandLineParser &options)
{
    using enum Check::Severity;
    static constexpr std::array ALL{Note, Warning, Error};
    const QString name = options.isSet(QStringLiteral("strict")) ? Check::severityName(Warning)
                                                                 : options.value(QStringLiteral("fail-on"));
    const auto *found =
        std::find_if(ALL.begin(), ALL.end(), [&name](Check::Severity one) { return severityName(one) == name; });
    Q_ASSERT(found != ALL.end());
    return *found;
}

/// What is wrong with the options of a command that reports; empty for nothing.
QString problemOf(const QCommandLineParser &options, const Findings &about)
{
    const QString least = options.value(QStringLiteral("fail-on"));
    const bool agrees = least == Check::severityName(leastFailing(options));
    if (options.isSet(QStringLiteral("fail-on")) && !agrees)
        return QStringLiteral("--strict contradicts --fail-on %1").arg(least);
    const QStringList codes = options.values(QStringLiteral("allow"));
    for (const QString &code : codes) {
        const bool isKnown = std::any_of(about.rules.cbegin(), about.rules.cend(),
                                         [&code](const Check::Rule &rule) { return code == QLatin1String(rule.code); });
        if (!isKnown)
            return QStringLiteral("%1 has no code %2").arg(about.command, code);
    }
    return {};
}

/// Looks for findings, and prints those that are not allowed.
ExitCode report(Findings about, const QCommandLineParser &options,
                const std::function<FileResult<Check::Result>()> &find)
{
    if (const QString problem = problemOf(options, about); !problem.isEmpty())
        return wrongUsage(problem, about.command);
    const auto result = find();
    if (!result)
        return failed(result.error().text());
    about.result = *result;
    about.isWhole = options.isSet(QStringLiteral("all"));
    QList<Check::Finding> &findings = about.result.findings;
    const QStringList allowed = options.values(QStringLiteral("allow"));
    findings.removeIf([&allowed](const Check::Finding &one) { return allowed.contains(one.code); });
    if (!print(formatCalled(options.value(QStringLiteral("format")))(about)))
        return Failed;
    if (!result->isComplete)
        return failed(QStringLiteral("Interrupted: not everything was looked at"));
    const bool hasErrors =
        std::any_of(findings.cbegin(), findings.cend(),
                    [least = leastFailing(options)](const Check::Finding &one) { return one.severity >= least; });
    return hasErrors ? HasErrors : Clean;
}

ExitCode check(const QStringList &arguments, const QCommandLineParser &options)
{
    const QString project = projectFile(arguments.constFirst());
    return report({QStringLiteral("check"), project, Check::checkRules()}, options,
                  [&project] { return Check::checkCatalogue(project); });
}

FetchOptions fetchOptions(const QCommandLineParser &options)
{
    FetchOptions asked;
    asked.timeout = std::chrono::seconds(options.value(QStringLiteral("timeout")).toInt());
    if (options.isSet(QStringLiteral("jobs")))
        asked.jobs = options.value(QStringLiteral("jobs")).toInt();
    return asked;
}

ExitCode verify(const QStringList &arguments, const QCommandLineParser &options)
{
    VerifyOptions asked;
    asked.place = arguments.constFirst();
    asked.index = options.value(QStringLiteral("index"));
    asked.threads = threads(options);
    asked.fetch = fetchOptions(options);
    if (options.isSet(QStringLiteral("app")))
        asked.appName = options.value(QStringLiteral("app"));
    for (const QString &place : {asked.place, asked.index}) {
        if (const QString problem = isUrl(place) ? urlProblem(place) : QString(); !problem.isEmpty())
            return wrongUsage(place + QLatin1Char(' ') + problem, QStringLiteral("verify"));
    }
    if (isUrl(asked.place)) {
        const QUrl url(asked.place);
        if (url.hasQuery() || url.hasFragment())
            return wrongUsage(asked.place + QStringLiteral(" has a query or a fragment"), QStringLiteral("verify"));
    } else if (!options.isSet(QStringLiteral("url"))) {
        return wrongUsage(QStringLiteral("verify of a folder needs --url"), QStringLiteral("verify"));
    }
    asked.repoUrl =
        repositoryUrl(options.isSet(QStringLiteral("url")) ? options.value(QStringLiteral("url")) : asked.place);

    return report({QStringLiteral("verify"), indexPlace(asked), Check::verifyRules()}, options,
                  [&asked] { return verifyPlace(asked); });
}

/// A catalogue that no longer opens still has a history.
QList<History::ProjectVersion> versionsOf(const QString &project)
{
    QList<AppConfig> apps;
    if (QFileInfo(project).isFile()) {
        if (const auto read = readProject(project, &apps); !read)
            printError(read.error().text());
    }
    return History::projectVersions(project);
}

ExitCode history(const QStringList &arguments, const QCommandLineParser & /*options*/)
{
    const QString project = projectFile(arguments.constFirst());
    const QList<History::ProjectVersion> versions = versionsOf(project);
    if (versions.isEmpty() && !QFileInfo::exists(arguments.constFirst()))
        return failed(FileError{arguments.constFirst(), systemReason(ENOENT)}.text());
    if (versions.isEmpty())
        return print(QStringLiteral("The history holds nothing of %1.\n").arg(visible(project))) ? Clean : Failed;
    return print(asText(versions)) ? Clean : Failed;
}

ExitCode restore(const QStringList &arguments, const QCommandLineParser &options)
{
    const QString &entry = arguments.at(1);
    const QList<History::ProjectVersion> called =
        History::versionsCalled(entry, versionsOf(projectFile(arguments.constFirst())));
    if (called.isEmpty())
        return failed(entry + QStringLiteral(": No such entry in the history of this project"));
    if (called.size() > 1) {
        QStringList paths;
        for (const History::ProjectVersion &one : called)
            paths.append(one.version.path);
        return failed(QStringLiteral("Several files have an entry of this name; name one by its path:"), paths);
    }

    const History::ProjectVersion &one = called.constFirst();
    const QString output = options.isSet(QStringLiteral("output")) ? options.value(QStringLiteral("output")) : one.file;
    if (const auto restored = History::restoreVersion(one.version, output); !restored)
        return failed(restored.error().text());
    const QString size = counted(one.version.size, QStringLiteral("byte"));
    return print(QStringLiteral("%1: %2\n").arg(size, visible(output))) ? Clean : Failed;
}

ExitCode completion(const QStringList &arguments, const QCommandLineParser & /*options*/)
{
    return print(completionScript(arguments.constFirst(), commands())) ? Clean : Failed;
}

} // namespace

int threads(const QCommandLineParser &options)
{
    const QString jobs = QStringLiteral("jobs");
    return options.isSet(jobs) ? options.value(jobs).toInt() : QThread::idealThreadCount();
}

QString projectFile(const QString &project)
{
    const QFileInfo info(project);
    const bool isFile =
        !info.isDir() && (info.exists() || project.endsWith(QLatin1String(".csv"), Qt::CaseInsensitive));
    return isFile ? project : QDir(project).filePath(PROJECT_FILE_NAME);
}

ExitCode failed(const QString &message, const QStringList &more)
{
    printError(message, more);
    return Failed;
}

ExitCode wrongUsage(const QString &message, const QString &command)
{
    const QString program = QStringLiteral("catalist-cli") + (command.isEmpty() ? command : QLatin1Char(' ') + command);
    printError(message, {QStringLiteral("Try: %1 --help").arg(program)});
    return Failed;
}

const std::array<Command, 7> &commands()
{
    static const Argument project{"PROJECT", "Folder of a catalogue, or its Apps.csv."};
    static const Option format{"format", "text|json|github|sarif", "Format of the findings.", "text"};
    static const Option every{"all", nullptr, "Show every finding as text, also of a code that was found often."};
    static const Option allow{"allow", "CODE", "Leave out the findings with this code.", nullptr, false, true};
    static const Option failOn{"fail-on", "error|warning|note", "Least severity that makes the exit code 1.", "error"};
    static const Option strict{"strict", nullptr, "The same as --fail-on warning."};
    static const std::array<Command, 7> all{{
        {"export",
         {project},
         "Writes the index of a catalogue, as \"Save and generate JSON\" does.",
         {{"url", "URL", "Repository URL, from which the files of the catalogue will be downloaded.", nullptr, true},
          {"output", "FILE", "Index to write; - is standard output.", "Apps.json"},
          {"jobs", "N", "Files to hash at a time. Default: one for each core."}},
         exportIndex},
        {"check", {project}, "Reports what is wrong with a catalogue.", {format, every, allow, failOn, strict}, check},
        {"verify",
         {{"PLACE", "Folder with the files of a repository URL, or the URL itself."}},
         "Reports whether a folder or a server has what an index says, as a download client would find it.",
         {{"index", "FILE", "Index to verify, or its URL. Default: Apps.json in PLACE."},
          {"url", "URL", "Repository URL of the index. Required for a folder; default for a server: PLACE."},
          {"app", "NAME", "Verify the app of this name only."},
          {"jobs", "N",
           "Requests at a time to a server, by default 8; files to hash at a time in a folder, by default one for each "
           "core."},
          {"timeout", "SECONDS", "Longest time without a byte from a server.", "30"},
          format,
          every,
          allow,
          failOn,
          strict},
         verify},
        {"diff",
         {{"OLD", "Index before the change, a file or a URL."}, {"NEW", "Index after it, a file or a URL."}},
         "Shows what changed between two indexes.",
         {{"format", "text|json|markdown", "Format of the differences.", "text"}},
         diff},
        {"history", {project}, "Lists what is kept of a catalogue and its descriptions, newest first.", {}, history},
        {"restore",
         {project, {"ENTRY", "Name of an entry in the list of the history, or the path of its file there."}},
         "Brings an entry of the history back; what the file holds now is kept first.",
         {{"output", "FILE", "File to write instead of the one that the entry was kept of."}},
         restore},
        {"completion",
         {{"SHELL", "Shell that is to complete the command line: bash, fish or zsh.", "bash|fish|zsh"}},
         "Prints the script that completes the command line in a shell.",
         {},
         completion},
    }};
    return all;
}

} // namespace Cli
