#include "contracts/actions/processor_interface.h"
#include "contracts/paths/paths.h"
#include "contracts/services/command_line_options.h"
#include "session/build_session.h"
#include "session/noted_questions.h"

void BUILD_SESSION::collect_virtual_files()
{
    const bool no_stop = options->exists(QStringLiteral("dont_stop_on_error"));
    NOTED_QUESTIONS noted;
    for (PROCESSOR_INTERFACE* processor : QVector<PROCESSOR_INTERFACE*>(processors)) {
        const QVector<VIRTUAL_FILE> files = processor->collect_virtual_files(file_map, rule_cache);
        keep_questions(noted, *processor);
        for (const VIRTUAL_FILE& file : files) {
            const LOGICAL_PATH key = PATHS::logical_path(file.physical_path);
            FILE_ENTRY* const known = file_lookup.value(key);
            if (known && !PATHS::override(file.physical_path, known->physical, no_stop))
                continue;
            if (known) {
                m_spellings.file_left(known->physical);
                delete known;
            }
            FILE_ENTRY* const entry = new FILE_ENTRY;
            entry->physical = file.physical_path;
            entry->local_time = file.time;
            entry->local_state = FILE_STATE_NO_PERFORCE;
            entry->p4_state = FILE_STATE_NO_PERFORCE;
            entry->virtual_file = true;
            put_file(key, entry);
            m_spellings.file_added(entry->physical, key);
        }
    }
}
