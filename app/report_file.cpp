#include "app/report_file.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>

#include "app/configuration_choice.h"
#include "contracts/services/file_replacement.h"
#include "contracts/services/whole_file.h"
#include "session/run_options.h"
#include "session/run_report.h"

namespace {

bool is_json(const QString& path)
{
    return path.endsWith(QLatin1String(".json"), Qt::CaseInsensitive);
}

bool has_known_form(const QString& path)
{
    return is_json(path) || path.endsWith(QLatin1String(".xml"), Qt::CaseInsensitive);
}

// A run reads its configuration and the raw data; the next one would read the report.
bool is_read_by_runs(const QFileInfo& place)
{
    const QString path = QFileInfo(place.path()).canonicalFilePath() + '/' + place.fileName();
    const QString tool_folder = QFileInfo(QCoreApplication::applicationDirPath()).canonicalFilePath();
    const QString tree = QFileInfo(tool_folder).path();
    const auto is_below = [&](const char* root) {
        return path.startsWith(tree + '/' + QLatin1String(root) + '/', Qt::CaseInsensitive);
    };
    return is_below("raw_data") || is_below("old_raw_data") ||
           path.endsWith(QLatin1String("_configuration.xml"), Qt::CaseInsensitive);
}

QString cannot_write(const QString& path, const QString& cause)
{
    return QStringLiteral("Cannot write %1: %2").arg(path, cause);
}

} // namespace

QString REPORT_FILE::fault_of(const QString& path)
{
    const QString place = behind_links(path);
    const QFileInfo folder(QFileInfo(place).path());
    if (!has_known_form(path) || !has_known_form(place))
        return QStringLiteral("--report takes a file that ends with .json or .xml: \"%1\"").arg(path);
    if (!folder.isDir())
        return QStringLiteral("--report: there is no folder %1").arg(folder.filePath());
    if (is_read_by_runs(QFileInfo(place)))
        return QStringLiteral("--report names a file that GOX reads: \"%1\"").arg(path);
    const QString cause = why_not_replaceable(place);
    if (!cause.isEmpty())
        return "--report: " + cannot_write(path, cause);
    return takes_new_files(folder.filePath())
               ? QString()
               : "--report: " + cannot_write(path, QStringLiteral("its folder is read-only"));
}

REPORT_FILE::REPORT_FILE(const RUN_OPTIONS& options, const CHOSEN_CONFIGURATION& configuration)
    : m_path(options.report)
{
    m_time.start();
    content.program_version = QStringLiteral(GOX_VERSION);
    content.started = QDateTime::currentDateTimeUtc();
    content.is_dry_run = options.dry_run;
    content.shard = options.shard;
    content.shards = options.shards;
    content.configuration = configuration.name;
    if (configuration.is_loaded)
        content.configuration_file = QFileInfo(configuration.file()).absoluteFilePath();
}

QString REPORT_FILE::prepare() const
{
    QFile old_report(behind_links(m_path));
    const bool is_gone = !is_wanted() || !old_report.exists() || old_report.remove();
    return is_gone ? QString() : cannot_write(m_path, old_report.errorString());
}

int REPORT_FILE::write(int status)
{
    if (!is_wanted())
        return status;
    content.status = status;
    content.duration = m_time.elapsed();
    content.start_up_errors = RUN_REPORT::kept_errors();
    content.remarks = RUN_REPORT::remarks();
    TARGET_FILE file(m_path);
    if (is_json(m_path))
        write_json_report(content, file);
    else
        write_junit_report(content, file);
    if (file.commit().isEmpty()) {
        RUN_REPORT::line("Report: " + m_path);
        return status;
    }
    RUN_REPORT::line(cannot_write(m_path, file.errorString()));
    return 1;
}
