#pragma once

#include "io/history.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>

/// Sees to it that what was typed in one window is somewhere on the disk: in its file, or else in the history. What
/// got into neither is held in memory under the path of its file, and is tried again whenever something else is saved
/// or copied.
class UnsavedWork
{
public:
    /// Replaces a file's content. False when that failed; the content is then in the history, or held.
    bool save(const QString &path, const QByteArray &content);

    /// Copies into the history what a file is not to be saved with now, or holds it until there is room for the copy.
    void copy(const QString &path, const QByteArray &content);

    /// Keeps what a file would be saved with, for the case that the process ends.
    void keepDraft(const QString &path, const QByteArray &content);

    /// To be called when the content was saved, or copied, elsewhere.
    void removeDraft(const QString &path);

    /// Somebody else gives a file another content: what is held of it is only to be copied from now on.
    void stopSaving(const QString &path);

    /// Tries once more to save or to copy what is held.
    void tryAgain();

    /// What is held of a file.
    [[nodiscard]] std::optional<QByteArray> held(const QString &path) const;

    /// The files of which something is nowhere on the disk.
    [[nodiscard]] QStringList heldFiles() const;

private:
    struct Held
    {
        QByteArray content;
        bool isToBeSaved = false;
    };

    bool isOnDisk(const QString &path, const Held &work);

    QMap<QString, Held> nowhere;
    Drafts drafts;
};
