#pragma once

#include "io/history.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>

/// Makes sure that what was typed in one window is somewhere on the disk: in its file, or else in the history. What
/// could be written to neither is held in memory under the path of its file, and is tried again whenever something else
/// is saved, copied or drafted.
class UnsavedWork
{
public:
    enum class Later {
        Copy,
        Save,
    };

    /// Replaces a file's content. False when that failed; the content is then in the history, or held.
    bool save(const QString &path, const QByteArray &content);

    /// Copies into the history what a file is not to be saved with now. Without room for the copy it is held, and
    /// then copied or saved later.
    void copy(const QString &path, const QByteArray &content, Later later);

    /// Keeps what a file would be saved with, for the case that the process ends. False when that failed.
    bool keepDraft(const QString &path, const QByteArray &content);

    /// For a file that has nothing unsaved any more.
    void removeDraft(const QString &path);

    /// For a file that was saved in another way.
    void fileWasSaved(const QString &path);

    /// For a file that gets another content: what is held of it is only to be copied from now on.
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
        Later later = Later::Copy;
    };

    bool writeHeld(const QString &path, const Held &work);

    QMap<QString, Held> nowhere;
    Drafts drafts;
};
