#include "minimal_plugin.h"

#include <QtCore/QSaveFile>

#include "contracts/actions/action_interface.h"
#include "contracts/actions/processor_interface.h"
#include "contracts/paths/paths.h"
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
        target.physical_path = PATHS::physical_path(target.logical_path);
        targets.append(target);
    }

    int execute(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&, RULE_CACHE&) override
    {
        QSaveFile file(target_files.firstKey()->physical);
        if (!file.open(QIODevice::WriteOnly) || file.write("Hello!\n") < 0 || !file.commit()) {
            add_output_line(
                QStringLiteral("%1 can't be written: %2").arg(file.fileName(), file.errorString()));
            return ACTION_FAILED;
        }
        return ACTION_SUCCEEDED;
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
