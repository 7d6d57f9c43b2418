#include "history/history.h"
#include "testrunner.h"
#include "windowtest.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QPlainTextEdit>
#include <QTableWidget>

using namespace Qt::StringLiterals;

namespace {

const QByteArray PROJECT =
    HEADER + "{\"en\":\"First\"};A;1.0;674;05-03-2024;{\"de\":\"de.html\",\"en\":\"en.html\"};a.txt;;5.03\n";
const QString DESCRIPTION_ERROR = u"Error loading <b>%1</b>"_s;

QList<QByteArray> historyContents()
{
    QList<QByteArray> contents;
    QDirIterator files(History::historyFolder(), QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext())
        contents.append(readFile(files.next()));
    return contents;
}

} // namespace

/// Other programs change the files of an open project.
class TestMovingGround : public WindowTest
{
    Q_OBJECT

private slots:
    void init() override;
    void projectFolderIsRemoved();
    void projectFolderIsRenamed();
    void projectFolderIsReplaced();
    void projectFolderBecomesReadOnly_data();
    void projectFolderBecomesReadOnly();
    void descriptionVanishes();
    void descriptionBecomesAFolder();
    void settingsCannotBeWritten();
    void clockJumps();

private:
    QString project;
};

void TestMovingGround::init()
{
    WindowTest::init();
    project = folder->path(u"project"_s);
    folder->write(u"project/Apps.csv"_s, PROJECT);
    folder->write(u"project/de.html"_s, "<p>de</p>");
    folder->write(u"project/en.html"_s, "<p>en</p>");
    folder->write(u"project/a.txt"_s, "abc");
    storeProject(folder->path(u"project/Apps.csv"_s));
    window = openWindow<MainWindow>();
    selectApp(0);
}

void TestMovingGround::projectFolderIsRemoved()
{
    openDescription(0);
    typeInDescription(u"typed "_s);
    QVERIFY(QDir(project).removeRecursively());

    // The text cannot be saved, which is not reported.
    answers->press(QMessageBox::Ok);
    clickCell(child<QTableWidget>(*window, "tableWidget"), 1, 1);
    QVERIFY(historyContents().contains("typed <p>de</p>"));
    QCOMPARE(answers->shown.at(0).text, DESCRIPTION_ERROR.arg(u"/en.html"_s));

    click(*window, "btnNewApp");
    answers->press(QMessageBox::Ok);
    clickTool(*window, "actionSave");
    QCOMPARE(answers->shown.at(1).text, SAVE_ERROR);
    QVERIFY(isMarked());

    answers->press(QMessageBox::Ok);
    clickPublish(folder->path(u"Apps.json"_s));
    QCOMPARE(folder->read(u"Apps.json"_s).count("\"files\": [\n            ]"), 2);
    QVERIFY(!QFileInfo::exists(project));
}

void TestMovingGround::projectFolderIsRenamed()
{
    const QString other = folder->path(u"elsewhere"_s);
    QVERIFY(QDir().rename(project, other));
    click(*window, "btnNewApp");
    answers->press(QMessageBox::Ok);
    clickTool(*window, "actionSave");
    QCOMPARE(answers->shown.constLast().text, SAVE_ERROR);
    QVERIFY(isMarked());
    QCOMPARE(folder->read(u"elsewhere/Apps.csv"_s), PROJECT);

    QVERIFY(QDir().rename(other, project));
    clickTool(*window, "actionSave");
    QVERIFY(!isMarked());
    QCOMPARE(folder->read(u"project/Apps.csv"_s), PROJECT + NEW_APP);
}

void TestMovingGround::projectFolderIsReplaced()
{
    openDescription(1);
    typeInDescription(u"typed "_s);
    QVERIFY(QDir().rename(project, folder->path(u"old"_s)));
    folder->write(u"project/Apps.csv"_s, "of somebody else\n");
    folder->write(u"project/en.html"_s, "of somebody else");

    click(*window, "btnNewApp");
    clickTool(*window, "actionSave");
    QCOMPARE(folder->read(u"project/Apps.csv"_s), PROJECT + NEW_APP);
    QCOMPARE(folder->read(u"project/en.html"_s), "typed <p>en</p>"_ba);
    QVERIFY(historyContents().contains("of somebody else\n"));
    QVERIFY(historyContents().contains("of somebody else"));
}

void TestMovingGround::projectFolderBecomesReadOnly_data()
{
    QTest::addColumn<bool>("fileToo");
    QTest::newRow("folder") << false;
    QTest::newRow("folder and file") << true;
}

void TestMovingGround::projectFolderBecomesReadOnly()
{
#ifndef Q_OS_UNIX
    QSKIP("Folders allow everything here");
#endif
    QFETCH(bool, fileToo);
    const QString csv = folder->path(u"project/Apps.csv"_s);
    QVERIFY(QFile::setPermissions(csv, QFile::Permissions(fileToo ? 0x4444 : 0x6666)));
    QVERIFY(QFile::setPermissions(project, QFile::Permissions(0x5555)));
    click(*window, "btnNewApp");
    if (fileToo)
        answers->press(QMessageBox::Ok);
    {
        const OrdinaryUser user;
        clickTool(*window, "actionSave");
    }
    QVERIFY(QFile::setPermissions(project, QFile::Permissions(0x7777)));
    QCOMPARE(isMarked(), fileToo);
    QCOMPARE(folder->read(u"project/Apps.csv"_s), fileToo ? PROJECT : PROJECT + NEW_APP);
}

void TestMovingGround::descriptionVanishes()
{
    openDescription(0);
    typeInDescription(u"typed "_s);
    QVERIFY(QFile::remove(project + u"/de.html"_s));
    QVERIFY(QFile::remove(project + u"/en.html"_s));
    answers->press(QMessageBox::Ok);
    clickCell(child<QTableWidget>(*window, "tableWidget"), 1, 1);
    QCOMPARE(answers->shown.constLast().text, DESCRIPTION_ERROR.arg((project + u"/en.html"_s).toHtmlEscaped()));
    QCOMPARE(folder->read(u"project/de.html"_s), "typed <p>de</p>"_ba);
    QVERIFY(!child<QPlainTextEdit>(*window, "descriptionEdit")->isEnabled());
}

void TestMovingGround::descriptionBecomesAFolder()
{
    openDescription(0);
    typeInDescription(u"typed "_s);
    QVERIFY(QFile::remove(project + u"/de.html"_s));
    folder->makeFolder(u"project/de.html"_s);
    click(*window, "btnAutosave");
    QVERIFY(answers->shown.isEmpty());
    QVERIFY(QFileInfo(project + u"/de.html"_s).isDir());
    QVERIFY(historyContents().contains("typed <p>de</p>"));

    QVERIFY(QDir().rmdir(project + u"/de.html"_s));
    clickTool(*window, "actionSave");
    QCOMPARE(folder->read(u"project/de.html"_s), "typed <p>de</p>"_ba);
}

void TestMovingGround::settingsCannotBeWritten()
{
    const QSettings settings(u"Orva model"_s, u"Catalist"_s);
    const QString place = QFileInfo(settings.fileName()).path();
    QVERIFY(QDir(place).removeRecursively());
    QFile obstacle(place);
    QVERIFY(obstacle.open(QIODevice::WriteOnly));
    QVERIFY(window->close());
    QVERIFY(!window->isVisible());
    QVERIFY(answers->shown.isEmpty());
    window.reset();
    QVERIFY(obstacle.remove());
}

// The history has versions from the future and from long ago.
void TestMovingGround::clockJumps()
{
    click(*window, "btnNewApp");
    clickTool(*window, "actionSave");
    QCOMPARE(historyContents().count(PROJECT), 1);
    QDirIterator files(History::historyFolder(), {u"*Apps.csv"_s}, QDir::Files, QDirIterator::Subdirectories);
    QVERIFY(files.hasNext());
    const QFileInfo version(files.next());
    const QString name = version.fileName();
    for (const char *year : {"2099", "1970"}) {
        QVERIFY(QFile::copy(version.filePath(), version.path() + u'/' + QLatin1String(year) + name.mid(4)));
    }

    click(*window, "btnNewApp");
    clickTool(*window, "actionSave");
    QVERIFY(historyContents().contains(PROJECT + NEW_APP));
    QStringList years;
    QDirIterator left(version.path(), {u"*Apps.csv"_s}, QDir::Files);
    while (left.hasNext())
        years.append(QFileInfo(left.next()).fileName().left(4));
    QVERIFY(years.contains(u"2099"_s));
    QVERIFY(years.contains(u"1970"_s));
}

CATALIST_TEST(TestMovingGround)
#include "tst_moving_ground.moc"
