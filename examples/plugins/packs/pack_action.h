#pragma once

#include <QtCore/QStringList>

#include <atomic>

#include "contracts/actions/action_interface.h"
#include "packs/pack_file.h"

/// Writes one pack: "<retail>/terrain.zip" holds the files of the top folder
/// "<working>/terrain", and what these use of other folders.
class PACK_ACTION : public ACTION_INTERFACE
{
public:
    /// `members` are keys of the file map.
    PACK_ACTION(PROCESSOR_INTERFACE* maker, const QString& pack, const QVector<LOGICAL_PATH>& members);

    void abort() override;
    void reset() override;
    QString display_text(bool long_form) override;
    void collect_files(QVector<LOGICAL_PATH>& inputs, QVector<ACTION_TARGET>& targets, QDateTime& stamp,
                       LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files, RULE_CACHE& rules) override;
    void resolve_dependencies(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files, RULE_CACHE& rules) override;
    int execute(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files, RULE_CACHE& rules) override;

private:
    int write();
    bool add_contents(QVector<PACK_MEMBER>& members, QString& error) const;
    int fail(const QString& reason);

    const QString m_pack;
    const LOGICAL_PATH m_target;
    const QVector<LOGICAL_PATH> m_members;
    std::atomic<bool> m_stop{false};
};
