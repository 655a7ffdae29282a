#pragma once

#include <QtCore/QString>

class COMMAND_LINE_OPTIONS;
class CONFIGURATION;

/// Whether a run is not to stop for anybody: silent, and not on an error either.
/// No error box of the start-up shows then.
bool is_unattended(const CONFIGURATION& configuration, const COMMAND_LINE_OPTIONS& options);

/// Shows an error as a message box (title "GOX", button Ok), or, where the mode
/// of the run hides the box, tells it to standard error alone. RUN_REPORT keeps it.
/// GUI thread.
void show_error_box(const QString& text, bool hidden);
