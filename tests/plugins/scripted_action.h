#pragma once

#include <QtCore/QSharedPointer>

#include <atomic>

#include "contracts/actions/action_interface.h"
#include "tests/plugins/scripted_processor.h"

/// An action that does what its part of the script says.
class SCRIPTED_ACTION : public ACTION_INTERFACE
{
public:
    SCRIPTED_ACTION(const SCRIPT_ACTION& script, int group, PROCESSOR_INTERFACE* maker,
                    const QSharedPointer<SCRIPTED_RUN>& run);
    ~SCRIPTED_ACTION() override;

    void abort() override;
    void reset() override;
    QString display_text(bool long_form) override;
    void collect_files(QVector<LOGICAL_PATH>& inputs, QVector<ACTION_TARGET>& targets, QDateTime& stamp,
                       LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files, RULE_CACHE& rules) override;
    void resolve_dependencies(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files, RULE_CACHE& rules) override;
    int execute(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files, RULE_CACHE& rules) override;
    bool checks_dependencies() override;
    bool review_is_failure() override;

private:
    void prepare();
    bool take_step(const SCRIPT_STEP& step, const RULE_CACHE& rules);
    bool wait(int milliseconds);
    void say_services();
    void say_rule(const QString& rule_and_property, const RULE_CACHE& rules);
    void say_files();
    void say_file(const QString& role, const FILE_ENTRY& file);
    bool write_targets();

    const SCRIPT_ACTION m_script;
    const QSharedPointer<SCRIPTED_RUN> m_run;
    std::atomic<bool> m_aborted{false};
};
