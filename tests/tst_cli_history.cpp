#include "clitest.h"
#include "historyfiles.h"
#include "io/history.h"
#include "io/replacefile.h"
#include "testrunner.h"

#include <QByteArrayList>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

class TestCliHistory : public CliTest
{
    Q_OBJECT

private slots:
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
};

void TestCliHistory::history()
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

void TestCliHistory::historyOfABrokenCatalogue()
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

void TestCliHistory::historyOfNothing()
{
    const Outcome outcome = run({u"history"_s, u"nowhere"_s}, folder->path());
    QCOMPARE(outcome.code, 2);
    QCOMPARE(outcome.out, QByteArray());
    QCOMPARE(outcome.err, QByteArray("catalist-cli: nowhere: No such file or directory\n"));
}

void TestCliHistory::historyThroughALink()
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

void TestCliHistory::historyOfAWrongClock()
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

void TestCliHistory::restores()
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
    QCOMPARE(readFile(keptVersions(path).constFirst().path), HEADER);

    QFile::remove(path);
    QCOMPARE(run({u"restore"_s, path, keptVersions(path).constLast().path}).code, 0);
    QCOMPARE(folder->read(u"project/Apps.csv"_s), HEADER + CLOCK);
}

void TestCliHistory::restoresOnlyOverWhatIsKept()
{
    for (const QString &name : {u"data"_s, u"project"_s}) {
        folder->makeFolder(name);
        QVERIFY(QFile::setPermissions(folder->path(name), QFile::Permissions(0x7777)));
    }
    const QByteArray data = qgetenv("XDG_DATA_HOME");
    const auto restoreData = qScopeGuard([&data] { qputenv("XDG_DATA_HOME", data); });
    qputenv("XDG_DATA_HOME", QFile::encodeName(folder->path(u"data"_s)));
    const OrdinaryUser user;
    if (!QFileInfo(cliPath()).isExecutable())
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

void TestCliHistory::restoreRemovesNothing()
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

void TestCliHistory::restoresElsewhere()
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
    QCOMPARE(readFile(keptVersions(folder->path(u"look.html"_s)).constFirst().path), QByteArray("in the way"));
}

void TestCliHistory::restoresNothing_data()
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

void TestCliHistory::restoresNothing()
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

void TestCliHistory::entriesOfTheSameName()
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

CATALIST_TEST(TestCliHistory)
#include "tst_cli_history.moc"
