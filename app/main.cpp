// The process entry: it owns every long-lived object of a run, decides which
// configuration applies, starts the session up behind a splash, and leaves by
// one of three roads.

#include <QtCore/QFileInfo>
#include <QtWidgets/QApplication>

#include <csignal>
#include <cstdio>
#include <optional>

#ifdef Q_OS_UNIX
#include <fcntl.h>
#endif

#include "app/attendance.h"
#include "app/configuration_choice.h"
#include "app/crash_report.h"
#include "app/memory.h"
#include "app/platform_choice.h"
#include "app/program_options.h"
#include "app/readable_style.h"
#include "app/report_file.h"
#include "app/run_cycle.h"
#include "app/run_options.h"
#include "app/terminate_process.h"
#include "app/tool_folder.h"
#include "app/unattended_boxes.h"
#include "app/utf8_texts.h"
#include "contracts/paths/paths.h"
#include "contracts/services/fw_message_box.h"
#include "contracts/services/p4_connection.h"
#include "contracts/services/plain_message_box.h"
#include "contracts/services/progress_widget.h"
#include "contracts/services/qt_workarounds.h"
#include "contracts/services/tallyline_context.h"
#include "contracts/services/thread_manager.h"
#include "contracts/services/tools_metrics.h"
#include "execution/reported_actions.h"
#include "session/build_session.h"
#include "session/run_files.h"
#include "session/run_report.h"
#include "session/signal_stack.h"
#include "session/start_up_hooks.h"
#include "session/work_at_hand.h"

namespace {

const int APPLICATION_NUMBER = 44;

// Prints what --help or --version asks for; false when neither is there.
bool answer_without_start(int argc, char** argv)
{
    COMMAND_LINE_OPTIONS options(program_options());
    QStringList errors; // of no interest to who wants help
    options.initialise(argc, argv, errors);
    if (options.exists(QStringLiteral("help")))
        std::fputs(help_text().toLocal8Bit().constData(), stdout);
    else if (options.exists(QStringLiteral("version")))
        std::puts("GOX " GOX_VERSION);
    else
        return false;
    return true;
}

#ifdef Q_OS_UNIX

// The first files that are opened would get the numbers of a console that was
// closed before the start, and with them all that is meant for the console.
void fill_closed_console()
{
    for (int stream = 0; stream <= 2; ++stream)
        if (::fcntl(stream, F_GETFD) < 0)
            (void)::open("/dev/null", O_RDWR); // gets the lowest free number, which is this one
}

// A console that goes away or a limit on file sizes must not end the run.
void prepare_process()
{
    fill_closed_console();
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

#else

void prepare_process() {}

#endif

// What the command line asks for, once the configuration is there that it is for.
struct ORDER
{
    CHOSEN_CONFIGURATION configuration;
    RUN_OPTIONS options;
    QStringList faults; ///< of the options; the run must not begin
    ATTENDANCE attendance;
};

// Who answers boxes and who hears what the run does, from here on.
ATTENDANCE attend(bool has_display, const CHOSEN_CONFIGURATION& configuration,
                  const COMMAND_LINE_OPTIONS& options, QApplication& application)
{
    const ATTENDANCE result = attendance(has_display, configuration, options);
    if (!result.has_person)
        new UNATTENDED_BOXES(&application);
    if (result.tells_the_console)
        RUN_REPORT::start();
    return result;
}

void report_configuration(const CHOSEN_CONFIGURATION& configuration, REPORT_FILE& report)
{
    if (configuration.is_refused()) {
        const QString error = "Failed to load configuration!\n" + configuration.error;
        show_plain_box(QMessageBox::Critical, nullptr, error);
        RUN_REPORT::keep_error(error);
        terminate_process(report.write(1));
    }
    if (configuration.is_loaded)
        RUN_REPORT::line("Configuration: " + QFileInfo(configuration.file()).absoluteFilePath());
    else if (!QFileInfo::exists(configuration.file()))
        RUN_REPORT::line("Configuration: none, " + configuration.error);
    else if (RUN_REPORT::is_on())
        RUN_REPORT::error("The default configuration is left out: " + configuration.error);
    for (const QString& remark : configuration.remarks)
        RUN_REPORT::remark(remark);
}

void show_option_errors(const QStringList& errors)
{
    if (!errors.isEmpty())
        show_plain_box(QMessageBox::Warning, nullptr, errors.join('\n'));
}

// What only silent runs can be asked for; appends to the option errors where the run
// is not one of them. Of a run that can't begin there is a report, if nothing else.
void read_order(const COMMAND_LINE_OPTIONS& options, ORDER& order, QStringList& option_errors)
{
    if (order.configuration.is_refused())
        order.options.report = asked_report(options);
    else if (order.configuration.record.silent)
        order.options = read_run_options(options, order.faults);
    else
        option_errors += misplaced_run_options(options);
}

// Everything about the options, up to a configuration that is there. False when the
// person did not choose one.
bool choose_configuration(const COMMAND_LINE_OPTIONS& options, QStringList option_errors, bool has_display,
                          QApplication& application, ORDER& order)
{
    QString name = configuration_name_of(options);
    const bool is_to_choose = name == QLatin1String("choose");
    if (!is_to_choose) {
        order.configuration = load_configuration(name);
        read_order(options, order, option_errors);
    }
    order.attendance = attend(has_display, order.configuration, options, application);
    show_option_errors(option_errors);
    RUN_OPTIONS asked = order.options;
    asked.dry_run |= is_to_choose && options.exists(QStringLiteral("dry_run"));
    check_options(options, asked);
    report_other_folder();
    if (is_to_choose) {
        if (!has_display)
            RUN_REPORT::error(QStringLiteral("There is no display to choose a configuration on. Name one."));
        if (!ask_for_configuration(name))
            return false;
        order.configuration = load_configuration(name);
        order.configuration.is_chosen_by_hand = true;
        QStringList errors;
        read_order(options, order, errors);
        order.attendance = attend(has_display, order.configuration, options, application);
        show_option_errors(errors);
    }
    return true;
}

// A run that was asked for in words that make no sense would build something else.
void refuse_to_begin(const QString& fault)
{
    if (fault.isEmpty())
        return;
    show_plain_box(QMessageBox::Critical, nullptr, fault);
    terminate_process(1);
}

void apply(const RUN_OPTIONS& options)
{
    RUN_FILES::set_share(options.shard, options.shards);
    name_call_stack(RUN_FILES::name(QStringLiteral("call_stack.txt")));
    if (options.dry_run) {
        RUN_FILES::write_none();
        leave_no_call_stack();
    }
}

// No report of an earlier run is to be taken for one of this run.
void report_missing_tree(int argc, char** argv, bool has_display)
{
    COMMAND_LINE_OPTIONS options(program_options());
    QStringList option_errors;
    options.initialise(argc, argv, option_errors);
    report_missing_raw_data(has_display && !options.exists(QStringLiteral("dont_stop_on_error")));
    RUN_OPTIONS run_options;
    run_options.report = asked_report(options);
    REPORT_FILE report(run_options, CHOSEN_CONFIGURATION());
    if (report.prepare().isEmpty())
        report.write(1);
}

void set_up(INCREMENTAL_PLAN& incremental, const RUN_OPTIONS& options)
{
    incremental.only_out_of_date = options.only_out_of_date;
    incremental.explains = options.explain || options.dry_run || !options.report.isEmpty();
    incremental.writes = !options.dry_run;
    incremental.shard = {options.shard, options.shards};
}

// Everything from the command line to the end of the cycle. The exit status of
// a run that came to its end, or nothing when it is to leave by the failure road.
std::optional<int> run(int argc, char** argv, QApplication& application, Tallyline::Context& metrics,
                       Tallyline::StopWatch& total_watch, bool has_display)
{
    COMMAND_LINE_OPTIONS options(program_options());
    QStringList option_errors;
    options.initialise(argc, argv, option_errors);
    ORDER order;
    if (!choose_configuration(options, option_errors, has_display, application, order))
        return std::nullopt;
    refuse_to_begin(order.faults.join('\n'));
    apply(order.options);
    REPORT_FILE report(order.options, order.configuration);
    refuse_to_begin(report.prepare());
    report_configuration(order.configuration, report);
    const CONFIGURATION& configuration = order.configuration.record;
    const TREE_LOCK tree_lock;
    if (!tree_lock.other_run().isEmpty())
        RUN_REPORT::remark("Another GOX runs in this tree, " + tree_lock.other_run() +
                           "; both may write the same files and logs.");

    P4_CONNECTION p4(true, true, configuration.p4_option);
    PROGRESS_WIDGET splash(nullptr, Qt::Tool | Qt::FramelessWindowHint);
    splash.update_bulletin_board(BULLETIN_BOARD::CATEGORY_GOX);
    if (order.attendance.has_display && !options.exists(QStringLiteral("nosplashscreen")))
        QT_WORKAROUNDS::show_at_once(&splash);
    splash.repaint();

    const EXIT_WATCH exit_watch;
    INCREMENTAL_PLAN incremental;
    set_up(incremental, order.options);
    incremental.begin_reading();
    BUILD_SESSION session(configuration, options, metrics, p4);
    if (options.exists(QStringLiteral("swallow_startup_asserts")))
        FW::fw_message_box_hook = startup_message_hook;
    const bool is_started = session.start_up(splash, options.value(QStringLiteral("workspace")));
    settle_heap();
    FW::fw_message_box_hook = nullptr;
    if (!is_started) {
        report.write(1);
        return std::nullopt;
    }
    report.content.has_started_up = true;
    const EXIT_WATCH exit_watch_ahead_of_plugins;
    RUN_CYCLE cycle(session, configuration, order.options, incremental, p4, splash, metrics, total_watch,
                    order.attendance);
    const std::optional<int> exit_status = cycle.run();
    if (report.is_wanted()) {
        WORK_AT_HAND::note(QStringLiteral("the report")); // which asks plugins for their texts
        report.content.actions = reported_actions(session, cycle.judgement());
    }
    report.content.was_stopped = cycle.was_stopped();
    const int status = report.write(exit_status.value_or(1));
    return exit_status ? std::optional<int>(status) : std::nullopt;
}

} // namespace

int main(int argc, char** argv)
{
    prepare_heap();
    prepare_process();
    const UTF8_TEXTS texts;
    if (answer_without_start(argc, argv))
        return 0;
    install_crash_report();
    const SIGNAL_STACK signal_stack;
    choose_platform(argc, argv);

    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps); // icons are drawn as sharp as the screen is
    QApplication application(argc, argv);
    QApplication::setApplicationVersion(QStringLiteral(GOX_VERSION)); // which the metrics tell
    const bool has_display = find_display();
    QApplication::setStyle(QStringLiteral("windowsxp"));
    if (has_display)
        QApplication::setStyle(new READABLE_STYLE(QApplication::style()->objectName()));
    const QString tool_name = QStringLiteral("GoX");
    TOOLS_METRICS::set_application(application);
    TOOLS_METRICS::tool_started(tool_name);
    UTILITYDLL::thread_manager().initialize(0, true);
    {
        Tallyline::Context metrics(TOOLS_METRICS::ENDPOINT, TOOLS_METRICS::PORT, "GOX", APPLICATION_NUMBER);
        Tallyline::StopWatch total_watch;
        if (!PATHS::initialise(QCoreApplication::applicationDirPath())) {
            report_missing_tree(argc, argv, has_display);
            terminate_process(1);
        }
        // Static destruction is skipped on purpose when the run came to its end.
        if (const std::optional<int> exit_status =
                run(argc, argv, application, metrics, total_watch, has_display))
            terminate_process(*exit_status);
    }
    TOOLS_METRICS::tool_finished(tool_name);
    return 1;
}
