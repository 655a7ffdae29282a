#pragma once

#include "rules/rule_folder_rows.h"

class QTreeWidget;
class QWidget;

// How a person has left the rule editor, kept in their settings: size and place of
// the window, the width of the first column, and which folders are open. GUI
// thread.

/// Folders that are gone are passed over.
void restore_rule_editor(QWidget& window, QTreeWidget& tree, const RULE_FOLDER_ROWS& rows);

/// Of very many open folders the first are kept.
void keep_rule_editor(const QWidget& window, const QTreeWidget& tree);
