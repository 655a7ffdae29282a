#include "execution/raise_levels.h"

#include <algorithm>

#include "execution/knots.h"
#include "execution/level_sweeps.h"

namespace {

// What the actions of a knot read is settled before its turn, so once is enough.
void settle(const KNOTS& knots, FW::VECTOR<int>& level)
{
    FW::VECTOR<int> top; // by knot: the highest level that can be read there
    for (int knot = 0; knot < knots.count(); ++knot)
        top.push_back(level[std::size_t(*knots.actions.begin(knot))]);
    for (int knot = 0; knot < knots.count(); ++knot) {
        int below = NO_LEVEL;
        knots.for_each_below(knot, [&](int other) { below = std::max(below, top[std::size_t(other)]); });
        KNOT_LEVELS levels;
        const int* const end = knots.actions.end(knot);
        for (const int* action = knots.actions.begin(knot); action != end; ++action)
            levels.enter(*action, level[std::size_t(*action)]);
        for (const int* action = knots.actions.begin(knot); action != end; ++action) {
            const int read = std::max(below, levels.others_than(*action));
            if (!knots.is_selected(*action) || level[std::size_t(*action)] > read)
                continue;
            level[std::size_t(*action)] = read + 1;
            levels.enter(*action, read + 1);
        }
        top[std::size_t(knot)] = knots.passes_on ? std::max(levels.highest(), below) : levels.highest();
    }
}

} // namespace

FW::VECTOR<int> raise_levels(PLAN_GRAPH& graph)
{
    const KNOTS knots(graph);
    FW::VECTOR<int> settled = graph.level;
    settle(knots, settled);
    LEVEL_SWEEPS sweeps(graph, knots, settled);
    graph.level = knots.has_cyclic_raises() && sweeps.run() ? sweeps.levels() : settled;
    return knots.cycle();
}
