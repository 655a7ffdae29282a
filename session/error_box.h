#pragma once

#include <QtCore/QString>

/// Shows an error as a message box (title "GOX", button Ok), or, where the mode
/// of the run hides the box, tells it to standard error alone. GUI thread.
void show_error_box(const QString& text, bool hidden);
