#pragma once

#include <QtCore/QVector>

#include <functional>
#include <memory>

#include "bench/measure.h"
#include "contracts/actions/action_interface.h"
#include "contracts/actions/processor_interface.h"
#include "contracts/configuration/configuration.h"
#include "contracts/services/command_line_options.h"
#include "contracts/services/p4_connection.h"
#include "contracts/services/progress_widget.h"
#include "contracts/services/stop_watch.h"
#include "contracts/services/tallyline_context.h"
#include "session/build_session.h"

class SYNTHETIC_TREE;

/// An action that reads and writes what it was given and does nothing.
class BENCH_ACTION : public ACTION_INTERFACE
{
public:
    BENCH_ACTION(PROCESSOR_INTERFACE* maker, int number) : ACTION_INTERFACE(maker), m_number(number) {}

    QString display_text(bool) override { return QStringLiteral("Action %1").arg(m_number); }
    void collect_files(QVector<LOGICAL_PATH>& inputs, QVector<ACTION_TARGET>& targets, QDateTime& stamp,
                       LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files, RULE_CACHE& rules) override;
    int execute(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&, RULE_CACHE&) override { return ACTION_SUCCEEDED; }

    QVector<LOGICAL_PATH> inputs_to_report;
    QVector<ACTION_TARGET> targets_to_report;

    static double s_seconds; ///< spent in collect_files of all actions

private:
    const int m_number;
};

/// Makes its actions by a function, and measures its own time.
class BENCH_PROCESSOR : public PROCESSOR_INTERFACE
{
public:
    using FILE_MAP = LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>;
    using MAKER = std::function<QVector<ACTION_INTERFACE*>(BENCH_PROCESSOR&, const FILE_MAP&)>;

    explicit BENCH_PROCESSOR(const MAKER& maker) : m_maker(maker) {}

    QString name() override { return QStringLiteral("bench"); }
    int order_number() override { return 0; }
    QVector<ACTION_INTERFACE*> collect_actions(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files,
                                               RULE_CACHE& rules) override;

    static int new_group() { return new_action_group(); }

    double seconds = 0; ///< spent in collect_actions

private:
    const MAKER m_maker;
};

/// A session with everything that it needs around it, over a tree and with one
/// processor. Files and actions are never freed, as in the program.
class BENCH_SESSION
{
public:
    BENCH_SESSION();

    /// The steps of the start-up from the folders to scan up to the
    /// dependencies, for a tree whose PATHS are initialised.
    void start_up(PROCESSOR_INTERFACE* processor);

    /// One more step, under a name for the list of steps.
    void step(const char* name, const std::function<void()>& work);

    /// The steps so far.
    STEPS steps;

    BUILD_SESSION& operator*() { return *m_session; }
    BUILD_SESSION* operator->() { return m_session.get(); }

private:
    CONFIGURATION m_configuration;
    COMMAND_LINE_OPTIONS m_options;
    Tallyline::Context m_metrics;
    P4_CONNECTION m_p4;
    PROGRESS_WIDGET m_splash;
    std::unique_ptr<BUILD_SESSION> m_session;
};

/// What a run of a session costs.
struct SESSION_RUN
{
    COST cost;
    STEPS steps;
    double peak_memory = 0; ///< bytes that the run added at its worst
};

/// The steps of the start-up over the tree, with an action for each eight raw files in the
/// order of the map, which with its target and the other files makes one for ten.
SESSION_RUN start_up_over(const SYNTHETIC_TREE& tree);

/// Lets `run` work in a child process and gives what it gives, with the peak of
/// its memory. So each run meets fresh memory, as the program does, that the
/// runs before it have given back.
SESSION_RUN run_in_child(const std::function<SESSION_RUN()>& run);

/// The least cost of several such runs, the steps of the quickest of them.
SESSION_RUN least(const SESSION_RUN& a, const SESSION_RUN& b);

/// Makes `tree` the data tree of this process.
void use_tree(const QString& tree);

/// The plain way to list files and their times; gives their number.
int plain_walk(const QString& root);

/// The action's files as the session wants them, from names below the roots.
LOGICAL_PATH raw_file(const QString& name);
LOGICAL_PATH working_file(const QString& name);
ACTION_TARGET working_target(const QString& tree, const QString& name);
