#include "execution/run_summary.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QMap>

#include <atomic>

#include "contracts/actions/action_interface.h"
#include "contracts/actions/processor_interface.h"
#include "execution/action_reason.h"
#include "record/plan_judgement.h"
#include "record/shard_durations.h"
#include "session/log_file.h"
#include "session/run_report.h"
#include "session/start_up_hooks.h"

namespace {

const qint64 LINE_INTERVAL = 60000;   // milliseconds, between two lines
const qint64 TERMINAL_INTERVAL = 200; // the same where a line is rewritten
const int LINES_AT_ONCE = 200;

QElapsedTimer s_time;
int s_planned = 0;
std::atomic<int> s_done{0}; // counted by the build thread
std::atomic<int> s_failed{0};
qint64 s_told_at = 0;

struct STATE_WORDS
{
    int state;
    const char* words;
};

const STATE_WORDS ALL_STATES[] = {
    {ACTION_SUCCEEDED, "succeeded"},
    {ACTION_SUCCEEDED_WITH_WARNINGS, "with warnings"},
    {ACTION_FAILED, "failed"},
    {ACTION_FAILED_ALONE, "failed (others went on)"},
    {ACTION_DEPENDENCY_FAILED, "not run because a dependency failed"},
    {ACTION_NOT_RUN, "not run"},
};

QString words_of(int state)
{
    for (const STATE_WORDS& known : ALL_STATES)
        if (known.state == state)
            return QLatin1String(known.words);
    return QStringLiteral("in unknown state %1").arg(state);
}

QString name_of(ACTION_INTERFACE& action)
{
    return action.processor->name() + " / " + action.display_text(true);
}

QString progress_text()
{
    ACTION_INTERFACE* const action = current_action; // read once: the build thread changes it
    return QStringLiteral("%1 of %2 done, %3 failed").arg(s_done).arg(s_planned).arg(s_failed) +
           (action ? ", at hand: " + name_of(*action) : QString());
}

void report_remarks()
{
    if (const int remarks = RUN_REPORT::remarks().size())
        RUN_REPORT::line(QStringLiteral("  started with %1 remark%2, see above")
                             .arg(remarks)
                             .arg(remarks == 1 ? QString() : QStringLiteral("s")));
}

// Actions that were left out, and what is still to be heard of them.
void report_up_to_date(const PLAN_JUDGEMENT& judgement)
{
    if (judgement.up_to_date.isEmpty())
        return;
    RUN_REPORT::line(QStringLiteral("  %1 up to date").arg(judgement.up_to_date.size()));
    for (const UP_TO_DATE_ACTION& left_out : judgement.up_to_date)
        if (left_out.had_warnings)
            RUN_REPORT::line("  up to date, with warnings when it was built: " + name_of(*left_out.action) +
                             (left_out.warning.isEmpty() ? QString() : ": " + left_out.warning));
}

} // namespace

void report_start(int planned)
{
    s_planned = planned;
    s_done = 0;
    s_failed = 0;
    s_told_at = 0;
    s_time.start();
}

void report_action(ACTION_INTERFACE& action)
{
    ++s_done;
    if (action.state == ACTION_FAILED || action.state == ACTION_FAILED_ALONE)
        ++s_failed;
    if (RUN_REPORT::is_on() && action.state != ACTION_SUCCEEDED) {
        const QString reason = reason_of(action.output, action.state);
        RUN_REPORT::line(words_of(action.state) + ": " + name_of(action) +
                         (reason.isEmpty() ? QString() : ": " + reason));
    }
}

void report_progress()
{
    report_progress_at(s_time.elapsed());
}

void report_progress_at(qint64 milliseconds)
{
    const bool has_terminal = RUN_REPORT::has_terminal();
    if (!RUN_REPORT::is_on() || milliseconds - s_told_at < (has_terminal ? TERMINAL_INTERVAL : LINE_INTERVAL))
        return;
    s_told_at = milliseconds;
    if (has_terminal)
        RUN_REPORT::progress(progress_text());
    else
        RUN_REPORT::line(progress_text());
}

void report_stop()
{
    ACTION_INTERFACE* const action = current_action;
    if (RUN_REPORT::is_on())
        RUN_REPORT::line("Stopping" + (action ? ", waiting for " + name_of(*action) : QString()) + "...");
}

void report_explanations(const QVector<ACTION_INTERFACE*>& plan, const PLAN_JUDGEMENT& judgement)
{
    QStringList lines;
    for (ACTION_INTERFACE* action : plan) {
        lines.append(name_of(*action) + ": " + judgement.explanations.value(action));
        if (lines.size() == LINES_AT_ONCE) {
            RUN_REPORT::lines(lines);
            lines.clear();
        }
    }
    RUN_REPORT::lines(lines);
}

void report_share(const SHARD& shard, int actions, int planned)
{
    RUN_REPORT::line(QStringLiteral("Share %1 of %2: %3 of %4 action(s).")
                         .arg(shard.number)
                         .arg(shard.count)
                         .arg(actions)
                         .arg(planned));
}

void report_empty_plan(const PLAN_JUDGEMENT& judgement, bool is_share)
{
    if (!judgement.up_to_date.isEmpty())
        RUN_REPORT::line(QStringLiteral("Everything is up to date, so there is nothing to build."));
    else if (is_share)
        RUN_REPORT::line(QStringLiteral("Nothing falls to this share, so there is nothing to build."));
    else
        RUN_REPORT::line(QStringLiteral("Nothing is selected, so there is nothing to build."));
    report_up_to_date(judgement);
    report_remarks();
}

void report_dry_run(int actions, const PLAN_JUDGEMENT& judgement)
{
    RUN_REPORT::line(QStringLiteral("Dry run: %1 action(s) would run.").arg(actions));
    report_up_to_date(judgement);
    report_remarks();
}

void report_summary(const QVector<ACTION_INTERFACE*>& actions, const QStringList& logs, bool was_stopped,
                    const PLAN_JUDGEMENT& judgement)
{
    if (!RUN_REPORT::is_on())
        return;
    QMap<int, int> counts;
    for (const ACTION_INTERFACE* action : actions)
        ++counts[action->state];
    if (was_stopped)
        RUN_REPORT::line(QStringLiteral("Stopped from outside."));
    RUN_REPORT::line(QStringLiteral("%1 action(s) in %2 s:")
                         .arg(actions.size())
                         .arg(s_time.elapsed() / 1000.0, 0, 'f', 1));
    for (const STATE_WORDS& known : ALL_STATES)
        if (const int count = counts.take(known.state))
            RUN_REPORT::line(QStringLiteral("  %1 %2").arg(count).arg(QLatin1String(known.words)));
    for (auto other = counts.cbegin(); other != counts.cend(); ++other)
        RUN_REPORT::line(QStringLiteral("  %1 %2").arg(other.value()).arg(words_of(other.key())));
    report_up_to_date(judgement);
    report_remarks();
    RUN_REPORT::line("Logs: " + (logs.isEmpty() ? QStringLiteral("none could be written")
                                                : LOG_FILE::path_of(logs.join(QStringLiteral(", ")))));
}
