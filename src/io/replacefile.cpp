#include "io/replacefile.h"

#include "io/disksync.h"
#include "io/history.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

namespace {

// The staged file's name is longer by a dot and six letters, and no name has more than 255 bytes.
constexpr qsizetype MAX_NAME = 248;

QByteArray withLineEnds(QByteArray content, LineEnds lineEnds)
{
#ifdef Q_OS_WIN
    if (lineEnds == LineEnds::Platform)
        content.replace('\n', "\r\n");
#else
    Q_UNUSED(lineEnds)
#endif
    return content;
}

// A full disk may show as late as when the buffers are flushed.
bool writeAll(QFileDevice &file, const QByteArray &content)
{
    return file.write(content) == content.size() && file.flush();
}

// Only the superuser gives a file away, but everybody may give it to a group of theirs.
void keepOwner(const QFileInfo &target, const QFileDevice &file)
{
#ifdef Q_OS_UNIX
    constexpr auto SAME = static_cast<uid_t>(-1);
    if (target.exists() && ::fchown(file.handle(), target.ownerId(), target.groupId()) != 0
        && ::fchown(file.handle(), SAME, target.groupId()) != 0)
        qDebug() << "No longer of its owner or group:" << target.filePath();
#else
    Q_UNUSED(target)
    Q_UNUSED(file)
#endif
}

/// What a path leads to, which need not exist; nothing when its links lead in a circle.
QString behindLinks(QString path)
{
    if (QFileInfo::exists(path))
        return QFileInfo(path).canonicalFilePath();
    constexpr int MAX_LINKS = 40; // the system gives up there too
    for (int links = 0; links < MAX_LINKS; ++links) {
        const QFileInfo info(path);
        if (!info.isSymLink())
            return path;
        const QDir folder(QFileInfo(info.absolutePath()).canonicalFilePath());
        path = QFile::symLinkTarget(folder.filePath(info.fileName()));
    }
    return {};
}

} // namespace

bool replaceFile(const QString &path, const QByteArray &content, LineEnds lineEnds, Replaced replaced)
{
    // A pipe would be waited for.
    const QFileInfo target(path);
    if (target.exists() && !target.isFile())
        return false;
    const QString real = behindLinks(path);
    if (real.isEmpty())
        return false;

    const QByteArray bytes = withLineEnds(content, lineEnds);
    const QFileInfo file(real);
    const bool isNameTooLong = QFile::encodeName(file.fileName()).size() > MAX_NAME;
    QSaveFile staged(real);
    if (!isNameTooLong && staged.open(QIODevice::WriteOnly)) {
        keepOwner(target, staged);
        // QSaveFile asks for the permissions too, and goes on without an answer: with a file that nobody may read.
        const QFile::Permissions permissions = target.permissions();
        if (permissions.toInt() != 0 && staged.permissions() != permissions)
            staged.setPermissions(permissions);
        // QSaveFile flushes to the disk too, but passes over the answer.
        if (!writeAll(staged, bytes) || !reachedDisk(staged))
            return false;
        // Only now, so that the copy cannot take the last room on the disk.
        if (replaced == Replaced::IsKept)
            keepReplaced(path, bytes);
        return staged.commit() && namesReachedDisk(file.path());
    }

    if ((!isNameTooLong && QFileInfo(file.path()).isWritable()) || (file.exists() && !file.isWritable()))
        return false;
    if (replaced == Replaced::IsKept)
        keepReplaced(path, bytes);
    QFile direct(real);
    return direct.open(QIODevice::WriteOnly) && writeAll(direct, bytes) && reachedDisk(direct);
}
