#include "app/run_options.h"

#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>

#include "app/report_file.h"
#include "contracts/services/command_line_options.h"
#include "session/run_files.h"

namespace {

const char* const RUN_OPTION_NAMES[] = {"only_out_of_date", "explain", "dry_run", "report", "shard"};

QString read_shard(const QString& value, RUN_OPTIONS& result)
{
    static const QRegularExpression form(QStringLiteral("^([0-9]{1,6})/([0-9]{1,6})$"));
    const QRegularExpressionMatch match = form.match(value);
    const int shard = match.captured(1).toInt();
    const int shards = match.captured(2).toInt();
    if (shard < 1 || shard > shards)
        return QStringLiteral("--shard takes K/N, with K from 1 to N: \"%1\"").arg(value);
    result.shard = shard;
    result.shards = shards;
    return QString();
}

} // namespace

QString asked_report(const COMMAND_LINE_OPTIONS& options)
{
    QStringList faults;
    const RUN_OPTIONS asked = read_run_options(options, faults);
    return faults.isEmpty() ? asked.report : QString();
}

RUN_OPTIONS read_run_options(const COMMAND_LINE_OPTIONS& options, QStringList& errors)
{
    RUN_OPTIONS result;
    result.only_out_of_date = options.exists(QStringLiteral("only_out_of_date"));
    result.explain = options.exists(QStringLiteral("explain"));
    result.dry_run = options.exists(QStringLiteral("dry_run"));
    if (options.exists(QStringLiteral("shard")))
        errors.append(read_shard(options.value(QStringLiteral("shard")), result));
    if (options.exists(QStringLiteral("report"))) {
        const QFileInfo file(options.value(QStringLiteral("report")));
        result.report = RUN_FILES::name_for_share(file.absoluteFilePath(), result.shard, result.shards);
        errors.append(REPORT_FILE::fault_of(result.report));
    }
    errors.removeAll(QString());
    return result;
}

QStringList misplaced_run_options(const COMMAND_LINE_OPTIONS& options)
{
    QStringList errors;
    for (const char* name : RUN_OPTION_NAMES)
        if (options.exists(QLatin1String(name)))
            errors.append(QStringLiteral("--%1 is for silent configurations.").arg(QLatin1String(name)));
    return errors;
}
