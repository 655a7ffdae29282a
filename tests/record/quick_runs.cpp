// Runs of the program that start up once, which is much cheaper than a start each. A line
// of standard input asks for one, "incremental" or "whole" and its share: "incremental 1 3",
// "whole 0 0". The answer is a line with the number of its process, a child, and one with
// its status.

#include <QtWidgets/QApplication>

#include <cstdio>
#include <iostream>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

#include "app/run_cycle.h"
#include "contracts/configuration/configuration.h"
#include "contracts/paths/paths.h"
#include "contracts/services/command_line_options.h"
#include "contracts/services/p4_connection.h"
#include "contracts/services/progress_widget.h"
#include "contracts/services/tallyline_context.h"
#include "session/build_session.h"
#include "session/run_files.h"

namespace {

int run(bool only_out_of_date, const SHARD& shard)
{
    const QString folder = QCoreApplication::applicationDirPath();
    PATHS::initialise(folder);
    RUN_FILES::set_share(shard.number, shard.count);
    CONFIGURATION configuration;
    COMMAND_LINE_OPTIONS options;
    QString error;
    if (!configuration.load(folder + "/GOX/ci_configuration.xml", error))
        qFatal("%s", qPrintable(error));
    Tallyline::Context metrics("localhost", 0, "GOX", 0);
    Tallyline::StopWatch watch;
    P4_CONNECTION p4(true, true, false);
    PROGRESS_WIDGET splash(nullptr, Qt::WindowFlags());
    INCREMENTAL_PLAN incremental;
    incremental.only_out_of_date = only_out_of_date;
    incremental.shard = shard;
    incremental.begin_reading();
    BUILD_SESSION session(configuration, options, metrics, p4);
    if (!session.start_up(splash, QString()))
        qFatal("a run could not start");
    RUN_OPTIONS run_options;
    run_options.shard = shard.number;
    run_options.shards = shard.count;
    return RUN_CYCLE(session, configuration, run_options, incremental, p4, splash, metrics, watch,
                     {false, false, false})
        .run()
        .value_or(1);
}

} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    PROGRESS_WIDGET(nullptr, Qt::WindowFlags()).set_progress("All fonts are loaded.");
    std::string what;
    for (SHARD shard; std::cin >> what >> shard.number >> shard.count;) {
        const pid_t child = fork();
        if (child == 0)
            _exit(run(what == "incremental", shard));
        std::cout << child << std::endl;
        int status = -1;
        waitpid(child, &status, 0);
        std::cout << (WIFEXITED(status) ? WEXITSTATUS(status) : -1) << std::endl;
    }
    return 0;
}
