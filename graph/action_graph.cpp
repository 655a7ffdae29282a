#include "graph/action_graph.h"

#include <algorithm>

ACTION_GRAPH::~ACTION_GRAPH()
{
    qDeleteAll(nodes);
    qDeleteAll(edges);
}

ACTION_GRAPH_NODE* ACTION_GRAPH::add_node(const QString& text, qint32 kind)
{
    ACTION_GRAPH_NODE* const node = new ACTION_GRAPH_NODE;
    node->text = text;
    node->kind = kind;
    nodes.append(node);
    return node;
}

ACTION_GRAPH_EDGE* ACTION_GRAPH::add_edge(ACTION_GRAPH_NODE* from, ACTION_GRAPH_NODE* to, qint32 both_ways)
{
    ACTION_GRAPH_EDGE* const edge = new ACTION_GRAPH_EDGE;
    edge->both_ways = both_ways;
    edge->from = from;
    edge->to = to;
    from->edges.append(edge);
    to->edges.append(edge);
    edges.append(edge);
    return edge;
}

bool ACTION_GRAPH::has_edge(const ACTION_GRAPH_NODE* node, const ACTION_GRAPH_NODE* other)
{
    // An edge stands in the lists of both its ends.
    if (other->edges.size() < node->edges.size())
        std::swap(node, other);
    return std::any_of(node->edges.cbegin(), node->edges.cend(), [&](const ACTION_GRAPH_EDGE* edge) {
        return (edge->from == node && edge->to == other) || (edge->from == other && edge->to == node);
    });
}
