#include "session/run_report.h"

#include <atomic>
#include <cstdio>

#ifdef Q_OS_WIN
#include <windows.h>
#else
#include <sys/ioctl.h>
#include <unistd.h>
#endif

#include "session/work_at_hand.h"

namespace {

const char ERASE_LINE[] = "\r\x1b[K";
const int USUAL_WIDTH = 80; // columns, where the terminal does not tell

bool s_is_on = false;
bool s_has_terminal = false;
std::atomic<bool> s_has_progress{false}; // stays so: which thread wrote last is not known
QStringList s_remarks;
QStringList s_kept_errors;

// One call, so that nothing of another thread gets in between.
void write(FILE* stream, const QByteArray& bytes)
{
    std::fwrite(bytes.constData(), 1, std::size_t(bytes.size()), stream);
    std::fflush(stream);
}

QString on_one_line(QString text)
{
    return text.replace('\n', ' ').replace('\r', ' ');
}

#ifdef Q_OS_WIN

bool knows_escape_sequences()
{
    const HANDLE console = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    return GetConsoleMode(console, &mode) &&
           SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

int terminal_width()
{
    CONSOLE_SCREEN_BUFFER_INFO info;
    if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info))
        return USUAL_WIDTH;
    return info.srWindow.Right - info.srWindow.Left + 1;
}

#else

bool knows_escape_sequences()
{
    const QByteArray kind = qgetenv("TERM");
    return ::isatty(STDOUT_FILENO) && !kind.isEmpty() && kind != "dumb";
}

int terminal_width()
{
    struct winsize size = {};
    const bool is_told = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return is_told ? size.ws_col : USUAL_WIDTH;
}

#endif

// A letter of Asia may take two columns. Better to cut too early: a line that
// wraps would stay behind.
QString cut_to(int columns, const QString& text)
{
    const ushort first_wide_letter = 0x1100;
    int length = 0;
    for (; length < text.size(); ++length) {
        columns -= text.at(length).unicode() < first_wide_letter ? 1 : 2;
        if (columns < 0)
            break;
    }
    const bool splits_letter = length < text.size() && text.at(length).isLowSurrogate();
    return text.left(splits_letter ? length - 1 : length);
}

} // namespace

void RUN_REPORT::start()
{
    s_is_on = true;
    s_has_terminal = knows_escape_sequences();
}

bool RUN_REPORT::is_on()
{
    return s_is_on;
}

void RUN_REPORT::line(const QString& text)
{
    lines({text});
}

void RUN_REPORT::lines(const QStringList& texts)
{
    if (!s_is_on)
        return;
    QByteArray bytes = line_eraser();
    for (const QString& text : texts)
        bytes += on_one_line(text).toLocal8Bit() + '\n';
    write(stdout, bytes);
}

void RUN_REPORT::step(const QString& text)
{
    WORK_AT_HAND::note("the step \"" + text + '"');
    line(text);
}

void RUN_REPORT::remark(const QString& text)
{
    s_remarks.append(text);
    line("Remark: " + text);
}

const QStringList& RUN_REPORT::remarks()
{
    return s_remarks;
}

void RUN_REPORT::keep_error(const QString& text)
{
    s_kept_errors.append(text);
}

const QStringList& RUN_REPORT::kept_errors()
{
    return s_kept_errors;
}

bool RUN_REPORT::has_terminal()
{
    return s_has_terminal;
}

void RUN_REPORT::progress(const QString& text)
{
    if (!s_has_terminal)
        return;
    s_has_progress = true;
    // Some terminals wrap in the last column, and "^C" is to find room as well.
    write(stdout, ERASE_LINE + cut_to(terminal_width() - 3, on_one_line(text)).toLocal8Bit());
}

const char* RUN_REPORT::line_eraser()
{
    return s_has_progress ? ERASE_LINE : "";
}

void RUN_REPORT::error(const QString& text)
{
    write(stdout, line_eraser());
    write(stderr, text.toLocal8Bit() + '\n');
}
