// A plugin for the whole program: an action for each file of the working data, which
// reads two others and does nothing when it runs. bench_incremental.cpp gives ninja the
// same files and edges.

#include "contracts/actions/action_interface.h"
#include "contracts/actions/plugin_interface.h"
#include "contracts/actions/processor_interface.h"
#include "session/file_entry.h"

namespace {

using FILE_MAP = LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>;

LOGICAL_PATH raw_path_of(const LOGICAL_PATH& working)
{
    return LOGICAL_PATH("<raw>" + working.midRef(int(sizeof "<working>") - 1));
}

class IDLE_ACTION : public ACTION_INTERFACE
{
public:
    IDLE_ACTION(PROCESSOR_INTERFACE* maker, int number) : ACTION_INTERFACE(maker), m_number(number) {}

    QString display_text(bool) override { return QStringLiteral("Action %1").arg(m_number); }

    void collect_files(QVector<LOGICAL_PATH>& inputs, QVector<ACTION_TARGET>& targets, QDateTime&, FILE_MAP&,
                       RULE_CACHE&) override
    {
        inputs.append(first_input);
        inputs.append(second_input);
        targets.append(target);
    }

    int execute(FILE_MAP&, RULE_CACHE&) override { return ACTION_SUCCEEDED; }

    LOGICAL_PATH first_input;
    LOGICAL_PATH second_input;
    ACTION_TARGET target;

private:
    const int m_number;
};

class IDLE_PROCESSOR : public PROCESSOR_INTERFACE
{
public:
    QString name() override { return QStringLiteral("bench"); }
    int order_number() override { return 0; }

    QVector<ACTION_INTERFACE*> collect_actions(FILE_MAP& files, RULE_CACHE&) override
    {
        QVector<ACTION_TARGET> targets;
        const LOGICAL_PATH folder(QStringLiteral("<working>/"));
        for (auto file = files.lower_bound(folder); file != files.end(); ++file) {
            ACTION_TARGET target;
            target.logical_path = file.key();
            target.physical_path = file.value()->physical;
            targets.append(target);
        }
        QVector<ACTION_INTERFACE*> actions;
        actions.reserve(targets.size());
        for (int i = 0; i < targets.size(); ++i) {
            auto* const action = new IDLE_ACTION(this, i);
            const bool is_chained = i % 2 == 1;
            action->first_input = raw_path_of(targets.at(i).logical_path);
            const LOGICAL_PATH& other =
                targets.at(is_chained ? i / 2 : (i + targets.size() / 2) % targets.size()).logical_path;
            action->second_input = is_chained ? other : raw_path_of(other);
            action->target = targets.at(i);
            actions.append(action);
        }
        return actions;
    }
};

} // namespace

class BENCH_PLUGIN : public QObject, public PLUGIN_INTERFACE
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "PLUGIN_INTERFACE")
    Q_INTERFACES(PLUGIN_INTERFACE)
public:
    QVector<PROCESSOR_INTERFACE*> processors_of_plugin() override { return {new IDLE_PROCESSOR}; }
};

#include "bench_plugin.moc"
