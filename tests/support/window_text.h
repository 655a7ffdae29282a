#pragma once

#include <QtCore/QString>
#include <QtWidgets/QMenu>
#include <QtWidgets/QTreeView>
#include <QtWidgets/QWidget>

/// What a person sees, as text, so that one comparison notices any change.
namespace WINDOW_TEXT {

/// A line a row that is not hidden: a "." a level, "+" for a closed row with
/// rows below it, the check box as "[ ]", "[-]" or "[x]", the texts of the shown
/// columns with " | " between them, and " <" behind the current row.
QString rows(const QTreeView& view);

/// A line a widget, in the order in which they were made: object name, what it
/// says in quotes, then what is particular: hidden, disabled, checked, default,
/// read only, and the tool tip.
///
///     window "Filter"
///     start "Start" default, tip "Builds what is chosen"
QString form(const QWidget& window);

/// A line an entry, "-" for a separator; a menu in it with its entries behind a
/// "." a level.
QString menu(const QMenu& menu);

} // namespace WINDOW_TEXT
