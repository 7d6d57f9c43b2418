#include "io/replacefile.h"

#include "io/linktarget.h"
#include "io/platform.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <cerrno>

namespace {

// The staged file's name is longer by a dot and six letters, and no name has more than 255 bytes.
constexpr qsizetype MAX_NAME = 248;

constexpr QIODevice::OpenMode WRITE_UNBUFFERED = QIODevice::WriteOnly | QIODevice::Unbuffered;

/// Writes to a file that is open without a buffer. A disk that is filled takes a part first; only the next piece is
/// refused, with the reason.
FileResult<> writeAll(QFileDevice *file, const QByteArray &content)
{
    for (qsizetype written = 0; written < content.size();) {
        const qint64 size = file->write(content.constData() + written, content.size() - written);
        if (size <= 0)
            return FileError{file->fileName(), file->errorString()};
        written += size;
    }
    return syncFile(*file);
}

FileResult<> writeDirectly(const QFileInfo &file, const QByteArray &content)
{
    QFile direct(file.filePath());
    // Asked to make a file that is there, the system refuses to open somebody else's in a sticky folder.
    const QIODevice::OpenMode mode = file.exists() ? WRITE_UNBUFFERED | QIODevice::ExistingOnly : WRITE_UNBUFFERED;
    if (!direct.open(mode | QIODevice::Truncate))
        return FileError{file.filePath(), direct.errorString()};
    if (auto written = writeAll(&direct, content); !written)
        return written;
    return syncFolder(file.path());
}

enum class Direct { Allowed, Never };

FileResult<> replace(const QFileInfo &target, const QByteArray &content, const KeepOldContent &keepOldContent,
                     Direct direct)
{
    const QString path = target.filePath();
    // Opening a pipe would wait for its reader.
    if (target.exists() && !target.isFile())
        return FileError{path, target.isDir() ? systemReason(EISDIR) : QStringLiteral("Is not a regular file")};
    const QString real = target.exists() ? target.canonicalFilePath() : behindLinks(path);
    if (real.isEmpty())
        return FileError{path, systemReason(ELOOP)};

    const auto keep = [&] { return !keepOldContent || keepOldContent(); };
    const QFileInfo file(real);
    const bool isNameTooLong = QFile::encodeName(file.fileName()).size() > MAX_NAME;
    QSaveFile staged(real);
    if (!isNameTooLong && staged.open(WRITE_UNBUFFERED)) {
        if (target.exists() && !giveToOwnerOf(target, staged))
            qDebug() << "No longer of its owner or group:" << target.filePath();
        // QSaveFile does this too, but ignores a failure, which leaves a file that nobody may read.
        const QFile::Permissions permissions = target.permissions();
        if (permissions.toInt() != 0 && staged.permissions() != permissions)
            staged.setPermissions(permissions);
        // QSaveFile syncs too, but ignores the result.
        if (auto written = writeAll(&staged, content); !written)
            return written;
        // Only now, so that the copy cannot take the last room on the disk.
        const bool isKept = keep();
        if (staged.commit())
            return syncFolder(file.path());
        if (direct == Direct::Never || !isKept || !file.exists())
            return FileError{path, staged.errorString()};
        return writeDirectly(file, content);
    }

    if (file.exists() && !file.isWritable())
        return FileError{path, systemReason(EACCES)};
    if (!isNameTooLong && (direct == Direct::Never || QFileInfo(file.path()).isWritable()))
        return FileError{path, staged.errorString()};
    if (direct == Direct::Never)
        return FileError{path, systemReason(ENAMETOOLONG)};
    keep();
    return writeDirectly(file, content);
}

/// The caller knows a link by its own name.
FileResult<> named(const QString &path, const FileResult<> &replaced)
{
    return replaced ? replaced : FileError{path, replaced.error().reason};
}

} // namespace

FileResult<> replaceFile(const QString &path, const QByteArray &content, const KeepOldContent &keepOldContent)
{
    return named(path, replace(QFileInfo(path), content, keepOldContent, Direct::Allowed));
}

FileResult<> replaceWholeFile(const QString &path, const QByteArray &content)
{
    return named(path, replace(QFileInfo(path), content, {}, Direct::Never));
}
