#pragma once

#include <optional>

#include "app/attendance.h"
#include "contracts/services/stop_watch.h"
#include "record/build_recorder.h"
#include "record/incremental_plan.h"
#include "session/run_options.h"

class BUILD_SESSION;
class CONFIGURATION;
class P4_CONNECTION;
class PROGRESS_WIDGET;
namespace Tallyline {
class Context;
}

/// The cycle of selection, planning and build that follows the start-up. It owns
/// nothing of what it works with. Main thread.
class RUN_CYCLE
{
public:
    RUN_CYCLE(BUILD_SESSION& session, const CONFIGURATION& configuration, const RUN_OPTIONS& options,
              INCREMENTAL_PLAN& incremental, P4_CONNECTION& p4, PROGRESS_WIDGET& splash,
              Tallyline::Context& metrics, Tallyline::StopWatch& total_watch, const ATTENDANCE& attendance);

    /// Runs passes until one of them ends the cycle. The exit status of the
    /// process, or nothing when the build could not be prepared.
    std::optional<int> run();

    /// Whether a build was asked to end, by a person or from outside, or was left.
    bool was_stopped() const { return m_was_stopped; }

    /// What was known of the last plan ahead of its build.
    const PLAN_JUDGEMENT& judgement() const { return m_incremental.judgement; }

private:
    enum CHOICE
    {
        CHOSEN,
        CANCELLED,
        NOBODY_TO_CHOOSE
    };

    CHOICE choose_files();
    bool plan();
    bool carry_out_plan();
    bool build();
    void finish_record();
    bool watch_build();
    int exit_status() const;
    void send_start_up_time(const Tallyline::StopWatch* dialog_watch);
    void send_event(const char* key);

    BUILD_SESSION& m_session;
    const CONFIGURATION& m_configuration;
    const RUN_OPTIONS m_options;
    P4_CONNECTION& m_p4;
    PROGRESS_WIDGET& m_splash;
    Tallyline::Context& m_metrics;
    Tallyline::StopWatch& m_total_watch;
    const ATTENDANCE m_attendance;
    INCREMENTAL_PLAN& m_incremental;
    BUILD_RECORDER m_recorder;
    bool m_first_pass = true;
    bool m_leave_after_pass = true;
    bool m_get_latest = false;
    bool m_was_stopped = false;
    int m_exit_status = 0;
};
