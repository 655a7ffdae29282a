#pragma once

#include "execution/plan_graph.h"

/// Stands for no level: lower than any.
const int NO_LEVEL = -0x40000000;

/// The actions of a plan in knots, dependencies first: actions that wait for each
/// other, directly or not, are one knot, every other action is one of its own.
/// Keeps a reference to the graph, whose levels may change meanwhile.
///
/// Where closures follow links, an action depends on all of its knot and on all of
/// the knots below, so what is known of a knot can be passed on along links, of
/// which there are far fewer than members of closures. Elsewhere an action reads
/// just the members of its closure, and nothing is passed on: the closures are
/// copied as plain numbers then, and every action is a knot of its own, those of a
/// cycle in order of selection.
class KNOTS
{
public:
    explicit KNOTS(const PLAN_GRAPH& graph);

    int count() const { return actions.rows(); }
    int of(int action) const { return m_of[std::size_t(action)]; }
    bool is_selected(int action) const { return action < m_graph.selected(); }

    /// Calls `take` with each knot that an action of `knot` reads, maybe repeatedly.
    template <typename TAKE>
    void for_each_below(int knot, TAKE take) const
    {
        for (const int* action = actions.begin(knot); action != actions.end(knot); ++action)
            for (const int* read = m_reads.begin(*action); read != m_reads.end(*action); ++read)
                if (of(*read) != knot)
                    take(of(*read));
    }

    /// By knot: whether it has a cycle of selected actions or reads one that has,
    /// so that each sweep over the actions may raise it again.
    FW::VECTOR<char> restless_ones() const;

    /// Selected actions of which each waits for the next and the last one for the
    /// first, with unselected ones between them: a shortest such cycle that the
    /// first action of any is in. Empty when there is none.
    FW::VECTOR<int> cycle() const;

    /// Whether a raise may follow a cycle: of selected actions, or of one by an
    /// unselected one whose closure is known from an earlier pass.
    bool has_cyclic_raises() const;

    INTEGER_ROWS actions; ///< by knot, ascending, unselected ones too
    const bool passes_on; ///< closures follow links

private:
    Q_DISABLE_COPY(KNOTS)

    void find_cycle(const FW::VECTOR<int>& sizes);
    void tie(const FW::VECTOR<int>& sizes);

    const PLAN_GRAPH& m_graph;
    INTEGER_ROWS m_closures; // only where closures don't follow links
    const INTEGER_ROWS& m_reads;
    FW::VECTOR<int> m_component; // by action: which wait for each other, dependencies first
    FW::VECTOR<int> m_of;        // by action: the knot
    FW::VECTOR<char> m_in_cycle; // by component: several selected actions
    int m_first_in_cycle = -1;
};
