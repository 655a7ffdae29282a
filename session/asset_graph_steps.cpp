// Loading and cleaning of the asset graph: both walk a list of files and report
// on the splash by the clock.

#include <QtCore/QDateTime>
#include <QtCore/QHash>
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

struct GRAPH_FILE
{
    QString path;
    QString name; // what the graph keeps the fragments of the file under
};

QVector<GRAPH_FILE> graph_files(const BUILD_SESSION::FILE_MAP& file_map)
{
    QVector<GRAPH_FILE> files;
    for (auto place = file_map.begin(); place != file_map.end(); ++place) {
        const QString& key = place.key();
        if (key.endsWith(QLatin1String(".agf")))
            files.append({place.value()->physical, key.section('/', 1, -1)});
    }
    return files;
}

// The graph has one place for a name, and the last file of that name takes it.
void report_replaced(const QString& replaced, const QString& file)
{
    if (!replaced.isEmpty())
        RUN_REPORT::remark(
            QStringLiteral(
                "The assets of %1 do not count: %2 takes its place in the asset graph, because both "
                "have the same path below their roots. Rename one of them.")
                .arg(replaced, file));
}

} // namespace

void BUILD_SESSION::load_asset_graph(PROGRESS_WIDGET& splash)
{
    QStringList errors;
    asset_graph->load_binary(PATHS::working_data() + "/asset_graph.bin", errors, false);

    const QVector<GRAPH_FILE> files = graph_files(file_map);
    PERCENTAGE percentage(splash, "Loading asset graph... %1%", files.size());
    QHash<QString, QString> counting; // by name, the file whose assets are in the graph
    for (int i = 0; i < files.size(); ++i) {
        percentage.show(i);
        const GRAPH_FILE& file = files.at(i);
        QString error;
        asset_graph->add(file.path, error);
        if (!error.isEmpty()) {
            errors.append(error);
            continue;
        }
        report_replaced(counting.value(file.name), file.path);
        counting.insert(file.name, file.path);
    }
    asset_graph->check_dependencies(errors);

    LOG_FILE log(QStringLiteral("gox_asset_graph_error.log"));
    log.text() << errors.join(QStringLiteral("\r\n"));
    const QString place = log.close() ? ", see " + LOG_FILE::path_of(log.name()) : QString();
    if (!errors.isEmpty())
        RUN_REPORT::remark(
            QStringLiteral("The asset graph has %1 problem(s)").arg(QString::number(errors.size())) + place);
}

void BUILD_SESSION::clean_asset_graph(PROGRESS_WIDGET& splash)
{
    QSet<QString> known;
    for (const GRAPH_FILE& file : graph_files(file_map))
        known.insert(file.name);
    const QStringList names = asset_graph->get_all_agf_filenames();
    PERCENTAGE percentage(splash, "Cleaning asset graph... %1%", names.size());
    for (int i = 0; i < names.size(); ++i) {
        percentage.show(i);
        if (!known.contains(names.at(i)))
            asset_graph->remove_fragments_by_agf_filename(names.at(i));
    }
}
