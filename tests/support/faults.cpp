// Preloaded into a program, so that one chosen call on the files below a folder has a fault.
// The calls are system calls, so that nothing in between, such as a sanitizer, interferes.

#include "faults.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

std::array<char, 4096> watched{};
int faultyCall = 0;
Fault fault = Fault::Count;
int failure = 0;
int calls = 0;
const char *faultyName = "";
std::array<char, 8192> names{};

bool isBelow(const char *path)
{
    const size_t length = std::strlen(watched.data());
    return length > 0 && path && std::strncmp(path, watched.data(), length) == 0
           && (path[length] == '/' || path[length] == '\0');
}

bool isBelow(int descriptor)
{
    if (watched[0] == '\0')
        return false;
    std::array<char, 64> link{};
    std::array<char, 4096> path{};
    std::snprintf(link.data(), link.size(), "/proc/self/fd/%d", descriptor);
    return ::syscall(SYS_readlinkat, AT_FDCWD, link.data(), path.data(), path.size() - 1) > 0 && isBelow(path.data());
}

/// Counts the call, and returns whether it has the fault.
bool countCall(const char *name)
{
    const size_t used = std::strlen(names.data());
    std::snprintf(names.data() + used, names.size() - used, "%s ", name);
    ++calls;
    if (calls == faultyCall)
        faultyName = name;
    if (calls != faultyCall
        && (fault != Fault::KeepFailing || calls < faultyCall || std::strcmp(name, faultyName) != 0))
        return false;
    if (fault == Fault::Kill)
        std::raise(SIGKILL);
    return true;
}

bool isFailing()
{
    return fault == Fault::Fail || fault == Fault::KeepFailing;
}

bool mustFail(const char *name, bool concerned)
{
    if (!concerned || !countCall(name) || !isFailing())
        return false;
    errno = failure;
    return true;
}

/// Whether the write had the fault; otherwise the caller has to write.
bool failWrite(const char *name, int descriptor, const void *bytes, size_t count, long *result)
{
    if (!isBelow(descriptor) || !countCall(name))
        return false;
    if (isFailing()) {
        errno = failure;
        *result = -1;
        return true;
    }
    if (fault != Fault::CutShort && fault != Fault::KillHalfway)
        return false;
    *result = ::syscall(SYS_write, descriptor, bytes, (count + 1) / 2);
    if (fault == Fault::KillHalfway)
        std::raise(SIGKILL);
    return true;
}

bool failFlush(const char *name, int descriptor)
{
    if (!isBelow(descriptor) || !countCall(name))
        return false;
    struct stat status = {};
    if (fault == Fault::Lose && ::fstat(descriptor, &status) == 0)
        ::syscall(SYS_ftruncate, descriptor, status.st_size / 2);
    errno = failure;
    return fault == Fault::Lose || isFailing();
}

int result(long value)
{
    return static_cast<int>(value);
}

// Flushing is skipped, as the machine survives each fault; a wrong descriptor still fails.
int skipFlush(int descriptor)
{
    return ::syscall(SYS_fcntl, descriptor, F_GETFD) < 0 ? -1 : 0;
}

// As another process removes an empty folder of the history.
void removeFolderOf(const char *path)
{
    std::array<char, 4096> origin{};
    std::snprintf(origin.data(), origin.size(), "%s", path);
    char *slash = std::strrchr(origin.data(), '/');
    if (!slash)
        return;
    std::snprintf(slash, origin.size() - static_cast<size_t>(slash - origin.data()), "/origin.txt");
    ::syscall(SYS_unlinkat, AT_FDCWD, origin.data(), 0);
    *slash = '\0';
    ::syscall(SYS_unlinkat, AT_FDCWD, origin.data(), AT_REMOVEDIR);
}

int openFile(const char *name, int folder, const char *path, int flags, mode_t mode)
{
    const bool concerned = isBelow(path);
    const bool hasFault = concerned && countCall(name);
    if (hasFault && isFailing()) {
        errno = failure;
        return -1;
    }
    if (hasFault && fault == Fault::Vanished)
        removeFolderOf(path);
    if (concerned && (flags & O_TMPFILE) == O_TMPFILE && std::getenv("NO_UNNAMED_FILES")) {
        errno = EOPNOTSUPP;
        return -1;
    }
    return result(::syscall(SYS_openat, folder, path, flags, mode));
}

bool refusesReplacing(const char *replaced)
{
    errno = EBUSY;
    return isBelow(replaced) && std::getenv("NO_REPLACING");
}

bool makesFile(int flags)
{
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

template <typename Function> Function next(const char *name)
{
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

// Parameter names of the system headers are reserved, and the analyser does not recognise va_start.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name, clang-analyzer-valist.Uninitialized)

void armFaults(const char *folder, int call, Fault kind, int error)
{
    names[0] = '\0';
    calls = 0;
    faultyCall = call;
    fault = kind;
    failure = error;
    std::snprintf(watched.data(), watched.size(), "%s", folder);
}

const char *disarmFaults()
{
    watched[0] = '\0';
    return names.data();
}

#define OPEN_AT(NAME)                                                                                                  \
    int NAME(int folder, const char *path, int flags, ...)                                                             \
    {                                                                                                                  \
        va_list arguments;                                                                                             \
        va_start(arguments, flags);                                                                                    \
        const mode_t mode = makesFile(flags) ? va_arg(arguments, mode_t) : 0;                                          \
        va_end(arguments);                                                                                             \
        return openFile(#NAME, folder, path, flags, mode);                                                             \
    }
#define OPEN(NAME)                                                                                                     \
    int NAME(const char *path, int flags, ...)                                                                         \
    {                                                                                                                  \
        va_list arguments;                                                                                             \
        va_start(arguments, flags);                                                                                    \
        const mode_t mode = makesFile(flags) ? va_arg(arguments, mode_t) : 0;                                          \
        va_end(arguments);                                                                                             \
        return openFile(#NAME, AT_FDCWD, path, flags, mode);                                                           \
    }
OPEN(open)
OPEN(open64)
OPEN_AT(openat)
OPEN_AT(openat64)
#undef OPEN
#undef OPEN_AT

int creat(const char *path, mode_t mode)
{
    return openFile("creat", AT_FDCWD, path, O_CREAT | O_WRONLY | O_TRUNC, mode);
}

int creat64(const char *path, mode_t mode)
{
    return openFile("creat64", AT_FDCWD, path, O_CREAT | O_WRONLY | O_TRUNC, mode);
}

ssize_t read(int descriptor, void *bytes, size_t count)
{
    return mustFail("read", isBelow(descriptor)) ? -1 : ::syscall(SYS_read, descriptor, bytes, count);
}

ssize_t write(int descriptor, const void *bytes, size_t count)
{
    long written = 0;
    return failWrite("write", descriptor, bytes, count, &written) ? written
                                                                  : ::syscall(SYS_write, descriptor, bytes, count);
}

ssize_t pwrite64(int descriptor, const void *bytes, size_t count, off64_t offset)
{
    return mustFail("pwrite64", isBelow(descriptor)) ? -1 : ::syscall(SYS_pwrite64, descriptor, bytes, count, offset);
}

ssize_t writev(int descriptor, const iovec *parts, int count)
{
    return mustFail("writev", isBelow(descriptor)) ? -1 : ::syscall(SYS_writev, descriptor, parts, count);
}

off64_t lseek64(int descriptor, off64_t offset, int whence) noexcept
{
    return mustFail("lseek64", isBelow(descriptor)) ? -1 : ::syscall(SYS_lseek, descriptor, offset, whence);
}

off_t lseek(int descriptor, off_t offset, int whence) noexcept
{
    return mustFail("lseek", isBelow(descriptor)) ? -1 : ::syscall(SYS_lseek, descriptor, offset, whence);
}

int fsync(int descriptor)
{
    return failFlush("fsync", descriptor) ? -1 : skipFlush(descriptor);
}

int fdatasync(int descriptor)
{
    return failFlush("fdatasync", descriptor) ? -1 : skipFlush(descriptor);
}

int close(int descriptor)
{
    const bool fails = mustFail("close", isBelow(descriptor));
    const int closed = result(::syscall(SYS_close, descriptor));
    if (!fails)
        return closed;
    errno = failure;
    return -1;
}

int rename(const char *from, const char *to) noexcept
{
    return mustFail("rename", isBelow(from) || isBelow(to)) || refusesReplacing(to)
               ? -1
               : result(::syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

int renameat(int fromFolder, const char *from, int toFolder, const char *to) noexcept
{
    return mustFail("renameat", isBelow(from) || isBelow(to))
               ? -1
               : result(::syscall(SYS_renameat2, fromFolder, from, toFolder, to, 0));
}

int renameat2(int fromFolder, const char *from, int toFolder, const char *to, unsigned flags) noexcept
{
    return mustFail("renameat2", isBelow(from) || isBelow(to))
               ? -1
               : result(::syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
}

int link(const char *from, const char *to) noexcept
{
    return mustFail("link", isBelow(from) || isBelow(to))
               ? -1
               : result(::syscall(SYS_linkat, AT_FDCWD, from, AT_FDCWD, to, 0));
}

int linkat(int fromFolder, const char *from, int toFolder, const char *to, int flags) noexcept
{
    return mustFail("linkat", isBelow(from) || isBelow(to))
               ? -1
               : result(::syscall(SYS_linkat, fromFolder, from, toFolder, to, flags));
}

int symlink(const char *target, const char *path) noexcept
{
    return mustFail("symlink", isBelow(path)) ? -1 : result(::syscall(SYS_symlinkat, target, AT_FDCWD, path));
}

int unlink(const char *path) noexcept
{
    return mustFail("unlink", isBelow(path)) ? -1 : result(::syscall(SYS_unlinkat, AT_FDCWD, path, 0));
}

int unlinkat(int folder, const char *path, int flags) noexcept
{
    return mustFail("unlinkat", isBelow(path)) ? -1 : result(::syscall(SYS_unlinkat, folder, path, flags));
}

int mkdir(const char *path, mode_t mode) noexcept
{
    if (!isBelow(path))
        return result(::syscall(SYS_mkdirat, AT_FDCWD, path, mode));
    const bool hasFault = countCall("mkdir");
    errno = failure;
    if (hasFault && isFailing())
        return -1;
    const int made = result(::syscall(SYS_mkdirat, AT_FDCWD, path, mode));
    if (!hasFault || fault != Fault::MadeByAnother || made != 0)
        return made;
    errno = EEXIST;
    return -1;
}

int rmdir(const char *path) noexcept
{
    return mustFail("rmdir", isBelow(path)) ? -1 : result(::syscall(SYS_unlinkat, AT_FDCWD, path, AT_REMOVEDIR));
}

int chmod(const char *path, mode_t mode) noexcept
{
    return mustFail("chmod", isBelow(path)) ? -1 : result(::syscall(SYS_fchmodat, AT_FDCWD, path, mode));
}

int fchmod(int descriptor, mode_t mode) noexcept
{
    return mustFail("fchmod", isBelow(descriptor)) ? -1 : result(::syscall(SYS_fchmod, descriptor, mode));
}

int fchown(int descriptor, uid_t owner, gid_t group) noexcept
{
    return mustFail("fchown", isBelow(descriptor)) ? -1 : result(::syscall(SYS_fchown, descriptor, owner, group));
}

int ftruncate(int descriptor, off_t length) noexcept
{
    return mustFail("ftruncate", isBelow(descriptor)) ? -1 : result(::syscall(SYS_ftruncate, descriptor, length));
}

int ftruncate64(int descriptor, off64_t length) noexcept
{
    return mustFail("ftruncate64", isBelow(descriptor)) ? -1 : result(::syscall(SYS_ftruncate, descriptor, length));
}

int truncate64(const char *path, off64_t length) noexcept
{
    return mustFail("truncate64", isBelow(path)) ? -1 : result(::syscall(SYS_truncate, path, length));
}

int access(const char *path, int mode) noexcept
{
    return mustFail("access", isBelow(path)) ? -1 : result(::syscall(SYS_faccessat, AT_FDCWD, path, mode));
}

ssize_t readlink(const char *path, char *target, size_t size) noexcept
{
    return mustFail("readlink", isBelow(path)) ? -1 : ::syscall(SYS_readlinkat, AT_FDCWD, path, target, size);
}

int statx(int folder, const char *path, int flags, unsigned mask, struct statx *status) noexcept
{
    const bool concerned = path[0] == '\0' ? isBelow(folder) : isBelow(path);
    return mustFail("statx", concerned) ? -1 : result(::syscall(SYS_statx, folder, path, flags, mask, status));
}

char *realpath(const char *path, char *resolved) noexcept
{
    static const auto function = next<char *(*)(const char *, char *)>("realpath");
    return mustFail("realpath", isBelow(path)) ? nullptr : function(path, resolved);
}

DIR *opendir(const char *path)
{
    static const auto function = next<DIR *(*)(const char *)>("opendir");
    return mustFail("opendir", isBelow(path)) ? nullptr : function(path);
}

// NOLINTEND(readability-inconsistent-declaration-parameter-name, clang-analyzer-valist.Uninitialized)

} // extern "C"
