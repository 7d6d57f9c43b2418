#include "testrunner.h"
#include "windowtest.h"

#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QTreeView>

using namespace Qt::StringLiterals;

namespace {

const QByteArray BEFORE_FILES = "{\"en\":\"App\"};Ann;1.2;674;05-03-2024;{\"en\":\"doc/en.html\"};";
const QByteArray AFTER_FILES = ";img/a.png;5.01\n";
const QByteArray OTHER_APP = "{\"en\":\"Other\"};Bob;2.0;675;06-03-2024;{};other.lua;;0.00\n";

} // namespace

class TestMainWindowFiles : public WindowTest
{
    Q_OBJECT

private slots:
    void init() override;

    void filesAreShownInTheirOrder();
    void filesOfTheSelectedAppAreShown();
    void pickedEntriesAreAppended_data();
    void pickedEntriesAreAppended();
    void pickerOffers_data();
    void pickerOffers();
    void cancelledPickerMarksTheProject_data();
    void cancelledPickerMarksTheProject();
    void selectedEntryIsDeleted_data();
    void selectedEntryIsDeleted();
    void secondDeleteNeedsANewSelection();
    void nothingOnDiskIsTouched();
    void openDescriptionIsSavedAndClosed_data();
    void openDescriptionIsSavedAndClosed();

private:
    void open(const QByteArray &files);
    [[nodiscard]] QListWidget *list() const { return child<QListWidget>(*window, "listAppFiles"); }
    [[nodiscard]] QStringList shownFiles() const { return listTexts(*window, "listAppFiles"); }
    [[nodiscard]] QByteArray saved() const;
    [[nodiscard]] static QByteArray project(const QByteArray &files);
};

void TestMainWindowFiles::init()
{
    WindowTest::init();
    folder->write(u"lua/main.lua"_s, "m");
    folder->write(u"lua/sub/deep.lua"_s, "d");
    folder->write(u"top.lua"_s, "t");
    folder->write(u"README"_s, "r");
    folder->write(u"img/a.png"_s, "p");
    folder->write(u"doc/en.html"_s, "<p>old</p>");
}

QByteArray TestMainWindowFiles::project(const QByteArray &files)
{
    return HEADER + BEFORE_FILES + files + AFTER_FILES + OTHER_APP;
}

void TestMainWindowFiles::open(const QByteArray &files)
{
    folder->write(u"Apps.csv"_s, project(files));
    storeProject(folder->path(u"Apps.csv"_s));
    window = openWindow<MainWindow>();
    selectApp(0);
    showTab(*window, "tabAppFiles");
}

QByteArray TestMainWindowFiles::saved() const
{
    clickTool(*window, "actionSave");
    return folder->read(u"Apps.csv"_s);
}

void TestMainWindowFiles::filesAreShownInTheirOrder()
{
    open("z.lua,lua,a.lua,lua");
    QCOMPARE(shownFiles(), QStringList({u"z.lua"_s, u"lua"_s, u"a.lua"_s, u"lua"_s}));
    QCOMPARE(list()->currentRow(), -1);
    QVERIFY(isUnmarked());
}

void TestMainWindowFiles::filesOfTheSelectedAppAreShown()
{
    open("z.lua,a.lua");
    selectApp(1);
    QCOMPARE(shownFiles(), QStringList(u"other.lua"_s));
    selectApp(0);
    QCOMPARE(shownFiles(), QStringList({u"z.lua"_s, u"a.lua"_s}));
    QCOMPARE(saved(), project("z.lua,a.lua"));
}

void TestMainWindowFiles::pickedEntriesAreAppended_data()
{
    QTest::addColumn<QByteArray>("files");
    QTest::addColumn<QStringList>("picked"); // folders end in "/"
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("file") << "z.lua"_ba << QStringList{u"top.lua"_s} << "z.lua,top.lua"_ba;
    QTest::newRow("file in a folder") << "z.lua"_ba << QStringList{u"lua/main.lua"_s} << "z.lua,lua/main.lua"_ba;
    QTest::newRow("file two folders down")
        << "z.lua"_ba << QStringList{u"lua/sub/deep.lua"_s} << "z.lua,lua/sub/deep.lua"_ba;
    QTest::newRow("folder") << "z.lua"_ba << QStringList{u"img/"_s} << "z.lua,img"_ba;
    QTest::newRow("folder in a folder") << "z.lua"_ba << QStringList{u"lua/sub/"_s} << "z.lua,lua/sub"_ba;
    QTest::newRow("first entry") << ""_ba << QStringList{u"img/"_s} << "img"_ba;
    QTest::newRow("one file twice") << ""_ba << QStringList{u"top.lua"_s, u"top.lua"_s} << "top.lua,top.lua"_ba;
    QTest::newRow("several in their order")
        << ""_ba << QStringList{u"top.lua"_s, u"img/"_s, u"lua/main.lua"_s} << "top.lua,img,lua/main.lua"_ba;
    QTest::newRow("after missing files") << "gone.lua,nowhere/sub"_ba << QStringList{u"img/"_s}
                                         << "gone.lua,nowhere/sub,img"_ba;
}

void TestMainWindowFiles::pickedEntriesAreAppended()
{
    QFETCH(const QByteArray, files);
    QFETCH(const QStringList, picked);
    QFETCH(const QByteArray, expected);
    open(files);
    QCOMPARE(shownFiles().join(u','), QString::fromLatin1(files));
    for (const QString &entry : picked) {
        const bool isFolder = entry.endsWith(u'/');
        answers->pickInProject(isFolder ? entry.chopped(1) : entry);
        click(*window, isFolder ? "btnAddFolder" : "btnAddFile");
        QCOMPARE(answers->shown.constLast().kind, u"FileDialog"_s);
        QCOMPARE(answers->shown.constLast().title, u"Select a file"_s);
    }
    QCOMPARE(answers->shown.size(), picked.size());
    QCOMPARE(shownFiles().join(u','), QString::fromLatin1(expected));
    QVERIFY(isMarked());
    QCOMPARE(folder->read(u"Apps.csv"_s), project(files));
    QCOMPARE(saved(), project(expected));
    QVERIFY(isUnmarked());

    window = openWindow<MainWindow>();
    selectApp(0);
    QCOMPARE(shownFiles().join(u','), QString::fromLatin1(expected));
}

void TestMainWindowFiles::pickerOffers_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("awaited");
    QTest::addColumn<QString>("expected");
    QTest::newRow("folders, and files whose names have a dot")
        << u"btnAddFile"_s << u"top.lua"_s << u"Apps.csv doc img lua top.lua"_s;
    QTest::newRow("folders") << u"btnAddFolder"_s << u"lua/sub"_s << u"doc img lua"_s;
}

void TestMainWindowFiles::pickerOffers()
{
    QFETCH(const QString, button);
    QFETCH(const QString, awaited);
    open({});
    QStringList offered;
    answers->answer([&offered, awaited](QWidget *dialog) {
        auto *tree = child<QTreeView>(*dialog, "treeView");
        if (treeEntry(tree, awaited).isValid()) {
            for (int row = 0; row < tree->model()->rowCount(tree->rootIndex()); ++row)
                offered.append(tree->model()->index(row, 0, tree->rootIndex()).data().toString());
        }
        QTest::keyClick(dialog, Qt::Key_Escape);
    });
    click(*window, qPrintable(button));
    offered.sort();
    QTEST(offered.join(u' '), "expected");
}

void TestMainWindowFiles::cancelledPickerMarksTheProject_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("clicked");
    QTest::newRow("file") << u"btnAddFile"_s << u"top.lua"_s;
    QTest::newRow("folder") << u"btnAddFolder"_s << u"img"_s;
}

void TestMainWindowFiles::cancelledPickerMarksTheProject()
{
    QFETCH(const QString, button);
    QFETCH(const QString, clicked);
    open("z.lua,lua");
    answers->answer([clicked](QWidget *dialog) {
        auto *tree = child<QTreeView>(*dialog, "treeView");
        const QModelIndex entry = treeEntry(tree, clicked);
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualRect(entry).center());
        QTest::keyClick(dialog, Qt::Key_Escape);
    });
    click(*window, qPrintable(button));
    QCOMPARE(shownFiles(), QStringList({u"z.lua"_s, u"lua"_s}));
    QVERIFY(isMarked());
    QCOMPARE(saved(), project("z.lua,lua"));
    QVERIFY(isUnmarked());
}

void TestMainWindowFiles::selectedEntryIsDeleted_data()
{
    QTest::addColumn<QByteArray>("files");
    QTest::addColumn<int>("row"); // -1 for none
    QTest::addColumn<QByteArray>("left");
    QTest::newRow("first") << "z.lua,lua,top.lua"_ba << 0 << "lua,top.lua"_ba;
    QTest::newRow("middle") << "z.lua,lua,top.lua"_ba << 1 << "z.lua,top.lua"_ba;
    QTest::newRow("last") << "z.lua,lua,top.lua"_ba << 2 << "z.lua,lua"_ba;
    QTest::newRow("second of two equal ones") << "top.lua,lua,top.lua"_ba << 2 << "top.lua,lua"_ba;
    QTest::newRow("no row selected") << "z.lua,lua"_ba << -1 << "z.lua,lua"_ba;
    QTest::newRow("no rows") << ""_ba << -1 << ""_ba;
}

void TestMainWindowFiles::selectedEntryIsDeleted()
{
    QFETCH(const QByteArray, files);
    QFETCH(const int, row);
    QFETCH(const QByteArray, left);
    open(files);
    if (row >= 0)
        clickCell(list(), row);
    click(*window, "btnDeleteFile");
    QCOMPARE(shownFiles().join(u','), QString::fromLatin1(left));
    QVERIFY(isMarked());
    QCOMPARE(saved(), project(left));
}

void TestMainWindowFiles::secondDeleteNeedsANewSelection()
{
    open("z.lua,lua,top.lua");
    clickCell(list(), 0);
    click(*window, "btnDeleteFile");
    QCOMPARE(list()->currentRow(), -1);
    click(*window, "btnDeleteFile");
    QCOMPARE(saved(), project("lua,top.lua"));
}

void TestMainWindowFiles::nothingOnDiskIsTouched()
{
    open("lua,top.lua");
    const QStringList before = folder->entries();
    for (int time = 0; time < 2; ++time) {
        clickCell(list(), 0);
        click(*window, "btnDeleteFile");
    }
    QCOMPARE(saved(), project({}));
    QCOMPARE(folder->entries(), before);
    QCOMPARE(folder->read(u"top.lua"_s), "t"_ba);
    QCOMPARE(folder->read(u"lua/main.lua"_s), "m"_ba);
    QCOMPARE(folder->read(u"lua/sub/deep.lua"_s), "d"_ba);
}

void TestMainWindowFiles::openDescriptionIsSavedAndClosed_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("picked");
    QTest::newRow("added file") << u"btnAddFile"_s << u"top.lua"_s;
    QTest::newRow("cancelled file") << u"btnAddFile"_s << QString();
    QTest::newRow("added folder") << u"btnAddFolder"_s << u"img"_s;
    QTest::newRow("cancelled folder") << u"btnAddFolder"_s << QString();
    QTest::newRow("deleted nothing") << u"btnDeleteFile"_s << QString();
}

void TestMainWindowFiles::openDescriptionIsSavedAndClosed()
{
    QFETCH(const QString, button);
    QFETCH(const QString, picked);
    open("z.lua");
    auto *editor = child<QPlainTextEdit>(*window, "descriptionEdit");
    showTab(*window, "tabDescription");
    clickCell(child<QTableWidget>(*window, "tableWidget"), 0);
    QTRY_COMPARE(editor->toPlainText(), u"<p>old</p>"_s);
    type(editor, u"new"_s);
    QCOMPARE(folder->read(u"doc/en.html"_s), "<p>old</p>"_ba);

    showTab(*window, "tabAppFiles");
    if (!picked.isEmpty())
        answers->pickInProject(picked);
    else if (button != "btnDeleteFile"_L1)
        answers->cancel();
    click(*window, qPrintable(button));

    QCOMPARE(folder->read(u"doc/en.html"_s), "new<p>old</p>"_ba);
    QCOMPARE(editor->toPlainText(), QString());
    QVERIFY(!child<QPushButton>(*window, "btnAutosave")->isEnabled());
    QCOMPARE(child<QTableWidget>(*window, "tableWidget")->currentRow(), -1);
    clickTool(*window, "actionSave");
    QCOMPARE(folder->read(u"doc/en.html"_s), "new<p>old</p>"_ba);
}

CATALIST_TEST(TestMainWindowFiles)
#include "tst_mainwindow_files.moc"
