#include "execution/planned_actions.h"

#include "contracts/actions/action_interface.h"

PLANNED_ACTIONS::PLANNED_ACTIONS(const QVector<ACTION_INTERFACE*>& actions)
{
    for (ACTION_INTERFACE* action : actions)
        if (action->selection_count >= 1)
            number(action);
    m_selected = int(m_actions.size());
    collect_closures(direct_dependencies());
    store_closures();

    for (ACTION_INTERFACE* action : m_actions) {
        graph.level.push_back(action->order_level);
        graph.closure_size.push_back(action->all_dependencies.size());
    }
    for (int i = 0; i < m_selected; ++i)
        graph.group.push_back(m_actions[std::size_t(i)]->group_id);
}

PLANNED_ACTIONS::~PLANNED_ACTIONS()
{
    for (ACTION_INTERFACE* action : m_actions)
        action->m_plan_index = -1;
}

void PLANNED_ACTIONS::number(ACTION_INTERFACE* action)
{
    if (action->m_plan_index < 0) {
        action->m_plan_index = int(m_actions.size());
        m_actions.push_back(action);
    }
}

// Rows for the selected actions and all that they reach.
INTEGER_ROWS PLANNED_ACTIONS::direct_dependencies()
{
    INTEGER_ROWS direct;
    for (std::size_t i = 0; i < m_actions.size(); ++i) {
        for (ACTION_INTERFACE* dependency : qAsConst(m_actions[i]->dependencies)) {
            number(dependency);
            direct.items.push_back(dependency->m_plan_index);
        }
        direct.end_row();
    }
    return direct;
}

void PLANNED_ACTIONS::collect_closures(const INTEGER_ROWS& direct)
{
    INTEGER_ROWS& closures = graph.closures;
    FW::VECTOR<int> seen_by(m_actions.size(), -1); // the last action whose closure took this one
    FW::VECTOR<int> waiting;
    for (int action = 0; action < m_selected; ++action) {
        seen_by[std::size_t(action)] = action;
        waiting.assign(1, action);
        while (!waiting.empty()) {
            const int current = waiting.back();
            waiting.pop_back();
            const bool is_known = current < action; // then its closure says all
            const INTEGER_ROWS& rows = is_known ? closures : direct;
            // By place, as the rows can grow and move while they are walked.
            const std::size_t end = rows.first[std::size_t(current) + 1];
            for (std::size_t i = rows.first[std::size_t(current)]; i < end; ++i) {
                const int dependency = rows.items[i];
                if (seen_by[std::size_t(dependency)] == action)
                    continue;
                seen_by[std::size_t(dependency)] = action;
                closures.items.push_back(dependency);
                if (!is_known)
                    waiting.push_back(dependency);
            }
        }
        closures.end_row();
    }
}

void PLANNED_ACTIONS::store_closures()
{
    for (int i = 0; i < m_selected; ++i) {
        QVector<ACTION_INTERFACE*>& all = m_actions[std::size_t(i)]->all_dependencies;
        if (!all.isEmpty() || graph.closures.size(i) == 0)
            continue;
        all.reserve(graph.closures.size(i));
        for (const int* d = graph.closures.begin(i); d != graph.closures.end(i); ++d)
            all.append(m_actions[std::size_t(*d)]);
    }
}

void PLANNED_ACTIONS::store_levels() const
{
    for (int i = 0; i < m_selected; ++i)
        m_actions[std::size_t(i)]->order_level = graph.level[std::size_t(i)];
}

QVector<ACTION_INTERFACE*> PLANNED_ACTIONS::in_order(const FW::VECTOR<int>& order) const
{
    QVector<ACTION_INTERFACE*> result;
    result.reserve(int(order.size()));
    for (const int number : order)
        result.append(m_actions[std::size_t(number)]);
    return result;
}
