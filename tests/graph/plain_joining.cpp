#include "tests/graph/plain_joining.h"

#include "graph/action_graph.h"

namespace {

ACTION_GRAPH_EDGE* last_edge(const ACTION_GRAPH_NODE* kept, const ACTION_GRAPH_NODE* from,
                             const ACTION_GRAPH_NODE* to)
{
    ACTION_GRAPH_EDGE* last = nullptr;
    for (ACTION_GRAPH_EDGE* edge : kept->edges)
        if ((edge->from == from && edge->to == to) ||
            (edge->both_ways && edge->from == to && edge->to == from))
            last = edge;
    return last;
}

void join(ACTION_GRAPH& graph, ACTION_GRAPH_NODE* kept, ACTION_GRAPH_NODE* dropped)
{
    kept->weight += dropped->weight;
    QVector<ACTION_GRAPH_EDGE*> gone;
    const QVector<ACTION_GRAPH_EDGE*> edges = dropped->edges;
    for (ACTION_GRAPH_EDGE* edge : edges) {
        if (gone.contains(edge) || (edge->from != dropped && edge->to != dropped))
            continue; // from dropped to itself: met for the second time
        ACTION_GRAPH_NODE* const from = edge->from == dropped ? kept : edge->from;
        ACTION_GRAPH_NODE* const to = edge->to == dropped ? kept : edge->to;
        if (ACTION_GRAPH_EDGE* const known = last_edge(kept, from, to)) {
            known->weight += edge->weight;
            edge->from->edges.removeAll(edge);
            edge->to->edges.removeAll(edge);
            graph.edges.removeOne(edge);
            gone.append(edge);
            continue;
        }
        if (edge->from != kept && edge->to != kept)
            kept->edges.append(edge);
        edge->from = from;
        edge->to = to;
    }
    graph.nodes.removeOne(dropped);
    qDeleteAll(gone);
    delete dropped;
}

} // namespace

void plain_join_identical_nodes(ACTION_GRAPH& graph)
{
    for (int i = 0; i < graph.nodes.size(); ++i)
        for (int other = i + 1; other < graph.nodes.size();)
            if (graph.nodes[other]->text == graph.nodes[i]->text)
                join(graph, graph.nodes[i], graph.nodes[other]);
            else
                ++other;
}
