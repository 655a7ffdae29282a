#include "tests/plugins/scripted_action.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QThread>

#include "contracts/paths/paths.h"
#include "contracts/rules/rule_cache.h"
#include "contracts/services/fw_message_box.h"
#include "session/file_entry.h"

SCRIPTED_ACTION::SCRIPTED_ACTION(const SCRIPT_ACTION& script, int group, PROCESSOR_INTERFACE* maker,
                                 const QSharedPointer<SCRIPTED_RUN>& run)
    : ACTION_INTERFACE(maker), m_script(script), m_run(run)
{
    group_id = group;
    prepare();
    state = m_script.first_state;
}

SCRIPTED_ACTION::~SCRIPTED_ACTION()
{
    m_run->trace("delete", m_script.name);
}

void SCRIPTED_ACTION::prepare()
{
    progress_total = m_script.total;
    preset_errors = m_script.preset_errors;
    review_needed = m_script.needs_review;
}

void SCRIPTED_ACTION::abort()
{
    m_run->trace("abort", m_script.name);
    m_aborted = true;
}

void SCRIPTED_ACTION::reset()
{
    m_run->trace("reset", m_script.name);
    ACTION_INTERFACE::reset();
    prepare();
    m_aborted = false;
}

QString SCRIPTED_ACTION::display_text(bool long_form)
{
    return long_form ? m_script.long_name : m_script.name;
}

void SCRIPTED_ACTION::collect_files(QVector<LOGICAL_PATH>& inputs, QVector<ACTION_TARGET>& targets,
                                    QDateTime& stamp, LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&, RULE_CACHE&)
{
    m_run->trace("collect_files", m_script.name);
    for (const QString& path : m_script.inputs)
        inputs.append(PATHS::logical_path(scripted_place(path)));
    for (const SCRIPT_TARGET& target : m_script.targets) {
        const PHYSICAL_PATH place = scripted_place(target.path);
        targets.append(
            ACTION_TARGET{place, PATHS::logical_path(place), target.intermediate, target.secondary});
    }
    stamp = m_script.stamp;
}

void SCRIPTED_ACTION::resolve_dependencies(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&, RULE_CACHE&)
{
    m_run->trace("resolve_dependencies", m_script.name);
    for (const SCRIPT_LINK& link : m_script.links)
        if (SCRIPTED_ACTION* const other = m_run->actions.value(link.action))
            add_dependency(*other, link.pulls);
}

int SCRIPTED_ACTION::execute(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&, RULE_CACHE& rules)
{
    m_run->trace("execute", m_script.name);
    for (const SCRIPT_STEP& step : m_script.steps)
        if (!take_step(step, rules)) {
            add_output_line(QStringLiteral("aborted"));
            return ACTION_FAILED;
        }
    if (!m_script.leaves_targets && !write_targets())
        return ACTION_FAILED;
    return m_script.result;
}

bool SCRIPTED_ACTION::checks_dependencies()
{
    m_run->trace("checks_dependencies", m_script.name);
    return !m_script.ignores_dependencies;
}

bool SCRIPTED_ACTION::review_is_failure()
{
    m_run->trace("review_is_failure", m_script.name);
    return m_script.review_fails;
}

// False when the action was asked to stop.
bool SCRIPTED_ACTION::take_step(const SCRIPT_STEP& step, const RULE_CACHE& rules)
{
    switch (step.kind) {
    case SCRIPT_STEP::SAY:
        add_output_line(step.text);
        break;
    case SCRIPT_STEP::WARN:
        qWarning("%s", qUtf8Printable(step.text));
        break;
    case SCRIPT_STEP::RAISE:
        FW::raise_message_box(step.text);
        break;
    case SCRIPT_STEP::TAKE:
        return wait(step.number);
    case SCRIPT_STEP::PROGRESS:
        progress_current = step.number;
        break;
    case SCRIPT_STEP::SERVICES:
        say_services();
        break;
    case SCRIPT_STEP::RULE:
        say_rule(step.text, rules);
        break;
    case SCRIPT_STEP::FILES:
        say_files();
        break;
    }
    return m_script.ignores_abort || !m_aborted;
}

bool SCRIPTED_ACTION::wait(int milliseconds)
{
    QElapsedTimer watch;
    watch.start();
    while (watch.elapsed() < milliseconds) {
        if (m_aborted && !m_script.ignores_abort)
            return false;
        QThread::msleep(1);
    }
    return true;
}

void SCRIPTED_ACTION::say_services()
{
    add_output_line(QStringLiteral("database: %1, asset graph: %2")
                        .arg(s_database ? QStringLiteral("yes") : QStringLiteral("no"),
                             s_asset_graph ? QStringLiteral("yes") : QStringLiteral("no")));
}

void SCRIPTED_ACTION::say_rule(const QString& rule_and_property, const RULE_CACHE& rules)
{
    const QString name = rule_and_property.section(' ', 0, 0);
    const QString property = rule_and_property.section(' ', 1);
    const PHYSICAL_PATH place = scripted_place(m_script.inputs.value(0));
    const RULE rule = rules.get(PATHS::logical_path(place), name);
    const QString value = !rule.found ? QStringLiteral("no rule")
                          : rule.values.contains(property.toLower())
                              ? rule.values.value(property.toLower()).value.toString()
                              : QStringLiteral("no value");
    add_output_line(QStringLiteral("%1 %2: %3").arg(name, property, value));
}

void SCRIPTED_ACTION::say_files()
{
    for (const FILE_ENTRY* file : qAsConst(input_files))
        say_file(QStringLiteral("input"), *file);
    for (auto target = target_files.cbegin(); target != target_files.cend(); ++target)
        say_file(QStringLiteral("target"), *target.key());
}

void SCRIPTED_ACTION::say_file(const QString& role, const FILE_ENTRY& file)
{
    QStringList words{role, file.physical, file.local_time.toUTC().toString(Qt::ISODate)};
    if (file.virtual_file)
        words.append(QStringLiteral("virtual"));
    if (file.intermediate)
        words.append(QStringLiteral("intermediate"));
    if (file.out_of_date_source)
        words.append(QStringLiteral("outdated_source"));
    if (file.out_of_date_target)
        words.append(QStringLiteral("outdated_target"));
    add_output_line(words.join(' '));
}

bool SCRIPTED_ACTION::write_targets()
{
    for (auto target = target_files.cbegin(); target != target_files.cend(); ++target) {
        QFile file(target.key()->physical); // in the spelling that its folder has
        const QByteArray text = "made by " + m_script.name.toUtf8() + '\n';
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.flush()) {
            add_output_line(QStringLiteral("%1: %2").arg(file.fileName(), file.errorString()));
            return false;
        }
    }
    return true;
}
