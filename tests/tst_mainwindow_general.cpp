#include "appstest.h"
#include "testrunner.h"

#include <QDateEdit>
#include <QDateTimeEdit>
#include <QListWidget>
#include <QTreeView>

using namespace Qt::StringLiterals;

class TestMainWindowGeneral : public AppsTest
{
    Q_OBJECT

private slots:
    void everyFieldIsShown();
    void everyFieldIsStored();
    void nothingIsStoredBeforeApply();

    void boxesAreShown_data();
    void boxesAreShown();
    void boxesAreStored_data();
    void boxesAreStored();
    void secondGenerationAfterApply_data();
    void secondGenerationAfterApply();

    void versions_data();
    void versions();
    void minimumVersions_data();
    void minimumVersions();
    void appWithoutDateShowsTheDefault();
    void dateIsStored();

    void iconIsPicked();
    void iconPickerIsCancelled();

private:
    void setChecked(const char *box, bool checked) const;
};

void TestMainWindowGeneral::setChecked(const char *box, bool checked) const
{
    if (isChecked(box) != checked)
        click(*window, box);
}

void TestMainWindowGeneral::everyFieldIsShown()
{
    open(CLOCK_AND_LAMP);
    QVERIFY(isEnabled("tabWidget"));
    QCOMPARE(text("appName1_1"), u"Clock"_s);
    QCOMPARE(text("appName1_2"), u"Uhr"_s);
    QCOMPARE(language("lng1_2"), u"de"_s);
    QCOMPARE(text("author"), u"Ann"_s);
    QCOMPARE(text("version"), u"1.2"_s);
    QCOMPARE(child<QDateEdit>(*window, "publicationDate")->date(), QDate(2024, 3, 5));
    QCOMPARE(text("icon"), u"img/a.png"_s);
    QCOMPARE(text("minTxVersion"), u"5.01"_s);
    QCOMPARE(checkedBoxes(), QStringList({u"KR-7"_s, u"KR-9"_s}));

    selectApp(1);
    QCOMPARE(text("appName1_1"), u"Lamp"_s);
    QCOMPARE(text("appName1_2"), QString());
    QCOMPARE(text("author"), u"Bob"_s);
    QCOMPARE(text("version"), u"2.0"_s);
    QCOMPARE(text("icon"), QString());
    QCOMPARE(text("minTxVersion"), u"0.00"_s);
    QCOMPARE(checkedBoxes(), QStringList());
}

void TestMainWindowGeneral::everyFieldIsStored()
{
    open(CLOCK_AND_LAMP);
    retype(*window, "appName1_1", u"Wécker"_s);
    retype(*window, "appName1_2", u"Weckuhr"_s);
    retype(*window, "author", u"Zoë, Ltd"_s);
    retype(*window, "version", u"3.4.5"_s);
    child<QDateEdit>(*window, "publicationDate")->setDate(QDate(2023, 11, 15));
    retype(*window, "icon", u"img/b.png"_s);
    retype(*window, "minTxVersion", u"4.12"_s);
    click(*window, "applyButton");

    QCOMPARE(listedApps(), QStringList({u"Wécker"_s, u"Lamp"_s}));
    QCOMPARE(child<QListWidget>(*window, "listApps")->currentRow(), 0);
    QCOMPARE(saved(),
             R"({"de":"Weckuhr","en":"Wécker"};Zoë, Ltd;3.4.5;674,678,3859;15-11-2023;{};main.lua;img/b.png;4.12
{"en":"Lamp"};Bob;2.0;0;;{};;;0.00
)"_ba);
}

void TestMainWindowGeneral::nothingIsStoredBeforeApply()
{
    open(FIVE_APPS, 1);
    retype(*window, "appName1_1", u"Other"_s);
    retype(*window, "author", u"Other"_s);
    click(*window, "kr9Compatible");
    QVERIFY(isUnmarked());
    QCOMPARE(listedApps().at(1), u"Two"_s);
    QCOMPARE(saved(), FIVE_APPS);
}

void TestMainWindowGeneral::boxesAreShown_data()
{
    QTest::addColumn<QByteArray>("ids");
    QTest::addColumn<QString>("labels");

    QTest::newRow("673 alone") << "673"_ba << u"KR-7"_s;
    QTest::newRow("674") << "674"_ba << u"KR-7"_s;
    QTest::newRow("675") << "675"_ba << u"VL-7"_s;
    QTest::newRow("676") << "676"_ba << u"VL-5"_s;
    QTest::newRow("677") << "677"_ba << u"KR-5"_s;
    QTest::newRow("678") << "678"_ba << u"KR-9"_s;
    QTest::newRow("679") << "679"_ba << u"VL-9"_s;
    QTest::newRow("680") << "680"_ba << u"VL-3"_s;
    QTest::newRow("652") << "652"_ba << u"KR-7II"_s;
    QTest::newRow("653") << "653"_ba << u"VL-7II"_s;
    QTest::newRow("3857") << "3857"_ba << u"KR-5II"_s;
    QTest::newRow("3858") << "3858"_ba << u"VL-5II"_s;
    QTest::newRow("3859, the second of its box") << "3859"_ba << u"KR-9"_s;
    QTest::newRow("3860, the second of its box") << "3860"_ba << u"VL-9"_s;
    QTest::newRow("3861, the second of its box") << "3861"_ba << u"KR-7II"_s;
    QTest::newRow("3862, the second of its box") << "3862"_ba << u"VL-7II"_s;
    QTest::newRow("3863, the second of its box") << "3863"_ba << u"KR-5II"_s;
    QTest::newRow("3864, the second of its box") << "3864"_ba << u"VL-5II"_s;
    QTest::newRow("3865, the second of its box") << "3865"_ba << u"VL-3"_s;
    QTest::newRow("3866 alone checks nothing") << "3866"_ba << QString();
    QTest::newRow("3867 checks both of its generation") << "3867"_ba << u"KR-9II VL-9II"_s;
    QTest::newRow("both of the generation") << "3866,3867"_ba << u"KR-9II VL-9II"_s;
    QTest::newRow("both ids of one box") << "678,3859"_ba << u"KR-9"_s;
    QTest::newRow("no ids") << ""_ba << QString();
    QTest::newRow("unknown ids") << "0,1,672,681,3868"_ba << QString();
    QTest::newRow("duplicates") << "680,680,653"_ba << u"VL-3 VL-7II"_s;
    QTest::newRow("everything")
        << "673,674,675,676,677,678,679,680,652,653,3857,3858,3859,3860,3861,3862,3863,3864,3865,3866,3867"_ba
        << u"KR-7 VL-7 VL-5 KR-5 KR-9 VL-9 VL-3 KR-7II VL-7II KR-5II VL-5II KR-9II VL-9II"_s;
}

void TestMainWindowGeneral::boxesAreShown()
{
    QFETCH(const QByteArray, ids);
    QFETCH(const QString, labels);
    // The first app has all boxes checked, so that the second one must uncheck some.
    open("{\"en\":\"All\"};;;674,675,676,677,678,679,680,652,653,3857,3858,3867;;{};;;0.00\n"
         "{\"en\":\"App\"};;;"
         + ids + ";;{};;;0.00\n");
    QCOMPARE(checkedBoxes().size(), qsizetype(13));
    selectApp(1);
    QCOMPARE(checkedBoxes().join(u' '), labels);
}

void TestMainWindowGeneral::boxesAreStored_data()
{
    QTest::addColumn<QString>("labels");
    QTest::addColumn<QByteArray>("ids");

    QTest::newRow("KR-7") << u"KR-7"_s << "674"_ba;
    QTest::newRow("VL-7") << u"VL-7"_s << "675"_ba;
    QTest::newRow("VL-5") << u"VL-5"_s << "676"_ba;
    QTest::newRow("KR-5") << u"KR-5"_s << "677"_ba;
    QTest::newRow("KR-9") << u"KR-9"_s << "678,3859"_ba;
    QTest::newRow("VL-9") << u"VL-9"_s << "679,3860"_ba;
    QTest::newRow("VL-3") << u"VL-3"_s << "680,3865"_ba;
    QTest::newRow("KR-7II") << u"KR-7II"_s << "652,3861"_ba;
    QTest::newRow("VL-7II") << u"VL-7II"_s << "653,3862"_ba;
    QTest::newRow("KR-5II") << u"KR-5II"_s << "3857,3863"_ba;
    QTest::newRow("VL-5II") << u"VL-5II"_s << "3858,3864"_ba;
    QTest::newRow("KR-9II") << u"KR-9II"_s << "3866"_ba;
    QTest::newRow("VL-9II") << u"VL-9II"_s << "3867"_ba;
    QTest::newRow("both of the second generation") << u"KR-9II VL-9II"_s << "3866,3867"_ba;
    QTest::newRow("in the order of the boxes")
        << u"VL-9II KR-5II KR-9 KR-5 VL-5 KR-7"_s << "674,676,677,678,3859,3857,3863,3867"_ba;
    QTest::newRow("none") << QString() << ""_ba;
    QTest::newRow("all")
        << u"KR-7 VL-7 VL-5 KR-5 KR-9 VL-9 VL-3 KR-7II VL-7II KR-5II VL-5II KR-9II VL-9II"_s
        << "674,675,676,677,678,3859,679,3860,680,3865,652,3861,653,3862,3857,3863,3858,3864,3866,3867"_ba;
}

void TestMainWindowGeneral::boxesAreStored()
{
    QFETCH(const QString, labels);
    QFETCH(const QByteArray, ids);
    open("{\"en\":\"App\"};Ann;1.2;673,0,3859;05-03-2024;{};;;5.01\n");
    for (const TransmitterBox &box : BOXES)
        setChecked(box.objectName, labels.split(u' ').contains(QLatin1String(box.label)));
    click(*window, "applyButton");
    QCOMPARE(saved(), "{\"en\":\"App\"};Ann;1.2;" + ids + ";05-03-2024;{};;;5.01\n");
}

void TestMainWindowGeneral::secondGenerationAfterApply_data()
{
    QTest::addColumn<bool>("kr9g2");
    QTest::addColumn<bool>("vl9g2");
    QTest::addColumn<bool>("checkedAgain");
    QTest::newRow("neither") << false << false << false;
    QTest::newRow("KR-9II alone is lost") << true << false << false;
    QTest::newRow("VL-9II checks both") << false << true << true;
    QTest::newRow("both stay") << true << true << true;
}

void TestMainWindowGeneral::secondGenerationAfterApply()
{
    QFETCH(const bool, kr9g2);
    QFETCH(const bool, vl9g2);
    QFETCH(const bool, checkedAgain);
    open("{\"en\":\"App\"};;;674;05-03-2024;{};;;0.00\n");
    setChecked("kr9g2Compatible", kr9g2);
    setChecked("vl9g2Compatible", vl9g2);
    click(*window, "applyButton");
    QCOMPARE(isChecked("kr9g2Compatible"), checkedAgain);
    QCOMPARE(isChecked("vl9g2Compatible"), checkedAgain);
}

void TestMainWindowGeneral::versions_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("shown");
    QTest::newRow("segments") << u"1.2.3"_s << u"1.2.3"_s;
    QTest::newRow("one segment") << u"7"_s << u"7"_s;
    QTest::newRow("zeros") << u"01.00.0"_s << u"1.0.0"_s;
    QTest::newRow("suffix") << u"1.2beta"_s << u"1.2"_s;
    QTest::newRow("no number") << u"beta"_s << QString();
    QTest::newRow("empty") << QString() << QString();
}

void TestMainWindowGeneral::versions()
{
    QFETCH(const QString, typed);
    QFETCH(const QString, shown);
    open("{\"en\":\"E\"};Ann;4.5;674;05-03-2024;{};;;5.01\n");
    retype(*window, "version", typed);
    click(*window, "applyButton");
    QCOMPARE(text("version"), shown);
    QCOMPARE(saved(), "{\"en\":\"E\"};Ann;" + shown.toUtf8() + ";674;05-03-2024;{};;;5.01\n");
}

void TestMainWindowGeneral::minimumVersions_data()
{
    QTest::addColumn<QByteArray>("stored");
    QTest::addColumn<QString>("shown");
    QTest::newRow("one digit") << "5.1"_ba << u"5.01"_s;
    QTest::newRow("two digits") << "5.01"_ba << u"5.01"_s;
    QTest::newRow("twelve") << "4.12"_ba << u"4.12"_s;
    QTest::newRow("ten") << "4.10.2"_ba << u"4.10"_s;
    QTest::newRow("three digits") << "4.123"_ba << u"4.123"_s;
    QTest::newRow("one segment") << "6"_ba << u"6.00"_s;
    QTest::newRow("none") << ""_ba << u"0.00"_s;
}

void TestMainWindowGeneral::minimumVersions()
{
    QFETCH(const QByteArray, stored);
    QFETCH(const QString, shown);
    open("{\"en\":\"E\"};Ann;4.5;674;05-03-2024;{};;;" + stored + "\n");
    QCOMPARE(text("minTxVersion"), shown);
    click(*window, "applyButton");
    QCOMPARE(text("minTxVersion"), shown);
    QCOMPARE(saved(), "{\"en\":\"E\"};Ann;4.5;674;05-03-2024;{};;;" + shown.toUtf8() + "\n");
}

void TestMainWindowGeneral::appWithoutDateShowsTheDefault()
{
    open(CLOCK_AND_LAMP);
    const auto *date = child<QDateEdit>(*window, "publicationDate");
    QCOMPARE(date->date(), QDate(2024, 3, 5));
    selectApp(1);
    QCOMPARE(date->date(), QDate(2000, 1, 1));
    click(*window, "applyButton");
    QCOMPARE(saved(), R"({"de":"Uhr","en":"Clock"};Ann;1.2;674,3859;05-03-2024;{};main.lua;img/a.png;5.01
{"en":"Lamp"};Bob;2.0;;01-01-2000;{};;;0.00
)"_ba);
}

void TestMainWindowGeneral::dateIsStored()
{
    open("{\"en\":\"E\"};Ann;4.5;674;29-02-2024;{};;;5.01\n");
    auto *date = child<QDateEdit>(*window, "publicationDate");
    date->setCurrentSection(QDateTimeEdit::MonthSection);
    QTest::keyClick(date, Qt::Key_Up);
    QCOMPARE(date->date(), QDate(2024, 3, 29));
    click(*window, "applyButton");
    QCOMPARE(date->date(), QDate(2024, 3, 29));
    QCOMPARE(saved(), "{\"en\":\"E\"};Ann;4.5;674;29-03-2024;{};;;5.01\n"_ba);
}

void TestMainWindowGeneral::iconIsPicked()
{
    for (const QString &file : {u"img/a.png"_s, u"img/b.jpg"_s, u"img/c.jpeg"_s, u"img/d.gif"_s, u"img/e.bmp"_s})
        folder->write(file, "i");
    const QByteArray app = "{\"en\":\"E\"};Ann;4.5;674;05-03-2024;{};;";
    open(app + "old.png;5.01\n");
    QStringList offered;
    answers->answer([&offered](QWidget *dialog) {
        auto *tree = child<QTreeView>(*dialog, "treeView");
        const QModelIndex folderEntry = treeEntry(tree, u"img/d.gif"_s).parent();
        for (int row = 0; row < tree->model()->rowCount(folderEntry); ++row)
            offered.append(tree->model()->index(row, 0, folderEntry).data().toString());
        const QModelIndex entry = treeEntry(tree, u"img/b.jpg"_s);
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualRect(entry).center());
        QTest::mouseDClick(tree->viewport(), Qt::LeftButton, {}, tree->visualRect(entry).center());
    });
    click(*window, "iconBtn");
    offered.sort();
    QCOMPARE(offered, QStringList({u"a.png"_s, u"b.jpg"_s, u"c.jpeg"_s, u"d.gif"_s}));
    QCOMPARE(text("icon"), u"img/b.jpg"_s);
    QVERIFY(isUnmarked());
    QCOMPARE(saved(), app + "old.png;5.01\n");
    click(*window, "applyButton");
    QCOMPARE(saved(), app + "img/b.jpg;5.01\n");
}

void TestMainWindowGeneral::iconPickerIsCancelled()
{
    folder->write(u"a.png"_s, "i");
    open("{\"en\":\"E\"};Ann;4.5;674;05-03-2024;{};;old.png;5.01\n");
    retype(*window, "author", u"typed"_s);
    answers->answer([](QWidget *dialog) {
        auto *tree = child<QTreeView>(*dialog, "treeView");
        const QModelIndex entry = treeEntry(tree, u"a.png"_s);
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualRect(entry).center());
        QTest::keyClick(dialog, Qt::Key_Escape);
    });
    click(*window, "iconBtn");
    QCOMPARE(text("icon"), u"old.png"_s);
    QCOMPARE(text("author"), u"typed"_s);
    QVERIFY(isUnmarked());
}

CATALIST_TEST(TestMainWindowGeneral)
#include "tst_mainwindow_general.moc"
