#include "descriptiontest.h"
#include "filesizelimit.h"
#include "historyfiles.h"
#include "testrunner.h"

#include <memory>

using namespace Qt::StringLiterals;

/// The disk is full, for a file and for its copy in the history.
class TestMainWindowUnsaved : public DescriptionTest
{
    Q_OBJECT

private slots:
    void cleanup() override;

    void textIsShownAgain();
    void textIsSavedLater_data();
    void textIsSavedLater();
    void closing_data();
    void closing();
    void draftIsTriedAgain();
    void closingWithoutAHistory();
    void lookingAtAFileHoldsNothing();
    void closingAfterRecordsThatCouldNotBeSaved();
    void closingWithNo();
    void recordsOfAnotherProject();
    void nameInTheQuestion();

private:
    void fillTheDisk() { fullDisk = std::make_unique<FileSizeLimit>(0); }
    void freeTheDisk() { fullDisk.reset(); }
    [[nodiscard]] QString page() const { return folder->path(u"doc/cz.html"_s); }
    [[nodiscard]] static QString question(const QString &file)
    {
        return u"<b>%1</b> could not be saved, and there is no room for a copy."_s.arg(file.toHtmlEscaped());
    }

    std::unique_ptr<FileSizeLimit> fullDisk;
};

void TestMainWindowUnsaved::cleanup()
{
    freeTheDisk();
    DescriptionTest::cleanup();
}

void TestMainWindowUnsaved::textIsShownAgain()
{
    open();
    openFile(0);
    typeInDescription(u"typed "_s);
    fillTheDisk();
    openFile(1);
    QCOMPARE(editor->toPlainText(), QString::fromUtf8(DE));
    openFile(0);
    QCOMPARE(editor->toPlainText(), u"typed "_s + QString::fromUtf8(CZ));
    QVERIFY(!autoSaveIsEnabled());
    QCOMPARE(folder->read(u"doc/cz.html"_s), CZ);
    typeInDescription(u"more "_s);
    freeTheDisk();
    openFile(1);
    QVERIFY(folder->read(u"doc/cz.html"_s).contains("more "));
    QVERIFY(folder->read(u"doc/cz.html"_s).contains("typed "));
    QVERIFY(window->close());
    QVERIFY(answers->shown.isEmpty());
}

void TestMainWindowUnsaved::textIsSavedLater_data()
{
    QTest::addColumn<QString>("failing");
    QTest::addColumn<QString>("later");
    QTest::newRow("another row, and back") << u"row"_s << u"row"_s;
    QTest::newRow("another app, Save") << u"app"_s << u"save"_s;
    QTest::newRow("Auto-save, another app") << u"auto-save"_s << u"app"_s;
    QTest::newRow("Save, Save") << u"save"_s << u"save"_s;
    QTest::newRow("another row, closing") << u"row"_s << u"close"_s;
    QTest::newRow("Auto-save, closing") << u"auto-save"_s << u"close"_s;
    QTest::newRow("Save, closing") << u"save"_s << u"close"_s;
    QTest::newRow("another row, end of the process") << u"row"_s << u"signal"_s;
    QTest::newRow("another row, nothing more") << u"row"_s << u"wait"_s;
}

void TestMainWindowUnsaved::textIsSavedLater()
{
    QFETCH(QString, failing);
    QFETCH(QString, later);
    open();
    openFile(0);
    typeInDescription(u"typed "_s);
    fillTheDisk();
    int row = 0;
    const auto perform = [&](const QString &route) {
        if (route == u"row")
            openFile(row = 1 - row);
        else if (route == u"app")
            selectApp(1);
        else if (route == u"auto-save")
            click(*window, "btnAutosave");
        else if (route == u"save")
            clickTool(*window, "actionSave");
        else if (route == u"signal")
            window->writeDrafts();
        else if (route == u"close")
            window->close();
    };
    if (failing == u"save")
        answers->press(QMessageBox::Ok);
    perform(failing);
    answers->shown.clear();
    QVERIFY(!autoSaveIsEnabled());
    freeTheDisk();
    perform(later);
    QTRY_COMPARE(folder->read(u"doc/cz.html"_s), "typed " + CZ);
    QCOMPARE(folder->read(u"doc/de.html"_s), DE);
    QVERIFY(answers->shown.isEmpty());
}

void TestMainWindowUnsaved::closing_data()
{
    QTest::addColumn<QString>("route");
    QTest::addColumn<bool>("triesAgain");
    for (const bool triesAgain : {true, false}) {
        const char *end = triesAgain ? "Try again" : "Close all the same";
        QTest::addRow("after Auto-save, %s", end) << u"auto-save"_s << triesAgain;
        QTest::addRow("after Save, %s", end) << u"save"_s << triesAgain;
        QTest::addRow("after another row, %s", end) << u"row"_s << triesAgain;
    }
    QTest::newRow("without a save, Close all the same") << QString() << false;
}

void TestMainWindowUnsaved::closing()
{
    QFETCH(QString, route);
    QFETCH(bool, triesAgain);
    open();
    openFile(0);
    typeInDescription(u"typed "_s);
    fillTheDisk();
    if (route == u"auto-save")
        click(*window, "btnAutosave");
    else if (route == u"row")
        openFile(1);
    if (route == u"save") {
        answers->press(QMessageBox::Ok);
        clickTool(*window, "actionSave");
        answers->shown.clear();
    }

    // The first time the disk is still full.
    answers->pressButton(u"Try again"_s);
    if (triesAgain) {
        answers->answer([this](QWidget *box) {
            freeTheDisk();
            QTest::keyClick(box, Qt::Key_Escape);
            QVERIFY(box->isVisible());
            QTest::keyClick(box, Qt::Key_Return);
        });
    } else {
        answers->pressButton(u"Close all the same"_s);
    }
    QVERIFY(window->close());
    QVERIFY(!window->isVisible());
    QCOMPARE(answers->shown.size(), 2);
    for (const ShownDialog &box : std::as_const(answers->shown)) {
        QCOMPARE(box.title, u"Error"_s);
        QCOMPARE(box.icon, QMessageBox::Critical);
        QCOMPARE(box.text, question(page()));
        QCOMPARE(box.buttons.size(), 2);
        QVERIFY(box.buttons.contains(u"Try again"_s) && box.buttons.contains(u"Close all the same"_s));
    }
    if (triesAgain)
        QCOMPARE(folder->read(u"doc/cz.html"_s), "typed " + CZ);
}

void TestMainWindowUnsaved::draftIsTriedAgain()
{
    open();
    openFile(0);
    fillTheDisk();
    typeInDescription(u"typed "_s);
    window->writeDrafts();
    QVERIFY(keptContents(page()).isEmpty());
    freeTheDisk();
    QTRY_COMPARE(keptContents(page()), QList<QByteArray>{"typed " + CZ});
    QCOMPARE(folder->read(u"doc/cz.html"_s), CZ);
}

// Only the history fails, so "Try again" saves the text to its file.
void TestMainWindowUnsaved::closingWithoutAHistory()
{
    folder->write(u"data"_s, "no folder");
    const DataHome home(folder->path(u"data"_s));
    open();
    openFile(0);
    typeInDescription(u"typed "_s);
    answers->answer([this](QWidget *box) {
        QCOMPARE(folder->read(u"doc/cz.html"_s), CZ);
        QTest::keyClick(box, Qt::Key_Return);
    });
    QVERIFY(window->close());
    QCOMPARE(answers->shown.size(), 1);
    QCOMPARE(folder->read(u"doc/cz.html"_s), "typed " + CZ);
}

void TestMainWindowUnsaved::lookingAtAFileHoldsNothing()
{
    folder->write(u"doc/cz.html"_s, "a\r\nb\r\n");
    open();
    openFile(0);
    fillTheDisk();
    openFile(1);
    QVERIFY(window->close());
    QVERIFY(answers->shown.isEmpty());
    QCOMPARE(folder->read(u"doc/cz.html"_s), "a\r\nb\r\n"_ba);
}

void TestMainWindowUnsaved::closingAfterRecordsThatCouldNotBeSaved()
{
    open();
    click(*window, "btnNewApp");
    fillTheDisk();
    answers->press(QMessageBox::Yes);
    answers->press(QMessageBox::Ok);
    answers->answer([this](QWidget *box) {
        freeTheDisk();
        QTest::keyClick(box, Qt::Key_Return);
    });
    QVERIFY(window->close());
    QCOMPARE(answers->shown.constLast().text, question(folder->path(u"Apps.csv"_s)));
    QVERIFY(folder->read(u"Apps.csv"_s).contains("[New App]"));
}

// No discards the records.
void TestMainWindowUnsaved::closingWithNo()
{
    open();
    click(*window, "btnNewApp");
    fillTheDisk();
    answers->press(QMessageBox::No);
    QVERIFY(window->close());
    QCOMPARE(answers->shown.size(), 1);
}

void TestMainWindowUnsaved::recordsOfAnotherProject()
{
    open();
    click(*window, "btnNewApp");
    folder->write(u"other.csv"_s, HEADER);
    fillTheDisk();
    clickOpenProject(folder->path(u"other.csv"_s));
    freeTheDisk();
    QVERIFY(window->close());
    // They were not saved before, so they are not saved now.
    QVERIFY(!folder->read(u"Apps.csv"_s).contains("[New App]"));
    QCOMPARE(keptContents(folder->path(u"Apps.csv"_s)).size(), 1);
    QVERIFY(keptContents(folder->path(u"Apps.csv"_s)).constFirst().contains("[New App]"));
}

void TestMainWindowUnsaved::nameInTheQuestion()
{
    folder->write(u"a <i>b</i>.html"_s, CZ);
    open(R"({"cz":"doc/cz.html","en":"a <i>b</i>.html"})");
    openFile(0);
    typeInDescription(u"typed "_s);
    fillTheDisk();
    openFile(1);
    answers->pressButton(u"Close all the same"_s);
    QVERIFY(window->close());
    QCOMPARE(answers->shown.constLast().text, question(page()));
}

CATALIST_TEST(TestMainWindowUnsaved)
#include "tst_mainwindow_unsaved.moc"
