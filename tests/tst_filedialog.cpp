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

namespace {

const QStringList ANY_FILE{QStringLiteral("*.*")};
const QStringList PICTURES{QStringLiteral("*.jpg"), QStringLiteral("*.png"), QStringLiteral("*.jpeg"),
                           QStringLiteral("*.gif")};

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
    void okComesWithAClick_data();
    void okComesWithAClick();
    void okGoesWithAClickOnSomethingElse();
    void pathStaysWhenSomethingElseIsClicked();
    void okAccepts_data();
    void okAccepts();
    void doubleClickAccepts_data();
    void doubleClickAccepts();
    void doubleClickOnAFolderExpandsItInFileMode();
    void whatWasClickedIsPickedWhenTheKeyboardMovedOn();
    void okFollowsTheKeyboardToAnotherFile();
    void okFollowsTheKeyboardInFolderMode();
    void keyboardAloneDoesNotEnableOk();
    void returnInTheTreePicksNothing();
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
    // On a slow machine the letters of a name would else count as several searches.
    QApplication::setKeyboardInputInterval(60000);
}

void TestFileDialog::init()
{
    folder = std::make_unique<Folder>();
    folder->write(QStringLiteral("Apps.csv"), HEADER);
    folder->write(QStringLiteral("README"), "r");
    folder->write(QStringLiteral("main.lua"), "m");
    folder->write(QStringLiteral("photo.JPG"), "p");
    folder->write(QStringLiteral("image.png"), "i");
    folder->write(QStringLiteral("scan.jpeg"), "s");
    folder->write(QStringLiteral("move.gif"), "g");
    folder->write(QStringLiteral("draw.svg"), "d");
    folder->write(QStringLiteral(".hidden.png"), "h");
    folder->write(QStringLiteral("lib/sub/deep.png"), "d");
    folder->write(QStringLiteral("lib/plain"), "p");
    folder->write(QStringLiteral("lib/units.lua"), "u");
    folder->makeFolder(QStringLiteral("v1.2"));
    folder->makeFolder(QStringLiteral(".git"));
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
    dialog =
        std::make_unique<FileDialog>(root.isNull() ? folder->path(QStringLiteral("Apps.csv")) : root, filters, nullptr);
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

    QCOMPARE(dialog->objectName(), QStringLiteral("FileDialog"));
    QCOMPARE(dialog->windowTitle(), QStringLiteral("Select a file"));
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
        << ANY_FILE << QStringLiteral("Apps.csv draw.svg image.png lib main.lua move.gif photo.JPG scan.jpeg v1.2");
    QTest::newRow("pictures and folders")
        << PICTURES << QStringLiteral("image.png lib move.gif photo.JPG scan.jpeg v1.2");
    QTest::newRow("folders alone") << QStringList() << QStringLiteral("lib v1.2");
}

void TestFileDialog::lists()
{
    QFETCH(const QStringList, filters);
    QFETCH(const QString, listed);
    open(filters);
    QTRY_COMPARE(names(tree->rootIndex()).join(QLatin1Char(' ')), listed);
}

void TestFileDialog::listsWhatIsInAFolder()
{
    open(ANY_FILE);
    const QModelIndex lib = treeEntry(tree, QStringLiteral("lib"));
    QVERIFY(lib.isValid());
    loaded->clear();
    tree->expand(lib);
    QTRY_VERIFY(!loaded->isEmpty());
    QTRY_COMPARE(names(lib).join(QLatin1Char(' ')), QStringLiteral("sub units.lua"));
}

void TestFileDialog::okComesWithAClick_data()
{
    QTest::addColumn<QStringList>("filters");
    QTest::addColumn<QString>("entry");
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<QString>("path");

    QTest::newRow("file") << ANY_FILE << QStringLiteral("main.lua") << true << QStringLiteral("main.lua");
    QTest::newRow("file in a folder") << ANY_FILE << QStringLiteral("lib/units.lua") << true
                                      << QStringLiteral("lib/units.lua");
    QTest::newRow("picture two folders down")
        << PICTURES << QStringLiteral("lib/sub/deep.png") << true << QStringLiteral("lib/sub/deep.png");
    QTest::newRow("folder for a file") << ANY_FILE << QStringLiteral("lib") << false << QString();
    QTest::newRow("folder with a dot for a file") << ANY_FILE << QStringLiteral("v1.2") << false << QString();
    QTest::newRow("folder") << QStringList() << QStringLiteral("lib") << true << QStringLiteral("lib");
    QTest::newRow("folder in a folder") << QStringList() << QStringLiteral("lib/sub") << true
                                        << QStringLiteral("lib/sub");
}

void TestFileDialog::okComesWithAClick()
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

void TestFileDialog::okGoesWithAClickOnSomethingElse()
{
    open(ANY_FILE);
    QVERIFY(clickEntry(QStringLiteral("main.lua")));
    QCOMPARE(ok()->isEnabled(), true);
    QVERIFY(clickEntry(QStringLiteral("lib")));
    QCOMPARE(ok()->isEnabled(), false);
    QVERIFY(clickEntry(QStringLiteral("draw.svg")));
    QCOMPARE(ok()->isEnabled(), true);
    QCOMPARE(dialog->getPath(), QStringLiteral("draw.svg"));
}

void TestFileDialog::pathStaysWhenSomethingElseIsClicked()
{
    open(ANY_FILE);
    QVERIFY(clickEntry(QStringLiteral("main.lua")));
    QVERIFY(clickEntry(QStringLiteral("lib")));
    QCOMPARE(dialog->getPath(), QStringLiteral("main.lua"));
}

void TestFileDialog::okAccepts_data()
{
    QTest::addColumn<QStringList>("filters");
    QTest::addColumn<QString>("entry");
    QTest::newRow("file in the root") << ANY_FILE << QStringLiteral("main.lua");
    QTest::newRow("file two folders down") << ANY_FILE << QStringLiteral("lib/sub/deep.png");
    QTest::newRow("folder in the root") << QStringList() << QStringLiteral("v1.2");
    QTest::newRow("folder in a folder") << QStringList() << QStringLiteral("lib/sub");
}

void TestFileDialog::okAccepts()
{
    QFETCH(const QStringList, filters);
    QFETCH(const QString, entry);
    open(filters);
    QVERIFY(clickEntry(entry));
    QTest::mouseClick(ok(), Qt::LeftButton);
    QVERIFY(!dialog->isVisible());
    QCOMPARE(dialog->result(), int(QDialog::Accepted));
    QCOMPARE(dialog->getPath(), entry);
}

void TestFileDialog::doubleClickAccepts_data()
{
    okAccepts_data();
}

void TestFileDialog::doubleClickAccepts()
{
    QFETCH(const QStringList, filters);
    QFETCH(const QString, entry);
    open(filters);
    QVERIFY(doubleClickEntry(entry));
    QVERIFY(!dialog->isVisible());
    QCOMPARE(dialog->result(), int(QDialog::Accepted));
    QCOMPARE(dialog->getPath(), entry);
}

void TestFileDialog::doubleClickOnAFolderExpandsItInFileMode()
{
    open(ANY_FILE);
    QVERIFY(clickEntry(QStringLiteral("main.lua")));
    QVERIFY(doubleClickEntry(QStringLiteral("lib")));
    QVERIFY(dialog->isVisible());
    QCOMPARE(ok()->isEnabled(), false);
    QTRY_VERIFY(tree->isExpanded(treeEntry(tree, QStringLiteral("lib"))));
    QCOMPARE(dialog->getPath(), QStringLiteral("main.lua"));
}

void TestFileDialog::whatWasClickedIsPickedWhenTheKeyboardMovedOn()
{
    open(ANY_FILE);
    QVERIFY(clickEntry(QStringLiteral("main.lua")));
    QTest::keyClicks(tree, QStringLiteral("lib"));
    QCOMPARE(tree->currentIndex().data().toString(), QStringLiteral("lib"));
    QCOMPARE(ok()->isEnabled(), true);

    QTest::mouseClick(ok(), Qt::LeftButton);
    QVERIFY(!dialog->isVisible());
    QCOMPARE(dialog->result(), int(QDialog::Accepted));
    QCOMPARE(dialog->getPath(), QStringLiteral("main.lua"));
    QCOMPARE(ok()->isEnabled(), false);
}

void TestFileDialog::okFollowsTheKeyboardToAnotherFile()
{
    open(ANY_FILE);
    QVERIFY(clickEntry(QStringLiteral("main.lua")));
    QTest::keyClicks(tree, QStringLiteral("draw"));
    QCOMPARE(dialog->getPath(), QStringLiteral("main.lua"));
    QTest::mouseClick(ok(), Qt::LeftButton);
    QCOMPARE(dialog->result(), int(QDialog::Accepted));
    QCOMPARE(dialog->getPath(), QStringLiteral("draw.svg"));
}

void TestFileDialog::okFollowsTheKeyboardInFolderMode()
{
    open({});
    QVERIFY(clickEntry(QStringLiteral("v1.2")));
    QTest::keyClicks(tree, QStringLiteral("lib"));
    QTest::mouseClick(ok(), Qt::LeftButton);
    QCOMPARE(dialog->result(), int(QDialog::Accepted));
    QCOMPARE(dialog->getPath(), QStringLiteral("lib"));
}

void TestFileDialog::keyboardAloneDoesNotEnableOk()
{
    open(ANY_FILE);
    QVERIFY(treeEntry(tree, QStringLiteral("main.lua")).isValid());
    QTest::keyClicks(tree, QStringLiteral("main"));
    QCOMPARE(tree->currentIndex().data().toString(), QStringLiteral("main.lua"));
    QCOMPARE(ok()->isEnabled(), false);
    QCOMPARE(dialog->getPath(), QString());
}

void TestFileDialog::returnInTheTreePicksNothing()
{
    open(ANY_FILE);
    QVERIFY(treeEntry(tree, QStringLiteral("main.lua")).isValid());
    QTest::keyClicks(tree, QStringLiteral("main"));
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
    QVERIFY(clickEntry(QStringLiteral("main.lua")));
    QTest::keyClicks(tree, QStringLiteral("draw"));
    emit tree->activated(tree->currentIndex());
    QVERIFY(dialog->isVisible());
    QCOMPARE(dialog->getPath(), QStringLiteral("main.lua"));
}

void TestFileDialog::leaving_data()
{
    QTest::addColumn<QString>("way");
    QTest::newRow("the Cancel button") << QStringLiteral("cancel");
    QTest::newRow("Escape") << QStringLiteral("escape");
    QTest::newRow("closing the window") << QStringLiteral("close");
}

void TestFileDialog::leaving()
{
    QFETCH(const QString, way);
    open(ANY_FILE);
    QVERIFY(clickEntry(QStringLiteral("main.lua")));
    const QSignalSpy finished(dialog.get(), &QDialog::finished);
    if (way == QLatin1String("cancel"))
        QTest::mouseClick(child<QDialogButtonBox>(*dialog, "buttonBox")->button(QDialogButtonBox::Cancel),
                          Qt::LeftButton);
    else if (way == QLatin1String("escape"))
        QTest::keyClick(dialog.get(), Qt::Key_Escape);
    else
        dialog->close();
    QVERIFY(!dialog->isVisible());
    QCOMPARE(finished.size(), 1);
    QCOMPARE(finished.first().first().toInt(), int(QDialog::Rejected));
}

void TestFileDialog::emptyRootIsTheWorkingFolder()
{
    const WorkingFolder working(folder->path(QStringLiteral("lib")));
    open(ANY_FILE, QStringLiteral(""));
    QTRY_COMPARE(names(tree->rootIndex()).join(QLatin1Char(' ')), QStringLiteral("sub units.lua"));
    QVERIFY(clickEntry(QStringLiteral("units.lua")));
    QCOMPARE(dialog->getPath(), QStringLiteral("units.lua"));
}

void TestFileDialog::folderThatIsGoneShowsNothing()
{
    const WorkingFolder working(folder->path(QStringLiteral("lib")));
    for (const QStringList &filters : {ANY_FILE, QStringList()}) {
        FileDialog picker(folder->path(QStringLiteral("gone/Apps.csv")), filters, nullptr);
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
    open(ANY_FILE, folder->path(QStringLiteral("lib/Apps.csv")));
    const auto *model = qobject_cast<QFileSystemModel *>(tree->model());
    QCOMPARE(model->rootPath(), folder->path(QStringLiteral("lib")));
    QCOMPARE(model->filePath(tree->rootIndex()), folder->path(QStringLiteral("lib")));

    QVERIFY(clickEntry(QStringLiteral("sub")));
    for (const Qt::Key key : {Qt::Key_Left, Qt::Key_Left, Qt::Key_Home, Qt::Key_Up, Qt::Key_Left, Qt::Key_Backspace}) {
        QTest::keyClick(tree, key);
        QCOMPARE(tree->currentIndex().parent(), tree->rootIndex());
    }
    QCOMPARE(model->filePath(tree->rootIndex()), folder->path(QStringLiteral("lib")));
}

void TestFileDialog::runsModally()
{
    DialogAnswers answers;
    answers.pickInProject(QStringLiteral("lib/sub/deep.png"));
    FileDialog picker(folder->path(QStringLiteral("Apps.csv")), PICTURES, nullptr);
    QCOMPARE(picker.exec(), int(QDialog::Accepted));
    QCOMPARE(picker.getPath(), QStringLiteral("lib/sub/deep.png"));
    QVERIFY(answers.allAnswered());
    QCOMPARE(answers.shown.size(), 1);
    QCOMPARE(answers.shown.constFirst().kind, QStringLiteral("FileDialog"));
    QCOMPARE(answers.shown.constFirst().buttons, QStringList({QStringLiteral("OK"), QStringLiteral("Cancel")}));
}

void TestFileDialog::namesAreShownWhole()
{
    const QString name = QStringLiteral("a-name-that-is-longer-than-most.lua");
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
    // Another folder does not set it again.
    QVERIFY(treeEntry(tree, QStringLiteral("lib/units.lua")).isValid());
    QCOMPARE(tree->header()->sectionSize(0), width + 20);
}

void TestFileDialog::spacePicks_data()
{
    QTest::addColumn<QStringList>("filters");
    QTest::addColumn<QString>("entry");
    QTest::addColumn<bool>("picks");
    QTest::newRow("file") << ANY_FILE << QStringLiteral("main.lua") << true;
    QTest::newRow("folder") << QStringList() << QStringLiteral("lib") << true;
    QTest::newRow("folder where a file is wanted") << ANY_FILE << QStringLiteral("lib") << false;
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
    QVERIFY(QDir(folder->path(QStringLiteral("lib"))).removeRecursively());
    QVERIFY(QDir(folder->path(QStringLiteral("v1.2"))).removeRecursively());
    folder->makeFolder(QStringLiteral("only"));
    open({});
    QVERIFY(clickEntry(QStringLiteral("only")));
    QVERIFY(ok()->isEnabled());
    QVERIFY(QDir().rmdir(folder->path(QStringLiteral("only"))));
    QTRY_VERIFY(!tree->currentIndex().isValid());
    QTest::mouseClick(ok(), Qt::LeftButton);
    QCOMPARE(dialog->result(), int(QDialog::Accepted));
    QCOMPARE(dialog->getPath(), QStringLiteral("only"));
    QVERIFY(!dialog->checkFile());
}

CATALIST_TEST(TestFileDialog)
#include "tst_filedialog.moc"
