#pragma once

#include <atomic>

#include "contracts/actions/action_interface.h"
#include "textures/texture_rule.h"

class ROW_COUNTER;
struct MIP_CHAIN;

/// Converts one picture into a texture.
class TEXTURE_ACTION : public ACTION_INTERFACE
{
public:
    /// `source` is the picture's key in the file map; `target` is where its
    /// texture belongs.
    TEXTURE_ACTION(PROCESSOR_INTERFACE* maker, const LOGICAL_PATH& source, const PHYSICAL_PATH& target);

    void abort() override;
    void reset() override;
    QString display_text(bool long_form) override;
    void collect_files(QVector<LOGICAL_PATH>& inputs, QVector<ACTION_TARGET>& targets, QDateTime& stamp,
                       LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files, RULE_CACHE& rules) override;
    int execute(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files, RULE_CACHE& rules) override;

private:
    int convert();
    int write(QImage picture, const MIP_CHAIN& chain, ROW_COUNTER& rows);
    int fail(const QString& reason);

    const LOGICAL_PATH m_source;
    const PHYSICAL_PATH m_target;
    TEXTURE_SETTINGS m_settings;
    std::atomic<bool> m_stop{false};
};
