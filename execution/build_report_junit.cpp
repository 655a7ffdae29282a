// The report of a run in the JUnit form that build servers read: a suite for the run
// itself and one for each processor, with a case for each action.

#include <QtCore/QHash>
#include <QtCore/QSet>
#include <QtCore/QXmlStreamWriter>

#include "contracts/actions/action_interface.h"
#include "contracts/services/xml_text.h"
#include "execution/build_report.h"

namespace {

// Many readers give up on a text of 10 MB, and with it on the whole report.
const int MOST_OF_MESSAGES = 1000000; // letters
const int MOST_OF_LINE = 1000;

struct OUTCOME
{
    const char* element; // null for an action that succeeded
    QString message;
};

// A build server takes "skipped" for good. What did not run though it should have is
// therefore an "error", the element for a case that came to no result.
OUTCOME outcome_of(const REPORTED_ACTION& action, bool is_dry_run)
{
    if (action.is_up_to_date)
        return {"skipped", action.reason.isEmpty() ? QStringLiteral("up to date")
                                                   : "up to date, with warnings last time: " + action.reason};
    if (is_dry_run)
        return {"skipped", action.explanation.isEmpty() ? QStringLiteral("would run")
                                                        : "would run: " + action.explanation};
    switch (action.state) {
    case ACTION_SUCCEEDED:
    case ACTION_SUCCEEDED_WITH_WARNINGS:
        return {nullptr, QString()};
    case ACTION_FAILED:
    case ACTION_FAILED_ALONE:
        return {"failure", action.reason.isEmpty() ? QStringLiteral("failed") : action.reason};
    case ACTION_DEPENDENCY_FAILED:
        return {"error", QStringLiteral("not run because a dependency failed")};
    case ACTION_NOT_RUN:
        return {"error", QStringLiteral("not run")};
    default:
        return {"error", QStringLiteral("in unknown state %1").arg(action.state)};
    }
}

// Control letters, and halves of a letter, no XML can hold, not even escaped.
QString for_xml(QString text)
{
    for (int i = 0; (i = first_not_for_xml(text, i)) >= 0;)
        text[i] = QChar::ReplacementCharacter;
    return text;
}

// Without its middle when it is longer than that.
QString shortened(const QString& text, int most)
{
    const int left_out = text.size() - most;
    if (left_out <= 0)
        return text;
    return text.left(most / 2) +
           QStringLiteral("\n... %1 letters are left out here, the log has them ...\n").arg(left_out) +
           text.right(most - most / 2);
}

struct SUITE
{
    QString name;
    QVector<const REPORTED_ACTION*> actions;
    QHash<QByteArray, int> outcomes; // how many of each element
    qint64 duration = 0;             // milliseconds
};

QVector<SUITE> suites_of(const BUILD_REPORT& report)
{
    QVector<SUITE> suites;
    QHash<QString, int> places; // by name
    for (const REPORTED_ACTION& action : report.actions) {
        const auto known = places.constFind(action.processor);
        const int place = known == places.constEnd() ? suites.size() : *known;
        if (place == suites.size()) {
            places.insert(action.processor, place);
            suites.append({action.processor, {}, {}, 0});
        }
        SUITE& suite = suites[place];
        suite.actions.append(&action);
        suite.duration += qMax(action.duration, 0);
        if (const char* const element = outcome_of(action, report.is_dry_run).element)
            ++suite.outcomes[element];
    }
    return suites;
}

// A server that meets a name twice in a suite keeps one of the two cases.
class DISTINCT_NAMES
{
public:
    QString distinct(const QString& name)
    {
        QString result = name;
        for (int number = 2; m_names.contains(result); ++number)
            result = name + QStringLiteral(" (%1)").arg(number);
        m_names.insert(result);
        return result;
    }

private:
    QSet<QString> m_names;
};

class JUNIT_WRITER
{
public:
    JUNIT_WRITER(const BUILD_REPORT& report, QIODevice& device) : m_report(report), m_xml(&device) {}

    void write()
    {
        const QVector<SUITE> suites = suites_of(m_report);
        m_xml.writeStartDocument();
        line(0);
        m_xml.writeStartElement(QStringLiteral("testsuites"));
        attribute("name", QStringLiteral("GOX"));
        attribute("time", seconds(m_report.duration));
        write_run();
        for (const SUITE& suite : suites)
            write_suite(suite);
        line(0);
        m_xml.writeEndElement();
        line(0);
        m_xml.writeEndDocument();
    }

private:
    // Where the reports of all shares are read together, suites of one name and one second
    // may be taken for one, and so may cases of one name.
    QString share() const { return QStringLiteral("%1-of-%2").arg(m_report.shard).arg(m_report.shards); }
    QString name_in_run(const QString& name) const
    {
        return m_report.shards > 0 ? name + ' ' + share() : name;
    }

    static QString seconds(qint64 milliseconds) { return QString::number(milliseconds / 1000.0, 'f', 3); }

    void line(int depth) { m_xml.writeCharacters('\n' + QString(depth, ' ')); }

    void attribute(const char* name, const QString& value)
    {
        m_xml.writeAttribute(QLatin1String(name), for_xml(value));
    }

    void begin_suite(const QString& name, int tests, const QHash<QByteArray, int>& outcomes)
    {
        line(1);
        m_xml.writeStartElement(QStringLiteral("testsuite"));
        attribute("name", name);
        if (m_report.shards > 0)
            attribute("id", share());
        attribute("tests", QString::number(tests));
        attribute("failures", QString::number(outcomes.value("failure")));
        attribute("errors", QString::number(outcomes.value("error")));
        attribute("skipped", QString::number(outcomes.value("skipped")));
        attribute("timestamp", m_report.started.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")));
    }

    void end_suite()
    {
        line(1);
        m_xml.writeEndElement();
    }

    void begin_case(const QString& suite, const QString& name)
    {
        line(2);
        m_xml.writeStartElement(QStringLiteral("testcase"));
        attribute("classname", suite);
        attribute("name", name);
    }

    void write_outcome(const char* element, const QString& type, const QString& message, const QString& text)
    {
        m_xml.writeStartElement(QLatin1String(element));
        attribute("message", message.left(MOST_OF_LINE));
        attribute("type", type);
        m_xml.writeCharacters(for_xml(text.isEmpty() ? message : text)); // GitLab shows no message
        m_xml.writeEndElement();
    }

    void write_property(const char* name, const QString& value)
    {
        line(3);
        m_xml.writeEmptyElement(QStringLiteral("property"));
        attribute("name", QLatin1String(name));
        attribute("value", value);
    }

    void write_properties()
    {
        line(2);
        m_xml.writeStartElement(QStringLiteral("properties"));
        write_property("gox_version", m_report.program_version);
        write_property("configuration", m_report.configuration);
        if (m_report.shards > 0)
            write_property("shard", QStringLiteral("%1/%2").arg(m_report.shard).arg(m_report.shards));
        line(2);
        m_xml.writeEndElement();
    }

    // Never empty: a file without a case is an error to some servers.
    void write_run()
    {
        const QString suite = QStringLiteral("GOX");
        const bool is_cut_short = m_report.was_stopped && m_report.status != 0;
        const int errors = (m_report.has_started_up ? 0 : 1) + (is_cut_short ? 1 : 0);
        begin_suite(suite, is_cut_short ? 2 : 1, {{"error", errors}});
        write_properties();
        begin_case(suite, name_in_run(QStringLiteral("start-up")));
        if (!m_report.has_started_up)
            write_outcome("error", QStringLiteral("failed"), QStringLiteral("the start-up failed"),
                          m_report.start_up_errors.join('\n'));
        if (!m_report.remarks.isEmpty())
            m_xml.writeTextElement(QStringLiteral("system-out"), for_xml(m_report.remarks.join('\n')));
        m_xml.writeEndElement();
        if (is_cut_short) {
            begin_case(suite, name_in_run(QStringLiteral("build")));
            write_outcome("error", QStringLiteral("stopped"), QStringLiteral("the build was stopped"),
                          QString());
            m_xml.writeEndElement();
        }
        end_suite();
    }

    void write_suite(const SUITE& suite)
    {
        begin_suite(suite.name, suite.actions.size(), suite.outcomes);
        attribute("time", seconds(suite.duration));
        DISTINCT_NAMES names;
        for (const REPORTED_ACTION* action : suite.actions)
            write_case(suite.name, names.distinct(action->name), *action);
        end_suite();
    }

    // The messages once: what failed has them in its own element, which is what servers show.
    void write_case(const QString& suite, const QString& name, const REPORTED_ACTION& action)
    {
        begin_case(suite, name);
        attribute("time", seconds(qMax(action.duration, 0)));
        const OUTCOME outcome = outcome_of(action, m_report.is_dry_run);
        const QString messages = shortened(action.output.left(action.said), MOST_OF_MESSAGES);
        if (outcome.element)
            write_outcome(outcome.element, state_word(action), outcome.message, messages);
        else if (!messages.isEmpty())
            m_xml.writeTextElement(QStringLiteral("system-out"), for_xml(messages));
        m_xml.writeEndElement();
    }

    const BUILD_REPORT& m_report;
    QXmlStreamWriter m_xml;
};

} // namespace

void write_junit_report(const BUILD_REPORT& report, QIODevice& device)
{
    JUNIT_WRITER(report, device).write();
}
