#include "tests/plugins/scripted_processor.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QThread>

#include <cstdio>

#include "contracts/paths/paths.h"
#include "contracts/services/fw_message_box.h"
#include "tests/plugins/scripted_action.h"

namespace {

SCRIPT script_of_errors(const QStringList& errors)
{
    SCRIPT_ACTION action;
    action.name = QStringLiteral("errors");
    action.long_name = action.name;
    action.preset_errors = errors;
    SCRIPT_PROCESSOR processor;
    processor.name = QStringLiteral("script");
    processor.actions.append(action);
    SCRIPT script;
    script.processors.append(processor);
    return script;
}

} // namespace

PHYSICAL_PATH scripted_place(const QString& path)
{
    if (!path.startsWith('<'))
        return PHYSICAL_PATH(path);
    // The last of the roots is the one that is written to.
    QVector<PHYSICAL_PATH> roots;
    PATHS::physical_paths(LOGICAL_PATH(path.section('/', 0, 0)), roots);
    return PHYSICAL_PATH(roots.isEmpty() ? path : roots.last() + '/' + path.section('/', 1));
}

SCRIPTED_RUN::SCRIPTED_RUN(const SCRIPT& the_script, const QString& folder) : script(the_script)
{
    if (script.trace.isEmpty())
        return;
    m_trace.setFileName(folder + '/' + script.trace);
    if (!m_trace.open(QIODevice::WriteOnly))
        std::fprintf(stderr, "%s: %s\n", qPrintable(m_trace.fileName()), qPrintable(m_trace.errorString()));
}

void SCRIPTED_RUN::trace(const char* call, const QString& name)
{
    const QMutexLocker lock(&m_mutex);
    if (!m_trace.isOpen())
        return;
    const bool is_main = QThread::currentThread() == QCoreApplication::instance()->thread();
    m_trace.write(QByteArray(is_main ? "main " : "build ") + call + ' ' + name.toUtf8() + '\n');
    m_trace.flush(); // the process may end at any moment, without a farewell
}

SCRIPTED_PROCESSOR::SCRIPTED_PROCESSOR(const SCRIPT_PROCESSOR& script,
                                       const QSharedPointer<SCRIPTED_RUN>& run)
    : m_script(script), m_run(run)
{
}

SCRIPTED_PROCESSOR::~SCRIPTED_PROCESSOR()
{
    m_run->trace("delete", m_script.name);
}

QString SCRIPTED_PROCESSOR::name()
{
    return m_script.name;
}

int SCRIPTED_PROCESSOR::order_number()
{
    return m_script.order;
}

QVector<QString> SCRIPTED_PROCESSOR::scan_directories()
{
    m_run->trace("scan_directories", m_script.name);
    return m_script.scan;
}

QVector<VIRTUAL_FILE> SCRIPTED_PROCESSOR::collect_virtual_files(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&,
                                                                RULE_CACHE&)
{
    m_run->trace("collect_virtual_files", m_script.name);
    QVector<VIRTUAL_FILE> files;
    for (const SCRIPT_VIRTUAL_FILE& file : m_script.virtual_files)
        files.append(VIRTUAL_FILE{scripted_place(file.path), file.time});
    return files;
}

QVector<ACTION_INTERFACE*> SCRIPTED_PROCESSOR::collect_actions(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&,
                                                               RULE_CACHE&)
{
    m_run->trace("collect_actions", m_script.name);
    for (const QString& text : m_script.warnings)
        qWarning("%s", qUtf8Printable(text));
    for (const QString& text : m_script.raises)
        FW::raise_message_box(text);
    QVector<ACTION_INTERFACE*> actions;
    for (const SCRIPT_ACTION& script : m_script.actions) {
        SCRIPTED_ACTION* const action = new SCRIPTED_ACTION(script, group_of(script), this, m_run);
        m_run->actions.insert(script.name, action);
        actions.append(action);
    }
    return actions;
}

int SCRIPTED_PROCESSOR::group_of(const SCRIPT_ACTION& action)
{
    if (action.group.isEmpty())
        return 0;
    if (!m_run->groups.contains(action.group))
        m_run->groups.insert(action.group, new_action_group());
    return m_run->groups.value(action.group);
}

QVector<PROCESSOR_INTERFACE*> scripted_processors(const SCRIPT& script, const QString& folder)
{
    for (const QString& error : script.errors)
        std::fprintf(stderr, "%s\n", qPrintable(error));
    const SCRIPT to_run = script.errors.isEmpty() ? script : script_of_errors(script.errors);
    const QSharedPointer<SCRIPTED_RUN> run(new SCRIPTED_RUN(to_run, folder));
    QVector<PROCESSOR_INTERFACE*> processors;
    for (const SCRIPT_PROCESSOR& processor : to_run.processors)
        processors.append(new SCRIPTED_PROCESSOR(processor, run));
    return processors;
}
