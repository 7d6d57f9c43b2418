#include "io/platform.h"

#include <QFile>
#include <QFileInfo>
#include <QSocketNotifier>

#ifdef Q_OS_UNIX
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>
#endif

#ifdef Q_OS_UNIX

namespace {

// Some file systems have no such call. On others, such as a network, this is where a write fails.
FileResult<> sync(int descriptor, const QString &path)
{
    const int answer = uninterrupted([descriptor] { return ::fsync(descriptor); });
    if (answer == 0 || errno == EINVAL || errno == ENOSYS || errno == ENOTSUP)
        return {};
    return FileError{path, systemReason(errno)};
}

// A signal may interrupt anything, so its handler only writes to a pipe.
std::array<int, 2> terminationPipe{-1, -1};

void sendTermination(int number)
{
    const int error = errno;
    const auto byte = static_cast<unsigned char>(number);
    [[maybe_unused]] const ssize_t written = ::write(terminationPipe[1], &byte, 1);
    errno = error;
}

} // namespace

std::filesystem::path systemPath(const QString &path)
{
    return QFile::encodeName(path).toStdString();
}

bool isHiddenEntry(const QFileInfo &entry)
{
    return entry.fileName().startsWith(u'.');
}

FileResult<> syncFile(const QFileDevice &file)
{
    return sync(file.handle(), file.fileName());
}

FileResult<> syncFolder(const QString &folder)
{
    const int descriptor = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return {};
    auto synced = sync(descriptor, folder);
    ::close(descriptor);
    return synced;
}

bool giveToOwnerOf(const QFileInfo &other, const QFileDevice &file)
{
    // Only the superuser may change the owner; a user may choose among their own groups.
    constexpr auto SAME = static_cast<uid_t>(-1);
    return ::fchown(file.handle(), other.ownerId(), other.groupId()) == 0
           || ::fchown(file.handle(), SAME, other.groupId()) == 0;
}

void beforeTermination(QObject *context, const std::function<void()> &function)
{
    if (::pipe(terminationPipe.data()) != 0)
        return;
    for (const int end : terminationPipe) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
        ::fcntl(end, F_SETFL, O_NONBLOCK);
    }
    auto *notifier = new QSocketNotifier(terminationPipe[0], QSocketNotifier::Read, context);
    QObject::connect(notifier, &QSocketNotifier::activated, context, [function] {
        unsigned char number = 0;
        if (::read(terminationPipe[0], &number, 1) != 1)
            return;
        function();
        // The signal has its default effect again, so that the sender sees what ended the process.
        ::raise(number);
    });
    for (const int number : {SIGHUP, SIGINT, SIGTERM}) {
        struct sigaction action = {};
        // A program that is to outlive its terminal is started with the signal ignored.
        if (::sigaction(number, nullptr, &action) != 0 || action.sa_handler == SIG_IGN)
            continue;
        action = {};
        action.sa_handler = sendTermination;
        action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
        ::sigaction(number, &action, nullptr);
    }
}

#else

std::filesystem::path systemPath(const QString &path)
{
    return QFileInfo(path).filesystemFilePath();
}

bool isHiddenEntry(const QFileInfo &entry)
{
    return entry.isHidden();
}

FileResult<> syncFile(const QFileDevice & /*file*/)
{
    return {};
}

FileResult<> syncFolder(const QString & /*folder*/)
{
    return {};
}

bool giveToOwnerOf(const QFileInfo & /*other*/, const QFileDevice & /*file*/)
{
    return true;
}

void beforeTermination(QObject * /*context*/, const std::function<void()> & /*function*/) { }

#endif
