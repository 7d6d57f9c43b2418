#include "historyfiles.h"
#include "projecttest.h"
#include "testrunner.h"

#include <QFile>
#include <QFileInfo>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QStatusBar>
#include <QTabWidget>
#include <QTableWidget>

namespace {

const QStringList PROJECT_FILTERS{QStringLiteral("App configuration files (Apps.csv)"),
                                  QStringLiteral("All files (*.*)")};

} // namespace

class TestMainWindowProject : public ProjectTest
{
    Q_OBJECT

private slots:
    void newProject();
    void newProjectOverAnother();
    void newProjectCancelled();
    void openProject();
    void openProjectCancelled();
    void openProjectThatFails();
    void openShorterProject();

    void saveWithoutProject();
    void save();
    void saveFails();
    void saveAfterFailedLoad();
    void publish();
    void publishCancelled();
    void publishWithoutProject();
    void publishToPlaceThatFails();
    void publishThroughLink();
    void publishOverAFileOfTheCatalogue_data();
    void publishOverAFileOfTheCatalogue();
    void publishOverAListedIndex();
    void publishOverAFileThatCannotBeKept();
    void publishOverAFormerIndex();

    void saysWhatWasDone();
    void saysWhatItDoes();
    void saysNothingAfterASilentFailure();

    void repositoryUrl_data();
    void repositoryUrl();
};

void TestMainWindowProject::newProject()
{
    start();
    answers->chooseFile(csv);
    clickTool(*window, "actionNew_project");
    QCOMPARE(answers->shown.size(), 1);
    QCOMPARE(answers->shown.constFirst().kind, QStringLiteral("QFileDialog"));
    QCOMPARE(answers->shown.constFirst().title, QStringLiteral("New Apps.csv file"));
    QCOMPARE(answers->shown.constFirst().startPath, folder->path(QStringLiteral("cwd/Apps.csv")));
    QCOMPARE(answers->shown.constFirst().filters, PROJECT_FILTERS);
    QVERIFY(answers->shown.constFirst().buttons.contains(QStringLiteral("Save")));
    QCOMPARE(projectLabel(), QStringLiteral("Apps (%1): ").arg(csv));
    QVERIFY(!QFileInfo::exists(csv));
    QVERIFY(isUnmarked());

    clickTool(*window, "actionSave");
    QCOMPARE(folder->read(QStringLiteral("project/Apps.csv")), HEADER);
}

void TestMainWindowProject::newProjectOverAnother()
{
    startWith(TWO_APPS);
    clickCell(child<QListWidget>(*window, "listApps"), 0);
    click(*window, "applyButton");
    QVERIFY(isMarked());
    const QString other = folder->path(QStringLiteral("other.csv"));
    answers->chooseFile(other);
    QTest::keyClick(window.get(), Qt::Key_N, Qt::ControlModifier);
    QCOMPARE(answers->shown.size(), 1);
    QCOMPARE(answers->shown.constFirst().startPath, csv);
    QVERIFY(listedApps().isEmpty());
    QVERIFY(!child<QTabWidget>(*window, "tabWidget")->isEnabled());
    QVERIFY(isUnmarked());
    QVERIFY(!QFileInfo::exists(other));
    QCOMPARE(folder->read(QStringLiteral("project/Apps.csv")), TWO_APPS);
}

void TestMainWindowProject::newProjectCancelled()
{
    startWith(TWO_APPS);
    clickCell(child<QListWidget>(*window, "listApps"), 0);
    click(*window, "applyButton");
    answers->cancel();
    clickTool(*window, "actionNew_project");
    QCOMPARE(listedApps().size(), 2);
    QCOMPARE(projectLabel(), QStringLiteral("Apps (%1): ").arg(csv));
    QVERIFY(isMarked());
}

void TestMainWindowProject::openProject()
{
    startWith(TWO_APPS);
    clickCell(child<QListWidget>(*window, "listApps"), 0);
    click(*window, "applyButton");
    QVERIFY(isMarked());
    folder->write(QStringLiteral("other/Apps.csv"), ONE_APP);
    const QString other = folder->path(QStringLiteral("other/Apps.csv"));
    answers->chooseFile(other);
    QTest::keyClick(window.get(), Qt::Key_O, Qt::ControlModifier);

    QCOMPARE(answers->shown.size(), 1);
    QCOMPARE(answers->shown.constFirst().kind, QStringLiteral("QFileDialog"));
    QCOMPARE(answers->shown.constFirst().title, QStringLiteral("Open Apps.csv file"));
    QCOMPARE(answers->shown.constFirst().startPath, csv);
    QCOMPARE(answers->shown.constFirst().filters, PROJECT_FILTERS);
    QVERIFY(answers->shown.constFirst().buttons.contains(QStringLiteral("Open")));
    QCOMPARE(listedApps(), QStringList{QStringLiteral("Only")});
    QCOMPARE(projectLabel(), QStringLiteral("Apps (%1): ").arg(other));
    QVERIFY(isUnmarked());
    QCOMPARE(folder->read(QStringLiteral("project/Apps.csv")), TWO_APPS);
}

void TestMainWindowProject::openProjectCancelled()
{
    start();
    answers->cancel();
    clickTool(*window, "actionOpen_project");
    QCOMPARE(answers->shown.constFirst().startPath, folder->path(QStringLiteral("cwd/Apps.csv")));
    QCOMPARE(projectLabel(), QStringLiteral("Apps:"));
    window.reset();

    startWith(TWO_APPS);
    clickCell(child<QListWidget>(*window, "listApps"), 0);
    showTab(*window, "tabDescription");
    clickCell(child<QTableWidget>(*window, "tableWidget"), 0, 1);
    auto *edit = child<QPlainTextEdit>(*window, "descriptionEdit");
    type(edit, QStringLiteral("typed "));
    answers->cancel();
    clickTool(*window, "actionOpen_project");
    QCOMPARE(folder->read(QStringLiteral("project/en.html")), QByteArray("typed <p>text</p>"));
    QCOMPARE(edit->toPlainText(), QString());
    QVERIFY(child<QTableWidget>(*window, "tableWidget")->selectedItems().isEmpty());
    QCOMPARE(child<QTableWidget>(*window, "tableWidget")->rowCount(), 1);
    QCOMPARE(listedApps().size(), 2);
    QCOMPARE(projectLabel(), QStringLiteral("Apps (%1): ").arg(csv));

    // The file is closed, so nothing is written to it any more.
    clickTool(*window, "actionSave");
    QCOMPARE(folder->read(QStringLiteral("project/en.html")), QByteArray("typed <p>text</p>"));

    // No row is left for Delete, and a click on the row opens its file again.
    click(*window, "btnDeleteDescription");
    QVERIFY(isUnmarked());
    clickCell(child<QTableWidget>(*window, "tableWidget"), 0, 1);
    QCOMPARE(edit->toPlainText(), QStringLiteral("typed <p>text</p>"));
}

void TestMainWindowProject::openProjectThatFails()
{
    startWith(TWO_APPS);
    clickCell(child<QListWidget>(*window, "listApps"), 1);
    folder->write(QStringLiteral("bad.csv"), ONE_APP + "x;y\n");
    const QString bad = folder->path(QStringLiteral("bad.csv"));
    answers->chooseFile(bad);
    QStringList listedMeanwhile;
    answers->answer([this, &listedMeanwhile](QWidget *box) {
        // The message comes before the list is emptied.
        listedMeanwhile = listedApps();
        QTest::keyClick(box, Qt::Key_Return);
    });
    clickTool(*window, "actionOpen_project");
    QCOMPARE(answers->shown.size(), 2);
    expectError(answers->shown.at(1), LOAD_ERROR);
    QCOMPARE(listedMeanwhile, (QStringList{QStringLiteral("First"), QStringLiteral("Second")}));
    QVERIFY(listedApps().isEmpty());
    QVERIFY(!child<QTabWidget>(*window, "tabWidget")->isEnabled());
    QCOMPARE(projectLabel(), QStringLiteral("Apps (%1): ").arg(bad));
    QVERIFY(isUnmarked());
}

void TestMainWindowProject::openShorterProject()
{
    startWith(TWO_APPS);
    clickCell(child<QListWidget>(*window, "listApps"), 1);
    folder->write(QStringLiteral("other.csv"), ONE_APP);
    answers->chooseFile(folder->path(QStringLiteral("other.csv")));
    clickTool(*window, "actionOpen_project");
    QCOMPARE(listedApps(), QStringList{QStringLiteral("Only")});
    QCOMPARE(child<QListWidget>(*window, "listApps")->currentRow(), -1);
    QVERIFY(!child<QTabWidget>(*window, "tabWidget")->isEnabled());
    QCOMPARE(child<QLineEdit>(*window, "appName1_1")->text(), QString());
    QVERIFY(isUnmarked());
    clickTool(*window, "actionSave");
    QCOMPARE(folder->read(QStringLiteral("other.csv")), HEADER + "{\"en\":\"Only\"};C;;0;;{};;;0.00\n");
}

void TestMainWindowProject::saveWithoutProject()
{
    start();
    click(*window, "btnNewApp");
    QVERIFY(isMarked());
    answers->press(QMessageBox::Ok);
    QTest::keyClick(window.get(), Qt::Key_S, Qt::ControlModifier);
    QCOMPARE(answers->shown.size(), 1);
    QCOMPARE(answers->shown.constFirst().title, QStringLiteral("Warning"));
    QCOMPARE(answers->shown.constFirst().text, NO_PROJECT);
    QCOMPARE(answers->shown.constFirst().icon, QMessageBox::Warning);
    QCOMPARE(answers->shown.constFirst().buttons, QStringList{QStringLiteral("OK")});
    QVERIFY(isMarked());

    // The title is not even looked at.
    window->setWindowTitle(QStringLiteral("Orva Catalist"));
    answers->press(QMessageBox::Ok);
    clickTool(*window, "actionSave");
    QVERIFY(isUnmarked());
}

void TestMainWindowProject::save()
{
    startWith(ONE_APP);
    click(*window, "btnNewApp");
    QVERIFY(isMarked());
    clickTool(*window, "actionSave");
    QVERIFY(isUnmarked());
    QCOMPARE(folder->read(QStringLiteral("project/Apps.csv")),
             HEADER + "{\"en\":\"Only\"};C;;0;;{};;;0.00\n{\"en\":\"[New App]\"};;;;;{};;;0.00\n");
}

void TestMainWindowProject::saveFails()
{
    startWith(TWO_APPS);
    clickCell(child<QListWidget>(*window, "listApps"), 0);
    showTab(*window, "tabDescription");
    clickCell(child<QTableWidget>(*window, "tableWidget"), 0, 1);
    type(child<QPlainTextEdit>(*window, "descriptionEdit"), QStringLiteral("typed "));
    showTab(*window, "tabGeneral");
    QVERIFY(QFile::remove(csv));
    folder->makeFolder(QStringLiteral("project/Apps.csv"));
    click(*window, "btnNewApp");
    answers->press(QMessageBox::Ok);
    clickTool(*window, "actionSave");
    QCOMPARE(answers->shown.size(), 1);
    expectError(answers->shown.constFirst(), SAVE_ERROR);
    QVERIFY(isMarked());
    QCOMPARE(listedApps().size(), 3);
    QCOMPARE(folder->read(QStringLiteral("project/en.html")), QByteArray("typed <p>text</p>"));

    QVERIFY(QDir().rmdir(csv));
    clickTool(*window, "actionSave");
    QVERIFY(isUnmarked());
    QCOMPARE(folder->read(QStringLiteral("project/Apps.csv")).count('\n'), 4);
}

void TestMainWindowProject::saveAfterFailedLoad()
{
    storeProject(csv);
    answers->press(QMessageBox::Ok);
    start();
    clickTool(*window, "actionSave");
    QCOMPARE(folder->read(QStringLiteral("project/Apps.csv")), HEADER);
}

void TestMainWindowProject::publish()
{
    startWith(TWO_APPS);
    click(*window, "btnNewApp");
    child<QLineEdit>(*window, "repository")->setText(QStringLiteral("https://x/"));
    const QString index = folder->path(QStringLiteral("Apps.json"));
    answers->chooseFile(index);
    clickTool(*window, "actionSave_generate_JSON");
    QCOMPARE(answers->shown.size(), 1);
    QCOMPARE(answers->shown.constFirst().kind, QStringLiteral("QFileDialog"));
    QCOMPARE(answers->shown.constFirst().title, QStringLiteral("Save JSON repository"));
    QCOMPARE(answers->shown.constFirst().startPath, folder->path(QStringLiteral("cwd/Apps.json")));
    QCOMPARE(answers->shown.constFirst().filters,
             (QStringList{QStringLiteral("JSON files (*.json)"), QStringLiteral("All files (*.*)")}));
    QVERIFY(answers->shown.constFirst().buttons.contains(QStringLiteral("Save")));
    QVERIFY(isUnmarked());
    QCOMPARE(folder->read(QStringLiteral("project/Apps.csv")), TWO_APPS + "{\"en\":\"[New App]\"};;;;;{};;;0.00\n");
    QVERIFY(folder->read(QStringLiteral("Apps.json")).contains(R"(            "files": [
                {
                    "destination": "Apps/a.txt",
                    "hash": "a9993e364706816aba3e25717850c26c9cd0d89d",
                    "size": 3,
                    "url": "https://x/a.txt"
                }
            ],
)"));
}

void TestMainWindowProject::publishCancelled()
{
    startWith(ONE_APP);
    click(*window, "btnNewApp");
    answers->cancel();
    clickTool(*window, "actionSave_generate_JSON");
    QVERIFY(isUnmarked());
    QCOMPARE(folder->read(QStringLiteral("project/Apps.csv")).count('\n'), 3);
    QVERIFY(!folder->exists(QStringLiteral("cwd/Apps.json")));
}

// The project folder is then the current one.
void TestMainWindowProject::publishWithoutProject()
{
    folder->write(QStringLiteral("cwd/a.txt"), "abc");
    start();
    click(*window, "btnNewApp");
    showTab(*window, "tabAppFiles");
    answers->pickInProject(QStringLiteral("a.txt"));
    click(*window, "btnAddFile");
    answers->shown.clear();
    answers->press(QMessageBox::Ok);
    answers->chooseFile(folder->path(QStringLiteral("Apps.json")));
    clickTool(*window, "actionSave_generate_JSON");
    QCOMPARE(answers->shown.size(), 2);
    QCOMPARE(answers->shown.at(0).text, NO_PROJECT);
    QCOMPARE(answers->shown.at(1).title, QStringLiteral("Save JSON repository"));
    QVERIFY(folder->read(QStringLiteral("Apps.json"))
                .contains("\"destination\": \"Apps/a.txt\",\n"
                          "                    \"hash\": \"a9993e364706816aba3e25717850c26c9cd0d89d\""));
    QVERIFY(isMarked());
}

void TestMainWindowProject::publishToPlaceThatFails()
{
    startWith(TWO_APPS);
    answers->chooseFile(folder->path(QStringLiteral("missing/Apps.json")));
    clickTool(*window, "actionSave_generate_JSON");
    // Nothing is said about it: the only dialog was the one that asked.
    QCOMPARE(answers->shown.size(), 1);
    QVERIFY(!folder->exists(QStringLiteral("missing")));
}

void TestMainWindowProject::publishThroughLink()
{
    folder->write(QStringLiteral("real/Apps.csv"), HEADER + "{\"en\":\"X\"};;;;;{};a.txt;;0.00\n");
    folder->write(QStringLiteral("real/a.txt"), "abc");
    folder->link(folder->path(QStringLiteral("real")), QStringLiteral("alias"));
    storeProject(folder->path(QStringLiteral("alias/Apps.csv")));
    start();
    answers->chooseFile(folder->path(QStringLiteral("Apps.json")));
    clickTool(*window, "actionSave_generate_JSON");
    QVERIFY(folder->read(QStringLiteral("Apps.json")).contains("\"destination\": \"Apps/a.txt\""));
}

void TestMainWindowProject::publishOverAFileOfTheCatalogue_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("the project file") << QStringLiteral("Apps.csv") << TWO_APPS;
    QTest::newRow("description") << QStringLiteral("en.html") << QByteArray("<p>text</p>");
    QTest::newRow("listed file") << QStringLiteral("a.txt") << QByteArray("abc");
    QTest::newRow("something else") << QStringLiteral("notes.json") << QByteArray("{\n    \"notes\": []\n}\n");
}

void TestMainWindowProject::publishOverAFileOfTheCatalogue()
{
    QFETCH(const QString, file);
    QFETCH(const QByteArray, content);
    folder->write(QStringLiteral("project/notes.json"), "{\n    \"notes\": []\n}\n");
    startWith(TWO_APPS);
    answers->chooseFile(folder->path(QStringLiteral("project/") + file));
    answers->press(QMessageBox::Yes);
    clickTool(*window, "actionSave_generate_JSON");
    QVERIFY(folder->read(QStringLiteral("project/") + file).startsWith("{\n    \"applications\": [\n"));
    QCOMPARE(keptContents(folder->path(QStringLiteral("project/") + file)), QList<QByteArray>{content});
}

// It may be the data of an app.
void TestMainWindowProject::publishOverAListedIndex()
{
    const QByteArray data = "{\n    \"applications\": [\n        my own data\n";
    startWith(TWO_APPS);
    folder->write(QStringLiteral("project/a.txt"), data);
    answers->chooseFile(folder->path(QStringLiteral("project/a.txt")));
    answers->press(QMessageBox::Yes);
    clickTool(*window, "actionSave_generate_JSON");
    QCOMPARE(keptContents(folder->path(QStringLiteral("project/a.txt"))), QList<QByteArray>{data});
}

void TestMainWindowProject::publishOverAFileThatCannotBeKept()
{
    startWith(TWO_APPS);
    QVERIFY(QFile::resize(folder->path(QStringLiteral("project/a.txt")), 200'000'001));
    answers->chooseFile(folder->path(QStringLiteral("project/a.txt")));
    answers->press(QMessageBox::Yes);
    clickTool(*window, "actionSave_generate_JSON");
    QCOMPARE(QFileInfo(folder->path(QStringLiteral("project/a.txt"))).size(), 200'000'001);
    QCOMPARE(window->statusBar()->currentMessage(), QString());
}

void TestMainWindowProject::publishOverAFormerIndex()
{
    startWith(TWO_APPS);
    for (int i = 0; i < 2; ++i) {
        answers->chooseFile(folder->path(QStringLiteral("project/Apps.json")));
        if (i > 0)
            answers->press(QMessageBox::Yes);
        clickTool(*window, "actionSave_generate_JSON");
    }
    QVERIFY(folder->read(QStringLiteral("project/Apps.json")).startsWith("{\n    \"applications\": [\n"));
    // It can be made again at any time.
    QCOMPARE(countInHistory(), 0);
}

void TestMainWindowProject::saysWhatWasDone()
{
    start();
    const QStatusBar *status = window->statusBar();
    QCOMPARE(status->currentMessage(), QString());
    folder->write(QStringLiteral("project/a.txt"), QByteArray(1500, 'x'));
    folder->write(QStringLiteral("project/Apps.csv"), TWO_APPS);
    answers->chooseFile(csv);
    clickTool(*window, "actionOpen_project");
    QCOMPARE(status->currentMessage(), QStringLiteral("Opened Apps.csv"));
    clickTool(*window, "actionSave");
    QCOMPARE(status->currentMessage(), QStringLiteral("Saved Apps.csv"));
    const QString index = folder->path(QStringLiteral("Apps.json"));
    answers->chooseFile(index);
    clickTool(*window, "actionSave_generate_JSON");
    QCOMPARE(status->currentMessage(), QStringLiteral("Published 2 apps, 1 file, 2 kB: ") + index);
    QVERIFY(!QGuiApplication::overrideCursor());

    // Numbers are written as the words around them.
    for (int i = 0; i < 1204; ++i)
        folder->write(QStringLiteral("project/many/%1.txt").arg(i), "x");
    folder->write(QStringLiteral("project/Apps.csv"), HEADER + "{\"en\":\"One\"};;;;;{};many;;\n");
    answers->chooseFile(csv);
    clickTool(*window, "actionOpen_project");
    answers->chooseFile(index);
    answers->press(QMessageBox::Yes);
    clickTool(*window, "actionSave_generate_JSON");
    QCOMPARE(status->currentMessage(), QStringLiteral("Published 1 app, 1,204 files, 1 kB: ") + index);
    QTRY_COMPARE_WITH_TIMEOUT(status->currentMessage(), QString(), 15000);
}

void TestMainWindowProject::saysWhatItDoes()
{
    startWith(TWO_APPS);
    QStringList messages;
    QList<Qt::CursorShape> pointers;
    connect(window->statusBar(), &QStatusBar::messageChanged, this, [&](const QString &message) {
        const QCursor *pointer = QGuiApplication::overrideCursor();
        if (message.isEmpty() || !pointer)
            return;
        messages.append(message);
        pointers.append(pointer->shape());
    });
    answers->chooseFile(csv);
    clickTool(*window, "actionOpen_project");
    answers->chooseFile(folder->path(QStringLiteral("Apps.json")));
    clickTool(*window, "actionSave_generate_JSON");
    QCOMPARE(messages, (QStringList{QStringLiteral("Opening Apps.csv"), QStringLiteral("Saving Apps.csv"),
                                    QStringLiteral("Publishing")}));
    QCOMPARE(pointers, QList<Qt::CursorShape>(3, Qt::WaitCursor));
}

void TestMainWindowProject::saysNothingAfterASilentFailure()
{
    startWith(TWO_APPS);
    answers->chooseFile(folder->path(QStringLiteral("missing/Apps.json")));
    clickTool(*window, "actionSave_generate_JSON");
    QCOMPARE(window->statusBar()->currentMessage(), QString());
    QVERIFY(!QGuiApplication::overrideCursor());

    clickCell(child<QListWidget>(*window, "listApps"), 0);
    showTab(*window, "tabDescription");
    clickCell(child<QTableWidget>(*window, "tableWidget"), 0, 1);
    type(child<QPlainTextEdit>(*window, "descriptionEdit"), QStringLiteral("x"));
    QVERIFY(QFile::remove(folder->path(QStringLiteral("project/en.html"))));
    folder->makeFolder(QStringLiteral("project/en.html"));
    clickTool(*window, "actionSave");
    QCOMPARE(window->statusBar()->currentMessage(), QString());
    QCOMPARE(keptContents(folder->path(QStringLiteral("project/en.html"))), QList<QByteArray>{"x<p>text</p>"});
}

void TestMainWindowProject::repositoryUrl_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("url");
    QTest::newRow("without slash") << QStringLiteral("http://a/repo") << QStringLiteral("http://a/repo/");
    QTest::newRow("with slash") << QStringLiteral("http://a/repo/") << QStringLiteral("http://a/repo/");
    QTest::newRow("empty") << QString() << QStringLiteral("/");
    QTest::newRow("backslash") << QStringLiteral("a\\") << QStringLiteral("a\\/");
}

void TestMainWindowProject::repositoryUrl()
{
    QFETCH(QString, typed);
    start();
    auto *field = child<QLineEdit>(*window, "repository");
    retype(*window, "repository", typed);
    QTest::keyClick(field, Qt::Key_Return);
    QTEST(field->text(), "url");

    retype(*window, "repository", typed);
    child<QListWidget>(*window, "listApps")->setFocus();
    QTEST(field->text(), "url");
}

CATALIST_TEST(TestMainWindowProject)
#include "tst_mainwindow_project.moc"
