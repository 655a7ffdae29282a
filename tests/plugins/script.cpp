#include "tests/plugins/script.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QMap>

namespace {

const qint64 MOST_BYTES = 64 * 1024 * 1024;

class SCRIPT_READER
{
public:
    explicit SCRIPT_READER(const QString& file_name) : m_file_name(file_name) {}

    SCRIPT read(const QString& text);

private:
    void read_line(const QString& word, const QString& argument);
    bool read_global_word(const QString& word, const QString& argument);
    bool read_processor_word(const QString& word, const QString& argument);
    bool read_action_word(const QString& word, const QString& argument);
    bool read_action_flag(const QString& word, const QString& argument);
    bool read_step(const QString& word, const QString& argument);
    void begin_action(const QString& name);
    void read_target(const QString& argument);
    void read_virtual_file(const QString& argument);
    int number(const QString& argument);
    QDateTime time(const QString& argument);
    void need_argument(const QString& argument);
    void check_links();
    void fail(const QString& text) { fail_at(m_line, text); }
    void fail_at(int line, const QString& text);

    SCRIPT_PROCESSOR& processor() { return m_script.processors.last(); }
    SCRIPT_ACTION& action() { return processor().actions.last(); }

    QString m_file_name;
    int m_line = 0;
    bool m_in_action = false;
    QMap<QString, int> m_actions; // name to line
    SCRIPT m_script;
};

SCRIPT SCRIPT_READER::read(const QString& text)
{
    for (const QString& raw_line : text.split('\n')) {
        ++m_line;
        const QString line = raw_line.trimmed();
        if (line.isEmpty() || line.startsWith('#'))
            continue;
        read_line(line.section(' ', 0, 0), line.section(' ', 1).trimmed());
    }
    check_links();
    return m_script;
}

void SCRIPT_READER::read_line(const QString& word, const QString& argument)
{
    if (read_global_word(word, argument))
        return;
    if (m_script.processors.isEmpty()) {
        fail(QStringLiteral("\"%1\" stands before the first processor").arg(word));
        return;
    }
    const bool known = m_in_action ? read_action_word(word, argument) || read_action_flag(word, argument) ||
                                         read_step(word, argument)
                                   : read_processor_word(word, argument);
    if (!known)
        fail(QStringLiteral("\"%1\" is no word of %2")
                 .arg(word, m_in_action ? QStringLiteral("an action") : QStringLiteral("a processor")));
}

bool SCRIPT_READER::read_global_word(const QString& word, const QString& argument)
{
    if (word == QLatin1String("trace")) {
        need_argument(argument);
        m_script.trace = argument;
    } else if (word == QLatin1String("processor")) {
        need_argument(argument);
        m_script.processors.append(SCRIPT_PROCESSOR());
        processor().name = argument;
        m_in_action = false;
    } else if (word == QLatin1String("action") && !m_script.processors.isEmpty()) {
        begin_action(argument);
    } else {
        return false;
    }
    return true;
}

bool SCRIPT_READER::read_processor_word(const QString& word, const QString& argument)
{
    need_argument(argument);
    if (word == QLatin1String("order"))
        processor().order = number(argument);
    else if (word == QLatin1String("scan"))
        processor().scan.append(argument);
    else if (word == QLatin1String("virtual"))
        read_virtual_file(argument);
    else if (word == QLatin1String("collecting_raises"))
        processor().raises.append(argument);
    else if (word == QLatin1String("collecting_warns"))
        processor().warnings.append(argument);
    else
        return false;
    return true;
}

bool SCRIPT_READER::read_action_word(const QString& word, const QString& argument)
{
    if (word == QLatin1String("long"))
        action().long_name = argument;
    else if (word == QLatin1String("reads"))
        action().inputs.append(argument);
    else if (word == QLatin1String("writes"))
        read_target(argument);
    else if (word == QLatin1String("stamp"))
        action().stamp = time(argument);
    else if (word == QLatin1String("group"))
        action().group = argument;
    else if (word == QLatin1String("depends") || word == QLatin1String("pulls"))
        action().links.append(SCRIPT_LINK{argument, word == QLatin1String("pulls"), m_line});
    else if (word == QLatin1String("preset"))
        action().preset_errors.append(argument);
    else if (word == QLatin1String("begins"))
        action().first_state = number(argument);
    else if (word == QLatin1String("total"))
        action().total = number(argument);
    else if (word == QLatin1String("ends"))
        action().result = number(argument);
    else
        return false;
    need_argument(argument);
    return true;
}

bool SCRIPT_READER::read_action_flag(const QString& word, const QString& argument)
{
    bool SCRIPT_ACTION::*const flag =
        word == QLatin1String("ignores_dependencies") ? &SCRIPT_ACTION::ignores_dependencies
        : word == QLatin1String("needs_review")       ? &SCRIPT_ACTION::needs_review
        : word == QLatin1String("review_fails")       ? &SCRIPT_ACTION::review_fails
        : word == QLatin1String("ignores_abort")      ? &SCRIPT_ACTION::ignores_abort
        : word == QLatin1String("leaves_targets")     ? &SCRIPT_ACTION::leaves_targets
                                                      : nullptr;
    if (!flag)
        return false;
    if (!argument.isEmpty())
        fail(QStringLiteral("\"%1\" takes no argument").arg(word));
    action().*flag = true;
    return true;
}

bool SCRIPT_READER::read_step(const QString& word, const QString& argument)
{
    static const QMap<QString, SCRIPT_STEP::KIND> kinds = {
        {QStringLiteral("says"), SCRIPT_STEP::SAY},
        {QStringLiteral("warns"), SCRIPT_STEP::WARN},
        {QStringLiteral("raises"), SCRIPT_STEP::RAISE},
        {QStringLiteral("takes"), SCRIPT_STEP::TAKE},
        {QStringLiteral("progress"), SCRIPT_STEP::PROGRESS},
        {QStringLiteral("services"), SCRIPT_STEP::SERVICES},
        {QStringLiteral("rule"), SCRIPT_STEP::RULE},
        {QStringLiteral("files"), SCRIPT_STEP::FILES},
    };
    if (!kinds.contains(word))
        return false;
    SCRIPT_STEP step{kinds[word], argument};
    if (step.kind == SCRIPT_STEP::TAKE || step.kind == SCRIPT_STEP::PROGRESS)
        step.number = number(argument);
    if (step.kind == SCRIPT_STEP::RULE && argument.count(' ') != 1)
        fail(QStringLiteral("\"rule\" takes the name of a rule and of a property"));
    action().steps.append(step);
    return true;
}

void SCRIPT_READER::begin_action(const QString& name)
{
    need_argument(name);
    if (m_actions.contains(name))
        fail(QStringLiteral("there is an action \"%1\" in line %2 already").arg(name).arg(m_actions[name]));
    m_actions.insert(name, m_line);
    processor().actions.append(SCRIPT_ACTION());
    action().name = name;
    action().long_name = name;
    m_in_action = true;
}

void SCRIPT_READER::read_target(const QString& argument)
{
    SCRIPT_TARGET target;
    QString rest = argument;
    for (;;) {
        const QString word = rest.section(' ', 0, 0);
        if (word == QLatin1String("intermediate"))
            target.intermediate = true;
        else if (word == QLatin1String("secondary"))
            target.secondary = true;
        else
            break;
        rest = rest.section(' ', 1).trimmed();
    }
    if (rest.isEmpty())
        fail(QStringLiteral("a target needs a path"));
    target.path = rest;
    action().targets.append(target);
}

void SCRIPT_READER::read_virtual_file(const QString& argument)
{
    const bool has_time = !argument.startsWith('<') && !argument.startsWith('/') && argument.contains(' ');
    SCRIPT_VIRTUAL_FILE file;
    file.time = has_time ? time(argument.section(' ', 0, 0)) : QDateTime::currentDateTimeUtc();
    file.path = has_time ? argument.section(' ', 1).trimmed() : argument;
    processor().virtual_files.append(file);
}

int SCRIPT_READER::number(const QString& argument)
{
    bool is_number = false;
    const int value = argument.toInt(&is_number);
    if (!is_number)
        fail(QStringLiteral("\"%1\" is no number").arg(argument));
    return value;
}

QDateTime SCRIPT_READER::time(const QString& argument)
{
    const QDateTime value = QDateTime::fromString(argument, Qt::ISODate);
    if (!value.isValid())
        fail(QStringLiteral("\"%1\" is no time such as 2020-01-31T12:00:00Z").arg(argument));
    return value;
}

void SCRIPT_READER::need_argument(const QString& argument)
{
    if (argument.isEmpty())
        fail(QStringLiteral("an argument is missing"));
}

void SCRIPT_READER::check_links()
{
    for (const SCRIPT_PROCESSOR& processor : qAsConst(m_script.processors))
        for (const SCRIPT_ACTION& action : processor.actions)
            for (const SCRIPT_LINK& link : action.links)
                if (!m_actions.contains(link.action))
                    fail_at(link.line, QStringLiteral("there is no action \"%1\"").arg(link.action));
}

void SCRIPT_READER::fail_at(int line, const QString& text)
{
    m_script.errors.append(QStringLiteral("%1:%2: %3").arg(m_file_name).arg(line).arg(text));
}

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
