// The build thread: the actions of the plan one after another, and their logs.

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTextStream>

#include "contracts/actions/action_interface.h"
#include "contracts/actions/processor_interface.h"
#include "contracts/configuration/configuration.h"
#include "contracts/paths/paths.h"
#include "contracts/services/abort_watcher.h"
#include "contracts/services/fw_message_box.h"
#include "contracts/services/stop_watch.h"
#include "execution/duration_text.h"
#include "execution/run_summary.h"
#include "session/build_session.h"
#include "session/run_report.h"
#include "session/start_up_hooks.h"

namespace {

const unsigned long PAUSE_INTERVAL = 250; // microseconds

// A log that can't be opened swallows what is written to it; only the console of
// an unattended run hears of that.
class LOG_FILE
{
public:
    explicit LOG_FILE(const char* name) : m_file(QCoreApplication::applicationDirPath() + QLatin1String(name))
    {
        if (open_log(m_file))
            m_stream.setDevice(&m_file);
    }

    ~LOG_FILE()
    {
        if (!m_file.isOpen())
            return;
        m_stream.flush();
        m_stream.setDevice(nullptr);
        m_file.close();
        if (m_file.error() != QFile::NoError)
            RUN_REPORT::line(
                QStringLiteral("Cannot write %1: %2").arg(m_file.fileName(), m_file.errorString()));
    }

    template <typename T>
    LOG_FILE& operator<<(const T& text)
    {
        if (m_file.isOpen())
            m_stream << text;
        return *this;
    }

private:
    QFile m_file;
    QTextStream m_stream;
};

void write_section(LOG_FILE& log, ACTION_INTERFACE& action)
{
    log << "=== " << action.processor->name() << " / " << action.display_text(true) << " ===\n"
        << action.output << "\n";
}

} // namespace

struct BUILD_SESSION::BUILD_LOGS
{
    LOG_FILE main{"/gox.log"};
    LOG_FILE warnings{"/gox_warnings.log"};
    LOG_FILE error{"/gox_error.log"};
};

void BUILD_SESSION::run()
{
    register_current_thread();
    ACTION_INTERFACE::s_asset_graph = asset_graph;
    abort_flag = false;
    pause_flag = false;
    ABORT_WATCHER watcher(abort_flag);
    watcher.start();
    FW::fw_message_box_hook = startup_message_hook;
    {
        BUILD_LOGS logs;
        logs.main << selected_actions.size() << " action(s) were selected for execution.\n\n";
        for (ACTION_INTERFACE* action : QVector<ACTION_INTERFACE*>(selected_actions))
            if (!run_action(*action, logs))
                break;
        current_action = nullptr;
        ACTION_INTERFACE::s_assert_cache.clear();
        FW::fw_message_box_hook = nullptr;
    }
}

// False when the build is to end here.
bool BUILD_SESSION::run_action(ACTION_INTERFACE& action, BUILD_LOGS& logs)
{
    ACTION_INTERFACE::s_assert_cache.clear();
    current_action = &action;
    while (pause_flag && !abort_flag)
        QThread::usleep(PAUSE_INTERVAL);
    if (abort_flag)
        return false;

    if (action.checks_dependencies())
        stop_for_dependencies(action);
    if (action.state == ACTION_NOT_RUN) {
        action.state = ACTION_RUNNING;
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
    }

    write_section(logs.main, action);
    if (action.state == ACTION_SUCCEEDED_WITH_WARNINGS)
        write_section(logs.warnings, action);
    if (action.state == ACTION_FAILED)
        write_section(logs.error, action);
    report_action(action);
    if (!configuration->keep_output)
        action.output.clear();
    if (abort_flag)
        return false;
    action.progress_current = action.progress_total;
    return true;
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
        if (!file.intermediate &&
            !static_cast<const QString&>(file.physical).startsWith(retail, Qt::CaseInsensitive))
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
    action.add_output_line(QString());
    action.add_output_line(QStringLiteral("====================================="));
    action.add_output_line("Duration: " + duration_text(watch.Stop().AsMSec()));
}
