#include "check/catalogue.h"
#include "check/checkrules.h"
#include "check/verify.h"
#include "cli/output.h"
#include "io/history.h"
#include "io/replacefile.h"
#include "io/repositoryindex.h"
#include "io/wholefile.h"
#include "model/appconfigmodel.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QSet>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

namespace {

enum ExitCode { Clean, HasErrors, Failed };

constexpr qint64 PROGRESS_INTERVAL = 100;

struct Argument
{
    const char *name;
    const char *description;
};

struct Option
{
    const char *name;
    const char *value; ///< what it takes, or the words with "|" between them that it takes; null for a switch
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
    ExitCode (*run)(const QStringList &arguments, const QCommandLineParser &options);
};

QString text(const char *literal)
{
    return QString::fromLatin1(literal);
}

bool isProjectFile(const QString &path)
{
    return path.endsWith(QLatin1String(".csv"), Qt::CaseInsensitive);
}

QString loadFailure(const QString &project)
{
    const QString problem = loadProblem(project);
    return problem.isEmpty() ? project + QStringLiteral(": Cannot be read") : problem;
}

/// The project file that is meant by a folder, which may be gone, or by the file itself.
QString projectFile(const QString &project)
{
    const QFileInfo info(project);
    const bool isFile = !info.isDir() && (info.exists() || isProjectFile(project));
    return isFile ? project : QDir(project).filePath(QStringLiteral("Apps.csv"));
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

/// Why a file could not be written.
QString writeProblem(const QString &path, int error)
{
    const QFileInfo info(path);
    QString reason;
    if (info.isDir())
        reason = systemReason(EISDIR);
    else if (info.exists() && !info.isFile())
        reason = QStringLiteral("Is not a regular file");
    else
        reason = error == 0 ? QStringLiteral("Cannot be written") : systemReason(error);
    return path + QStringLiteral(": ") + reason;
}

/// Why an index must not be written to a file: it is one that the catalogue is made of.
QString sourceProblem(const AppConfigModel &model, const QString &project, const QString &output)
{
    const QString target = QFileInfo(output).canonicalFilePath();
    if (target.isEmpty())
        return {};
    if (target == QFileInfo(project).canonicalFilePath())
        return output + QStringLiteral(": Is the catalogue itself");
    const QString folder = QFileInfo(project).absoluteDir().canonicalPath();
    const QDir projectDir(folder);
    // With the whole folder its former index is listed too.
    if (target == projectDir.filePath(QStringLiteral("Apps.json")))
        return {};
    bool isSource = false;
    WalkVisitor visitor;
    visitor.file = [&](const QFileInfo &info, const QString & /*path*/) {
        isSource = isSource || info.canonicalFilePath() == target;
    };
    for (const AppConfig &app : model.apps) {
        QStringList pages{app.icon};
        for (const QString &page : app.descriptions)
            pages.append(page);
        for (const QString &page : std::as_const(pages))
            isSource = isSource || QFileInfo(projectDir.filePath(page)).canonicalFilePath() == target;
        for (const QString &listed : app.files)
            walkListedPath(listed, folder, visitor);
    }
    return isSource ? output + QStringLiteral(": Is a file of the catalogue") : QString();
}

ExitCode exportIndex(const QStringList &arguments, const QCommandLineParser &options)
{
    const QString project = projectFile(arguments.constFirst());
    AppConfigModel model;
    if (!model.load(project))
        return failed(loadFailure(project));

    const QString output = options.value(QStringLiteral("output"));
    const QString problem = sourceProblem(model, project, output);
    if (!problem.isEmpty())
        return failed(problem);
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
    for (const QString &path : std::as_const(report.left))
        printError(path + QStringLiteral(": No such file or folder; it is left out"));
    for (const QString &path : std::as_const(report.unreadable))
        printError(path + QStringLiteral(": Cannot be read; it has an empty hash, or no entries if it is a folder"));
    if (!print(QStringLiteral("%1, %2, %3: %4\n")
                   .arg(counted(report.apps, QStringLiteral("app")), counted(report.files, QStringLiteral("file")),
                        counted(report.bytes, QStringLiteral("byte")), visible(output))))
        return Failed;
    return report.left.isEmpty() && report.unreadable.isEmpty() ? Clean : HasErrors;
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

struct Kept
{
    QString file; ///< that it is a version of
    KeptVersion version;

    [[nodiscard]] QString entry() const { return QFileInfo(version.path).fileName(); }
};

/// The folder of a project, which may be gone, as the history calls it.
QString folderOf(const QString &project)
{
    const QFileInfo info(project);
    const QString folder = info.absoluteDir().canonicalPath();
    return folder.isEmpty() ? info.absolutePath() : folder;
}

/// What the history holds of a project file and of its descriptions, former ones in its folder too; newest first.
QList<Kept> keptOf(const QString &project)
{
    const QString folder = folderOf(project);
    QStringList files{QDir(folder).filePath(QFileInfo(project).fileName())};
    AppConfigModel model;
    // One that does not open any more has a history all the same.
    if (QFileInfo(project).isFile() && !model.load(project))
        printError(loadFailure(project));
    for (const AppConfig &app : std::as_const(model.apps)) {
        for (const QString &path : app.descriptions)
            files.append(QDir::cleanPath(folder + QLatin1Char('/') + path));
    }
    const QStringList known = filesInHistory(folder);
    for (const QString &file : known) {
        // Another catalogue in the same folder has a history of its own.
        if (!isProjectFile(file))
            files.append(file);
    }
    files.sort();

    QList<Kept> kept;
    QSet<QString> once;
    for (const QString &file : std::as_const(files)) {
        const QList<KeptVersion> versions = keptVersions(file);
        for (const KeptVersion &version : versions) {
            if (!once.contains(version.path))
                kept.append({file, version});
            once.insert(version.path);
        }
    }
    std::sort(kept.begin(), kept.end(), [](const Kept &a, const Kept &b) {
        if (a.version.isOfFuture != b.version.isOfFuture)
            return b.version.isOfFuture;
        return a.entry() == b.entry() ? a.file < b.file : a.entry() > b.entry();
    });
    return kept;
}

ExitCode history(const QStringList &arguments, const QCommandLineParser & /*options*/)
{
    const QString project = projectFile(arguments.constFirst());
    QString lines;
    const QList<Kept> kept = keptOf(project);
    if (kept.isEmpty() && !QFileInfo::exists(arguments.constFirst()))
        return failed(arguments.constFirst() + QStringLiteral(": ") + systemReason(ENOENT));
    const QDir folder(folderOf(project));
    for (const Kept &one : kept) {
        const QString file = folder.relativeFilePath(one.file);
        lines += QStringLiteral("%1  %2  %3  %4  %5\n")
                     .arg(one.version.time.toString(Qt::ISODate), QString::number(one.version.size).rightJustified(11),
                          one.version.isUnsaved ? QStringLiteral("unsaved ") : QStringLiteral("replaced"),
                          visible(one.entry()), visible(file));
    }
    if (lines.isEmpty())
        lines = QStringLiteral("The history holds nothing of %1.\n").arg(visible(project));
    return print(lines) ? Clean : Failed;
}

ExitCode restore(const QStringList &arguments, const QCommandLineParser &options)
{
    const QString &entry = arguments.at(1);
    QList<Kept> found;
    const QList<Kept> kept = keptOf(projectFile(arguments.constFirst()));
    for (const Kept &one : kept) {
        if (one.entry() == entry || one.version.path == QFileInfo(entry).absoluteFilePath())
            found.append(one);
    }
    if (found.isEmpty())
        return failed(entry + QStringLiteral(": No such entry in the history of this project"));
    if (found.size() > 1) {
        QStringList paths;
        for (const Kept &one : std::as_const(found))
            paths.append(one.version.path);
        return failed(QStringLiteral("Several files have an entry of this name; name one by its path:"), paths);
    }

    const Kept &one = found.constFirst();
    const std::optional<QByteArray> content = readWholeFile(one.version.path);
    if (!content)
        return failed(openProblem(one.version.path));
    const QString output = options.isSet(QStringLiteral("output")) ? options.value(QStringLiteral("output")) : one.file;
    // The entry itself, and others that the history lists, may be old enough to go.
    if (!keepReplaced(output, *content, Pruning::Later))
        return failed(output + QStringLiteral(": Cannot be kept in the history, and stays as it is"));
    errno = 0;
    if (!replaceFile(output, *content, LineEnds::AsGiven, Replaced::IsKeptAlready)) {
        const int error = errno;
        return failed(writeProblem(output, error));
    }
    const QString size = counted(content->size(), QStringLiteral("byte"));
    return print(QStringLiteral("%1: %2\n").arg(size, visible(output))) ? Clean : Failed;
}

const std::array<Command, 5> &commands()
{
    static const Argument project{"PROJECT", "Folder of a catalogue, or its Apps.csv."};
    static const Option format{"format", "text|json", "How the findings are told; text by default.", "text"};
    static const Option strict{"strict", nullptr, "Count warnings as errors."};
    static const std::array<Command, 5> all{{
        {"export",
         {project},
         "Writes the index of a catalogue, as \"Save and generate JSON\" does.",
         {{"url", "URL", "Repository URL, under which the folder of the catalogue will lie.", nullptr, true},
          {"output", "FILE", "Index to write.", "Apps.json"}},
         exportIndex},
        {"check", {project}, "Tells what is wrong with a catalogue.", {format, strict}, check},
        {"verify",
         {{"FOLDER", "What lies under the repository URL."}},
         "Tells whether a folder holds what an index says, as a download client would find it.",
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

ExitCode wrongUsage(const QString &message, const QString &command = {})
{
    const QString program = QStringLiteral("catalist-cli") + (command.isEmpty() ? command : QLatin1Char(' ') + command);
    return failed(message, {QStringLiteral("Try: %1 --help").arg(program)});
}

QCommandLineOption helpOption()
{
    return {{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help.")};
}

ExitCode run(const Command &command, const QStringList &typed)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(text(command.description));
    QStringList places;
    for (const Argument &argument : command.arguments) {
        places.append(text(argument.name));
        parser.addPositionalArgument(text(argument.name), text(argument.description));
    }
    for (const Option &option : command.options)
        parser.addOption({text(option.name), text(option.description), text(option.value), text(option.fallback)});
    parser.addOption(helpOption());
    const bool isParsed = parser.parse(typed);
    const QString name = text(command.name);
    if (parser.isSet(QStringLiteral("help"))) {
        const QString usage = QStringLiteral(" [options] ");
        return print(parser.helpText().replace(usage, QLatin1Char(' ') + name + usage)) ? Clean : Failed;
    }
    if (!isParsed)
        return wrongUsage(parser.errorText(), name);
    if (parser.positionalArguments().size() != places.size())
        return wrongUsage(QStringLiteral("%1 takes %2").arg(name, places.join(QLatin1Char(' '))), name);
    for (const Option &option : command.options) {
        if (option.isRequired && !parser.isSet(text(option.name)))
            return wrongUsage(QStringLiteral("%1 needs --%2").arg(name, text(option.name)), name);
        if (parser.isSet(text(option.name)) && text(option.value) == QLatin1String("FILE")
            && parser.value(text(option.name)).isEmpty())
            return wrongUsage(QStringLiteral("--%1 needs the name of a file").arg(text(option.name)), name);
        const QStringList words = text(option.value).split(QLatin1Char('|'));
        if (words.size() > 1 && !words.contains(parser.value(text(option.name))))
            return wrongUsage(QStringLiteral("--%1 is %2").arg(text(option.name), text(option.value)), name);
    }
    return command.run(parser.positionalArguments(), parser);
}

QString programHelp(const QCommandLineParser &parser)
{
    QString help = parser.helpText() + QStringLiteral("\nCommands:\n");
    for (const Command &command : commands())
        help += QStringLiteral("  %1 %2\n").arg(text(command.name).leftJustified(9), text(command.description));
    return help
           + QStringLiteral(
               "\nExit codes: 0 done and clean, 1 the catalogue has errors, 2 wrong usage or a failure.\n");
}

ExitCode runProgram(const QStringList &words)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Publishes and checks catalogues of transmitter apps."));
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    const QCommandLineOption version({QStringLiteral("v"), QStringLiteral("version")},
                                     QStringLiteral("Show the version."));
    parser.addOptions({helpOption(), version});
    parser.addPositionalArgument(QStringLiteral("COMMAND"),
                                 QStringLiteral("One of those below; each has its own --help."));
    if (!parser.parse(words))
        return wrongUsage(parser.errorText());
    if (parser.isSet(QStringLiteral("help")))
        return print(programHelp(parser)) ? Clean : Failed;
    if (parser.isSet(version))
        return print(QStringLiteral("catalist-cli " CATALIST_VERSION "\n")) ? Clean : Failed;
    const QStringList rest = parser.positionalArguments();
    if (rest.isEmpty())
        return wrongUsage(QStringLiteral("A command is missing"));
    for (const Command &command : commands()) {
        if (rest.constFirst() == QLatin1String(command.name))
            return run(command, rest);
    }
    return wrongUsage(QStringLiteral("There is no command %1").arg(rest.constFirst()));
}

} // namespace

int main(int argc, char *argv[])
{
    holdStandardStreams();
    // The messages of the toolkit are meant for the developer; this program has its own.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    const QCoreApplication application(argc, argv);
    return runProgram(QCoreApplication::arguments());
}
