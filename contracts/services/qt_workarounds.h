#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QItemSelectionModel>

#include "contracts/export.h"

class QWidget;

/// What Qt does in its own way, done in the way that large trees and strange
/// settings need. GUI thread.
namespace QT_WORKAROUNDS {

/// The selected rows as indexes of the selection's model, in the order in which
/// the selection itself lists them: range after range as they were selected,
/// within a range from the top down. So the first index is that of the range
/// that was selected first, which is not always the topmost on the screen. Of a
/// range with several columns only the first one counts. Rows that are not both
/// enabled and selectable are left out, as Qt's own list leaves them out.
///
/// Qt's list asks the model for the parent of every range, and models that look
/// for it among siblings make that quadratic for thousands of ranges. Here a
/// range of one row costs no look-up.
GOX_CONTRACTS_EXPORT QModelIndexList selection_indices(const QItemSelection& selection);

/// The same for what is selected in a view; nothing for a null model.
GOX_CONTRACTS_EXPORT QModelIndexList selection_indices(const QItemSelectionModel* model);

/// QWidget::restoreGeometry for bytes from a settings store: what was not made
/// by saveGeometry changes nothing, and a window that would come up beside all
/// screens, or larger than its screen, is brought onto one.
GOX_CONTRACTS_EXPORT void restore_geometry(QWidget* window, const QByteArray& geometry);

/// Shows the window and returns when it has been drawn, where no event loop runs
/// that would draw it later: some platforms take nothing for a window until they
/// have told that it is on the screen. Meanwhile events are handled, but none of
/// the user. Gives up after half a second.
GOX_CONTRACTS_EXPORT void show_at_once(QWidget* window);

} // namespace QT_WORKAROUNDS
