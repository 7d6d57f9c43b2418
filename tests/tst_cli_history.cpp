#include "clitest.h"
#include "history/history.h"
#include "historyfiles.h"
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

private:
    QString makeReplacedClock();
};

/// The project, whose catalogue was replaced by an empty one; returns the path of the catalogue.
QString TestCliHistory::makeReplacedClock()
{
    makeClock();
    const QString path = project() + u"/Apps.csv"_s;
    if (!History::saveFile(path, HEADER))
        qFatal("Cannot save %s", qPrintable(path));
    return path;
}

void TestCliHistory::history()
{
    makeClock();
    const Outcome nothing = run({u"history"_s, project()});
    QCOMPARE(nothing.code, 0);
    QCOMPARE(QString::fromUtf8(nothing.out), u"The history holds nothing of %1/Apps.csv.\n"_s.arg(project()));

    QVERIFY(History::saveFile(project() + u"/Apps.csv"_s, HEADER));
    awaitNextMoment();
    History::keepUnsaved(project() + u"/doc/de.html"_s, "never saved");
    awaitNextMoment();
    QVERIFY(History::saveFile(project() + u"/en.html"_s, ""));
    for (const QString &other : {u"project2/Apps.csv"_s, u"project/Other.csv"_s, u"project/sub/Apps.csv"_s}) {
        folder->write(other, "another catalogue");
        QVERIFY(History::saveFile(folder->path(other), HEADER));
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
    // The name of the entry has the same time.
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
    QVERIFY(History::saveFile(project() + u"/de.html"_s, "new"));
    QVERIFY(run({u"history"_s, project()}).out.contains("elsewhere.html"));

    QVERIFY(History::saveFile(project() + u"/Apps.csv"_s, "broken"));
    const Outcome broken = run({u"history"_s, project()});
    QCOMPARE(broken.code, 0);
    QCOMPARE(broken.out.count("replaced-Apps.csv"), 1);
    QVERIFY2(broken.err.contains("Apps.csv:1: The line has 1 of at least 7 cells"), broken.err.constData());

    QVERIFY(QDir(project()).removeRecursively());
    QCOMPARE(run({u"history"_s, project() + u"/Apps.csv"_s}).out, broken.out);
    QCOMPARE(run({u"history"_s, project()}).out, broken.out);
}

void TestCliHistory::historyOfNothing()
{
    const Outcome outcome = run({u"history"_s, u"nowhere"_s}, folder->path());
    QCOMPARE(outcome.code, 2);
    QCOMPARE(outcome.out, QByteArray());
    QCOMPARE(outcome.err, "catalist-cli: nowhere: No such file or directory\n"_ba);
}

void TestCliHistory::historyThroughALink()
{
    makeClock();
    folder->makeFolder(u"deep/er"_s);
    folder->link(project(), u"deep/er/alias"_s);
    for (const QString &name : {u"Apps.csv"_s, u"en.html"_s, u"icon.png"_s})
        QVERIFY(History::saveFile(folder->path(u"deep/er/alias/"_s + name), HEADER + CLOCK + "\n"));
    QVERIFY(History::saveFile(project() + u"/Apps.csv"_s, HEADER + CLOCK));
    const Outcome direct = run({u"history"_s, u"project"_s}, folder->path());
    QCOMPARE(direct.out.count('\n'), 4);
    QVERIFY2(!direct.out.contains(".."), direct.out.constData());
    QCOMPARE(run({u"history"_s, u"deep/er/alias"_s}, folder->path()).out, direct.out);
}

void TestCliHistory::historyOfAWrongClock()
{
    makeClock();
    const QString page = project() + u"/en.html"_s;
    QVERIFY(History::saveFile(page, "new"));
    const QString path = History::versions(page).constFirst().path;
    QVERIFY(QFile::rename(path, QFileInfo(path).path() + u"/20990101-000000-000-00-replaced-en.html"_s));
    QVERIFY(History::saveFile(project() + u"/Apps.csv"_s, HEADER));
    const QByteArrayList lines = run({u"history"_s, project()}).out.split('\n');
    QCOMPARE(lines.size(), 3);
    QVERIFY2(lines.at(0).endsWith("Apps.csv") && lines.at(1).startsWith("2099-01-01T"), lines.at(0).constData());
}

void TestCliHistory::restores()
{
    const QString path = makeReplacedClock();
    const QString entry = QFileInfo(History::versions(path).constFirst().path).fileName();
    awaitNextMoment();
    const Outcome outcome = run({u"restore"_s, project(), entry});
    QCOMPARE(outcome.err, QByteArray());
    QCOMPARE(outcome.code, 0);
    QCOMPARE(QString::fromUtf8(outcome.out), u"%1 bytes: %2\n"_s.arg((HEADER + CLOCK).size()).arg(path));
    QCOMPARE(folder->read(u"project/Apps.csv"_s), HEADER + CLOCK);
    // The replaced file is kept.
    QCOMPARE(History::versions(path).size(), 2);
    QCOMPARE(readFile(History::versions(path).constFirst().path), HEADER);

    QFile::remove(path);
    QCOMPARE(run({u"restore"_s, path, History::versions(path).constLast().path}).code, 0);
    QCOMPARE(folder->read(u"project/Apps.csv"_s), HEADER + CLOCK);
}

void TestCliHistory::restoresOnlyOverWhatIsKept()
{
    for (const QString &name : {u"data"_s, u"project"_s}) {
        folder->makeFolder(name);
        QVERIFY(QFile::setPermissions(folder->path(name), QFile::Permissions(0x7777)));
    }
    const DataHome dataHome(folder->path(u"data"_s));
    const OrdinaryUser user;
    if (!QFileInfo(cliPath()).isExecutable())
        QSKIP("The build is not open to an ordinary user");
    const QString path = makeReplacedClock();
    const QFileInfo entry(History::versions(path).constFirst().path);
    QVERIFY(QFile::setPermissions(entry.path(), QFile::Permissions(0x5555)));
    awaitNextMoment();
    const Outcome outcome = run({u"restore"_s, project(), entry.fileName()}, u"/"_s);
    QCOMPARE(outcome.code, 2);
    QCOMPARE(outcome.out, QByteArray());
    const QString refused = u"catalist-cli: %1: Not replaced, as what it holds cannot be kept in the history (%2/"_s;
    QVERIFY2(outcome.err.startsWith(refused.arg(path, entry.path()).toUtf8()), outcome.err.constData());
    QVERIFY2(outcome.err.endsWith("-replaced-Apps.csv: Permission denied)\n"), outcome.err.constData());
    QCOMPARE(folder->read(u"project/Apps.csv"_s), HEADER);

    QVERIFY(QFile::setPermissions(entry.path(), QFile::Permissions(0x7777)));
    QCOMPARE(run({u"restore"_s, project(), entry.fileName()}, u"/"_s).code, 0);
    QCOMPARE(folder->read(u"project/Apps.csv"_s), HEADER + CLOCK);
    QCOMPARE(History::versions(path).size(), 2);
}

void TestCliHistory::restoreRemovesNothing()
{
    const QString path = makeReplacedClock();
    const QString old = u"20200101-120000-000-00-replaced-Apps.csv"_s;
    const QString kept = History::versions(path).constFirst().path;
    QVERIFY(QFile::rename(kept, QFileInfo(kept).path() + u'/' + old));
    QCOMPARE(run({u"restore"_s, project(), old}).code, 0);
    QCOMPARE(folder->read(u"project/Apps.csv"_s), HEADER + CLOCK);
    QCOMPARE(History::versions(path).size(), 2);
    QCOMPARE(QFileInfo(History::versions(path).constLast().path).fileName(), old);
}

void TestCliHistory::restoresElsewhere()
{
    makeClock();
    const QString path = project() + u"/en.html"_s;
    QVERIFY(History::saveFile(path, "new \xe9"));
    awaitNextMoment();
    QVERIFY(History::saveFile(path, "newer"));
    folder->write(u"look.html"_s, "in the way");
    const QString entry = QFileInfo(History::versions(path).constFirst().path).fileName();
    QCOMPARE(run({u"restore"_s, u"project"_s, entry, u"--output"_s, u"look.html"_s}, folder->path()).code, 0);
    QCOMPARE(folder->read(u"look.html"_s), "new \xe9"_ba);
    QCOMPARE(folder->read(u"project/en.html"_s), "newer"_ba);
    QCOMPARE(readFile(History::versions(folder->path(u"look.html"_s)).constFirst().path), "in the way"_ba);
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
    const QString path = makeReplacedClock();
    const QString known = QFileInfo(History::versions(path).constFirst().path).fileName();
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
    QVERIFY(History::saveFile(project() + u"/en.html"_s, ""));
    QVERIFY(History::saveFile(project() + u"/de/en.html"_s, ""));
    const History::Version first = History::versions(project() + u"/en.html"_s).constFirst();
    const History::Version second = History::versions(project() + u"/de/en.html"_s).constFirst();
    const QString name = QFileInfo(first.path).fileName();
    const QString path = QFileInfo(second.path).path() + u'/' + name;
    QVERIFY(second.path == path || QFile::rename(second.path, path));

    const Outcome both = run({u"restore"_s, project(), name});
    QCOMPARE(both.code, 2);
    QVERIFY2(both.err.contains(first.path.toUtf8()) && both.err.contains(path.toUtf8()), both.err.constData());
    QCOMPARE(run({u"restore"_s, project(), path}).code, 0);
    QCOMPARE(folder->read(u"project/de/en.html"_s), "German"_ba);
    QCOMPARE(folder->read(u"project/en.html"_s), ""_ba);
}

CATALIST_TEST(TestCliHistory)
#include "tst_cli_history.moc"
