#include "app/terminate_process.h"

#include <QtCore/qglobal.h>

#include <cstdio>
#include <cstdlib>

#ifdef Q_OS_WIN
#include <windows.h>
#else
#include <unistd.h>
#endif

#include "app/utf8_texts.h"

void terminate_process(int status)
{
    std::fflush(stdout);
    std::fflush(stderr); // which a plugin may have given a buffer
    UTF8_TEXTS::give_console_back();
#ifdef Q_OS_WIN
    TerminateProcess(GetCurrentProcess(), UINT(status));
    std::abort(); // not reached
#else
    _exit(status);
#endif
}
