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

using namespace Qt::StringLiterals;

namespace {

const QStringList PROJECT_FILTERS{u"App configuration files (Apps.csv)"_s, u"All files (*.*)"_s};

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
    void publishOverAFileThatCannotBeKept();
    void publishOverAFormerIndex();

    void saysWhatWasDone();
    void saysWhatItDoes();
    void saysNothingAfterASilentFailure();

    void repositoryUrl_data();
    void repositoryUrl();

private:
    void publishOver(const QString &relative);
    void expectFileDialog(const QString &title, const QString &startPath, const QStringList &filters,
                          const QString &button) const;
};

void TestMainWindowProject::expectFileDialog(const QString &title, const QString &startPath, const QStringList &filters,
                                             const QString &button) const
{
    QCOMPARE(answers->shown.size(), 1);
    const ShownDialog &dialog = answers->shown.constFirst();
    QCOMPARE(dialog.kind, u"QFileDialog"_s);
    QCOMPARE(dialog.title, title);
    QCOMPARE(dialog.startPath, startPath);
    QCOMPARE(dialog.filters, filters);
    QVERIFY(dialog.buttons.contains(button));
}

void TestMainWindowProject::newProject()
{
    start();
    clickNewProject(csv);
    expectFileDialog(u"New Apps.csv file"_s, folder->path(u"cwd/Apps.csv"_s), PROJECT_FILTERS, u"Save"_s);
    QCOMPARE(projectLabel(), u"Apps (%1): "_s.arg(csv));
    QVERIFY(!QFileInfo::exists(csv));
    QVERIFY(isUnmarked());

    clickTool(*window, "actionSave");
    QCOMPARE(folder->read(u"project/Apps.csv"_s), HEADER);
}

void TestMainWindowProject::newProjectOverAnother()
{
    startWith(TWO_APPS);
    selectApp(0);
    click(*window, "applyButton");
    QVERIFY(isMarked());
    const QString other = folder->path(u"other.csv"_s);
    answers->chooseFile(other);
    QTest::keyClick(window.get(), Qt::Key_N, Qt::ControlModifier);
    QCOMPARE(answers->shown.size(), 1);
    QCOMPARE(answers->shown.constFirst().startPath, csv);
    QVERIFY(listedApps().isEmpty());
    QVERIFY(!child<QTabWidget>(*window, "tabWidget")->isEnabled());
    QVERIFY(isUnmarked());
    QVERIFY(!QFileInfo::exists(other));
    QCOMPARE(folder->read(u"project/Apps.csv"_s), TWO_APPS);
}

void TestMainWindowProject::newProjectCancelled()
{
    startWith(TWO_APPS);
    selectApp(0);
    click(*window, "applyButton");
    answers->cancel();
    clickTool(*window, "actionNew_project");
    QCOMPARE(listedApps().size(), 2);
    QCOMPARE(projectLabel(), u"Apps (%1): "_s.arg(csv));
    QVERIFY(isMarked());
}

void TestMainWindowProject::openProject()
{
    startWith(TWO_APPS);
    selectApp(0);
    click(*window, "applyButton");
    QVERIFY(isMarked());
    folder->write(u"other/Apps.csv"_s, ONE_APP);
    const QString other = folder->path(u"other/Apps.csv"_s);
    answers->chooseFile(other);
    QTest::keyClick(window.get(), Qt::Key_O, Qt::ControlModifier);

    expectFileDialog(u"Open Apps.csv file"_s, csv, PROJECT_FILTERS, u"Open"_s);
    QCOMPARE(listedApps(), QStringList{u"Only"_s});
    QCOMPARE(projectLabel(), u"Apps (%1): "_s.arg(other));
    QVERIFY(isUnmarked());
    QCOMPARE(folder->read(u"project/Apps.csv"_s), TWO_APPS);
}

void TestMainWindowProject::openProjectCancelled()
{
    start();
    answers->cancel();
    clickTool(*window, "actionOpen_project");
    QCOMPARE(answers->shown.constFirst().startPath, folder->path(u"cwd/Apps.csv"_s));
    QCOMPARE(projectLabel(), u"Apps:"_s);
    window.reset();

    startWith(TWO_APPS);
    openDescription();
    auto *edit = child<QPlainTextEdit>(*window, "descriptionEdit");
    type(edit, u"typed "_s);
    answers->cancel();
    clickTool(*window, "actionOpen_project");
    QCOMPARE(folder->read(u"project/en.html"_s), "typed <p>text</p>"_ba);
    QCOMPARE(edit->toPlainText(), QString());
    QVERIFY(child<QTableWidget>(*window, "tableWidget")->selectedItems().isEmpty());
    QCOMPARE(child<QTableWidget>(*window, "tableWidget")->rowCount(), 1);
    QCOMPARE(listedApps().size(), 2);
    QCOMPARE(projectLabel(), u"Apps (%1): "_s.arg(csv));

    // The file is closed, so it is not written again.
    clickTool(*window, "actionSave");
    QCOMPARE(folder->read(u"project/en.html"_s), "typed <p>text</p>"_ba);

    // Delete has no current row, and a click opens the file again.
    click(*window, "btnDeleteDescription");
    QVERIFY(isUnmarked());
    clickCell(child<QTableWidget>(*window, "tableWidget"), 0, 1);
    QCOMPARE(edit->toPlainText(), u"typed <p>text</p>"_s);
}

void TestMainWindowProject::openProjectThatFails()
{
    startWith(TWO_APPS);
    selectApp(1);
    folder->write(u"bad.csv"_s, ONE_APP + "x;y\n");
    const QString bad = folder->path(u"bad.csv"_s);
    answers->chooseFile(bad);
    QStringList listedMeanwhile;
    answers->answer([this, &listedMeanwhile](QWidget *box) {
        // The list is still filled during the message.
        listedMeanwhile = listedApps();
        QTest::keyClick(box, Qt::Key_Return);
    });
    clickTool(*window, "actionOpen_project");
    QCOMPARE(answers->shown.size(), 2);
    expectError(answers->shown.at(1), LOAD_ERROR);
    QCOMPARE(listedMeanwhile, (QStringList{u"First"_s, u"Second"_s}));
    QVERIFY(listedApps().isEmpty());
    QVERIFY(!child<QTabWidget>(*window, "tabWidget")->isEnabled());
    QCOMPARE(projectLabel(), u"Apps (%1): "_s.arg(bad));
    QVERIFY(isUnmarked());
}

void TestMainWindowProject::saveWithoutProject()
{
    start();
    click(*window, "btnNewApp");
    QVERIFY(isMarked());
    answers->press(QMessageBox::Ok);
    QTest::keyClick(window.get(), Qt::Key_S, Qt::ControlModifier);
    QCOMPARE(answers->shown.size(), 1);
    QCOMPARE(answers->shown.constFirst().title, u"Warning"_s);
    QCOMPARE(answers->shown.constFirst().text, NO_PROJECT);
    QCOMPARE(answers->shown.constFirst().icon, QMessageBox::Warning);
    QCOMPARE(answers->shown.constFirst().buttons, QStringList{u"OK"_s});
    QVERIFY(isMarked());

    // Save does not depend on the title.
    window->setWindowTitle(u"Orva Catalist"_s);
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
    QCOMPARE(folder->read(u"project/Apps.csv"_s),
             HEADER + "{\"en\":\"Only\"};C;;0;;{};;;0.00\n{\"en\":\"[New App]\"};;;;;{};;;0.00\n");
}

void TestMainWindowProject::saveFails()
{
    startWith(TWO_APPS);
    openDescription();
    typeInDescription(u"typed "_s);
    showTab(*window, "tabGeneral");
    QVERIFY(QFile::remove(csv));
    folder->makeFolder(u"project/Apps.csv"_s);
    click(*window, "btnNewApp");
    answers->press(QMessageBox::Ok);
    clickTool(*window, "actionSave");
    QCOMPARE(answers->shown.size(), 1);
    expectError(answers->shown.constFirst(), SAVE_ERROR);
    QVERIFY(isMarked());
    QCOMPARE(listedApps().size(), 3);
    QCOMPARE(folder->read(u"project/en.html"_s), "typed <p>text</p>"_ba);

    QVERIFY(QDir().rmdir(csv));
    clickTool(*window, "actionSave");
    QVERIFY(isUnmarked());
    QCOMPARE(folder->read(u"project/Apps.csv"_s).count('\n'), 4);
}

void TestMainWindowProject::saveAfterFailedLoad()
{
    storeProject(csv);
    answers->press(QMessageBox::Ok);
    start();
    clickTool(*window, "actionSave");
    QCOMPARE(folder->read(u"project/Apps.csv"_s), HEADER);
}

void TestMainWindowProject::publish()
{
    startWith(TWO_APPS);
    click(*window, "btnNewApp");
    child<QLineEdit>(*window, "repository")->setText(u"https://x/"_s);
    const QString index = folder->path(u"Apps.json"_s);
    clickPublish(index);
    expectFileDialog(u"Save JSON repository"_s, folder->path(u"cwd/Apps.json"_s),
                     {u"JSON files (*.json)"_s, u"All files (*.*)"_s}, u"Save"_s);
    QVERIFY(isUnmarked());
    QCOMPARE(folder->read(u"project/Apps.csv"_s), TWO_APPS + "{\"en\":\"[New App]\"};;;;;{};;;0.00\n");
    QVERIFY(folder->read(u"Apps.json"_s).contains(R"(            "files": [
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
    QCOMPARE(folder->read(u"project/Apps.csv"_s).count('\n'), 3);
    QVERIFY(!folder->exists(u"cwd/Apps.json"_s));
}

// The current folder is then the project folder.
void TestMainWindowProject::publishWithoutProject()
{
    folder->write(u"cwd/a.txt"_s, "abc");
    start();
    click(*window, "btnNewApp");
    showTab(*window, "tabAppFiles");
    answers->pickInProject(u"a.txt"_s);
    click(*window, "btnAddFile");
    answers->shown.clear();
    answers->press(QMessageBox::Ok);
    clickPublish(folder->path(u"Apps.json"_s));
    QCOMPARE(answers->shown.size(), 2);
    QCOMPARE(answers->shown.at(0).text, NO_PROJECT);
    QCOMPARE(answers->shown.at(1).title, u"Save JSON repository"_s);
    QVERIFY(folder->read(u"Apps.json"_s)
                .contains("\"destination\": \"Apps/a.txt\",\n"
                          "                    \"hash\": \"a9993e364706816aba3e25717850c26c9cd0d89d\""));
    QVERIFY(isMarked());
}

void TestMainWindowProject::publishToPlaceThatFails()
{
    startWith(TWO_APPS);
    clickPublish(folder->path(u"missing/Apps.json"_s));
    // The only dialog was the file dialog.
    QCOMPARE(answers->shown.size(), 1);
    QVERIFY(!folder->exists(u"missing"_s));
    QCOMPARE(window->statusBar()->currentMessage(), QString());
    QVERIFY(!QGuiApplication::overrideCursor());
}

void TestMainWindowProject::publishThroughLink()
{
    folder->write(u"real/Apps.csv"_s, HEADER + "{\"en\":\"X\"};;;;;{};a.txt;;0.00\n");
    folder->write(u"real/a.txt"_s, "abc");
    folder->link(folder->path(u"real"_s), u"alias"_s);
    storeProject(folder->path(u"alias/Apps.csv"_s));
    start();
    clickPublish(folder->path(u"Apps.json"_s));
    QVERIFY(folder->read(u"Apps.json"_s).contains("\"destination\": \"Apps/a.txt\""));
}

void TestMainWindowProject::publishOver(const QString &relative)
{
    answers->chooseFile(folder->path(relative));
    answers->press(QMessageBox::Yes);
    clickTool(*window, "actionSave_generate_JSON");
}

void TestMainWindowProject::publishOverAFileOfTheCatalogue_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("the project file") << u"Apps.csv"_s << TWO_APPS;
    QTest::newRow("description") << u"en.html"_s << "<p>text</p>"_ba;
    QTest::newRow("listed file") << u"a.txt"_s << "abc"_ba;
    QTest::newRow("listed file that begins like an index")
        << u"a.txt"_s << "{\n    \"applications\": [\n        my own data\n"_ba;
    QTest::newRow("something else") << u"notes.json"_s << "{\n    \"notes\": []\n}\n"_ba;
}

void TestMainWindowProject::publishOverAFileOfTheCatalogue()
{
    QFETCH(const QString, file);
    QFETCH(const QByteArray, content);
    startWith(TWO_APPS);
    folder->write(u"project/"_s + file, content);
    publishOver(u"project/"_s + file);
    QVERIFY(folder->read(u"project/"_s + file).startsWith("{\n    \"applications\": [\n"));
    QCOMPARE(keptContents(folder->path(u"project/"_s + file)), QList<QByteArray>{content});
}

void TestMainWindowProject::publishOverAFileThatCannotBeKept()
{
    startWith(TWO_APPS);
    QVERIFY(QFile::resize(folder->path(u"project/a.txt"_s), 200'000'001));
    publishOver(u"project/a.txt"_s);
    QCOMPARE(QFileInfo(folder->path(u"project/a.txt"_s)).size(), 200'000'001);
    QCOMPARE(window->statusBar()->currentMessage(), QString());
}

void TestMainWindowProject::publishOverAFormerIndex()
{
    startWith(TWO_APPS);
    clickPublish(folder->path(u"project/Apps.json"_s));
    publishOver(u"project/Apps.json"_s);
    QVERIFY(folder->read(u"project/Apps.json"_s).startsWith("{\n    \"applications\": [\n"));
    // An index is not kept.
    QCOMPARE(countInHistory(), 0);
}

void TestMainWindowProject::saysWhatWasDone()
{
    start();
    const QStatusBar *status = window->statusBar();
    QCOMPARE(status->currentMessage(), QString());
    folder->write(u"project/a.txt"_s, QByteArray(1500, 'x'));
    folder->write(u"project/Apps.csv"_s, TWO_APPS);
    clickOpenProject(csv);
    QCOMPARE(status->currentMessage(), u"Opened Apps.csv"_s);
    clickTool(*window, "actionSave");
    QCOMPARE(status->currentMessage(), u"Saved Apps.csv"_s);
    const QString index = folder->path(u"Apps.json"_s);
    clickPublish(index);
    QCOMPARE(status->currentMessage(), u"Published 2 apps, 1 file, 2 kB: "_s + index);
    QVERIFY(!QGuiApplication::overrideCursor());

    // English numbers, as the text is English.
    for (int i = 0; i < 1204; ++i)
        folder->write(u"project/many/%1.txt"_s.arg(i), "x");
    folder->write(u"project/Apps.csv"_s, HEADER + "{\"en\":\"One\"};;;;;{};many;;\n");
    clickOpenProject(csv);
    publishOver(u"Apps.json"_s);
    QCOMPARE(status->currentMessage(), u"Published 1 app, 1,204 files, 1 kB: "_s + index);
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
    clickOpenProject(csv);
    clickPublish(folder->path(u"Apps.json"_s));
    QCOMPARE(messages, (QStringList{u"Opening Apps.csv"_s, u"Saving Apps.csv"_s, u"Publishing"_s}));
    QCOMPARE(pointers, QList<Qt::CursorShape>(3, Qt::WaitCursor));
}

void TestMainWindowProject::saysNothingAfterASilentFailure()
{
    startWith(TWO_APPS);
    openDescription();
    typeInDescription(u"x"_s);
    QVERIFY(QFile::remove(folder->path(u"project/en.html"_s)));
    folder->makeFolder(u"project/en.html"_s);
    clickTool(*window, "actionSave");
    QCOMPARE(window->statusBar()->currentMessage(), QString());
    QCOMPARE(keptContents(folder->path(u"project/en.html"_s)), QList<QByteArray>{"x<p>text</p>"});
}

void TestMainWindowProject::repositoryUrl_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("url");
    QTest::newRow("without slash") << u"http://a/repo"_s << u"http://a/repo/"_s;
    QTest::newRow("with slash") << u"http://a/repo/"_s << u"http://a/repo/"_s;
    QTest::newRow("empty") << QString() << u"/"_s;
    QTest::newRow("backslash") << u"a\\"_s << u"a\\/"_s;
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
