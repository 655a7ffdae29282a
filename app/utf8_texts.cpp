#include "app/utf8_texts.h"

#include <QtCore/QTextCodec>

#ifdef Q_OS_WIN
#include <windows.h>

namespace {

UINT s_code_page = 0; // of the console, 0 for none

} // namespace

#endif

UTF8_TEXTS::UTF8_TEXTS()
{
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
#ifdef Q_OS_WIN
    s_code_page = GetConsoleOutputCP();
    SetConsoleOutputCP(CP_UTF8);
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
