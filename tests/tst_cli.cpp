#include "io/history.h"
#include "io/replacefile.h"
#include "io/wholefile.h"
#include "model/appconfig.h"
#include "scratchhome.h"
#include "windowtest.h"

#include <QComboBox>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QProcess>
#include <QRegularExpression>

#include <array>

#ifdef Q_OS_UNIX
#include <cstdlib>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>
#endif

using namespace Qt::StringLiterals;

namespace {

const QString URL = u"https://apps.example.org/"_s;
const QByteArray PNG = "\x89PNG\r\n\x1a\n";
const QByteArray CLOCK = "{\"en\":\"Clock\"};Ann;1.0;674;05-03-2024;{\"en\":\"en.html\"};Clock;icon.png;5.03\n";
constexpr int PATIENCE = 120'000;

struct Outcome
{
    int code = -1; ///< that of a shell for a program that was killed
    QByteArray out;
    QByteArray err;
};

QProcessEnvironment withoutDisplay()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString &name : {u"DISPLAY"_s, u"WAYLAND_DISPLAY"_s, u"QT_QPA_PLATFORM"_s})
        environment.remove(name);
    return environment;
}

Outcome finish(QProcess &process)
{
    if (!process.waitForStarted() || !process.waitForFinished(PATIENCE) || process.exitStatus() != QProcess::NormalExit)
        qFatal("The command did not end: %s", process.readAllStandardError().constData());
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

Outcome run(const QStringList &arguments, const QString &folder = {})
{
    QProcess process;
    process.setProcessEnvironment(withoutDisplay());
    process.setWorkingDirectory(folder);
    process.start(QStringLiteral(CATALIST_CLI), arguments);
    return finish(process);
}

/// Runs a script that calls the command as catalist-cli, with nothing else in the environment but what is given.
Outcome runScript(const QString &script, const QString &folder, const QStringList &variables = {})
{
    const QString tools = QFileInfo(QStringLiteral(CATALIST_CLI)).path();
    QProcess process;
    process.setWorkingDirectory(folder);
    process.setProcessEnvironment(QProcessEnvironment());
    QProcessEnvironment environment;
    environment.insert(u"PATH"_s, tools + u":/usr/bin:/bin"_s);
    for (const QString &variable : variables)
        environment.insert(variable.section(u'=', 0, 0), variable.section(u'=', 1));
    process.setProcessEnvironment(environment);
    process.start(u"/bin/sh"_s, {u"-c"_s, script});
    return finish(process);
}

QString document(const QString &path)
{
    const auto content = readWholeFile(u"" CATALIST_SOURCE_DIR "/"_s + path);
    return QString::fromUtf8(content.value_or(QByteArray()));
}

QString example()
{
    return u"" CATALIST_SOURCE_DIR "/examples/catalogue"_s;
}

QStringList optionsIn(const QString &text)
{
    static const QRegularExpression option(u"--[a-z]+"_s);
    QStringList found;
    for (auto match = option.globalMatch(text); match.hasNext();)
        found.append(match.next().captured());
    found.removeDuplicates();
    return found;
}

/// What is kept from now on is newer than what was kept before.
void awaitNextMoment()
{
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    while (QDateTime::currentMSecsSinceEpoch() == now) { }
}

QStringList commands()
{
    return {u"export"_s, u"check"_s, u"verify"_s, u"history"_s, u"restore"_s};
}

} // namespace

class TestCli : public QObject, private WindowTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void wrongUsage_data();
    void wrongUsage();
    void help();
    void version();
    void offersWhatTheWindowOffers();

    void checks_data();
    void checks();
    void checkAsJson();
    void checkAsText();
    void namesForgeNoLines();
    void verifies();

    void exportsWhatTheWindowExports_data();
    void exportsWhatTheWindowExports();
    void exportsToTheCurrentFolder();
    void exportThatFails_data();
    void exportThatFails();
    void exportIntoAClosedFolder();
    void exportOntoASource_data();
    void exportOntoASource();
    void exportBesideTheSources_data();
    void exportBesideTheSources();
    void exportWithoutAllFiles();
    void progressOnATerminal();

    void standardOutputClosed_data();
    void standardOutputClosed();
    void readerThatGoesEarly_data();
    void readerThatGoesEarly();
    void closedStandardOutputTakesNoFile();

    void history();
    void historyOfABrokenCatalogue();
    void historyOfNothing();
    void historyThroughALink();
    void historyOfAWrongClock();
    void restores();
    void restoresOnlyOverWhatIsKept();
    void restoreRemovesNothing();
    void restoresElsewhere();
    void restoresNothing_data();
    void restoresNothing();
    void entriesOfTheSameName();

    void recipe_data();
    void recipe();
    void twentyThousandApps();

private:
    void makeClock(const QByteArray &line = CLOCK);
    [[nodiscard]] QString project() const { return folder->path(u"project"_s); }
};

void TestCli::init()
{
    begin();
    QDir(historyFolder()).removeRecursively();
}

void TestCli::cleanup()
{
    end();
}

void TestCli::makeClock(const QByteArray &line)
{
    folder->write(u"project/Clock/main.lua"_s, "abc");
    folder->write(u"project/en.html"_s, "<p>Clock</p>");
    folder->write(u"project/icon.png"_s, PNG);
    folder->write(u"project/Apps.csv"_s, HEADER + line);
}

void TestCli::wrongUsage_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("error");
    QTest::newRow("nothing") << QStringList() << u"A command is missing\nTry: catalist-cli --help"_s;
    QTest::newRow("no such command") << QStringList{u"publish"_s} << u"There is no command publish"_s;
    QTest::newRow("no such option") << QStringList{u"--quiet"_s} << u"Unknown option 'quiet'."_s;
    QTest::newRow("option before the command")
        << QStringList{u"--strict"_s, u"check"_s, u"x"_s} << u"Unknown option 'strict'."_s;
    QTest::newRow("no project") << QStringList{u"check"_s} << u"check takes PROJECT\nTry: catalist-cli check --help"_s;
    QTest::newRow("two projects") << QStringList{u"check"_s, u"a"_s, u"b"_s} << u"check takes PROJECT"_s;
    QTest::newRow("no entry") << QStringList{u"restore"_s, u"a"_s} << u"restore takes PROJECT ENTRY"_s;
    QTest::newRow("no URL") << QStringList{u"export"_s, u"a"_s} << u"export needs --url"_s;
    QTest::newRow("URL without one") << QStringList{u"export"_s, u"a"_s, u"--url"_s}
                                     << u"Missing value after '--url'."_s;
    QTest::newRow("no index") << QStringList{u"verify"_s, u"a"_s, u"--url"_s, u"b"_s} << u"verify needs --index"_s;
    QTest::newRow("no such format") << QStringList{u"check"_s, u"a"_s, u"--format"_s, u"xml"_s}
                                    << u"--format is text|json"_s;
    QTest::newRow("no name of a file") << QStringList{u"restore"_s, u"a"_s, u"b"_s, u"--output="_s}
                                       << u"--output needs the name of a file"_s;
    QTest::newRow("option of another command")
        << QStringList{u"history"_s, u"a"_s, u"--strict"_s} << u"Unknown option 'strict'."_s;
}

void TestCli::wrongUsage()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, error);
    const Outcome outcome = run(arguments, folder->path());
    QCOMPARE(outcome.code, 2);
    QCOMPARE(outcome.out, QByteArray());
    QVERIFY2(QString::fromUtf8(outcome.err).startsWith(u"catalist-cli: "_s + error), outcome.err.constData());
    QCOMPARE(folder->entries(), QStringList());
}

void TestCli::help()
{
    const QString manual = document(u"docs/catalist-cli.1"_s).replace(u"\\-"_s, u"-"_s);
    const QString page = document(u"docs/cli.md"_s);
    const Outcome program = run({u"--help"_s});
    QCOMPARE(program.code, 0);
    QCOMPARE(program.err, QByteArray());
    QCOMPARE(run({u"-h"_s}).out, program.out);
    QStringList options = optionsIn(QString::fromUtf8(program.out));
    for (const QString &command : commands()) {
        QVERIFY2(program.out.contains("\n  " + command.toUtf8() + ' '), qPrintable(command));
        const Outcome own = run({command, u"--help"_s});
        QCOMPARE(own.code, 0);
        QCOMPARE(own.err, QByteArray());
        const QString text = QString::fromUtf8(own.out);
        QVERIFY2(text.contains(u"catalist-cli "_s + command + u" [options] "_s), own.out.constData());
        QVERIFY2(manual.contains(u"\n.B "_s + command + u'\n'), qPrintable(command));
        QVERIFY2(page.contains(u"`catalist-cli "_s + command + u' '), qPrintable(command));
        options += optionsIn(text);
    }
    options.removeDuplicates();
    QCOMPARE(options.size(), 7);
    for (const QString &option : std::as_const(options)) {
        QVERIFY2(manual.contains(option), qPrintable(option));
        QVERIFY2(page.contains(option), qPrintable(option));
    }
    // And none that there is not.
    for (const QString &option : optionsIn(manual))
        QVERIFY2(options.contains(option), qPrintable(option));

    // The exit codes mean the same wherever they are told.
    static const QRegularExpression row(u"\\n\\| ([0-9]) \\| (.*) \\|"_s);
    const QString running = manual.section(u".SH EXIT STATUS"_s, 1).section(u".SH"_s, 0, 0).simplified();
    int codes = 0;
    for (auto match = row.globalMatch(page); match.hasNext(); ++codes) {
        const QRegularExpressionMatch code = match.next();
        const QString meaning = QString(code.captured(2)).remove(u'`');
        const QString sentence = u".B %1 %2."_s.arg(code.captured(1), meaning.front().toUpper() + meaning.mid(1));
        QVERIFY2(running.contains(sentence), qPrintable(sentence));
    }
    QCOMPARE(codes, 3);
}

void TestCli::version()
{
    static const QRegularExpression inProject(u"\n    VERSION ([0-9.]+)\n"_s);
    const QString expected = inProject.match(document(u"CMakeLists.txt"_s)).captured(1);
    const Outcome outcome = run({u"--version"_s});
    QCOMPARE(outcome.code, 0);
    QCOMPARE(QString::fromUtf8(outcome.out), u"catalist-cli %1\n"_s.arg(expected));
    QCOMPARE(outcome.err, QByteArray());
}

void TestCli::offersWhatTheWindowOffers()
{
    window = openWindow<MainWindow>();
    QStringList offered{u"en"_s};
    const auto *box = child<QComboBox>(*window, "lng1_2");
    for (int i = 0; i < box->count(); ++i)
        offered.append(box->itemText(i));
    offered.sort();
    QStringList known;
    for (const char *language : LANGUAGES)
        known.append(QString::fromLatin1(language));
    QCOMPARE(offered, known);
}

void TestCli::checks_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("strictCode");
    QByteArray note = CLOCK;
    QByteArray warning = CLOCK;
    QByteArray error = CLOCK;
    QTest::newRow("clean") << CLOCK << 0 << 0;
    QTest::newRow("note") << note.replace("05-03-2024", "2024-03-05") << 0 << 0;
    QTest::newRow("warning") << warning.replace("05-03-2024", "") << 0 << 1;
    QTest::newRow("error") << error.replace("05-03-2024", "never") << 1 << 1;
    QTest::newRow("does not open") << QByteArray("\n") + CLOCK << 1 << 1;
}

void TestCli::checks()
{
    QFETCH(QByteArray, line);
    QFETCH(int, code);
    QFETCH(int, strictCode);
    makeClock(line);
    for (const QString &format : {u"text"_s, u"json"_s}) {
        const Outcome plain = run({u"check"_s, project(), u"--format"_s, format});
        QCOMPARE(plain.code, code);
        QCOMPARE(plain.err, QByteArray());
        const Outcome strict = run({u"check"_s, u"--format="_s + format, project() + u"/Apps.csv"_s, u"--strict"_s});
        QCOMPARE(strict.code, strictCode);
        QCOMPARE(strict.out, plain.out);
    }
    QCOMPARE(run({u"check"_s, u"."_s}, project()).code, code);
}

void TestCli::checkAsJson()
{
    QByteArray line = CLOCK;
    line.replace("674", "674,5").replace("05-03-2024", "");
    makeClock(line);
    folder->write(u"project/ž"_s, "");
    const Outcome outcome = run({u"check"_s, u"project"_s, u"--format"_s, u"json"_s}, folder->path());
    const QByteArray expected = R"({
    "command": "check",
    "errors": 1,
    "findings": [
        {
            "app": "Clock",
            "code": "date-missing",
            "line": 2,
            "severity": "warning",
            "text": "Give the app a publication date."
        },
        {
            "app": "Clock",
            "code": "hardware-unknown",
            "line": 2,
            "severity": "error",
            "text": "Replace the id 5, which no known transmitter has."
        },
        {
            "app": "",
            "code": "file-unlisted",
            "line": 0,
            "severity": "note",
            "text": "List \"ž\" if it belongs to an app: none does."
        }
    ],
    "input": "project/Apps.csv",
    "notes": 1,
    "warnings": 1
}
)";
    QCOMPARE(outcome.out, expected);
    // The document shows an object with these members.
    const QString shown = document(u"docs/cli.md"_s).section(u"```json\n"_s, 1).section(u"```"_s, 0, 0);
    const QJsonObject documented = QJsonDocument::fromJson(shown.toUtf8()).object();
    const QJsonObject real = QJsonDocument::fromJson(outcome.out).object();
    QCOMPARE(documented.keys(), real.keys());
    QCOMPARE(documented.value("findings"_L1).toArray().at(0).toObject().keys(),
             real.value("findings"_L1).toArray().at(0).toObject().keys());
}

void TestCli::checkAsText()
{
    QByteArray line = CLOCK;
    line.replace("674", "674,5").replace("05-03-2024", "");
    makeClock(line + "\n");
    const Outcome outcome = run({u"check"_s, project()});
    const QByteArray expected = R"(Clock, line 2
  warning date-missing           Give the app a publication date.
  error   hardware-unknown       Replace the id 5, which no known transmitter has.

(no name), line 3
  error   row-too-short          Complete the line or take it out, as the catalogue does not open with it: 1 of at least 7 cells.

2 errors, 1 warning, 0 notes
)";
    QCOMPARE(outcome.out, expected);
}

void TestCli::namesForgeNoLines()
{
    QByteArray line = CLOCK;
    line.replace("674", "5")
        .replace(R"("Clock")", R"("\u001b[2JClock\n  note    all-well")")
        .replace(";Clock;", ";a\tb;");
    makeClock(line);
    const Outcome outcome = run({u"check"_s, project()});
    QVERIFY2(outcome.out.startsWith(R"(\u001b[2JClock\u000a  note    all-well, line 2)"), outcome.out.constData());
    QVERIFY2(outcome.out.contains(R"("a\u0009b")"), outcome.out.constData());
    const Outcome failed = run({u"check"_s, u"no\nsuch"_s}, folder->path());
    QCOMPARE(failed.err, QByteArray("catalist-cli: no\\u000asuch/Apps.csv: No such file or directory\n"));
}

void TestCli::verifies()
{
    makeClock();
    const QStringList arguments{u"verify"_s, project(),     u"--index"_s, folder->path(u"Apps.json"_s),
                                u"--url"_s,  URL.chopped(1)};
    QCOMPARE(run({u"export"_s, project(), u"--url"_s, URL, u"--output"_s, folder->path(u"Apps.json"_s)}).code, 0);
    const Outcome clean = run(arguments);
    QCOMPARE(clean.code, 0);
    QCOMPARE(clean.out, QByteArray("Nothing found.\n"));

    folder->write(u"project/new"_s, "");
    const QByteArray expected = R"(As a whole
  warning file-unnamed           Remove "new", or publish the index anew: the index does not name it.

0 errors, 1 warning, 0 notes
)";
    QCOMPARE(run(arguments).out, expected);
    QCOMPARE(run(arguments).code, 0);
    QCOMPARE(run(arguments + QStringList{u"--strict"_s}).code, 1);
    folder->write(u"project/Clock/main.lua"_s, "abd");
    const Outcome broken = run(arguments + QStringList{u"--format"_s, u"json"_s});
    QCOMPARE(broken.code, 1);
    const QJsonObject object = QJsonDocument::fromJson(broken.out).object();
    QCOMPARE(object.value("command"_L1).toString(), u"verify"_s);
    QCOMPARE(object.value("input"_L1).toString(), folder->path(u"Apps.json"_s));
    QCOMPARE(object.value("errors"_L1).toInt(), 1);

    QFile::remove(folder->path(u"Apps.json"_s));
    const Outcome failed = run(arguments);
    QCOMPARE(failed.code, 2);
    QCOMPARE(failed.out, QByteArray());
    QCOMPARE(QString::fromUtf8(failed.err),
             u"catalist-cli: %1: No such file or directory\n"_s.arg(folder->path(u"Apps.json"_s)));
}

void TestCli::exportsWhatTheWindowExports_data()
{
    QTest::addColumn<bool>("isExample");
    QTest::addColumn<QByteArray>("files");
    QTest::addColumn<QString>("url");
    QTest::newRow("example") << true << QByteArray() << URL;
    QTest::newRow("URL without a slash") << true << QByteArray() << u"https://apps.example.org/a b/č"_s;
    QTest::newRow("no URL") << false << QByteArray("Clock") << QString();
    QTest::newRow("odd catalogue") << false << QByteArray("missing,/Clock, Clock,Clock/main.lua") << u"http://x"_s;
    QTest::newRow("the whole project") << false << QByteArray("Clock,") << u"http://x"_s;
}

void TestCli::exportsWhatTheWindowExports()
{
    QFETCH(bool, isExample);
    QFETCH(QByteArray, files);
    QFETCH(QString, url);
    if (isExample) {
        QVERIFY(copyTree(example(), project()));
    } else {
        makeClock("[];A \"b\";v1;,674,x;nonsense;{\"de\":\"../ž.html\"};" + files
                  + "\n"
                    "{\"en\":5};;1.2.3.4;674;5 Mar 2024;{};a\\b;a\\b.png;5.3.1;and;more\n"
                  + CLOCK);
        folder->write(u"project/Clock/.hidden"_s, "");
        folder->write(u"project/Clock/é/b a#.lua"_s, "x");
        folder->write(u"project/Clock/A.lua"_s, QByteArray(1'000'000, 'x'));
        folder->link(project() + u"/Clock"_s, u"project/again"_s);
    }
    storeProject(project() + u"/Apps.csv"_s);
    const QStringList arguments{u"export"_s, project(), u"--url="_s + url, u"--output"_s, folder->path(u"cli.json"_s)};
    const QByteArray loaded = folder->read(u"project/Apps.csv"_s);
    const int code = isExample ? 0 : 1;
    QCOMPARE(run(arguments).code, code);
    const QByteArray ofLoaded = folder->read(u"cli.json"_s);
    QCOMPARE(folder->read(u"project/Apps.csv"_s), loaded);

    window = openWindow<MainWindow>();
    retype(*window, "repository", url);
    QTest::keyClick(child<QLineEdit>(*window, "repository"), Qt::Key_Tab);
    answers->chooseFile(folder->path(u"window.json"_s));
    clickTool(*window, "actionSave_generate_JSON");
    const QByteArray expected = folder->read(u"window.json"_s);
    QVERIFY(expected.size() > 100);
    QCOMPARE(run(arguments).code, code);
    QCOMPARE(folder->read(u"cli.json"_s), expected);
    // The window saves what it loaded before it publishes, and that is a file of the whole project.
    if (!files.endsWith(','))
        QCOMPARE(ofLoaded, expected);
}

void TestCli::exportsToTheCurrentFolder()
{
    makeClock();
    const Outcome outcome = run({u"export"_s, u"../project/Apps.csv"_s, u"--url"_s, URL}, folder->path(u"project"_s));
    QCOMPARE(outcome.code, 0);
    QCOMPARE(outcome.out, QByteArray("1 app, 1 file, 3 bytes: Apps.json\n"));
    QCOMPARE(outcome.err, QByteArray());
    QVERIFY(folder->read(u"project/Apps.json"_s).contains("https://apps.example.org/Clock/main.lua"));
}

void TestCli::exportThatFails_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("error");
    const QString place = u"%1"_s;
    QTest::newRow("full disk") << CLOCK << u"/dev/full"_s << u"/dev/full: No space left on device"_s;
    QTest::newRow("folder") << CLOCK << place << u"%1: Is a directory"_s;
    QTest::newRow("no folder") << CLOCK << u"%1/none/Apps.json"_s << u"%1/none/Apps.json: No such file or directory"_s;
    QTest::newRow("short line") << CLOCK + "\n"
                                << u"%1/Apps.json"_s << u"%1/project/Apps.csv:3: 1 of at least 7 cells"_s;
    QTest::newRow("not JSON") << CLOCK + CLOCK + "{\"en\":\"A;B\"};;;;;;;;\n"
                              << u"%1/Apps.json"_s
                              << u"%1/project/Apps.csv:4: NAME is not JSON: unterminated string at byte 10"_s;
}

void TestCli::exportThatFails()
{
    QFETCH(QByteArray, line);
    QFETCH(QString, output);
    QFETCH(QString, error);
    if (output.startsWith(u"/dev/") && !QFileInfo::exists(output))
        QSKIP("No disk that is always full here");
    makeClock(line);
    const QString place = folder->path();
    const Outcome outcome =
        run({u"export"_s, project(), u"--url"_s, URL, u"--output"_s, QString(output).replace(u"%1"_s, place)});
    QCOMPARE(outcome.code, 2);
    QCOMPARE(outcome.out, QByteArray());
    QCOMPARE(QString::fromUtf8(outcome.err), u"catalist-cli: "_s + error.replace(u"%1"_s, place) + u'\n');
    QCOMPARE(folder->entries(), QStringList{u"project"_s});
}

void TestCli::exportIntoAClosedFolder()
{
    makeClock();
    folder->makeFolder(u"closed"_s);
    folder->write(u"closed/old.json"_s, "old");
    QVERIFY(QFile::setPermissions(folder->path(u"closed/old.json"_s), QFile::Permissions(0x4444)));
    QVERIFY(QFile::setPermissions(folder->path(u"closed"_s), QFile::Permissions(0x5555)));
    const OrdinaryUser user;
    if (!QFileInfo(QStringLiteral(CATALIST_CLI)).isExecutable())
        QSKIP("The build is not open to an ordinary user");
    for (const QString &name : {u"old.json"_s, u"new.json"_s}) {
        const QString output = folder->path(u"closed/"_s + name);
        const Outcome outcome = run({u"export"_s, project(), u"--url"_s, URL, u"--output"_s, output}, u"/"_s);
        QCOMPARE(outcome.code, 2);
        QCOMPARE(QString::fromUtf8(outcome.err), u"catalist-cli: %1: Permission denied\n"_s.arg(output));
    }
    QCOMPARE(folder->read(u"closed/old.json"_s), QByteArray("old"));
}

void TestCli::exportOntoASource_data()
{
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("error");
    QTest::newRow("catalogue") << u"project/Apps.csv"_s << u"Is the catalogue itself"_s;
    QTest::newRow("link to the catalogue") << u"alias.csv"_s << u"Is the catalogue itself"_s;
    QTest::newRow("listed file") << u"project/Clock/main.lua"_s << u"Is a file of the catalogue"_s;
    QTest::newRow("icon") << u"project/icon.png"_s << u"Is a file of the catalogue"_s;
    QTest::newRow("description") << u"project/sub/../en.html"_s << u"Is a file of the catalogue"_s;
}

void TestCli::exportOntoASource()
{
    QFETCH(QString, output);
    QFETCH(QString, error);
    makeClock();
    folder->makeFolder(u"project/sub"_s);
    folder->link(project() + u"/Apps.csv"_s, u"alias.csv"_s);
    const QByteArray before = folder->read(output);
    QVERIFY(!before.isEmpty());
    const Outcome outcome = run({u"export"_s, u"project"_s, u"--url"_s, URL, u"--output"_s, output}, folder->path());
    QCOMPARE(outcome.code, 2);
    QCOMPARE(outcome.out, QByteArray());
    QCOMPARE(QString::fromUtf8(outcome.err), u"catalist-cli: %1: %2\n"_s.arg(output, error));
    QCOMPARE(folder->read(output), before);
}

void TestCli::exportBesideTheSources_data()
{
    QTest::addColumn<QString>("output");
    QTest::newRow("former index") << u"project/Apps.json"_s;
    QTest::newRow("name begins like that of a listed folder") << u"project/Clock-index.json"_s;
    QTest::newRow("hidden file in a listed folder") << u"project/Clock/.index.json"_s;
}

void TestCli::exportBesideTheSources()
{
    QFETCH(QString, output);
    makeClock();
    folder->write(output, "old");
    const Outcome outcome = run({u"export"_s, u"project"_s, u"--url"_s, URL, u"--output"_s, output}, folder->path());
    QCOMPARE(outcome.err, QByteArray());
    QCOMPARE(outcome.code, 0);
    QVERIFY(folder->read(output).startsWith("{\n    \"applications\": ["));
}

void TestCli::exportWithoutAllFiles()
{
    QByteArray line = CLOCK;
    makeClock(line.replace(";Clock;", ";Clock,gone;"));
    folder->write(u"project/Clock/closed.lua"_s, "abc");
    QVERIFY(QFile::setPermissions(folder->path(u"project/Clock/closed.lua"_s), {}));
    folder->makeFolder(u"out"_s);
    QVERIFY(QFile::setPermissions(folder->path(u"out"_s), QFile::Permissions(0x7777)));
    const OrdinaryUser user;
    if (!QFileInfo(QStringLiteral(CATALIST_CLI)).isExecutable())
        QSKIP("The build is not open to an ordinary user");
    const Outcome outcome = run({u"export"_s, project(), u"--url"_s, URL}, folder->path(u"out"_s));
    QCOMPARE(outcome.code, 1);
    QCOMPARE(
        QString::fromUtf8(outcome.err),
        u"catalist-cli: %1/gone: No such file or folder; it is left out\n"
        "catalist-cli: %1/Clock/closed.lua: Cannot be read; it has an empty hash, or no entries if it is a folder\n"_s
            .arg(project()));
    QCOMPARE(outcome.out, QByteArray("1 app, 2 files, 6 bytes: Apps.json\n"));
    QVERIFY(folder->read(u"out/Apps.json"_s).contains("\"hash\": \"\""));
}

void TestCli::progressOnATerminal()
{
#ifdef Q_OS_UNIX
    QVERIFY(copyTree(example(), project()));
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
    if (terminal < 0 || ::grantpt(terminal) != 0 || ::unlockpt(terminal) != 0)
        QSKIP("No terminals here");
    QProcess process;
    process.setProcessEnvironment(withoutDisplay());
    process.setStandardErrorFile(QString::fromLocal8Bit(::ptsname(terminal)));
    process.start(QStringLiteral(CATALIST_CLI),
                  {u"export"_s, project(), u"--url"_s, URL, u"--output"_s, folder->path(u"Apps.json"_s)});
    const Outcome outcome = finish(process);
    QByteArray shown;
    std::array<char, 1000> part{};
    // It ends with an error when nobody has the terminal open any more.
    for (ssize_t size = 0; (size = ::read(terminal, part.data(), part.size())) > 0;)
        shown.append(part.data(), size);
    ::close(terminal);
    QCOMPARE(outcome.code, 0);
    QVERIFY2(shown.contains("\r\033[K1 of 5 apps, 0 bytes"), shown.constData());
    QVERIFY2(shown.endsWith("\r\033[K"), shown.constData());
    QCOMPARE(outcome.out.count('\n'), 1);
#else
    QSKIP("No terminals here");
#endif
}

void TestCli::standardOutputClosed_data()
{
    QTest::addColumn<QString>("command");
    QTest::newRow("--help") << u"--help"_s;
    QTest::newRow("--version") << u"--version"_s;
    QTest::newRow("help of a command") << u"verify --help"_s;
    QTest::newRow("check") << u"check project"_s;
    QTest::newRow("check as JSON") << u"check project --format json"_s;
    QTest::newRow("verify") << u"verify project --index Apps.json --url x"_s;
    QTest::newRow("export") << u"export project --url x --output Other.json"_s;
    QTest::newRow("history") << u"history project"_s;
}

void TestCli::standardOutputClosed()
{
#ifdef Q_OS_UNIX
    QFETCH(QString, command);
    makeClock();
    folder->write(u"Apps.json"_s, R"({"applications": []})");
    const Outcome closed = runScript(u"catalist-cli %1 >&-"_s.arg(command), folder->path());
    QCOMPARE(closed.code, 2);
    QCOMPARE(closed.err, QByteArray("catalist-cli: standard output: Bad file descriptor\n"));
    const Outcome both = runScript(u"catalist-cli %1 >&- 2>&-"_s.arg(command), folder->path());
    QCOMPARE(both.code, 2);
    if (!QFileInfo::exists(u"/dev/full"_s))
        QSKIP("No disk that is always full here");
    const Outcome full = runScript(u"catalist-cli %1 >/dev/full"_s.arg(command), folder->path());
    QCOMPARE(full.code, 2);
    QCOMPARE(full.err, QByteArray("catalist-cli: standard output: No space left on device\n"));
#else
    QSKIP("No such shell here");
#endif
}

void TestCli::readerThatGoesEarly_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("code");
    QTest::addColumn<QByteArray>("error");
    QTest::newRow("is killed") << QString() << u"141\n"_s << QByteArray();
    QTest::newRow("may not be killed") << u"trap '' PIPE; "_s << u"2\n"_s
                                       << QByteArray("catalist-cli: standard output: Broken pipe\n");
}

void TestCli::readerThatGoesEarly()
{
#ifdef Q_OS_UNIX
    QFETCH(QString, before);
    QFETCH(QString, code);
    QFETCH(QByteArray, error);
    // More than a pipe holds.
    makeClock(CLOCK.repeated(5'000));
    const Outcome outcome =
        runScript(before + u"{ catalist-cli check project; echo $? >code; } | head -n 1"_s, folder->path());
    QCOMPARE(outcome.out, QByteArray("Clock, line 3\n"));
    QCOMPARE(outcome.err, error);
    QCOMPARE(QString::fromUtf8(folder->read(u"code"_s)), code);
#else
    QSKIP("No such shell here");
#endif
}

void TestCli::closedStandardOutputTakesNoFile()
{
#ifdef Q_OS_UNIX
    makeClock();
    QCOMPARE(run({u"export"_s, project(), u"--url"_s, u"x"_s, u"--output"_s, folder->path(u"good.json"_s)}).code, 0);
    const Outcome outcome =
        runScript(u"catalist-cli export project --url x --output Apps.json <&- >&- 2>&-"_s, folder->path());
    QCOMPARE(outcome.code, 2);
    QCOMPARE(folder->read(u"Apps.json"_s), folder->read(u"good.json"_s));
#else
    QSKIP("No such shell here");
#endif
}

void TestCli::history()
{
    makeClock();
    const Outcome nothing = run({u"history"_s, project()});
    QCOMPARE(nothing.code, 0);
    QCOMPARE(QString::fromUtf8(nothing.out), u"The history holds nothing of %1/Apps.csv.\n"_s.arg(project()));

    QVERIFY(replaceFile(project() + u"/Apps.csv"_s, HEADER, LineEnds::AsGiven));
    awaitNextMoment();
    keepUnsaved(project() + u"/doc/de.html"_s, "never saved");
    awaitNextMoment();
    QVERIFY(replaceFile(project() + u"/en.html"_s, "", LineEnds::AsGiven));
    for (const QString &other : {u"project2/Apps.csv"_s, u"project/Other.csv"_s, u"project/sub/Apps.csv"_s}) {
        folder->write(other, "another catalogue");
        QVERIFY(replaceFile(folder->path(other), HEADER, LineEnds::AsGiven));
    }

    const Outcome outcome = run({u"history"_s, u"project"_s}, folder->path());
    QCOMPARE(outcome.code, 0);
    const QStringList lines = QString::fromUtf8(outcome.out).split(u'\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 3);
    const QString moment = u"^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ +"_s;
    const QString entry = u"\\d{8}-\\d{6}-\\d{3}-00-"_s;
    const QList<QRegularExpression> expected{
        QRegularExpression(moment + u"12  replaced  "_s + entry + u"replaced-en\\.html  en\\.html$"_s),
        QRegularExpression(moment + u"11  unsaved   "_s + entry + u"unsaved-de\\.html  doc/de\\.html$"_s),
        QRegularExpression(moment + QString::number((HEADER + CLOCK).size()) + u"  replaced  "_s + entry
                           + u"replaced-Apps\\.csv  Apps\\.csv$"_s),
    };
    for (int i = 0; i < lines.size(); ++i)
        QVERIFY2(expected.at(i).match(lines.at(i)).hasMatch(), qPrintable(lines.at(i)));
    // The name of an entry says the same moment.
    const QString name = lines.at(0).section(u"  replaced  "_s, 1).section(u' ', 0, 0);
    QCOMPARE(QDateTime::fromString(lines.at(0).section(u' ', 0, 0), Qt::ISODate).toString(u"yyyyMMdd-hhmmss"_s),
             name.section(u'-', 0, 1));
}

void TestCli::historyOfABrokenCatalogue()
{
    makeClock();
    folder->write(u"elsewhere.html"_s, "old");
    folder->link(folder->path(u"elsewhere.html"_s), u"project/de.html"_s);
    QByteArray line = CLOCK;
    folder->write(u"project/Apps.csv"_s, HEADER + line.replace("\"en.html\"", "\"en.html\",\"de\":\"de.html\""));
    QVERIFY(replaceFile(project() + u"/de.html"_s, "new", LineEnds::AsGiven));
    QVERIFY(run({u"history"_s, project()}).out.contains("elsewhere.html"));

    QVERIFY(replaceFile(project() + u"/Apps.csv"_s, "broken", LineEnds::AsGiven));
    const Outcome broken = run({u"history"_s, project()});
    QCOMPARE(broken.code, 0);
    QCOMPARE(broken.out.count("replaced-Apps.csv"), 1);
    QVERIFY2(broken.err.contains("Apps.csv:1: 1 of at least 7 cells"), broken.err.constData());

    QVERIFY(QDir(project()).removeRecursively());
    QCOMPARE(run({u"history"_s, project() + u"/Apps.csv"_s}).out, broken.out);
    QCOMPARE(run({u"history"_s, project()}).out, broken.out);
}

void TestCli::historyOfNothing()
{
    const Outcome outcome = run({u"history"_s, u"nowhere"_s}, folder->path());
    QCOMPARE(outcome.code, 2);
    QCOMPARE(outcome.out, QByteArray());
    QCOMPARE(outcome.err, QByteArray("catalist-cli: nowhere: No such file or directory\n"));
}

void TestCli::historyThroughALink()
{
    makeClock();
    folder->makeFolder(u"deep/er"_s);
    folder->link(project(), u"deep/er/alias"_s);
    for (const QString &name : {u"Apps.csv"_s, u"en.html"_s, u"icon.png"_s})
        QVERIFY(replaceFile(folder->path(u"deep/er/alias/"_s + name), HEADER + CLOCK + "\n", LineEnds::AsGiven));
    QVERIFY(replaceFile(project() + u"/Apps.csv"_s, HEADER + CLOCK, LineEnds::AsGiven));
    const Outcome direct = run({u"history"_s, u"project"_s}, folder->path());
    QCOMPARE(direct.out.count('\n'), 4);
    QVERIFY2(!direct.out.contains(".."), direct.out.constData());
    QCOMPARE(run({u"history"_s, u"deep/er/alias"_s}, folder->path()).out, direct.out);
}

void TestCli::historyOfAWrongClock()
{
    makeClock();
    const QString page = project() + u"/en.html"_s;
    QVERIFY(replaceFile(page, "new", LineEnds::AsGiven));
    const QString path = keptVersions(page).constFirst().path;
    QVERIFY(QFile::rename(path, QFileInfo(path).path() + u"/20990101-000000-000-00-replaced-en.html"_s));
    QVERIFY(replaceFile(project() + u"/Apps.csv"_s, HEADER, LineEnds::AsGiven));
    const QByteArrayList lines = run({u"history"_s, project()}).out.split('\n');
    QCOMPARE(lines.size(), 3);
    QVERIFY2(lines.at(0).endsWith("Apps.csv") && lines.at(1).startsWith("2099-01-01T"), lines.at(0).constData());
}

void TestCli::restores()
{
    makeClock();
    const QString path = project() + u"/Apps.csv"_s;
    QVERIFY(replaceFile(path, HEADER, LineEnds::AsGiven));
    const QString entry = QFileInfo(keptVersions(path).constFirst().path).fileName();
    awaitNextMoment();
    const Outcome outcome = run({u"restore"_s, project(), entry});
    QCOMPARE(outcome.err, QByteArray());
    QCOMPARE(outcome.code, 0);
    QCOMPARE(QString::fromUtf8(outcome.out), u"%1 bytes: %2\n"_s.arg((HEADER + CLOCK).size()).arg(path));
    QCOMPARE(folder->read(u"project/Apps.csv"_s), HEADER + CLOCK);
    // What stood in its place.
    QCOMPARE(keptVersions(path).size(), 2);
    QCOMPARE(readWholeFile(keptVersions(path).constFirst().path), HEADER);

    QFile::remove(path);
    QCOMPARE(run({u"restore"_s, path, keptVersions(path).constLast().path}).code, 0);
    QCOMPARE(folder->read(u"project/Apps.csv"_s), HEADER + CLOCK);
}

void TestCli::restoresOnlyOverWhatIsKept()
{
    for (const QString &name : {u"data"_s, u"project"_s}) {
        folder->makeFolder(name);
        QVERIFY(QFile::setPermissions(folder->path(name), QFile::Permissions(0x7777)));
    }
    const QByteArray data = qgetenv("XDG_DATA_HOME");
    const auto restoreData = qScopeGuard([&data] { qputenv("XDG_DATA_HOME", data); });
    qputenv("XDG_DATA_HOME", QFile::encodeName(folder->path(u"data"_s)));
    const OrdinaryUser user;
    if (!QFileInfo(QStringLiteral(CATALIST_CLI)).isExecutable())
        QSKIP("The build is not open to an ordinary user");
    makeClock();
    const QString path = project() + u"/Apps.csv"_s;
    QVERIFY(replaceFile(path, HEADER, LineEnds::AsGiven));
    const QFileInfo entry(keptVersions(path).constFirst().path);
    QVERIFY(QFile::setPermissions(entry.path(), QFile::Permissions(0x5555)));
    awaitNextMoment();
    const Outcome outcome = run({u"restore"_s, project(), entry.fileName()}, u"/"_s);
    QCOMPARE(outcome.code, 2);
    QCOMPARE(outcome.out, QByteArray());
    QCOMPARE(QString::fromUtf8(outcome.err),
             u"catalist-cli: %1: Cannot be kept in the history, and stays as it is\n"_s.arg(path));
    QCOMPARE(folder->read(u"project/Apps.csv"_s), HEADER);

    QVERIFY(QFile::setPermissions(entry.path(), QFile::Permissions(0x7777)));
    QCOMPARE(run({u"restore"_s, project(), entry.fileName()}, u"/"_s).code, 0);
    QCOMPARE(folder->read(u"project/Apps.csv"_s), HEADER + CLOCK);
    QCOMPARE(keptVersions(path).size(), 2);
}

void TestCli::restoreRemovesNothing()
{
    makeClock();
    const QString path = project() + u"/Apps.csv"_s;
    QVERIFY(replaceFile(path, HEADER, LineEnds::AsGiven));
    const QString old = u"20200101-120000-000-00-replaced-Apps.csv"_s;
    const QString kept = keptVersions(path).constFirst().path;
    QVERIFY(QFile::rename(kept, QFileInfo(kept).path() + u'/' + old));
    QCOMPARE(run({u"restore"_s, project(), old}).code, 0);
    QCOMPARE(folder->read(u"project/Apps.csv"_s), HEADER + CLOCK);
    QCOMPARE(keptVersions(path).size(), 2);
    QCOMPARE(QFileInfo(keptVersions(path).constLast().path).fileName(), old);
}

void TestCli::restoresElsewhere()
{
    makeClock();
    const QString path = project() + u"/en.html"_s;
    QVERIFY(replaceFile(path, "new \xe9", LineEnds::AsGiven));
    awaitNextMoment();
    QVERIFY(replaceFile(path, "newer", LineEnds::AsGiven));
    folder->write(u"look.html"_s, "in the way");
    const QString entry = QFileInfo(keptVersions(path).constFirst().path).fileName();
    QCOMPARE(run({u"restore"_s, u"project"_s, entry, u"--output"_s, u"look.html"_s}, folder->path()).code, 0);
    QCOMPARE(folder->read(u"look.html"_s), QByteArray("new \xe9"));
    QCOMPARE(folder->read(u"project/en.html"_s), QByteArray("newer"));
    QCOMPARE(readWholeFile(keptVersions(folder->path(u"look.html"_s)).constFirst().path), QByteArray("in the way"));
}

void TestCli::restoresNothing_data()
{
    QTest::addColumn<QString>("entry");
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("error");
    QTest::newRow("no such entry") << u"20200101-000000-000-00-replaced-Apps.csv"_s << u"out"_s
                                   << u"20200101-000000-000-00-replaced-Apps.csv: No such entry in the history"_s;
    QTest::newRow("a file of the project") << u"project/en.html"_s << u"out"_s << u"project/en.html: No such entry"_s;
    QTest::newRow("a folder in its place") << QString() << u"project"_s << u"project: Is a directory"_s;
    QTest::newRow("no folder for it") << QString() << u"none/out"_s << u"none/out: No such file or directory"_s;
    QTest::newRow("full disk") << QString() << u"/dev/full"_s << u"/dev/full: Is not a regular file"_s;
}

void TestCli::restoresNothing()
{
    QFETCH(QString, entry);
    QFETCH(QString, output);
    QFETCH(QString, error);
    if (output.startsWith(u"/dev/") && !QFileInfo::exists(output))
        QSKIP("No disk that is always full here");
    makeClock();
    const QString path = project() + u"/Apps.csv"_s;
    QVERIFY(replaceFile(path, HEADER, LineEnds::AsGiven));
    const QString known = QFileInfo(keptVersions(path).constFirst().path).fileName();
    const Outcome outcome =
        run({u"restore"_s, u"project"_s, entry.isEmpty() ? known : entry, u"--output"_s, output}, folder->path());
    QCOMPARE(outcome.code, 2);
    QCOMPARE(outcome.out, QByteArray());
    QVERIFY2(QString::fromUtf8(outcome.err).startsWith(u"catalist-cli: "_s + error), outcome.err.constData());
    QCOMPARE(folder->entries(), QStringList{u"project"_s});
    QCOMPARE(folder->read(u"project/Apps.csv"_s), HEADER);
}

void TestCli::entriesOfTheSameName()
{
    makeClock();
    folder->write(u"project/de/en.html"_s, "German");
    QVERIFY(replaceFile(project() + u"/en.html"_s, "", LineEnds::AsGiven));
    QVERIFY(replaceFile(project() + u"/de/en.html"_s, "", LineEnds::AsGiven));
    const KeptVersion first = keptVersions(project() + u"/en.html"_s).constFirst();
    const KeptVersion second = keptVersions(project() + u"/de/en.html"_s).constFirst();
    const QString name = QFileInfo(first.path).fileName();
    const QString path = QFileInfo(second.path).path() + u'/' + name;
    QVERIFY(second.path == path || QFile::rename(second.path, path));

    const Outcome both = run({u"restore"_s, project(), name});
    QCOMPARE(both.code, 2);
    QVERIFY2(both.err.contains(first.path.toUtf8()) && both.err.contains(path.toUtf8()), both.err.constData());
    QCOMPARE(run({u"restore"_s, project(), path}).code, 0);
    QCOMPARE(folder->read(u"project/de/en.html"_s), QByteArray("German"));
    QCOMPARE(folder->read(u"project/en.html"_s), QByteArray(""));
}

void TestCli::recipe_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("README.md") << u"README.md"_s;
    QTest::newRow("docs/cli.md") << u"docs/cli.md"_s;
}

void TestCli::recipe()
{
#ifdef Q_OS_UNIX
    QFETCH(QString, path);
    const QString script = document(path).section(u"```sh\n"_s, 1).section(u"```"_s, 0, 0);
    QVERIFY(script.contains(u"catalist-cli verify"));
    QVERIFY(copyTree(example(), folder->path(u"catalogue"_s)));
    const Outcome outcome = runScript(script, folder->path());
    QCOMPARE(outcome.err, QByteArray());
    QCOMPARE(outcome.code, 0);
    QVERIFY(outcome.out.endsWith("Nothing found.\n"));
    QVERIFY(folder->read(u"publish/Apps.json"_s).contains("https://apps.example.org/Altimeter/main.lua"));

    folder->write(u"catalogue/Apps.csv"_s, folder->read(u"catalogue/Apps.csv"_s).replace("main.lua", "Main.lua"));
    const Outcome broken = runScript(script, folder->path());
    QCOMPARE(broken.code, 1);
    QVERIFY(broken.out.contains("path-other-case"));
#else
    QSKIP("No such shell here");
#endif
}

void TestCli::twentyThousandApps()
{
    constexpr int APPS = 20'000;
    makeClock({});
    QByteArray content = HEADER;
    for (int i = 0; i < APPS; ++i) {
        const QByteArray name = "App" + QByteArray::number(i);
        folder->write(u"project/apps/"_s + QString::fromUtf8(name) + u"/main.lua"_s, name);
        content += QByteArray(CLOCK)
                       .replace("{\"en\":\"Clock\"}", "{\"en\":\"" + name + "\"}")
                       .replace(";Clock;", ";apps/" + name + ";");
    }
    folder->write(u"project/Apps.csv"_s, content);
    QVERIFY(QDir(project() + u"/Clock"_s).removeRecursively());
    const QString index = folder->path(u"Apps.json"_s);

    const Outcome checked = run({u"check"_s, project(), u"--strict"_s});
    QCOMPARE(checked.out, QByteArray("Nothing found.\n"));
    QCOMPARE(checked.code, 0);
    const Outcome exported = run({u"export"_s, project(), u"--url"_s, URL, u"--output"_s, index});
    QCOMPARE(exported.code, 0);
    QVERIFY2(exported.out.startsWith("20000 apps, 20000 files, "), exported.out.constData());
    QCOMPARE(run({u"verify"_s, project(), u"--index"_s, index, u"--url"_s, URL}).out, QByteArray("Nothing found.\n"));

    folder->write(u"project/apps/App17777/main.lua"_s, "App17778");
    QVERIFY(QFile::rename(project() + u"/apps/App9999"_s, project() + u"/apps/app9999"_s));
    const Outcome broken = run({u"verify"_s, project(), u"--index"_s, index, u"--url"_s, URL});
    QCOMPARE(broken.code, 1);
    QVERIFY2(broken.out.contains("\"apps/App17777/main.lua\"") && broken.out.contains("\"apps/app9999/main.lua\""),
             broken.out.constData());
    const Outcome found = run({u"check"_s, project()});
    QCOMPARE(found.code, 1);
    QVERIFY2(found.out.contains("App9999, line 10001\n"), found.out.constData());
}

CATALIST_TEST_MAIN(TestCli)
#include "tst_cli.moc"
