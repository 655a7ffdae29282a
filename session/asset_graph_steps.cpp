// Loading and cleaning of the asset graph: both walk a list of files and report
// on the splash by the clock.

#include <QtCore/QDateTime>
#include <QtCore/QSet>

#include "contracts/paths/paths.h"
#include "contracts/services/asset_graph.h"
#include "contracts/services/progress_widget.h"
#include "session/build_session.h"
#include "session/log_file.h"
#include "session/run_report.h"

namespace {

// Shows a percentage, for the first item and then about once a second.
class PERCENTAGE
{
public:
    PERCENTAGE(PROGRESS_WIDGET& splash, const char* text, int items)
        : m_splash(splash),
          m_text(QLatin1String(text)),
          m_items(items),
          m_shown_at(QDateTime::currentDateTimeUtc().addDays(-1))
    {
    }

    void show(int item)
    {
        const QDateTime now = QDateTime::currentDateTimeUtc();
        if (m_shown_at.secsTo(now) == 0)
            return;
        m_shown_at = now;
        m_splash.set_progress(m_text.arg(qint64(100) * item / m_items));
        m_splash.repaint();
    }

private:
    PROGRESS_WIDGET& m_splash;
    QString m_text;
    int m_items;
    QDateTime m_shown_at;
};

bool is_graph_file(const LOGICAL_PATH& path)
{
    return static_cast<const QString&>(path).endsWith(QLatin1String(".agf"));
}

} // namespace

void BUILD_SESSION::load_asset_graph(PROGRESS_WIDGET& splash)
{
    QStringList errors;
    asset_graph->load_binary(PATHS::working_data() + "/asset_graph.bin", errors, false);

    QStringList files;
    for (auto place = file_map.begin(); place != file_map.end(); ++place)
        if (is_graph_file(place.key()))
            files.append(place.value()->physical);
    PERCENTAGE percentage(splash, "Loading asset graph... %1%", files.size());
    for (int i = 0; i < files.size(); ++i) {
        percentage.show(i);
        QString error;
        asset_graph->add(files.at(i), error);
        if (!error.isEmpty())
            errors.append(error);
    }
    asset_graph->check_dependencies(errors);

    LOG_FILE log(QStringLiteral("gox_asset_graph_error.log"));
    log.text() << errors.join(QStringLiteral("\r\n"));
    const QString place = log.close() ? ", see " + LOG_FILE::path_of(log.name()) : QString();
    if (!errors.isEmpty())
        RUN_REPORT::line(
            QStringLiteral("The asset graph has %1 problem(s)").arg(QString::number(errors.size())) + place);
}

void BUILD_SESSION::clean_asset_graph(PROGRESS_WIDGET& splash)
{
    QSet<QString> known;
    for (auto place = file_map.begin(); place != file_map.end(); ++place)
        if (is_graph_file(place.key()))
            known.insert(place.key().section('/', 1, -1));
    const QStringList names = asset_graph->get_all_agf_filenames();
    PERCENTAGE percentage(splash, "Cleaning asset graph... %1%", names.size());
    for (int i = 0; i < names.size(); ++i) {
        percentage.show(i);
        if (!known.contains(names.at(i)))
            asset_graph->remove_fragments_by_agf_filename(names.at(i));
    }
}
