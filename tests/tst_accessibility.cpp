#include "testrunner.h"
#include "ui/filedialog.h"
#include "windowtest.h"

#include <QAccessible>
#include <QAccessibleInterface>
#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QInputDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTableWidget>
#include <QTreeView>

using namespace Qt::StringLiterals;

namespace {

/// Empty cells of a tree need no name, and the line edit in a combo box has that of the box.
bool needsName(const QAccessibleInterface *control)
{
    const QAccessibleInterface *parent = control->parent();
    const bool isInBox = parent && parent->role() == QAccessible::ComboBox;
    return control->role() != QAccessible::TreeItem && !(isInBox && control->role() == QAccessible::EditableText);
}

/// The focusable controls below a control that have no name for a screen reader.
QStringList controlsWithoutName(QAccessibleInterface *control)
{
    QStringList found;
    const QAccessible::State state = control->state();
    if (state.invisible)
        return found;
    if (state.focusable && needsName(control) && control->text(QAccessible::Name).isEmpty()) {
        const QObject *object = control->object();
        found.append(object ? u"%1 %2"_s.arg(QLatin1String(object->metaObject()->className()), object->objectName())
                            : u"role %1"_s.arg(control->role()));
    }
    for (int i = 0; i < control->childCount(); ++i) {
        if (QAccessibleInterface *part = control->child(i))
            found += controlsWithoutName(part);
    }
    return found;
}

QStringList controlsWithoutName(QWidget *window)
{
    return controlsWithoutName(QAccessible::queryAccessibleInterface(window));
}

int focusableControls(QAccessibleInterface *control)
{
    int count = control->state().focusable && !control->state().invisible ? 1 : 0;
    for (int i = 0; i < control->childCount(); ++i) {
        if (QAccessibleInterface *part = control->child(i))
            count += focusableControls(part);
    }
    return count;
}

QRect globalRect(const QWidget *widget)
{
    return {widget->mapToGlobal(QPoint()), widget->size()};
}

bool overlapInHeight(const QRect &first, const QRect &second)
{
    return first.top() <= second.bottom() && second.top() <= first.bottom();
}

bool overlapInWidth(const QRect &first, const QRect &second)
{
    return first.left() <= second.right() && second.left() <= first.right();
}

/// The widgets at which the tab key stops, in its order.
QList<QWidget *> stopsFrom(QWidget *first)
{
    QList<QWidget *> stops;
    QWidget *widget = first;
    do {
        if (widget->isVisible() && widget->isEnabled() && (widget->focusPolicy() & Qt::TabFocus) == Qt::TabFocus)
            stops.append(widget);
        widget = widget->nextInFocusChain();
    } while (widget != first);
    return stops;
}

/// Names two stops that are not in reading order, from left to right and from top to bottom; empty when there are none.
QString outOfOrder(const QList<QWidget *> &stops)
{
    for (qsizetype i = 0; i < stops.size(); ++i) {
        const QRect earlier = globalRect(stops.at(i));
        for (qsizetype j = i + 1; j < stops.size(); ++j) {
            const QRect later = globalRect(stops.at(j));
            if (earlier.contains(later)) // the tab widget is around its pages
                continue;
            if ((overlapInHeight(earlier, later) && earlier.left() >= later.left())
                || (overlapInWidth(earlier, later) && earlier.top() >= later.top()))
                return stops.at(i)->objectName() + u" comes before "_s + stops.at(j)->objectName();
        }
    }
    return {};
}

/// Presses the tab key until a control has the focus.
bool tabTo(QWidget &window, const char *name)
{
    // Without a window manager nothing activates the window again after a dialog.
    window.activateWindow();
    if (!QTest::qWaitForWindowActive(&window))
        return false;
    const auto *target = child<QWidget>(window, name);
    for (int presses = 0; presses < 60 && QApplication::focusWidget() != target; ++presses)
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    return QApplication::focusWidget() == target;
}

void press(Qt::Key key)
{
    QTest::keyClick(QApplication::focusWidget(), key);
}

} // namespace

/// The window for people who use a screen reader, or no mouse.
class TestAccessibility : public WindowTest
{
    Q_OBJECT

private slots:
    void init() override;

    void controlsHaveNames_data();
    void controlsHaveNames();
    void languageBoxesAreDescribed();
    void picker_data();
    void picker();
    void dialogs_data();
    void dialogs();
    void tabOrderFollowsTheEye_data();
    void tabOrderFollowsTheEye();

    void selectsAnAppAndATabWithKeys();
    void appliesWithKeys();
    void opensThePickerAndDeletesWithKeys();
    void describesWithKeys();
    void savesWithKeys();

private:
    void showPage(const QString &page) const;
};

void TestAccessibility::init()
{
    WindowTest::init();
    openExample();
    child<QListWidget>(*window, "listApps")->setFocus();
}

void TestAccessibility::showPage(const QString &page) const
{
    child<QTabWidget>(*window, "tabWidget")->setCurrentWidget(child<QWidget>(*window, qPrintable(page)));
}

void TestAccessibility::controlsHaveNames_data()
{
    QTest::addColumn<int>("least"); // number of controls
    QTest::newRow("tabGeneral") << 36;
    QTest::newRow("tabAppFiles") << 11;
    QTest::newRow("tabDescription") << 14;
}

void TestAccessibility::controlsHaveNames()
{
    QFETCH(int, least);
    showPage(QString::fromLatin1(QTest::currentDataTag()));
    selectApp(0);
    if (child<QTableWidget>(*window, "tableWidget")->isVisible())
        clickCell(child<QTableWidget>(*window, "tableWidget"), 0, 1);
    QCOMPARE(controlsWithoutName(window.get()).join(u", "_s), QString());
    const int controls = focusableControls(QAccessible::queryAccessibleInterface(window.get()));
    QVERIFY2(controls >= least, qPrintable(QString::number(controls)));
    // A missing name is found.
    child<QWidget>(*window, "listApps")->setAccessibleName({});
    QCOMPARE(controlsWithoutName(window.get()), QStringList{u"QListWidget listApps"_s});
}

// The name of a box without a label is its current text.
void TestAccessibility::languageBoxesAreDescribed()
{
    const QStringList which{u"second"_s, u"third"_s, u"fourth"_s};
    const std::array boxes{"lng1_2", "lng1_3", "lng1_4"};
    for (qsizetype i = 0; i < which.size(); ++i) {
        auto *control = QAccessible::queryAccessibleInterface(child<QComboBox>(*window, boxes.at(size_t(i))));
        QVERIFY(control);
        const QString announced = control->text(QAccessible::Name) + u", "_s + control->text(QAccessible::Description);
        QVERIFY2(announced.contains(u"Language of the %1 app name"_s.arg(which.at(i))), qPrintable(announced));
        QCOMPARE(control->text(QAccessible::Description), u"Language of the %1 app name"_s.arg(which.at(i)));
    }
}

void TestAccessibility::picker_data()
{
    QTest::addColumn<QStringList>("filters");
    QTest::newRow("files") << QStringList{u"*.*"_s};
    QTest::newRow("folders") << QStringList();
}

void TestAccessibility::picker()
{
    QFETCH(QStringList, filters);
    FileDialog dialog(folder->path(u"catalogue/Apps.csv"_s), filters, window.get());
    dialog.show();
    auto *tree = child<QTreeView>(dialog, "treeView");
    QVERIFY(treeEntry(tree, u"Altimeter/lib"_s).isValid());
    QCOMPARE(controlsWithoutName(&dialog).join(u", "_s), QString());

    const QList<QWidget *> stops = stopsFrom(tree);
    QCOMPARE(stops.size(), 2); // the tree and Cancel; OK waits for a click
    QCOMPARE(outOfOrder(stops), QString());
}

void TestAccessibility::dialogs_data()
{
    QTest::addColumn<QString>("opener"); // a button, or the key for an action
    QTest::newRow("language of a description") << u"btnNewDescription"_s;
    QTest::newRow("question whether to save") << u"close"_s;
    QTest::newRow("picker of an icon") << u"iconBtn"_s;
    QTest::newRow("picker of a file") << u"btnAddFile"_s;
}

void TestAccessibility::dialogs()
{
    QFETCH(QString, opener);
    QStringList found{u"no dialog"_s};
    answers->answer([&found](QWidget *dialog) {
        found = controlsWithoutName(dialog);
        QTest::keyClick(dialog, Qt::Key_Escape);
    });
    if (opener == u"close") {
        click(*window, "btnNewApp");
        QVERIFY(!window->close());
    } else {
        auto *button = child<QPushButton>(*window, qPrintable(opener));
        QTest::keyClick(button, Qt::Key_Space);
    }
    QCOMPARE(found.join(u", "_s), QString());
}

void TestAccessibility::tabOrderFollowsTheEye_data()
{
    QTest::addColumn<int>("least");
    QTest::newRow("tabGeneral") << 31;
    QTest::newRow("tabAppFiles") << 9;
    QTest::newRow("tabDescription") << 11;
}

void TestAccessibility::tabOrderFollowsTheEye()
{
    QFETCH(int, least);
    showPage(QString::fromLatin1(QTest::currentDataTag()));
    for (const char *name : {"check1_2", "check1_3", "check1_4"}) {
        if (auto *box = child<QWidget>(*window, name); box->isVisible())
            click(*window, name);
    }
    const QList<QWidget *> stops = stopsFrom(child<QWidget>(*window, "repository"));
    QVERIFY2(stops.size() >= least, qPrintable(QString::number(stops.size())));
    QCOMPARE(outOfOrder(stops), QString());
}

void TestAccessibility::selectsAnAppAndATabWithKeys()
{
    press(Qt::Key_Down);
    QCOMPARE(child<QLineEdit>(*window, "appName1_1")->text(), u"Flight Timer"_s);
    auto *tabs = child<QTabWidget>(*window, "tabWidget");
    tabs->tabBar()->setFocus();
    press(Qt::Key_Right);
    QCOMPARE(tabs->currentIndex(), 1);
    press(Qt::Key_Right);
    QCOMPARE(tabs->currentIndex(), 2);
}

void TestAccessibility::appliesWithKeys()
{
    QVERIFY(tabTo(*window, "version"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_A, Qt::ControlModifier);
    type(QApplication::focusWidget(), u"7.8.9"_s);
    QVERIFY(tabTo(*window, "applyButton"));
    press(Qt::Key_Space);
    QTest::keyClick(window.get(), Qt::Key_S, Qt::ControlModifier);
    QVERIFY(folder->read(u"catalogue/Apps.csv"_s).contains(";7.8.9;"));
}

void TestAccessibility::opensThePickerAndDeletesWithKeys()
{
    showPage(u"tabAppFiles"_s);
    auto *list = child<QListWidget>(*window, "listAppFiles");
    const int before = list->count();
    QVERIFY(before > 0);
    QVERIFY(tabTo(*window, "btnAddFile"));
    answers->pressKey(Qt::Key_Escape);
    press(Qt::Key_Space);
    QCOMPARE(answers->shown.size(), 1);
    QCOMPARE(answers->shown.constFirst().kind, u"FileDialog"_s);

    child<QListWidget>(*window, "listApps")->setFocus();
    QVERIFY(tabTo(*window, "listAppFiles"));
    press(Qt::Key_Down);
    QVERIFY(tabTo(*window, "btnDeleteFile"));
    press(Qt::Key_Space);
    QCOMPARE(list->count(), before - 1);
}

void TestAccessibility::describesWithKeys()
{
    showPage(u"tabDescription"_s);
    QVERIFY(tabTo(*window, "tableWidget"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Home, Qt::ControlModifier);
    press(Qt::Key_Down);
    QVERIFY(tabTo(*window, "descriptionEdit"));
    type(QApplication::focusWidget(), u"<!-- typed -->"_s);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab, Qt::ShiftModifier);
    QCOMPARE(QApplication::focusWidget(), child<QPushButton>(*window, "btnAutosave"));
    press(Qt::Key_Space);
    QVERIFY(folder->read(u"catalogue/descriptions/altimeter.de.html"_s).startsWith("<!-- typed -->"));

    child<QListWidget>(*window, "listApps")->setFocus();
    QVERIFY(tabTo(*window, "btnNewDescription"));
    answers->enterText(u"it"_s);
    answers->chooseFile(folder->path(u"catalogue/descriptions/new.it.html"_s));
    press(Qt::Key_Space);
    QVERIFY(folder->exists(u"catalogue/descriptions/new.it.html"_s));
}

void TestAccessibility::savesWithKeys()
{
    // The action has no shortcut, but the menu has.
    answers->chooseFile(folder->path(u"Apps.json"_s));
    auto *menu = child<QMenu>(*window, "menuFile");
    QTest::keyPress(window.get(), Qt::Key_Alt);
    QTest::keyRelease(window.get(), Qt::Key_Alt);
    QCOMPARE(QApplication::focusWidget(), child<QMenuBar>(*window, "menuBar"));
    press(Qt::Key_Down);
    QTRY_VERIFY(menu->isVisible());
    QTest::keyClick(menu, Qt::Key_Up);
    QTest::keyClick(menu, Qt::Key_Return);
    QVERIFY(folder->read(u"Apps.json"_s).contains("Altimeter/main.lua"));
}

CATALIST_TEST(TestAccessibility)
#include "tst_accessibility.moc"
