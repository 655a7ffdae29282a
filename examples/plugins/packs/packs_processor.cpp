#include "packs/packs_processor.h"

#include "contracts/actions/action_interface.h"
#include "contracts/database/kv_xml_query_interface.h"
#include "contracts/paths/paths.h"
#include "packs/contents_table.h"
#include "packs/pack_action.h"
#include "packs/pack_members.h"
#include "session/file_entry.h"

namespace {

// The pack and all who make something for it run next to each other, so that a
// pack is finished early and what it reads is still in the disk cache. An action
// that works for several packs stays with the first.
void put_into_group(int group, ACTION_INTERFACE& pack, const QVector<LOGICAL_PATH>& own,
                    const FILE_MAP& files)
{
    pack.group_id = group;
    for (const LOGICAL_PATH& path : own)
        for (ACTION_INTERFACE* const provider : files.value(path)->providers)
            if (provider->group_id == 0)
                provider->group_id = group;
}

} // namespace

QString PACKS_PROCESSOR::name()
{
    return QStringLiteral("Packs");
}

int PACKS_PROCESSOR::order_number()
{
    return 900;
}

QVector<QString> PACKS_PROCESSOR::scan_directories()
{
    return {QStringLiteral("<working>")};
}

QVector<VIRTUAL_FILE> PACKS_PROCESSOR::collect_virtual_files(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&,
                                                             RULE_CACHE&)
{
    QVector<VIRTUAL_FILE> contents;
    // The text comes from the database, so it is as old as that.
    const QDateTime time = s_database->latest_mod_date();
    for (const QString& pack : described_packs(*s_database, m_database_error)) {
        VIRTUAL_FILE file;
        file.physical_path = PHYSICAL_PATH(PATHS::working_data() + '/' + pack + '/' + CONTENTS_NAME);
        file.time = time;
        contents.append(file);
    }
    return contents;
}

QVector<ACTION_INTERFACE*> PACKS_PROCESSOR::collect_actions(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files,
                                                            RULE_CACHE&)
{
    QVector<ACTION_INTERFACE*> actions;
    for (const QString& pack : top_folders(files)) {
        const QVector<LOGICAL_PATH> own = own_files(pack, files);
        const QVector<LOGICAL_PATH> used =
            s_asset_graph ? used_files(own, files, *s_asset_graph) : QVector<LOGICAL_PATH>();
        auto* const action = new PACK_ACTION(this, pack, own + used);
        put_into_group(new_action_group(), *action, own, files);
        if (!m_database_error.isEmpty())
            action->preset_errors.append(m_database_error);
        actions.append(action);
    }
    return actions;
}
