#include "windowtest.h"

#include "history/history.h"

#include <QApplication>
#include <QDir>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QTableWidget>
#include <QTest>

using namespace Qt::StringLiterals;

void WindowTest::init()
{
    clearSettings();
    QVERIFY(!QDir(History::historyFolder()).exists() || QDir(History::historyFolder()).removeRecursively());
    folder = std::make_unique<Folder>();
    answers = std::make_unique<DialogAnswers>();
}

void WindowTest::cleanup()
{
    const bool answered = answers->allAnswered();
    answers.reset();
    window.reset();
    folder.reset();
    QVERIFY(answered);
    QVERIFY(QApplication::topLevelWidgets().isEmpty());
}

void WindowTest::openExample()
{
    QVERIFY(copyTree(u"" CATALIST_SOURCE_DIR "/examples/catalogue"_s, folder->path(u"catalogue"_s)));
    storeProject(folder->path(u"catalogue/Apps.csv"_s));
    window = openWindow<MainWindow>();
    selectApp(0);
}

void WindowTest::selectApp(int row) const
{
    clickCell(child<QListWidget>(*window, "listApps"), row);
}

void WindowTest::openDescription(int row, int app) const
{
    selectApp(app);
    showTab(*window, "tabDescription");
    clickCell(child<QTableWidget>(*window, "tableWidget"), row, 1);
}

void WindowTest::typeInDescription(const QString &text) const
{
    type(child<QPlainTextEdit>(*window, "descriptionEdit"), text);
}

void WindowTest::clickNewProject(const QString &path) const
{
    answers->chooseFile(path);
    clickTool(*window, "actionNew_project");
}

void WindowTest::clickOpenProject(const QString &path) const
{
    answers->chooseFile(path);
    clickTool(*window, "actionOpen_project");
}

void WindowTest::clickPublish(const QString &path) const
{
    answers->chooseFile(path);
    clickTool(*window, "actionSave_generate_JSON");
}

void WindowTest::expectError(const ShownDialog &dialog, const QString &text)
{
    QCOMPARE(dialog.kind, u"QMessageBox"_s);
    QCOMPARE(dialog.title, u"Error"_s);
    QCOMPARE(dialog.text, text);
    QCOMPARE(dialog.icon, QMessageBox::Critical);
    QCOMPARE(dialog.buttons, QStringList{u"OK"_s});
}
