#pragma once

#include "contracts/actions/action_interface.h"

/// An action that reads and writes nothing, with what only its own code may call
/// made public.
class IDLE_ACTION : public ACTION_INTERFACE
{
public:
    using ACTION_INTERFACE::add_output_line;
    using ACTION_INTERFACE::clear_redirections;
    using ACTION_INTERFACE::redirect_messages;
    QString display_text(bool) override { return QString(); }
    void collect_files(QVector<LOGICAL_PATH>&, QVector<ACTION_TARGET>&, QDateTime&,
                       LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&, RULE_CACHE&) override
    {
    }
    int execute(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&, RULE_CACHE&) override { return ACTION_SUCCEEDED; }
};
