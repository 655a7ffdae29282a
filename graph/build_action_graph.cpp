#include "graph/build_action_graph.h"

#include <algorithm>

#include "contracts/actions/action_interface.h"
#include "contracts/paths/paths.h"
#include "session/file_entry.h"

namespace {

bool is_selected(const ACTION_INTERFACE* action)
{
    return action->selection_count > 0;
}

bool has_selected(const QVector<ACTION_INTERFACE*>& actions)
{
    return std::any_of(actions.cbegin(), actions.cend(), is_selected);
}

} // namespace

QString file_label(const FILE_ENTRY& file, int filenames)
{
    if (filenames == GRAPH_SETTINGS::LONG)
        return PATHS::logical_path(file.physical);
    const QString name = file.physical.section('/', -1);
    return filenames == GRAPH_SETTINGS::EXTENSION_ONLY ? name.section('.', 1) : name;
}

ACTION_GRAPH_BUILDER::ACTION_GRAPH_BUILDER(const GRAPH_SETTINGS& settings, ACTION_GRAPH& graph)
    : m_settings(settings), m_graph(graph)
{
}

void ACTION_GRAPH_BUILDER::add(const QVector<ACTION_INTERFACE*>& actions)
{
    const QVector<ACTION_INTERFACE*> walked = actions;
    for (ACTION_INTERFACE* action : walked) {
        if (!is_included(action))
            continue;
        ACTION_GRAPH_NODE* const node = action_node(action);
        if (m_settings.type == GRAPH_SETTINGS::DATA_FLOW)
            add_files(action, node);
        else if (m_settings.type == GRAPH_SETTINGS::DEPENDENCIES)
            add_dependencies(action, node);
        else
            add_pullers(action, node);
    }
}

bool ACTION_GRAPH_BUILDER::is_included(const ACTION_INTERFACE* action)
{
    if (is_selected(action) || m_settings.coverage == GRAPH_SETTINGS::ALL)
        return true;
    return m_settings.coverage == GRAPH_SETTINGS::SELECTED_AND_NEXT && is_next_to_selected(action);
}

bool ACTION_GRAPH_BUILDER::is_next_to_selected(const ACTION_INTERFACE* action)
{
    if (m_settings.type == GRAPH_SETTINGS::DEPENDENCIES)
        return has_selected(action->dependencies);
    if (m_settings.type == GRAPH_SETTINGS::PULLING)
        return false;
    const auto is_touched = [this](const FILE_ENTRY* file) { return is_touched_by_selected(file); };
    return std::any_of(action->input_files.cbegin(), action->input_files.cend(), is_touched) ||
           std::any_of(action->target_files.keyBegin(), action->target_files.keyEnd(), is_touched);
}

bool ACTION_GRAPH_BUILDER::is_touched_by_selected(const FILE_ENTRY* file)
{
    const auto known = m_touched.constFind(file);
    if (known != m_touched.constEnd())
        return *known;
    const bool is_touched = has_selected(file->consumers) || has_selected(file->providers);
    m_touched.insert(file, is_touched);
    return is_touched;
}

bool ACTION_GRAPH_BUILDER::is_drawn_at_other_end(const ACTION_INTERFACE* action) const
{
    return is_selected(action) || m_settings.coverage != GRAPH_SETTINGS::SELECTED;
}

void ACTION_GRAPH_BUILDER::add_files(ACTION_INTERFACE* action, ACTION_GRAPH_NODE* node)
{
    const QVector<FILE_ENTRY*> inputs = action->input_files;
    for (FILE_ENTRY* file : inputs)
        m_graph.add_edge(file_node(file), node, 0);
    const QList<FILE_ENTRY*> targets = action->target_files.keys();
    for (FILE_ENTRY* file : targets)
        m_graph.add_edge(node, file_node(file), 0);
}

void ACTION_GRAPH_BUILDER::add_dependencies(ACTION_INTERFACE* action, ACTION_GRAPH_NODE* node)
{
    const QVector<ACTION_INTERFACE*> dependencies = action->dependencies;
    for (ACTION_INTERFACE* dependency : dependencies)
        if (is_drawn_at_other_end(dependency))
            m_graph.add_edge(action_node(dependency), node, 0);
}

void ACTION_GRAPH_BUILDER::add_pullers(ACTION_INTERFACE* action, ACTION_GRAPH_NODE* node)
{
    const QVector<ACTION_INTERFACE*> pullers = action->pulled_by;
    for (ACTION_INTERFACE* puller : pullers) {
        if (!is_drawn_at_other_end(puller))
            continue;
        ACTION_GRAPH_NODE* const puller_node = action_node(puller);
        if (!ACTION_GRAPH::has_edge(node, puller_node))
            m_graph.add_edge(puller_node, node, action->pulls.contains(puller) ? 1 : 0);
    }
}

ACTION_GRAPH_NODE* ACTION_GRAPH_BUILDER::action_node(ACTION_INTERFACE* action)
{
    ACTION_GRAPH_NODE*& node = m_action_nodes[action];
    if (!node)
        node = m_graph.add_node(action->display_text(m_settings.long_action_names), ACTION_GRAPH_ACTION);
    return node;
}

ACTION_GRAPH_NODE* ACTION_GRAPH_BUILDER::file_node(FILE_ENTRY* file)
{
    ACTION_GRAPH_NODE*& node = m_file_nodes[file];
    if (!node)
        node = m_graph.add_node(file_label(*file, m_settings.filenames), ACTION_GRAPH_FILE);
    return node;
}
