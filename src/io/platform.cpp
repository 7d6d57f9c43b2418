#include "io/platform.h"

#include <QFile>
#include <QFileInfo>
#include <QSocketNotifier>

#if defined(Q_PROCESSOR_X86_64) && defined(Q_CC_GNU)
#include <immintrin.h>
#endif

#ifdef Q_OS_UNIX
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#endif

namespace {

QString notRegular()
{
    return QStringLiteral("Is not a regular file");
}

} // namespace

#ifdef Q_OS_UNIX

namespace {

/// Calls again what a signal has interrupted.
template <typename Call> auto uninterrupted(Call call)
{
    auto answer = call();
    while (answer == -1 && errno == EINTR)
        answer = call();
    return answer;
}

// Some file systems have nothing to wait for. Others refuse as late as here: a network, or a broken disk.
bool sync(int descriptor)
{
    const int answer = uninterrupted([descriptor] { return ::fsync(descriptor); });
    return answer == 0 || errno == EINVAL || errno == ENOSYS || errno == ENOTSUP;
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

/// Opens what is a regular file, even when it has just taken the place of another one; -1 when that fails.
/// Opening a pipe would wait for its writer, and some files of the system are like a pipe.
int openRegular(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    const int descriptor =
        uninterrupted([&name] { return ::open(name.constData(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK); });
    struct stat status = {};
    if (descriptor == -1 || (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)))
        return descriptor;
    ::close(descriptor);
    errno = EINVAL;
    return -1;
}

} // namespace

std::filesystem::path systemPath(const QString &path)
{
    return QFile::encodeName(path).toStdString();
}

QString openRegularFile(QFile *file)
{
    // Devices do things when they are opened.
    const QFileInfo info(file->fileName());
    if (info.exists() && !info.isFile())
        return notRegular();
    const int descriptor = openRegular(file->fileName());
    if (descriptor == -1)
        return QString::fromStdString(std::generic_category().message(errno));
    const bool isOpen =
        file->open(descriptor, QIODevice::ReadOnly | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle);
    return isOpen ? QString() : file->errorString();
}

SequentialFile::SequentialFile(const QString &path) : descriptor(openRegular(path)) { }

SequentialFile::~SequentialFile()
{
    if (isOpen())
        ::close(descriptor);
}

bool SequentialFile::isOpen() const
{
    return descriptor != -1;
}

qint64 SequentialFile::read(QByteArray *buffer)
{
    return uninterrupted(
        [this, buffer] { return ::read(descriptor, buffer->data(), static_cast<size_t>(buffer->size())); });
}

bool reachedDisk(const QFileDevice &file)
{
    return sync(file.handle());
}

bool namesReachedDisk(const QString &folder)
{
    const int descriptor = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return true;
    const bool isSynced = sync(descriptor);
    ::close(descriptor);
    return isSynced;
}

bool giveToOwnerOf(const QFileInfo &other, const QFileDevice &file)
{
    // Only the superuser gives a file away, but everybody may give it to a group of theirs.
    constexpr auto SAME = static_cast<uid_t>(-1);
    return ::fchown(file.handle(), other.ownerId(), other.groupId()) == 0
           || ::fchown(file.handle(), SAME, other.groupId()) == 0;
}

bool isErrorOnTerminal()
{
    return ::isatty(STDERR_FILENO) == 1;
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
        // The signal has its ordinary effect again, so that whoever sent it sees what the process ended with.
        ::raise(number);
    });
    for (const int number : {SIGHUP, SIGINT, SIGTERM}) {
        struct sigaction action = {};
        // Whoever starts a program that is to outlive the terminal has it ignore the signal.
        if (::sigaction(number, nullptr, &action) != 0 || action.sa_handler == SIG_IGN)
            continue;
        action = {};
        action.sa_handler = sendTermination;
        action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
        ::sigaction(number, &action, nullptr);
    }
}

void holdStandardStreams()
{
    // What is opened takes the lowest number that is free; writing to it then fails as it does to a closed stream.
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) == -1 && ::open("/dev/null", O_RDONLY) != stream)
            return;
    }
}

#else

std::filesystem::path systemPath(const QString &path)
{
    return QFileInfo(path).filesystemFilePath();
}

QString openRegularFile(QFile *file)
{
    const QFileInfo info(file->fileName());
    if (info.exists() && !info.isFile())
        return notRegular();
    return file->open(QIODevice::ReadOnly | QIODevice::Unbuffered) ? QString() : file->errorString();
}

SequentialFile::SequentialFile(const QString &path) : file(path)
{
    file.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
}

SequentialFile::~SequentialFile() = default;

bool SequentialFile::isOpen() const
{
    return file.isReadable();
}

qint64 SequentialFile::read(QByteArray *buffer)
{
    return file.read(buffer->data(), buffer->size());
}

bool reachedDisk(const QFileDevice & /*file*/)
{
    return true;
}

bool namesReachedDisk(const QString & /*folder*/)
{
    return true;
}

bool giveToOwnerOf(const QFileInfo & /*other*/, const QFileDevice & /*file*/)
{
    return true;
}

bool isErrorOnTerminal()
{
    return false;
}

void beforeTermination(QObject * /*context*/, const std::function<void()> & /*function*/) { }

void holdStandardStreams() { }

#endif

#if defined(Q_PROCESSOR_X86_64) && defined(Q_CC_GNU)

namespace {

[[gnu::target("avx")]] void clearUpperHalves()
{
    _mm256_zeroupper();
}

} // namespace

void clearVectorRegisters()
{
    if (__builtin_cpu_supports("avx"))
        clearUpperHalves();
}

#else

void clearVectorRegisters() { }

#endif

QByteArray withPlatformLineEnds(QByteArray text)
{
#ifdef Q_OS_WIN
    text.replace('\n', "\r\n");
#endif
    return text;
}
