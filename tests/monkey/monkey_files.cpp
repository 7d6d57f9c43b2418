#include "monkey.h"

#include <QListWidget>

using namespace Qt::StringLiterals;

void Monkey::addPicked(const char *button, const QStringList &paths)
{
    if (!areTabsEnabled())
        return;
    expect(u"FileDialog"_s, {});
    const QString path = oneOf(paths);
    // Without the project folder the picker shows nothing.
    const bool picks = chance(60) && QFileInfo(appPath).absoluteDir().exists();
    note(picks ? path : u"cancelled"_s);
    if (picks)
        dialogs->pickInProject(path);
    else
        dialogs->cancel();
    if (hasCurrent()) {
        if (picks)
            records[index].files.append(path);
        modified = true;
    }
    refreshed();
    press(button);
}

void Monkey::addFile()
{
    addPicked("btnAddFile", {u"main.lua"_s, u"lib/util.lua"_s, u"doc/de.html"_s});
}

void Monkey::addFolder()
{
    addPicked("btnAddFolder", {u"lib"_s, u"img"_s, u"doc"_s});
}

void Monkey::deleteFile()
{
    if (!areTabsEnabled())
        return;
    auto *list = get<QListWidget>("listAppFiles");
    const int row = number(list->count() + 1) - 1;
    list->setCurrentRow(row);
    note(QString::number(row));
    if (hasCurrent()) {
        if (row >= 0)
            records[index].files.removeAt(row);
        modified = true;
    }
    refreshed();
    press("btnDeleteFile");
}
