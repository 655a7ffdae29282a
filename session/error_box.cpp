#include "session/error_box.h"

#include "contracts/services/plain_message_box.h"
#include "session/run_report.h"

void show_error_box(const QString& text, bool hidden)
{
    if (hidden)
        RUN_REPORT::error(text);
    else
        show_plain_box(QMessageBox::Critical, nullptr, text);
}
