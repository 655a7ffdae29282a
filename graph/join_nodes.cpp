#include "graph/join_nodes.h"

#include <QtCore/QHash>
#include <QtCore/QPair>

#include <algorithm>

#include "graph/action_graph.h"

namespace {

using NODE = ACTION_GRAPH_NODE;
using EDGE = ACTION_GRAPH_EDGE;

/// An edge that was joined into another has no ends until it leaves the graph, so
/// that no list is searched for it.
bool is_joined(const EDGE* edge)
{
    return !edge->from;
}

/// Moves the edges of other nodes over to the one that is kept.
class EDGE_MOVER
{
public:
    explicit EDGE_MOVER(NODE* kept);

    void move_edges_of(NODE* dropped);

private:
    void enter(EDGE* edge);
    void move_edge(EDGE* edge, NODE* dropped);

    NODE* const m_kept;

    // By tail and head: which edge of the kept node one with these ends is joined
    // into. Some still name a dropped node; nobody asks for these again.
    QHash<QPair<const NODE*, const NODE*>, EDGE*> m_by_ends;
};

EDGE_MOVER::EDGE_MOVER(NODE* kept) : m_kept(kept)
{
    for (EDGE* edge : qAsConst(kept->edges))
        if (!is_joined(edge))
            enter(edge);
}

// What is entered last counts, as the last one in the kept node's list does: an
// edge that is moved goes to its end, or is the first one there from the node to
// itself.
void EDGE_MOVER::enter(EDGE* edge)
{
    m_by_ends.insert({edge->from, edge->to}, edge);
    if (edge->both_ways)
        m_by_ends.insert({edge->to, edge->from}, edge);
}

void EDGE_MOVER::move_edges_of(NODE* dropped)
{
    m_kept->weight += dropped->weight;
    for (EDGE* edge : qAsConst(dropped->edges))
        if (edge->from == dropped || edge->to == dropped) // not yet moved: one to itself is listed twice
            move_edge(edge, dropped);
}

void EDGE_MOVER::move_edge(EDGE* edge, NODE* dropped)
{
    NODE* const from = edge->from == dropped ? m_kept : edge->from;
    NODE* const to = edge->to == dropped ? m_kept : edge->to;
    if (EDGE* const known = m_by_ends.value({from, to})) {
        known->weight += edge->weight;
        edge->from = edge->to = nullptr;
        return;
    }
    if (edge->from != m_kept && edge->to != m_kept)
        m_kept->edges.append(edge);
    edge->from = from;
    edge->to = to;
    enter(edge);
}

/// Takes the joined edges out of all lists and deletes them.
void delete_joined_edges(ACTION_GRAPH& graph)
{
    for (NODE* node : qAsConst(graph.nodes))
        node->edges.erase(std::remove_if(node->edges.begin(), node->edges.end(), is_joined),
                          node->edges.end());
    const auto joined = std::stable_partition(graph.edges.begin(), graph.edges.end(),
                                              [](const EDGE* edge) { return !is_joined(edge); });
    qDeleteAll(joined, graph.edges.end());
    graph.edges.erase(joined, graph.edges.end());
}

/// The nodes of each text in order; the texts in order of the first node that has
/// them.
QVector<QVector<NODE*>> nodes_by_text(const ACTION_GRAPH& graph)
{
    QVector<QVector<NODE*>> groups;
    QHash<QString, int> group_of;
    for (NODE* node : graph.nodes) {
        const auto known = group_of.constFind(node->text);
        if (known != group_of.constEnd()) {
            groups[*known].append(node);
            continue;
        }
        group_of.insert(node->text, groups.size());
        groups.append({node});
    }
    return groups;
}

} // namespace

void join_nodes(ACTION_GRAPH& graph, ACTION_GRAPH_NODE* kept, ACTION_GRAPH_NODE* dropped)
{
    if (kept == dropped)
        return;
    EDGE_MOVER(kept).move_edges_of(dropped);
    delete_joined_edges(graph);
    graph.nodes.removeOne(dropped);
    delete dropped;
}

void join_identical_nodes(ACTION_GRAPH& graph)
{
    QVector<NODE*> kept;
    QVector<NODE*> dropped;
    const QVector<QVector<NODE*>> groups = nodes_by_text(graph);
    for (const QVector<NODE*>& namesakes : groups) {
        kept.append(namesakes.first());
        if (namesakes.size() == 1)
            continue; // most nodes have a text of their own
        EDGE_MOVER mover(namesakes.first());
        for (int i = 1; i < namesakes.size(); ++i) {
            mover.move_edges_of(namesakes.at(i));
            dropped.append(namesakes.at(i));
        }
    }
    delete_joined_edges(graph);
    qDeleteAll(dropped);
    graph.nodes = kept;
}
