#pragma once

#include "contracts/export.h"

class ACTION_INTERFACE;
class QListWidgetItem;
class QTreeWidgetItem;

/// Ties a row of a list or tree to its action, under Qt::UserRole. The row does
/// not own the action. GUI thread.
class GOX_CONTRACTS_EXPORT DIALOG_HELPER
{
public:
    static void set_action_pointer(QListWidgetItem* item, const ACTION_INTERFACE* action);
    static void set_action_pointer(QTreeWidgetItem* item, int column, const ACTION_INTERFACE* action);

    /// The action that was set, unchanged; null when none was.
    static ACTION_INTERFACE* get_action_pointer(QListWidgetItem* item);
    static ACTION_INTERFACE* get_action_pointer(QTreeWidgetItem* item, int column);
};
