#pragma once

#include "io/fileresult.h"

#include <QByteArray>
#include <QHash>
#include <QSet>
#include <QString>

namespace History {

/// What one window would save, in case its process ends without saving: one draft for each file. A draft survives the
/// process, but is not synced to the disk.
///
/// A draft that another process has left becomes an unsaved text as soon as its file gets a draft here or is saved.
class Drafts
{
public:
    /// Replaces the draft of a file. After an error the one before stays.
    FileResult<> keep(const QString &path, const QByteArray &content);

    /// To be called when a file has nothing unsaved any more.
    void remove(const QString &path);

    /// To be called when a file was saved.
    void removeSaved(const QString &path);

private:
    void keepThoseOfOthers(const QString &file);

    QHash<QString, QString> own; ///< by the file's canonical path
    QSet<QString> settled; ///< canonical paths of files whose drafts are all of this window
};

} // namespace History
