#include "session/error_box.h"

#include "contracts/configuration/configuration.h"
#include "contracts/services/command_line_options.h"
#include "contracts/services/plain_message_box.h"
#include "session/run_report.h"

bool is_unattended(const CONFIGURATION& configuration, const COMMAND_LINE_OPTIONS& options)
{
    return configuration.silent && options.exists(QStringLiteral("dont_stop_on_error"));
}

void show_error_box(const QString& text, bool hidden)
{
    RUN_REPORT::keep_error(text);
    if (hidden)
        RUN_REPORT::error(text);
    else
        show_plain_box(QMessageBox::Critical, nullptr, text);
}
