#include "appstest.h"
#include "testrunner.h"

#include <QCheckBox>
#include <QComboBox>

#include <array>

using namespace Qt::StringLiterals;

namespace {

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

} // namespace

class TestMainWindowLanguages : public AppsTest
{
    Q_OBJECT

private slots:
    void languages_data();
    void languages();
    void languageWithoutAnItemKeepsTheOneBefore();
    void laterRowOfTheSameLanguageWins();
    void languageRowsAreSwitchedByTheirBoxes_data();
    void languageRowsAreSwitchedByTheirBoxes();
    void namesAreEditedInFourLanguages();
    void emptyDefaultNameIsStored();

private:
    void chooseLanguage(const char *box, const QString &code) const;
};

void TestMainWindowLanguages::chooseLanguage(const char *box, const QString &code) const
{
    auto *combo = child<QComboBox>(*window, box);
    QTest::keyClicks(combo, code.first(1));
    if (combo->currentText() != code)
        qFatal("%s is not in the box", qPrintable(code));
}

void TestMainWindowLanguages::languages_data()
{
    QTest::addColumn<QByteArray>("names");
    QTest::addColumn<QString>("rows");
    QTest::addColumn<QByteArray>("afterApply");

    QTest::newRow("none") << "{}"_ba << u"-/cz -/de -/fr"_s << R"({"en":""})"_ba;
    QTest::newRow("default alone") << R"({"en":"E"})"_ba << u"-/cz -/de -/fr"_s << R"({"en":"E"})"_ba;
    QTest::newRow("other alone") << R"({"it":"I"})"_ba << u"I/it -/de -/fr"_s << R"({"en":"","it":"I"})"_ba;
    QTest::newRow("two") << R"({"en":"E","fr":"F"})"_ba << u"F/fr -/de -/fr"_s << R"({"en":"E","fr":"F"})"_ba;
    QTest::newRow("three, before and after the default")
        << R"({"de":"D","en":"E","it":"I"})"_ba << u"D/de I/it -/fr"_s << R"({"de":"D","en":"E","it":"I"})"_ba;
    QTest::newRow("four") << R"({"de":"D","en":"E","fr":"F","it":"I"})"_ba << u"D/de F/fr I/it"_s
                          << R"({"de":"D","en":"E","fr":"F","it":"I"})"_ba;
    QTest::newRow("five lose the last") << R"({"cz":"C","de":"D","en":"E","fr":"F","it":"I"})"_ba << u"C/cz D/de F/fr"_s
                                        << R"({"cz":"C","de":"D","en":"E","fr":"F"})"_ba;
    QTest::newRow("six lose two") << R"({"cz":"C","de":"D","en":"E","fr":"F","it":"I","pl":"P"})"_ba
                                  << u"C/cz D/de F/fr"_s << R"({"cz":"C","de":"D","en":"E","fr":"F"})"_ba;
    QTest::newRow("not an item of the box")
        << R"({"en":"E","es":"S"})"_ba << u"S/cz -/de -/fr"_s << R"({"cz":"S","en":"E"})"_ba;
    QTest::newRow("default in other letters")
        << R"({"EN":"X","en":"E"})"_ba << u"X/cz -/de -/fr"_s << R"({"cz":"X","en":"E"})"_ba;
    QTest::newRow("empty name") << R"({"de":"","en":"E"})"_ba << u"*/de -/de -/fr"_s << R"({"de":"","en":"E"})"_ba;
}

void TestMainWindowLanguages::languages()
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

void TestMainWindowLanguages::languageWithoutAnItemKeepsTheOneBefore()
{
    open(R"({"en":"E","it":"I"};;;674;;{};;;0.00
{"en":"E","es":"S"};;;674;;{};;;0.00
)");
    QCOMPARE(language("lng1_2"), u"it"_s);
    selectApp(1);
    QCOMPARE(text("appName1_2"), u"S"_s);
    QCOMPARE(language("lng1_2"), u"it"_s);
}

void TestMainWindowLanguages::laterRowOfTheSameLanguageWins()
{
    open(R"({"cz":"C","de":"D","en":"E","fr":"F"};Ann;1.2;674;05-03-2024;{};;;5.01
)");
    chooseLanguage("lng1_2", u"fr"_s);
    chooseLanguage("lng1_3", u"it"_s);
    click(*window, "applyButton");
    QCOMPARE(saved(), R"({"en":"E","fr":"F","it":"D"};Ann;1.2;674;05-03-2024;{};;;5.01
)"_ba);
}

void TestMainWindowLanguages::languageRowsAreSwitchedByTheirBoxes_data()
{
    QTest::addColumn<int>("row");
    QTest::newRow("row 2") << 0;
    QTest::newRow("row 3") << 1;
    QTest::newRow("row 4") << 2;
}

void TestMainWindowLanguages::languageRowsAreSwitchedByTheirBoxes()
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
    QCOMPARE(saved(), "{\"en\":\"E\"};Ann;1.2;674;05-03-2024;{};;;5.01\n"_ba);
}

void TestMainWindowLanguages::namesAreEditedInFourLanguages()
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
    QCOMPARE(saved(), R"({"cz":"Hodiny č","en":"Clock","fr":"Horloge \"1\"","it":"Orologio"};)"
                      "Ann;1.2;674;05-03-2024;{};;;5.01\n"_ba);
}

void TestMainWindowLanguages::emptyDefaultNameIsStored()
{
    open("{\"en\":\"E\"};Ann;1.2;674;05-03-2024;{};;;5.01\n");
    retype(*window, "appName1_1", {});
    click(*window, "applyButton");
    QCOMPARE(listedApps(), QStringList(QString()));
    QCOMPARE(saved(), "{\"en\":\"\"};Ann;1.2;674;05-03-2024;{};;;5.01\n"_ba);
}

CATALIST_TEST(TestMainWindowLanguages)
#include "tst_mainwindow_languages.moc"
