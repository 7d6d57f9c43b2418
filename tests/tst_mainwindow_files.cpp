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

const QString UNMARKED = u"Orva Catalist"_s;
const QString MARKED = u"Orva Catalist (*)"_s;

} // namespace

class TestMainWindowFiles : public WindowTest
{
    Q_OBJECT

private slots:
    void init() override;

    void filesAreShownInTheirOrder();
    void filesOfTheSelectedAppAreShown();
    void pickedEntryIsAppended_data();
    void pickedEntryIsAppended();
    void samePathTwice();
    void severalEntriesKeepTheirOrder();
    void firstEntryOfAnAppWithoutFiles();
    void filePickerOffersNamesWithADot();
    void folderPickerOffersFolders();
    void cancelledPickerMarksTheProject_data();
    void cancelledPickerMarksTheProject();
    void selectedEntryIsDeleted_data();
    void selectedEntryIsDeleted();
    void onlyTheSelectedOneOfTwoEqualEntriesIsDeleted();
    void deleteWithoutASelectionMarksTheProject_data();
    void deleteWithoutASelectionMarksTheProject();
    void secondDeleteNeedsANewSelection();
    void nothingOnDiskIsTouched();
    void openDescriptionIsSavedAndClosed_data();
    void openDescriptionIsSavedAndClosed();
    void missingFilesAreKept();
    void savedFilesAreShownAgain();

private:
    void open(const QByteArray &files);
    [[nodiscard]] QListWidget *list() const { return child<QListWidget>(*window, "listAppFiles"); }
    [[nodiscard]] QStringList shownFiles() const;
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
    clickCell(child<QListWidget>(*window, "listApps"), 0);
    showTab(*window, "tabAppFiles");
}

QStringList TestMainWindowFiles::shownFiles() const
{
    QStringList texts;
    for (int row = 0; row < list()->count(); ++row)
        texts.append(list()->item(row)->text());
    return texts;
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
    QCOMPARE(window->windowTitle(), UNMARKED);
}

void TestMainWindowFiles::filesOfTheSelectedAppAreShown()
{
    open("z.lua,a.lua");
    clickCell(child<QListWidget>(*window, "listApps"), 1);
    QCOMPARE(shownFiles(), QStringList(u"other.lua"_s));
    clickCell(child<QListWidget>(*window, "listApps"), 0);
    QCOMPARE(shownFiles(), QStringList({u"z.lua"_s, u"a.lua"_s}));
    QCOMPARE(saved(), project("z.lua,a.lua"));
}

void TestMainWindowFiles::pickedEntryIsAppended_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("entry");
    QTest::addColumn<QByteArray>("files");
    QTest::newRow("file") << u"btnAddFile"_s << u"top.lua"_s << QByteArray("z.lua,top.lua");
    QTest::newRow("file in a folder") << u"btnAddFile"_s << u"lua/main.lua"_s << QByteArray("z.lua,lua/main.lua");
    QTest::newRow("file two folders down")
        << u"btnAddFile"_s << u"lua/sub/deep.lua"_s << QByteArray("z.lua,lua/sub/deep.lua");
    QTest::newRow("folder") << u"btnAddFolder"_s << u"img"_s << QByteArray("z.lua,img");
    QTest::newRow("folder in a folder") << u"btnAddFolder"_s << u"lua/sub"_s << QByteArray("z.lua,lua/sub");
}

void TestMainWindowFiles::pickedEntryIsAppended()
{
    QFETCH(const QString, button);
    QFETCH(const QString, entry);
    QFETCH(const QByteArray, files);
    open("z.lua");
    answers->pickInProject(entry);
    click(*window, button.toLatin1().constData());

    QCOMPARE(answers->shown.size(), 1);
    QCOMPARE(answers->shown.constFirst().kind, u"FileDialog"_s);
    QCOMPARE(answers->shown.constFirst().title, u"Select a file"_s);
    QCOMPARE(shownFiles(), QStringList({u"z.lua"_s, entry}));
    QCOMPARE(window->windowTitle(), MARKED);
    QCOMPARE(folder->read(u"Apps.csv"_s), project("z.lua"));
    QCOMPARE(saved(), project(files));
    QCOMPARE(window->windowTitle(), UNMARKED);
}

void TestMainWindowFiles::samePathTwice()
{
    open({});
    for (int time = 0; time < 2; ++time) {
        answers->pickInProject(u"top.lua"_s);
        click(*window, "btnAddFile");
    }
    QCOMPARE(shownFiles(), QStringList({u"top.lua"_s, u"top.lua"_s}));
    QCOMPARE(saved(), project("top.lua,top.lua"));
}

void TestMainWindowFiles::severalEntriesKeepTheirOrder()
{
    open({});
    answers->pickInProject(u"top.lua"_s);
    click(*window, "btnAddFile");
    answers->pickInProject(u"img"_s);
    click(*window, "btnAddFolder");
    answers->pickInProject(u"lua/main.lua"_s);
    click(*window, "btnAddFile");
    QCOMPARE(shownFiles(), QStringList({u"top.lua"_s, u"img"_s, u"lua/main.lua"_s}));
    QCOMPARE(saved(), project("top.lua,img,lua/main.lua"));
}

void TestMainWindowFiles::firstEntryOfAnAppWithoutFiles()
{
    open({});
    QCOMPARE(list()->count(), 0);
    answers->pickInProject(u"img"_s);
    click(*window, "btnAddFolder");
    QCOMPARE(saved(), project("img"));
}

void TestMainWindowFiles::filePickerOffersNamesWithADot()
{
    open({});
    QStringList offered;
    answers->answer([&offered](QWidget *dialog) {
        auto *tree = child<QTreeView>(*dialog, "treeView");
        if (treeEntry(tree, u"top.lua"_s).isValid()) {
            for (int row = 0; row < tree->model()->rowCount(tree->rootIndex()); ++row)
                offered.append(tree->model()->index(row, 0, tree->rootIndex()).data().toString());
        }
        QTest::keyClick(dialog, Qt::Key_Escape);
    });
    click(*window, "btnAddFile");
    offered.sort();
    QCOMPARE(offered, QStringList({u"Apps.csv"_s, u"doc"_s, u"img"_s, u"lua"_s, u"top.lua"_s}));
}

void TestMainWindowFiles::folderPickerOffersFolders()
{
    open({});
    QStringList offered;
    answers->answer([&offered](QWidget *dialog) {
        auto *tree = child<QTreeView>(*dialog, "treeView");
        if (treeEntry(tree, u"lua/sub"_s).isValid()) {
            for (int row = 0; row < tree->model()->rowCount(tree->rootIndex()); ++row)
                offered.append(tree->model()->index(row, 0, tree->rootIndex()).data().toString());
        }
        QTest::keyClick(dialog, Qt::Key_Escape);
    });
    click(*window, "btnAddFolder");
    offered.sort();
    QCOMPARE(offered, QStringList({u"doc"_s, u"img"_s, u"lua"_s}));
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
    click(*window, button.toLatin1().constData());
    QCOMPARE(shownFiles(), QStringList({u"z.lua"_s, u"lua"_s}));
    QCOMPARE(window->windowTitle(), MARKED);
    QCOMPARE(saved(), project("z.lua,lua"));
    QCOMPARE(window->windowTitle(), UNMARKED);
}

void TestMainWindowFiles::selectedEntryIsDeleted_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QByteArray>("left");
    QTest::newRow("first") << 0 << QByteArray("lua,top.lua");
    QTest::newRow("middle") << 1 << QByteArray("z.lua,top.lua");
    QTest::newRow("last") << 2 << QByteArray("z.lua,lua");
}

void TestMainWindowFiles::selectedEntryIsDeleted()
{
    QFETCH(const int, row);
    QFETCH(const QByteArray, left);
    open("z.lua,lua,top.lua");
    clickCell(list(), row);
    click(*window, "btnDeleteFile");
    QCOMPARE(shownFiles().join(u','), QString::fromLatin1(left));
    QCOMPARE(window->windowTitle(), MARKED);
    QCOMPARE(saved(), project(left));
}

void TestMainWindowFiles::onlyTheSelectedOneOfTwoEqualEntriesIsDeleted()
{
    open("top.lua,lua,top.lua");
    clickCell(list(), 2);
    click(*window, "btnDeleteFile");
    QCOMPARE(saved(), project("top.lua,lua"));
}

void TestMainWindowFiles::deleteWithoutASelectionMarksTheProject_data()
{
    QTest::addColumn<QByteArray>("files");
    QTest::newRow("no row selected") << QByteArray("z.lua,lua");
    QTest::newRow("no rows") << QByteArray();
}

void TestMainWindowFiles::deleteWithoutASelectionMarksTheProject()
{
    QFETCH(const QByteArray, files);
    open(files);
    click(*window, "btnDeleteFile");
    QCOMPARE(shownFiles().join(u','), QString::fromLatin1(files));
    QCOMPARE(window->windowTitle(), MARKED);
    QCOMPARE(saved(), project(files));
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
    QCOMPARE(folder->read(u"top.lua"_s), QByteArray("t"));
    QCOMPARE(folder->read(u"lua/main.lua"_s), QByteArray("m"));
    QCOMPARE(folder->read(u"lua/sub/deep.lua"_s), QByteArray("d"));
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
    QCOMPARE(folder->read(u"doc/en.html"_s), QByteArray("<p>old</p>"));

    showTab(*window, "tabAppFiles");
    if (!picked.isEmpty())
        answers->pickInProject(picked);
    else if (button != "btnDeleteFile"_L1)
        answers->cancel();
    click(*window, button.toLatin1().constData());

    QCOMPARE(folder->read(u"doc/en.html"_s), QByteArray("new<p>old</p>"));
    QCOMPARE(editor->toPlainText(), QString());
    QVERIFY(!child<QPushButton>(*window, "btnAutosave")->isEnabled());
    QCOMPARE(child<QTableWidget>(*window, "tableWidget")->currentRow(), -1);
    clickTool(*window, "actionSave");
    QCOMPARE(folder->read(u"doc/en.html"_s), QByteArray("new<p>old</p>"));
}

void TestMainWindowFiles::missingFilesAreKept()
{
    open("gone.lua,nowhere/sub");
    answers->pickInProject(u"img"_s);
    click(*window, "btnAddFolder");
    QCOMPARE(saved(), project("gone.lua,nowhere/sub,img"));
}

void TestMainWindowFiles::savedFilesAreShownAgain()
{
    open({});
    answers->pickInProject(u"lua/main.lua"_s);
    click(*window, "btnAddFile");
    answers->pickInProject(u"img"_s);
    click(*window, "btnAddFolder");
    clickTool(*window, "actionSave");
    window = openWindow<MainWindow>();
    clickCell(child<QListWidget>(*window, "listApps"), 0);
    QCOMPARE(shownFiles(), QStringList({u"lua/main.lua"_s, u"img"_s}));
}

CATALIST_TEST(TestMainWindowFiles)
#include "tst_mainwindow_files.moc"
