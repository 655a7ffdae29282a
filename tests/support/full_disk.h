#pragma once

#include <csignal>
#include <sys/resource.h>

/// As long as it lives, and `is_full`, writing fails in this process after that
/// many bytes of a file.
class FULL_DISK
{
public:
    explicit FULL_DISK(bool is_full, rlim_t bytes = 100)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{is_full ? bytes : m_before.rlim_cur, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FULL_DISK() { setrlimit(RLIMIT_FSIZE, &m_before); }

private:
    rlimit m_before{};
};
