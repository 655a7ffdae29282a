#include "selection/chosen_files.h"

#include "contracts/actions/action_interface.h"
#include "session/file_entry.h"

QMap<QString, FILE_ENTRY*> missing_files(const QSet<ACTION_INTERFACE*>& actions)
{
    QMap<QString, FILE_ENTRY*> missing;
    for (const ACTION_INTERFACE* action : actions)
        for (FILE_ENTRY* file : action->input_files)
            if (file->p4_state == FILE_STATE_ADDED && file->local_state == FILE_STATE_NO_CHANGE)
                missing.insert(file->physical, file);
    return missing;
}

QSet<QString> selected_files(const QVector<ACTION_INTERFACE*>& actions)
{
    QSet<QString> paths;
    for (const ACTION_INTERFACE* action : actions) {
        if (action->selection_count < 1)
            continue;
        for (const FILE_ENTRY* file : action->input_files)
            paths.insert(file->physical);
        for (auto target = action->target_files.cbegin(); target != action->target_files.cend(); ++target)
            paths.insert(target.key()->physical);
    }
    return paths;
}
