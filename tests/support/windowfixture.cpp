#include "windowfixture.h"

#include <QAbstractButton>
#include <QAbstractItemModel>
#include <QAction>
#include <QLineEdit>
#include <QListWidget>
#include <QPersistentModelIndex>
#include <QTabBar>
#include <QTabWidget>
#include <QToolBar>
#include <QTreeView>

using namespace Qt::StringLiterals;

namespace {

QModelIndex childNamed(const QAbstractItemModel *model, const QModelIndex &parent, const QString &name)
{
    for (int row = 0; row < model->rowCount(parent); ++row) {
        const QModelIndex index = model->index(row, 0, parent);
        if (index.data().toString() == name)
            return index;
    }
    return {};
}

} // namespace

void click(const QWidget &window, const char *button)
{
    auto *widget = child<QAbstractButton>(window, button);
    // A check box only reacts at its left, where its mark and its text are.
    QTest::mouseClick(widget, Qt::LeftButton, {}, QPoint(10, widget->height() / 2));
}

void clickTool(const QWidget &window, const char *action)
{
    QWidget *tool = child<QToolBar>(window, "mainToolBar")->widgetForAction(child<QAction>(window, action));
    if (!tool)
        qFatal("No tool for %s", action);
    QTest::mouseClick(tool, Qt::LeftButton);
}

void showTab(const QWidget &window, const char *page)
{
    auto *tabs = child<QTabWidget>(window, "tabWidget");
    const int index = tabs->indexOf(child<QWidget>(window, page));
    QTest::mouseClick(tabs->tabBar(), Qt::LeftButton, {}, tabs->tabBar()->tabRect(index).center());
}

void clickCell(QAbstractItemView *view, int row, int column)
{
    const QModelIndex index = view->model()->index(row, column, view->rootIndex());
    view->scrollTo(index);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(index).center());
}

QStringList listTexts(const QWidget &window, const char *list)
{
    QStringList texts;
    const auto *widget = child<QListWidget>(window, list);
    for (int row = 0; row < widget->count(); ++row)
        texts.append(widget->item(row)->text());
    return texts;
}

void type(QWidget *widget, const QString &text)
{
    for (const QChar character : text) {
        if (character == u'\n')
            QTest::keyClick(widget, Qt::Key_Return);
        else
            QTest::sendKeyEvent(QTest::Click, widget, Qt::Key_unknown, QString(character), Qt::NoModifier);
    }
}

void retype(const QWidget &window, const char *lineEdit, const QString &text)
{
    auto *edit = child<QLineEdit>(window, lineEdit);
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Delete);
    type(edit, text);
}

QModelIndex treeEntry(QTreeView *tree, const QString &relativePath)
{
    QModelIndex index = tree->rootIndex();
    const QStringList names = relativePath.split(u'/');
    for (const QString &name : names) {
        const QPersistentModelIndex parent = index;
        if (parent != tree->rootIndex())
            tree->expand(parent);
        if (!QTest::qWaitFor([tree, &parent, &name] { return childNamed(tree->model(), parent, name).isValid(); }))
            return {};
        index = childNamed(tree->model(), parent, name);
    }
    tree->scrollTo(index);
    return index;
}

QStringList words(const char *text)
{
    return QString::fromUtf8(text).split(u' ', Qt::SkipEmptyParts);
}

void storeProject(const QString &path)
{
    QSettings settings(u"Orva model"_s, u"Catalist"_s);
    settings.setValue(u"appPath"_s, path);
}

void clearSettings()
{
    QSettings settings(u"Orva model"_s, u"Catalist"_s);
    settings.clear();
}
