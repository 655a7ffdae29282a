#include "tests/plugins/script.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QMap>
#include <QtCore/QRegularExpression>

namespace {

const qint64 MOST_BYTES = 64 * 1024 * 1024;

// What the argument of each word has to look like.
using GRAMMAR = QMap<QString, QString>;

const QString NOTHING, ANYTHING = QStringLiteral(".*"), TEXT = QStringLiteral(".+"),
                       NUMBER = QStringLiteral("-?\\d{1,9}"), PATH = QStringLiteral(".*/.*"),
                       TIME = QStringLiteral("\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ");
const QString CRASH = QStringLiteral("\\w+ (\\d+|overflow|throw|exit:\\d+)");
const GRAMMAR OF_A_SCRIPT = {{"trace", TEXT}, {"processor", TEXT}, {"crashes", CRASH}};
const GRAMMAR OF_A_PROCESSOR = {
    {"action", TEXT},         {"order", NUMBER},           {"scan", TEXT},
    {"virtual", PATH},        {"collecting_raises", TEXT}, {"collecting_warns", TEXT},
    {"collecting_asks", TEXT}};
const GRAMMAR OF_AN_ACTION = {{"action", TEXT},
                              {"long", TEXT},
                              {"group", TEXT},
                              {"reads", TEXT},
                              {"writes", PATH},
                              {"preset", TEXT},
                              {"begins", NUMBER},
                              {"total", NUMBER},
                              {"ends", NUMBER},
                              {"stamp", TIME},
                              {"depends", TEXT},
                              {"pulls", TEXT},
                              {"ignores_dependencies", NOTHING},
                              {"needs_review", NOTHING},
                              {"review_fails", NOTHING},
                              {"ignores_abort", NOTHING},
                              {"leaves_targets", NOTHING},
                              {"says", ANYTHING},
                              {"warns", ANYTHING},
                              {"raises", ANYTHING},
                              {"takes", NUMBER},
                              {"awaits_abort", NOTHING},
                              {"progress", NUMBER},
                              {"services", NOTHING},
                              {"files", NOTHING},
                              {"rule", QStringLiteral("\\S+ \\S+")}};

class SCRIPT_READER
{
public:
    explicit SCRIPT_READER(const QString& file_name) : m_file_name(file_name) {}

    SCRIPT read(const QString& text)
    {
        for (const QString& raw_line : text.split('\n')) {
            ++m_line;
            const QString line = raw_line.trimmed();
            if (!line.isEmpty() && !line.startsWith('#'))
                read_line(line.section(' ', 0, 0), line.section(' ', 1).trimmed());
        }
        for (auto link = m_links.cbegin(); link != m_links.cend(); ++link)
            if (!m_actions.contains(link.value())) {
                m_line = link.key();
                fail(QStringLiteral("there is no action \"%1\"").arg(link.value()));
            }
        return m_script;
    }

private:
    void read_line(const QString& word, const QString& argument)
    {
        const bool is_general = OF_A_SCRIPT.contains(word);
        if (!is_general && m_script.processors.isEmpty())
            return fail(QStringLiteral("\"%1\" stands before the first processor").arg(word));
        const GRAMMAR& grammar = is_general ? OF_A_SCRIPT : m_in_action ? OF_AN_ACTION : OF_A_PROCESSOR;
        if (!grammar.contains(word))
            return fail(QStringLiteral("\"%1\" is no word of %2")
                            .arg(word, m_in_action ? "an action" : "a processor"));
        if (!QRegularExpression("^(" + grammar[word] + ")$").match(argument).hasMatch())
            fail(QStringLiteral("\"%1\" can't have the argument \"%2\"").arg(word, argument));
        if (word == "trace") {
            m_script.trace = argument;
        } else if (word == "crashes") {
            m_script.crash = argument;
        } else if (word == "processor") {
            m_script.processors.append(SCRIPT_PROCESSOR());
            m_script.processors.last().name = argument;
            m_in_action = false;
        } else if (word == "action") {
            begin_action(argument);
        } else {
            SCRIPT_PROCESSOR& processor = m_script.processors.last();
            (m_in_action ? processor.actions.last() : processor).lines.append({word, argument});
            if (word == "depends" || word == "pulls")
                m_links.insert(m_line, argument);
        }
    }

    void begin_action(const QString& name)
    {
        if (m_actions.contains(name))
            fail(QStringLiteral("there is an action \"%1\" in line %2 already")
                     .arg(name)
                     .arg(m_actions[name]));
        m_actions.insert(name, m_line);
        m_script.processors.last().actions.append(SCRIPT_PART{name, {}});
        m_in_action = true;
    }

    void fail(const QString& text)
    {
        m_script.errors.append(QStringLiteral("%1:%2: %3").arg(m_file_name).arg(m_line).arg(text));
    }

    QString m_file_name;
    int m_line = 0;
    bool m_in_action = false;
    QMap<QString, int> m_actions; // name to line
    QMap<int, QString> m_links;   // line to name
    SCRIPT m_script;
};

} // namespace

QStringList SCRIPT_PART::all(const QString& word) const
{
    QStringList arguments;
    for (const QPair<QString, QString>& line : lines)
        if (line.first == word)
            arguments.append(line.second);
    return arguments;
}

QString SCRIPT_PART::text(const QString& word, const QString& otherwise) const
{
    return (QStringList(otherwise) + all(word)).last();
}

int SCRIPT_PART::number(const QString& word, int otherwise) const
{
    return text(word, QString::number(otherwise)).toInt();
}

SCRIPT SCRIPT::parse(const QString& text, const QString& file_name)
{
    return SCRIPT_READER(file_name).read(text);
}

SCRIPT SCRIPT::load(const QString& path)
{
    QFile file(path);
    SCRIPT failed;
    if (!file.open(QIODevice::ReadOnly))
        failed.errors.append(QStringLiteral("%1: %2").arg(path, file.errorString()));
    else if (file.size() > MOST_BYTES)
        failed.errors.append(QStringLiteral("%1: too large for a script").arg(path));
    else
        return parse(QString::fromUtf8(file.readAll()), QFileInfo(path).fileName());
    return failed;
}
