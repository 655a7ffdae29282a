#pragma once

#include <algorithm>
#include <cstdint>

#include "execution/knots.h"

/// The levels of the actions of one knot: the highest, and the highest of all but
/// one of them.
class KNOT_LEVELS
{
public:
    int highest() const { return m_highest; }
    int others_than(int action) const { return action == m_action ? m_second : m_highest; }

    /// The first level of an action or a higher one.
    void enter(int action, int level)
    {
        if (action != m_action && level <= m_highest) {
            m_second = std::max(m_second, level);
            return;
        }
        if (action != m_action)
            m_second = m_highest;
        m_action = action;
        m_highest = level;
    }

private:
    int m_action = -1; // one that has the highest level
    int m_highest = NO_LEVEL;
    int m_second = NO_LEVEL; // of the others
};

/// A set of actions that gives its members in ascending order.
class DUE_ACTIONS
{
public:
    explicit DUE_ACTIONS(int actions) : m_words(std::size_t(actions) / 64 + 1, 0) {}

    void put(int action) { m_words[std::size_t(action) / 64] |= bit(action); }

    /// Takes the first one from `from` on out of the set; -1 when there is none.
    int take_next(int from);

private:
    static std::uint64_t bit(int action) { return std::uint64_t(1) << (action % 64); }

    FW::VECTOR<std::uint64_t> m_words;
};

/// Sweeps over the selected actions that raise levels, for actions of which some
/// depend on each other; raise_levels says what is asked.
///
/// A sweep looks only at actions of which something that they depend on was raised
/// since they had their turn, and a raise is passed on from knot to knot, only
/// as far as it is the highest level there. So closures are not walked.
///
/// Actions in a cycle, and all above one, are restless: they are raised in each
/// sweep without end. After some sweeps each of them goes up by the same amount in
/// each, and nothing can get in the way once no action reads anything that goes up
/// faster or that is still to come near it from below: they are steady. From then
/// on their raises are the same in each sweep, so it is known whether the last one
/// of them counts as a change. If it does, there is no end. If it does not, the end
/// is the first sweep in which no other action is raised behind it, and only those
/// others are swept to find it.
class LEVEL_SWEEPS
{
public:
    /// `settled` are the levels of a single sweep, dependencies first: the final
    /// ones of all actions that are not restless. Starts with the levels of the
    /// graph. All three must outlive this object.
    LEVEL_SWEEPS(const PLAN_GRAPH& graph, const KNOTS& knots, const FW::VECTOR<int>& settled);

    /// False when the sweeps would not end.
    bool run();

    const FW::VECTOR<int>& levels() const { return m_level; } ///< by action, once `run` was true

private:
    void begin();
    void read_knots();
    void sweep();
    void raise(int action, int level);
    void pass_on(int knot, int level);
    bool is_raised_before_seen(int knot, int level) const;
    void look_at(int knot, int level);
    bool counts_as_change(int action) const;
    void measure_growth();
    bool is_steady() const;
    bool is_steady(int knot, int fastest_below, int quiet_below, int fastest_inside) const;
    void sweep_beside_steady_ones();
    std::int64_t most_sweeps() const;

    const PLAN_GRAPH& m_graph;
    const KNOTS& m_knots;
    const FW::VECTOR<int>& m_settled;
    FW::VECTOR<int> m_level;
    FW::VECTOR<char> m_is_restless; // by knot
    INTEGER_ROWS m_above;           // by knot: those that read it
    FW::VECTOR<int> m_first_above;  // by knot: the first action of all that read it, directly or not
    FW::VECTOR<KNOT_LEVELS> m_inside;
    FW::VECTOR<int> m_below; // by knot: the highest level that its actions read outside of it
    FW::VECTOR<int> m_top;   // by knot: the highest level that can be read there
    DUE_ACTIONS m_due;
    FW::VECTOR<int> m_waiting;

    FW::VECTOR<int> m_restless; // selected actions, ascending
    FW::VECTOR<int> m_former;   // by place in m_restless: its level a sweep ago
    FW::VECTOR<int> m_growth;   // by action: how much the last sweep raised it; 0 where not restless
    int m_even_sweeps = 0;      // so many of the last sweeps raised each one as the sweep before did
    bool m_are_steady = false;  // the restless ones, which are no longer swept
    int m_current = -1;         // the action whose turn it is
    int m_last = -1;            // the last action that the sweep raised
    int m_last_restless = -1;
};
