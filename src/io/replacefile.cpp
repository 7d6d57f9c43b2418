#include "io/replacefile.h"

#include "io/history.h"
#include "io/linktarget.h"
#include "io/platform.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace {

// The staged file's name is longer by a dot and six letters, and no name has more than 255 bytes.
constexpr qsizetype MAX_NAME = 248;

// A full disk may show as late as when the buffers are flushed.
bool writeAll(QFileDevice &file, const QByteArray &content)
{
    return file.write(content) == content.size() && file.flush();
}

bool writeDirectly(const QFileInfo &file, const QByteArray &content)
{
    QFile direct(file.filePath());
    // Asked to make a file that is there, the system refuses to open somebody else's in a sticky folder.
    const QIODevice::OpenMode mode =
        file.exists() ? QIODevice::WriteOnly | QIODevice::ExistingOnly : QIODevice::OpenMode(QIODevice::WriteOnly);
    return direct.open(mode | QIODevice::Truncate) && writeAll(direct, content) && reachedDisk(direct)
           && namesReachedDisk(file.path());
}

} // namespace

bool replaceFile(const QString &path, const QByteArray &content, LineEnds lineEnds, Replaced replaced)
{
    // A pipe would be waited for.
    const QFileInfo target(path);
    if (target.exists() && !target.isFile())
        return false;
    const QString real = target.exists() ? target.canonicalFilePath() : behindLinks(path);
    if (real.isEmpty())
        return false;

    const QByteArray bytes = lineEnds == LineEnds::Platform ? withPlatformLineEnds(content) : content;
    const QFileInfo file(real);
    const bool isNameTooLong = QFile::encodeName(file.fileName()).size() > MAX_NAME;
    QSaveFile staged(real);
    if (!isNameTooLong && staged.open(QIODevice::WriteOnly)) {
        if (target.exists() && !giveToOwnerOf(target, staged))
            qDebug() << "No longer of its owner or group:" << target.filePath();
        // QSaveFile asks for the permissions too, and goes on without an answer: with a file that nobody may read.
        const QFile::Permissions permissions = target.permissions();
        if (permissions.toInt() != 0 && staged.permissions() != permissions)
            staged.setPermissions(permissions);
        // QSaveFile flushes to the disk too, but ignores the result.
        if (!writeAll(staged, bytes) || !reachedDisk(staged))
            return false;
        // Only now, so that the copy cannot take the last room on the disk.
        const bool isKept = replaced == Replaced::IsKeptAlready || keepReplaced(path, bytes);
        if (staged.commit())
            return namesReachedDisk(file.path());
        return isKept && file.exists() && writeDirectly(file, bytes);
    }

    if ((!isNameTooLong && QFileInfo(file.path()).isWritable()) || (file.exists() && !file.isWritable()))
        return false;
    if (replaced == Replaced::IsKept)
        keepReplaced(path, bytes);
    return writeDirectly(file, bytes);
}
