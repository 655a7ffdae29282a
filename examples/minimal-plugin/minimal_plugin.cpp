#include "minimal_plugin.h"

#include "contracts/actions/action_interface.h"
#include "contracts/actions/processor_interface.h"
#include "contracts/paths/paths.h"
#include "contracts/services/whole_file.h"
#include "session/file_entry.h"

namespace {

class GREETING_ACTION : public ACTION_INTERFACE
{
public:
    explicit GREETING_ACTION(PROCESSOR_INTERFACE* maker) : ACTION_INTERFACE(maker) { progress_total = 1; }

    QString display_text(bool) override { return QStringLiteral("greeting"); }

    void collect_files(QVector<LOGICAL_PATH>&, QVector<ACTION_TARGET>& targets, QDateTime&,
                       LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&, RULE_CACHE&) override
    {
        ACTION_TARGET target;
        target.logical_path = LOGICAL_PATH(QStringLiteral("<working>/greeting.txt"));
        target.physical_path = PATHS::target_path(target.logical_path);
        targets.append(target);
    }

    int execute(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&, RULE_CACHE&) override
    {
        const QString error = write_target(target_files.firstKey()->physical, "Hello!\n");
        if (error.isEmpty())
            return ACTION_SUCCEEDED;
        add_output_line(error);
        return ACTION_FAILED;
    }
};

class GREETING_PROCESSOR : public PROCESSOR_INTERFACE
{
public:
    QString name() override { return QStringLiteral("Greeting"); }
    int order_number() override { return 1; }
    QVector<ACTION_INTERFACE*> collect_actions(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&, RULE_CACHE&) override
    {
        return {new GREETING_ACTION(this)};
    }
};

} // namespace

QVector<PROCESSOR_INTERFACE*> MINIMAL_PLUGIN::processors_of_plugin()
{
    return {new GREETING_PROCESSOR};
}
