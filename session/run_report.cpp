#include "session/run_report.h"

#include <QtWidgets/QMessageBox>

#include <cstdio>

namespace {

bool s_is_on = false;

void write(FILE* stream, const QString& text)
{
    const QByteArray bytes = text.toLocal8Bit() + '\n';
    std::fwrite(bytes.constData(), 1, std::size_t(bytes.size()), stream);
    std::fflush(stream);
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

void RUN_REPORT::error(const QString& text)
{
    write(stderr, text);
}

void show_error_box(const QString& text, bool hidden)
{
    if (hidden)
        RUN_REPORT::error(text);
    else
        QMessageBox::critical(nullptr, QStringLiteral("GOX"), text, QMessageBox::Ok);
}
