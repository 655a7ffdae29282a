// The report of a run as JSON: an object for the run and one for each action, each on
// a line of its own. Written by hand, because Qt's way over a document costs as much as
// a large build has for the whole of its report.

#include <QtCore/QIODevice>
#include <QtCore/QMap>

#include "contracts/actions/action_interface.h"
#include "execution/build_report.h"

namespace {

const int FORMAT_VERSION = 1;

void append_escaped(QByteArray& text, uchar letter)
{
    static const char DIGITS[] = "0123456789abcdef";
    switch (letter) {
    case '"':
    case '\\':
        text.append('\\').append(char(letter));
        break;
    case '\n':
        text.append("\\n");
        break;
    case '\t':
        text.append("\\t");
        break;
    default:
        text.append("\\u00").append(DIGITS[letter >> 4]).append(DIGITS[letter & 15]);
    }
}

// Half a letter, which is no text, becomes a question mark in UTF-8.
QByteArray json_of(const QString& value)
{
    const QByteArray bytes = value.toUtf8();
    QByteArray text;
    text.reserve(bytes.size() + 2);
    text.append('"');
    for (const char letter : bytes) {
        const bool is_plain = uchar(letter) >= 0x20 && letter != '"' && letter != '\\';
        if (is_plain)
            text.append(letter);
        else
            append_escaped(text, uchar(letter));
    }
    return text.append('"');
}

QByteArray json_of(bool value)
{
    return value ? "true" : "false";
}

QByteArray json_of(qint64 value)
{
    return QByteArray::number(value);
}

QByteArray json_of(const QStringList& values)
{
    QByteArray text("[");
    for (const QString& value : values) {
        if (text.size() > 1)
            text.append(',');
        text.append(json_of(value));
    }
    return text.append(']');
}

class JSON_OBJECT
{
public:
    template <typename VALUE>
    JSON_OBJECT& add(const char* name, const VALUE& value)
    {
        return add_text(name, json_of(value));
    }

    JSON_OBJECT& add_if_set(const char* name, const QString& value)
    {
        return value.isEmpty() ? *this : add(name, value);
    }

    JSON_OBJECT& add_text(const char* name, const QByteArray& json)
    {
        m_text.append(m_text.isEmpty() ? "{\"" : ",\"").append(name).append("\":").append(json);
        return *this;
    }

    QByteArray text() const { return m_text.isEmpty() ? QByteArray("{}") : m_text + '}'; }

private:
    QByteArray m_text;
};

// An output ends with a line end, which begins no further line.
QStringList lines_of(const REPORTED_ACTION& action)
{
    QString text = action.output.left(action.said);
    if (text.endsWith('\n'))
        text.chop(1);
    return text.isEmpty() ? QStringList() : text.split('\n');
}

QByteArray json_of(const REPORTED_ACTION& action)
{
    const QString state = state_word(action);
    JSON_OBJECT object;
    object.add("processor", action.processor)
        .add("name", action.name)
        .add("short_name", action.short_name)
        .add("state", state);
    if (state == QLatin1String("unknown"))
        object.add("state_number", qint64(action.state));
    if (action.duration >= 0)
        object.add("duration_ms", qint64(action.duration));
    return object.add("targets", action.targets)
        .add("messages", lines_of(action))
        .add_if_set("reason", action.reason)
        .add_if_set("explanation", action.explanation)
        .text();
}

QByteArray counts_of(const QVector<REPORTED_ACTION>& actions)
{
    QMap<QString, qint64> counts;
    for (const REPORTED_ACTION& action : actions)
        ++counts[state_word(action)];
    JSON_OBJECT object;
    for (auto count = counts.cbegin(); count != counts.cend(); ++count)
        object.add(count.key().toLatin1(), count.value());
    return object.text();
}

QByteArray json_of_run(const BUILD_REPORT& report)
{
    JSON_OBJECT object;
    object.add("gox_version", report.program_version)
        .add("started", report.started.toString(Qt::ISODateWithMs))
        .add("duration_ms", report.duration)
        .add("status", qint64(report.status))
        .add("stopped", report.was_stopped)
        .add("dry_run", report.is_dry_run);
    if (report.shards > 0)
        object.add_text(
            "shard",
            JSON_OBJECT().add("number", qint64(report.shard)).add("of", qint64(report.shards)).text());
    return object.add("configuration", report.configuration)
        .add_if_set("configuration_file", report.configuration_file)
        .add("start_up", QString(report.has_started_up ? "succeeded" : "failed"))
        .add("errors", report.start_up_errors)
        .add("remarks", report.remarks)
        .add_text("counts", counts_of(report.actions))
        .text();
}

} // namespace

void write_json_report(const BUILD_REPORT& report, QIODevice& device)
{
    device.write("{\"format\":\"gox-build-report\",\"version\":" + json_of(qint64(FORMAT_VERSION)) +
                 ",\n\"run\":" + json_of_run(report) + ",\n\"actions\":[");
    const char* separator = "\n";
    for (const REPORTED_ACTION& action : report.actions) {
        device.write(separator + json_of(action));
        separator = ",\n";
    }
    device.write("\n]}\n");
}
