#pragma once

#include <QtCore/QStringList>
#include <QtCore/QVector>

class ACTION_INTERFACE;
struct PLAN_JUDGEMENT;
struct SHARD;

// What the console of an unattended run hears of a build. Nothing of it says
// anything while RUN_REPORT is off.

/// A build of that many actions begins. GUI thread, before the build thread runs.
void report_start(int planned);

/// Counts an action that has had its turn, and tells of one that did not
/// succeed: its name, how it ended and the last line that it has to say. Build
/// thread, or GUI thread while no build runs.
void report_action(ACTION_INTERFACE& action);

/// Tells how far the build is and which action is at hand: on a terminal always
/// behind the last line, elsewhere a line a minute. For a loop that waits for the
/// build; it may call as often as it likes. GUI thread.
void report_progress();

/// The same at a point of time, in milliseconds since report_start.
void report_progress_at(qint64 milliseconds);

/// Tells that the build was asked to end, and which action it has to wait for.
/// GUI thread.
void report_stop();

/// Why each action of the plan runs: a line each. GUI thread.
void report_explanations(const QVector<ACTION_INTERFACE*>& plan, const PLAN_JUDGEMENT& judgement);

/// How many actions of the plan are the share's. GUI thread.
void report_share(const SHARD& shard, int actions, int planned);

/// There is nothing to build. `is_share`: of what this process is to build. GUI thread.
void report_empty_plan(const PLAN_JUDGEMENT& judgement, bool is_share);

/// The end of a run that only planned that many actions. GUI thread.
void report_dry_run(int actions, const PLAN_JUDGEMENT& judgement);

/// The end of a build: counts by state, the time that it took and where the logs
/// are. `logs` are the names of those that could be written. GUI thread, after the
/// build.
void report_summary(const QVector<ACTION_INTERFACE*>& actions, const QStringList& logs, bool was_stopped,
                    const PLAN_JUDGEMENT& judgement);
