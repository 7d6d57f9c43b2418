#pragma once

#include "history/drafts.h"
#include "io/fileresult.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>

/// Makes sure that what was typed in one window is on the disk: in its file, or else in the history. A text that could
/// be written to neither is held in memory under the path of its file, and is tried again whenever something else is
/// saved, copied or drafted.
class UnsavedWork
{
public:
    enum class Later {
        Copy,
        Save,
    };

    /// Replaces a file's content. After an error the content is in the history, or held.
    FileResult<> save(const QString &path, const QByteArray &content);

    /// Copies a text into the history without saving it. Where there is no room for the copy, the text is held, and
    /// copied or saved later.
    void copy(const QString &path, const QByteArray &content, Later later);

    /// Keeps a draft of what the file would be saved with.
    FileResult<> keepDraft(const QString &path, const QByteArray &content);

    /// To be called when a file has nothing unsaved any more.
    void removeDraft(const QString &path);

    /// To be called when a file was saved elsewhere.
    void fileWasSaved(const QString &path);

    /// To be called when a file gets other content: a held text of it is only copied from now on.
    void stopSaving(const QString &path);

    /// Tries again to save or to copy what is held.
    void tryAgain();

    /// The held text of a file.
    [[nodiscard]] std::optional<QByteArray> held(const QString &path) const;

    /// The files of which a text is held.
    [[nodiscard]] QStringList heldFiles() const;

private:
    struct Held
    {
        QByteArray content;
        Later later = Later::Copy;
    };

    bool writeHeld(const QString &path, const Held &work);

    QMap<QString, Held> nowhere;
    History::Drafts drafts;
};
