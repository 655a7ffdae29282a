#include "contracts/paths/paths.h"
#include "contracts/services/p4_connection.h"
#include "session/build_session.h"
#include "session/perforce_reading.h"
#include "session/perforce_roots.h"
#include "session/scanned_folder.h"

QStringList BUILD_SESSION::perforce_file_specifications() const
{
    // Nothing in a run tells where the depot lies.
    const auto depot_path_of = [](const PHYSICAL_PATH&) { return QString(); };
    return perforce_specifications(directories, parent_directories, depot_path_of);
}

QString BUILD_SESSION::read_perforce_files(P4_CONNECTION& p4, const PERFORCE_ROOTS& roots,
                                           const QStringList& specifications)
{
    SCANNED_FOLDER folder(file_map);
    PERFORCE_STATUS_READER states(roots,
                                  [&](const PERFORCE_FILE& file) { enter_perforce_file(file, folder); });
    QString error =
        p4.read_file_states(specifications, [&](const QByteArray& line) { return states.add_line(line); });
    if (error.isEmpty())
        error = states.finish();
    return error.isEmpty() ? read_perforce_history(p4, roots, specifications) : error;
}

QString BUILD_SESSION::read_perforce_history(P4_CONNECTION& p4, const PERFORCE_ROOTS& roots,
                                             const QStringList& specifications)
{
    int time_offset = 0;
    const QString error = p4.read_server_time_offset(time_offset);
    if (!error.isEmpty())
        return error;
    const auto file_at = [this](const PHYSICAL_PATH& path) {
        FILE_ENTRY* const file = file_lookup.value(PATHS::logical_path(path));
        return file && file->physical == path ? file : nullptr;
    };
    PERFORCE_HISTORY_READER history(roots, file_at, time_offset);
    return p4.read_history(specifications, [&](const QByteArray& line) { return history.add_line(line); });
}

void BUILD_SESSION::enter_perforce_file(const PERFORCE_FILE& file, SCANNED_FOLDER& folder)
{
    const LOGICAL_PATH key = PATHS::logical_path(file.path);
    if (!static_cast<const QString&>(key).contains('/'))
        return; // the workspace holds more than the data roots
    FILE_ENTRY* entry = file_lookup.value(key);
    if (!entry || entry->physical != file.path) {
        // Perforce knows no date on disk, so that of a file that stays is kept.
        const QDateTime known_time = entry ? entry->local_time : QDateTime();
        QStringList shadowing; // none of Perforce's own files is meant by that question
        enter_scanned_file({file.path, QDateTime()}, folder, shadowing);
        entry = file_lookup.value(key);
        if (entry->physical != file.path) {
            entry->local_time = known_time;
            return;
        }
    }
    entry->head_time = file.head_time;
    entry->local_state = file.local_state;
    entry->p4_state = file.p4_state;
}
