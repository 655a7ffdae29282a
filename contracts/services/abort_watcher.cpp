#include "contracts/services/abort_watcher.h"

#include <atomic>
#include <csignal>

#ifdef Q_OS_WIN
#include <windows.h>
#endif

namespace {

std::atomic<volatile bool*> s_flag{nullptr};

#ifdef Q_OS_WIN

BOOL WINAPI on_console_event(DWORD)
{
    volatile bool* const flag = s_flag;
    if (!flag || *flag)
        return FALSE; // not watching, or the second request: the default ends the process
    *flag = true;
    return TRUE;
}

void install()
{
    SetConsoleCtrlHandler(on_console_event, TRUE);
}

void restore()
{
    SetConsoleCtrlHandler(on_console_event, FALSE);
}

#else

const int WATCHED_SIGNALS[] = {SIGINT, SIGTERM, SIGHUP};
struct sigaction s_former[3];

// Only what is safe in a signal handler happens here.
void on_signal(int number)
{
    volatile bool* const flag = s_flag;
    if (flag && !*flag) {
        *flag = true;
        return;
    }
    std::signal(number, SIG_DFL); // the second request
    std::raise(number);
}

void install()
{
    struct sigaction action = {};
    action.sa_handler = on_signal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (int i = 0; i < 3; ++i)
        sigaction(WATCHED_SIGNALS[i], &action, &s_former[i]);
}

void restore()
{
    for (int i = 0; i < 3; ++i)
        sigaction(WATCHED_SIGNALS[i], &s_former[i], nullptr);
}

#endif

} // namespace

ABORT_WATCHER::ABORT_WATCHER(volatile bool& flag) : m_flag(flag) {}

ABORT_WATCHER::~ABORT_WATCHER()
{
    if (m_watching) {
        restore();
        s_flag = nullptr;
    }
}

void ABORT_WATCHER::start()
{
    volatile bool* expected = nullptr;
    if (s_flag.compare_exchange_strong(expected, &m_flag)) {
        install();
        m_watching = true;
    }
}
