#include "tests/plugins/script.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QMap>

namespace {

const qint64 MOST_BYTES = 64 * 1024 * 1024;

template <typename VALUE>
using WORDS = QMap<QString, VALUE>;

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
        for (const SCRIPT_PROCESSOR& processor : qAsConst(m_script.processors))
            for (const SCRIPT_ACTION& action : processor.actions)
                for (const SCRIPT_LINK& link : action.links)
                    if (!m_actions.contains(link.action)) {
                        m_line = link.line;
                        fail(QStringLiteral("there is no action \"%1\"").arg(link.action));
                    }
        return m_script;
    }

private:
    void read_line(const QString& word, const QString& argument)
    {
        if (word == "trace") {
            m_script.trace = argument;
        } else if (word == "processor") {
            m_script.processors.append(SCRIPT_PROCESSOR());
            processor().name = argument;
            m_in_action = false;
        } else if (m_script.processors.isEmpty()) {
            return fail(QStringLiteral("\"%1\" stands before the first processor").arg(word));
        } else if (word == "action") {
            begin_action(argument);
        } else if (m_in_action && (read_flag(word, argument) || read_step(word, argument))) {
            return; // the only words that can do without an argument
        } else if (!(m_in_action ? read_action_word(word, argument) : read_processor_word(word, argument))) {
            return fail(QStringLiteral("\"%1\" is no word of %2")
                            .arg(word, m_in_action ? "an action" : "a processor"));
        }
        if (argument.isEmpty())
            fail(QStringLiteral("an argument is missing"));
    }

    bool read_processor_word(const QString& word, const QString& argument)
    {
        if (word == "order")
            processor().order = number(argument);
        else if (word == "scan")
            processor().scan.append(argument);
        else if (word == "virtual")
            read_virtual_file(argument);
        else if (word == "collecting_raises")
            processor().raises.append(argument);
        else if (word == "collecting_warns")
            processor().warnings.append(argument);
        else
            return false;
        return true;
    }

    bool read_action_word(const QString& word, const QString& argument)
    {
        static const WORDS<QString SCRIPT_ACTION::*> TEXTS = {{"long", &SCRIPT_ACTION::long_name},
                                                              {"group", &SCRIPT_ACTION::group}};
        static const WORDS<QStringList SCRIPT_ACTION::*> LISTS = {{"reads", &SCRIPT_ACTION::inputs},
                                                                  {"preset", &SCRIPT_ACTION::preset_errors}};
        static const WORDS<int SCRIPT_ACTION::*> NUMBERS = {{"begins", &SCRIPT_ACTION::first_state},
                                                            {"total", &SCRIPT_ACTION::total},
                                                            {"ends", &SCRIPT_ACTION::result}};
        if (TEXTS.contains(word))
            action().*TEXTS[word] = argument;
        else if (LISTS.contains(word))
            (action().*LISTS[word]).append(argument);
        else if (NUMBERS.contains(word))
            action().*NUMBERS[word] = number(argument);
        else if (word == "writes")
            read_target(argument);
        else if (word == "stamp")
            action().stamp = time(argument);
        else if (word == "depends" || word == "pulls")
            action().links.append(SCRIPT_LINK{argument, word == "pulls", m_line});
        else
            return false;
        return true;
    }

    bool read_flag(const QString& word, const QString& argument)
    {
        static const WORDS<bool SCRIPT_ACTION::*> FLAGS = {
            {"ignores_dependencies", &SCRIPT_ACTION::ignores_dependencies},
            {"needs_review", &SCRIPT_ACTION::needs_review},
            {"review_fails", &SCRIPT_ACTION::review_fails},
            {"ignores_abort", &SCRIPT_ACTION::ignores_abort},
            {"leaves_targets", &SCRIPT_ACTION::leaves_targets}};
        if (!FLAGS.contains(word))
            return false;
        if (!argument.isEmpty())
            fail(QStringLiteral("\"%1\" takes no argument").arg(word));
        action().*FLAGS[word] = true;
        return true;
    }

    bool read_step(const QString& word, const QString& argument)
    {
        static const WORDS<SCRIPT_STEP::KIND> KINDS = {
            {"says", SCRIPT_STEP::SAY},          {"warns", SCRIPT_STEP::WARN},
            {"raises", SCRIPT_STEP::RAISE},      {"takes", SCRIPT_STEP::TAKE},
            {"rule", SCRIPT_STEP::RULE},         {"progress", SCRIPT_STEP::PROGRESS},
            {"services", SCRIPT_STEP::SERVICES}, {"files", SCRIPT_STEP::FILES}};
        if (!KINDS.contains(word))
            return false;
        SCRIPT_STEP step{KINDS[word], argument};
        if (step.kind == SCRIPT_STEP::TAKE || step.kind == SCRIPT_STEP::PROGRESS)
            step.number = number(argument);
        if (step.kind == SCRIPT_STEP::RULE && argument.count(' ') != 1)
            fail(QStringLiteral("\"rule\" takes the name of a rule and of a property"));
        action().steps.append(step);
        return true;
    }

    void begin_action(const QString& name)
    {
        if (m_actions.contains(name))
            fail(QStringLiteral("there is an action \"%1\" in line %2 already")
                     .arg(name)
                     .arg(m_actions[name]));
        m_actions.insert(name, m_line);
        processor().actions.append(SCRIPT_ACTION());
        action().name = action().long_name = name;
        m_in_action = true;
    }

    void read_target(const QString& argument)
    {
        SCRIPT_TARGET target;
        QStringList words = argument.split(' ');
        while (!words.isEmpty() && (words.first() == "intermediate" || words.first() == "secondary"))
            (words.takeFirst() == "secondary" ? target.secondary : target.intermediate) = true;
        target.path = words.join(' ');
        if (target.path.isEmpty())
            fail(QStringLiteral("a target needs a path"));
        action().targets.append(target);
    }

    void read_virtual_file(const QString& argument)
    {
        const bool has_time =
            !argument.startsWith('<') && !argument.startsWith('/') && argument.contains(' ');
        SCRIPT_VIRTUAL_FILE file;
        file.time = has_time ? time(argument.section(' ', 0, 0)) : QDateTime::currentDateTimeUtc();
        file.path = has_time ? argument.section(' ', 1).trimmed() : argument;
        processor().virtual_files.append(file);
    }

    int number(const QString& argument)
    {
        bool is_number = false;
        const int value = argument.toInt(&is_number);
        if (!is_number)
            fail(QStringLiteral("\"%1\" is no number").arg(argument));
        return value;
    }

    QDateTime time(const QString& argument)
    {
        const QDateTime value = QDateTime::fromString(argument, Qt::ISODate);
        if (!value.isValid())
            fail(QStringLiteral("\"%1\" is no time such as 2020-01-31T12:00:00Z").arg(argument));
        return value;
    }

    void fail(const QString& text)
    {
        m_script.errors.append(QStringLiteral("%1:%2: %3").arg(m_file_name).arg(m_line).arg(text));
    }

    SCRIPT_PROCESSOR& processor() { return m_script.processors.last(); }
    SCRIPT_ACTION& action() { return processor().actions.last(); }

    QString m_file_name;
    int m_line = 0;
    bool m_in_action = false;
    QMap<QString, int> m_actions; // name to line
    SCRIPT m_script;
};

} // namespace

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
