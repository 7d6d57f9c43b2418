#include "projecttest.h"
#include "testrunner.h"

#include <QAbstractButton>
#include <QFile>
#include <QLineEdit>
#include <QListWidget>
#include <QTabWidget>

using namespace Qt::StringLiterals;

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
    QCOMPARE(child<QLineEdit>(*window, "repository")->text(), u"http://"_s);
    QCOMPARE(projectLabel(), u"Apps:"_s);
    QVERIFY(listedApps().isEmpty());
    QVERIFY(!child<QTabWidget>(*window, "tabWidget")->isEnabled());
    QVERIFY(isUnmarked());
}

void TestMainWindow::settingsAreRestored()
{
    QSettings settings(u"Orva model"_s, u"Catalist"_s);
    settings.setValue(u"MainWindow/size"_s, QSize(913, 777));
    settings.setValue(u"MainWindow/pos"_s, QPoint(31, 47));
    settings.setValue(u"repo"_s, u"https://a/b"_s);
    settings.sync();
    window = std::make_unique<MainWindow>();
    QCOMPARE(window->size(), QSize(913, 777));
    QCOMPARE(window->pos(), QPoint(31, 47));
    QCOMPARE(child<QLineEdit>(*window, "repository")->text(), u"https://a/b"_s);
}

void TestMainWindow::settingsAreWritten()
{
    startWith(TWO_APPS);
    window->resize(901, 803);
    window->move(21, 23);
    child<QLineEdit>(*window, "repository")->setText(u"https://c/"_s);
    QVERIFY(!QSettings(u"Orva model"_s, u"Catalist"_s).contains(u"repo"_s));
    QVERIFY(window->close());

    const QSettings settings(u"Orva model"_s, u"Catalist"_s);
    QCOMPARE(settings.value(u"MainWindow/size"_s).toSize(), QSize(901, 803));
    QCOMPARE(settings.value(u"MainWindow/pos"_s).toPoint(), QPoint(21, 23));
    QCOMPARE(settings.value(u"repo"_s).toString(), u"https://c/"_s);
    QCOMPARE(settings.value(u"appPath"_s).toString(), csv);
    QStringList keys = settings.allKeys();
    keys.sort();
    QCOMPARE(keys, (QStringList{u"MainWindow/pos"_s, u"MainWindow/size"_s, u"appPath"_s, u"repo"_s}));
}

void TestMainWindow::startsWithStoredProject()
{
    startWith(TWO_APPS);
    QCOMPARE(listedApps(), (QStringList{u"First"_s, u"Second"_s}));
    QCOMPARE(projectLabel(), u"Apps (%1): "_s.arg(csv));
    QCOMPARE(child<QListWidget>(*window, "listApps")->currentRow(), -1);
    QVERIFY(!child<QTabWidget>(*window, "tabWidget")->isEnabled());
    QVERIFY(isUnmarked());

    selectApp(1);
    QVERIFY(child<QTabWidget>(*window, "tabWidget")->isEnabled());
    QCOMPARE(child<QLineEdit>(*window, "appName1_1")->text(), u"Second"_s);
    QVERIFY(isUnmarked());
}

void TestMainWindow::pathThatLooksLikeHtml()
{
    const QString path = folder->path(u"a <img src='x'> b/Apps.csv"_s);
    folder->write(u"a <img src='x'> b/Apps.csv"_s, TWO_APPS);
    storeProject(path);
    start();
    const auto *label = child<QLabel>(*window, "appsLbl");
    QCOMPARE(label->textFormat(), Qt::PlainText);
    QCOMPARE(label->text(), u"Apps (%1): "_s.arg(path));
    QCOMPARE(label->toolTip(), u"<qt>%1</qt>"_s.arg(path.toHtmlEscaped()));
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
        folder->write(u"project/Apps.csv"_s, content);
    storeProject(csv);
    answers->press(QMessageBox::Ok);
    start();
    QCOMPARE(answers->shown.size(), 1);
    expectError(answers->shown.constFirst(), LOAD_ERROR);
    QVERIFY(listedApps().isEmpty());
    QCOMPARE(projectLabel(), u"Apps (%1): "_s.arg(csv));
    QVERIFY(isUnmarked());
    QVERIFY(window->close());
    QCOMPARE(QSettings(u"Orva model"_s, u"Catalist"_s).value(u"appPath"_s), csv);
}

void TestMainWindow::titleMark()
{
    startWith(TWO_APPS);
    QVERIFY(isUnmarked());
    selectApp(0);
    QVERIFY(isUnmarked());
    click(*window, "applyButton");
    QVERIFY(isMarked());
    click(*window, "applyButton");
    QVERIFY(isMarked());
    clickTool(*window, "actionSave");
    QVERIFY(isUnmarked());
    clickTool(*window, "actionSave");
    QVERIFY(isUnmarked());

    window->setWindowTitle(u"Another (*) title(*)"_s);
    clickTool(*window, "actionSave");
    QCOMPARE(window->windowTitle(), u"Another (*) title(*)"_s);
    click(*window, "applyButton");
    QCOMPARE(window->windowTitle(), u"Another (*) title(*) (*)"_s);
    clickTool(*window, "actionSave");
    QCOMPARE(window->windowTitle(), u"Another (*) title(*)"_s);
    window->setWindowTitle(u"Marked already (*)"_s);
    click(*window, "applyButton");
    QCOMPARE(window->windowTitle(), u"Marked already (*)"_s);
}

void TestMainWindow::closeUnmodified()
{
    startWith(TWO_APPS);
    QVERIFY(window->close());
    QVERIFY(answers->shown.isEmpty());
    QCOMPARE(folder->read(u"project/Apps.csv"_s), TWO_APPS);
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
    selectApp(0);
    click(*window, "btnDeleteApp");
    child<QLineEdit>(*window, "repository")->setText(u"https://stored/"_s);

    bool anyDefault = false;
    QString storedUrl;
    answers->answer([&](QWidget *dialog) {
        auto *box = qobject_cast<QMessageBox *>(dialog);
        storedUrl = QSettings(u"Orva model"_s, u"Catalist"_s).value(u"repo"_s).toString();
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
    QCOMPARE(storedUrl, u"https://stored/"_s);

    QCOMPARE(answers->shown.size(), 1);
    QCOMPARE(answers->shown.constFirst().title, u"Save data"_s);
    QCOMPARE(answers->shown.constFirst().text, u"Save application data before quitting?"_s);
    QCOMPARE(answers->shown.constFirst().icon, QMessageBox::Question);
    QStringList buttons = answers->shown.constFirst().buttons;
    buttons.sort();
    QCOMPARE(buttons, (QStringList{u"Cancel"_s, u"No"_s, u"Yes"_s}));
    QCOMPARE(folder->read(u"project/Apps.csv"_s),
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
    folder->makeFolder(u"project/Apps.csv"_s);
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
