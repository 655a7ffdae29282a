#pragma once

#include <QtCore/QHash>
#include <QtWidgets/QUndoCommand>

#include "contracts/rules/rule_files.h"

class QTreeWidgetItem;
class RULE_CACHE;

/// A rule file was read again: the rules of its folder and their rows become what
/// stands in it, and with `undo` what they were, edits included.
///
/// Rules and rows that have left stay allocated, as with the other commands. GUI
/// thread.
class RULE_FILE_COMMAND : public QUndoCommand
{
public:
    /// `reading` comes from RULE_CACHE::read_again.
    RULE_FILE_COMMAND(RULE_CACHE& cache, const RULE_FILE_READING& reading, QTreeWidgetItem& folder_row);
    void undo() override;
    void redo() override;

private:
    void exchange();
    void take_rows(QList<CACHED_RULE*>& open);
    bool add_rows();

    RULE_CACHE* m_cache;
    RULE_FILE_READING m_reading;
    QTreeWidgetItem* m_folder_row;
    QHash<CACHED_RULE*, QTreeWidgetItem*> m_rows; // of rules that are not in the tree
};
