// The report of a run as JSON: an object for the run and one for each action, each on
// a line of its own.

#include <QtCore/QIODevice>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include "contracts/actions/action_interface.h"
#include "execution/build_report.h"

namespace {

const int FORMAT_VERSION = 1;

QByteArray text_of(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

// An output ends with a line end, which begins no further line.
QJsonArray lines_of(const REPORTED_ACTION& action)
{
    QStringRef text = action.output.leftRef(action.said);
    if (text.endsWith('\n'))
        text.chop(1);
    QJsonArray lines;
    if (!text.isEmpty())
        for (const QStringRef& line : text.split('\n'))
            lines.append(line.toString());
    return lines;
}

void insert_if_set(QJsonObject& object, const QString& key, const QString& value)
{
    if (!value.isEmpty())
        object.insert(key, value);
}

QJsonObject object_of(const REPORTED_ACTION& action)
{
    QJsonObject object{{"processor", action.processor},
                       {"name", action.name},
                       {"short_name", action.short_name},
                       {"state", state_word(action)},
                       {"duration_ms", action.duration < 0 ? QJsonValue() : QJsonValue(action.duration)},
                       {"targets", QJsonArray::fromStringList(action.targets)},
                       {"messages", lines_of(action)}};
    if (object.value(QStringLiteral("state")) == QLatin1String("unknown"))
        object.insert(QStringLiteral("state_number"), action.state);
    insert_if_set(object, QStringLiteral("reason"), action.reason);
    insert_if_set(object, QStringLiteral("explanation"), action.explanation);
    return object;
}

QJsonObject counts_of(const BUILD_REPORT& report)
{
    QMap<QString, int> counts;
    for (const REPORTED_ACTION& action : report.actions)
        ++counts[state_word(action)];
    QJsonObject object;
    for (auto count = counts.cbegin(); count != counts.cend(); ++count)
        object.insert(count.key(), count.value());
    return object;
}

QJsonObject object_of(const BUILD_REPORT& report)
{
    QJsonObject object{{"gox_version", report.program_version},
                       {"started", report.started.toString(Qt::ISODateWithMs)},
                       {"duration_ms", report.duration},
                       {"status", report.status},
                       {"stopped", report.was_stopped},
                       {"dry_run", report.is_dry_run},
                       {"configuration", report.configuration},
                       {"start_up", report.has_started_up ? "succeeded" : "failed"},
                       {"errors", QJsonArray::fromStringList(report.start_up_errors)},
                       {"remarks", QJsonArray::fromStringList(report.remarks)},
                       {"counts", counts_of(report)}};
    insert_if_set(object, QStringLiteral("configuration_file"), report.configuration_file);
    if (report.shards > 0)
        object.insert(QStringLiteral("shard"), QJsonObject{{"number", report.shard}, {"of", report.shards}});
    return object;
}

} // namespace

void write_json_report(const BUILD_REPORT& report, QIODevice& device)
{
    device.write("{\"format\":\"gox-build-report\",\"version\":" + QByteArray::number(FORMAT_VERSION) +
                 ",\n\"run\":" + text_of(object_of(report)) + ",\n\"actions\":[");
    const char* separator = "\n";
    for (const REPORTED_ACTION& action : report.actions) {
        device.write(separator + text_of(object_of(action)));
        separator = ",\n";
    }
    device.write("\n]}\n");
}
