#include "execution/planned_actions.h"

#include <algorithm>

PLANNED_ACTIONS::PLANNED_ACTIONS(const QVector<ACTION_INTERFACE*>& actions)
{
    for (ACTION_INTERFACE* action : actions)
        if (action->selection_count >= 1)
            number(action);
    for (const ACTION_INTERFACE* action : graph.actions)
        graph.group.push_back(action->group_id);
    read_links();
    work_out_closures();
    for (const ACTION_INTERFACE* action : graph.actions)
        graph.level.push_back(action->order_level);
}

PLANNED_ACTIONS::~PLANNED_ACTIONS()
{
    for (ACTION_INTERFACE* action : graph.actions)
        action->m_plan_index = -1;
}

void PLANNED_ACTIONS::number(ACTION_INTERFACE* action)
{
    if (action->m_plan_index < 0) {
        action->m_plan_index = int(graph.actions.size());
        graph.actions.push_back(action);
    }
}

// Of the selected actions and all that they reach, which get their numbers here.
void PLANNED_ACTIONS::read_links()
{
    for (std::size_t i = 0; i < graph.actions.size(); ++i) {
        for (ACTION_INTERFACE* dependency : qAsConst(graph.actions[i]->dependencies)) {
            number(dependency);
            graph.links.items.push_back(dependency->m_plan_index);
        }
        graph.links.end_row();
    }
}

void PLANNED_ACTIONS::work_out_closures()
{
    m_reached_from.assign(graph.actions.size(), -1);
    m_is_reach.assign(std::size_t(graph.selected()), 0);
    for (int action = 0; action < graph.selected(); ++action) {
        reach_from(action);
        keep_closure(action);
    }
}

// The numbers of what is reached stand in the links or, less near at hand, in the
// actions of a closure.
void PLANNED_ACTIONS::reach_from(int action)
{
    m_reached.clear();
    m_reached_from[std::size_t(action)] = action;
    const auto is_new = [&](int dependency) {
        int& from = m_reached_from[std::size_t(dependency)];
        return from != action && (from = action, true);
    };
    m_waiting.assign(1, action);
    while (!m_waiting.empty()) {
        const int current = m_waiting.back();
        m_waiting.pop_back();
        if (current < action && m_is_reach[std::size_t(current)]) {
            for (const int dependency : graph.closure(current))
                if (is_new(dependency))
                    m_reached.push_back(graph.actions[std::size_t(dependency)]);
            continue;
        }
        for (const int* d = graph.links.begin(current); d != graph.links.end(current); ++d)
            if (is_new(*d)) {
                m_reached.push_back(graph.actions[std::size_t(*d)]);
                m_waiting.push_back(*d);
            }
    }
}

// A closure of an earlier pass can have actions that no link leads to any more.
bool PLANNED_ACTIONS::is_all_reached_from(int action)
{
    const QVector<ACTION_INTERFACE*>& all = graph.actions[std::size_t(action)]->all_dependencies;
    if (std::equal(all.begin(), all.end(), m_reached.begin(), m_reached.end()))
        return true; // mostly: the same selection as in the earlier pass
    bool is_reached = std::size_t(all.size()) == m_reached.size();
    for (ACTION_INTERFACE* dependency : all) {
        if (dependency->m_plan_index < 0) {
            number(dependency);
            graph.links.end_row();
            m_reached_from.push_back(-1);
        }
        is_reached = is_reached && m_reached_from[std::size_t(dependency->m_plan_index)] == action;
    }
    return is_reached;
}

void PLANNED_ACTIONS::keep_closure(int action)
{
    QVector<ACTION_INTERFACE*>& all = graph.actions[std::size_t(action)]->all_dependencies;
    if (all.isEmpty() && !m_reached.empty()) {
        all.resize(int(m_reached.size()));
        std::copy(m_reached.begin(), m_reached.end(), all.begin());
        m_is_reach[std::size_t(action)] = 1;
        return;
    }
    const bool is_reach = is_all_reached_from(action);
    m_is_reach[std::size_t(action)] = is_reach;
    graph.closures_follow_links = graph.closures_follow_links && is_reach;
}

void PLANNED_ACTIONS::store_levels() const
{
    for (int i = 0; i < graph.selected(); ++i)
        graph.actions[std::size_t(i)]->order_level = graph.level[std::size_t(i)];
}

QVector<ACTION_INTERFACE*> PLANNED_ACTIONS::in_order(const FW::VECTOR<int>& numbers) const
{
    QVector<ACTION_INTERFACE*> result;
    result.reserve(int(numbers.size()));
    for (const int number : numbers)
        result.append(graph.actions[std::size_t(number)]);
    return result;
}
