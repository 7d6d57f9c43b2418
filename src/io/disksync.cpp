#include "io/disksync.h"

#include <QFile>

#ifdef Q_OS_UNIX
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#endif

#ifdef Q_OS_UNIX
namespace {

// Some file systems have nothing to wait for. Others refuse as late as here: a network, or a broken disk.
bool sync(int descriptor)
{
    int answer = 0;
    do {
        answer = ::fsync(descriptor);
    } while (answer != 0 && errno == EINTR);
    return answer == 0 || errno == EINVAL || errno == ENOSYS || errno == ENOTSUP;
}

} // namespace
#endif

bool reachedDisk(const QFileDevice &file)
{
#ifdef Q_OS_UNIX
    return sync(file.handle());
#else
    Q_UNUSED(file)
    return true;
#endif
}

bool namesReachedDisk(const QString &folder)
{
#ifdef Q_OS_UNIX
    const int descriptor = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return true;
    const bool isSynced = sync(descriptor);
    ::close(descriptor);
    return isSynced;
#else
    Q_UNUSED(folder)
    return true;
#endif
}
