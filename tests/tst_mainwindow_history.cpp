#include "history/history.h"
#include "historyfiles.h"
#include "testrunner.h"
#include "windowtest.h"

#include <QListWidget>
#include <QTableWidget>

using namespace Qt::StringLiterals;

namespace {

const QByteArray OLD = HEADER + "{\"en\":\"Old\"};A;1.0;674;05-03-2024;{\"en\":\"en.html\"};a.txt;;5.03\n";
const QByteArray TEXT = "<p>text</p>";

} // namespace

class TestMainWindowHistory : public WindowTest
{
    Q_OBJECT

private slots:
    void init() override;

    void catalogueThatDoesNotOpenIsSavedOver();
    void lookingAtADescription_data();
    void lookingAtADescription();
    void newDescriptionOverAnExistingFile();
    void closingWithNo();
    void closingWithYesThatFails();
    void closingWithADescriptionUnsaved();
    void newOrOpenProject_data();
    void newOrOpenProject();
    void cancelledClosingKeepsNothing();
    void sameBytesKeepNothing();
    void twoWindows();
    void windowSaysNothingWithoutAHistory();

private:
    void open();

    QString csv;
};

void TestMainWindowHistory::init()
{
    WindowTest::init();
    csv = folder->path(u"project/Apps.csv"_s);
}

void TestMainWindowHistory::open()
{
    if (!QFileInfo::exists(csv))
        folder->write(u"project/Apps.csv"_s, OLD);
    if (!folder->exists(u"project/en.html"_s))
        folder->write(u"project/en.html"_s, TEXT);
    storeProject(csv);
    window = openWindow<MainWindow>();
}

void TestMainWindowHistory::catalogueThatDoesNotOpenIsSavedOver()
{
    open();
    selectApp(0);
    retype(*window, "appName1_1", u"Old; and new"_s);
    click(*window, "applyButton");
    clickTool(*window, "actionSave");
    QVERIFY(window->close());
    const QByteArray broken =
        HEADER + "{\"en\":\"Old; and new\"};A;1.0;674;05-03-2024;{\"en\":\"en.html\"};a.txt;;5.03\n";
    QCOMPARE(folder->read(u"project/Apps.csv"_s), broken);

    answers->press(QMessageBox::Ok);
    open();
    QCOMPARE(answers->shown.constLast().text, LOAD_ERROR);
    clickTool(*window, "actionSave");
    QCOMPARE(folder->read(u"project/Apps.csv"_s), HEADER);
    QCOMPARE(keptContents(csv), (QList<QByteArray>{broken, OLD}));
    QVERIFY(versionNames(csv).constFirst().endsWith(u"-replaced-Apps.csv"_s));
}

void TestMainWindowHistory::lookingAtADescription_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("rewritten");
    QTest::newRow("no UTF-8") << "<p>\xe9t\xe9</p>"_ba
                              << "<p>\xef\xbf\xbdt\xef\xbf\xbd</p>"_ba;
    QTest::newRow("other line ends") << "<p>a</p>\r\n<p>b</p>\r\n"_ba
                                     << "<p>a</p>\n<p>b</p>\n"_ba;
}

void TestMainWindowHistory::lookingAtADescription()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, rewritten);
    folder->write(u"project/en.html"_s, bytes);
    folder->write(u"project/de.html"_s, TEXT);
    folder->write(u"project/Apps.csv"_s,
                  HEADER + "{\"en\":\"Old\"};A;;;;{\"de\":\"de.html\",\"en\":\"en.html\"};;;0.00\n");
    open();
    openDescription();
    clickCell(child<QTableWidget>(*window, "tableWidget"), 1, 1);
    QCOMPARE(countInHistory(), 0);
    clickCell(child<QTableWidget>(*window, "tableWidget"), 0, 1);
    QCOMPARE(folder->read(u"project/en.html"_s), rewritten);
    QCOMPARE(keptContents(folder->path(u"project/en.html"_s)), QList<QByteArray>{bytes});
    QVERIFY(keptContents(folder->path(u"project/de.html"_s)).isEmpty());
}

void TestMainWindowHistory::newDescriptionOverAnExistingFile()
{
    open();
    selectApp(0);
    showTab(*window, "tabDescription");
    folder->write(u"project/it.html"_s, "work of days");
    answers->enterText(u"it"_s);
    answers->chooseFile(folder->path(u"project/it.html"_s));
    answers->press(QMessageBox::Yes);
    click(*window, "btnNewDescription");
    QVERIFY(folder->read(u"project/it.html"_s).startsWith("<!DOCTYPE html>"));
    QCOMPARE(keptContents(folder->path(u"project/it.html"_s)), QList<QByteArray>{"work of days"});
}

void TestMainWindowHistory::closingWithNo()
{
    open();
    click(*window, "btnNewApp");
    answers->press(QMessageBox::No);
    QVERIFY(window->close());
    QCOMPARE(folder->read(u"project/Apps.csv"_s), OLD);
    QCOMPARE(keptContents(csv), QList<QByteArray>{OLD + NEW_APP});
    QVERIFY(versionNames(csv).constFirst().endsWith(u"-unsaved-Apps.csv"_s));
}

void TestMainWindowHistory::closingWithYesThatFails()
{
    open();
    click(*window, "btnNewApp");
    QVERIFY(QFile::remove(csv));
    folder->makeFolder(u"project/Apps.csv"_s);
    answers->press(QMessageBox::Yes);
    answers->press(QMessageBox::Ok);
    QVERIFY(window->close());
    QCOMPARE(keptContents(csv), QList<QByteArray>{OLD + NEW_APP});
}

void TestMainWindowHistory::closingWithADescriptionUnsaved()
{
    open();
    openDescription();
    typeInDescription(u"typed"_s);
    QVERIFY(window->close());
    QVERIFY(answers->shown.isEmpty());
    QCOMPARE(folder->read(u"project/en.html"_s), TEXT);
    QCOMPARE(keptContents(folder->path(u"project/en.html"_s)), QList<QByteArray>{"typed" + TEXT});
    QVERIFY(versionNames(folder->path(u"project/en.html"_s)).constFirst().endsWith(u"-unsaved-en.html"_s));
    QVERIFY(keptContents(csv).isEmpty());
}

void TestMainWindowHistory::newOrOpenProject_data()
{
    QTest::addColumn<QString>("action");
    QTest::newRow("new") << u"actionNew_project"_s;
    QTest::newRow("open") << u"actionOpen_project"_s;
}

void TestMainWindowHistory::newOrOpenProject()
{
    QFETCH(QString, action);
    open();
    click(*window, "btnNewApp");
    answers->cancel();
    clickTool(*window, qPrintable(action));
    QVERIFY(keptContents(csv).isEmpty());

    folder->write(u"other/Apps.csv"_s, HEADER);
    answers->chooseFile(folder->path(u"other/Apps.csv"_s));
    if (action == u"actionNew_project")
        answers->press(QMessageBox::Yes);
    clickTool(*window, qPrintable(action));
    QVERIFY(child<QListWidget>(*window, "listApps")->count() == 0);
    QCOMPARE(keptContents(csv), QList<QByteArray>{OLD + NEW_APP});
    QVERIFY(keptContents(folder->path(u"other/Apps.csv"_s)).isEmpty());
}

void TestMainWindowHistory::cancelledClosingKeepsNothing()
{
    open();
    openDescription();
    click(*window, "btnNewApp");
    answers->press(QMessageBox::Cancel);
    QVERIFY(!window->close());
    QCOMPARE(countInHistory(), 0);

    // Closing later keeps one version.
    answers->press(QMessageBox::No);
    QVERIFY(window->close());
    QCOMPARE(keptContents(csv).size(), 1);
}

void TestMainWindowHistory::sameBytesKeepNothing()
{
    open();
    openDescription();
    clickTool(*window, "actionSave");
    clickTool(*window, "actionSave");
    click(*window, "btnNewApp");
    click(*window, "btnDeleteApp");
    answers->press(QMessageBox::No);
    QVERIFY(window->close());
    QCOMPARE(countInHistory(), 0);

    History::keepUnsaved(csv, OLD);
    History::keepReplaced(csv, OLD);
    History::keepReplaced(folder->path(u"project/new.html"_s), TEXT);
    QCOMPARE(countInHistory(), 0);
}

void TestMainWindowHistory::twoWindows()
{
    open();
    const std::unique_ptr<MainWindow> first = std::move(window);
    open();
    click(*window, "btnNewApp");
    click(*window, "btnNewApp");
    clickTool(*window, "actionSave");
    first->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(first.get()));
    click(*first, "btnNewApp");
    clickTool(*first, "actionSave");
    QCOMPARE(folder->read(u"project/Apps.csv"_s), OLD + NEW_APP);
    QCOMPARE(keptContents(csv), (QList<QByteArray>{OLD + NEW_APP + NEW_APP, OLD}));
}

void TestMainWindowHistory::windowSaysNothingWithoutAHistory()
{
    folder->write(u"data"_s, "no folder");
    const DataHome home(folder->path(u"data"_s));
    open();
    click(*window, "btnNewApp");
    QTest::ignoreMessage(QtDebugMsg, NO_HISTORY);
    clickTool(*window, "actionSave");
    QCOMPARE(folder->read(u"project/Apps.csv"_s), OLD + NEW_APP);
    QVERIFY(isUnmarked());
    QVERIFY(window->close());
    QVERIFY(answers->shown.isEmpty());
}

CATALIST_TEST(TestMainWindowHistory)
#include "tst_mainwindow_history.moc"
