#pragma once

#include <QtCore/QVector>

#include "contracts/services/fw_memory.h"
#include "execution/plan_graph.h"

class ACTION_INTERFACE;

/// The selected ones of a list of actions, and what planning has to know of them
/// as plain numbers. While this object lives no other may plan the same actions.
/// GUI thread.
class PLANNED_ACTIONS
{
public:
    /// Takes those of `actions` with a selection count of at least 1, in order,
    /// and works out `all_dependencies` where it is empty.
    explicit PLANNED_ACTIONS(const QVector<ACTION_INTERFACE*>& actions);
    ~PLANNED_ACTIONS();

    /// Stores the levels of the graph in the selected actions.
    void store_levels() const;

    /// The selected actions in the order that the planner found.
    QVector<ACTION_INTERFACE*> in_order(const FW::VECTOR<int>& order) const;

    PLAN_GRAPH graph;

private:
    Q_DISABLE_COPY(PLANNED_ACTIONS)

    void number(ACTION_INTERFACE* action);
    INTEGER_ROWS direct_dependencies();
    void collect_closures(const INTEGER_ROWS& direct);
    void store_closures();

    FW::VECTOR<ACTION_INTERFACE*> m_actions; // by number, the selected ones first
    int m_selected = 0;
};
