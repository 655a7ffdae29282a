#pragma once

#include <QtWidgets/QMessageBox>

#include "contracts/export.h"

/// Shows a message box with the title "GOX" and the single button Ok, and
/// returns when it is closed. The text stands in it letter for letter: markup
/// in the name of a file or in an error is not taken for formatting, as it is
/// by the static functions of QMessageBox. `parent` may be null. GUI thread.
GOX_CONTRACTS_EXPORT void show_plain_box(QMessageBox::Icon icon, QWidget* parent, const QString& text);
