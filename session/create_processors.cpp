#include <QtCore/QFile>

#include "contracts/actions/plugin_interface.h"
#include "contracts/actions/processor_interface.h"
#include "contracts/configuration/configuration.h"
#include "session/build_session.h"
#include "session/log_file.h"
#include "session/processor_order.h"
#include "session/run_report.h"

namespace {

// The presence of this file after a run tells that the run missed a processor.
void report_missing_processors(bool are_missing)
{
    const QString text = QStringLiteral("Couldn't create all processors, check that GOX has been built.");
    const QString log = QStringLiteral("gox_plugin_error.log");
    if (!are_missing) {
        QFile::remove(LOG_FILE::path_of(log));
        return;
    }
    RUN_REPORT::line(text);
    LOG_FILE(log).text() << text;
}

} // namespace

void BUILD_SESSION::create_processors()
{
    const QVector<QString>& wanted = configuration->processors;
    int kept = 0;
    for (PLUGIN_INTERFACE* plugin : qAsConst(plugins))
        for (PROCESSOR_INTERFACE* processor : plugin->processors_of_plugin()) {
            if (wanted.isEmpty() || wanted.contains(processor->name())) {
                ++kept;
                processors.append(processor);
            } else {
                delete processor;
            }
        }
    report_missing_processors(!wanted.isEmpty() && kept != wanted.size());
    exchange_sort(processors, [](PROCESSOR_INTERFACE* processor) { return processor->order_number(); });
}
