#pragma once

#include <QtCore/QHash>
#include <QtCore/QSet>
#include <QtCore/QStringList>
#include <QtCore/QThread>
#include <QtCore/QVector>

#include "contracts/paths/logical_path.h"
#include "contracts/paths/physical_path.h"
#include "contracts/rules/rule_cache.h"
#include "contracts/services/directory_scanner.h"
#include "contracts/services/file_stamp.h"
#include "contracts/services/question_log.h"
#include "session/build_results.h"
#include "session/file_entry.h"
#include "session/file_spellings.h"
#include "session/lockable_map.h"

class ACTION_INTERFACE;
class BUILD_RECORDER;
class COMMAND_LINE_OPTIONS;
class CONFIGURATION;
class KV_XML_QUERY_INTERFACE;
class NOTED_QUESTIONS;
class P4_CONNECTION;
class PLUGIN_INTERFACE;
class PREFERENCES_EDITOR_DIALOG;
class PROCESSOR_INTERFACE;
class PROGRESS_WIDGET;
class QTextStream;
struct ACTION_TARGET;
struct PERFORCE_FILE;
struct PERFORCE_ROOTS;

namespace QTSHARED {
class ASSET_GRAPH;
}
namespace Tallyline {
class Context;
class StopWatch;
} // namespace Tallyline

/// The central object of a run: all that was worked out about the data tree, the
/// start-up that fills it, and, as a QThread, the build itself.
///
/// The program builds one and hands it to every window. Everything runs on the
/// GUI thread while no build runs, apart from `run`, which is the build thread.
/// The two share abort_flag, pause_flag and the state, output and progress of
/// the actions as plain memory. The session outlives its build: destroy it only
/// after finish_build has returned.
class BUILD_SESSION : public QThread
{
public:
    using FILE_MAP = LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>;

    /// The options and the configuration must outlive the session; the other
    /// two are not kept.
    BUILD_SESSION(const CONFIGURATION& configuration, const COMMAND_LINE_OPTIONS& options,
                  const Tallyline::Context& metrics, const P4_CONNECTION& p4);

    /// Frees the containers, but none of the objects behind their pointers nor
    /// `database`, `asset_graph` and `preferences`: the process ends next.
    ~BUILD_SESSION() override;

    const COMMAND_LINE_OPTIONS* options;
    KV_XML_QUERY_INTERFACE* database; ///< null until connect_database succeeds
    const CONFIGURATION* configuration;
    QVector<PHYSICAL_PATH> directories;           ///< scan roots, none inside another
    QSet<PHYSICAL_PATH> parent_directories;       ///< every proper ancestor of a scan root in its data root
    FILE_MAP file_map;                            ///< all known files in path order, rule files apart
    QHash<LOGICAL_PATH, FILE_ENTRY*> file_lookup; ///< the same records by path, rule files included
    RULE_CACHE rule_cache;                        ///< the rules of the run
    QVector<PLUGIN_INTERFACE*> plugins;           ///< in load order; belong to their libraries
    QVector<PROCESSOR_INTERFACE*> processors;     ///< in ascending order of their order number
    QHash<const PROCESSOR_INTERFACE*, QString> processor_libraries; ///< the library that each comes from
    QHash<QString, FILE_STAMP> library_stamps; ///< of each library right before it was loaded
    /// What a processor asked until its actions were there, and what none of its
    /// actions alone has to do with: it counts for all of them. No entry: nothing.
    QHash<const PROCESSOR_INTERFACE*, ASKED_QUESTIONS> processor_questions;
    QVector<ACTION_INTERFACE*> actions;          ///< all of them, in order of processors
    QVector<ACTION_INTERFACE*> selected_actions; ///< the plan: what to run, in this order
    QTSHARED::ASSET_GRAPH* asset_graph;
    PREFERENCES_EDITOR_DIALOG* preferences;
    volatile bool abort_flag; ///< ends the build after the action in hand
    bool pause_flag;          ///< holds the build ahead of the next action
    QStringList written_logs; ///< names of the build's logs that could be written, once it has ended
    BUILD_RECORDER* recorder = nullptr; ///< is told of each action that runs; not owned, may be null
    qint64 scan_began = 0;              ///< of scan_local_files: milliseconds since 1970; 0: there was none
    BUILD_RESULTS results;              ///< what the last build left of the actions of its plan

    /// Runs the steps below in their order, each behind a text on the splash.
    /// False, when the database, the plugins or the scan stopped it; that has
    /// been reported then. Problems also go to gox_startup_error.log.
    bool start_up(PROGRESS_WIDGET& splash, const QString& workspace);

    /// Selects actions by the two file lists of the configuration.
    void select_from_configuration();

    /// Puts the selected actions into the order in which they will run.
    void plan_build();

    /// Starts the build thread and returns true. `get_latest` has no effect.
    bool prepare_build(bool get_latest);

    /// Waits until the build has ended. With `abort` the build is told to end
    /// first; without, a request to end from outside is passed on to the action
    /// in hand.
    void finish_build(bool abort);

    /// Makes processors and actions ready for another build.
    void reset_for_more();

    /// Whether a check at the end of a run found something: never.
    bool end_of_run_check() const { return false; }

    /// Fetches files from the depot; nothing to do here, always true.
    bool get_latest_files(const QSet<FILE_ENTRY*>& files);

    /// Names the files of these actions that cannot be updated because of local
    /// edits. Always true; no step of a run asks.
    bool check_edited_locally(const QSet<ACTION_INTERFACE*>& actions);

    /// Refuses working data that this program does not support, with a box and a
    /// line in the log. No step of a run asks.
    bool check_data_set(QTextStream& log);

    // For a scan that knows Perforce. No step of a run asks for any of these;
    // whoever does, does so ahead of collect_actions.

    /// Enters every file below `directory`, as scan_local_files enters those
    /// that the scanner found, without the scanner. A folder that can't be read
    /// is empty. Files that took over from a companion are added to `shadowing`.
    void walk_local_files(const PHYSICAL_PATH& directory, QStringList& shadowing);

    /// The files that a run looks at, as Perforce names them. None: nothing in
    /// a run tells where the depot lies.
    QStringList perforce_file_specifications() const;

    /// Enters the files of the specifications that Perforce knows of and notes
    /// their states and times; files that are known already keep their date on
    /// disk. Empty on success; otherwise the error, and the file map is good
    /// for nothing then. Always an error once PERFORCE_READING::s_failed is set.
    QString read_perforce_files(P4_CONNECTION& p4, const PERFORCE_ROOTS& roots,
                                const QStringList& specifications);

    // The steps of start_up, in their order. `log` is the start-up log.

    bool connect_database(const QString& workspace, QTextStream& log, bool no_progress_dialog);
    QString database_path() const; ///< the folder of this run's database
    bool load_plugins(QTextStream& log);
    void create_processors();
    void calculate_directories();
    bool scan_local_files(QTextStream& log);
    void load_asset_graph(PROGRESS_WIDGET& splash);
    void load_rule_files();
    void collect_virtual_files();
    void collect_actions(PROGRESS_WIDGET& splash, Tallyline::StopWatch& collection_watch,
                         Tallyline::StopWatch& files_watch);
    void collect_affected_files(QVector<ACTION_INTERFACE*>& collected); ///< may drop and delete actions
    void clean_asset_graph(PROGRESS_WIDGET& splash);
    void analyse_dependencies();

    /// Adds the real files behind `entry`: itself, or, seen through intermediate
    /// files, what their providers read.
    static void find_sources(FILE_ENTRY* entry, QSet<FILE_ENTRY*>& sources);

    /// `path` in the letter case of its folder's first known file.
    PHYSICAL_PATH normalise_path_case(const PHYSICAL_PATH& path);

    /// Makes the parent folder of each of `paths` where it is missing. The other
    /// two play no part.
    void ensure_target_directories(const QStringList& paths, const QStringList& moved,
                                   ACTION_INTERFACE* action);

protected:
    void run() override; ///< the build

private:
    Q_DISABLE_COPY(BUILD_SESSION)

    void register_graph_path_callback();

    struct SCANNED_FOLDER;
    void enter_scanned_files(FW::VECTOR<DIRECTORY_SCANNER::FILE_INFO>& files, SCANNED_FOLDER& folder,
                             QStringList& shadowing);
    void enter_scanned_file(DIRECTORY_SCANNER::FILE_INFO&& file, SCANNED_FOLDER& folder,
                            QStringList& shadowing);
    void enter_scanned_file(DIRECTORY_SCANNER::FILE_INFO&& file, const LOGICAL_PATH& key,
                            SCANNED_FOLDER& folder, QStringList& shadowing);
    void walk_local_folder(const QString& directory, QStringList& folders_above, SCANNED_FOLDER& folder,
                           QStringList& shadowing);
    void enter_perforce_file(const PERFORCE_FILE& file, SCANNED_FOLDER& folder);
    QString read_perforce_history(P4_CONNECTION& p4, const PERFORCE_ROOTS& roots,
                                  const QStringList& specifications);
    void ask_about_shadowing_files(const QStringList& shadowing);
    void put_file(const LOGICAL_PATH& key, FILE_ENTRY* entry);

    struct ACTION_FILES;
    static bool writes_retail(const ACTION_FILES& files, const QString& retail);
    struct DROPPED_ACTIONS;
    void forget(const DROPPED_ACTIONS& dropped, const QVector<ACTION_INTERFACE*>& collected);
    void link_inputs(ACTION_INTERFACE& action, ACTION_FILES& files);
    void link_targets(ACTION_INTERFACE& action, ACTION_FILES& files);
    FILE_ENTRY* target_entry(const ACTION_TARGET& target);
    static void keep_questions(NOTED_QUESTIONS& noted, ACTION_INTERFACE& action);
    void keep_questions(NOTED_QUESTIONS& noted, PROCESSOR_INTERFACE& processor);
    void deal_questions(PROCESSOR_INTERFACE& processor, const QVector<ACTION_INTERFACE*>& collected);

    struct BUILD_LOGS;
    bool run_action(ACTION_INTERFACE& action, BUILD_LOGS& logs);
    void close_logs(BUILD_LOGS& logs);
    void keep_result(const ACTION_INTERFACE& action);
    void stop_for_dependencies(ACTION_INTERFACE& action);
    void record_end(ACTION_INTERFACE& action);
    void prepare_targets(ACTION_INTERFACE& action);
    void execute_action(ACTION_INTERFACE& action);
    void abort_selected_actions();

    FILE_SPELLINGS m_spellings{file_map, file_lookup};
    QVector<LOGICAL_PATH> m_scanned_rule_files; // until load_rule_files
    QStringList m_plugin_files;                 // where each of `plugins` comes from
};
