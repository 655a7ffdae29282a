#include "contracts/services/abort_watcher.h"

#include <atomic>
#include <csignal>

#ifdef Q_OS_WIN
#include <windows.h>
#endif

namespace {

std::atomic<volatile bool*> s_flag{nullptr};

#ifdef Q_OS_WIN

BOOL WINAPI on_console_event(DWORD event)
{
    volatile bool* const flag = s_flag;
    if (!flag || *flag)
        return FALSE; // not watching, or the second request: the default ends the process
    *flag = true;
    // The system ends the process when this returns from anything but a key press.
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
        Sleep(INFINITE);
    return TRUE;
}

void install()
{
    static const BOOL is_installed = SetConsoleCtrlHandler(on_console_event, TRUE);
    Q_UNUSED(is_installed)
}

// Taking the handler away could wait for one that waits above; without a flag it
// leaves everything to the system.
void restore() {}

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
    for (int i = 0; i < 3; ++i) {
        sigaction(WATCHED_SIGNALS[i], nullptr, &s_former[i]);
        if (s_former[i].sa_handler != SIG_IGN) // whoever started the run wants it to outlive these
            sigaction(WATCHED_SIGNALS[i], &action, nullptr);
    }
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
