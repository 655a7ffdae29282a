#pragma once

#include "contracts/actions/processor_interface.h"

/// Makes a pack of each top folder of the working data. It comes after all that
/// write there, so that it sees their targets.
class PACKS_PROCESSOR : public PROCESSOR_INTERFACE
{
public:
    QString name() override;
    int order_number() override;
    QVector<QString> scan_directories() override;

    /// The table of contents of each pack that the database describes. It lies
    /// nowhere on disk: its text is put together while the pack is written.
    QVector<VIRTUAL_FILE> collect_virtual_files(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files,
                                                RULE_CACHE& rules) override;

    QVector<ACTION_INTERFACE*> collect_actions(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files,
                                               RULE_CACHE& rules) override;

private:
    QString m_database_error; // why no pack has a table of contents
};
