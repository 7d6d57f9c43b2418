#include "dialoganswers.h"
#include "scratchhome.h"
#include "ui/mainwindow.h"
#include "windowfixture.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QDialogButtonBox>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileInfo>
#include <QHash>
#include <QImage>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QTableWidgetItem>
#include <QTextBrowser>
#include <QTextCursor>
#include <QTreeView>
#include <QUrl>
#include <QVariant>

#include <array>
#include <cstdio>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

/// The input of the command line.
struct Input
{
    QString project; ///< path of an Apps.csv
    QString page; ///< name of a description in its folder
};

/// Waits until Qt has nothing left to do, as the user waits for layout and painting, too.
void settle()
{
    while (QAbstractEventDispatcher::instance()->processEvents(QEventLoop::AllEvents)) { }
}

double seconds(const std::function<void()> &action)
{
    QElapsedTimer clock;
    clock.start();
    action();
    settle();
    return static_cast<double>(clock.nsecsElapsed()) / 1e9;
}

/// The time of the second run, as the first one also fills caches.
double secondTime(const std::function<void()> &action)
{
    action();
    settle();
    return seconds(action);
}

std::unique_ptr<MainWindow> openProject(const QString &project)
{
    storeProject(project);
    auto window = openWindow<MainWindow>();
    settle();
    return window;
}

/// In the middle of the list.
QListWidget *selectApp(const MainWindow &window)
{
    auto *list = child<QListWidget>(window, "listApps");
    clickCell(list, list->count() / 2);
    settle();
    return list;
}

QStringList appNames(const QString &project)
{
    AppConfigModel model;
    if (!model.load(project))
        qFatal("Cannot load %s", qPrintable(project));
    QStringList names;
    for (const AppConfig &app : std::as_const(model.apps))
        names.append(app.names.value(u"en"_s));
    return names;
}

/// A plain list as large as the window's.
std::unique_ptr<QListWidget> openList(const MainWindow &window, const QStringList &names)
{
    auto list = std::make_unique<QListWidget>();
    list->addItems(names);
    list->resize(child<QListWidget>(window, "listApps")->size());
    list->show();
    if (!QTest::qWaitForWindowExposed(list.get()))
        qFatal("The list was not shown");
    settle();
    return list;
}

void refill(QListWidget *list, const QStringList &names)
{
    list->clear();
    for (const QString &name : names)
        list->addItem(name);
    list->setCurrentRow(static_cast<int>(names.size()) / 2);
}

double opening(const Input &input)
{
    openProject(input.project);
    storeProject(input.project);
    std::unique_ptr<MainWindow> window;
    return seconds([&window] {
        window = std::make_unique<MainWindow>();
        window->show();
    });
}

double selecting(const Input &input)
{
    const auto window = openProject(input.project);
    auto *list = selectApp(*window);
    return secondTime([list] { clickCell(list, list->currentRow() + 1); });
}

double applying(const Input &input)
{
    const auto window = openProject(input.project);
    selectApp(*window);
    return secondTime([&window] { click(*window, "applyButton"); });
}

double applyingFloor(const Input &input)
{
    const QStringList names = appNames(input.project);
    const auto window = openProject({});
    const auto list = openList(*window, names);
    return secondTime([&] { refill(list.get(), names); });
}

double addingAFile(const Input &input)
{
    const auto window = openProject(input.project);
    selectApp(*window);
    showTab(*window, "tabAppFiles");
    DialogAnswers answers;
    QElapsedTimer sincePicked;
    const auto add = [&] {
        answers.answer([&sincePicked](QWidget *dialog) {
            auto *tree = child<QTreeView>(*dialog, "treeView");
            const QModelIndex file = treeEntry(tree, u"new.lua"_s);
            QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualRect(file).center());
            settle();
            sincePicked.start();
            child<QDialogButtonBox>(*dialog, "buttonBox")->button(QDialogButtonBox::Ok)->click();
        });
        click(*window, "btnAddFile");
        settle();
    };
    add();
    add();
    return static_cast<double>(sincePicked.nsecsElapsed()) / 1e9;
}

/// Types a letter in the middle of the page. Qt lays out the invisible part of a long page later, in steps. All of it
/// counts, as the number of steps until the clock stops is random.
double keystrokeIn(QPlainTextEdit *editor, const QTextBrowser *view)
{
    QTextCursor cursor = editor->textCursor();
    cursor.setPosition(static_cast<int>(editor->toPlainText().size() / 2));
    editor->setTextCursor(cursor);
    editor->setFocus();
    settle();
    return secondTime([editor, view] {
        type(editor, u"x"_s);
        (void)view->document()->size();
    });
}

std::unique_ptr<MainWindow> openPage(const Input &input)
{
    auto window = openProject(input.project);
    selectApp(*window);
    showTab(*window, "tabDescription");
    auto *table = child<QTableWidget>(*window, "tableWidget");
    const QList<QTableWidgetItem *> found = table->findItems(input.page, Qt::MatchExactly);
    if (found.size() != 1)
        qFatal("No description %s", qPrintable(input.page));
    clickCell(table, found.constFirst()->row(), 1);
    settle();
    return window;
}

double keystroke(const Input &input)
{
    const auto window = openPage(input);
    return keystrokeIn(child<QPlainTextEdit>(*window, "descriptionEdit"),
                       child<QTextBrowser>(*window, "descriptionView"));
}

/// Reads each picture once.
class PlainBrowser : public QTextBrowser
{
public:
    using QTextBrowser::QTextBrowser;

    QVariant loadResource(int type, const QUrl &name) override
    {
        QVariant &picture = pictures[name];
        if (!picture.isValid())
            picture = QImage::fromData(QTextBrowser::loadResource(type, name).toByteArray());
        return picture;
    }

private:
    QHash<QUrl, QVariant> pictures;
};

double keystrokeFloor(const Input &input)
{
    const auto window = openPage(input);
    auto *shownEditor = child<QPlainTextEdit>(*window, "descriptionEdit");
    auto *shownView = child<QTextBrowser>(*window, "descriptionView");

    QWidget plain;
    QPlainTextEdit editor(&plain);
    PlainBrowser view(&plain);
    plain.resize(window->size());
    editor.setGeometry({{0, 0}, shownEditor->size()});
    editor.setPlainText(shownEditor->toPlainText());
    view.setGeometry({{0, editor.height()}, shownView->size()});
    // Otherwise the page is laid out again when the scroll bar appears.
    view.setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    view.setSearchPaths({QFileInfo(input.project).path()});
    view.document()->setDefaultStyleSheet(shownView->document()->defaultStyleSheet());
    QObject::connect(&editor, &QPlainTextEdit::textChanged, &view,
                     [&editor, &view] { view.setHtml(editor.toPlainText()); });
    window->hide();
    plain.show();
    if (!QTest::qWaitForWindowActive(&plain))
        qFatal("The plain widgets were not shown");
    return keystrokeIn(&editor, &view);
}

struct Case
{
    const char *name;
    double (*measure)(const Input &input);
};

constexpr std::array<Case, 7> CASES{{
    {"opening", opening},
    {"selecting", selecting},
    {"apply", applying},
    {"apply-floor", applyingFloor},
    {"adding", addingAFile},
    {"keystroke", keystroke},
    {"keystroke-floor", keystrokeFloor},
}};

} // namespace

/// Runs one action in the window, or on plain widgets, and prints the time of the second run in seconds.
int main(int argc, char *argv[])
{
    // Without the delay of Qt before painting.
    qputenv("QT_QPA_UPDATE_IDLE_TIME", "0");
    qputenv("QT_LOGGING_RULES", "*=false");
    const ScratchHome home;
    const QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    for (const Case &known : CASES) {
        if (arguments.value(1) != QLatin1String(known.name))
            continue;
        std::printf("%.6f\n", known.measure({arguments.value(2), arguments.value(3)}));
        return 0;
    }
    std::fputs("usage: catalist_bench_window CASE APPS.CSV [PAGE]\n", stderr);
    return 2;
}
