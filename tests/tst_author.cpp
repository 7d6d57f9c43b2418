#include "testrunner.h"
#include "windowtest.h"

#include <QComboBox>
#include <QDateEdit>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QTableWidget>

using namespace Qt::StringLiterals;

class TestAuthor : public WindowTest
{
    Q_OBJECT

private slots:
    void fromAnEmptyFolderToAPublishedIndex();

private:
    void createProject();
    void describeClock();
    void pickClockFiles();
    void writeClockDescriptions();
    void addLamp();
    void setName(const char *edit, const QString &name, const char *box, const char *language, Qt::Key initial);
};

// Below the class: moc takes the "//" of an address in a raw string for a comment and would miss the class.
namespace {

const QByteArray PROJECT = HEADER
                           + R"({"cz":"Hodiny č","en":"Clock","fr":"Horloge","it":"Orologio"};Ann Léger, Brno;1.2.0;)"
                             R"(678,3859,680,3865,3867;15-11-2023;{"de":"doc/clock.de.html","en":"doc/clock.en.html"};)"
                             "Clock/main.lua,Clock/lib;img/clock.png;5.01\n"
                             R"({"en":"Lamp"};Bob;2.0;674;01-02-2024;{};Lamp;;0.00)"
                             "\n";

const QByteArray INDEX = R"({
    "applications": [
        {
            "author": "Ann Léger, Brno",
            "description": {
                "de": "http://repo.example/cat/doc/clock.de.html",
                "en": "http://repo.example/cat/doc/clock.en.html"
            },
            "files": [
                {
                    "destination": "Apps/Clock/main.lua",
                    "hash": "48df9b519ca145c867b895f740b37bd891e887af",
                    "size": 9,
                    "url": "http://repo.example/cat/Clock/main.lua"
                },
                {
                    "destination": "Apps/Clock/lib/Alpha.lua",
                    "hash": "e23313609ba6b2af277bae26893fc7bc339f0d55",
                    "size": 9,
                    "url": "http://repo.example/cat/Clock/lib/Alpha.lua"
                },
                {
                    "destination": "Apps/Clock/lib/units.lua",
                    "hash": "7ac7c3bb9e016094aed2ec57d8a580d4f1b65de9",
                    "size": 9,
                    "url": "http://repo.example/cat/Clock/lib/units.lua"
                }
            ],
            "hw": [
                678,
                3859,
                680,
                3865,
                3867
            ],
            "id": 0,
            "name": {
                "cz": "Hodiny č",
                "en": "Clock",
                "fr": "Horloge",
                "it": "Orologio"
            },
            "previewIcon": "http://repo.example/cat/img/clock.png",
            "releaseDate": "Wed Nov 15 2023",
            "version": "1.2.0"
        },
        {
            "author": "Bob",
            "description": {
            },
            "files": [
                {
                    "destination": "Apps/Lamp/beep",
                    "hash": "38d8fe5c3796e1b93ceb59dcdb879c010507e64a",
                    "size": 4,
                    "url": "http://repo.example/cat/Lamp/beep"
                }
            ],
            "hw": [
                674
            ],
            "id": 0,
            "name": {
                "en": "Lamp"
            },
            "previewIcon": "http://repo.example/cat/",
            "releaseDate": "Thu Feb 1 2024",
            "version": "2.0"
        }
    ]
}
)";

} // namespace

void TestAuthor::createProject()
{
    retype(*window, "repository", u"http://repo.example/cat"_s);
    QTest::keyClick(child<QLineEdit>(*window, "repository"), Qt::Key_Tab);
    clickNewProject(folder->path(u"Apps.csv"_s));
}

void TestAuthor::setName(const char *edit, const QString &name, const char *box, const char *language, Qt::Key initial)
{
    click(*window, box);
    retype(*window, edit, name);
    QTest::keyClick(child<QComboBox>(*window, language), initial);
}

void TestAuthor::describeClock()
{
    click(*window, "btnNewApp");
    retype(*window, "appName1_1", u"Clock"_s);
    setName("appName1_2", u"Horloge"_s, "check1_2", "lng1_2", Qt::Key_F);
    setName("appName1_3", u"Orologio"_s, "check1_3", "lng1_3", Qt::Key_I);
    setName("appName1_4", u"Hodiny č"_s, "check1_4", "lng1_4", Qt::Key_C);
    retype(*window, "author", u"Ann Léger, Brno"_s);
    retype(*window, "version", u"1.2.0"_s);
    child<QDateEdit>(*window, "publicationDate")->setDate(QDate(2023, 11, 15));
    answers->pickInProject(u"img/clock.png"_s);
    click(*window, "iconBtn");
    retype(*window, "minTxVersion", u"5.1"_s);
    for (const char *box : {"vl9g2Compatible", "kr9Compatible", "vl3Compatible"})
        click(*window, box);
    click(*window, "applyButton");
}

void TestAuthor::pickClockFiles()
{
    showTab(*window, "tabAppFiles");
    answers->pickInProject(u"Clock/main.lua"_s);
    click(*window, "btnAddFile");
    answers->pickInProject(u"Lamp"_s);
    click(*window, "btnAddFolder");
    answers->pickInProject(u"Clock/lib"_s);
    click(*window, "btnAddFolder");
    clickCell(child<QListWidget>(*window, "listAppFiles"), 1);
    click(*window, "btnDeleteFile");
}

void TestAuthor::writeClockDescriptions()
{
    showTab(*window, "tabDescription");
    answers->enterText(u"EN"_s);
    answers->chooseFile(folder->path(u"doc/clock.en.html"_s));
    click(*window, "btnNewDescription");
    answers->enterText(u"de"_s);
    answers->chooseFile(folder->path(u"doc/clock.de.html"_s));
    click(*window, "btnNewDescription");

    clickCell(child<QTableWidget>(*window, "tableWidget"), 1);
    auto *editor = child<QPlainTextEdit>(*window, "descriptionEdit");
    for (int line = 0; line < 4; ++line)
        QTest::keyClick(editor, Qt::Key_Down);
    for (int column = 0; column < 9; ++column)
        QTest::keyClick(editor, Qt::Key_Right);
    for (int column = 0; column < 6; ++column)
        QTest::keyClick(editor, Qt::Key_Right, Qt::ShiftModifier);
    type(editor, u"Clock č"_s);
    QTest::keyClick(editor, Qt::Key_End, Qt::ControlModifier);
    type(editor, u"<!-- end -->"_s);
}

void TestAuthor::addLamp()
{
    click(*window, "btnNewApp");
    showTab(*window, "tabGeneral");
    retype(*window, "appName1_1", u"Lamp"_s);
    retype(*window, "author", u"Bob"_s);
    retype(*window, "version", u"2.0"_s);
    child<QDateEdit>(*window, "publicationDate")->setDate(QDate(2024, 2, 1));
    click(*window, "kr7Compatible");
    click(*window, "applyButton");
    showTab(*window, "tabAppFiles");
    answers->pickInProject(u"Lamp"_s);
    click(*window, "btnAddFolder");
}

void TestAuthor::fromAnEmptyFolderToAPublishedIndex()
{
    folder->write(u"Clock/main.lua"_s, "return 1\n");
    folder->write(u"Clock/lib/units.lua"_s, "-- units\n");
    folder->write(u"Clock/lib/Alpha.lua"_s, "-- alpha\n");
    folder->write(u"Clock/lib/.cache"_s, "hidden");
    folder->write(u"Lamp/beep"_s, "beep");
    folder->write(u"img/clock.png"_s, "icon");
    folder->makeFolder(u"doc"_s);

    window = openWindow<MainWindow>();
    createProject();
    QCOMPARE(child<QLineEdit>(*window, "repository")->text(), u"http://repo.example/cat/"_s);
    QVERIFY(!folder->exists(u"Apps.csv"_s));
    describeClock();
    pickClockFiles();
    writeClockDescriptions();
    addLamp();
    QVERIFY(isMarked());

    clickTool(*window, "actionSave");
    QVERIFY(isUnmarked());
    QCOMPARE(folder->read(u"Apps.csv"_s), PROJECT);
    QVERIFY(!folder->exists(u"Apps.json"_s));

    clickPublish(folder->path(u"Apps.json"_s));
    QCOMPARE(folder->read(u"Apps.csv"_s), PROJECT);
    QCOMPARE(folder->read(u"Apps.json"_s), INDEX);
    QCOMPARE(folder->read(u"doc/clock.en.html"_s),
             QByteArray(DESCRIPTION_TEMPLATE).replace("#Title", "Clock č") + "<!-- end -->");
    QCOMPARE(folder->read(u"doc/clock.de.html"_s), DESCRIPTION_TEMPLATE);
    QCOMPARE(folder->entries(),
             QStringList({u"Apps.csv"_s, u"Apps.json"_s, u"Clock"_s, u"Lamp"_s, u"doc"_s, u"img"_s}));

    QVERIFY(window->close());
    window = openWindow<MainWindow>();
    const auto *list = child<QListWidget>(*window, "listApps");
    QCOMPARE(list->count(), 2);
    QCOMPARE(list->item(0)->text(), u"Clock"_s);
    QCOMPARE(list->item(1)->text(), u"Lamp"_s);
}

CATALIST_TEST(TestAuthor)
#include "tst_author.moc"
