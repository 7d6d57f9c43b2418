#include "windowtest.h"

#include "io/history.h"

#include <QApplication>
#include <QDir>
#include <QListWidget>
#include <QTest>

void WindowTest::init()
{
    clearSettings();
    QVERIFY(!QDir(historyFolder()).exists() || QDir(historyFolder()).removeRecursively());
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
    QVERIFY(
        copyTree(QStringLiteral(CATALIST_SOURCE_DIR "/examples/catalogue"), folder->path(QStringLiteral("catalogue"))));
    storeProject(folder->path(QStringLiteral("catalogue/Apps.csv")));
    window = openWindow<MainWindow>();
    clickCell(child<QListWidget>(*window, "listApps"), 0);
}
