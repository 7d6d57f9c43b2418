#pragma once

#include "folder.h"

#include <QSettings>
#include <QWidget>

/// A widget or other child of the window by its object name; fails the program when there is none.
template <typename T> T *child(const QObject &parent, const char *name)
{
    T *found = parent.findChild<T *>(QLatin1String(name));
    if (!found)
        qFatal("No %s", name);
    return found;
}


/// What the next window finds: the path of the last project.
void storeProject(const QString &path);
void clearSettings();

inline const QByteArray HEADER = "NAME;AUTHOR;VERSION;HARDWARE;DATE;DESCRIPTION;FILES_FOLDERS;ICON;MIN_TXVER\n";
