// The start-up: which steps run in which order, and what the splash says.

#include <QtCore/QFileInfo>

#include "contracts/configuration/configuration.h"
#include "contracts/paths/paths.h"
#include "contracts/services/asset_graph.h"
#include "contracts/services/progress_widget.h"
#include "contracts/services/stop_watch.h"
#include "session/build_session.h"
#include "session/log_file.h"
#include "session/run_report.h"

namespace {

// No event loop runs during the start-up, so each text is painted at once.
void show_step(PROGRESS_WIDGET& splash, const char* text)
{
    splash.set_progress(QLatin1String(text));
    splash.repaint();
    RUN_REPORT::step(QLatin1String(text));
}

} // namespace

bool BUILD_SESSION::start_up(PROGRESS_WIDGET& splash, const QString& workspace)
{
    LOG_FILE log_file(QStringLiteral("gox_startup_error.log"));
    QTextStream& log = log_file.text();

    show_step(splash, "Connecting the database...");
    if (!connect_database(workspace, log, configuration->no_progress_dialog))
        return false;
    show_step(splash, "Loading plugins...");
    if (!load_plugins(log))
        return false;
    show_step(splash, "Creating processors...");
    create_processors();
    show_step(splash, "Calculating directories...");
    calculate_directories();
    show_step(splash, "Scanning local files...");
    if (!scan_local_files(log))
        return false;

    register_graph_path_callback();
    if (configuration->load_asset_graph) {
        show_step(splash, "Loading asset graph...");
        load_asset_graph(splash);
    }
    show_step(splash, "Loading rule files...");
    load_rule_files();
    show_step(splash, "Collecting virtual files from processors...");
    collect_virtual_files();
    Tallyline::StopWatch collection_watch;
    Tallyline::StopWatch files_watch;
    collect_actions(splash, collection_watch, files_watch);
    file_map.lock(true);
    if (configuration->clean_asset_graph) {
        show_step(splash, "Cleaning asset graph...");
        clean_asset_graph(splash);
    }
    show_step(splash, "Analysing dependencies...");
    analyse_dependencies();
    return true;
}

void BUILD_SESSION::register_graph_path_callback()
{
    QTSHARED::set_absolute_to_relative_path_callback_for_asset_graph([](const QString& path) {
        if (QFileInfo(path).isRelative())
            return path;
        return PATHS::logical_path(PHYSICAL_PATH(path)).section('/', 1, -1);
    });
}
