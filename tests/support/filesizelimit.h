#pragma once

#include <QtGlobal>

#ifdef Q_OS_UNIX
#include <csignal>
#include <sys/resource.h>

/// No file of this process can grow larger during its lifetime, as on a full disk.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &before);
        const rlimit limits{bytes, before.rlim_max};
        if (::setrlimit(RLIMIT_FSIZE, &limits) != 0)
            qFatal("Cannot limit the size of files");
    }
    ~FileSizeLimit() { ::setrlimit(RLIMIT_FSIZE, &before); }
    Q_DISABLE_COPY_MOVE(FileSizeLimit)

private:
    rlimit before{};
};
#endif
