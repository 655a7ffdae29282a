#include "graph/node_relatives.h"

#include <algorithm>
#include <utility>

namespace {

enum class WAY
{
    TO_HEADS,
    TO_TAILS
};

// Of each node the nodes that one step leads to, one after another.
struct STEPS
{
    QVector<int> begins; // one more than there are nodes
    QVector<int> ends;

    STEPS(const GRAPH_PICTURE& picture, WAY way);
};

template <typename DOES>
void for_each_step(const GRAPH_PICTURE& picture, WAY way, const DOES& does)
{
    for (const PICTURE_EDGE& edge : picture.edges) {
        if (way == WAY::TO_HEADS || edge.both_ways)
            does(edge.from, edge.to);
        if (way == WAY::TO_TAILS || edge.both_ways)
            does(edge.to, edge.from);
    }
}

STEPS::STEPS(const GRAPH_PICTURE& picture, WAY way) : begins(picture.nodes.size() + 1)
{
    for_each_step(picture, way, [this](int from, int) { ++begins[from + 1]; });
    for (int i = 1; i < begins.size(); ++i)
        begins[i] += begins.at(i - 1);
    ends.resize(begins.last());
    QVector<int> next = begins;
    for_each_step(picture, way, [&](int from, int to) { ends[next[from]++] = to; });
}

// The node and all that can be reached from it.
QVector<bool> reached(const GRAPH_PICTURE& picture, int node, WAY way)
{
    const STEPS steps(picture, way);
    QVector<bool> is_reached(picture.nodes.size());
    is_reached[node] = true;
    QVector<int> waiting{node};
    while (!waiting.isEmpty()) {
        const int from = waiting.takeLast();
        for (int i = steps.begins.at(from); i < steps.begins.at(from + 1); ++i)
            if (!std::exchange(is_reached[steps.ends.at(i)], true))
                waiting.append(steps.ends.at(i));
    }
    return is_reached;
}

} // namespace

NODE_RELATIVES relatives_of(const GRAPH_PICTURE& picture, int node)
{
    const QVector<bool> behind = reached(picture, node, WAY::TO_HEADS);
    const QVector<bool> before = reached(picture, node, WAY::TO_TAILS);
    NODE_RELATIVES relatives;
    relatives.behind = int(std::count(behind.cbegin(), behind.cend(), true)) - 1;
    relatives.before = int(std::count(before.cbegin(), before.cend(), true)) - 1;
    for (int i = 0; i < behind.size(); ++i)
        relatives.nodes.append(behind.at(i) || before.at(i));
    for (const PICTURE_EDGE& edge : picture.edges)
        relatives.edges.append(behind.at(edge.from) || before.at(edge.to) ||
                               (edge.both_ways && (behind.at(edge.to) || before.at(edge.from))));
    return relatives;
}
