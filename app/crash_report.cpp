#include "app/crash_report.h"

#include <QtCore/QDir>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>

#ifdef Q_OS_WIN
#include <windows.h>
#else
#include <poll.h>
#include <unistd.h>
#endif

#include "app/call_stack.h"
#include "app/terminate_process.h"
#include "app/utf8_texts.h"
#include "session/run_report.h"
#include "session/work_at_hand.h"

namespace {

const int STANDARD_ERROR = 2;

#ifdef GOX_SANITIZED
const bool HAS_SANITIZER = true;
#else
const bool HAS_SANITIZER = false;
#endif

char s_file[4096];
std::atomic<bool> s_has_begun{false};
std::atomic<bool> s_has_spoken{false};
std::atomic<int> s_exit_watches{0};
thread_local bool t_speaks = false;

// The last word itself is not to keep a dying process alive.
void limit_time()
{
#ifdef Q_OS_UNIX
    const unsigned seconds = 10;
    std::signal(SIGALRM, SIG_DFL);
    ::alarm(seconds);
#endif
}

void wait_a_little()
{
#ifdef Q_OS_WIN
    Sleep(10);
#else
    ::poll(nullptr, 0, 10);
#endif
}

void write_last_word(int file, const char* event, const char* cause)
{
    const char* const place = WORK_AT_HAND::is_of_this_thread() ? "" : ", in another thread";
    for (const char* part : {"GOX ", event, " in ", WORK_AT_HAND::text(), place, ": ", cause, "\n"})
        CALL_STACK::write(file, part);
    CALL_STACK::write_calls(file);
}

// Once a process: a thread that crashes while another one speaks lets it finish.
void speak(const char* event, const char* cause)
{
    if (s_has_begun.exchange(true)) {
        while (!t_speaks && !s_has_spoken)
            wait_a_little();
        return;
    }
    t_speaks = true;
    limit_time();
    CALL_STACK::write(STANDARD_ERROR, RUN_REPORT::line_eraser());
    write_last_word(STANDARD_ERROR, event, cause);
    const int file = CALL_STACK::open_file(s_file);
    if (file >= 0) {
        write_last_word(file, event, cause);
        CALL_STACK::close_file(file);
    }
    UTF8_TEXTS::give_console_back();
    s_has_spoken = true;
}

[[noreturn]] void on_terminate()
{
    char cause[512] = "std::terminate was called";
    try {
        if (std::exception_ptr exception = std::current_exception())
            std::rethrow_exception(exception);
    } catch (const std::exception& exception) {
        std::snprintf(cause, sizeof cause, "nobody caught an exception, \"%s\"", exception.what());
    } catch (...) {
        std::snprintf(cause, sizeof cause, "nobody caught an exception");
    }
    speak("crashed", cause);
    std::abort();
}

void on_exit_call(int status)
{
    if (s_exit_watches == 0)
        return;
    char cause[64];
    std::snprintf(cause, sizeof cause, "exit(%d)", status);
    speak("was ended by an exit", cause);
    std::fflush(nullptr); // what exit itself would do
    const int seen_outside = status & 0xff;
    terminate_process(seen_outside ? seen_outside : 1);
}

#ifdef __GLIBC__

void register_exit_call()
{
    ::on_exit([](int status, void*) { on_exit_call(status); }, nullptr);
}

#else

void register_exit_call()
{
    std::atexit([] { on_exit_call(1); }); // the status is not told
}

#endif

#ifdef Q_OS_WIN

// Without the system's own box, which would wait for a person.
LONG WINAPI on_exception(EXCEPTION_POINTERS* exception)
{
    char cause[32];
    std::snprintf(cause, sizeof cause, "exception 0x%08lx", exception->ExceptionRecord->ExceptionCode);
    speak("crashed", cause);
    return EXCEPTION_EXECUTE_HANDLER;
}

void watch_signals()
{
    SetUnhandledExceptionFilter(on_exception);
#if defined(_MSC_VER) || defined(_UCRT)
    _set_abort_behavior(0, _WRITE_ABORT_MSG | _CALL_REPORTFAULT);
#else
    _set_error_mode(_OUT_TO_STDERR); // the older library of MinGW has no more
#endif
    std::signal(SIGABRT, [](int) { speak("crashed", "abort()"); });
}

#else

struct FATAL_SIGNAL
{
    int number;
    const char* name;
};

const FATAL_SIGNAL FATAL_SIGNALS[] = {
    {SIGSEGV, "SIGSEGV"}, {SIGBUS, "SIGBUS"}, {SIGFPE, "SIGFPE"}, {SIGILL, "SIGILL"}, {SIGABRT, "SIGABRT"}};

void on_fatal_signal(int number)
{
    for (const FATAL_SIGNAL& fatal : FATAL_SIGNALS)
        if (fatal.number == number)
            speak("crashed", fatal.name);
    std::signal(number, SIG_DFL);
    std::raise(number); // takes effect when this returns, and with it what the fault itself does
}

void watch_signals()
{
    struct sigaction action = {};
    action.sa_handler = on_fatal_signal;
    action.sa_flags = SA_ONSTACK;
    for (const FATAL_SIGNAL& fatal : FATAL_SIGNALS)
        sigaddset(&action.sa_mask, fatal.number); // a crash in the handler ends the process
    for (const FATAL_SIGNAL& fatal : FATAL_SIGNALS)
        ::sigaction(fatal.number, &action, nullptr);
}

#endif

} // namespace

void install_crash_report()
{
    name_call_stack(QStringLiteral("call_stack.txt"));
    CALL_STACK::prepare();
    std::set_terminate(on_terminate);
    if (!HAS_SANITIZER)
        watch_signals();
}

void name_call_stack(const QString& name)
{
    const QByteArray file = QDir::current().filePath(name).toUtf8().left(sizeof s_file - 1);
    std::snprintf(s_file, sizeof s_file, "%s", file.constData());
}

void leave_no_call_stack()
{
    s_file[0] = 0; // no file has this name
}

EXIT_WATCH::EXIT_WATCH()
{
    register_exit_call();
    ++s_exit_watches;
}

EXIT_WATCH::~EXIT_WATCH()
{
    --s_exit_watches;
}
