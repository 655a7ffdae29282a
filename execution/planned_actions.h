#pragma once

#include <QtCore/QVector>

#include "contracts/services/fw_memory.h"
#include "execution/plan_graph.h"

/// The selected ones of a list of actions, and what planning has to know of them
/// as plain numbers. While this object lives no other may plan the same actions,
/// and nobody may change their closures. GUI thread.
class PLANNED_ACTIONS
{
public:
    /// Takes those of `actions` with a selection count of at least 1, in order,
    /// and works out `all_dependencies` where it is empty. What is there already is
    /// kept, even where dependencies have changed since.
    explicit PLANNED_ACTIONS(const QVector<ACTION_INTERFACE*>& actions);
    ~PLANNED_ACTIONS();

    /// Stores the levels of the graph in the selected actions.
    void store_levels() const;

    /// The actions with these numbers.
    QVector<ACTION_INTERFACE*> in_order(const FW::VECTOR<int>& numbers) const;

    PLAN_GRAPH graph;

private:
    Q_DISABLE_COPY(PLANNED_ACTIONS)

    void number(ACTION_INTERFACE* action);
    void read_links();
    void work_out_closures();
    void reach_from(int action);
    bool is_all_reached_from(int action);
    void keep_closure(int action);

    // Working data of the closures.
    FW::VECTOR<int> m_reached_from; // by action: the last one that led here
    FW::VECTOR<ACTION_INTERFACE*> m_reached;
    FW::VECTOR<int> m_waiting;
    FW::VECTOR<char> m_is_reach; // by selected action: its closure is what its links lead to
};
