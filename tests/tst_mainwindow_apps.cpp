#include "appstest.h"
#include "testrunner.h"

#include <QDateEdit>
#include <QFontMetrics>
#include <QListWidget>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTabWidget>
#include <QTableWidget>

using namespace Qt::StringLiterals;

class TestMainWindowApps : public AppsTest
{
    Q_OBJECT

private slots:
    void nothingIsShownBeforeAnAppIsSelected();
    void listShowsTheEnglishNames();
    void listIsFollowedByMouseAndKeyboard();
    void longNamesCanBeRead();
    void rowsAreAsHighAsTheirNames();
    void currentAppIsVisibleAfterARefill();

    void unappliedEditsAreDiscarded_data();
    void unappliedEditsAreDiscarded();
    void clickOnTheCurrentAppChangesNothing();

    void newApp();
    void nameOfANewAppIsReadyToBeTyped();
    void newAppInAnEmptyProject();
    void deleteApp_data();
    void deleteApp();
    void deleteWithoutAnApp();

    void shorterProjectHasNoCurrentApp();
    void deleteInAShorterProjectRemovesNothing();

private:
    void openShorterProject();
};

void TestMainWindowApps::openShorterProject()
{
    folder->write(u"short/Apps.csv"_s, HEADER + CLOCK_AND_LAMP);
    folder->write(u"short/x.html"_s, "x");
    open(FIVE_APPS, 4);
    clickOpenProject(folder->path(u"short/Apps.csv"_s));
}

void TestMainWindowApps::nothingIsShownBeforeAnAppIsSelected()
{
    open(CLOCK_AND_LAMP, -1);
    QVERIFY(!isEnabled("tabWidget"));
    QCOMPARE(child<QTabWidget>(*window, "tabWidget")->currentIndex(), 0);
    QCOMPARE(child<QListWidget>(*window, "listApps")->currentRow(), -1);
    for (const char *field : {"appName1_1", "appName1_2", "appName1_3", "appName1_4", "author", "version", "icon"})
        QCOMPARE(text(field), QString());
    QCOMPARE(text("minTxVersion"), u"0.00"_s);
    QCOMPARE(checkedBoxes(), QStringList());
    QCOMPARE(child<QDateEdit>(*window, "publicationDate")->date(), QDate(2000, 1, 1));

    selectApp(1);
    QVERIFY(isEnabled("tabWidget"));
}

void TestMainWindowApps::listShowsTheEnglishNames()
{
    const QByteArray apps = R"({"en":"Clock"};;;674;;{};;;0.00
{"de":"Lampe","fr":"Lampe de poche"};;;674;;{};;;0.00
{};;;674;;{};;;0.00
{"EN":"Shout"};;;674;;{};;;0.00
{"cz":"Žárovka","en":"Bulb Ž"};;;674;;{};;;0.00
)";
    open(apps);
    QCOMPARE(listedApps(), QStringList({u"Clock"_s, {}, {}, {}, u"Bulb Ž"_s}));
    QCOMPARE(saved(), apps);
}

void TestMainWindowApps::listIsFollowedByMouseAndKeyboard()
{
    open(FIVE_APPS, 2);
    QCOMPARE(text("author"), u"a3"_s);
    QTest::keyClick(child<QListWidget>(*window, "listApps"), Qt::Key_Down);
    QCOMPARE(text("author"), u"a4"_s);
    selectApp(0);
    QCOMPARE(text("author"), u"a1"_s);
    QVERIFY(isUnmarked());
}

void TestMainWindowApps::longNamesCanBeRead()
{
    const QByteArray name = QByteArray("<b>name</b> ").repeated(40);
    open(QByteArray(FIVE_APPS).replace("\"One\"", '"' + name + '"'), 1);
    const auto *list = child<QListWidget>(*window, "listApps");
    const QFontMetrics font(list->font());
    for (int row = 0; row < list->count(); ++row) {
        QCOMPARE(list->visualItemRect(list->item(row)).width(), list->viewport()->width());
        QVERIFY(list->visualItemRect(list->item(row)).height() >= font.height());
    }
    QVERIFY(!list->horizontalScrollBar()->isVisible());
    QCOMPARE(list->item(0)->toolTip(), u"<qt>%1</qt>"_s.arg(QString::fromUtf8(name).toHtmlEscaped()));

    retype(*window, "appName1_1", u"Another name"_s);
    click(*window, "applyButton");
    QCOMPARE(list->item(1)->toolTip(), u"Another name"_s);
}

void TestMainWindowApps::rowsAreAsHighAsTheirNames()
{
    const QStringList names{u"Großer Name"_s, u"क्षत्रिय"_s, u"漢字"_s, u"ไทย ปั้"_s, u"two\nlines"_s};
    QByteArray apps = FIVE_APPS;
    const QList<QByteArray> written{"One", "Two", "Three", "Four", "Five"};
    for (qsizetype i = 0; i < names.size(); ++i)
        apps.replace('"' + written.at(i) + '"', '"' + QString(names.at(i)).replace(u'\n', u"\\n"_s).toUtf8() + '"');
    open(apps, 1);
    const auto *list = child<QListWidget>(*window, "listApps");
    QListWidget plain;
    plain.setFont(list->font());
    plain.addItems(names);
    plain.show();
    QVERIFY(QTest::qWaitForWindowExposed(&plain));
    for (int row = 0; row < list->count(); ++row) {
        QCOMPARE(list->item(row)->text(), names.at(row));
        QCOMPARE(list->visualItemRect(list->item(row)).height(), plain.visualItemRect(plain.item(row)).height());
    }
    QFont larger = list->font();
    larger.setPointSize(2 * larger.pointSize());
    const int before = list->visualItemRect(list->item(0)).height();
    child<QListWidget>(*window, "listApps")->setFont(larger);
    QTRY_VERIFY(list->visualItemRect(list->item(0)).height() > before);
}

void TestMainWindowApps::currentAppIsVisibleAfterARefill()
{
    QByteArray apps;
    for (int i = 0; i < 300; ++i)
        apps += QByteArray(FIVE_APPS.split('\n').constFirst()).replace("One", "App " + QByteArray::number(i)) + '\n';
    open(apps, 0);
    auto *list = child<QListWidget>(*window, "listApps");
    const auto isCurrentVisible = [list] {
        return list->viewport()->rect().contains(list->visualItemRect(list->currentItem()));
    };
    list->setCurrentRow(250);
    list->scrollToTop();
    QVERIFY(!isCurrentVisible());
    click(*window, "applyButton");
    QVERIFY(isCurrentVisible());

    // What is visible stays where it is.
    list->scrollToItem(list->currentItem(), QListWidget::PositionAtCenter);
    const int place = list->verticalScrollBar()->value();
    retype(*window, "appName1_1", u"Another name"_s);
    click(*window, "applyButton");
    QCOMPARE(list->currentItem()->text(), u"Another name"_s);
    QCOMPARE(list->verticalScrollBar()->value(), place);

    click(*window, "btnNewApp");
    QCOMPARE(list->currentRow(), 300);
    QVERIFY(isCurrentVisible());
    QCOMPARE(list->count(), 301);
}

void TestMainWindowApps::unappliedEditsAreDiscarded_data()
{
    QTest::addColumn<QString>("by");
    QTest::addColumn<int>("row");
    QTest::newRow("another app and back") << u"select"_s << 1;
    QTest::newRow("a new app") << u"btnNewApp"_s << 1;
    QTest::newRow("a deleted app") << u"btnDeleteApp"_s << 1;
    QTest::newRow("a deleted file") << u"btnDeleteFile"_s << 1;
}

void TestMainWindowApps::unappliedEditsAreDiscarded()
{
    QFETCH(const QString, by);
    QFETCH(const int, row);
    open(FIVE_APPS, row);
    retype(*window, "author", u"typed"_s);
    retype(*window, "appName1_1", u"typed"_s);
    click(*window, "vl3Compatible");
    click(*window, "check1_2");

    if (by == "select"_L1)
        selectApp(0);
    else
        click(*window, qPrintable(by));
    selectApp(by == "btnDeleteApp"_L1 ? 0 : row);

    QCOMPARE(text("author"), by == "btnDeleteApp"_L1 ? u"a1"_s : u"a2"_s);
    QCOMPARE(checkedBoxes(), QStringList(u"KR-7"_s));
    QVERIFY(!isChecked("check1_2"));
    QVERIFY(!saved().contains("typed"));
    QVERIFY(!listedApps().contains(u"typed"_s));
}

void TestMainWindowApps::clickOnTheCurrentAppChangesNothing()
{
    open(FIVE_APPS, 1);
    retype(*window, "author", u"typed"_s);
    const QSignalSpy clicked(child<QListWidget>(*window, "listApps"), &QListWidget::itemClicked);
    selectApp(1);
    QCOMPARE(clicked.size(), 1);
    QCOMPARE(text("author"), u"typed"_s);
    QVERIFY(isUnmarked());
}

void TestMainWindowApps::newApp()
{
    open(CLOCK_AND_LAMP);
    click(*window, "btnNewApp");
    QCOMPARE(listedApps(), QStringList({u"Clock"_s, u"Lamp"_s, u"[New App]"_s}));
    QCOMPARE(child<QListWidget>(*window, "listApps")->currentRow(), 2);
    QCOMPARE(text("appName1_1"), u"[New App]"_s);
    QCOMPARE(text("author"), QString());
    QCOMPARE(checkedBoxes(), QStringList());
    QVERIFY(isMarked());
    QCOMPARE(saved(), R"({"de":"Uhr","en":"Clock"};Ann;1.2;674,3859;05-03-2024;{};main.lua;img/a.png;5.01
{"en":"Lamp"};Bob;2.0;0;;{};;;0.00
{"en":"[New App]"};;;;;{};;;0.00
)"_ba);
}

void TestMainWindowApps::nameOfANewAppIsReadyToBeTyped()
{
    open(CLOCK_AND_LAMP);
    click(*window, "btnNewApp");
    auto *name = child<QLineEdit>(*window, "appName1_1");
    QCOMPARE(QApplication::focusWidget(), name);
    type(name, u"Radio"_s);
    click(*window, "applyButton");
    QCOMPARE(listedApps().constLast(), u"Radio"_s);

    showTab(*window, "tabAppFiles");
    click(*window, "btnNewApp");
    QVERIFY(!name->hasFocus());
}

void TestMainWindowApps::newAppInAnEmptyProject()
{
    open({}, -1);
    QVERIFY(!isEnabled("tabWidget"));
    click(*window, "btnNewApp");
    QVERIFY(isEnabled("tabWidget"));
    QCOMPARE(child<QListWidget>(*window, "listApps")->currentRow(), 0);
    click(*window, "applyButton");
    QCOMPARE(saved(), "{\"en\":\"[New App]\"};;;;01-01-2000;{};;;0.00\n"_ba);
}

void TestMainWindowApps::deleteApp_data()
{
    QTest::addColumn<QByteArray>("apps");
    QTest::addColumn<int>("row");
    QTest::addColumn<QByteArray>("left");
    QTest::addColumn<int>("current");
    QTest::addColumn<QString>("shown");

    const QByteArray one = "{\"en\":\"One\"};a1;1;674;01-01-2021;{};;;0.00\n";
    const QByteArray two = "{\"en\":\"Two\"};a2;2;674;02-01-2021;{};;;0.00\n";
    const QByteArray three = "{\"en\":\"Three\"};a3;3;674;03-01-2021;{};;;0.00\n";
    QTest::newRow("first") << one + two + three << 0 << two + three << 0 << u"a2"_s;
    QTest::newRow("middle") << one + two + three << 1 << one + three << 1 << u"a3"_s;
    QTest::newRow("last") << one + two + three << 2 << one + two << 1 << u"a2"_s;
    QTest::newRow("only") << one << 0 << QByteArray() << -1 << QString();
}

void TestMainWindowApps::deleteApp()
{
    QFETCH(const QByteArray, apps);
    QFETCH(const int, row);
    QFETCH(const QByteArray, left);
    QFETCH(const int, current);
    QFETCH(const QString, shown);
    open(apps, row);
    click(*window, "btnDeleteApp");
    QCOMPARE(child<QListWidget>(*window, "listApps")->currentRow(), current);
    QCOMPARE(text("author"), shown);
    QCOMPARE(isEnabled("tabWidget"), current >= 0);
    QVERIFY(isMarked());
    QCOMPARE(folder->read(u"Apps.csv"_s), HEADER + apps);
    QCOMPARE(saved(), left);
}

void TestMainWindowApps::deleteWithoutAnApp()
{
    open(FIVE_APPS, -1);
    click(*window, "btnDeleteApp");
    QVERIFY(isMarked());
    QCOMPARE(listedApps().size(), qsizetype(5));
    QCOMPARE(saved(), FIVE_APPS);
}

void TestMainWindowApps::shorterProjectHasNoCurrentApp()
{
    openShorterProject();
    QCOMPARE(listedApps(), QStringList({u"Clock"_s, u"Lamp"_s}));
    QCOMPARE(child<QListWidget>(*window, "listApps")->currentRow(), -1);
    // Nothing can be typed without an app.
    QVERIFY(!isEnabled("tabWidget"));
    for (const char *field : {"appName1_1", "author", "version", "icon"})
        QCOMPARE(text(field), QString());
    QCOMPARE(text("minTxVersion"), u"0.00"_s);
    QCOMPARE(checkedBoxes(), QStringList());
    QCOMPARE(child<QDateEdit>(*window, "publicationDate")->date(), QDate(2000, 1, 1));
    QCOMPARE(child<QListWidget>(*window, "listAppFiles")->count(), 0);
    QCOMPARE(child<QTableWidget>(*window, "tableWidget")->rowCount(), 0);
    QVERIFY(isUnmarked());
    clickTool(*window, "actionSave");
    QCOMPARE(folder->read(u"short/Apps.csv"_s),
             HEADER + R"({"de":"Uhr","en":"Clock"};Ann;1.2;674,3859;05-03-2024;{};main.lua;img/a.png;5.01
{"en":"Lamp"};Bob;2.0;0;;{};;;0.00
)");

    selectApp(1);
    QVERIFY(isEnabled("tabWidget"));
    QCOMPARE(text("author"), u"Bob"_s);
}

void TestMainWindowApps::deleteInAShorterProjectRemovesNothing()
{
    openShorterProject();
    click(*window, "btnDeleteApp");
    QCOMPARE(listedApps(), QStringList({u"Clock"_s, u"Lamp"_s}));
    QCOMPARE(child<QListWidget>(*window, "listApps")->currentRow(), -1);
    QVERIFY(!isEnabled("tabWidget"));
    QVERIFY(isMarked());
}

CATALIST_TEST(TestMainWindowApps)
#include "tst_mainwindow_apps.moc"
