#pragma once

#include <QtCore/QString>
#include <QtCore/QVector>

struct ACTION_GRAPH_EDGE;

/// The values of ACTION_GRAPH_NODE::kind.
enum ACTION_GRAPH_KIND : qint32
{
    ACTION_GRAPH_ACTION = 0,
    ACTION_GRAPH_FILE = 1,
};

/// An action or a file in a graph.
struct ACTION_GRAPH_NODE
{
    QString text;                      ///< the label; when nodes are joined, the identity
    qint32 kind = ACTION_GRAPH_ACTION; ///< an ACTION_GRAPH_KIND
    qint32 weight = 1;                 ///< how many nodes have been joined into this one
    QVector<ACTION_GRAPH_EDGE*> edges; ///< all that touch the node; one from the node to itself
                                       ///< stands here twice when add_edge has made it so
};

/// An arrow between two nodes, which may be the same one.
struct ACTION_GRAPH_EDGE
{
    qint32 both_ways = 0; ///< 1: arrow heads at both ends
    qint32 weight = 1;    ///< how many edges have been joined into this one
    ACTION_GRAPH_NODE* from = nullptr;
    ACTION_GRAPH_NODE* to = nullptr;
};

/// What is to be drawn, as plain data. Owns its nodes and edges and deletes them
/// with itself. Knows no action, file or window, so it can be filled and looked
/// at on any one thread.
struct ACTION_GRAPH
{
    ACTION_GRAPH() = default;
    ~ACTION_GRAPH();

    QVector<ACTION_GRAPH_NODE*> nodes; ///< in order of creation
    QVector<ACTION_GRAPH_EDGE*> edges; ///< in order of creation

    ACTION_GRAPH_NODE* add_node(const QString& text, qint32 kind);

    /// Appends the new edge to the tail's edges, the head's and the graph's, in
    /// this order. Both ends belong to this graph.
    ACTION_GRAPH_EDGE* add_edge(ACTION_GRAPH_NODE* from, ACTION_GRAPH_NODE* to, qint32 both_ways);

    /// Whether an edge joins the two, in either direction. Takes as long as the
    /// node with fewer edges has edges.
    static bool has_edge(const ACTION_GRAPH_NODE* node, const ACTION_GRAPH_NODE* other);

private:
    Q_DISABLE_COPY(ACTION_GRAPH)
};
