#include "graph/layout_choice.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QVector>

#include <algorithm>
#include <cstdlib>

#include "graph/graph_picture.h"

namespace {

// Up to here layers answer within about three seconds; the time grows with the
// square of the layers that are crossed.
const int MOST_NODES_FOR_LAYERS = 2000;
const int MOST_EDGES_FOR_LAYERS = 4000;
const int MOST_CROSSED_LAYERS = 6000;

/// Gives each node the layer behind all that it follows, edges that close a circle
/// left aside.
class LAYERS
{
public:
    explicit LAYERS(const GRAPH_PICTURE& picture)
        : m_heads(picture.nodes.size()), m_next(picture.nodes.size()), m_layer(picture.nodes.size())
    {
        for (const PICTURE_EDGE& edge : picture.edges)
            m_heads[edge.from].append(edge.to);
        for (int node = 0; node < m_heads.size(); ++node)
            if (!is_entered(node))
                walk_from(node);
        // Whoever was left last comes first.
        QVector<int> place(m_left.size());
        for (int i = 0; i < m_left.size(); ++i)
            place[m_left.at(i)] = i;
        for (int i = m_left.size() - 1; i >= 0; --i)
            for (const int head : qAsConst(m_heads[m_left.at(i)]))
                if (place.at(head) < i)
                    m_layer[head] = std::max(m_layer.at(head), m_layer.at(m_left.at(i)) + 1);
    }

    int of(int node) const { return m_layer.at(node); }

private:
    bool is_entered(int node) const { return m_next.at(node) > 0; }

    void walk_from(int start)
    {
        QVector<int> path{start};
        m_next[start] = 1;
        while (!path.isEmpty()) {
            const int node = path.last();
            if (m_next.at(node) > m_heads.at(node).size()) {
                m_left.append(node);
                path.removeLast();
                continue;
            }
            const int head = m_heads.at(node).at(m_next[node]++ - 1);
            if (!is_entered(head)) {
                m_next[head] = 1;
                path.append(head);
            }
        }
    }

    QVector<QVector<int>> m_heads;
    QVector<int> m_next; // by node: the head to walk to next, from 1 on; 0 before it is entered
    QVector<int> m_left; // nodes, each behind those that it leads to
    QVector<int> m_layer;
};

bool crosses_many_layers(const GRAPH_PICTURE& picture)
{
    const LAYERS layers(picture);
    qint64 crossed = 0;
    for (const PICTURE_EDGE& edge : picture.edges)
        crossed += std::abs(layers.of(edge.to) - layers.of(edge.from));
    return crossed > MOST_CROSSED_LAYERS;
}

} // namespace

LAYOUT_CHOICE choose_layout(const GRAPH_PICTURE& picture)
{
    const auto springs = [](const char* reason) {
        return LAYOUT_CHOICE{LAYOUT_ENGINE::SPRING, QCoreApplication::translate("LAYOUT_RUN", reason)};
    };
    if (picture.nodes.size() > MOST_NODES_FOR_LAYERS || picture.edges.size() > MOST_EDGES_FOR_LAYERS)
        return springs(QT_TRANSLATE_NOOP("LAYOUT_RUN", "it is too large for layers"));
    if (crosses_many_layers(picture))
        return springs(QT_TRANSLATE_NOOP("LAYOUT_RUN", "it is too dense for layers"));
    return {};
}
