#include "scratchhome.h"
#include "windowtest.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QTableWidget>
#include <QTreeView>

#include <array>

using namespace Qt::StringLiterals;

namespace {

struct TransmitterBox
{
    const char *label;
    const char *objectName;
};

constexpr std::array<TransmitterBox, 13> BOXES{{
    {"KR-7", "kr7Compatible"},
    {"VL-7", "vl7Compatible"},
    {"VL-5", "vl5Compatible"},
    {"KR-5", "kr5Compatible"},
    {"KR-9", "kr9Compatible"},
    {"VL-9", "vl9Compatible"},
    {"VL-3", "vl3Compatible"},
    {"KR-7II", "kr7IICompatible"},
    {"VL-7II", "vl7IICompatible"},
    {"KR-5II", "kr5IICompatible"},
    {"VL-5II", "vl5IICompatible"},
    {"KR-9II", "kr9g2Compatible"},
    {"VL-9II", "vl9g2Compatible"},
}};

struct LanguageRow
{
    const char *name;
    const char *language;
    const char *used;
};

constexpr std::array<LanguageRow, 3> ROWS{{
    {"appName1_2", "lng1_2", "check1_2"},
    {"appName1_3", "lng1_3", "check1_3"},
    {"appName1_4", "lng1_4", "check1_4"},
}};

const QByteArray TWO_APPS = R"({"de":"Uhr","en":"Clock"};Ann;1.2;674,3859;05-03-2024;{};main.lua;img/a.png;5.01
{"en":"Lamp"};Bob;2.0;;;{};;;0.00
)";

const QByteArray FIVE_APPS = R"({"en":"One"};a1;1;674;01-01-2021;{};;;0.00
{"en":"Two"};a2;2;674;02-01-2021;{};;;0.00
{"en":"Three"};a3;3;674;03-01-2021;{};;;0.00
{"en":"Four"};a4;4;674;04-01-2021;{};;;0.00
{"en":"Five"};a5;5;674;05-01-2021;{"en":"five.html"};f5.lua;;0.00
)";

} // namespace

class TestMainWindowGeneral : public QObject, private WindowTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void nothingIsShownBeforeAnAppIsSelected();
    void listShowsTheEnglishNames();
    void listIsFollowedByMouseAndKeyboard();
    void everyFieldIsShown();
    void everyFieldIsStored();
    void nothingIsStoredBeforeApply();

    void boxesAreShown_data();
    void boxesAreShown();
    void boxesAreStored_data();
    void boxesAreStored();
    void secondGenerationAfterApply_data();
    void secondGenerationAfterApply();

    void languages_data();
    void languages();
    void languageWithoutAnItemKeepsTheOneBefore();
    void laterRowOfTheSameLanguageWins();
    void languageRowsAreSwitchedByTheirBoxes_data();
    void languageRowsAreSwitchedByTheirBoxes();
    void namesAreEditedInFourLanguages();
    void emptyDefaultNameIsStored();

    void versions_data();
    void versions();
    void minimumVersions_data();
    void minimumVersions();
    void appWithoutDateShowsTheDefault();
    void dateIsStored();

    void unappliedEditsAreDiscarded_data();
    void unappliedEditsAreDiscarded();
    void clickOnTheCurrentAppChangesNothing();

    void newApp();
    void newAppInAnEmptyProject();
    void deleteApp_data();
    void deleteApp();
    void deleteWithoutAnApp();

    void indexPastTheEndShowsAnEmptyRecord();
    void indexPastTheEndStoresNothing_data();
    void indexPastTheEndStoresNothing();
    void deletePastTheEndRemovesNothing();

    void iconIsPicked();
    void iconPickerIsCancelled();
    void titleIsMarkedOnce();

private:
    void open(const QByteArray &apps, int row = 0);
    void openShorterProject();
    [[nodiscard]] QString text(const char *lineEdit) const { return child<QLineEdit>(*window, lineEdit)->text(); }
    [[nodiscard]] QString language(const char *box) const { return child<QComboBox>(*window, box)->currentText(); }
    [[nodiscard]] bool isEnabled(const char *widget) const { return child<QWidget>(*window, widget)->isEnabled(); }
    [[nodiscard]] bool isChecked(const char *box) const { return child<QCheckBox>(*window, box)->isChecked(); }
    [[nodiscard]] QStringList checkedBoxes() const;
    [[nodiscard]] QStringList listTexts() const;
    [[nodiscard]] QByteArray saved() const;
    void setChecked(const char *box, bool checked) const;
    void selectApp(int row) const { clickCell(child<QListWidget>(*window, "listApps"), row); }
    void chooseLanguage(const char *box, const QString &code) const;
};

void TestMainWindowGeneral::init()
{
    begin();
}

void TestMainWindowGeneral::cleanup()
{
    end();
}

void TestMainWindowGeneral::open(const QByteArray &apps, int row)
{
    folder->write(u"Apps.csv"_s, HEADER + apps);
    storeProject(folder->path(u"Apps.csv"_s));
    window = openWindow<MainWindow>();
    if (row >= 0)
        selectApp(row);
}

void TestMainWindowGeneral::openShorterProject()
{
    folder->write(u"short/Apps.csv"_s, HEADER + TWO_APPS);
    folder->write(u"short/x.html"_s, "x");
    open(FIVE_APPS, 4);
    answers->chooseFile(folder->path(u"short/Apps.csv"_s));
    clickTool(*window, "actionOpen_project");
}

QStringList TestMainWindowGeneral::checkedBoxes() const
{
    QStringList labels;
    for (const TransmitterBox &box : BOXES) {
        if (isChecked(box.objectName))
            labels.append(child<QCheckBox>(*window, box.objectName)->text());
    }
    return labels;
}

QStringList TestMainWindowGeneral::listTexts() const
{
    const auto *list = child<QListWidget>(*window, "listApps");
    QStringList texts;
    for (int row = 0; row < list->count(); ++row)
        texts.append(list->item(row)->text());
    return texts;
}

/// What follows the header in the project file after "Save".
QByteArray TestMainWindowGeneral::saved() const
{
    clickTool(*window, "actionSave");
    const QByteArray content = folder->read(u"Apps.csv"_s);
    return content.startsWith(HEADER) ? content.sliced(HEADER.size()) : "No header: " + content;
}

void TestMainWindowGeneral::setChecked(const char *box, bool checked) const
{
    if (isChecked(box) != checked)
        click(*window, box);
}

void TestMainWindowGeneral::chooseLanguage(const char *box, const QString &code) const
{
    auto *combo = child<QComboBox>(*window, box);
    QTest::keyClicks(combo, code.first(1));
    if (combo->currentText() != code)
        qFatal("%s is not in the box", qPrintable(code));
}

void TestMainWindowGeneral::nothingIsShownBeforeAnAppIsSelected()
{
    open(TWO_APPS, -1);
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

void TestMainWindowGeneral::listShowsTheEnglishNames()
{
    const QByteArray apps = R"({"en":"Clock"};;;674;;{};;;0.00
{"de":"Lampe","fr":"Lampe de poche"};;;674;;{};;;0.00
{};;;674;;{};;;0.00
{"EN":"Shout"};;;674;;{};;;0.00
{"cz":"Žárovka","en":"Bulb Ž"};;;674;;{};;;0.00
)";
    open(apps);
    QCOMPARE(listTexts(), QStringList({u"Clock"_s, {}, {}, {}, u"Bulb Ž"_s}));
    QCOMPARE(saved(), apps);
}

void TestMainWindowGeneral::listIsFollowedByMouseAndKeyboard()
{
    open(FIVE_APPS, 2);
    QCOMPARE(text("author"), u"a3"_s);
    QTest::keyClick(child<QListWidget>(*window, "listApps"), Qt::Key_Down);
    QCOMPARE(text("author"), u"a4"_s);
    selectApp(0);
    QCOMPARE(text("author"), u"a1"_s);
    QCOMPARE(window->windowTitle(), u"Orva Catalist"_s);
}

void TestMainWindowGeneral::everyFieldIsShown()
{
    open(TWO_APPS);
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
    open(TWO_APPS);
    retype(*window, "appName1_1", u"Wécker"_s);
    retype(*window, "appName1_2", u"Weckuhr"_s);
    retype(*window, "author", u"Zoë, Ltd"_s);
    retype(*window, "version", u"3.4.5"_s);
    child<QDateEdit>(*window, "publicationDate")->setDate(QDate(2023, 11, 15));
    retype(*window, "icon", u"img/b.png"_s);
    retype(*window, "minTxVersion", u"4.12"_s);
    click(*window, "applyButton");

    QCOMPARE(listTexts(), QStringList({u"Wécker"_s, u"Lamp"_s}));
    QCOMPARE(child<QListWidget>(*window, "listApps")->currentRow(), 0);
    QCOMPARE(saved(),
             QByteArray(
                 R"({"de":"Weckuhr","en":"Wécker"};Zoë, Ltd;3.4.5;674,678,3859;15-11-2023;{};main.lua;img/b.png;4.12
{"en":"Lamp"};Bob;2.0;0;;{};;;0.00
)"));
}

void TestMainWindowGeneral::nothingIsStoredBeforeApply()
{
    open(FIVE_APPS, 1);
    retype(*window, "appName1_1", u"Other"_s);
    retype(*window, "author", u"Other"_s);
    click(*window, "kr9Compatible");
    QCOMPARE(window->windowTitle(), u"Orva Catalist"_s);
    QCOMPARE(listTexts().at(1), u"Two"_s);
    QCOMPARE(saved(), FIVE_APPS);
}

void TestMainWindowGeneral::boxesAreShown_data()
{
    QTest::addColumn<QByteArray>("ids");
    QTest::addColumn<QString>("labels");

    QTest::newRow("673 alone") << QByteArray("673") << u"KR-7"_s;
    QTest::newRow("674") << QByteArray("674") << u"KR-7"_s;
    QTest::newRow("675") << QByteArray("675") << u"VL-7"_s;
    QTest::newRow("676") << QByteArray("676") << u"VL-5"_s;
    QTest::newRow("677") << QByteArray("677") << u"KR-5"_s;
    QTest::newRow("678") << QByteArray("678") << u"KR-9"_s;
    QTest::newRow("679") << QByteArray("679") << u"VL-9"_s;
    QTest::newRow("680") << QByteArray("680") << u"VL-3"_s;
    QTest::newRow("652") << QByteArray("652") << u"KR-7II"_s;
    QTest::newRow("653") << QByteArray("653") << u"VL-7II"_s;
    QTest::newRow("3857") << QByteArray("3857") << u"KR-5II"_s;
    QTest::newRow("3858") << QByteArray("3858") << u"VL-5II"_s;
    QTest::newRow("3859, the second of its box") << QByteArray("3859") << u"KR-9"_s;
    QTest::newRow("3860, the second of its box") << QByteArray("3860") << u"VL-9"_s;
    QTest::newRow("3861, the second of its box") << QByteArray("3861") << u"KR-7II"_s;
    QTest::newRow("3862, the second of its box") << QByteArray("3862") << u"VL-7II"_s;
    QTest::newRow("3863, the second of its box") << QByteArray("3863") << u"KR-5II"_s;
    QTest::newRow("3864, the second of its box") << QByteArray("3864") << u"VL-5II"_s;
    QTest::newRow("3865, the second of its box") << QByteArray("3865") << u"VL-3"_s;
    QTest::newRow("3866 alone checks nothing") << QByteArray("3866") << QString();
    QTest::newRow("3867 checks both of its generation") << QByteArray("3867") << u"KR-9II VL-9II"_s;
    QTest::newRow("both of the generation") << QByteArray("3866,3867") << u"KR-9II VL-9II"_s;
    QTest::newRow("both ids of one box") << QByteArray("678,3859") << u"KR-9"_s;
    QTest::newRow("no ids") << QByteArray("") << QString();
    QTest::newRow("unknown ids") << QByteArray("0,1,672,681,3868") << QString();
    QTest::newRow("duplicates") << QByteArray("680,680,653") << u"VL-3 VL-7II"_s;
    QTest::newRow("everything") << QByteArray(
        "673,674,675,676,677,678,679,680,652,653,3857,3858,3859,3860,3861,3862,3863,3864,3865,3866,3867")
                                << u"KR-7 VL-7 VL-5 KR-5 KR-9 VL-9 VL-3 KR-7II VL-7II KR-5II VL-5II KR-9II VL-9II"_s;
}

void TestMainWindowGeneral::boxesAreShown()
{
    QFETCH(const QByteArray, ids);
    QFETCH(const QString, labels);
    // The boxes of the app before are those that the row leaves unchecked, and the other way round.
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

    QTest::newRow("KR-7") << u"KR-7"_s << QByteArray("674");
    QTest::newRow("VL-7") << u"VL-7"_s << QByteArray("675");
    QTest::newRow("VL-5") << u"VL-5"_s << QByteArray("676");
    QTest::newRow("KR-5") << u"KR-5"_s << QByteArray("677");
    QTest::newRow("KR-9") << u"KR-9"_s << QByteArray("678,3859");
    QTest::newRow("VL-9") << u"VL-9"_s << QByteArray("679,3860");
    QTest::newRow("VL-3") << u"VL-3"_s << QByteArray("680,3865");
    QTest::newRow("KR-7II") << u"KR-7II"_s << QByteArray("652,3861");
    QTest::newRow("VL-7II") << u"VL-7II"_s << QByteArray("653,3862");
    QTest::newRow("KR-5II") << u"KR-5II"_s << QByteArray("3857,3863");
    QTest::newRow("VL-5II") << u"VL-5II"_s << QByteArray("3858,3864");
    QTest::newRow("KR-9II") << u"KR-9II"_s << QByteArray("3866");
    QTest::newRow("VL-9II") << u"VL-9II"_s << QByteArray("3867");
    QTest::newRow("both of the second generation") << u"KR-9II VL-9II"_s << QByteArray("3866,3867");
    QTest::newRow("in the order of the boxes")
        << u"VL-9II KR-5II KR-9 KR-5 VL-5 KR-7"_s << QByteArray("674,676,677,678,3859,3857,3863,3867");
    QTest::newRow("none") << QString() << QByteArray("");
    QTest::newRow("all")
        << u"KR-7 VL-7 VL-5 KR-5 KR-9 VL-9 VL-3 KR-7II VL-7II KR-5II VL-5II KR-9II VL-9II"_s
        << QByteArray("674,675,676,677,678,3859,679,3860,680,3865,652,3861,653,3862,3857,3863,3858,3864,3866,3867");
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

void TestMainWindowGeneral::languages_data()
{
    QTest::addColumn<QByteArray>("names");
    QTest::addColumn<QString>("rows");
    QTest::addColumn<QByteArray>("afterApply");

    QTest::newRow("none") << QByteArray("{}") << u"-/cz -/de -/fr"_s << QByteArray(R"({"en":""})");
    QTest::newRow("default alone") << QByteArray(R"({"en":"E"})") << u"-/cz -/de -/fr"_s << QByteArray(R"({"en":"E"})");
    QTest::newRow("other alone") << QByteArray(R"({"it":"I"})") << u"I/it -/de -/fr"_s
                                 << QByteArray(R"({"en":"","it":"I"})");
    QTest::newRow("two") << QByteArray(R"({"en":"E","fr":"F"})") << u"F/fr -/de -/fr"_s
                         << QByteArray(R"({"en":"E","fr":"F"})");
    QTest::newRow("three, before and after the default")
        << QByteArray(R"({"de":"D","en":"E","it":"I"})") << u"D/de I/it -/fr"_s
        << QByteArray(R"({"de":"D","en":"E","it":"I"})");
    QTest::newRow("four") << QByteArray(R"({"de":"D","en":"E","fr":"F","it":"I"})") << u"D/de F/fr I/it"_s
                          << QByteArray(R"({"de":"D","en":"E","fr":"F","it":"I"})");
    QTest::newRow("five lose the last") << QByteArray(R"({"cz":"C","de":"D","en":"E","fr":"F","it":"I"})")
                                        << u"C/cz D/de F/fr"_s
                                        << QByteArray(R"({"cz":"C","de":"D","en":"E","fr":"F"})");
    QTest::newRow("six lose two") << QByteArray(R"({"cz":"C","de":"D","en":"E","fr":"F","it":"I","pl":"P"})")
                                  << u"C/cz D/de F/fr"_s << QByteArray(R"({"cz":"C","de":"D","en":"E","fr":"F"})");
    QTest::newRow("not an item of the box")
        << QByteArray(R"({"en":"E","es":"S"})") << u"S/cz -/de -/fr"_s << QByteArray(R"({"cz":"S","en":"E"})");
    QTest::newRow("default in other letters")
        << QByteArray(R"({"EN":"X","en":"E"})") << u"X/cz -/de -/fr"_s << QByteArray(R"({"cz":"X","en":"E"})");
    QTest::newRow("empty name") << QByteArray(R"({"de":"","en":"E"})") << u"*/de -/de -/fr"_s
                                << QByteArray(R"({"de":"","en":"E"})");
}

void TestMainWindowGeneral::languages()
{
    QFETCH(const QByteArray, names);
    QFETCH(const QString, rows);
    QFETCH(const QByteArray, afterApply);
    open(names + ";Ann;1.2;674;05-03-2024;{};;;5.01\n");

    QStringList shown;
    for (const LanguageRow &row : ROWS) {
        const bool used = isChecked(row.used);
        QCOMPARE(isEnabled(row.name), used);
        QCOMPARE(isEnabled(row.language), used);
        const QString name = text(row.name);
        const QString none = used ? u"*"_s : u"-"_s;
        shown.append((name.isEmpty() ? none : name) + u'/' + language(row.language));
    }
    QCOMPARE(shown.join(u' '), rows);

    click(*window, "applyButton");
    QCOMPARE(saved(), afterApply + ";Ann;1.2;674;05-03-2024;{};;;5.01\n");
}

void TestMainWindowGeneral::languageWithoutAnItemKeepsTheOneBefore()
{
    open(R"({"en":"E","it":"I"};;;674;;{};;;0.00
{"en":"E","es":"S"};;;674;;{};;;0.00
)");
    QCOMPARE(language("lng1_2"), u"it"_s);
    selectApp(1);
    QCOMPARE(text("appName1_2"), u"S"_s);
    QCOMPARE(language("lng1_2"), u"it"_s);
}

void TestMainWindowGeneral::laterRowOfTheSameLanguageWins()
{
    open(R"({"cz":"C","de":"D","en":"E","fr":"F"};Ann;1.2;674;05-03-2024;{};;;5.01
)");
    chooseLanguage("lng1_2", u"fr"_s);
    chooseLanguage("lng1_3", u"it"_s);
    click(*window, "applyButton");
    QCOMPARE(saved(), QByteArray(R"({"en":"E","fr":"F","it":"D"};Ann;1.2;674;05-03-2024;{};;;5.01
)"));
}

void TestMainWindowGeneral::languageRowsAreSwitchedByTheirBoxes_data()
{
    QTest::addColumn<int>("row");
    QTest::newRow("row 2") << 0;
    QTest::newRow("row 3") << 1;
    QTest::newRow("row 4") << 2;
}

void TestMainWindowGeneral::languageRowsAreSwitchedByTheirBoxes()
{
    QFETCH(const int, row);
    const LanguageRow &tested = ROWS.at(static_cast<size_t>(row));
    open("{\"en\":\"E\"};Ann;1.2;674;05-03-2024;{};;;5.01\n");

    click(*window, tested.used);
    for (const LanguageRow &other : ROWS) {
        const bool enabled = &other == &tested;
        QCOMPARE(isEnabled(other.name), enabled);
        QCOMPARE(isEnabled(other.language), enabled);
    }
    retype(*window, tested.name, u"I"_s);
    chooseLanguage(tested.language, u"it"_s);

    click(*window, tested.used);
    QVERIFY(!isEnabled(tested.name));
    QVERIFY(!isEnabled(tested.language));
    QCOMPARE(text(tested.name), u"I"_s);
    QCOMPARE(language(tested.language), u"it"_s);

    auto *box = child<QCheckBox>(*window, tested.used);
    box->setTristate(true);
    box->setCheckState(Qt::PartiallyChecked);
    QVERIFY(isEnabled(tested.name));
    QVERIFY(isEnabled(tested.language));

    box->setCheckState(Qt::Unchecked);
    click(*window, "applyButton");
    QCOMPARE(saved(), QByteArray("{\"en\":\"E\"};Ann;1.2;674;05-03-2024;{};;;5.01\n"));
}

void TestMainWindowGeneral::namesAreEditedInFourLanguages()
{
    open("{\"en\":\"E\"};Ann;1.2;674;05-03-2024;{};;;5.01\n");
    for (const LanguageRow &row : ROWS)
        click(*window, row.used);
    retype(*window, "appName1_1", u"Clock"_s);
    retype(*window, "appName1_2", u"Horloge \"1\""_s);
    chooseLanguage("lng1_2", u"fr"_s);
    retype(*window, "appName1_3", u"Orologio"_s);
    chooseLanguage("lng1_3", u"it"_s);
    retype(*window, "appName1_4", u"Hodiny č"_s);
    chooseLanguage("lng1_4", u"cz"_s);
    click(*window, "applyButton");

    QCOMPARE(text("appName1_2"), u"Hodiny č"_s);
    QCOMPARE(language("lng1_2"), u"cz"_s);
    QCOMPARE(text("appName1_4"), u"Orologio"_s);
    QCOMPARE(saved(), QByteArray(R"({"cz":"Hodiny č","en":"Clock","fr":"Horloge \"1\"","it":"Orologio"};)"
                                 "Ann;1.2;674;05-03-2024;{};;;5.01\n"));
}

void TestMainWindowGeneral::emptyDefaultNameIsStored()
{
    open("{\"en\":\"E\"};Ann;1.2;674;05-03-2024;{};;;5.01\n");
    retype(*window, "appName1_1", {});
    click(*window, "applyButton");
    QCOMPARE(listTexts(), QStringList(QString()));
    QCOMPARE(saved(), QByteArray("{\"en\":\"\"};Ann;1.2;674;05-03-2024;{};;;5.01\n"));
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
    QTest::newRow("one digit") << QByteArray("5.1") << u"5.01"_s;
    QTest::newRow("two digits") << QByteArray("5.01") << u"5.01"_s;
    QTest::newRow("twelve") << QByteArray("4.12") << u"4.12"_s;
    QTest::newRow("ten") << QByteArray("4.10.2") << u"4.10"_s;
    QTest::newRow("three digits") << QByteArray("4.123") << u"4.123"_s;
    QTest::newRow("one segment") << QByteArray("6") << u"6.00"_s;
    QTest::newRow("none") << QByteArray("") << u"0.00"_s;
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
    open(TWO_APPS);
    const auto *date = child<QDateEdit>(*window, "publicationDate");
    QCOMPARE(date->date(), QDate(2024, 3, 5));
    selectApp(1);
    QCOMPARE(date->date(), QDate(2000, 1, 1));
    click(*window, "applyButton");
    QCOMPARE(saved(), QByteArray(R"({"de":"Uhr","en":"Clock"};Ann;1.2;674,3859;05-03-2024;{};main.lua;img/a.png;5.01
{"en":"Lamp"};Bob;2.0;;01-01-2000;{};;;0.00
)"));
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
    QCOMPARE(saved(), QByteArray("{\"en\":\"E\"};Ann;4.5;674;29-03-2024;{};;;5.01\n"));
}

void TestMainWindowGeneral::unappliedEditsAreDiscarded_data()
{
    QTest::addColumn<QString>("by");
    QTest::addColumn<int>("row");
    QTest::newRow("another app and back") << u"select"_s << 1;
    QTest::newRow("a new app") << u"btnNewApp"_s << 1;
    QTest::newRow("a deleted app") << u"btnDeleteApp"_s << 1;
    QTest::newRow("a deleted file") << u"btnDeleteFile"_s << 1;
}

void TestMainWindowGeneral::unappliedEditsAreDiscarded()
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
        click(*window, by.toLatin1().constData());
    selectApp(by == "btnDeleteApp"_L1 ? 0 : row);

    QCOMPARE(text("author"), by == "btnDeleteApp"_L1 ? u"a1"_s : u"a2"_s);
    QCOMPARE(checkedBoxes(), QStringList(u"KR-7"_s));
    QVERIFY(!isChecked("check1_2"));
    QVERIFY(!saved().contains("typed"));
    QVERIFY(!listTexts().contains(u"typed"_s));
}

void TestMainWindowGeneral::clickOnTheCurrentAppChangesNothing()
{
    open(FIVE_APPS, 1);
    retype(*window, "author", u"typed"_s);
    const QSignalSpy clicked(child<QListWidget>(*window, "listApps"), &QListWidget::itemClicked);
    selectApp(1);
    QCOMPARE(clicked.size(), 1);
    QCOMPARE(text("author"), u"typed"_s);
    QCOMPARE(window->windowTitle(), u"Orva Catalist"_s);
}

void TestMainWindowGeneral::newApp()
{
    open(TWO_APPS);
    click(*window, "btnNewApp");
    QCOMPARE(listTexts(), QStringList({u"Clock"_s, u"Lamp"_s, u"[New App]"_s}));
    QCOMPARE(child<QListWidget>(*window, "listApps")->currentRow(), 2);
    QCOMPARE(text("appName1_1"), u"[New App]"_s);
    QCOMPARE(text("author"), QString());
    QCOMPARE(checkedBoxes(), QStringList());
    QCOMPARE(window->windowTitle(), u"Orva Catalist (*)"_s);
    QCOMPARE(saved(), QByteArray(R"({"de":"Uhr","en":"Clock"};Ann;1.2;674,3859;05-03-2024;{};main.lua;img/a.png;5.01
{"en":"Lamp"};Bob;2.0;0;;{};;;0.00
{"en":"[New App]"};;;;;{};;;0.00
)"));
}

void TestMainWindowGeneral::newAppInAnEmptyProject()
{
    open({}, -1);
    QVERIFY(!isEnabled("tabWidget"));
    click(*window, "btnNewApp");
    QVERIFY(isEnabled("tabWidget"));
    QCOMPARE(child<QListWidget>(*window, "listApps")->currentRow(), 0);
    click(*window, "applyButton");
    QCOMPARE(saved(), QByteArray("{\"en\":\"[New App]\"};;;;01-01-2000;{};;;0.00\n"));
}

void TestMainWindowGeneral::deleteApp_data()
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

void TestMainWindowGeneral::deleteApp()
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
    QCOMPARE(window->windowTitle(), u"Orva Catalist (*)"_s);
    QCOMPARE(folder->read(u"Apps.csv"_s), HEADER + apps);
    QCOMPARE(saved(), left);
}

void TestMainWindowGeneral::deleteWithoutAnApp()
{
    open(FIVE_APPS, -1);
    click(*window, "btnDeleteApp");
    QCOMPARE(window->windowTitle(), u"Orva Catalist (*)"_s);
    QCOMPARE(listTexts().size(), qsizetype(5));
    QCOMPARE(saved(), FIVE_APPS);
}

void TestMainWindowGeneral::indexPastTheEndShowsAnEmptyRecord()
{
    openShorterProject();
    QCOMPARE(listTexts(), QStringList({u"Clock"_s, u"Lamp"_s}));
    QCOMPARE(child<QListWidget>(*window, "listApps")->currentRow(), -1);
    QVERIFY(isEnabled("tabWidget"));
    for (const char *field : {"appName1_1", "author", "version", "icon"})
        QCOMPARE(text(field), QString());
    QCOMPARE(text("minTxVersion"), u"0.00"_s);
    QCOMPARE(checkedBoxes(), QStringList());
    QCOMPARE(child<QDateEdit>(*window, "publicationDate")->date(), QDate(2000, 1, 1));
    QCOMPARE(child<QListWidget>(*window, "listAppFiles")->count(), 0);
    QCOMPARE(child<QTableWidget>(*window, "tableWidget")->rowCount(), 0);
    QCOMPARE(window->windowTitle(), u"Orva Catalist"_s);
}

void TestMainWindowGeneral::indexPastTheEndStoresNothing_data()
{
    QTest::addColumn<QString>("page");
    QTest::addColumn<QString>("button");
    QTest::newRow("Apply") << u"tabGeneral"_s << u"applyButton"_s;
    QTest::newRow("Add file") << u"tabAppFiles"_s << u"btnAddFile"_s;
    QTest::newRow("Add folder") << u"tabAppFiles"_s << u"btnAddFolder"_s;
    QTest::newRow("Delete file") << u"tabAppFiles"_s << u"btnDeleteFile"_s;
    QTest::newRow("New description") << u"tabDescription"_s << u"btnNewDescription"_s;
    QTest::newRow("Open description") << u"tabDescription"_s << u"btnOpenDescription"_s;
    QTest::newRow("Delete description") << u"tabDescription"_s << u"btnDeleteDescription"_s;
    QTest::newRow("Auto-save") << u"tabDescription"_s << u"btnAutosave"_s;
}

void TestMainWindowGeneral::indexPastTheEndStoresNothing()
{
    QFETCH(const QString, page);
    QFETCH(const QString, button);
    folder->makeFolder(u"short/lib"_s);
    openShorterProject();
    retype(*window, "author", u"typed"_s);
    showTab(*window, page.toLatin1().constData());
    if (button == "btnAddFile"_L1) {
        answers->pickInProject(u"x.html"_s);
    } else if (button == "btnAddFolder"_L1) {
        answers->pickInProject(u"lib"_s);
    }
    // The description buttons do not even ask.
    click(*window, button.toLatin1().constData());
    QVERIFY(answers->allAnswered());

    clickTool(*window, "actionSave");
    QCOMPARE(folder->read(u"short/Apps.csv"_s),
             HEADER + R"({"de":"Uhr","en":"Clock"};Ann;1.2;674,3859;05-03-2024;{};main.lua;img/a.png;5.01
{"en":"Lamp"};Bob;2.0;0;;{};;;0.00
)");
    QCOMPARE(folder->read(u"Apps.csv"_s), HEADER + FIVE_APPS);
    QCOMPARE(folder->read(u"short/x.html"_s), QByteArray("x"));
    QCOMPARE(child<QListWidget>(*window, "listAppFiles")->count(), 0);
    QCOMPARE(child<QTableWidget>(*window, "tableWidget")->rowCount(), 0);
}

void TestMainWindowGeneral::deletePastTheEndRemovesNothing()
{
    openShorterProject();
    click(*window, "btnDeleteApp");
    QCOMPARE(listTexts(), QStringList({u"Clock"_s, u"Lamp"_s}));
    QCOMPARE(child<QListWidget>(*window, "listApps")->currentRow(), 1);
    QCOMPARE(text("author"), u"Bob"_s);
    QCOMPARE(window->windowTitle(), u"Orva Catalist (*)"_s);
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
    QCOMPARE(window->windowTitle(), u"Orva Catalist"_s);
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
    QCOMPARE(window->windowTitle(), u"Orva Catalist"_s);
}

void TestMainWindowGeneral::titleIsMarkedOnce()
{
    open(FIVE_APPS);
    QCOMPARE(window->windowTitle(), u"Orva Catalist"_s);
    click(*window, "applyButton");
    QCOMPARE(window->windowTitle(), u"Orva Catalist (*)"_s);
    click(*window, "applyButton");
    QCOMPARE(window->windowTitle(), u"Orva Catalist (*)"_s);
    clickTool(*window, "actionSave");
    QCOMPARE(window->windowTitle(), u"Orva Catalist"_s);
}

CATALIST_TEST_MAIN(TestMainWindowGeneral)
#include "tst_mainwindow_general.moc"
