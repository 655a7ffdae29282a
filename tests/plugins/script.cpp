#include "tests/plugins/script.h"

#include <QtCore/QHash>
#include <QtCore/QRegularExpression>

namespace {

const char NOTHING[] = "", ANYTHING[] = ".*", TEXT[] = ".+", NUMBER[] = "-?\\d{1,9}", PATH[] = ".*/.*",
           CRASH[] = "\\w+ (\\d+|overflow|throw|throw_number|terminate|exit:\\d+)", RULE[] = "\\S+ \\S+",
           QUESTION[] = "(rule \\S+|table|sql|graph) \\S.*",
           TIME[] = "\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ";

// What the argument of each word has to look like.
struct WORDS
{
    const char* of;
    const char* words;
    const char* argument;
};

const WORDS ALL_WORDS[] = {
    {"a script", "trace processor", TEXT},
    {"a script", "crashes", CRASH},
    {"a processor",
     "action scan collecting_raises collecting_warns collecting_says collecting_asks collecting_awaits",
     TEXT},
    {"a processor", "order", NUMBER},
    {"a processor", "virtual", PATH},
    {"an action", "action long group reads preset depends pulls awaits lingers environment", TEXT},
    {"an action", "writes", PATH},
    {"an action", "stamp", TIME},
    {"an action", "begins total ends takes progress", NUMBER},
    {"an action", "says warns raises", ANYTHING},
    {"an action", "rule", RULE},
    {"a processor", "asks virtual_asks", QUESTION},
    {"an action", "asks collect_asks resolve_asks", QUESTION},
    {"an action",
     "ignores_dependencies needs_review review_fails ignores_abort awaits_abort services streams files "
     "knows_when copies adds",
     NOTHING}};

// Patterns are dear to make, and a script has many lines.
bool has_form(const QString& argument, const char* form)
{
    static QHash<const char*, QRegularExpression> patterns;
    QRegularExpression& pattern = patterns[form];
    if (pattern.pattern().isEmpty())
        pattern.setPattern("^(" + QString(form) + ")$");
    return pattern.match(argument).hasMatch();
}

class SCRIPT_READER
{
public:
    SCRIPT read(const QString& text, const QString& file_name)
    {
        for (const QString& raw_line : text.split('\n')) {
            m_place = QStringLiteral("%1:%2: ").arg(file_name).arg(++m_line);
            const QString line = raw_line.trimmed();
            if (!line.isEmpty() && !line.startsWith('#'))
                read_line(line.section(' ', 0, 0), line.section(' ', 1).trimmed());
        }
        for (const auto& [place, name] : qAsConst(m_links))
            if (!m_actions.contains(name))
                m_script.errors.append(place + "there is no action \"" + name + '"');
        return m_script;
    }

private:
    const char* form_of(const QString& word) const
    {
        for (const WORDS& known : ALL_WORDS)
            if ((known.of == m_context || known.of == QLatin1String("a script")) &&
                QString(known.words).split(' ').contains(word))
                return known.argument;
        return nullptr;
    }

    void read_line(const QString& word, const QString& argument)
    {
        const char* const form = form_of(word);
        if (!form)
            return fail("\"%1\" is no word of %2", word, m_context);
        if (!has_form(argument, form))
            fail("\"%1\" can't have the argument \"%2\"", word, argument);
        if (word == "trace") {
            m_script.trace = argument;
        } else if (word == "crashes") {
            m_script.crash = argument;
        } else if (word == "processor") {
            m_script.processors.append(SCRIPT_PROCESSOR{{argument, {}}, {}});
            m_part = &m_script.processors.last();
            m_context = "a processor";
        } else if (word == "action") {
            if (m_actions.contains(argument))
                fail("%1 \"%2\" is there already", word, argument);
            m_actions.append(argument);
            m_script.processors.last().actions.append(SCRIPT_PART{argument, {}});
            m_part = &m_script.processors.last().actions.last();
            m_context = "an action";
        } else {
            m_part->lines.append({word, argument});
            if (word == "depends" || word == "pulls")
                m_links.append({m_place, argument});
        }
    }

    void fail(const char* text, const QString& first, const QString& second)
    {
        m_script.errors.append(m_place + QString(text).arg(first, second));
    }

    SCRIPT m_script;
    SCRIPT_PART* m_part = nullptr;            // the processor or action at hand
    QString m_context = "a script";           // what it is
    int m_line = 0;                           // from 1 up
    QString m_place;                          // of the line, in words
    QStringList m_actions;                    // names
    QVector<QPair<QString, QString>> m_links; // place to name
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

SCRIPT SCRIPT::parse(const QString& text, const QString& file_name)
{
    return SCRIPT_READER().read(text, file_name);
}
