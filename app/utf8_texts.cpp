#include "app/utf8_texts.h"

#include <QtCore/QTextCodec>

#ifdef Q_OS_WIN
#include <windows.h>

namespace {

UINT s_code_page = 0; // of the console, 0 for none

// Asked after all others, about an event that nobody waits to deal with. The system would
// end the process now, leave the console as it is, and have libraries tidy up while their
// threads are gone. The status is the one that it would give.
BOOL WINAPI end_at_once(DWORD)
{
    UTF8_TEXTS::give_console_back();
    return TerminateProcess(GetCurrentProcess(), UINT(STATUS_CONTROL_C_EXIT));
}

} // namespace

#endif

UTF8_TEXTS::UTF8_TEXTS()
{
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
#ifdef Q_OS_WIN
    s_code_page = GetConsoleOutputCP();
    SetConsoleOutputCP(CP_UTF8);
    SetConsoleCtrlHandler(end_at_once, TRUE);
#endif
}

UTF8_TEXTS::~UTF8_TEXTS()
{
    give_console_back();
}

void UTF8_TEXTS::give_console_back()
{
#ifdef Q_OS_WIN
    if (s_code_page)
        SetConsoleOutputCP(s_code_page);
#endif
}
