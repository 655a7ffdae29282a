#include "contracts/actions/action_interface.h"

#include <mutex>

#include "contracts/actions/processor_interface.h"
#include "contracts/services/question_log.h"

KV_XML_QUERY_INTERFACE* ACTION_INTERFACE::s_database = nullptr;
QTSHARED::ASSET_GRAPH* ACTION_INTERFACE::s_asset_graph = nullptr;
bool (*ACTION_INTERFACE::s_is_up_to_date)(ACTION_INTERFACE&) = nullptr;
QSet<QString> ACTION_INTERFACE::s_assert_cache;

namespace {

// Up to here a walk over the vector is quicker than a set.
const int MANY_DEPENDENCIES = 16;

thread_local QString* t_redirected_output = nullptr;
QtMessageHandler s_former_handler = nullptr;

void append_line(QString& output, const QString& line)
{
    output += line;
    output += '\n';
}

// Takes a message of a thread whose action redirects messages; all others go
// where they went before.
void redirecting_handler(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (t_redirected_output && type != QtFatalMsg)
        append_line(*t_redirected_output, text);
    else if (s_former_handler)
        s_former_handler(type, context, text);
}

} // namespace

ACTION_INTERFACE::ACTION_INTERFACE(PROCESSOR_INTERFACE* maker) : processor(maker) {}

ACTION_INTERFACE::~ACTION_INTERFACE()
{
    for (ACTION_INTERFACE* pulled : qAsConst(pulls))
        pulled->pulled_by.removeAll(this);
    for (ACTION_INTERFACE* puller : qAsConst(pulled_by))
        puller->pulls.removeAll(this);
}

void ACTION_INTERFACE::abort() {}

void ACTION_INTERFACE::reset()
{
    state = ACTION_NOT_RUN;
    output.clear();
    progress_current = 0;
    review_needed = false;
    m_notes.has_run = false;
    m_notes.keeps_entry = false;
}

void ACTION_INTERFACE::reserved() {}

void ACTION_INTERFACE::resolve_dependencies(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&, RULE_CACHE&) {}

bool ACTION_INTERFACE::checks_dependencies()
{
    return true;
}

bool ACTION_INTERFACE::review_is_failure()
{
    return false;
}

void ACTION_INTERFACE::add_dependency(ACTION_INTERFACE& other, bool pull)
{
    if (&other == this)
        return;
    if (dependencies.size() == MANY_DEPENDENCIES && m_dependency_set.isEmpty())
        for (ACTION_INTERFACE* dependency : qAsConst(dependencies))
            m_dependency_set.insert(dependency);
    const bool known =
        m_dependency_set.isEmpty() ? dependencies.contains(&other) : m_dependency_set.contains(&other);
    if (!known) {
        dependencies.append(&other);
        if (!m_dependency_set.isEmpty())
            m_dependency_set.insert(&other);
    }
    if (pull && !(known && pulls.contains(&other))) {
        pulls.append(&other);
        other.pulled_by.append(this);
    }
}

QVector<ACTION_INTERFACE*> ACTION_INTERFACE::reached_through_pulls()
{
    QVector<ACTION_INTERFACE*> reached{this};
    if (pulls.isEmpty())
        return reached;
    QSet<ACTION_INTERFACE*> seen{this};
    for (int i = 0; i < reached.size(); ++i)
        for (ACTION_INTERFACE* pulled : qAsConst(reached.at(i)->pulls))
            if (!seen.contains(pulled)) {
                seen.insert(pulled);
                reached.append(pulled);
            }
    return reached;
}

void ACTION_INTERFACE::select(QSet<ACTION_INTERFACE*>& touched)
{
    if (pulls.isEmpty()) { // as most actions have it, so without a list of their own
        ++selection_count;
        touched.insert(this);
        return;
    }
    for (ACTION_INTERFACE* action : reached_through_pulls()) {
        ++action->selection_count;
        touched.insert(action);
    }
}

void ACTION_INTERFACE::deselect(QSet<ACTION_INTERFACE*>& touched)
{
    for (ACTION_INTERFACE* action : reached_through_pulls())
        if (action->selection_count > 0) {
            --action->selection_count;
            touched.insert(action);
        }
}

bool ACTION_INTERFACE::is_up_to_date()
{
    m_notes.keeps_entry = s_is_up_to_date && s_is_up_to_date(*this);
    return m_notes.keeps_entry;
}

ACTION_NOTES& ACTION_NOTES::of(ACTION_INTERFACE& action)
{
    return action.m_notes;
}

void ACTION_INTERFACE::add_output_line(const QString& line)
{
    append_line(output, line);
}

void ACTION_INTERFACE::redirect_messages()
{
    static std::once_flag installed;
    std::call_once(installed, [] { s_former_handler = qInstallMessageHandler(redirecting_handler); });
    t_redirected_output = &output;
}

void ACTION_INTERFACE::clear_redirections()
{
    t_redirected_output = nullptr;
}

void ACTION_INTERFACE::get_all_dependencies(QSet<ACTION_INTERFACE*>& result)
{
    QVector<ACTION_INTERFACE*> waiting{this};
    while (!waiting.isEmpty())
        for (ACTION_INTERFACE* dependency : qAsConst(waiting.takeLast()->dependencies))
            if (!result.contains(dependency)) {
                result.insert(dependency);
                waiting.append(dependency);
            }
}

void ACTION_INTERFACE::message_box_hook(const QString& text)
{
    if (s_assert_cache.contains(text))
        return;
    s_assert_cache.insert(text);
    add_output_line(text);
    review_needed = true;
}
