#include "app/call_stack.h"

#include <QtCore/qglobal.h>

#include <cstdio>
#include <cstring>

#ifdef Q_OS_WIN
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>
#else
#include <fcntl.h>
#include <unistd.h>
#if __has_include(<execinfo.h>)
#include <execinfo.h>
#define GOX_HAS_BACKTRACE
#endif
#endif

namespace {

const int MOST_CALLS = 64;

} // namespace

#ifdef Q_OS_WIN

void CALL_STACK::prepare() {}

int CALL_STACK::open_file(const char* path)
{
    wchar_t wide[4096];
    if (!MultiByteToWideChar(CP_UTF8, 0, path, -1, wide, int(sizeof wide / sizeof *wide)))
        return -1;
    return _wopen(wide, _O_WRONLY | _O_CREAT | _O_TRUNC | _O_BINARY, _S_IREAD | _S_IWRITE);
}

void CALL_STACK::close_file(int file)
{
    _close(file);
}

void CALL_STACK::write(int file, const char* text)
{
    _write(file, text, unsigned(std::strlen(text)));
}

void CALL_STACK::write_calls(int file)
{
    void* calls[MOST_CALLS];
    const int count = CaptureStackBackTrace(0, MOST_CALLS, calls, nullptr);
    for (int i = 0; i < count; ++i) {
        HMODULE module = nullptr;
        wchar_t wide[MAX_PATH] = L"?";
        if (GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                   GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                               static_cast<const wchar_t*>(calls[i]), &module))
            GetModuleFileNameW(module, wide, MAX_PATH);
        char name[3 * MAX_PATH] = "?";
        WideCharToMultiByte(CP_UTF8, 0, wide, -1, name, int(sizeof name), nullptr, nullptr);
        char line[sizeof name + 32];
        std::snprintf(
            line, sizeof line, "%s(+0x%llx)\n", name,
            static_cast<unsigned long long>(static_cast<char*>(calls[i]) - reinterpret_cast<char*>(module)));
        write(file, line);
    }
}

#else

void CALL_STACK::prepare()
{
#ifdef GOX_HAS_BACKTRACE
    void* call = nullptr;
    ::backtrace(&call, 1);
#endif
}

// Not waiting for the reader of a pipe that has the file's name.
int CALL_STACK::open_file(const char* path)
{
    return ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK | O_CLOEXEC, 0666);
}

void CALL_STACK::close_file(int file)
{
    ::close(file);
}

void CALL_STACK::write(int file, const char* text)
{
    std::size_t left = std::strlen(text);
    while (left > 0) {
        const ssize_t written = ::write(file, text, left);
        if (written <= 0)
            return; // nobody is left to be told
        text += written;
        left -= std::size_t(written);
    }
}

void CALL_STACK::write_calls(int file)
{
#ifdef GOX_HAS_BACKTRACE
    void* calls[MOST_CALLS];
    ::backtrace_symbols_fd(calls, ::backtrace(calls, MOST_CALLS), file);
#else
    Q_UNUSED(file)
#endif
}

#endif
