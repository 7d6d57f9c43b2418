#include "clitest.h"
#include "model/appconfig.h"
#include "testrunner.h"

#include <QComboBox>
#include <QFileInfo>
#include <QRegularExpression>
#include <QRegularExpressionMatch>

using namespace Qt::StringLiterals;

namespace {

QStringList optionsIn(const QString &text)
{
    static const QRegularExpression option(u"--[a-z]+(-[a-z]+)*"_s);
    QStringList found;
    for (auto match = option.globalMatch(text); match.hasNext();)
        found.append(match.next().captured());
    found.removeDuplicates();
    return found;
}

QStringList commands()
{
    return {u"export"_s, u"check"_s, u"verify"_s, u"diff"_s, u"history"_s, u"restore"_s, u"completion"_s};
}

} // namespace

class TestCli : public CliTest
{
    Q_OBJECT

private slots:
    void wrongUsage_data();
    void wrongUsage();
    void help();
    void version();
    void offersWhatTheWindowOffers();

    void standardOutputClosed_data();
    void standardOutputClosed();
    void readerThatEndsEarly_data();
    void readerThatEndsEarly();
    void closedStandardOutputIsNoOtherFile();

    void recipeStopsAtErrors_data();
    void recipeStopsAtErrors();
    void recipeOverwritesNothingElsewhere_data();
    void recipeOverwritesNothingElsewhere();

private:
    static QString recipe(const QString &path)
    {
        return document(path).section(u"```sh\n"_s, 1).section(u"```"_s, 0, 0);
    }
};

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
    QTest::newRow("empty project") << QStringList{u"check"_s, u""_s} << u"An argument of check is empty\n"_s;
    QTest::newRow("two projects") << QStringList{u"check"_s, u"a"_s, u"b"_s} << u"check takes PROJECT"_s;
    QTest::newRow("no shell") << QStringList{u"completion"_s} << u"completion takes SHELL\n"_s;
    QTest::newRow("one index") << QStringList{u"diff"_s, u"a"_s} << u"diff takes OLD NEW\n"_s;
    QTest::newRow("format of another command")
        << QStringList{u"diff"_s, u"a"_s, u"b"_s, u"--format"_s, u"sarif"_s} << u"--format is text|json|markdown\n"_s;
    QTest::newRow("no such shell") << QStringList{u"completion"_s, u"sh"_s} << u"SHELL is bash|fish|zsh\n"_s;
    QTest::newRow("no entry") << QStringList{u"restore"_s, u"a"_s} << u"restore takes PROJECT ENTRY"_s;
    QTest::newRow("no URL") << QStringList{u"export"_s, u"a"_s} << u"export needs --url"_s;
    QTest::newRow("URL without one") << QStringList{u"export"_s, u"a"_s, u"--url"_s}
                                     << u"Missing value after '--url'."_s;
    QTest::newRow("no such format") << QStringList{u"check"_s, u"a"_s, u"--format"_s, u"xml"_s}
                                    << u"--format is text|json|github|sarif"_s;
    QTest::newRow("no such severity") << QStringList{u"check"_s, u"a"_s, u"--fail-on"_s, u"notes"_s}
                                      << u"--fail-on is error|warning|note"_s;
    QTest::newRow("no such code") << QStringList{u"check"_s,     u"none"_s,    u"--allow"_s,
                                                 u"path-form"_s, u"--allow"_s, u"Path-Form"_s}
                                  << u"check has no code Path-Form\nTry: catalist-cli check --help"_s;
    QTest::newRow("empty code") << QStringList{u"check"_s, u"a"_s, u"--allow="_s} << u"check has no code \n"_s;
    QTest::newRow("code of the other command")
        << QStringList{u"check"_s, u"a"_s, u"--allow"_s, u"hash-differs"_s} << u"check has no code hash-differs"_s;
    QTest::newRow("no code of verify") << QStringList{u"verify"_s, u"none"_s, u"--index"_s, u"none"_s,
                                                      u"--url"_s,  URL,       u"--allow"_s, u"path-form"_s}
                                       << u"verify has no code path-form\nTry: catalist-cli verify --help"_s;
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
    QCOMPARE(options.size(), 13);
    for (const QString &option : std::as_const(options)) {
        QVERIFY2(manual.contains(option), qPrintable(option));
        QVERIFY2(page.contains(option), qPrintable(option));
    }
    // The manual has no other options.
    for (const QString &option : optionsIn(manual))
        QVERIFY2(options.contains(option), qPrintable(option));

    // The exit codes mean the same in all documents.
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

void TestCli::standardOutputClosed_data()
{
    QTest::addColumn<QString>("command");
    QTest::newRow("--help") << u"--help"_s;
    QTest::newRow("--version") << u"--version"_s;
    QTest::newRow("help of a command") << u"verify --help"_s;
    QTest::newRow("check") << u"check project"_s;
    QTest::newRow("check as JSON") << u"check project --format json"_s;
    QTest::newRow("verify") << u"verify project --index Apps.json --url http://x"_s;
    QTest::newRow("diff") << u"diff Apps.json Apps.json"_s;
    QTest::newRow("export") << u"export project --url http://x --output Other.json"_s;
    QTest::newRow("history") << u"history project"_s;
    QTest::newRow("completion") << u"completion bash"_s;
}

void TestCli::standardOutputClosed()
{
    if (!hasShell())
        QSKIP("No such shell here");
    QFETCH(QString, command);
    makeClock();
    folder->write(u"Apps.json"_s, R"({"applications": []})");
    const Outcome closed = runScript(u"catalist-cli %1 >&-"_s.arg(command), folder->path());
    QCOMPARE(closed.code, 2);
    QCOMPARE(closed.err, "catalist-cli: standard output: Bad file descriptor\n"_ba);
    const Outcome both = runScript(u"catalist-cli %1 >&- 2>&-"_s.arg(command), folder->path());
    QCOMPARE(both.code, 2);
    if (!QFileInfo::exists(u"/dev/full"_s))
        QSKIP("No disk that is always full here");
    const Outcome full = runScript(u"catalist-cli %1 >/dev/full"_s.arg(command), folder->path());
    QCOMPARE(full.code, 2);
    QCOMPARE(full.err, "catalist-cli: standard output: No space left on device\n"_ba);
}

void TestCli::readerThatEndsEarly_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("code");
    QTest::addColumn<QByteArray>("error");
    QTest::newRow("is killed") << QString() << u"141\n"_s << QByteArray();
    QTest::newRow("may not be killed") << u"trap '' PIPE; "_s << u"2\n"_s
                                       << "catalist-cli: standard output: Broken pipe\n"_ba;
}

void TestCli::readerThatEndsEarly()
{
    if (!hasShell())
        QSKIP("No such shell here");
    QFETCH(QString, before);
    QFETCH(QString, code);
    QFETCH(QByteArray, error);
    // More than fits into a pipe.
    makeClock(CLOCK.repeated(5'000));
    const Outcome outcome =
        runScript(before + u"{ catalist-cli check project --all; echo $? >code; } | head -n 1"_s, folder->path());
    QCOMPARE(outcome.out, "Clock, line 3\n"_ba);
    QCOMPARE(outcome.err, error);
    QCOMPARE(QString::fromUtf8(folder->read(u"code"_s)), code);
}

void TestCli::closedStandardOutputIsNoOtherFile()
{
    if (!hasShell())
        QSKIP("No such shell here");
    makeClock();
    QCOMPARE(run({u"export"_s, project(), u"--url"_s, URL, u"--output"_s, folder->path(u"good.json"_s)}).code, 0);
    const Outcome outcome =
        runScript(u"catalist-cli export project --url https://apps.example.org/ --output Apps.json <&- >&- 2>&-"_s,
                  folder->path());
    QCOMPARE(outcome.code, 2);
    QCOMPARE(folder->read(u"Apps.json"_s), folder->read(u"good.json"_s));
}

void TestCli::recipeStopsAtErrors_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("README.md") << u"README.md"_s;
    QTest::newRow("docs/cli.md") << u"docs/cli.md"_s;
}

void TestCli::recipeStopsAtErrors()
{
    if (!hasShell())
        QSKIP("No such shell here");
    QFETCH(QString, path);
    const QString script = recipe(path);
    QVERIFY(script.contains(u"catalist-cli verify"));
    QVERIFY(copyTree(example(), folder->path(u"catalogue"_s)));
    folder->write(u"catalogue/Apps.csv"_s, folder->read(u"catalogue/Apps.csv"_s).replace("main.lua", "Main.lua"));
    const Outcome outcome = runScript(script, folder->path());
    QCOMPARE(outcome.code, 1);
    QVERIFY(outcome.out.contains("path-other-case"));
    QVERIFY(!folder->exists(u"publish"_s));
}

void TestCli::recipeOverwritesNothingElsewhere_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("target");
    QTest::addColumn<int>("code");
    for (const char *path : {"README.md", "docs/cli.md"}) {
        const QString recipe = QString::fromLatin1(path);
        QTest::addRow("%s, file elsewhere", path) << recipe << u"../precious.json"_s << 1;
        QTest::addRow("%s, nothing elsewhere", path) << recipe << u"../none.json"_s << 1;
        // Outside of the copy only.
        QTest::addRow("%s, back into the catalogue", path) << recipe << u"%1/catalogue/.index.json"_s << 2;
        QTest::addRow("%s, inside", path) << recipe << u".index.json"_s << 0;
    }
}

void TestCli::recipeOverwritesNothingElsewhere()
{
    if (!hasShell())
        QSKIP("No such shell here");
    QFETCH(QString, path);
    QFETCH(QString, target);
    QFETCH(int, code);
    QVERIFY(copyTree(example(), folder->path(u"catalogue"_s)));
    folder->write(u"precious.json"_s, "old");
    folder->write(u"catalogue/.index.json"_s, "old");
    folder->link(target.replace(u"%1"_s, folder->path()), u"catalogue/Apps.json"_s);
    const Outcome outcome = runScript(recipe(path), folder->path());
    QVERIFY2(outcome.code == code, (outcome.out + outcome.err).constData());
    QCOMPARE(folder->read(u"precious.json"_s), "old"_ba);
    QCOMPARE(folder->read(u"catalogue/.index.json"_s), "old"_ba);
    QVERIFY(!folder->exists(u"none.json"_s));
}

CATALIST_TEST(TestCli)
#include "tst_cli.moc"
