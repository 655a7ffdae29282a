#include "app/attendance.h"

#include "app/configuration_choice.h"
#include "contracts/services/command_line_options.h"
#include "session/error_box.h"

ATTENDANCE attendance(bool has_display, const CHOSEN_CONFIGURATION& configuration,
                      const COMMAND_LINE_OPTIONS& options)
{
    const bool is_refused =
        configuration.is_refused() && options.exists(QStringLiteral("dont_stop_on_error"));
    const bool goes_on_by_itself = is_refused || is_unattended(configuration.record, options);
    ATTENDANCE result;
    result.has_display = has_display;
    result.has_person = has_display && (configuration.is_chosen_by_hand || !goes_on_by_itself);
    result.tells_the_console = !has_display || configuration.record.silent;
    return result;
}
