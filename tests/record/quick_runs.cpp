// Runs of the program in one process, which are much cheaper than one each. For each
// line of standard input, "incremental" or another, a line with the status of the run.
// Nothing of a run is given back.

#include <QtWidgets/QApplication>

#include <cstdio>
#include <iostream>
#include <string>

#include "app/run_cycle.h"
#include "contracts/configuration/configuration.h"
#include "contracts/paths/paths.h"
#include "contracts/services/command_line_options.h"
#include "contracts/services/p4_connection.h"
#include "contracts/services/progress_widget.h"
#include "contracts/services/tallyline_context.h"
#include "session/build_session.h"

namespace {

int run(bool only_out_of_date)
{
    const QString folder = QCoreApplication::applicationDirPath();
    PATHS::initialise(folder);
    auto* const configuration = new CONFIGURATION;
    auto* const options = new COMMAND_LINE_OPTIONS;
    QString error;
    if (!configuration->load(folder + "/GOX/ci_configuration.xml", error))
        qFatal("%s", qPrintable(error));
    Tallyline::Context metrics("localhost", 0, "GOX", 0);
    Tallyline::StopWatch watch;
    P4_CONNECTION p4(true, true, false);
    PROGRESS_WIDGET splash(nullptr, Qt::WindowFlags());
    INCREMENTAL_PLAN incremental;
    incremental.only_out_of_date = only_out_of_date;
    incremental.begin_reading();
    auto* const session = new BUILD_SESSION(*configuration, *options, metrics, p4);
    if (!session->start_up(splash, QString()))
        qFatal("a run could not start");
    return RUN_CYCLE(*session, *configuration, {}, incremental, p4, splash, metrics, watch,
                     {false, false, false})
        .run()
        .value_or(-1);
}

} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    for (std::string line; std::getline(std::cin, line);) {
        std::printf("%d\n", run(line == "incremental"));
        std::fflush(stdout);
    }
    return 0;
}
