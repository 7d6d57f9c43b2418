#include "projecttest.h"
#include "testrunner.h"

#include <QAbstractButton>
#include <QFile>
#include <QLineEdit>
#include <QListWidget>
#include <QTabWidget>

class TestMainWindow : public ProjectTest
{
    Q_OBJECT

private slots:
    void firstStart();
    void settingsAreRestored();
    void settingsAreWritten();
    void startsWithStoredProject();
    void pathThatLooksLikeHtml();
    void startsWithProjectThatFails_data();
    void startsWithProjectThatFails();

    void titleMark();

    void closeUnmodified();
    void closeModified_data();
    void closeModified();
    void closeAndSaveWithoutProject();
    void closeAndSaveFails();
};

void TestMainWindow::firstStart()
{
    window = std::make_unique<MainWindow>();
    QCOMPARE(window->size(), QSize(678, 620));
    QCOMPARE(child<QLineEdit>(*window, "repository")->text(), QStringLiteral("http://"));
    QCOMPARE(projectLabel(), QStringLiteral("Apps:"));
    QVERIFY(listedApps().isEmpty());
    QVERIFY(!child<QTabWidget>(*window, "tabWidget")->isEnabled());
    QVERIFY(isUnmarked());
}

void TestMainWindow::settingsAreRestored()
{
    QSettings settings(QStringLiteral("Orva model"), QStringLiteral("Catalist"));
    settings.setValue(QStringLiteral("MainWindow/size"), QSize(913, 777));
    settings.setValue(QStringLiteral("MainWindow/pos"), QPoint(31, 47));
    settings.setValue(QStringLiteral("repo"), QStringLiteral("https://a/b"));
    settings.sync();
    window = std::make_unique<MainWindow>();
    QCOMPARE(window->size(), QSize(913, 777));
    QCOMPARE(window->pos(), QPoint(31, 47));
    QCOMPARE(child<QLineEdit>(*window, "repository")->text(), QStringLiteral("https://a/b"));
}

void TestMainWindow::settingsAreWritten()
{
    startWith(TWO_APPS);
    window->resize(901, 803);
    window->move(21, 23);
    child<QLineEdit>(*window, "repository")->setText(QStringLiteral("https://c/"));
    QVERIFY(!QSettings(QStringLiteral("Orva model"), QStringLiteral("Catalist")).contains(QStringLiteral("repo")));
    QVERIFY(window->close());

    const QSettings settings(QStringLiteral("Orva model"), QStringLiteral("Catalist"));
    QCOMPARE(settings.value(QStringLiteral("MainWindow/size")).toSize(), QSize(901, 803));
    QCOMPARE(settings.value(QStringLiteral("MainWindow/pos")).toPoint(), QPoint(21, 23));
    QCOMPARE(settings.value(QStringLiteral("repo")).toString(), QStringLiteral("https://c/"));
    QCOMPARE(settings.value(QStringLiteral("appPath")).toString(), csv);
    QStringList keys = settings.allKeys();
    keys.sort();
    QCOMPARE(keys, (QStringList{QStringLiteral("MainWindow/pos"), QStringLiteral("MainWindow/size"),
                                QStringLiteral("appPath"), QStringLiteral("repo")}));
}

void TestMainWindow::startsWithStoredProject()
{
    startWith(TWO_APPS);
    QCOMPARE(listedApps(), (QStringList{QStringLiteral("First"), QStringLiteral("Second")}));
    QCOMPARE(projectLabel(), QStringLiteral("Apps (%1): ").arg(csv));
    QCOMPARE(child<QListWidget>(*window, "listApps")->currentRow(), -1);
    QVERIFY(!child<QTabWidget>(*window, "tabWidget")->isEnabled());
    QVERIFY(isUnmarked());

    clickCell(child<QListWidget>(*window, "listApps"), 1);
    QVERIFY(child<QTabWidget>(*window, "tabWidget")->isEnabled());
    QCOMPARE(child<QLineEdit>(*window, "appName1_1")->text(), QStringLiteral("Second"));
    QVERIFY(isUnmarked());
}

void TestMainWindow::pathThatLooksLikeHtml()
{
    const QString path = folder->path(QStringLiteral("a <img src='x'> b/Apps.csv"));
    folder->write(QStringLiteral("a <img src='x'> b/Apps.csv"), TWO_APPS);
    storeProject(path);
    start();
    const auto *label = child<QLabel>(*window, "appsLbl");
    QCOMPARE(label->textFormat(), Qt::PlainText);
    QCOMPARE(label->text(), QStringLiteral("Apps (%1): ").arg(path));
    QCOMPARE(label->toolTip(), QStringLiteral("<qt>%1</qt>").arg(path.toHtmlEscaped()));
}

void TestMainWindow::startsWithProjectThatFails_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("missing") << QByteArray();
    QTest::newRow("broken") << TWO_APPS + "\n";
}

void TestMainWindow::startsWithProjectThatFails()
{
    QFETCH(QByteArray, content);
    if (!content.isEmpty())
        folder->write(QStringLiteral("project/Apps.csv"), content);
    storeProject(csv);
    answers->press(QMessageBox::Ok);
    start();
    QCOMPARE(answers->shown.size(), 1);
    expectError(answers->shown.constFirst(), LOAD_ERROR);
    QVERIFY(listedApps().isEmpty());
    QCOMPARE(projectLabel(), QStringLiteral("Apps (%1): ").arg(csv));
    QVERIFY(isUnmarked());
    QVERIFY(window->close());
    QCOMPARE(QSettings(QStringLiteral("Orva model"), QStringLiteral("Catalist")).value(QStringLiteral("appPath")), csv);
}

void TestMainWindow::titleMark()
{
    startWith(TWO_APPS);
    QVERIFY(isUnmarked());
    clickCell(child<QListWidget>(*window, "listApps"), 0);
    QVERIFY(isUnmarked());
    click(*window, "applyButton");
    QVERIFY(isMarked());
    click(*window, "applyButton");
    QVERIFY(isMarked());
    clickTool(*window, "actionSave");
    QVERIFY(isUnmarked());
    clickTool(*window, "actionSave");
    QVERIFY(isUnmarked());

    window->setWindowTitle(QStringLiteral("Another (*) title(*)"));
    clickTool(*window, "actionSave");
    QCOMPARE(window->windowTitle(), QStringLiteral("Another (*) title(*)"));
    click(*window, "applyButton");
    QCOMPARE(window->windowTitle(), QStringLiteral("Another (*) title(*) (*)"));
    clickTool(*window, "actionSave");
    QCOMPARE(window->windowTitle(), QStringLiteral("Another (*) title(*)"));
    window->setWindowTitle(QStringLiteral("Marked already (*)"));
    click(*window, "applyButton");
    QCOMPARE(window->windowTitle(), QStringLiteral("Marked already (*)"));
}

void TestMainWindow::closeUnmodified()
{
    startWith(TWO_APPS);
    QVERIFY(window->close());
    QVERIFY(answers->shown.isEmpty());
    QCOMPARE(folder->read(QStringLiteral("project/Apps.csv")), TWO_APPS);
}

void TestMainWindow::closeModified_data()
{
    QTest::addColumn<int>("button"); // 0 for the escape key
    QTest::addColumn<bool>("closes");
    QTest::addColumn<bool>("saves");
    QTest::newRow("yes") << int(QMessageBox::Yes) << true << true;
    QTest::newRow("no") << int(QMessageBox::No) << true << false;
    QTest::newRow("cancel") << int(QMessageBox::Cancel) << false << false;
    QTest::newRow("escape") << 0 << false << false;
}

void TestMainWindow::closeModified()
{
    QFETCH(int, button);
    QFETCH(bool, closes);
    QFETCH(bool, saves);
    startWith(TWO_APPS);
    clickCell(child<QListWidget>(*window, "listApps"), 0);
    click(*window, "btnDeleteApp");
    child<QLineEdit>(*window, "repository")->setText(QStringLiteral("https://stored/"));

    bool anyDefault = false;
    QString storedUrl;
    answers->answer([&](QWidget *dialog) {
        auto *box = qobject_cast<QMessageBox *>(dialog);
        storedUrl = QSettings(QStringLiteral("Orva model"), QStringLiteral("Catalist"))
                        .value(QStringLiteral("repo"))
                        .toString();
        anyDefault = box->defaultButton() != nullptr;
        QAbstractButton *pressed = box->button(static_cast<QMessageBox::StandardButton>(button));
        if (pressed)
            QTest::mouseClick(pressed, Qt::LeftButton);
        else
            QTest::keyClick(box, Qt::Key_Escape);
    });
    QCOMPARE(window->close(), closes);
    QCOMPARE(window->isVisible(), !closes);
    QVERIFY(!anyDefault);
    QCOMPARE(storedUrl, QStringLiteral("https://stored/"));

    QCOMPARE(answers->shown.size(), 1);
    QCOMPARE(answers->shown.constFirst().title, QStringLiteral("Save data"));
    QCOMPARE(answers->shown.constFirst().text, QStringLiteral("Save application data before quitting?"));
    QCOMPARE(answers->shown.constFirst().icon, QMessageBox::Question);
    QStringList buttons = answers->shown.constFirst().buttons;
    buttons.sort();
    QCOMPARE(buttons, (QStringList{QStringLiteral("Cancel"), QStringLiteral("No"), QStringLiteral("Yes")}));
    QCOMPARE(folder->read(QStringLiteral("project/Apps.csv")),
             saves ? HEADER + "{\"en\":\"Second\"};B;2.0;675;06-03-2024;{};;;5.04\n" : TWO_APPS);
    QCOMPARE(isUnmarked(), saves);
}

void TestMainWindow::closeAndSaveWithoutProject()
{
    start();
    click(*window, "btnNewApp");
    answers->press(QMessageBox::Yes);
    answers->press(QMessageBox::Ok);
    QVERIFY(window->close());
    QCOMPARE(answers->shown.size(), 2);
    QCOMPARE(answers->shown.at(1).text, NO_PROJECT);
}

void TestMainWindow::closeAndSaveFails()
{
    startWith(TWO_APPS);
    QVERIFY(QFile::remove(csv));
    folder->makeFolder(QStringLiteral("project/Apps.csv"));
    click(*window, "btnNewApp");
    answers->press(QMessageBox::Yes);
    answers->press(QMessageBox::Ok);
    QVERIFY(window->close());
    QCOMPARE(answers->shown.size(), 2);
    expectError(answers->shown.at(1), SAVE_ERROR);
    QVERIFY(isMarked());
}

CATALIST_TEST(TestMainWindow)
#include "tst_mainwindow.moc"
