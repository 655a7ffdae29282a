#include "execution/knots.h"

#include <algorithm>
#include <utility>

namespace {

INTEGER_ROWS closures_of(const PLAN_GRAPH& graph)
{
    INTEGER_ROWS rows;
    for (int action = 0; action < int(graph.actions.size()); ++action) {
        if (action < graph.selected())
            for (const int read : graph.closure(action))
                rows.items.push_back(read);
        rows.end_row();
    }
    return rows;
}

// Walks along `reads` in depth and finds the sets of nodes that reach each other,
// each after those that it reads.
class COMPONENT_FINDER
{
public:
    explicit COMPONENT_FINDER(const INTEGER_ROWS& reads)
        : m_reads(reads),
          m_found(std::size_t(reads.rows()), -1),
          m_lowest(m_found.size()),
          m_next(reads.first),
          m_component(m_found.size(), -1)
    {
        for (int node = 0; node < reads.rows(); ++node)
            if (m_found[std::size_t(node)] < 0)
                walk_from(node);
    }

    FW::VECTOR<int> take_components() { return std::move(m_component); } // by node

private:
    void walk_from(int start)
    {
        enter(start);
        while (!m_path.empty()) {
            const std::size_t node = std::size_t(m_path.back());
            if (m_next[node] == m_reads.first[node + 1]) {
                leave(int(node));
                continue;
            }
            const std::size_t read = std::size_t(m_reads.items[m_next[node]++]);
            if (m_found[read] < 0)
                enter(int(read));
            else if (m_component[read] < 0)
                m_lowest[node] = std::min(m_lowest[node], m_found[read]);
        }
    }

    void enter(int node)
    {
        m_found[std::size_t(node)] = m_lowest[std::size_t(node)] = m_count++;
        m_path.push_back(node);
        m_open.push_back(node);
    }

    void leave(int node)
    {
        m_path.pop_back();
        const int lowest = m_lowest[std::size_t(node)];
        if (!m_path.empty()) {
            int& lowest_before = m_lowest[std::size_t(m_path.back())];
            lowest_before = std::min(lowest_before, lowest);
        }
        if (lowest != m_found[std::size_t(node)])
            return;
        int member = -1;
        do {
            member = m_open.back();
            m_open.pop_back();
            m_component[std::size_t(member)] = m_components;
        } while (member != node);
        ++m_components;
    }

    const INTEGER_ROWS& m_reads;
    FW::VECTOR<int> m_found;        // by node: its place in the order of the walk
    FW::VECTOR<int> m_lowest;       // by node: the lowest place that it is known to reach
    FW::VECTOR<std::size_t> m_next; // by node: where to go on in its row
    FW::VECTOR<int> m_component;
    FW::VECTOR<int> m_path; // from the start to the node at hand
    FW::VECTOR<int> m_open; // nodes without a component yet
    int m_count = 0;
    int m_components = 0;
};

} // namespace

KNOTS::KNOTS(const PLAN_GRAPH& graph)
    : passes_on(graph.closures_follow_links),
      m_graph(graph),
      m_closures(passes_on ? INTEGER_ROWS() : closures_of(graph)),
      m_reads(passes_on ? graph.links : m_closures),
      m_component(COMPONENT_FINDER(m_reads).take_components())
{
    FW::VECTOR<int> sizes; // by component
    FW::VECTOR<int> selected;
    for (std::size_t action = 0; action < m_component.size(); ++action) {
        const std::size_t component = std::size_t(m_component[action]);
        if (sizes.size() <= component) {
            sizes.resize(component + 1, 0);
            selected.resize(component + 1, 0);
        }
        ++sizes[component];
        selected[component] += is_selected(int(action));
    }
    find_cycle(selected);
    tie(sizes);
}

void KNOTS::find_cycle(const FW::VECTOR<int>& sizes)
{
    m_in_cycle.assign(sizes.size(), 0);
    for (int action = m_graph.selected() - 1; action >= 0; --action) {
        const std::size_t component = std::size_t(m_component[std::size_t(action)]);
        if (sizes[component] < 2)
            continue;
        m_in_cycle[component] = 1;
        m_first_in_cycle = action;
    }
}

// The actions sorted by component; then each component, or each action, is a knot.
void KNOTS::tie(const FW::VECTOR<int>& sizes)
{
    FW::VECTOR<std::size_t> ends;
    for (const int size : sizes)
        ends.push_back((ends.empty() ? 0 : ends.back()) + std::size_t(size));
    FW::VECTOR<std::size_t> next;
    for (std::size_t component = 0; component < ends.size(); ++component)
        next.push_back(ends[component] - std::size_t(sizes[component]));
    actions.items.resize(m_component.size());
    for (std::size_t action = 0; action < m_component.size(); ++action)
        actions.items[next[std::size_t(m_component[action])]++] = int(action);

    for (std::size_t place = 0; place < actions.items.size(); ++place)
        if (!passes_on || place + 1 == ends[std::size_t(m_component[std::size_t(actions.items[place])])])
            actions.first.push_back(place + 1);
    m_of.resize(m_component.size());
    for (int knot = 0; knot < count(); ++knot)
        for (const int* action = actions.begin(knot); action != actions.end(knot); ++action)
            m_of[std::size_t(*action)] = knot;
}

FW::VECTOR<char> KNOTS::restless_ones() const
{
    FW::VECTOR<char> restless;
    for (int knot = 0; knot < count(); ++knot) {
        restless.push_back(m_in_cycle[std::size_t(m_component[std::size_t(*actions.begin(knot))])]);
        for_each_below(knot, [&](int below) {
            if (below < knot && restless[std::size_t(below)])
                restless[std::size_t(knot)] = 1;
        });
    }
    return restless;
}

bool KNOTS::has_cyclic_raises() const
{
    const auto has_closure = [&](int action) {
        return !m_graph.actions[std::size_t(action)]->all_dependencies.isEmpty();
    };
    bool found = !passes_on; // it would take long to make sure
    for (int knot = 0; knot < count() && !found; ++knot)
        found = actions.size(knot) > 1 && is_selected(*actions.begin(knot)) &&
                std::count_if(actions.begin(knot), actions.end(knot), has_closure) > 1;
    return found;
}

FW::VECTOR<int> KNOTS::cycle() const
{
    FW::VECTOR<int> steps;
    if (m_first_in_cycle < 0)
        return steps;
    // Level by level, so that the first way back is a shortest one.
    const int component = m_component[std::size_t(m_first_in_cycle)];
    FW::VECTOR<int> found_from(m_component.size(), -1);
    FW::VECTOR<int> waiting(1, m_first_in_cycle);
    for (std::size_t i = 0; found_from[std::size_t(m_first_in_cycle)] < 0; ++i)
        for (const int* read = m_reads.begin(waiting[i]); read != m_reads.end(waiting[i]); ++read)
            if (found_from[std::size_t(*read)] < 0 && m_component[std::size_t(*read)] == component) {
                found_from[std::size_t(*read)] = waiting[i];
                waiting.push_back(*read);
            }
    int action = m_first_in_cycle;
    do {
        steps.push_back(action);
        action = found_from[std::size_t(action)];
    } while (action != m_first_in_cycle);
    std::reverse(steps.begin() + 1, steps.end());
    return steps;
}
