#pragma once

#include <QtCore/QtGlobal>

#ifdef Q_OS_UNIX
#include <csignal>
#include <sys/resource.h>
#endif

/// As long as it lives, and `is_full`, writing fails in this process after that
/// many bytes of a file. Without effect where the system has no such limit.
class FULL_DISK
{
public:
#ifdef Q_OS_UNIX
    explicit FULL_DISK(bool is_full, rlim_t bytes = 100)
    {
        std::signal(SIGXFSZ, [](int) {}); // a program that is started has to see to that by itself
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{is_full ? bytes : m_before.rlim_cur, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FULL_DISK()
    {
        setrlimit(RLIMIT_FSIZE, &m_before);
    }

private:
    rlimit m_before{};
#else
    explicit FULL_DISK(bool, int = 100) {}
#endif
};
