#pragma once

#include <QtWidgets/QMessageBox>

#include "contracts/export.h"

/// Shows a message box with the title "GOX" and the button Ok. The text stands in
/// it letter for letter: markup in the name of a file or in an error is not taken
/// for formatting, as it is by the static functions of QMessageBox. A text of
/// many lines scrolls. `parent` may be null. `more` stands below the text, likewise. GUI thread.
GOX_CONTRACTS_EXPORT void show_plain_box(QMessageBox::Icon icon, QWidget* parent, const QString& text,
                                         const QString& more = QString());

/// Asks in such a box whether to go on with what loses something: true for Yes.
/// No has the focus and is what Escape answers. It is also the answer when the
/// dialog `parent` ends meanwhile, so that the question never outlives what it is
/// about. GUI thread.
GOX_CONTRACTS_EXPORT bool confirm_in_plain_box(QWidget* parent, const QString& question);
