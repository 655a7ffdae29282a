#include <QtCore/QHash>
#include <QtCore/QSet>

#include "contracts/actions/plugin_interface.h"
#include "contracts/actions/processor_interface.h"
#include "contracts/configuration/configuration.h"
#include "contracts/services/nearest_name.h"
#include "session/build_session.h"
#include "session/log_file.h"
#include "session/noted_questions.h"
#include "session/processor_order.h"
#include "session/run_report.h"

namespace {

// The presence of this file after a run tells that the run missed a processor.
void log_missing_processors(bool are_missing)
{
    const QString log = QStringLiteral("gox_plugin_error.log");
    if (are_missing)
        LOG_FILE(log).text() << "Couldn't create all processors, check that GOX has been built.";
    else
        LOG_FILE::remove(log);
}

// Names of the configuration that stand for no processor, or for one twice.
void report_wanted(const QVector<QString>& wanted, const QStringList& offered)
{
    QSet<QString> met;
    for (const QString& name : wanted) {
        if (met.contains(name))
            RUN_REPORT::remark(
                QStringLiteral("The configuration names the processor \"%1\" twice.").arg(name));
        else if (!offered.contains(name))
            RUN_REPORT::remark(QStringLiteral("There is no processor \"%1\", which the configuration names%2")
                                   .arg(name, suggestion_for(name, offered, QString('"'), QString('"'))));
        met.insert(name);
    }
}

// Tells processors that share a name, as when a plugin was copied under another one.
class NAMESAKES
{
public:
    // The library is empty when it is not known.
    void take(const QString& processor, const QString& library)
    {
        const auto before = m_libraries.constFind(processor);
        if (before == m_libraries.constEnd()) {
            m_libraries.insert(processor, library);
            return;
        }
        const QString place = library == *before ? "twice in " + library : *before + " and " + library;
        RUN_REPORT::remark(
            QStringLiteral("There are two processors \"%1\", and both take part: %2").arg(processor, place));
    }

private:
    QHash<QString, QString> m_libraries; // by name of the processor
};

} // namespace

void BUILD_SESSION::create_processors()
{
    const QVector<QString>& wanted = configuration->processors;
    int kept = 0;
    QStringList offered;
    NAMESAKES namesakes;
    NOTED_QUESTIONS noted;
    for (int i = 0; i < plugins.size(); ++i) {
        const QVector<PROCESSOR_INTERFACE*> made = plugins.at(i)->processors_of_plugin();
        const ASKED_QUESTIONS asked = noted.take();
        const QString library = m_plugin_files.value(i);
        for (PROCESSOR_INTERFACE* processor : made) {
            if (!processor) {
                RUN_REPORT::remark("A processor that is null is passed over, from " + library);
                continue;
            }
            const QString name = processor->name();
            offered.append(name);
            if (wanted.isEmpty() || wanted.contains(name)) {
                ++kept;
                processors.append(processor);
                processor_libraries.insert(processor, library);
                if (!asked.is_empty())
                    processor_questions.insert(processor, asked);
                namesakes.take(name, library);
            } else {
                delete processor;
            }
        }
    }
    report_wanted(wanted, offered);
    log_missing_processors(!wanted.isEmpty() && kept != wanted.size());
    exchange_sort(processors, [](PROCESSOR_INTERFACE* processor) { return processor->order_number(); });
}
