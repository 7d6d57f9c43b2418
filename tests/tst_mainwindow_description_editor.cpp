#include "descriptiontest.h"
#include "testrunner.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <functional>
#include <memory>

using namespace Qt::StringLiterals;

enum class Left {
    Unsaved, ///< the file is open, its new text is only in the editor
    Saved, ///< the file is open
    Closed,
    ClosedWithAutoSave, ///< emptying the editor counts as an edit
    ForAnother, ///< another file is open
};

struct Leaving
{
    std::function<void()> how;
    Left left;
};
Q_DECLARE_METATYPE(Leaving)

class TestMainWindowDescriptionEditor : public DescriptionTest
{
    Q_OBJECT

private slots:
    void nothingIsHighlightedAfterOpenWasCancelled();
    void nothingIsOpenAtFirst();
    void selectedFileIsOpened();
    void autoSaveWritesTheFile();

    void leavingAFile_data();
    void leavingAFile();
    void closingTheWindow_data();
    void closingTheWindow();
    void otherColumnOfTheSameRowDoesNothing();
    void losingTheSelectionClosesTheFile();

    void unreadableFile_data();
    void unreadableFile();
    void fileThatCannotBeWrittenBack_data();
    void fileThatCannotBeWrittenBack();
    void bytesWritten_data();
    void bytesWritten();
};

void TestMainWindowDescriptionEditor::nothingIsOpenAtFirst()
{
    open();
    QCOMPARE(table->currentRow(), -1);
    QVERIFY(!autoSaveIsEnabled());
    QVERIFY(editor->isReadOnly());
    type(editor, u"lost"_s);
    QCOMPARE(editor->toPlainText(), QString());
    QCOMPARE(saved(), project(DESCRIPTIONS));
    QCOMPARE(folder->read(u"doc/cz.html"_s), CZ);
    QCOMPARE(folder->read(u"doc/de.html"_s), DE);
}

void TestMainWindowDescriptionEditor::selectedFileIsOpened()
{
    open();
    openFile(1);
    QCOMPARE(editor->toPlainText(), u"<p>Über</p>\n"_s);
    QVERIFY(editor->isEnabled());
    QVERIFY(!editor->isReadOnly());
    QVERIFY(!autoSaveIsEnabled());
    QVERIFY(table->item(1, 0)->isSelected());
    QVERIFY(table->item(1, 1)->isSelected());

    QTest::keyClick(table, Qt::Key_Up);
    QCOMPARE(editor->toPlainText(), u"<p>Popis č</p>"_s);
    QVERIFY(!autoSaveIsEnabled());
    QVERIFY(isUnmarked());
}

void TestMainWindowDescriptionEditor::autoSaveWritesTheFile()
{
    open();
    openFile(0);
    typeInDescription(u"Dobrý "_s);
    QVERIFY(autoSaveIsEnabled());
    QCOMPARE(folder->read(u"doc/cz.html"_s), CZ);

    click(*window, "btnAutosave");
    QVERIFY(!autoSaveIsEnabled());
    QCOMPARE(folder->read(u"doc/cz.html"_s), "Dobrý <p>Popis č</p>"_ba);
    QCOMPARE(editor->toPlainText(), u"Dobrý <p>Popis č</p>"_s);
    QVERIFY(isUnmarked());

    typeInDescription(u"x"_s);
    QVERIFY(autoSaveIsEnabled());
}

void TestMainWindowDescriptionEditor::leavingAFile_data()
{
    QTest::addColumn<int>("app");
    QTest::addColumn<Leaving>("way");

    const auto row = [](const char *name, Left left, std::function<void()> how, int app = 0) {
        QTest::newRow(name) << app << Leaving{std::move(how), left};
    };
    const auto press = [this](const char *button) { return [this, button] { click(*window, button); }; };
    const auto cancel = [this](const char *action) {
        return [this, action] {
            answers->cancel();
            clickTool(*window, action);
        };
    };
    row("nothing", Left::Unsaved, [] {});
    row("another row", Left::ForAnother, [this] { openFile(1); });
    row("another row by keyboard", Left::ForAnother, [this] { QTest::keyClick(table, Qt::Key_Down); });
    row("another app", Left::Closed, [this] { selectApp(1); });
    row("new description", Left::Closed,
        [this] { addDescription("btnNewDescription", u"it"_s, folder->path(u"it.html"_s)); });
    row("new description without a language", Left::Unsaved, [this] {
        answers->cancel();
        click(*window, "btnNewDescription");
    });
    row("existing description", Left::Closed,
        [this] { addDescription("btnOpenDescription", u"it"_s, folder->path(u"doc/beta.html"_s)); });
    row("the same file in another language", Left::Closed,
        [this] { addDescription("btnOpenDescription", u"it"_s, folder->path(u"doc/cz.html"_s)); });
    row("deleted description", Left::Closed, [this] {
        answers->press(QMessageBox::Yes);
        click(*window, "btnDeleteDescription");
    });
    row("edited code", Left::Closed, [this] { editCode(0, u"pl"_s); });
    row("added file", Left::Closed, [this] {
        answers->pickInProject(u"main.lua"_s);
        click(*window, "btnAddFile");
    });
    row("added folder, cancelled", Left::Closed, [this] {
        answers->cancel();
        click(*window, "btnAddFolder");
    });
    row("deleted file", Left::Closed, press("btnDeleteFile"));
    row("Apply", Left::Closed, press("applyButton"));
    row("new app", Left::Closed, press("btnNewApp"));
    row("deleted app", Left::Closed, press("btnDeleteApp"));
    row("Auto-save", Left::Saved, press("btnAutosave"));
    row("Save", Left::Saved, [this] { clickTool(*window, "actionSave"); });
    row("Save and generate JSON", Left::Saved, [this] { clickPublish(folder->path(u"Apps.json"_s)); });
    row("Save and generate JSON, cancelled", Left::Saved, cancel("actionSave_generate_JSON"));
    row("another project", Left::Closed, [this] { clickOpenProject(folder->path(u"other/Apps.csv"_s)); });
    row("the same project again", Left::Closed, [this] { clickOpenProject(folder->path(u"Apps.csv"_s)); });
    row(
        "a shorter project", Left::Closed, [this] { clickOpenProject(folder->path(u"other/Apps.csv"_s)); }, 1);
    row("a broken project", Left::Closed, [this] {
        answers->chooseFile(folder->path(u"other/broken.csv"_s));
        answers->press(QMessageBox::Ok);
        clickTool(*window, "actionOpen_project");
    });
    row("another project, cancelled", Left::ClosedWithAutoSave, cancel("actionOpen_project"));
    row("new project", Left::Closed, [this] { clickNewProject(folder->path(u"other/New.csv"_s)); });
    row("new project, cancelled", Left::Unsaved, cancel("actionNew_project"));
}

void TestMainWindowDescriptionEditor::leavingAFile()
{
    QFETCH(const int, app);
    QFETCH(const Leaving, way);
    const bool unsaved = way.left == Left::Unsaved;
    const bool stillOpen = unsaved || way.left == Left::Saved;

    folder->write(u"other/Apps.csv"_s, HEADER + SECOND_APP);
    folder->write(u"other/broken.csv"_s, "broken\n");
    folder->write(u"other/doc/beta.html"_s, BETA);
    open();
    selectApp(app);
    openFile(0);
    typeInDescription(u"typed"_s);

    way.how();
    QVERIFY(answers->allAnswered());
    const QString file = app == 0 ? u"doc/cz.html"_s : u"doc/beta.html"_s;
    const QByteArray before = app == 0 ? CZ : BETA;
    QCOMPARE(folder->read(file), unsaved ? before : "typed" + before);
    QCOMPARE(editor->toPlainText().startsWith(u"typed"_s), stillOpen);
    QCOMPARE(autoSaveIsEnabled(), unsaved || way.left == Left::ClosedWithAutoSave);
    QCOMPARE(editor->isReadOnly(), way.left == Left::Closed || way.left == Left::ClosedWithAutoSave);

    clickTool(*window, "actionSave");
    QCOMPARE(folder->read(u"doc/cz.html"_s), app == 0 ? "typed" + CZ : CZ);
    QCOMPARE(folder->read(u"doc/de.html"_s), DE);
    QCOMPARE(folder->read(u"doc/beta.html"_s), app == 0 ? BETA : "typed" + BETA);
    QCOMPARE(folder->read(u"other/doc/beta.html"_s), BETA);
}

void TestMainWindowDescriptionEditor::closingTheWindow_data()
{
    QTest::addColumn<bool>("modified");
    QTest::addColumn<QMessageBox::StandardButton>("answer");
    QTest::addColumn<bool>("written");
    QTest::newRow("unmodified") << false << QMessageBox::NoButton << false;
    QTest::newRow("modified, No") << true << QMessageBox::No << false;
    QTest::newRow("modified, Cancel") << true << QMessageBox::Cancel << false;
    QTest::newRow("modified, Yes") << true << QMessageBox::Yes << true;
}

void TestMainWindowDescriptionEditor::closingTheWindow()
{
    QFETCH(const bool, modified);
    QFETCH(const QMessageBox::StandardButton, answer);
    QFETCH(const bool, written);
    open();
    if (modified) {
        click(*window, "btnDeleteFile");
        answers->press(answer);
    }
    openFile(0);
    typeInDescription(u"typed"_s);
    QCOMPARE(window->close(), answer != QMessageBox::Cancel);
    QVERIFY(answers->allAnswered());
    window.reset();
    QCOMPARE(folder->read(u"doc/cz.html"_s), written ? "typed" + CZ : CZ);
    QCOMPARE(folder->read(u"doc/de.html"_s), DE);
}

void TestMainWindowDescriptionEditor::otherColumnOfTheSameRowDoesNothing()
{
    open();
    clickCell(table, 0, 1);
    typeInDescription(u"typed"_s);
    folder->write(u"doc/cz.html"_s, "changed meanwhile");
    clickCell(table, 0, 0);
    QCOMPARE(table->currentColumn(), 0);
    QCOMPARE(editor->toPlainText(), u"typed<p>Popis č</p>"_s);
    QCOMPARE(folder->read(u"doc/cz.html"_s), "changed meanwhile"_ba);
    QVERIFY(autoSaveIsEnabled());

    click(*window, "btnAutosave");
    folder->write(u"doc/cz.html"_s, "changed once more");
    QTest::keyClick(table, Qt::Key_Right);
    QCOMPARE(table->currentColumn(), 1);
    QCOMPARE(editor->toPlainText(), u"typed<p>Popis č</p>"_s);
    QCOMPARE(folder->read(u"doc/cz.html"_s), "changed once more"_ba);
    QVERIFY(!autoSaveIsEnabled());
}

void TestMainWindowDescriptionEditor::losingTheSelectionClosesTheFile()
{
    open();
    openFile(0);
    typeInDescription(u"typed"_s);
    table->setCurrentCell(-1, -1);
    QCOMPARE(folder->read(u"doc/cz.html"_s), "typed" + CZ);
    QCOMPARE(editor->toPlainText(), QString());
    QVERIFY(autoSaveIsEnabled());
    QVERIFY(editor->isReadOnly());

    folder->write(u"doc/cz.html"_s, "changed meanwhile");
    click(*window, "btnAutosave");
    QVERIFY(!autoSaveIsEnabled());
    QCOMPARE(folder->read(u"doc/cz.html"_s), "changed meanwhile"_ba);
    QCOMPARE(folder->read(u"doc/de.html"_s), DE);
}

void TestMainWindowDescriptionEditor::unreadableFile_data()
{
    QTest::addColumn<QString>("fault");
    QTest::newRow("missing") << u"missing"_s;
    QTest::newRow("folder in its place") << u"folder"_s;
    QTest::newRow("no permission") << u"permission"_s;
#ifdef Q_OS_LINUX
    QTest::newRow("read error") << u"read"_s;
#endif
}

void TestMainWindowDescriptionEditor::unreadableFile()
{
    QFETCH(const QString, fault);
    const QString path = folder->path(u"doc/de.html"_s);
    if (fault == "permission"_L1)
        QVERIFY(QFile::setPermissions(path, {}));
    else
        QVERIFY(QFile::remove(path));
    if (fault == "folder"_L1)
        folder->makeFolder(u"doc/de.html"_s);
    // A regular file whose first byte cannot be read; another user could not open it.
    if (fault == "read"_L1)
        folder->link(u"/proc/self/mem"_s, u"doc/de.html"_s);
    open();
    openFile(0);
    typeInDescription(u"typed"_s);
    answers->press(QMessageBox::Ok);
    {
        QVERIFY(QFile::setPermissions(folder->path(u"doc/cz.html"_s), QFile::Permissions(0x6666)));
        const auto user = fault == "read"_L1 ? nullptr : std::make_unique<OrdinaryUser>();
        openFile(1);
    }

    QCOMPARE(answers->shown.size(), 1);
    expectError(answers->shown.constFirst(), u"Error loading <b>%1</b>"_s.arg(path.toHtmlEscaped()));
    QCOMPARE(editor->toPlainText(), QString());
    QVERIFY(!editor->isEnabled());
    QVERIFY(!autoSaveIsEnabled());
    QCOMPARE(folder->read(u"doc/cz.html"_s), "typed" + CZ);
    QVERIFY(isUnmarked());

    openFile(0);
    QVERIFY(editor->isEnabled());
    QCOMPARE(editor->toPlainText(), u"typed<p>Popis č</p>"_s);
    QCOMPARE(folder->exists(u"doc/de.html"_s), fault != "missing"_L1);
    QCOMPARE(QFileInfo(path).isSymLink(), fault == "read"_L1);
}

void TestMainWindowDescriptionEditor::fileThatCannotBeWrittenBack_data()
{
    QTest::addColumn<QString>("fault");
    QTest::newRow("folder is gone") << u"gone"_s;
    QTest::newRow("folder in its place") << u"folder"_s;
    QTest::newRow("read-only") << u"permission"_s;
}

void TestMainWindowDescriptionEditor::fileThatCannotBeWrittenBack()
{
    QFETCH(const QString, fault);
    open();
    openFile(0);
    typeInDescription(u"typed"_s);
    QVERIFY(autoSaveIsEnabled());
    const QString path = folder->path(u"doc/cz.html"_s);
    if (fault == "gone"_L1) {
        QVERIFY(QDir(folder->path(u"doc"_s)).removeRecursively());
    } else if (fault == "folder"_L1) {
        QVERIFY(QFile::remove(path));
        folder->makeFolder(u"doc/cz.html"_s);
    } else {
        QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::ReadOther));
    }

    {
        const OrdinaryUser user;
        click(*window, "btnAutosave");
    }
    QCOMPARE(answers->shown.size(), 0);
    QVERIFY(!autoSaveIsEnabled());
    QCOMPARE(editor->toPlainText(), u"typed<p>Popis č</p>"_s);
    QCOMPARE(folder->exists(u"doc"_s), fault != "gone"_L1);
    if (fault == "permission"_L1)
        QCOMPARE(folder->read(u"doc/cz.html"_s), CZ);
}

void TestMainWindowDescriptionEditor::bytesWritten_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QByteArray>("written");
    QTest::newRow("no-break space") << "a\xC2\xA0"
                                       "b"_ba
                                    << QString() << "a b"_ba;
    QTest::newRow("typed no-break space") << "b"_ba << u"a\u00a0"_s << "a b"_ba;
    QTest::newRow("entity") << "a&nbsp;b"_ba << QString() << "a&nbsp;b"_ba;
    QTest::newRow("line feeds") << "a\nb\n\n"_ba << u"x\n"_s << "x\na\nb\n\n"_ba;
    QTest::newRow("no last line feed") << "a\nb"_ba << QString() << "a\nb"_ba;
    QTest::newRow("carriage returns") << "a\r\nb\r\n"_ba << QString() << "a\nb\n"_ba;
    QTest::newRow("byte-order mark") << "\xEF\xBB\xBF<p>"_ba << u"x"_s << "x<p>"_ba;
    QTest::newRow("letters") << ""_ba << u"žluťoučký ß œ"_s
                             << "\xC5\xBElu\xC5\xA5ou\xC4\x8Dk\xC3\xBD \xC3\x9F \xC5\x93"_ba;
    QTest::newRow("beyond sixteen bits") << "\xF0\x9F\x9A\x81"_ba << u"x"_s << "x\xF0\x9F\x9A\x81"_ba;
    QTest::newRow("not UTF-8") << "a\xFF"_ba << QString() << "a\xEF\xBF\xBD"_ba;
    QTest::newRow("empty") << ""_ba << QString() << ""_ba;
}

void TestMainWindowDescriptionEditor::bytesWritten()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QString, typed);
    QFETCH(const QByteArray, written);
    folder->write(u"doc/cz.html"_s, content);
    open();
    openFile(0);
    typeInDescription(typed);
    openFile(1);
    QCOMPARE(folder->read(u"doc/cz.html"_s), written);
    QCOMPARE(folder->read(u"doc/de.html"_s), DE);
}

void TestMainWindowDescriptionEditor::nothingIsHighlightedAfterOpenWasCancelled()
{
    open();
    openFile(1);
    answers->cancel();
    QTest::keyPress(window.get(), Qt::Key_Control);
    QTest::keyClick(window.get(), Qt::Key_O, Qt::ControlModifier);
    QTest::keyRelease(window.get(), Qt::Key_Control);
    QCOMPARE(answers->shown.size(), 1);
    QCOMPARE(table->currentRow(), -1);
    QVERIFY(table->selectedItems().isEmpty());
    openFile(1);
    QCOMPARE(editor->toPlainText(), QString::fromUtf8(DE));
}

CATALIST_TEST(TestMainWindowDescriptionEditor)
#include "tst_mainwindow_description_editor.moc"
