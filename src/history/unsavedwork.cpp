#include "history/unsavedwork.h"

#include "history/history.h"

FileResult<> UnsavedWork::save(const QString &path, const QByteArray &content)
{
    nowhere.remove(path);
    tryAgain();
    auto saved = History::saveFile(path, content);
    if (saved)
        drafts.removeSaved(path);
    else if (History::keepUnsaved(path, content))
        drafts.remove(path);
    else
        nowhere.insert(path, {content, Later::Save});
    return saved;
}

void UnsavedWork::copy(const QString &path, const QByteArray &content, Later later)
{
    // A text whose save failed before is still to be saved.
    const Held before = nowhere.take(path);
    tryAgain();
    if (writeHeld(path, {content, before.later}))
        drafts.remove(path);
    else
        nowhere.insert(path, {content, before.later == Later::Save ? Later::Save : later});
}

FileResult<> UnsavedWork::keepDraft(const QString &path, const QByteArray &content)
{
    tryAgain();
    return drafts.keep(path, content);
}

void UnsavedWork::removeDraft(const QString &path)
{
    drafts.remove(path);
}

void UnsavedWork::fileWasSaved(const QString &path)
{
    drafts.removeSaved(path);
}

void UnsavedWork::stopSaving(const QString &path)
{
    const auto found = nowhere.find(path);
    if (found != nowhere.end())
        found->later = Later::Copy;
}

void UnsavedWork::tryAgain()
{
    QMap<QString, Held> still;
    for (auto work = nowhere.cbegin(); work != nowhere.cend(); ++work) {
        if (writeHeld(work.key(), *work))
            drafts.remove(work.key());
        else
            still.insert(work.key(), *work);
    }
    nowhere = still;
}

bool UnsavedWork::writeHeld(const QString &path, const Held &work)
{
    return (work.later == Later::Save && History::saveFile(path, work.content))
           || History::keepUnsaved(path, work.content);
}

std::optional<QByteArray> UnsavedWork::held(const QString &path) const
{
    const auto found = nowhere.constFind(path);
    return found == nowhere.cend() ? std::nullopt : std::optional(found->content);
}

QStringList UnsavedWork::heldFiles() const
{
    return nowhere.keys();
}
