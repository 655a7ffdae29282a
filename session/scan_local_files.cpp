#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QTextStream>

#include <algorithm>

#include "contracts/configuration/configuration.h"
#include "contracts/paths/paths.h"
#include "contracts/services/command_line_options.h"
#include "contracts/services/file_list_dialog.h"
#include "contracts/services/satellite.h"
#include "session/build_session.h"
#include "session/error_box.h"
#include "session/run_report.h"
#include "session/scanned_folder.h"

namespace {

const int MOST_REMARKS = 20;      // of one kind
const int LARGE_LOOKUP = 1 << 18; // entries: 2 MB of places for them

bool is_rule_file(const QString& key)
{
    return key.endsWith(QLatin1String("/rules.gox")) && !key.startsWith(QLatin1String("<retail>/"));
}

// The rule files in the folders above the scan roots, in the order of the data
// roots, so that a file that wins over its companion is met second.
FW::VECTOR<DIRECTORY_SCANNER::FILE_INFO> rule_files_above(const QSet<PHYSICAL_PATH>& folders)
{
    QStringList paths;
    for (const QString& root : PATHS::all()) {
        QStringList in_root;
        for (const QString& folder : folders)
            if (begins_with_folder(folder + '/', root + '/'))
                for (const QString& file :
                     PATHS::places_below(PHYSICAL_PATH(root), folder.mid(root.size()) + "/rules.gox"))
                    in_root.append(file);
        in_root.sort();
        paths += in_root;
    }
    FW::VECTOR<DIRECTORY_SCANNER::FILE_INFO> files;
    for (const QString& path : qAsConst(paths)) {
        const QFileInfo rule_file(path);
        if (rule_file.exists())
            files.push_back({path, rule_file.lastModified().toUTC(), rule_file.size()});
    }
    return files;
}

// By itself the lookup doubles its room, and walks over all entries each time. Until
// that room costs megabytes it grows twice as fast here.
void make_room_for(int files, QHash<LOGICAL_PATH, FILE_ENTRY*>& lookup)
{
    const int room = lookup.capacity();
    if (lookup.size() + files > room && room < LARGE_LOOKUP)
        lookup.reserve(3 * room); // becomes four times as much
}

// A tree that is wrong throughout must not fill the console.
void remark_some(const QStringList& remarks)
{
    for (const QString& remark : remarks.mid(0, MOST_REMARKS))
        RUN_REPORT::remark(remark);
    if (remarks.size() > MOST_REMARKS)
        RUN_REPORT::remark(
            QStringLiteral("... and %1 more of this kind.").arg(remarks.size() - MOST_REMARKS));
}

} // namespace

bool BUILD_SESSION::scan_local_files(QTextStream& log)
{
    scan_began = QDateTime::currentMSecsSinceEpoch();
    SATELLITE& scanner = SATELLITE::instance();
    for (const PHYSICAL_PATH& directory : qAsConst(directories))
        scanner.add_path(directory);
    // The scanner's threads go on with the later folders while the first are entered.
    QStringList shadowing;
    SCANNED_FOLDER folder(file_map);
    bool is_complete = true;
    for (const PHYSICAL_PATH& directory : qAsConst(directories))
        is_complete = scanner.take_files(directory, [&](auto& files) {
            if (is_complete)
                enter_scanned_files(files, folder, shadowing);
        }) && is_complete;
    if (!is_complete) {
        const QString text = QStringLiteral("Error while scanning local files! (Error: %1, %2)")
                                 .arg(QString::number(scanner.error_number), scanner.get_error());
        show_error_box(text, is_unattended(*configuration, *options));
        log << text;
        return false;
    }
    for (DIRECTORY_SCANNER::FILE_INFO& file : rule_files_above(parent_directories))
        enter_scanned_file(std::move(file), folder, shadowing);
    if (!shadowing.isEmpty() && !configuration->silent)
        ask_about_shadowing_files(shadowing);
    remark_some(scanner.take_left_out());
    remark_some(folder.case_twins);
    scanner.stop();
    return true;
}

// Files of one folder.
void BUILD_SESSION::enter_scanned_files(FW::VECTOR<DIRECTORY_SCANNER::FILE_INFO>& files,
                                        SCANNED_FOLDER& folder, QStringList& shadowing)
{
    make_room_for(int(files.size()), file_lookup);
    enter_scanned_file(std::move(files.front()), folder, shadowing);
    for (auto file = files.begin() + 1; file != files.end(); ++file)
        enter_scanned_file(std::move(*file), folder.next_key(file->path), folder, shadowing);
}

void BUILD_SESSION::enter_scanned_file(DIRECTORY_SCANNER::FILE_INFO&& file, SCANNED_FOLDER& folder,
                                       QStringList& shadowing)
{
    const LOGICAL_PATH key = folder.key_of(file.path);
    enter_scanned_file(std::move(file), key, folder, shadowing);
}

// The path moves on, so that its text, which another thread wrote, is not written to here.
void BUILD_SESSION::enter_scanned_file(DIRECTORY_SCANNER::FILE_INFO&& file, const LOGICAL_PATH& key,
                                       SCANNED_FOLDER& folder, QStringList& shadowing)
{
    PHYSICAL_PATH path(std::move(file.path));
    FILE_ENTRY*& known = file_lookup[key];
    if (known) {
        if (!PATHS::override(path, known->physical, options->exists(QStringLiteral("dont_stop_on_error")))) {
            known->local_time = file.modified; // the date of the file that loses, and yet the newer one
            const bool is_same =
                static_cast<const QString&>(path) == static_cast<const QString&>(known->physical);
            known->local_size = is_same ? file.size : -1;
            folder.note_spellings(known->physical, path);
            return;
        }
        shadowing.append(path);
        m_spellings.file_left(known->physical);
        delete known;
    }
    FILE_ENTRY* const entry = new FILE_ENTRY;
    known = entry;
    entry->local_state = FILE_STATE_NO_PERFORCE;
    entry->p4_state = FILE_STATE_NO_PERFORCE;
    if (!file_map.locked)
        folder.insert(file_map.map, key, entry);
    if (is_rule_file(key))
        m_scanned_rule_files.append(key);
    if (folder.is_spelled_so) {
        entry->physical = std::move(path);
    } else {
        entry->physical = m_spellings.normalised(path, key);
        m_spellings.file_added(entry->physical, key);
        folder.note_spellings(entry->physical, path);
        folder.is_spelled_so = static_cast<const QString&>(entry->physical).startsWith(folder.physical) &&
                               !folder.logical.isEmpty();
    }
    entry->local_time = file.modified;
    entry->local_size = file.size;
}

void BUILD_SESSION::ask_about_shadowing_files(const QStringList& shadowing)
{
    const bool all_checked = true;
    FILE_LIST_DIALOG dialog(
        QStringLiteral("GOX"),
        QStringLiteral(
            "The following non-Perforce files in 'raw_data' and 'working_data' shadow Perforce files in "
            "'old_raw_data' and 'old_working_data'. This may lead to unexpected behaviour of the game "
            "unless they are deleted.\nDo you want to delete these files?"),
        QStringLiteral("Delete selected"), shadowing, QStringLiteral("Skip"), all_checked, nullptr,
        Qt::WindowFlags());
    if (dialog.exec() != QDialog::Accepted)
        return;
    for (const QString& file : dialog.get_selected_files())
        QFile::remove(file);
}
