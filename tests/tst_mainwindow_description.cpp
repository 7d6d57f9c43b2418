#include "descriptiontest.h"
#include "testrunner.h"

#include <QApplication>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>

using namespace Qt::StringLiterals;

class TestMainWindowDescription : public DescriptionTest
{
    Q_OBJECT

private slots:
    void tableShowsTheDescriptions();

    void deleteAsksAndKeepsTheFile_data();
    void deleteAsksAndKeepsTheFile();
    void deleteWithoutARowDoesNothing();
    void deleteByKeyboard();
    void tableShowsWholeNames();
    void deleteLeavesTheNeighbourAlone_data();
    void deleteLeavesTheNeighbourAlone();

    void codeIsEditedInTheTable_data();
    void codeIsEditedInTheTable();
    void editedCodeIsLeft_data();
    void editedCodeIsLeft();
    void leftCodeEditorChangesNothing();
    void codeThatIsBeingEditedIsSaved_data();
    void codeThatIsBeingEditedIsSaved();
    void deleteWhileACodeIsEdited();
    void tabKeyLeavesTheTable();
    void fileColumnIsNotEdited();
};

void TestMainWindowDescription::tableShowsTheDescriptions()
{
    open(R"({"it":"i.html","DE":"doc/g.html","cz":"../x.html"})");
    QCOMPARE(rows(), QStringList({u"DE=doc/g.html"_s, u"cz=../x.html"_s, u"it=i.html"_s}));
    QCOMPARE(table->columnCount(), 2);
    QCOMPARE(table->horizontalHeaderItem(0)->text(), u"Language"_s);
    QCOMPARE(table->horizontalHeaderItem(1)->text(), u"File"_s);
    for (int row = 0; row < 3; ++row) {
        QVERIFY(table->item(row, 0)->flags().testFlag(Qt::ItemIsEditable));
        QCOMPARE(table->item(row, 1)->flags(), Qt::ItemIsSelectable | Qt::ItemIsEnabled);
    }
    QVERIFY(isUnmarked());
}

void TestMainWindowDescription::deleteAsksAndKeepsTheFile_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<bool>("escape");
    QTest::addColumn<QByteArray>("left");
    QTest::newRow("first, Yes") << 0 << false << R"({"de":"doc/de.html"})"_ba;
    QTest::newRow("last, Yes") << 1 << false << R"({"cz":"doc/cz.html"})"_ba;
    QTest::newRow("first, Escape") << 0 << true << R"({"de":"doc/de.html"})"_ba;
}

void TestMainWindowDescription::deleteAsksAndKeepsTheFile()
{
    QFETCH(const int, row);
    QFETCH(const bool, escape);
    QFETCH(const QByteArray, left);
    open();
    openFile(row);
    if (escape)
        answers->pressKey(Qt::Key_Escape);
    else
        answers->press(QMessageBox::Yes);
    click(*window, "btnDeleteDescription");

    QCOMPARE(answers->shown.size(), 1);
    const ShownDialog &box = answers->shown.constFirst();
    QCOMPARE(box.kind, u"QMessageBox"_s);
    QCOMPARE(box.icon, QMessageBox::Question);
    QCOMPARE(box.title, u"Delete app description"_s);
    QCOMPARE(box.text, u"Delete from app configuration?<br>The file will be preserved."_s);
    QCOMPARE(box.buttons, QStringList(u"Yes"_s));
    QCOMPARE(table->rowCount(), 1);
    QCOMPARE(table->currentRow(), -1);
    QCOMPARE(editor->toPlainText(), QString());
    QVERIFY(!autoSaveIsEnabled());
    QVERIFY(isMarked());
    QCOMPARE(saved(), project(left));
    QCOMPARE(folder->read(u"doc/cz.html"_s), CZ);
    QCOMPARE(folder->read(u"doc/de.html"_s), DE);
}

void TestMainWindowDescription::deleteWithoutARowDoesNothing()
{
    open();
    click(*window, "btnDeleteDescription");
    QCOMPARE(answers->shown.size(), 0);
    QCOMPARE(table->rowCount(), 2);
    QVERIFY(isUnmarked());
    QCOMPARE(saved(), project(DESCRIPTIONS));
}

// The tab key makes a row current without selecting it.
void TestMainWindowDescription::deleteByKeyboard()
{
    open();
    child<QLineEdit>(*window, "repository")->setFocus();
    table->setFocus(Qt::TabFocusReason);
    QCOMPARE(table->currentRow(), 0);
    auto *button = child<QPushButton>(*window, "btnDeleteDescription");
    button->setFocus(Qt::TabFocusReason);
    answers->press(QMessageBox::Yes);
    QTest::keyClick(button, Qt::Key_Space);
    QCOMPARE(answers->shown.size(), 1);
    QCOMPARE(rows(), QStringList{u"de=doc/de.html"_s});
}

void TestMainWindowDescription::tableShowsWholeNames()
{
    const QString path = u"doc/a-folder-with-a-long-name/another-one/en <b>1</b>.html"_s;
    open(R"({"cz":"doc/cz.html","en":")" + path.toUtf8() + R"("})");
    QCOMPARE(table->textElideMode(), Qt::ElideMiddle);
    QCOMPARE(table->item(0, 1)->toolTip(), u"doc/cz.html"_s);
    QCOMPARE(table->item(1, 1)->toolTip(), u"<qt>"_s + path.toHtmlEscaped() + u"</qt>"_s);
    QCOMPARE(table->rowHeight(0), table->rowHeight(1));
}

void TestMainWindowDescription::deleteLeavesTheNeighbourAlone_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("neighbour");
    for (const char *neighbour : {"missing", "unreadable", "not UTF-8", "Windows lines"}) {
        QTest::addRow("%s below", neighbour) << 0 << QString::fromLatin1(neighbour);
        QTest::addRow("%s above", neighbour) << 1 << QString::fromLatin1(neighbour);
    }
}

void TestMainWindowDescription::deleteLeavesTheNeighbourAlone()
{
    QFETCH(const int, row);
    QFETCH(const QString, neighbour);
    const QString own = row == 0 ? u"doc/cz.html"_s : u"doc/de.html"_s;
    const QString other = row == 0 ? u"doc/de.html"_s : u"doc/cz.html"_s;
    const QByteArray bytes = neighbour == "Windows lines"_L1 ? "a\r\nb\r\n" : "\xff\xfe";
    folder->write(other, bytes);
    if (neighbour == "missing"_L1)
        QVERIFY(QFile::remove(folder->path(other)));
    if (neighbour == "unreadable"_L1)
        QVERIFY(QFile::setPermissions(folder->path(other), {}));
    QVERIFY(QFile::setPermissions(folder->path(own), QFile::Permissions(0x6666)));
    QVERIFY(QFile::setPermissions(folder->path(u"doc"_s), QFile::Permissions(0x7777)));

    open();
    {
        const OrdinaryUser user;
        openFile(row);
        typeInDescription(u"typed"_s);
        answers->press(QMessageBox::Yes);
        click(*window, "btnDeleteDescription");
    }
    QCOMPARE(answers->shown.size(), 1);
    QCOMPARE(folder->read(own), "typed" + (row == 0 ? CZ : DE));
    QCOMPARE(editor->toPlainText(), QString());
    if (neighbour == "unreadable"_L1)
        QVERIFY(QFile::setPermissions(folder->path(other), QFile::ReadOwner | QFile::WriteOwner));
    QCOMPARE(folder->read(other), neighbour == "missing"_L1 ? QByteArray() : bytes);
    QCOMPARE(folder->exists(other), neighbour != "missing"_L1);
    QCOMPARE(saved(), project(row == 0 ? R"({"de":"doc/de.html"})" : R"({"cz":"doc/cz.html"})"));
}

void TestMainWindowDescription::codeIsEditedInTheTable_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("code");
    QTest::addColumn<QByteArray>("descriptions");
    QTest::newRow("sorted again") << 0 << u"it"_s << R"({"de":"doc/de.html","it":"doc/cz.html"})"_ba;
    QTest::newRow("as typed") << 1 << u"DE-at"_s << R"({"DE-at":"doc/de.html","cz":"doc/cz.html"})"_ba;
    QTest::newRow("empty") << 1 << u""_s << R"({"":"doc/de.html","cz":"doc/cz.html"})"_ba;
    QTest::newRow("lower row takes the code of the upper") << 1 << u"cz"_s << R"({"cz":"doc/de.html"})"_ba;
    QTest::newRow("upper row takes the code of the lower") << 0 << u"de"_s << R"({"de":"doc/de.html"})"_ba;
}

void TestMainWindowDescription::codeIsEditedInTheTable()
{
    QFETCH(const int, row);
    QFETCH(const QString, code);
    QFETCH(const QByteArray, descriptions);
    open();
    editCode(row, code);
    QCOMPARE(table->currentRow(), -1);
    QCOMPARE(editor->toPlainText(), QString());
    QVERIFY(isMarked());
    QCOMPARE(saved(), project(descriptions));
    QCOMPARE(folder->read(u"doc/cz.html"_s), CZ);
    QCOMPARE(folder->read(u"doc/de.html"_s), DE);
}

void TestMainWindowDescription::editedCodeIsLeft_data()
{
    QTest::addColumn<QString>("way");
    QTest::addColumn<bool>("keepsFocus");
    for (const char *key : {"Return", "Enter", "Tab", "Backtab", "Down", "Up", "PgDown"})
        QTest::newRow(key) << QString::fromLatin1(key) << true;
    QTest::newRow("click on another row") << u"row"_s << true;
    QTest::newRow("click on a field") << u"field"_s << false;
}

void TestMainWindowDescription::editedCodeIsLeft()
{
    QFETCH(const QString, way);
    QFETCH(const bool, keepsFocus);
    const QByteArray descriptions = R"({"cz":"doc/cz.html","de":"doc/de.html","en":"doc/beta.html"})";
    folder->write(u"doc/cz.html"_s, "a\r\nb\r\n");
    folder->write(u"doc/beta.html"_s, "a\r\nb\r\n");
    open(descriptions);
    QLineEdit *edit = beginEditingCode(1, u"dk"_s);
    if (way == u"row")
        QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, table->visualItemRect(table->item(0, 1)).center());
    else if (way == u"field")
        QTest::mouseClick(child<QLineEdit>(*window, "repository"), Qt::LeftButton);
    else
        QTest::keyClick(edit, static_cast<Qt::Key>(QKeySequence(way)[0].key()));
    QTRY_VERIFY(!table->viewport()->findChild<QLineEdit *>());
    QCOMPARE(rows(), QStringList({u"cz=doc/cz.html"_s, u"dk=doc/de.html"_s, u"en=doc/beta.html"_s}));
    QCOMPARE(table->currentRow(), -1);
    QVERIFY(table->selectedItems().isEmpty());
    QCOMPARE(editor->toPlainText(), QString());
    QVERIFY(editor->isReadOnly());
    QVERIFY(!autoSaveIsEnabled());
    QCOMPARE(table->hasFocus(), keepsFocus);
    QCOMPARE(folder->read(u"doc/cz.html"_s), "a\r\nb\r\n"_ba);
    QCOMPARE(folder->read(u"doc/beta.html"_s), "a\r\nb\r\n"_ba);

    openFile(0);
    QCOMPARE(editor->toPlainText(), u"a\nb\n"_s);
}

void TestMainWindowDescription::leftCodeEditorChangesNothing()
{
    open();
    editCode(1, u"it"_s, Qt::Key_Escape);
    QCOMPARE(rows(), QStringList({u"cz=doc/cz.html"_s, u"de=doc/de.html"_s}));
    QCOMPARE(table->currentRow(), 1);
    QVERIFY(isUnmarked());
}

void TestMainWindowDescription::codeThatIsBeingEditedIsSaved_data()
{
    QTest::addColumn<bool>("closes");
    QTest::newRow("Save") << false;
    QTest::newRow("closing the window") << true;
}

void TestMainWindowDescription::codeThatIsBeingEditedIsSaved()
{
    QFETCH(const bool, closes);
    open();
    beginEditingCode(0, u"it"_s);
    if (closes) {
        answers->press(QMessageBox::Yes);
        QVERIFY(window->close());
        QCOMPARE(answers->shown.constFirst().title, u"Save data"_s);
    } else {
        QTest::keyClick(window.get(), Qt::Key_S, Qt::ControlModifier);
    }
    QCOMPARE(folder->read(u"Apps.csv"_s), project(R"({"de":"doc/de.html","it":"doc/cz.html"})"));
    QVERIFY(isUnmarked());
}

// The question takes the focus from the cell editor, and the rows are sorted again meanwhile.
void TestMainWindowDescription::deleteWhileACodeIsEdited()
{
    open();
    beginEditingCode(0, u"it"_s);
    answers->press(QMessageBox::Yes);
    child<QPushButton>(*window, "btnDeleteDescription")->click();
    QCOMPARE(rows(), QStringList({u"de=doc/de.html"_s, u"it=doc/cz.html"_s}));
    QCOMPARE(folder->read(u"doc/cz.html"_s), CZ);
}

void TestMainWindowDescription::tabKeyLeavesTheTable()
{
    open();
    openFile(0);
    table->setFocus();
    QTest::keyClick(table, Qt::Key_Tab);
    QCOMPARE(QApplication::focusWidget(), child<QWidget>(*window, "btnNewDescription"));
    QCOMPARE(table->currentRow(), 0);

    // In the editor the tab key types a character; only Shift+Tab moves the focus.
    editor->setFocus();
    QTest::keyClick(editor, Qt::Key_Tab);
    QVERIFY(editor->hasFocus());
    QTest::keyClick(editor, Qt::Key_Backtab, Qt::ShiftModifier);
    QVERIFY(!editor->hasFocus());
}

void TestMainWindowDescription::fileColumnIsNotEdited()
{
    open();
    openFile(0);
    QTest::mouseDClick(table->viewport(), Qt::LeftButton, {}, table->visualItemRect(table->item(0, 1)).center());
    QTest::keyClick(table, Qt::Key_F2);
    QVERIFY(!table->viewport()->findChild<QLineEdit *>());
}

CATALIST_TEST(TestMainWindowDescription)
#include "tst_mainwindow_description.moc"
