#include "io/regularfile.h"

#include <QFile>
#include <QFileInfo>

#ifdef Q_OS_UNIX
#include "io/platform.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace {

FileError isOfAnotherKind(const QString &path)
{
    return {path, QStringLiteral("Is not a regular file")};
}

} // namespace

RegularFile::~RegularFile()
{
    close();
}

#ifdef Q_OS_UNIX

FileResult<> RegularFile::open(const QString &filePath)
{
    close();
    path = filePath;
    const QByteArray encoded = QFile::encodeName(path);
    struct stat status = {};
    // Devices do things when they are opened.
    if (::stat(encoded.constData(), &status) == 0 && !S_ISREG(status.st_mode))
        return isOfAnotherKind(path);
    descriptor =
        uninterrupted([&encoded] { return ::open(encoded.constData(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK); });
    if (descriptor == -1)
        return FileError{path, systemReason(errno)};
    // It may have become another kind of file since then.
    if (::fstat(descriptor, &status) != 0)
        return FileError{path, systemReason(errno)};
    if (!S_ISREG(status.st_mode))
        return isOfAnotherKind(path);
    bytes = status.st_size;
    return {};
}

qint64 RegularFile::size() const
{
    return bytes;
}

FileResult<qint64> RegularFile::read(char *data, qint64 count)
{
    const ssize_t size = uninterrupted([&] { return ::read(descriptor, data, static_cast<size_t>(count)); });
    if (size < 0)
        return FileError{path, systemReason(errno)};
    return qint64{size};
}

void RegularFile::close()
{
    if (descriptor != -1)
        ::close(descriptor);
    descriptor = -1;
}

#else

FileResult<> RegularFile::open(const QString &filePath)
{
    close();
    path = filePath;
    const QFileInfo info(path);
    if (!info.isFile() && info.exists())
        return isOfAnotherKind(path);
    file.setFileName(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return FileError{path, file.errorString()};
    return {};
}

qint64 RegularFile::size() const
{
    return file.size();
}

FileResult<qint64> RegularFile::read(char *data, qint64 count)
{
    const qint64 size = file.read(data, count);
    if (size < 0)
        return FileError{path, file.errorString()};
    return size;
}

void RegularFile::close()
{
    file.close();
}

#endif
