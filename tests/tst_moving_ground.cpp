#include "io/history.h"
#include "testrunner.h"
#include "windowtest.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QTableWidget>

namespace {

const QByteArray PROJECT =
    HEADER + "{\"en\":\"First\"};A;1.0;674;05-03-2024;{\"de\":\"de.html\",\"en\":\"en.html\"};a.txt;;5.03\n";
const QByteArray PROJECT_AND_NEW_APP = PROJECT + "{\"en\":\"[New App]\"};;;;;{};;;0.00\n";
const QString LOAD_ERROR = QStringLiteral("Error loading <b>%1</b>");
const QString SAVE_ERROR = QStringLiteral("Error saving <b>Apps.csv</b> settings");

QList<QByteArray> historyContents()
{
    QList<QByteArray> contents;
    QDirIterator files(historyFolder(), QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext())
        contents.append(readFile(files.next()));
    return contents;
}

} // namespace

/// The files of an open project change behind the window's back.
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
    void openDescription(int row);
    [[nodiscard]] bool isMarked() const { return window->windowTitle() == QLatin1String("Orva Catalist (*)"); }

    QString project;
};

void TestMovingGround::init()
{
    WindowTest::init();
    project = folder->path(QStringLiteral("project"));
    folder->write(QStringLiteral("project/Apps.csv"), PROJECT);
    folder->write(QStringLiteral("project/de.html"), "<p>de</p>");
    folder->write(QStringLiteral("project/en.html"), "<p>en</p>");
    folder->write(QStringLiteral("project/a.txt"), "abc");
    storeProject(folder->path(QStringLiteral("project/Apps.csv")));
    window = openWindow<MainWindow>();
    clickCell(child<QListWidget>(*window, "listApps"), 0);
}

void TestMovingGround::openDescription(int row)
{
    showTab(*window, "tabDescription");
    clickCell(child<QTableWidget>(*window, "tableWidget"), row, 1);
}

void TestMovingGround::projectFolderIsRemoved()
{
    openDescription(0);
    auto *editor = child<QPlainTextEdit>(*window, "descriptionEdit");
    type(editor, QStringLiteral("typed "));
    QVERIFY(QDir(project).removeRecursively());

    // What was typed cannot be saved, and nothing may be said about it.
    answers->press(QMessageBox::Ok);
    clickCell(child<QTableWidget>(*window, "tableWidget"), 1, 1);
    QVERIFY(historyContents().contains("typed <p>de</p>"));
    QCOMPARE(answers->shown.at(0).text, LOAD_ERROR.arg(QStringLiteral("/en.html")));

    click(*window, "btnNewApp");
    answers->press(QMessageBox::Ok);
    clickTool(*window, "actionSave");
    QCOMPARE(answers->shown.at(1).text, SAVE_ERROR);
    QVERIFY(isMarked());

    answers->press(QMessageBox::Ok);
    answers->chooseFile(folder->path(QStringLiteral("Apps.json")));
    clickTool(*window, "actionSave_generate_JSON");
    QCOMPARE(folder->read(QStringLiteral("Apps.json")).count("\"files\": [\n            ]"), 2);
    QVERIFY(!QFileInfo::exists(project));
}

void TestMovingGround::projectFolderIsRenamed()
{
    const QString other = folder->path(QStringLiteral("elsewhere"));
    QVERIFY(QDir().rename(project, other));
    click(*window, "btnNewApp");
    answers->press(QMessageBox::Ok);
    clickTool(*window, "actionSave");
    QCOMPARE(answers->shown.constLast().text, SAVE_ERROR);
    QVERIFY(isMarked());
    QCOMPARE(folder->read(QStringLiteral("elsewhere/Apps.csv")), PROJECT);

    QVERIFY(QDir().rename(other, project));
    clickTool(*window, "actionSave");
    QVERIFY(!isMarked());
    QCOMPARE(folder->read(QStringLiteral("project/Apps.csv")), PROJECT_AND_NEW_APP);
}

void TestMovingGround::projectFolderIsReplaced()
{
    openDescription(1);
    type(child<QPlainTextEdit>(*window, "descriptionEdit"), QStringLiteral("typed "));
    QVERIFY(QDir().rename(project, folder->path(QStringLiteral("old"))));
    folder->write(QStringLiteral("project/Apps.csv"), "of somebody else\n");
    folder->write(QStringLiteral("project/en.html"), "of somebody else");

    click(*window, "btnNewApp");
    clickTool(*window, "actionSave");
    QCOMPARE(folder->read(QStringLiteral("project/Apps.csv")), PROJECT_AND_NEW_APP);
    QCOMPARE(folder->read(QStringLiteral("project/en.html")), QByteArray("typed <p>en</p>"));
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
    const QString csv = folder->path(QStringLiteral("project/Apps.csv"));
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
    QCOMPARE(folder->read(QStringLiteral("project/Apps.csv")), fileToo ? PROJECT : PROJECT_AND_NEW_APP);
}

void TestMovingGround::descriptionVanishes()
{
    openDescription(0);
    type(child<QPlainTextEdit>(*window, "descriptionEdit"), QStringLiteral("typed "));
    QVERIFY(QFile::remove(project + QStringLiteral("/de.html")));
    QVERIFY(QFile::remove(project + QStringLiteral("/en.html")));
    answers->press(QMessageBox::Ok);
    clickCell(child<QTableWidget>(*window, "tableWidget"), 1, 1);
    QCOMPARE(answers->shown.constLast().text, LOAD_ERROR.arg((project + QStringLiteral("/en.html")).toHtmlEscaped()));
    QCOMPARE(folder->read(QStringLiteral("project/de.html")), QByteArray("typed <p>de</p>"));
    QVERIFY(!child<QPlainTextEdit>(*window, "descriptionEdit")->isEnabled());
}

void TestMovingGround::descriptionBecomesAFolder()
{
    openDescription(0);
    type(child<QPlainTextEdit>(*window, "descriptionEdit"), QStringLiteral("typed "));
    QVERIFY(QFile::remove(project + QStringLiteral("/de.html")));
    folder->makeFolder(QStringLiteral("project/de.html"));
    click(*window, "btnAutosave");
    QVERIFY(answers->shown.isEmpty());
    QVERIFY(QFileInfo(project + QStringLiteral("/de.html")).isDir());
    QVERIFY(historyContents().contains("typed <p>de</p>"));

    QVERIFY(QDir().rmdir(project + QStringLiteral("/de.html")));
    clickTool(*window, "actionSave");
    QCOMPARE(folder->read(QStringLiteral("project/de.html")), QByteArray("typed <p>de</p>"));
}

void TestMovingGround::settingsCannotBeWritten()
{
    const QSettings settings(QStringLiteral("Orva model"), QStringLiteral("Catalist"));
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

// Versions of the history seem to come from the future, or from long ago.
void TestMovingGround::clockJumps()
{
    click(*window, "btnNewApp");
    clickTool(*window, "actionSave");
    QCOMPARE(historyContents().count(PROJECT), 1);
    QDirIterator files(historyFolder(), {QStringLiteral("*Apps.csv")}, QDir::Files, QDirIterator::Subdirectories);
    QVERIFY(files.hasNext());
    const QFileInfo version(files.next());
    const QString name = version.fileName();
    for (const char *year : {"2099", "1970"}) {
        QVERIFY(QFile::copy(version.filePath(), version.path() + QLatin1Char('/') + QLatin1String(year) + name.mid(4)));
    }

    click(*window, "btnNewApp");
    clickTool(*window, "actionSave");
    QVERIFY(historyContents().contains(PROJECT_AND_NEW_APP));
    QStringList years;
    QDirIterator left(version.path(), {QStringLiteral("*Apps.csv")}, QDir::Files);
    while (left.hasNext())
        years.append(QFileInfo(left.next()).fileName().left(4));
    QVERIFY(years.contains(QStringLiteral("2099")));
    QVERIFY(years.contains(QStringLiteral("1970")));
}

CATALIST_TEST(TestMovingGround)
#include "tst_moving_ground.moc"
