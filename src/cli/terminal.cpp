#include "cli/terminal.h"

#include <QtGlobal>

#include <csignal>

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <unistd.h>
#endif

namespace Cli {

namespace {

volatile std::sig_atomic_t interruption = 0;

} // namespace

void catchInterruption()
{
    std::signal(SIGINT, [](int) {
        interruption = 1;
        std::signal(SIGINT, SIG_DFL);
    });
}

bool isInterrupted()
{
    return interruption != 0;
}

#ifdef Q_OS_UNIX

bool isErrorOnTerminal()
{
    return ::isatty(STDERR_FILENO) == 1;
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

bool isErrorOnTerminal()
{
    return false;
}

void holdStandardStreams() { }

#endif

} // namespace Cli
