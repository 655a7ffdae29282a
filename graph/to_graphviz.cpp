#include "graph/to_graphviz.h"

#include <QtCore/QByteArray>
#include <QtCore/QHash>

#include <algorithm>
#include <cstdint>

#include "graph/action_graph.h"
#include "graph/graphviz.h"

namespace {

const int DIRECTED = 1;

void set(void* object, const char* name, const char* value)
{
    GRAPHVIZ::instance().set_attribute(object, name, value, "");
}

Agnode_s* add_node(Agraph_s* target, const ACTION_GRAPH_NODE* node)
{
    const QByteArray name = QByteArray::number(qulonglong(reinterpret_cast<std::uintptr_t>(node)));
    Agnode_s* const added = GRAPHVIZ::instance().add_node(target, name.constData());
    const QByteArray label = node->text.toLocal8Bit();
    set(added, "label", label.constData());
    if (QString::fromLocal8Bit(label) != node->text)
        set(added, "tooltip", node->text.toUtf8().constData());
    set(added, "shape", "box");
    set(added, "style", "filled");
    set(added, "fillcolor", node->kind == ACTION_GRAPH_FILE ? "powderblue" : "sandybrown");
    return added;
}

void add_edge(Agraph_s* target, const ACTION_GRAPH_EDGE* edge, Agnode_s* tail, Agnode_s* head)
{
    Agedge_s* const added = GRAPHVIZ::instance().add_edge(target, tail, head);
    if (edge->both_ways == 1)
        set(added, "dir", "both");
    const qint32 members = std::min(edge->from->weight, edge->to->weight);
    if (edge->weight < members)
        set(added, "style", edge->weight >= members / 2 ? "dashed" : "dotted");
}

} // namespace

Agraph_s* to_graphviz(const ACTION_GRAPH& graph)
{
    Agraph_s* const target = GRAPHVIZ::instance().open_graph("graph", DIRECTED);
    QHash<const ACTION_GRAPH_NODE*, Agnode_s*> nodes;
    nodes.reserve(graph.nodes.size());
    for (const ACTION_GRAPH_NODE* node : graph.nodes)
        nodes.insert(node, add_node(target, node));
    for (const ACTION_GRAPH_EDGE* edge : graph.edges)
        add_edge(target, edge, nodes.value(edge->from), nodes.value(edge->to));
    return target;
}
