#include "dialoganswers.h"
#include "testrunner.h"
#include "ui/filedialog.h"
#include "windowfixture.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileSystemModel>
#include <QHeaderView>
#include <QPushButton>
#include <QSignalSpy>
#include <QTreeView>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

const QStringList ANY_FILE{u"*.*"_s};
const QStringList PICTURES{u"*.jpg"_s, u"*.png"_s, u"*.jpeg"_s, u"*.gif"_s};

class WorkingFolder
{
public:
    explicit WorkingFolder(const QString &path) { QDir::setCurrent(path); }
    ~WorkingFolder() { QDir::setCurrent(before); }
    Q_DISABLE_COPY_MOVE(WorkingFolder)

private:
    QString before = QDir::currentPath();
};

} // namespace

class TestFileDialog : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void form_data();
    void form();
    void lists_data();
    void lists();
    void listsWhatIsInAFolder();
    void okIsEnabledByAClick_data();
    void okIsEnabledByAClick();
    void okIsDisabledByAClickOnAFolder();
    void accepts_data();
    void accepts();
    void doubleClickOnAFolderExpandsItInFileMode();
    void okFollowsTheKeyboard_data();
    void okFollowsTheKeyboard();
    void keyboardAlonePicksNothing();
    void activationDoesNothing();
    void leaving_data();
    void leaving();
    void emptyRootIsTheWorkingFolder();
    void folderThatIsGoneShowsNothing();
    void nothingAboveTheRootCanBeReached();
    void runsModally();
    void namesAreShownWhole();
    void columnsCanBeResized();
    void spacePicks_data();
    void spacePicks();
    void folderThatVanishesIsNotTheWholeProject();

private:
    void open(const QStringList &filters, const QString &root = {});
    [[nodiscard]] QPushButton *ok() const;
    [[nodiscard]] QStringList names(const QModelIndex &parent) const;
    bool clickEntry(const QString &path);
    bool doubleClickEntry(const QString &path);

    std::unique_ptr<Folder> folder;
    std::unique_ptr<FileDialog> dialog;
    std::unique_ptr<QSignalSpy> loaded;
    QTreeView *tree = nullptr;
};

void TestFileDialog::initTestCase()
{
    // On a slow machine the letters of a name would count as several searches.
    QApplication::setKeyboardInputInterval(60000);
}

void TestFileDialog::init()
{
    folder = std::make_unique<Folder>();
    folder->write(u"Apps.csv"_s, HEADER);
    folder->write(u"README"_s, "r");
    folder->write(u"main.lua"_s, "m");
    folder->write(u"photo.JPG"_s, "p");
    folder->write(u"image.png"_s, "i");
    folder->write(u"scan.jpeg"_s, "s");
    folder->write(u"move.gif"_s, "g");
    folder->write(u"draw.svg"_s, "d");
    folder->write(u".hidden.png"_s, "h");
    folder->write(u"lib/sub/deep.png"_s, "d");
    folder->write(u"lib/plain"_s, "p");
    folder->write(u"lib/units.lua"_s, "u");
    folder->makeFolder(u"v1.2"_s);
    folder->makeFolder(u".git"_s);
}

void TestFileDialog::cleanup()
{
    loaded.reset();
    dialog.reset();
    folder.reset();
    QVERIFY(QApplication::topLevelWidgets().isEmpty());
}

void TestFileDialog::open(const QStringList &filters, const QString &root)
{
    dialog = std::make_unique<FileDialog>(root.isNull() ? folder->path(u"Apps.csv"_s) : root, filters, nullptr);
    tree = child<QTreeView>(*dialog, "treeView");
    loaded = std::make_unique<QSignalSpy>(qobject_cast<QFileSystemModel *>(tree->model()),
                                          &QFileSystemModel::directoryLoaded);
    dialog->open();
    if (!QTest::qWaitForWindowActive(dialog.get()))
        qFatal("The dialog did not become active");
    if (!QTest::qWaitFor([this] { return !loaded->isEmpty(); }))
        qFatal("The folder was not read");
}

QPushButton *TestFileDialog::ok() const
{
    return child<QDialogButtonBox>(*dialog, "buttonBox")->button(QDialogButtonBox::Ok);
}

QStringList TestFileDialog::names(const QModelIndex &parent) const
{
    QStringList names;
    for (int row = 0; row < tree->model()->rowCount(parent); ++row)
        names.append(tree->model()->index(row, 0, parent).data().toString());
    names.sort();
    return names;
}

bool TestFileDialog::clickEntry(const QString &path)
{
    const QModelIndex entry = treeEntry(tree, path);
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualRect(entry).center());
    return entry.isValid() && tree->currentIndex() == entry;
}

bool TestFileDialog::doubleClickEntry(const QString &path)
{
    const bool clicked = clickEntry(path);
    const QPoint place = tree->visualRect(tree->currentIndex()).center();
    QTest::mouseDClick(tree->viewport(), Qt::LeftButton, {}, place);
    return clicked;
}

void TestFileDialog::form_data()
{
    QTest::addColumn<QStringList>("filters");
    QTest::newRow("files") << ANY_FILE;
    QTest::newRow("pictures") << PICTURES;
    QTest::newRow("folders") << QStringList();
}

void TestFileDialog::form()
{
    QFETCH(const QStringList, filters);
    open(filters);

    QCOMPARE(dialog->objectName(), u"FileDialog"_s);
    QCOMPARE(dialog->windowTitle(), u"Select a file"_s);
    QCOMPARE(dialog->size(), QSize(481, 397));
    const auto *buttons = child<QDialogButtonBox>(*dialog, "buttonBox");
    QCOMPARE(buttons->standardButtons(), QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    QCOMPARE(buttons->orientation(), Qt::Horizontal);
    QVERIFY(buttons->geometry().top() > tree->geometry().bottom());
    QCOMPARE(tree->header()->count(), 4);
    QCOMPARE(tree->header()->hiddenSectionCount(), 0);
    QCOMPARE(tree->isSortingEnabled(), false);
    QCOMPARE(ok()->isEnabled(), false);
    QVERIFY(buttons->button(QDialogButtonBox::Cancel)->isEnabled());
    QCOMPARE(dialog->getPath(), QString());
}

void TestFileDialog::lists_data()
{
    QTest::addColumn<QStringList>("filters");
    QTest::addColumn<QString>("listed");
    QTest::newRow("files whose names have a dot, and folders")
        << ANY_FILE << u"Apps.csv draw.svg image.png lib main.lua move.gif photo.JPG scan.jpeg v1.2"_s;
    QTest::newRow("pictures and folders") << PICTURES << u"image.png lib move.gif photo.JPG scan.jpeg v1.2"_s;
    QTest::newRow("folders alone") << QStringList() << u"lib v1.2"_s;
}

void TestFileDialog::lists()
{
    QFETCH(const QStringList, filters);
    QFETCH(const QString, listed);
    open(filters);
    QTRY_COMPARE(names(tree->rootIndex()).join(u' '), listed);
}

void TestFileDialog::listsWhatIsInAFolder()
{
    open(ANY_FILE);
    const QModelIndex lib = treeEntry(tree, u"lib"_s);
    QVERIFY(lib.isValid());
    loaded->clear();
    tree->expand(lib);
    QTRY_VERIFY(!loaded->isEmpty());
    QTRY_COMPARE(names(lib).join(u' '), u"sub units.lua"_s);
}

void TestFileDialog::okIsEnabledByAClick_data()
{
    QTest::addColumn<QStringList>("filters");
    QTest::addColumn<QString>("entry");
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<QString>("path");

    QTest::newRow("file") << ANY_FILE << u"main.lua"_s << true << u"main.lua"_s;
    QTest::newRow("file in a folder") << ANY_FILE << u"lib/units.lua"_s << true << u"lib/units.lua"_s;
    QTest::newRow("picture two folders down") << PICTURES << u"lib/sub/deep.png"_s << true << u"lib/sub/deep.png"_s;
    QTest::newRow("folder for a file") << ANY_FILE << u"lib"_s << false << QString();
    QTest::newRow("folder with a dot for a file") << ANY_FILE << u"v1.2"_s << false << QString();
    QTest::newRow("folder") << QStringList() << u"lib"_s << true << u"lib"_s;
    QTest::newRow("folder in a folder") << QStringList() << u"lib/sub"_s << true << u"lib/sub"_s;
}

void TestFileDialog::okIsEnabledByAClick()
{
    QFETCH(const QStringList, filters);
    QFETCH(const QString, entry);
    QFETCH(const bool, enabled);
    QFETCH(const QString, path);

    open(filters);
    QCOMPARE(ok()->isEnabled(), false);
    QVERIFY(clickEntry(entry));
    QCOMPARE(ok()->isEnabled(), enabled);
    QCOMPARE(dialog->getPath(), path);
    QVERIFY(dialog->isVisible());
}

void TestFileDialog::okIsDisabledByAClickOnAFolder()
{
    open(ANY_FILE);
    QVERIFY(clickEntry(u"main.lua"_s));
    QCOMPARE(ok()->isEnabled(), true);
    QVERIFY(clickEntry(u"lib"_s));
    QCOMPARE(ok()->isEnabled(), false);
    QCOMPARE(dialog->getPath(), u"main.lua"_s);
    QVERIFY(clickEntry(u"draw.svg"_s));
    QCOMPARE(ok()->isEnabled(), true);
    QCOMPARE(dialog->getPath(), u"draw.svg"_s);
}

void TestFileDialog::accepts_data()
{
    QTest::addColumn<QStringList>("filters");
    QTest::addColumn<QString>("entry");
    QTest::addColumn<bool>("isDoubleClicked");
    for (const bool isDoubleClicked : {false, true}) {
        const char *way = isDoubleClicked ? "double click" : "OK";
        QTest::addRow("%s, file in the root", way) << ANY_FILE << u"main.lua"_s << isDoubleClicked;
        QTest::addRow("%s, file two folders down", way) << ANY_FILE << u"lib/sub/deep.png"_s << isDoubleClicked;
        QTest::addRow("%s, folder in the root", way) << QStringList() << u"v1.2"_s << isDoubleClicked;
        QTest::addRow("%s, folder in a folder", way) << QStringList() << u"lib/sub"_s << isDoubleClicked;
    }
}

void TestFileDialog::accepts()
{
    QFETCH(const QStringList, filters);
    QFETCH(const QString, entry);
    QFETCH(const bool, isDoubleClicked);
    open(filters);
    if (isDoubleClicked) {
        QVERIFY(doubleClickEntry(entry));
    } else {
        QVERIFY(clickEntry(entry));
        QTest::mouseClick(ok(), Qt::LeftButton);
    }
    QVERIFY(!dialog->isVisible());
    QCOMPARE(dialog->result(), int(QDialog::Accepted));
    QCOMPARE(dialog->getPath(), entry);
}

void TestFileDialog::doubleClickOnAFolderExpandsItInFileMode()
{
    open(ANY_FILE);
    QVERIFY(clickEntry(u"main.lua"_s));
    QVERIFY(doubleClickEntry(u"lib"_s));
    QVERIFY(dialog->isVisible());
    QCOMPARE(ok()->isEnabled(), false);
    QTRY_VERIFY(tree->isExpanded(treeEntry(tree, u"lib"_s)));
    QCOMPARE(dialog->getPath(), u"main.lua"_s);
}

void TestFileDialog::okFollowsTheKeyboard_data()
{
    QTest::addColumn<QStringList>("filters");
    QTest::addColumn<QString>("clicked");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("picked");
    QTest::newRow("to another file") << ANY_FILE << u"main.lua"_s << u"draw"_s << u"draw.svg"_s;
    QTest::newRow("to another folder") << QStringList() << u"v1.2"_s << u"lib"_s << u"lib"_s;
    QTest::newRow("but not to a folder for a file") << ANY_FILE << u"main.lua"_s << u"lib"_s << u"main.lua"_s;
}

void TestFileDialog::okFollowsTheKeyboard()
{
    QFETCH(const QStringList, filters);
    QFETCH(const QString, clicked);
    QFETCH(const QString, typed);
    QFETCH(const QString, picked);
    open(filters);
    QVERIFY(clickEntry(clicked));
    QTest::keyClicks(tree, typed);
    QVERIFY(tree->currentIndex().data().toString().startsWith(typed));
    QCOMPARE(ok()->isEnabled(), true);
    QCOMPARE(dialog->getPath(), clicked);
    QTest::mouseClick(ok(), Qt::LeftButton);
    QVERIFY(!dialog->isVisible());
    QCOMPARE(dialog->result(), int(QDialog::Accepted));
    QCOMPARE(dialog->getPath(), picked);
    QCOMPARE(ok()->isEnabled(), picked != clicked);
}

void TestFileDialog::keyboardAlonePicksNothing()
{
    open(ANY_FILE);
    QVERIFY(treeEntry(tree, u"main.lua"_s).isValid());
    QTest::keyClicks(tree, u"main"_s);
    QCOMPARE(tree->currentIndex().data().toString(), u"main.lua"_s);
    QCOMPARE(ok()->isEnabled(), false);
    QCOMPARE(dialog->getPath(), QString());
    const QSignalSpy activated(tree, &QTreeView::activated);
    QTest::keyClick(tree, Qt::Key_Return);
    QCOMPARE(activated.size(), 1);
    QVERIFY(dialog->isVisible());
    QCOMPARE(ok()->isEnabled(), false);
    QCOMPARE(dialog->getPath(), QString());
}

void TestFileDialog::activationDoesNothing()
{
    open(ANY_FILE);
    QVERIFY(clickEntry(u"main.lua"_s));
    QTest::keyClicks(tree, u"draw"_s);
    emit tree->activated(tree->currentIndex());
    QVERIFY(dialog->isVisible());
    QCOMPARE(dialog->getPath(), u"main.lua"_s);
}

void TestFileDialog::leaving_data()
{
    QTest::addColumn<QString>("way");
    QTest::newRow("the Cancel button") << u"cancel"_s;
    QTest::newRow("Escape") << u"escape"_s;
    QTest::newRow("closing the window") << u"close"_s;
}

void TestFileDialog::leaving()
{
    QFETCH(const QString, way);
    open(ANY_FILE);
    QVERIFY(clickEntry(u"main.lua"_s));
    const QSignalSpy finished(dialog.get(), &QDialog::finished);
    if (way == "cancel"_L1)
        QTest::mouseClick(child<QDialogButtonBox>(*dialog, "buttonBox")->button(QDialogButtonBox::Cancel),
                          Qt::LeftButton);
    else if (way == "escape"_L1)
        QTest::keyClick(dialog.get(), Qt::Key_Escape);
    else
        dialog->close();
    QVERIFY(!dialog->isVisible());
    QCOMPARE(finished.size(), 1);
    QCOMPARE(finished.first().first().toInt(), int(QDialog::Rejected));
}

void TestFileDialog::emptyRootIsTheWorkingFolder()
{
    const WorkingFolder working(folder->path(u"lib"_s));
    open(ANY_FILE, u""_s);
    QTRY_COMPARE(names(tree->rootIndex()).join(u' '), u"sub units.lua"_s);
    QVERIFY(clickEntry(u"units.lua"_s));
    QCOMPARE(dialog->getPath(), u"units.lua"_s);
}

void TestFileDialog::folderThatIsGoneShowsNothing()
{
    const WorkingFolder working(folder->path(u"lib"_s));
    for (const QStringList &filters : {ANY_FILE, QStringList()}) {
        FileDialog picker(folder->path(u"gone/Apps.csv"_s), filters, nullptr);
        picker.open();
        QVERIFY(QTest::qWaitForWindowActive(&picker));
        QVERIFY(!child<QTreeView>(picker, "treeView")->model());
        QTest::mouseClick(child<QTreeView>(picker, "treeView")->viewport(), Qt::LeftButton, {}, QPoint(20, 10));
        QTest::keyClick(&picker, Qt::Key_Return);
        QVERIFY(!child<QDialogButtonBox>(picker, "buttonBox")->button(QDialogButtonBox::Ok)->isEnabled());
        QVERIFY(picker.isVisible());
        QCOMPARE(picker.getPath(), QString());
    }
}

void TestFileDialog::nothingAboveTheRootCanBeReached()
{
    open(ANY_FILE, folder->path(u"lib/Apps.csv"_s));
    const auto *model = qobject_cast<QFileSystemModel *>(tree->model());
    QCOMPARE(model->rootPath(), folder->path(u"lib"_s));
    QCOMPARE(model->filePath(tree->rootIndex()), folder->path(u"lib"_s));

    QVERIFY(clickEntry(u"sub"_s));
    for (const Qt::Key key : {Qt::Key_Left, Qt::Key_Left, Qt::Key_Home, Qt::Key_Up, Qt::Key_Left, Qt::Key_Backspace}) {
        QTest::keyClick(tree, key);
        QCOMPARE(tree->currentIndex().parent(), tree->rootIndex());
    }
    QCOMPARE(model->filePath(tree->rootIndex()), folder->path(u"lib"_s));
}

void TestFileDialog::runsModally()
{
    DialogAnswers answers;
    answers.pickInProject(u"lib/sub/deep.png"_s);
    FileDialog picker(folder->path(u"Apps.csv"_s), PICTURES, nullptr);
    QCOMPARE(picker.exec(), int(QDialog::Accepted));
    QCOMPARE(picker.getPath(), u"lib/sub/deep.png"_s);
    QVERIFY(answers.allAnswered());
    QCOMPARE(answers.shown.size(), 1);
    QCOMPARE(answers.shown.constFirst().kind, u"FileDialog"_s);
    QCOMPARE(answers.shown.constFirst().buttons, QStringList({u"OK"_s, u"Cancel"_s}));
}

void TestFileDialog::namesAreShownWhole()
{
    const QString name = u"a-name-that-is-longer-than-most.lua"_s;
    folder->write(name, "a");
    open(ANY_FILE);
    const QModelIndex longest = treeEntry(tree, name);
    QVERIFY(longest.isValid());
    QTRY_VERIFY(tree->visualRect(longest).width() >= tree->sizeHintForIndex(longest).width());
    QCOMPARE(tree->header()->visualIndex(0), 0);
}

void TestFileDialog::columnsCanBeResized()
{
    open(ANY_FILE);
    QCOMPARE(tree->header()->sectionResizeMode(0), QHeaderView::Interactive);
    const int width = tree->header()->sectionSize(0);
    QWidget *header = tree->header()->viewport();
    for (const int change : {60, -40}) {
        const QPoint grip(tree->header()->sectionSize(0) - 1, header->height() / 2);
        QTest::mousePress(header, Qt::LeftButton, {}, grip);
        QTest::mouseMove(header, grip + QPoint(change, 0));
        QTest::mouseRelease(header, Qt::LeftButton, {}, grip + QPoint(change, 0));
    }
    QCOMPARE(tree->header()->sectionSize(0), width + 20);
    // Opening a folder does not change it.
    QVERIFY(treeEntry(tree, u"lib/units.lua"_s).isValid());
    QCOMPARE(tree->header()->sectionSize(0), width + 20);
}

void TestFileDialog::spacePicks_data()
{
    QTest::addColumn<QStringList>("filters");
    QTest::addColumn<QString>("entry");
    QTest::addColumn<bool>("picks");
    QTest::newRow("file") << ANY_FILE << u"main.lua"_s << true;
    QTest::newRow("folder") << QStringList() << u"lib"_s << true;
    QTest::newRow("folder where a file is wanted") << ANY_FILE << u"lib"_s << false;
}

void TestFileDialog::spacePicks()
{
    QFETCH(const QStringList, filters);
    QFETCH(const QString, entry);
    QFETCH(const bool, picks);
    open(filters);
    QSignalSpy clicked(tree, &QTreeView::clicked);
    tree->setFocus();
    const QModelIndex index = treeEntry(tree, entry);
    for (int moves = 0; moves < 20 && tree->currentIndex() != index; ++moves)
        QTest::keyClick(tree, Qt::Key_Down);
    QCOMPARE(tree->currentIndex(), index);
    QVERIFY(!ok()->isEnabled());
    QTest::keyClick(tree, Qt::Key_Space);
    QCOMPARE(clicked.constLast().constFirst().toModelIndex(), index);
    QCOMPARE(ok()->isEnabled(), picks);
    QCOMPARE(dialog->getPath(), picks ? entry : QString());
}

void TestFileDialog::folderThatVanishesIsNotTheWholeProject()
{
    QVERIFY(QDir(folder->path(u"lib"_s)).removeRecursively());
    QVERIFY(QDir(folder->path(u"v1.2"_s)).removeRecursively());
    folder->makeFolder(u"only"_s);
    open({});
    QVERIFY(clickEntry(u"only"_s));
    QVERIFY(ok()->isEnabled());
    QVERIFY(QDir().rmdir(folder->path(u"only"_s)));
    QTRY_VERIFY(!tree->currentIndex().isValid());
    QTest::mouseClick(ok(), Qt::LeftButton);
    QCOMPARE(dialog->result(), int(QDialog::Accepted));
    QCOMPARE(dialog->getPath(), u"only"_s);
    QVERIFY(!dialog->checkFile());
}

CATALIST_TEST(TestFileDialog)
#include "tst_filedialog.moc"
