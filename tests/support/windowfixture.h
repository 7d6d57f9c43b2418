#pragma once

#include "folder.h"
#include "projectdata.h"

#include <QModelIndex>
#include <QSettings>
#include <QStringList>
#include <QTest>
#include <QWidget>

#include <memory>

class QAbstractItemView;
class QTreeView;

/// The child with the object name; fails the program when there is none.
template <typename T> T *child(const QObject &parent, const char *name)
{
    T *found = parent.findChild<T *>(QLatin1String(name));
    if (!found)
        qFatal("No %s", name);
    return found;
}

/// The window of the program with the stored project, large enough to show every button.
template <typename Window> std::unique_ptr<Window> openWindow()
{
    auto window = std::make_unique<Window>();
    window->resize(1100, 800);
    window->show();
    if (!QTest::qWaitForWindowActive(window.get()))
        qFatal("The window did not become active");
    return window;
}

void click(const QWidget &window, const char *button);
void clickTool(const QWidget &window, const char *action); ///< in the tool bar
void showTab(const QWidget &window, const char *page);
void clickCell(QAbstractItemView *view, int row, int column = 0);

/// The texts of a list, from its first row to its last.
QStringList listTexts(const QWidget &window, const char *list);

/// Types key by key at the cursor.
void type(QWidget *widget, const QString &text);
/// Replaces the text of a line edit.
void retype(const QWidget &window, const char *lineEdit, const QString &text);

/// The entry of a tree of files, made visible with its folders expanded; invalid when it does not appear.
QModelIndex treeEntry(QTreeView *tree, const QString &relativePath);

/// The words of a text, separated by spaces.
QStringList words(const char *text);

/// Stores the path of the last project, which the next window opens.
void storeProject(const QString &path);
void clearSettings();
