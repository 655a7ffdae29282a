#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QMap>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include "contracts/actions/action_notes.h"
#include "contracts/actions/action_target.h"
#include "contracts/export.h"
#include "contracts/paths/logical_path.h"
#include "contracts/paths/physical_path.h"
#include "session/lockable_map.h"

class BUILD_SESSION;
class KV_XML_QUERY_INTERFACE;
class PROCESSOR_INTERFACE;
class RULE_CACHE;
struct FILE_ENTRY;

namespace FW {
class UniString;
}
namespace QTSHARED {
class ASSET_GRAPH;
}

/// The values of ACTION_INTERFACE::state.
enum ACTION_STATE : int
{
    ACTION_NOT_RUN = 0,
    ACTION_RUNNING = 1,
    ACTION_SUCCEEDED = 2,
    ACTION_SUCCEEDED_WITH_WARNINGS = 3,
    ACTION_FAILED = 4,
    ACTION_DEPENDENCY_FAILED = 5, ///< not run because a dependency failed
    ACTION_FAILED_ALONE = 6,      ///< failed, but whoever depends on it runs all the same; only
                                  ///< `execute` produces it
};

/// One buildable step: it reads some files, writes others and can be run.
///
/// A processor makes its actions with `new`; the program owns them from then on
/// and deletes those that a run without retail output drops, right after their
/// `collect_files`: who keeps pointers to actions asks `providers` of a file
/// instead, or forgets them in the destructor. What is called on
/// the build thread says so; everything else runs on the GUI thread, and no
/// build runs then. While a build runs the GUI thread reads `state`, the two
/// progress members and `display_text`, and `output` of actions that are not
/// running.
class GOX_CONTRACTS_EXPORT ACTION_INTERFACE
{
public:
    /// `maker` is the processor that makes the action. An action that comes
    /// without one gets the processor that handed it out.
    explicit ACTION_INTERFACE(PROCESSOR_INTERFACE* maker = nullptr);

    PROCESSOR_INTERFACE* processor;              ///< the action's maker; not owned
    QVector<ACTION_INTERFACE*> dependencies;     ///< direct ones, free of repeats; add_dependency fills it
    QVector<ACTION_INTERFACE*> all_dependencies; ///< their closure without the action itself; empty until
                                                 ///< first planned, then kept
    int group_id = 0;                            ///< from PROCESSOR_INTERFACE::new_action_group; 0: no group
    QVector<ACTION_INTERFACE*> pulls;            ///< what selecting this action carries along
    QVector<ACTION_INTERFACE*> pulled_by;        ///< whose selection carries this action along
    QVector<FILE_ENTRY*> input_files;            ///< files that it reads and that exist in the file map
    QMap<FILE_ENTRY*, PHYSICAL_PATH> target_files; ///< files that it writes, each with the path that
                                                   ///< collect_files gave; see `execute`
    int progress_total = 0;                        ///< units of work in all; set by the action
    int progress_current = 0;   ///< units done; set by the action, and to the total at the end
    int selection_count = 0;    ///< selected when at least 1
    int order_level = 0;        ///< set by planning: above that of every dependency
    QString output;             ///< all that the action has to say, one line after another
    int state = ACTION_NOT_RUN; ///< an ACTION_STATE; set by the build thread and `reset`
    QStringList preset_errors;  ///< when not empty the action fails without being executed
                                ///< and these lines are its output
    bool review_needed = false; ///< after a clean `execute` the result is reviewed; an
                                ///< assertion during the action sets it

    virtual ~ACTION_INTERFACE();

    /// Asks the action to stop. Called on the GUI thread while `execute` may be
    /// running on the build thread, so it must be safe for that; setting an
    /// atomic flag that `execute` looks at is the usual way. Nothing by default.
    virtual void abort();

    /// Makes the action ready to run again: state 0, no output, no progress.
    /// An override calls this one. Called between two builds.
    virtual void reset();

    /// Reserved; the program does not call it.
    virtual void reserved();

    /// The action's text: the long form for logs and the progress window, the
    /// short one for lists. The GUI thread asks while the build thread may be
    /// running `execute`.
    virtual QString display_text(bool long_form) = 0;

    /// Says what the action reads and writes, and since when its own logic is
    /// valid: a `stamp` newer than the targets makes them out of date; leave it
    /// null when there is nothing to say. All three come in empty. Targets belong
    /// where PATHS::target_path says.
    virtual void collect_files(QVector<LOGICAL_PATH>& inputs, QVector<ACTION_TARGET>& targets,
                               QDateTime& stamp, LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files,
                               RULE_CACHE& rules) = 0;

    /// Lets the action add dependencies of its own with add_dependency, after
    /// those that files induce exist. Nothing by default.
    virtual void resolve_dependencies(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files, RULE_CACHE& rules);

    /// Does the work and returns an ACTION_STATE: 2, 3, 4 or 6. Runs on the
    /// build thread. A target is written to FILE_ENTRY::physical of its key in
    /// `target_files`, the path of collect_files in the letter case that the disk
    /// has for it; its folder exists by then. It is called whether or not the
    /// targets are out of date.
    virtual int execute(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files, RULE_CACHE& rules) = 0;

    /// True, the default, when a failed dependency must stop this action. Build
    /// thread.
    virtual bool checks_dependencies();

    /// Asked when review_needed is set and `execute` gave 2: true makes the
    /// state 4, false, the default, makes it 3. The targets are written by then,
    /// so an answer of true takes them away first, else the next run takes them
    /// for good ones. Build thread, right after `execute`.
    virtual bool review_is_failure();

    /// Makes `other` a dependency of this action, once, and never of itself.
    /// With `pull`, selecting this action carries `other` along.
    void add_dependency(ACTION_INTERFACE& other, bool pull);

    /// Raises selection_count of this action and of everything reached through
    /// `pulls`, each once, and adds them all to `touched`.
    void select(QSet<ACTION_INTERFACE*>& touched);

    /// Undoes one `select`; a count that is 0 stays. What something else still
    /// holds keeps a count of 1 or more and is in `touched` all the same.
    void deselect(QSet<ACTION_INTERFACE*>& touched);

protected:
    /// Appends one line to `output`; an empty text appends an empty line.
    void add_output_line(const QString& line);

    /// From here on, Qt's messages (qDebug and so on) of the current thread go
    /// into this action's output; clear_redirections ends that. The program
    /// brackets `execute` with the two.
    void redirect_messages();
    void clear_redirections();

    /// For `execute`, on its thread: true when nothing has changed since the targets
    /// were built, so that the action may return ACTION_SUCCEEDED without doing
    /// anything. Its files, its `stamp`, what it asked the rules, the database and the
    /// asset graph, its library and all that it depends on are as they were, and it
    /// ended well then. False whenever that is not known.
    bool is_up_to_date();

    static KV_XML_QUERY_INTERFACE* s_database;   ///< the connected database; not owned
    static QTSHARED::ASSET_GRAPH* s_asset_graph; ///< not owned; null before the first build

private:
    friend class BUILD_RECORDER;
    friend class BUILD_SESSION;
    friend class CLOSURE;
    friend class PLANNED_ACTIONS;
    friend struct ACTION_NOTES;
    friend bool startup_message_hook(bool, const FW::UniString&, bool&, bool&);
    Q_DISABLE_COPY(ACTION_INTERFACE)

    // Adds the closure of `dependencies`; the action itself may be in it.
    void get_all_dependencies(QSet<ACTION_INTERFACE*>& result);

    // Receives the text of a message box that arose while the action was
    // current: into the output, once an action, and the result needs a review.
    void message_box_hook(const QString& text);

    QVector<ACTION_INTERFACE*> reached_through_pulls();

    QSet<ACTION_INTERFACE*> m_dependency_set; // the same as `dependencies`, once these are many
    int m_plan_index = -1;                    // scratch of planning; -1 outside of it

    ACTION_NOTES m_notes;

    // Answers is_up_to_date for the program; null: nobody knows.
    static bool (*s_is_up_to_date)(ACTION_INTERFACE& action);

    static QSet<QString> s_assert_cache; // assertions already reported for the current action
};
