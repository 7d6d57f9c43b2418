#include "cli/completion.h"

#include "cli.h"
#include "folder.h"
#include "testrunner.h"

#include <QDir>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QRegularExpressionMatch>
#include <QStandardPaths>
#include <QTest>

#include <array>

using namespace Qt::StringLiterals;

class TestCliCompletion : public QObject
{
    Q_OBJECT

private slots:
    void inBash_data();
    void inBash();
    void asTheHelpSays_data();
    void asTheHelpSays();
    void inFish_data();
    void inFish();
    void inZsh();
    void descriptionsAreOnlyText_data();
    void descriptionsAreOnlyText();
};

// Below the class, as moc would miss it after these raw strings.
namespace {

/// Whatever a shell may take for more than text.
constexpr auto HOSTILE =
    R"(It's "a" `touch made` $(touch made) ${HOME} $HOME %1 \ \\ [b] (c) {d,e} f:g *; touch made & x > made !)";

QString shell(const QString &name)
{
    return QStandardPaths::findExecutable(name);
}

Outcome runShell(const QString &name, const QStringList &arguments, const Folder &folder)
{
    QProcess process;
    process.setWorkingDirectory(folder.path(u"work"_s));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString &variable : {u"HOME"_s, u"XDG_CONFIG_HOME"_s, u"XDG_DATA_HOME"_s})
        environment.insert(variable, folder.path());
    process.setProcessEnvironment(environment);
    process.start(shell(name), arguments);
    return finish(process);
}

/// The texts that end in NUL, sorted.
QStringList texts(const QByteArray &output)
{
    QStringList all = QString::fromUtf8(output).split(QChar::Null, Qt::SkipEmptyParts);
    all.sort();
    return all;
}

/// The words that bash would offer for the last of these, as it splits a line.
QStringList offered(const QStringList &words, const Folder &folder)
{
    const QString script = uR"(
source "$0" || exit
# Only then it takes the backslashes from the names of files, as it does in a terminal.
bind 'set bell-style none' 2>/dev/null
COMP_WORDS=("$@")
COMP_CWORD=$(($# - 1))
current=${COMP_WORDS[COMP_CWORD]}
[[ $current == '=' || $current == ':' ]] && current=
_catalist_cli catalist-cli "${current#[\"\']}" "${COMP_WORDS[COMP_CWORD - 1]}"
[[ ! ${COMPREPLY-} ]] || printf '%s\0' "${COMPREPLY[@]}"
)"_s;
    const Outcome outcome =
        runShell(u"bash"_s, QStringList{u"--norc"_s, u"-c"_s, script, folder.path(u"script"_s)} + words, folder);
    if (outcome.code != 0 || !outcome.err.isEmpty())
        return {QString::fromUtf8(outcome.err)};
    return texts(outcome.out);
}

QStringList sorted(QStringList words)
{
    words.sort();
    return words;
}

void makeFiles(const Folder &folder)
{
    for (const char *path : {"my cat/Apps.csv", "plain.csv", "it's $a.csv", ".hidden"})
        folder.write(u"work/"_s + QLatin1String(path), "");
    folder.makeFolder(u"work/sub"_s);
}

} // namespace

void TestCliCompletion::inBash_data()
{
    QTest::addColumn<QString>("line"); // with blanks between the words as bash splits them
    QTest::addColumn<QStringList>("expected");
    const QStringList files{u"--help.csv"_s, u".hidden"_s, u"it's $a.csv"_s, u"my cat"_s, u"plain.csv"_s, u"sub"_s};
    const QStringList levels{u"error"_s, u"note"_s, u"warning"_s};
    const QStringList none;
    QTest::newRow("commands") << u"|"_s << QStringList{u"check"_s,   u"completion"_s, u"diff"_s,  u"export"_s,
                                                       u"history"_s, u"restore"_s,    u"verify"_s};
    QTest::newRow("commands that begin alike") << u"|c"_s << QStringList{u"check"_s, u"completion"_s};
    QTest::newRow("no such command") << u"|x"_s << none;
    QTest::newRow("options of the program") << u"|-"_s << QStringList{u"--help"_s, u"--version"_s};
    QTest::newRow("command after an option") << u"|--help|ex"_s << QStringList{u"export"_s};
    QTest::newRow("options") << u"|export|--"_s << QStringList{u"--help"_s, u"--jobs"_s, u"--output"_s, u"--url"_s};
    QTest::newRow("options after an argument") << u"|restore|sub|-"_s << QStringList{u"--help"_s, u"--output"_s};
    QTest::newRow("options of no command") << u"|nothing|--"_s << none;
    QTest::newRow("words") << u"|check|--fail-on|"_s << levels;
    QTest::newRow("words that begin so") << u"|check|sub|--fail-on|w"_s << QStringList{u"warning"_s};
    QTest::newRow("words after =") << u"|check|--fail-on|="_s << levels;
    QTest::newRow("words that begin so after =") << u"|check|--fail-on|=|n"_s << QStringList{u"note"_s};
    QTest::newRow("words where = does not split") << u"|check|--fail-on=n"_s << QStringList{u"--fail-on=note"_s};
    QTest::newRow("words of an option of another command") << u"|export|--fail-on|="_s << none;
    QTest::newRow("words of an argument") << u"|completion|"_s << QStringList{u"bash"_s, u"fish"_s, u"zsh"_s};
    QTest::newRow("URL") << u"|export|sub|--url|"_s << none;
    QTest::newRow("URL after =") << u"|export|sub|--url|="_s << none;
    QTest::newRow("URL, its scheme") << u"|export|--url|p"_s << none;
    QTest::newRow("URL, after its scheme") << u"|export|--url|https|:"_s << none;
    QTest::newRow("URL, its host") << u"|export|--url|https|:|p"_s << none;
    QTest::newRow("URL after =, its host") << u"|export|--url|=|https|:|p"_s << none;
    QTest::newRow("file after a URL") << u"|export|--url|=|https|:|//x:1/|p"_s << QStringList{u"plain.csv"_s};
    QTest::newRow("option after a URL") << u"|export|sub|--url|https|:|//x/|--o"_s << QStringList{u"--output"_s};
    QTest::newRow("number") << u"|verify|--jobs|"_s << none;
    QTest::newRow("file or folder") << u"|check|"_s << files;
    QTest::newRow("file after a switch") << u"|check|--strict|p"_s << QStringList{u"plain.csv"_s};
    QTest::newRow("file after a value") << u"|check|--fail-on|note|p"_s << QStringList{u"plain.csv"_s};
    QTest::newRow("file after a value after =") << u"|check|--fail-on|=|note|p"_s << QStringList{u"plain.csv"_s};
    QTest::newRow("file with blanks") << u"|check|my"_s << QStringList{u"my cat"_s};
    QTest::newRow("file in a folder with blanks") << u"|check|my\\ cat/"_s << QStringList{u"my cat/Apps.csv"_s};
    QTest::newRow("file in quotes") << u"|check|\"my cat/A"_s << QStringList{u"my cat/Apps.csv"_s};
    QTest::newRow("file with special characters") << u"|check|it"_s << QStringList{u"it's $a.csv"_s};
    QTest::newRow("file of an option") << u"|export|sub|--output|p"_s << QStringList{u"plain.csv"_s};
    QTest::newRow("file of an option after =") << u"|export|--output|=|my"_s << QStringList{u"my cat"_s};
    QTest::newRow("file where = does not split") << u"|export|--output=my"_s << QStringList{u"--output=my cat"_s};
    QTest::newRow("file after the options") << u"|check|--|--h"_s << QStringList{u"--help.csv"_s};
    QTest::newRow("second argument") << u"|restore|sub|p"_s << QStringList{u"plain.csv"_s};
    QTest::newRow("index") << u"|diff|p"_s << QStringList{u"plain.csv"_s};
    QTest::newRow("second index") << u"|diff|plain.csv|p"_s << QStringList{u"plain.csv"_s};
    QTest::newRow("folder") << u"|verify|"_s << QStringList{u"my cat"_s, u"sub"_s};
    QTest::newRow("no further argument") << u"|check|sub|"_s << none;
    QTest::newRow("no further argument after a folder with =") << u"|check|a|=|b|"_s << none;
}

void TestCliCompletion::inBash()
{
    if (shell(u"bash"_s).isEmpty())
        QSKIP("bash is not installed");
    QFETCH(QString, line);
    QFETCH(QStringList, expected);
    const Folder folder;
    makeFiles(folder);
    folder.write(u"work/--help.csv"_s, "");
    folder.write(u"script"_s, run({u"completion"_s, u"bash"_s}).out);
    QCOMPARE(offered((u"catalist-cli"_s + line).split(u'|'), folder), sorted(expected));
}

void TestCliCompletion::asTheHelpSays_data()
{
    QTest::addColumn<QString>("help");
    const QString program = QString::fromUtf8(run({u"--help"_s}).out);
    static const QRegularExpression name(u"^  ([a-z]+) +[A-Z]"_s, QRegularExpression::MultilineOption);
    for (auto match = name.globalMatch(program.section(u"\nCommands:\n"_s, 1)); match.hasNext();) {
        const QString command = match.next().captured(1);
        QTest::newRow(qPrintable(command)) << QString::fromUtf8(run({command, u"--help"_s}).out);
    }
}

void TestCliCompletion::asTheHelpSays()
{
    if (shell(u"bash"_s).isEmpty())
        QSKIP("bash is not installed");
    QFETCH(QString, help);
    const QString command = QString::fromUtf8(QTest::currentDataTag());
    const Folder folder;
    makeFiles(folder);
    folder.write(u"script"_s, run({u"completion"_s, u"bash"_s}).out);

    static const QRegularExpression option(u"^  (?:-\\w, )?(--[a-z-]+)(?: <([^>]+)>)?"_s,
                                           QRegularExpression::MultilineOption);
    QStringList options;
    for (auto match = option.globalMatch(help); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        options.append(found.captured(1));
        const QStringList words = found.captured(2).split(u'|');
        if (words.size() > 1)
            QCOMPARE(offered({u"catalist-cli"_s, command, found.captured(1), QString()}, folder), sorted(words));
    }
    QVERIFY(options.contains(u"--help"_s));
    QCOMPARE(offered({u"catalist-cli"_s, command, u"--"_s}, folder), sorted(options));
}

void TestCliCompletion::inFish_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("commands") << u"catalist-cli c"_s << QStringList{u"check"_s, u"completion"_s};
    QTest::newRow("options") << u"catalist-cli export --"_s
                             << QStringList{u"--help"_s, u"--jobs"_s, u"--output"_s, u"--url"_s};
    QTest::newRow("command after an option") << u"catalist-cli --help ex"_s << QStringList{u"export"_s};
    QTest::newRow("words") << u"catalist-cli check --fail-on "_s << QStringList{u"error"_s, u"note"_s, u"warning"_s};
    QTest::newRow("words after =") << u"catalist-cli check --fail-on=w"_s << QStringList{u"--fail-on=warning"_s};
    QTest::newRow("words of an argument")
        << u"catalist-cli completion "_s << QStringList{u"bash"_s, u"fish"_s, u"zsh"_s};
    QTest::newRow("URL") << u"catalist-cli export sub --url "_s << QStringList();
    QTest::newRow("file") << u"catalist-cli check p"_s << QStringList{u"plain.csv"_s};
    QTest::newRow("file with blanks") << u"catalist-cli check my\\ cat/"_s << QStringList{u"my cat/Apps.csv"_s};
    QTest::newRow("file of an option") << u"catalist-cli export sub --output p"_s << QStringList{u"plain.csv"_s};
    QTest::newRow("folder") << u"catalist-cli verify "_s << QStringList{u"my cat/"_s, u"sub/"_s};
    QTest::newRow("no such command") << u"catalist-cli nothing "_s << QStringList();
}

void TestCliCompletion::inFish()
{
    if (shell(u"fish"_s).isEmpty())
        QSKIP("fish is not installed");
    QFETCH(QString, line);
    QFETCH(QStringList, expected);
    const Folder folder;
    makeFiles(folder);
    folder.write(u"script"_s, run({u"completion"_s, u"fish"_s}).out);
    const QString script =
        u"source $argv[1]; and complete --do-complete $argv[2] | string replace --regex '\\t.*' ''"_s;
    const Outcome outcome =
        runShell(u"fish"_s, {u"--no-config"_s, u"-c"_s, script, folder.path(u"script"_s), line}, folder);
    QCOMPARE(outcome.err, QByteArray());
    QCOMPARE(sorted(QString::fromUtf8(outcome.out).split(u'\n', Qt::SkipEmptyParts)), expected);
}

// What the script tells the functions of zsh, which need a terminal themselves.
void TestCliCompletion::inZsh()
{
    if (shell(u"zsh"_s).isEmpty())
        QSKIP("zsh is not installed");
    const Folder folder;
    makeFiles(folder);
    folder.write(u"script"_s, run({u"completion"_s, u"zsh"_s}).out);
    const QString script = uR"(
_arguments() {
    if [[ $1 == -C ]]; then
        state=argument line=(check)
    else
        print -rl -- "$@"
    fi
}
source "$1"
)"_s;
    const Outcome outcome = runShell(u"zsh"_s, {u"-f"_s, u"-c"_s, script, u"zsh"_s, folder.path(u"script"_s)}, folder);
    QCOMPARE(outcome.err, QByteArray());
    QCOMPARE(outcome.code, 0);
    const QStringList lines = QString::fromUtf8(outcome.out).split(u'\n');
    for (const char *line :
         {"(- *)--help[Show this help.]", "(- *)-h[Show this help.]", "1:PROJECT:_files",
          "--fail-on=[Least severity that makes the exit code 1.]:error|warning|note:(error warning note)",
          "*--allow=[Leave out the findings with this code.]:CODE: "})
        QVERIFY2(lines.contains(QLatin1String(line)), outcome.out.constData());
}

void TestCliCompletion::descriptionsAreOnlyText_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("description"); // as the shell takes it
    const QString scriptOfZsh = uR"(
_arguments() { print -rl -- "$@"; [[ $1 != -C ]] || state=argument line=(shout); }
source "$0"
)"_s;
    QTest::newRow("bash") << QStringList{u"--norc"_s, u"-c"_s, u"source \"$0\""_s} << QByteArray();
    QTest::newRow("fish") << QStringList{u"--no-config"_s, u"-c"_s,
                                         u"source $argv[1]; and complete --do-complete 'catalist-cli shout --l'"_s}
                          << "--loud\t"_ba + HOSTILE + '\n';
    QTest::newRow("zsh")
        << QStringList{u"-f"_s, u"-c"_s, scriptOfZsh}
        << "\n--loud=["_ba
               + R"(It's "a" `touch made` $(touch made) ${HOME} $HOME %1 \\ \\\\ \[b\] (c) {d,e} f\:g *; touch made & x > made !)"
               + "]:FILE:_files\n";
}

void TestCliCompletion::descriptionsAreOnlyText()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, description);
    const QString name = QString::fromUtf8(QTest::currentDataTag());
    if (shell(name).isEmpty())
        QSKIP("This shell is not installed");
    const Folder folder;
    makeFiles(folder);
    const std::array<Cli::Command, 1> commands{
        {{"shout", {{"PROJECT", HOSTILE}}, HOSTILE, {{"loud", "FILE", HOSTILE}}, nullptr}}};
    folder.write(u"script"_s, Cli::completionScript(name, commands).toUtf8());
    const QDir work(folder.path(u"work"_s));
    const QStringList before = work.entryList();
    const Outcome outcome = runShell(name, arguments + QStringList{folder.path(u"script"_s)}, folder);
    QCOMPARE(outcome.err, QByteArray());
    QCOMPARE(outcome.code, 0);
    QVERIFY2(outcome.out.contains(description), outcome.out.constData());
    QCOMPARE(work.entryList(), before);
}

CATALIST_TEST(TestCliCompletion)
#include "tst_cli_completion.moc"
