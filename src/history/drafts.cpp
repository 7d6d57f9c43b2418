#include "history/drafts.h"

#include "history/version.h"
#include "io/wholefile.h"

#include <QFile>

#include <utility>

namespace History {

FileResult<> Drafts::keep(const QString &path, const QByteArray &content)
{
    const QString file = canonical(path);
    keepThoseOfOthers(file);
    const auto draft = addVersion(file, content, Reason::Draft);
    if (!draft)
        return draft.error();
    const QString before = std::exchange(own[file], *draft);
    if (!before.isEmpty())
        QFile::remove(before);
    return {};
}

void Drafts::remove(const QString &path)
{
    const QString draft = own.take(canonical(path));
    if (!draft.isEmpty())
        removeVersion({draft});
}

void Drafts::removeSaved(const QString &path)
{
    keepThoseOfOthers(canonical(path));
    remove(path);
}

void Drafts::keepThoseOfOthers(const QString &file)
{
    if (settled.contains(file))
        return;
    settled.insert(file);
    for (const Version &version : versionsIn(folderOfVersions(file))) {
        if (version.reason() != Reason::Draft)
            continue;
        const auto content = readWholeFile(version.path, MOST_BYTES);
        if (content && holds(file, *content))
            removeVersion(version);
        else
            QFile::rename(version.path, version.pathWithReason(Reason::Unsaved));
    }
}

} // namespace History
