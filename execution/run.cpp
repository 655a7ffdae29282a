// The build thread: the actions of the plan one after another, and their logs.

#include <QtCore/QDir>

#include "contracts/actions/action_interface.h"
#include "contracts/actions/processor_interface.h"
#include "contracts/configuration/configuration.h"
#include "contracts/paths/letter_case.h"
#include "contracts/paths/paths.h"
#include "contracts/services/abort_watcher.h"
#include "contracts/services/fw_message_box.h"
#include "contracts/services/stop_watch.h"
#include "execution/duration_text.h"
#include "execution/run_summary.h"
#include "record/build_recorder.h"
#include "session/build_session.h"
#include "session/log_file.h"
#include "session/signal_stack.h"
#include "session/start_up_hooks.h"
#include "session/work_at_hand.h"

namespace {

const unsigned long PAUSE_INTERVAL = 250; // microseconds

void write_section(QTextStream& log, ACTION_INTERFACE& action)
{
    log << "=== " << action.processor->name() << " / " << action.display_text(true) << " ===\n"
        << action.output << "\n";
}

// The last line that an action had to say ahead of the closing ones.
QString last_message(const QString& output, int said)
{
    const QStringList lines = output.left(said).split('\n', Qt::SkipEmptyParts);
    for (auto line = lines.crbegin(); line != lines.crend(); ++line)
        if (!line->trimmed().isEmpty())
            return line->trimmed();
    return QString();
}

} // namespace

struct BUILD_SESSION::BUILD_LOGS
{
    LOG_FILE main{QStringLiteral("gox.log")};
    LOG_FILE warnings{QStringLiteral("gox_warnings.log")};
    LOG_FILE error{QStringLiteral("gox_error.log")};
};

void BUILD_SESSION::run()
{
    const SIGNAL_STACK signal_stack;
    register_current_thread();
    results.actions.clear();
    results.actions.reserve(selected_actions.size());
    ACTION_INTERFACE::s_asset_graph = asset_graph;
    abort_flag = false;
    pause_flag = false;
    ABORT_WATCHER watcher(abort_flag);
    watcher.start();
    FW::fw_message_box_hook = startup_message_hook;
    {
        BUILD_LOGS logs;
        logs.main.text() << selected_actions.size() << " action(s) were selected for execution.\n\n";
        for (ACTION_INTERFACE* action : QVector<ACTION_INTERFACE*>(selected_actions))
            if (!run_action(*action, logs))
                break;
        WORK_AT_HAND::note(QStringLiteral("the end of the build"));
        current_action = nullptr;
        ACTION_INTERFACE::s_assert_cache.clear();
        FW::fw_message_box_hook = nullptr;
        close_logs(logs);
    }
}

void BUILD_SESSION::close_logs(BUILD_LOGS& logs)
{
    written_logs.clear();
    for (LOG_FILE* log : {&logs.error, &logs.warnings, &logs.main})
        if (log->close())
            written_logs.prepend(log->name());
}

// False when the build is to end here.
bool BUILD_SESSION::run_action(ACTION_INTERFACE& action, BUILD_LOGS& logs)
{
    ACTION_INTERFACE::s_assert_cache.clear();
    current_action = &action;
    WORK_AT_HAND::note(QStringLiteral("the way to the next action")); // whose name comes from a plugin
    WORK_AT_HAND::note(action.processor->name() + " / " + action.display_text(true));
    while (pause_flag && !abort_flag)
        QThread::usleep(PAUSE_INTERVAL);
    if (abort_flag)
        return false;

    results.actions.append(ACTION_RESULT());
    if (action.checks_dependencies())
        stop_for_dependencies(action);
    if (action.state == ACTION_NOT_RUN) {
        action.state = ACTION_RUNNING;
        if (recorder)
            recorder->begin(action);
        prepare_targets(action);
        action.processor->stopwatch.Start();
        if (action.preset_errors.isEmpty()) {
            execute_action(action);
        } else {
            for (const QString& error : qAsConst(action.preset_errors))
                action.add_output_line(error);
            action.state = ACTION_FAILED;
        }
        action.processor->stopwatch.Stop();
        ++action.processor->finished_actions;
        if (recorder)
            record_end(action);
    }

    write_section(logs.main.text(), action);
    if (action.state == ACTION_SUCCEEDED_WITH_WARNINGS)
        write_section(logs.warnings.text(), action);
    if (action.state == ACTION_FAILED)
        write_section(logs.error.text(), action);
    report_action(action);
    keep_result(action);
    if (!configuration->keep_output)
        action.output.clear();
    if (abort_flag)
        return false;
    action.progress_current = action.progress_total;
    return true;
}

void BUILD_SESSION::record_end(ACTION_INTERFACE& action)
{
    const ACTION_RESULT& result = results.actions.last();
    const QString warning =
        action.state == ACTION_SUCCEEDED_WITH_WARNINGS ? last_message(action.output, result.said) : QString();
    recorder->end(action, result.duration, warning, abort_flag);
}

void BUILD_SESSION::keep_result(const ACTION_INTERFACE& action)
{
    ACTION_RESULT& result = results.actions.last();
    if (result.duration < 0)
        result.said = action.output.size();
    if (results.keep_output)
        result.output = action.output;
}

// Only direct dependencies are looked at; failure travels down a chain because
// each link in turn does not run.
void BUILD_SESSION::stop_for_dependencies(ACTION_INTERFACE& action)
{
    bool has_failed = false;
    for (ACTION_INTERFACE* dependency : qAsConst(action.dependencies)) {
        if (dependency->state != ACTION_FAILED && dependency->state != ACTION_DEPENDENCY_FAILED)
            continue;
        if (!has_failed) {
            has_failed = true;
            action.state = ACTION_DEPENDENCY_FAILED;
            action.progress_current = action.progress_total;
            action.add_output_line(QStringLiteral("Some of its dependencies has failed:"));
        }
        action.add_output_line(" - " + dependency->display_text(true));
    }
}

void BUILD_SESSION::prepare_targets(ACTION_INTERFACE& action)
{
    if (action.target_files.isEmpty())
        return;
    QStringList moved;
    QStringList outside; // of the retail build
    const QString retail = PATHS::retail_build() + "/";
    for (auto target = action.target_files.cbegin(); target != action.target_files.cend(); ++target) {
        FILE_ENTRY& file = *target.key();
        if (file.physical != target.value()) {
            if (!file.intermediate)
                moved.append(file.physical);
            const PHYSICAL_PATH former = file.physical;
            file.physical = normalise_path_case(target.value());
            m_spellings.file_moved(former, file.physical);
            file.local_state = FILE_STATE_NO_PERFORCE;
            file.p4_state = FILE_STATE_NO_PERFORCE;
        }
        if (!file.intermediate && !begins_with_folder(file.physical, retail))
            outside.append(file.physical);
        file.local_state = FILE_STATE_MODIFIED;
        QDir().mkpath(file.physical.section('/', 0, -2));
    }
    ensure_target_directories(outside, moved, &action);
}

void BUILD_SESSION::ensure_target_directories(const QStringList& paths, const QStringList&, ACTION_INTERFACE*)
{
    QSet<QString> folders;
    for (const QString& path : paths)
        folders.insert(path.section('/', 0, -2));
    for (const QString& folder : qAsConst(folders))
        if (!QDir(folder).exists())
            QDir().mkpath(folder);
}

void BUILD_SESSION::execute_action(ACTION_INTERFACE& action)
{
    Tallyline::StopWatch watch;
    action.redirect_messages();
    action.state = action.execute(file_map, rule_cache);
    action.clear_redirections();
    if (action.review_needed && action.state == ACTION_SUCCEEDED)
        action.state = action.review_is_failure() ? ACTION_FAILED : ACTION_SUCCEEDED_WITH_WARNINGS;
    ACTION_RESULT& result = results.actions.last();
    result.said = action.output.size();
    result.duration = watch.Stop().AsMSec();
    action.add_output_line(QString());
    action.add_output_line(QStringLiteral("====================================="));
    action.add_output_line("Duration: " + duration_text(result.duration));
}
