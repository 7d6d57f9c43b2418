#include "cli/commands.h"
#include "cli/output.h"
#include "cli/place.h"
#include "cli/terminal.h"

#include <QCommandLineParser>
#include <QCoreApplication>

using namespace Cli;

namespace {

QString text(const char *literal)
{
    return QString::fromLatin1(literal);
}

constexpr int MOST = 1000; // of what is counted by an option

bool isCount(const QString &typed)
{
    bool isNumber = false;
    const int number = typed.toInt(&isNumber);
    return isNumber && number >= 1 && number <= MOST;
}

QString helpText(const Option &option)
{
    QString all = text(option.description);
    if (option.isRequired)
        all += QStringLiteral(" Required.");
    else if (option.fallback)
        all += QStringLiteral(" Default: %1.").arg(text(option.fallback));
    if (option.isRepeatable)
        all += QStringLiteral(" Can be given several times.");
    return all;
}

QCommandLineOption parserOption(const Option &option)
{
    QStringList names{text(option.name)};
    if (option.letter)
        names.prepend(text(option.letter));
    return {names, helpText(option), text(option.value), text(option.fallback)};
}

bool isAllowed(const char *list, const QString &word)
{
    const QStringList words = allowedWords(list);
    return words.isEmpty() || words.contains(word);
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
        parser.addOption(parserOption(option));
    parser.addOption(parserOption(SHOW_HELP));
    const bool isParsed = parser.parse(typed);
    const QString name = text(command.name);
    if (parser.isSet(text(SHOW_HELP.name))) {
        const QString usage = QStringLiteral(" [options] ");
        return print(parser.helpText().replace(usage, QLatin1Char(' ') + name + usage)) ? Clean : Failed;
    }
    if (!isParsed)
        return wrongUsage(parser.errorText(), name);
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != places.size())
        return wrongUsage(QStringLiteral("%1 takes %2").arg(name, places.join(QLatin1Char(' '))), name);
    if (arguments.contains(QString()))
        return wrongUsage(QStringLiteral("An argument of %1 is empty").arg(name), name);
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const char *words = command.arguments.at(i).words;
        if (!isAllowed(words, arguments.at(i)))
            return wrongUsage(QStringLiteral("%1 is %2").arg(places.at(i), text(words)), name);
    }
    for (const Option &option : command.options) {
        if (option.isRequired && !parser.isSet(text(option.name)))
            return wrongUsage(QStringLiteral("%1 needs --%2").arg(name, text(option.name)), name);
        if (parser.isSet(text(option.name)) && text(option.value) == QLatin1String("FILE")
            && parser.value(text(option.name)).isEmpty())
            return wrongUsage(QStringLiteral("--%1 needs the name of a file").arg(text(option.name)), name);
        if (parser.isSet(text(option.name)) && text(option.value) == QLatin1String("URL")) {
            if (const QString problem = urlProblem(parser.value(text(option.name))); !problem.isEmpty())
                return wrongUsage(QStringLiteral("--%1 %2").arg(text(option.name), problem), name);
        }
        const bool isNumber =
            text(option.value) == QLatin1String("N") || text(option.value) == QLatin1String("SECONDS");
        if (isNumber && parser.isSet(text(option.name)) && !isCount(parser.value(text(option.name))))
            return wrongUsage(QStringLiteral("--%1 needs a number from 1 to %2").arg(text(option.name)).arg(MOST),
                              name);
        if (!isAllowed(option.value, parser.value(text(option.name))))
            return wrongUsage(QStringLiteral("--%1 is %2").arg(text(option.name), text(option.value)), name);
    }
    return command.run(arguments, parser);
}

QString programHelp(const QCommandLineParser &parser)
{
    QString help = parser.helpText() + QStringLiteral("\nCommands:\n");
    for (const Command &command : commands())
        help += QStringLiteral("  %1 %2\n").arg(text(command.name).leftJustified(10), text(command.description));
    return help
           + QStringLiteral("\nExit codes: 0 done and clean, 1 the catalogue has errors or the indexes differ, 2 wrong "
                            "usage or a failure.\n");
}

ExitCode runProgram(const QStringList &words)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Publishes and checks catalogues of transmitter apps."));
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    parser.addOptions({parserOption(SHOW_HELP), parserOption(SHOW_VERSION)});
    parser.addPositionalArgument(QStringLiteral("COMMAND"),
                                 QStringLiteral("One of those below; each has its own --help."));
    if (!parser.parse(words))
        return wrongUsage(parser.errorText());
    if (parser.isSet(text(SHOW_HELP.name)))
        return print(programHelp(parser)) ? Clean : Failed;
    if (parser.isSet(text(SHOW_VERSION.name)))
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
    // Qt's messages are meant for the developer; this program has its own.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    const QCoreApplication application(argc, argv);
    return runProgram(QCoreApplication::arguments());
}
