#include "app/run_cycle.h"

#include <QtCore/QTimer>

#include "app/crash_report.h"
#include "contracts/actions/action_interface.h"
#include "contracts/configuration/configuration.h"
#include "contracts/services/progress_widget.h"
#include "contracts/services/tallyline_context.h"
#include "execution/run_summary.h"
#include "progress/build_progress_dialog.h"
#include "selection/data_selection_dialog.h"
#include "session/build_session.h"
#include "session/run_report.h"
#include "session/work_at_hand.h"

namespace {

const int LOOK_INTERVAL = 100; // milliseconds

void tell(const QString& error)
{
    if (!error.isEmpty())
        RUN_REPORT::line(error);
}

} // namespace

RUN_CYCLE::RUN_CYCLE(BUILD_SESSION& session, const CONFIGURATION& configuration, const RUN_OPTIONS& options,
                     INCREMENTAL_PLAN& incremental, P4_CONNECTION& p4, PROGRESS_WIDGET& splash,
                     Tallyline::Context& metrics, Tallyline::StopWatch& total_watch,
                     const ATTENDANCE& attendance)
    : m_session(session),
      m_configuration(configuration),
      m_options(options),
      m_p4(p4),
      m_splash(splash),
      m_metrics(metrics),
      m_total_watch(total_watch),
      m_attendance(attendance),
      m_incremental(incremental),
      m_recorder(session, incremental.shard)
{
}

std::optional<int> RUN_CYCLE::run()
{
    while (true) {
        m_get_latest = false;
        WORK_AT_HAND::note(QStringLiteral("the choice of files"));
        switch (choose_files()) {
        case CHOSEN:
            break;
        case CANCELLED:
            return exit_status();
        case NOBODY_TO_CHOOSE:
            m_exit_status = 1;
            return exit_status();
        }
        if (!plan())
            return 1;
        if (!carry_out_plan())
            return std::nullopt;
        if (m_leave_after_pass)
            return exit_status();
        send_event("More");
        m_session.reset_for_more();
        m_first_pass = false;
    }
}

RUN_CYCLE::CHOICE RUN_CYCLE::choose_files()
{
    if (m_configuration.silent) {
        m_splash.hide();
        m_session.select_from_configuration();
        m_total_watch.Stop();
        if (m_first_pass)
            send_start_up_time(nullptr);
        return CHOSEN;
    }
    if (!m_attendance.has_display) {
        RUN_REPORT::error(
            QStringLiteral("There is no display to choose files on. Use a configuration that is silent."));
        return NOBODY_TO_CHOOSE;
    }
    Tallyline::StopWatch dialog_watch;
    m_splash.set_progress(QStringLiteral("Setting up the file selection window..."));
    m_splash.repaint();
    // Static, so that what was chosen is still there on the next pass.
    static DATA_SELECTION_DIALOG dialog(&m_session, QString(), nullptr, Qt::WindowFlags());
    dialog.set_perforce(&m_p4);
    m_splash.hide();
    if (m_first_pass) {
        dialog_watch.Stop();
        m_total_watch.Stop();
        send_start_up_time(&dialog_watch);
    }
    if (dialog.exec() != QDialog::Accepted)
        return CANCELLED;
    m_get_latest = dialog.ui.get_latest_checkbox->isChecked();
    return CHOSEN;
}

// False when nothing may be built.
bool RUN_CYCLE::plan()
{
    WORK_AT_HAND::note(QStringLiteral("the planning of the build"));
    m_session.plan_build();
    const int planned = m_session.selected_actions.size();
    const QString error = m_incremental.apply(m_session);
    for (const QString& problem : qAsConst(m_incremental.problems))
        RUN_REPORT::line(problem);
    if (!error.isEmpty()) {
        RUN_REPORT::error(error);
        return false;
    }
    if (m_options.is_divided())
        report_share(m_incremental.shard, m_incremental.whole.size(), planned);
    if (m_options.explain || m_options.dry_run)
        report_explanations(m_session.selected_actions, m_incremental.judgement);
    return true;
}

// False when the build could not be prepared.
bool RUN_CYCLE::carry_out_plan()
{
    if (m_session.selected_actions.isEmpty())
        report_empty_plan(m_incremental.judgement, m_options.is_divided());
    else if (m_options.dry_run)
        report_dry_run(m_session.selected_actions.size(), m_incremental.judgement);
    else if (!build())
        return false;
    if (!m_options.dry_run && !m_options.is_divided())
        tell(keep_shard_durations());
    return true;
}

bool RUN_CYCLE::build()
{
    const EXIT_WATCH exit_watch; // younger than the window of the choice
    send_event("BuildStarted");
    m_recorder.start(m_incremental.whole, m_incremental.record);
    m_session.recorder = &m_recorder;
    m_session.results.keep_output = !m_options.report.isEmpty();
    if (!m_session.prepare_build(m_get_latest))
        return false;
    bool was_stopped; // from outside
    if (m_configuration.no_progress_dialog || !m_attendance.has_display) {
        m_session.finish_build(false);
        was_stopped = m_session.abort_flag;
    } else {
        was_stopped = watch_build();
    }
    const bool is_cut_short = m_session.results.actions.size() < m_session.selected_actions.size();
    m_was_stopped |= was_stopped || is_cut_short;
    finish_record();
    report_summary(m_session.selected_actions, m_session.written_logs, was_stopped, m_incremental.judgement);
    return true;
}

void RUN_CYCLE::finish_record()
{
    m_session.recorder = nullptr;
    tell(m_recorder.finish());
}

// Whether the build was asked to end from outside.
bool RUN_CYCLE::watch_build()
{
    BUILD_PROGRESS_DIALOG dialog(m_session, m_configuration, QString(), *m_session.options, nullptr,
                                 Qt::WindowFlags());
    // An interrupt from outside must not leave a window behind that waits for
    // actions which will never run.
    const auto is_stopped = [&] { return m_session.abort_flag && !dialog.aborted; };
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &dialog, [&] {
        if (is_stopped()) {
            report_stop();
            dialog.reject();
        } else if (m_session.isRunning()) {
            report_progress();
        }
    });
    look.start(LOOK_INTERVAL);
    m_leave_after_pass = dialog.exec() == QDialog::Rejected;
    look.stop();
    const bool was_stopped = is_stopped();
    m_session.abort_flag = true; // no action begins while the window comes back
    dialog.show_waiting();
    m_session.finish_build(true);
    if (dialog.aborted) {
        m_exit_status = 1;
        m_was_stopped = true;
    }
    return was_stopped;
}

int RUN_CYCLE::exit_status() const
{
    if (m_options.dry_run)
        return m_exit_status;
    for (const ACTION_INTERFACE* action : QVector<ACTION_INTERFACE*>(m_session.selected_actions))
        if (action->state != ACTION_SUCCEEDED && action->state != ACTION_SUCCEEDED_WITH_WARNINGS)
            return 1;
    return m_exit_status;
}

void RUN_CYCLE::send_start_up_time(const Tallyline::StopWatch* dialog_watch)
{
    const Tallyline::Context::PACKET packet = m_metrics.AllocatePacket();
    const auto add = [&](const char* key, const Tallyline::StopWatch& watch) {
        m_metrics.AddField(packet, key, QString::number(watch.AsSec()).toLocal8Bit());
    };
    if (dialog_watch)
        add("StartUpSetupDialogSecs", *dialog_watch);
    add("StartUpTotalSecs", m_total_watch);
    m_metrics.Send(packet);
}

void RUN_CYCLE::send_event(const char* key)
{
    const Tallyline::Context::PACKET packet = m_metrics.AllocatePacket();
    m_metrics.AddField(packet, key, "1");
    m_metrics.Send(packet);
}
