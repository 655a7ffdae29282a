#include "session/run_report.h"

#include <cstdio>

#include "contracts/services/plain_message_box.h"

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#endif

namespace {

bool s_is_on = false;
int s_remarks = 0;

void write(FILE* stream, const QString& text)
{
    const QByteArray bytes = text.toLocal8Bit() + '\n';
    std::fwrite(bytes.constData(), 1, std::size_t(bytes.size()), stream);
    std::fflush(stream);
}

// Opening a pipe waits for somebody who reads it.
bool is_pipe(const QString& path)
{
#ifdef Q_OS_UNIX
    struct stat status = {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 && S_ISFIFO(status.st_mode);
#else
    Q_UNUSED(path)
    return false;
#endif
}

} // namespace

void RUN_REPORT::start()
{
    s_is_on = true;
}

bool RUN_REPORT::is_on()
{
    return s_is_on;
}

void RUN_REPORT::line(const QString& text)
{
    if (s_is_on)
        write(stdout, QString(text).replace('\n', ' '));
}

void RUN_REPORT::remark(const QString& text)
{
    ++s_remarks;
    line("Remark: " + text);
}

int RUN_REPORT::remarks()
{
    return s_remarks;
}

void RUN_REPORT::error(const QString& text)
{
    write(stderr, text);
}

bool open_log(QFile& log)
{
    const bool is_refused = is_pipe(log.fileName());
    if (!is_refused && log.open(QIODevice::WriteOnly))
        return true;
    RUN_REPORT::line(
        QStringLiteral("Cannot write %1: %2")
            .arg(log.fileName(), is_refused ? QStringLiteral("it is a pipe") : log.errorString()));
    return false;
}

void show_error_box(const QString& text, bool hidden)
{
    if (hidden)
        RUN_REPORT::error(text);
    else
        show_plain_box(QMessageBox::Critical, nullptr, text);
}
