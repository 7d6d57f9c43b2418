#include "io/unsavedwork.h"

#include "io/replacefile.h"

#include <utility>

bool UnsavedWork::save(const QString &path, const QByteArray &content)
{
    nowhere.remove(path);
    tryAgain();
    if (replaceFile(path, content, LineEnds::AsGiven)) {
        drafts.remove(path);
        return true;
    }
    if (keepUnsaved(path, content))
        drafts.remove(path);
    else
        nowhere.insert(path, {content, true});
    return false;
}

void UnsavedWork::copy(const QString &path, const QByteArray &content)
{
    // It is saved all the same when that was wanted before, and failed.
    const Held work{content, nowhere.take(path).isToBeSaved};
    tryAgain();
    if (isOnDisk(path, work))
        drafts.remove(path);
    else
        nowhere.insert(path, work);
}

void UnsavedWork::keepDraft(const QString &path, const QByteArray &content)
{
    tryAgain();
    drafts.keep(path, content);
}

void UnsavedWork::removeDraft(const QString &path)
{
    drafts.remove(path);
}

void UnsavedWork::stopSaving(const QString &path)
{
    const auto found = nowhere.find(path);
    if (found != nowhere.end())
        found->isToBeSaved = false;
}

void UnsavedWork::tryAgain()
{
    QMap<QString, Held> still;
    for (auto work = nowhere.cbegin(); work != nowhere.cend(); ++work) {
        if (isOnDisk(work.key(), *work))
            drafts.remove(work.key());
        else
            still.insert(work.key(), *work);
    }
    nowhere = still;
}

bool UnsavedWork::isOnDisk(const QString &path, const Held &work)
{
    return (work.isToBeSaved && replaceFile(path, work.content, LineEnds::AsGiven)) || keepUnsaved(path, work.content);
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
