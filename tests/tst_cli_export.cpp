#include "clitest.h"
#include "testrunner.h"

#include <QFile>
#include <QFileInfo>
#include <QLineEdit>
#include <QProcess>

#include <array>

#ifdef Q_OS_UNIX
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>
#endif

using namespace Qt::StringLiterals;

class TestCliExport : public CliTest
{
    Q_OBJECT

private slots:
    void exportsWhatTheWindowExports_data();
    void exportsWhatTheWindowExports();
    void exportsToTheCurrentFolder();
    void exportThatFails_data();
    void exportThatFails();
    void exportIntoAClosedFolder();
    void exportOntoASource_data();
    void exportOntoASource();
    void exportOutThroughALink_data();
    void exportOutThroughALink();
    void exportThatWouldPublishItself_data();
    void exportThatWouldPublishItself();
    void exportIsNeverHalfThere();
    void exportKeepsTheRights();
    void exportToStandardOutput();
    void exportReplacesTheFile_data();
    void exportReplacesTheFile();
    void exportToAPipe();
    void exportWithoutAllFiles();
    void progressOnATerminal();
};

void TestCliExport::exportsWhatTheWindowExports_data()
{
    QTest::addColumn<bool>("isExample");
    QTest::addColumn<QByteArray>("files");
    QTest::addColumn<QString>("url");
    QTest::newRow("example") << true << QByteArray() << URL;
    QTest::newRow("URL without a slash") << true << QByteArray() << u"https://apps.example.org/a b/č"_s;
    QTest::newRow("odd catalogue") << false << "missing,/Clock, Clock,Clock/main.lua"_ba << u"http://x"_s;
    QTest::newRow("the whole project") << false << "Clock,"_ba << u"http://x"_s;
}

void TestCliExport::exportsWhatTheWindowExports()
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
    clickPublish(folder->path(u"window.json"_s));
    const QByteArray expected = folder->read(u"window.json"_s);
    QVERIFY(expected.size() > 100);
    QCOMPARE(run(arguments).code, code);
    QCOMPARE(folder->read(u"cli.json"_s), expected);
    // The window saves Apps.csv before it publishes, and Apps.csv is a file of the whole project.
    if (!files.endsWith(','))
        QCOMPARE(ofLoaded, expected);
}

void TestCliExport::exportsToTheCurrentFolder()
{
    makeClock();
    const Outcome outcome = run({u"export"_s, u"../project/Apps.csv"_s, u"--url"_s, URL}, folder->path(u"project"_s));
    QCOMPARE(outcome.code, 0);
    QCOMPARE(outcome.out, "1 app, 1 file, 3 bytes: Apps.json\n"_ba);
    QCOMPARE(outcome.err, QByteArray());
    QVERIFY(folder->read(u"project/Apps.json"_s).contains("https://apps.example.org/Clock/main.lua"));
}

void TestCliExport::exportThatFails_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("error");
    const QString place = u"%1"_s;
    QTest::newRow("full disk") << CLOCK << u"/dev/full"_s << u"/dev/full: No space left on device"_s;
    QTest::newRow("folder") << CLOCK << place << u"%1: Is a directory"_s;
    QTest::newRow("no folder") << CLOCK << u"%1/none/Apps.json"_s << u"%1/none/Apps.json: No such file or directory"_s;
    QTest::newRow("short line") << CLOCK + "\n"
                                << u"%1/Apps.json"_s << u"%1/project/Apps.csv:3: The line has 1 of at least 7 cells"_s;
    QTest::newRow("not JSON") << CLOCK + CLOCK + "{\"en\":\"A;B\"};;;;;;;;\n"
                              << u"%1/Apps.json"_s
                              << u"%1/project/Apps.csv:4: NAME is not JSON: unterminated string at byte 10"_s;
}

void TestCliExport::exportThatFails()
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

void TestCliExport::exportIntoAClosedFolder()
{
    makeClock();
    folder->makeFolder(u"closed"_s);
    folder->write(u"closed/old.json"_s, "old");
    folder->write(u"closed/open.json"_s, "old");
    QVERIFY(QFile::setPermissions(folder->path(u"closed/old.json"_s), QFile::Permissions(0x4444)));
    QVERIFY(QFile::setPermissions(folder->path(u"closed/open.json"_s), QFile::Permissions(0x6666)));
    QVERIFY(QFile::setPermissions(folder->path(u"closed"_s), QFile::Permissions(0x5555)));
    const OrdinaryUser user;
    if (!QFileInfo(cliPath()).isExecutable())
        QSKIP("The build is not open to an ordinary user");
    for (const QString &name : {u"old.json"_s, u"open.json"_s, u"new.json"_s}) {
        const QString output = folder->path(u"closed/"_s + name);
        const Outcome outcome = run({u"export"_s, project(), u"--url"_s, URL, u"--output"_s, output}, u"/"_s);
        QCOMPARE(outcome.code, 2);
        QCOMPARE(QString::fromUtf8(outcome.err), u"catalist-cli: %1: Permission denied\n"_s.arg(output));
    }
    QCOMPARE(folder->read(u"closed/old.json"_s), "old"_ba);
    QCOMPARE(folder->read(u"closed/open.json"_s), "old"_ba);
}

void TestCliExport::exportOntoASource_data()
{
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("error");
    QTest::newRow("catalogue") << u"project/Apps.csv"_s << u"Is the catalogue itself"_s;
    QTest::newRow("link to the catalogue") << u"alias.csv"_s << u"Is the catalogue itself"_s;
    QTest::newRow("listed file") << u"project/Clock/main.lua"_s << u"Is a file of the catalogue"_s;
    QTest::newRow("icon") << u"project/icon.png"_s << u"Is a file of the catalogue"_s;
    QTest::newRow("description") << u"project/sub/../en.html"_s << u"Is a file of the catalogue"_s;
    QTest::newRow("what the icon leads to") << u"project/art.png"_s << u"Is a file of the catalogue"_s;
    QTest::newRow("through a link") << u"project/Clock/lib/a.lua"_s << u"Is a file of the catalogue"_s;
    QTest::newRow("behind a link") << u"project/src/a.lua"_s << u"Is a file of the catalogue"_s;
}

void TestCliExport::exportOntoASource()
{
    QFETCH(QString, output);
    QFETCH(QString, error);
    makeClock();
    folder->makeFolder(u"project/sub"_s);
    folder->link(project() + u"/Apps.csv"_s, u"alias.csv"_s);
    QVERIFY(QFile::rename(folder->path(u"project/icon.png"_s), folder->path(u"project/art.png"_s)));
    folder->link(u"art.png"_s, u"project/icon.png"_s);
    folder->write(u"project/src/a.lua"_s, "abc");
    folder->link(u"../src"_s, u"project/Clock/lib"_s);
    const QByteArray before = folder->read(output);
    QVERIFY(!before.isEmpty());
    const Outcome outcome = run({u"export"_s, u"project"_s, u"--url"_s, URL, u"--output"_s, output}, folder->path());
    QCOMPARE(outcome.code, 2);
    QCOMPARE(outcome.out, QByteArray());
    QCOMPARE(QString::fromUtf8(outcome.err), u"catalist-cli: %1: %2\n"_s.arg(output, error));
    QCOMPARE(folder->read(output), before);
}

void TestCliExport::exportOutThroughALink_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("place");
    QTest::addColumn<QString>("output");
    const QString index = u"out/index.json"_s;
    QTest::newRow("file") << u"../precious"_s << u"precious"_s << index;
    QTest::newRow("file, absolute") << u"%1/precious"_s << u"precious"_s << index;
    QTest::newRow("nothing") << u"../none"_s << u"none"_s << index;
    QTest::newRow("folder beside whose name begins alike") << u"../out2/none"_s << u"out2/none"_s << index;
    QTest::newRow("through another link") << u"link"_s << u"precious"_s << index;
    QTest::newRow("through a folder") << u"elsewhere/none"_s << u"out2/none"_s << index;
    QTest::newRow("through the folder above") << u"elsewhere/../precious"_s << u"precious"_s << index;
    QTest::newRow("link with another folder on its way")
        << u"../precious"_s << u"precious"_s << u"out/elsewhere/../out/index.json"_s;
}

void TestCliExport::exportOutThroughALink()
{
    QFETCH(QString, target);
    QFETCH(QString, place);
    QFETCH(QString, output);
    makeClock();
    folder->write(u"precious"_s, "old");
    folder->makeFolder(u"out"_s);
    folder->makeFolder(u"out2"_s);
    folder->link(u"../precious"_s, u"out/link"_s);
    folder->link(u"../out2"_s, u"out/elsewhere"_s);
    folder->link(target.replace(u"%1"_s, folder->path()), u"out/index.json"_s);
    const QStringList entries = folder->entries();
    const Outcome outcome = run({u"export"_s, u"project"_s, u"--url"_s, URL, u"--output"_s, output}, folder->path());
    const QString path = place.startsWith(u'/') ? place : folder->path(place);
    QCOMPARE(QString::fromUtf8(outcome.err),
             u"catalist-cli: %1: Is a link that leads out of its folder, to %2\n"_s.arg(output, path));
    QCOMPARE(outcome.code, 2);
    QCOMPARE(outcome.out, QByteArray());
    QCOMPARE(folder->read(u"precious"_s), "old"_ba);
    QCOMPARE(folder->entries(), entries);
    QVERIFY(!folder->exists(u"out2/none"_s));
}

void TestCliExport::exportReplacesTheFile_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("written");
    QTest::newRow("file beside it") << u"old.json"_s << u"out/index.json"_s << u"out/old.json"_s;
    QTest::newRow("file below") << u"sub/old.json"_s << u"out/index.json"_s << u"out/sub/old.json"_s;
    QTest::newRow("nothing yet") << u"%1/out/new.json"_s << u"out/index.json"_s << u"out/new.json"_s;
    QTest::newRow("out and in again") << u"../out/old.json"_s << u"out/index.json"_s << u"out/old.json"_s;
    QTest::newRow("in the folder of a link") << u"old.json"_s << u"alias/index.json"_s << u"out/old.json"_s;
    QTest::newRow("former index") << u"old.json"_s << u"project/Apps.json"_s << u"project/Apps.json"_s;
    QTest::newRow("name begins like that of a listed folder")
        << u"old.json"_s << u"project/Clock-index.json"_s << u"project/Clock-index.json"_s;
    QTest::newRow("hidden file in a listed folder")
        << u"old.json"_s << u"project/Clock/.index.json"_s << u"project/Clock/.index.json"_s;
    QTest::newRow("only the folder is a link") << u"old.json"_s << u"alias/sub/old.json"_s << u"out/sub/old.json"_s;
}

void TestCliExport::exportToAPipe()
{
#ifdef Q_OS_LINUX
    makeClock();
    const Outcome outcome = run({u"export"_s, project(), u"--url"_s, URL, u"--output"_s, u"/dev/stdout"_s});
    QCOMPARE(outcome.code, 0);
    QVERIFY(outcome.out.startsWith("{\n    \"applications\": [\n"));
#else
    QSKIP("There is no such device on this system");
#endif
}

void TestCliExport::exportThatWouldPublishItself_data()
{
    QTest::addColumn<QByteArray>("files");
    QTest::addColumn<QString>("output");
    QTest::addColumn<bool>("isRefused");
    QTest::newRow("whole project") << "Clock,"_ba << u"project/Apps.json"_s << true;
    QTest::newRow("listed folder") << "Clock"_ba << u"project/Clock/index.json"_s << true;
    QTest::newRow("below a listed folder") << "Clock"_ba << u"project/Clock/lib/index.json"_s << true;
    QTest::newRow("listed by itself") << "Clock,new.json"_ba << u"project/new.json"_s << true;
    QTest::newRow("behind a listed link") << "Clock,alias.json"_ba << u"out/index.json"_s << true;
    QTest::newRow("behind a link in a listed folder") << "Clock"_ba << u"out/linked.json"_s << true;
    QTest::newRow("in a folder behind a link") << "Clock"_ba << u"out2/index.json"_s << true;
    QTest::newRow("beside a listed folder") << "Clock"_ba << u"project/index.json"_s << false;
    QTest::newRow("hidden") << "Clock"_ba << u"project/Clock/.index.json"_s << false;
    QTest::newRow("in a hidden folder") << "Clock,"_ba << u"project/.out/index.json"_s << false;
    QTest::newRow("beside a listed link") << "Clock,alias.json"_ba << u"out/other.json"_s << false;
}

void TestCliExport::exportThatWouldPublishItself()
{
    QFETCH(QByteArray, files);
    QFETCH(QString, output);
    QFETCH(bool, isRefused);
    QByteArray line = CLOCK;
    makeClock(line.replace(";Clock;", ';' + files + ';'));
    for (const QString &place : {u"project/Clock/lib"_s, u"project/.out"_s, u"out"_s, u"out2"_s})
        folder->makeFolder(place);
    folder->link(u"../out/index.json"_s, u"project/alias.json"_s);
    folder->link(u"../../out/linked.json"_s, u"project/Clock/link.json"_s);
    folder->link(u"../../out2"_s, u"project/Clock/folder"_s);
    const QStringList arguments{u"export"_s, project(), u"--url"_s, URL, u"--output"_s, folder->path(output)};
    const Outcome first = run(arguments);
    QCOMPARE(first.code == 2, isRefused);
    QCOMPARE(folder->exists(output), !isRefused);
    // In the second export the index is there.
    folder->write(output, "old");
    const Outcome second = run(arguments);
    QCOMPARE(second.code == 2, isRefused);
    QCOMPARE(folder->read(output) == "old", isRefused);
    const QString error = u"catalist-cli: %1: Is listed, so that the index would publish itself\n"_s;
    QVERIFY2(!isRefused || QString::fromUtf8(first.err) == error.arg(folder->path(output)), first.err.constData());
}

void TestCliExport::exportIsNeverHalfThere()
{
    makeClock();
    const QString output = folder->path(u"Apps.json"_s);
    const QStringList arguments{u"export"_s, project(), u"--url"_s, URL, u"--output"_s, output};
    QCOMPARE(run(arguments).code, 0);
    const QByteArray expected = folder->read(u"Apps.json"_s);

    // Whoever has it open goes on reading the old one.
    folder->write(u"Apps.json"_s, "old");
    QFile reader(output);
    QVERIFY(reader.open(QIODevice::ReadOnly));
    QCOMPARE(run(arguments).code, 0);
    QCOMPARE(reader.readAll(), "old"_ba);
    QCOMPARE(folder->read(u"Apps.json"_s), expected);

    for (const QString &jobs : {u"1"_s, u"2"_s, u"1000"_s}) {
        QCOMPARE(run(arguments + QStringList{u"--jobs"_s, jobs}).code, 0);
        QCOMPARE(folder->read(u"Apps.json"_s), expected);
    }

    if (!hasShell())
        QSKIP("No shell here");
    // Where it cannot be staged, it is not written at all.
    const QString longName = QString(250, u'x');
    folder->write(longName, "old");
    QCOMPARE(run({u"export"_s, project(), u"--url"_s, URL, u"--output"_s, folder->path(longName)}).code, 2);
    QCOMPARE(folder->read(longName), "old"_ba);

    folder->write(u"Apps.json"_s, "old");
    const QStringList entries = folder->entries();
    const Outcome full =
        runScript(u"trap '' XFSZ; ulimit -f 1; catalist-cli export project --url https://x/%1 --output Apps.json"_s.arg(
                      QString(2000, u'a')),
                  folder->path());
    QCOMPARE(full.code, 2);
    QCOMPARE(full.err, "catalist-cli: Apps.json: File too large\n"_ba);
    QCOMPARE(folder->read(u"Apps.json"_s), "old"_ba);
    QCOMPARE(folder->entries(), entries);
}

void TestCliExport::exportKeepsTheRights()
{
    if (!hasShell())
        QSKIP("No shell here");
    makeClock();
    const QString script = u"umask 027; catalist-cli export project --url https://apps.example.org/ && "
                           "stat --format=%a Apps.json"_s;
    const QByteArray summary = "1 app, 1 file, 3 bytes: Apps.json\n";
    QCOMPARE(runScript(script, folder->path()).out, summary + "640\n");
    QVERIFY(QFile::setPermissions(folder->path(u"Apps.json"_s), QFile::Permissions(0x6604)));
    QCOMPARE(runScript(script, folder->path()).out, summary + "604\n");
}

void TestCliExport::exportToStandardOutput()
{
    makeClock();
    QCOMPARE(run({u"export"_s, project(), u"--url"_s, URL, u"--output"_s, folder->path(u"Apps.json"_s)}).code, 0);
    const QStringList entries = folder->entries();
    const Outcome outcome = run({u"export"_s, project(), u"--url"_s, URL, u"--output"_s, u"-"_s}, folder->path());
    QCOMPARE(outcome.code, 0);
    QCOMPARE(outcome.err, QByteArray());
    QCOMPARE(outcome.out, folder->read(u"Apps.json"_s));
    QCOMPARE(folder->entries(), entries);
    if (!hasShell())
        QSKIP("No shell here");
    const Outcome closed =
        runScript(u"catalist-cli export project --url https://apps.example.org/ --output - >&-"_s, folder->path());
    QCOMPARE(closed.code, 2);
    QCOMPARE(closed.err, "catalist-cli: standard output: Bad file descriptor\n"_ba);
    const Outcome piped = runScript(u"mkfifo pipe; cat pipe & catalist-cli export project --url "
                                    "https://apps.example.org/ --output pipe >summary; wait"_s,
                                    folder->path());
    QCOMPARE(piped.out, outcome.out);
}

void TestCliExport::exportReplacesTheFile()
{
    QFETCH(QString, target);
    QFETCH(QString, output);
    QFETCH(QString, written);
    makeClock();
    for (const QString &old : {u"out/old.json"_s, u"out/sub/old.json"_s, u"project/Apps.json"_s,
                               u"project/Clock-index.json"_s, u"project/Clock/.index.json"_s})
        folder->write(old, "old");
    folder->link(folder->path(u"out"_s), u"alias"_s);
    folder->link(target.replace(u"%1"_s, folder->path()), u"out/index.json"_s);
    const Outcome outcome = run({u"export"_s, u"project"_s, u"--url"_s, URL, u"--output"_s, output}, folder->path());
    QCOMPARE(outcome.err, QByteArray());
    QCOMPARE(outcome.code, 0);
    QVERIFY(folder->read(written).startsWith("{\n    \"applications\": ["));
    QVERIFY(QFileInfo(folder->path(u"out/index.json"_s)).isSymLink());
}

void TestCliExport::exportWithoutAllFiles()
{
    QByteArray line = CLOCK;
    makeClock(line.replace(";Clock;", ";Clock,gone;"));
    folder->write(u"project/Clock/closed.lua"_s, "abc");
    QVERIFY(QFile::setPermissions(folder->path(u"project/Clock/closed.lua"_s), {}));
    folder->makeFolder(u"out"_s);
    QVERIFY(QFile::setPermissions(folder->path(u"out"_s), QFile::Permissions(0x7777)));
    const OrdinaryUser user;
    if (!QFileInfo(cliPath()).isExecutable())
        QSKIP("The build is not open to an ordinary user");
    const Outcome outcome = run({u"export"_s, project(), u"--url"_s, URL}, folder->path(u"out"_s));
    QCOMPARE(outcome.code, 1);
    QCOMPARE(QString::fromUtf8(outcome.err),
             u"catalist-cli: %1/gone: No such file or directory; it is left out\n"
             "catalist-cli: %1/Clock/closed.lua: Permission denied; its hash is empty\n"_s.arg(project()));
    QCOMPARE(outcome.out, "1 app, 2 files, 6 bytes: Apps.json\n"_ba);
    QVERIFY(folder->read(u"out/Apps.json"_s).contains("\"hash\": \"\""));
}

void TestCliExport::progressOnATerminal()
{
#ifdef Q_OS_UNIX
    QVERIFY(copyTree(example(), project()));
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
    if (terminal < 0 || ::grantpt(terminal) != 0 || ::unlockpt(terminal) != 0)
        QSKIP("No terminals here");
    QProcess process;
    process.setProcessEnvironment(withoutDisplay());
    process.setStandardErrorFile(QString::fromLocal8Bit(::ptsname(terminal)));
    process.start(cliPath(), {u"export"_s, project(), u"--url"_s, URL, u"--output"_s, folder->path(u"Apps.json"_s)});
    const Outcome outcome = finish(process);
    QByteArray shown;
    std::array<char, 1000> part{};
    // Reading fails when the other side of the terminal is closed.
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

CATALIST_TEST(TestCliExport)
#include "tst_cli_export.moc"
