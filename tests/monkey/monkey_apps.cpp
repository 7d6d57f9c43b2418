#include "monkey.h"

#include <QListWidget>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

void Monkey::refreshed()
{
    storeEditor();
    closeEditor();
    tableRow = -1;
    autoSaveEnabled = false;
    shownFields = fieldsOf(current());
}

void Monkey::selectApp()
{
    auto *list = get<QListWidget>("listApps");
    if (list->count() == 0)
        return;
    const int row = number(list->count());
    note(QString::number(row));
    const bool changes = row != list->currentRow();
    if (changes) {
        index = row;
        refreshed();
    }
    clickCell(list, row);
}

void Monkey::selectNoApp()
{
    auto *list = get<QListWidget>("listApps");
    if (list->currentRow() < 0)
        return;
    index = -1;
    refreshed();
    list->setCurrentRow(-1);
}

void Monkey::moveInList()
{
    static const std::array<Qt::Key, 4> keys{Qt::Key_Up, Qt::Key_Down, Qt::Key_Home, Qt::Key_End};
    auto *list = get<QListWidget>("listApps");
    const int before = list->currentRow();
    QTest::keyClick(list, keys.at(static_cast<size_t>(number(4))));
    if (list->currentRow() != before) {
        note(u"to %1"_s.arg(list->currentRow()));
        index = list->currentRow();
        refreshed();
    }
}

void Monkey::newApp()
{
    AppConfig app;
    app.names.insert(u"en"_s, u"[New App]"_s);
    records.append(app);
    index = static_cast<int>(records.size()) - 1;
    modified = true;
    refreshed();
    press("btnNewApp");
}

void Monkey::deleteApp()
{
    if (hasCurrent())
        records.removeAt(index);
    index = std::min(index, static_cast<int>(records.size()) - 1);
    modified = true;
    refreshed();
    press("btnDeleteApp");
}

void Monkey::switchTab()
{
    static const std::array<const char *, 3> tabs{"tabGeneral", "tabAppFiles", "tabDescription"};
    showTab(*window, tabs.at(static_cast<size_t>(number(3))));
}
