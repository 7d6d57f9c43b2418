#include "clitest.h"
#include "lengths.h"
#include "testrunner.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

class TestCliCheck : public CliTest
{
    Q_OBJECT

private slots:
    void checks_data();
    void checks();
    void checkAsJson();
    void checkAsText();
    void namesForgeNoLines();
    void verifies();
    void thousandsOfApps();
};

void TestCliCheck::checks_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("strictCode");
    QByteArray note = CLOCK;
    QByteArray warning = CLOCK;
    QByteArray future = CLOCK;
    QByteArray error = CLOCK;
    QTest::newRow("clean") << CLOCK << 0 << 0;
    QTest::newRow("note") << note.replace("05-03-2024", "2024-03-05") << 0 << 0;
    QTest::newRow("warning") << warning.replace("05-03-2024", "") << 0 << 1;
    QTest::newRow("date in the future") << future.replace("2024", "9999") << 0 << 1;
    QTest::newRow("error") << error.replace("05-03-2024", "never") << 1 << 1;
    QTest::newRow("does not open") << "\n"_ba + CLOCK << 1 << 1;
}

void TestCliCheck::checks()
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

void TestCliCheck::checkAsJson()
{
    QByteArray line = CLOCK;
    line.replace("05-03-2024", "").replace("icon.png", "Icon.png");
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
            "text": "The app has no publication date: add one."
        },
        {
            "actual": "Icon.png",
            "app": "Clock",
            "code": "path-other-case",
            "expected": "icon.png",
            "file": "Icon.png",
            "line": 2,
            "severity": "error",
            "text": "\"Icon.png\" is called \"icon.png\" on the disk: write it so."
        },
        {
            "app": "",
            "code": "file-unlisted",
            "file": "ž",
            "line": 0,
            "severity": "note",
            "text": "\"ž\" belongs to no app: list it if it should be published."
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
             real.value("findings"_L1).toArray().at(1).toObject().keys());
}

void TestCliCheck::checkAsText()
{
    QByteArray line = CLOCK;
    line.replace("674", "674,5").replace("05-03-2024", "");
    makeClock(line + "\n");
    const Outcome outcome = run({u"check"_s, project()});
    const QByteArray expected = R"(Clock, line 2
  warning date-missing           The app has no publication date: add one.
  error   hardware-unknown       No known transmitter has the id 5: correct it.

(no name), line 3
  error   row-too-short          The line has 1 of at least 7 cells, and the catalogue does not open with it: complete it or remove it.

2 errors, 1 warning, 0 notes
)";
    QCOMPARE(outcome.out, expected);
}

void TestCliCheck::namesForgeNoLines()
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
    QCOMPARE(failed.err, "catalist-cli: no\\u000asuch/Apps.csv: No such file or directory\n"_ba);
}

void TestCliCheck::verifies()
{
    makeClock();
    const QStringList arguments{u"verify"_s, project(),     u"--index"_s, folder->path(u"Apps.json"_s),
                                u"--url"_s,  URL.chopped(1)};
    QCOMPARE(run({u"export"_s, project(), u"--url"_s, URL, u"--output"_s, folder->path(u"Apps.json"_s)}).code, 0);
    const Outcome clean = run(arguments);
    QCOMPARE(clean.code, 0);
    QCOMPARE(clean.out, "1 app, 1 file: no findings\n"_ba);

    folder->write(u"project/new"_s, "");
    const QByteArray expected = R"(As a whole
  warning file-unnamed           The index does not name "new": remove it, or publish the index again.

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

void TestCliCheck::thousandsOfApps()
{
    const int count = lengthOf(2000, 20'000);
    const QString first = u"App"_s + QString::number(count / 2);
    const QString second = u"App"_s + QString::number(count - 1);
    makeClock({});
    QByteArray content = HEADER;
    for (int i = 0; i < count; ++i) {
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
    const QByteArray number = QByteArray::number(count);
    const QByteArray nothing = number + " apps, " + number + " files: no findings\n";
    QCOMPARE(checked.out, nothing);
    QCOMPARE(checked.code, 0);
    const Outcome exported = run({u"export"_s, project(), u"--url"_s, URL, u"--output"_s, index});
    QCOMPARE(exported.code, 0);
    QVERIFY2(exported.out.startsWith(number + " apps, " + number + " files, "), exported.out.constData());
    QCOMPARE(run({u"verify"_s, project(), u"--index"_s, index, u"--url"_s, URL}).out, nothing);

    folder->write(u"project/apps/%1/main.lua"_s.arg(second), QByteArray(second.size(), 'x'));
    QVERIFY(QFile::rename(project() + u"/apps/"_s + first, project() + u"/apps/"_s + first.toLower()));
    const Outcome broken = run({u"verify"_s, project(), u"--index"_s, index, u"--url"_s, URL});
    QCOMPARE(broken.code, 1);
    QVERIFY2(broken.out.contains(u"\"apps/%1/main.lua\""_s.arg(second).toUtf8())
                 && broken.out.contains(u"\"apps/%1/main.lua\""_s.arg(first.toLower()).toUtf8()),
             broken.out.constData());
    const Outcome found = run({u"check"_s, project()});
    QCOMPARE(found.code, 1);
    QVERIFY2(found.out.contains(u"%1, line %2\n"_s.arg(first).arg(count / 2 + 2).toUtf8()), found.out.constData());
}

CATALIST_TEST(TestCliCheck)
#include "tst_cli_check.moc"
