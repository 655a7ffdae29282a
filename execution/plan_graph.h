#pragma once

#include <cstddef>

#include "contracts/actions/action_interface.h"
#include "contracts/services/fw_memory.h"

/// Rows of integers of different length, one behind another in one array.
struct INTEGER_ROWS
{
    FW::VECTOR<int> items;
    FW::VECTOR<std::size_t> first{0}; ///< row r holds the items from first[r] up to first[r + 1]

    int rows() const { return int(first.size()) - 1; }
    const int* begin(int row) const { return items.data() + first[std::size_t(row)]; }
    const int* end(int row) const { return items.data() + first[std::size_t(row) + 1]; }
    int size(int row) const { return int(end(row) - begin(row)); }
    void end_row() { first.push_back(items.size()); }

    /// Gives each of `rows` rows its length, the counts by row; the items are to be
    /// filled in.
    void make_rows(const FW::VECTOR<std::size_t>& counts)
    {
        first.assign(1, 0);
        for (const std::size_t count : counts)
            first.push_back(first.back() + count);
        items.assign(first.back(), 0);
    }
};

/// The closure of an action as the planner's numbers: a view of the action's
/// `all_dependencies`. In a long chain the closures are most of the memory of the
/// whole program, so there is one copy of them, the action's own.
class CLOSURE
{
public:
    explicit CLOSURE(const QVector<ACTION_INTERFACE*>& actions)
        : m_begin(actions.constData()), m_end(m_begin + actions.size())
    {
    }

    class ITERATOR
    {
    public:
        explicit ITERATOR(ACTION_INTERFACE* const* place) : m_place(place) {}
        int operator*() const { return number_of(*m_place); }
        ITERATOR& operator++() { return ++m_place, *this; }
        bool operator!=(const ITERATOR& other) const { return m_place != other.m_place; }

    private:
        ACTION_INTERFACE* const* m_place;
    };
    ITERATOR begin() const { return ITERATOR(m_begin); }
    ITERATOR end() const { return ITERATOR(m_end); }

private:
    static int number_of(const ACTION_INTERFACE* action) { return action->m_plan_index; }

    ACTION_INTERFACE* const* m_begin;
    ACTION_INTERFACE* const* m_end;
};

/// The planner's view of the actions, as plain numbers but for the closures. The
/// selected actions are 0, 1, ... in the order of selection; numbers behind them
/// are actions that they depend on without being selected. Nothing here knows of
/// threads or windows.
struct PLAN_GRAPH
{
    FW::VECTOR<ACTION_INTERFACE*> actions; ///< by number; not owned
    INTEGER_ROWS links;                    ///< by action: what it depends on directly
    FW::VECTOR<int> level;                 ///< by action
    FW::VECTOR<int> group;                 ///< by selected action; 0 is no group

    /// Each closure of a selected action is all that links lead to from it. False
    /// once an action got a dependency, or lost one, after its closure or that of
    /// one above it was worked out.
    bool closures_follow_links = true;

    int selected() const { return int(group.size()); }

    /// All that a selected action depends on, directly or not, without the action
    /// itself, in a fixed order.
    CLOSURE closure(int action) const { return CLOSURE(actions[std::size_t(action)]->all_dependencies); }

    /// Whether `other` is in the closure of `action`, selected or not. One that was
    /// never planned has no closure yet.
    bool is_in_closure(int other, int action) const
    {
        const QVector<ACTION_INTERFACE*>& all = actions[std::size_t(action)]->all_dependencies;
        return all.lastIndexOf(actions[std::size_t(other)]) >= 0;
    }
};
