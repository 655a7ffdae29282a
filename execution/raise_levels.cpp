#include "execution/raise_levels.h"

#include <algorithm>

namespace {

// Without cycles whoever depends on something has the larger closure. Of two
// actions that depend on each other the closures are equally large; one whose
// closure is not known can't be told to be in a cycle.
bool depend_on_each_other(const PLAN_GRAPH& graph, int action, int dependency)
{
    return graph.closure_size[std::size_t(dependency)] == graph.closure_size[std::size_t(action)];
}

bool has_cycle(const PLAN_GRAPH& graph)
{
    for (int action = 0; action < graph.selected(); ++action)
        for (const int* d = graph.closures.begin(action); d != graph.closures.end(action); ++d)
            if (depend_on_each_other(graph, action, *d))
                return true;
    return false;
}

// The selected actions, smaller closures first: dependencies ahead of those that
// depend on them.
FW::VECTOR<int> by_closure_size(const PLAN_GRAPH& graph)
{
    FW::VECTOR<int> starts;
    for (int action = 0; action < graph.selected(); ++action) {
        const std::size_t size = std::size_t(graph.closures.size(action));
        if (starts.size() < size + 2)
            starts.resize(size + 2, 0);
        ++starts[size + 1];
    }
    for (std::size_t size = 1; size < starts.size(); ++size)
        starts[size] += starts[size - 1];
    FW::VECTOR<int> sorted;
    sorted.resize(std::size_t(graph.selected()));
    for (int action = 0; action < graph.selected(); ++action)
        sorted[std::size_t(starts[std::size_t(graph.closures.size(action))]++)] = action;
    return sorted;
}

// Sweeps beyond this number only go round in cycles: the longest way from one
// level to another that is not a cycle has been gone by then.
int most_sweeps(const PLAN_GRAPH& graph)
{
    if (graph.level.empty())
        return 0;
    const auto levels = std::minmax_element(graph.level.begin(), graph.level.end());
    return *levels.second - *levels.first +
           *std::max_element(graph.closure_size.begin(), graph.closure_size.end()) + 2;
}

void raise_in_sweeps(PLAN_GRAPH& graph)
{
    bool changed = true;
    for (int sweeps = most_sweeps(graph); changed && sweeps > 0; --sweeps) {
        changed = false;
        for (int action = 0; action < graph.selected(); ++action) {
            int& level = graph.level[std::size_t(action)];
            for (const int* d = graph.closures.begin(action); d != graph.closures.end(action); ++d) {
                const int wanted = graph.level[std::size_t(*d)] + 1;
                if (level >= wanted)
                    continue;
                level = wanted;
                changed = !depend_on_each_other(graph, action, *d);
            }
        }
    }
}

} // namespace

void raise_levels(PLAN_GRAPH& graph)
{
    if (has_cycle(graph)) {
        raise_in_sweeps(graph);
        return;
    }
    // Dependencies are settled before they are looked at, so once is enough.
    for (const int action : by_closure_size(graph)) {
        int& level = graph.level[std::size_t(action)];
        for (const int* d = graph.closures.begin(action); d != graph.closures.end(action); ++d)
            level = std::max(level, graph.level[std::size_t(*d)] + 1);
    }
}
