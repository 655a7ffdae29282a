#include "graph/join_nodes.h"

#include <QtCore/QHash>

#include <algorithm>
#include <cstdint>

#include "contracts/services/fw_memory.h"
#include "graph/action_graph.h"

namespace {

using NODE = ACTION_GRAPH_NODE;
using EDGE = ACTION_GRAPH_EDGE;

/// What a kept node has between it and another one, in one direction. Places are
/// those in the kept node's list, -1 is none.
struct LAST_EDGES
{
    int any_place = -1;
    int both_ways_place = -1;
    EDGE* any = nullptr;
    EDGE* both_ways = nullptr; ///< the last that goes both ways
};

/// The edges of one kept node after the other by their ends. Takes no memory of
/// its own for an entry and is emptied at no cost, since it is filled for every
/// kept node anew.
class EDGES_BY_ENDS
{
public:
    void clear() { ++m_round, m_count = 0; }

    LAST_EDGES find(const NODE* from, const NODE* to) const
    {
        const SLOT& slot = m_slots[place_of(from, to)];
        return slot.round == m_round ? slot.last : LAST_EDGES();
    }

    LAST_EDGES& entry(const NODE* from, const NODE* to)
    {
        if (2 * ++m_count > m_slots.size())
            grow();
        SLOT& slot = m_slots[place_of(from, to)];
        if (slot.round != m_round)
            slot = {from, to, m_round, {}};
        return slot.last;
    }

private:
    struct SLOT
    {
        const NODE* from = nullptr;
        const NODE* to = nullptr;
        std::size_t round = 0; ///< free unless it is the table's
        LAST_EDGES last;
    };

    /// Of the entry for these ends, or of the free slot that it would get. The
    /// number of slots is a power of two.
    std::size_t place_of(const NODE* from, const NODE* to) const
    {
        const std::uint64_t mixed = (reinterpret_cast<std::uintptr_t>(from) * 0x9e3779b97f4a7c15ULL) ^
                                    (reinterpret_cast<std::uintptr_t>(to) * 0xc2b2ae3d27d4eb4fULL);
        std::size_t place = std::size_t(mixed >> 32) & (m_slots.size() - 1);
        while (m_slots[place].round == m_round && (m_slots[place].from != from || m_slots[place].to != to))
            place = (place + 1) & (m_slots.size() - 1);
        return place;
    }

    void grow()
    {
        const FW::VECTOR<SLOT> former = std::move(m_slots);
        m_slots = FW::VECTOR<SLOT>(former.size() * 2);
        for (const SLOT& slot : former)
            if (slot.round == m_round)
                m_slots[place_of(slot.from, slot.to)] = slot;
    }

    FW::VECTOR<SLOT> m_slots = FW::VECTOR<SLOT>(64);
    std::size_t m_round = 1;
    std::size_t m_count = 0; ///< at least that of the entries
};

/// An edge that was joined into another has no ends until it is deleted.
bool is_dead(const EDGE* edge)
{
    return !edge->from;
}

bool is_dropped(const NODE* node)
{
    return node->weight == 0;
}

void forget_dead(QVector<EDGE*>& edges)
{
    if (std::any_of(edges.cbegin(), edges.cend(), is_dead))
        edges.erase(std::remove_if(edges.begin(), edges.end(), is_dead), edges.end());
}

/// Deletes in the order of the list, in which the items mostly lie in memory too.
template <typename ITEM>
void delete_marked(QVector<ITEM*>& items, bool (*is_marked)(const ITEM*))
{
    const auto end =
        std::stable_partition(items.begin(), items.end(), [&](const ITEM* item) { return !is_marked(item); });
    std::for_each(end, items.end(), [](ITEM* item) { delete item; });
    items.erase(end, items.end());
}

/// Joins nodes into one kept node after the other. What goes is only marked
/// meanwhile, so that no list is searched for them; `finish` takes them out of
/// all lists at once.
class JOINER
{
public:
    explicit JOINER(ACTION_GRAPH& graph) : m_graph(graph) {}

    void keep(NODE* node);
    void drop(NODE* node); ///< into the node given to `keep` last
    void finish();

private:
    void enter(EDGE* edge, int place);
    int place_in_list(const EDGE* edge);
    void move_edge(EDGE* edge, NODE* dropped);
    EDGE* last_with_ends(const NODE* from, const NODE* to) const;

    ACTION_GRAPH& m_graph;
    NODE* m_kept = nullptr;
    EDGES_BY_ENDS m_by_ends;          // edges of the kept node
    QHash<const EDGE*, int> m_places; // their last places in its list
    int m_placed = 0;                 // how much of that list is in m_places: nothing until asked for
    bool m_has_dropped = false;
};

void JOINER::keep(NODE* node)
{
    m_kept = node;
    m_by_ends.clear();
    m_places.clear();
    m_placed = 0;
    for (int i = 0; i < node->edges.size(); ++i)
        if (!is_dead(node->edges.at(i)))
            enter(node->edges.at(i), i);
}

void JOINER::enter(EDGE* edge, int place)
{
    LAST_EDGES& last = m_by_ends.entry(edge->from, edge->to);
    if (place > last.any_place) {
        last.any_place = place;
        last.any = edge;
    }
    if (edge->both_ways && place > last.both_ways_place) {
        last.both_ways_place = place;
        last.both_ways = edge;
    }
}

// Entries for ends that an edge had before stay behind; they name a dropped node,
// which nobody asks for again.
EDGE* JOINER::last_with_ends(const NODE* from, const NODE* to) const
{
    const LAST_EDGES ahead = m_by_ends.find(from, to);
    const LAST_EDGES back = m_by_ends.find(to, from);
    return back.both_ways_place > ahead.any_place ? back.both_ways : ahead.any;
}

void JOINER::drop(NODE* node)
{
    m_kept->weight += node->weight;
    const QVector<EDGE*> edges = node->edges;
    for (EDGE* edge : edges)
        if (edge->from == node || edge->to == node) // not yet moved: one to itself is listed twice
            move_edge(edge, node);
    node->weight = 0;
    m_has_dropped = true;
}

// Only for edges between the kept and a dropped node, which most never have.
int JOINER::place_in_list(const EDGE* edge)
{
    for (; m_placed < m_kept->edges.size(); ++m_placed)
        m_places.insert(m_kept->edges.at(m_placed), m_placed);
    return m_places.value(edge);
}

void JOINER::move_edge(EDGE* edge, NODE* dropped)
{
    NODE* const from = edge->from == dropped ? m_kept : edge->from;
    NODE* const to = edge->to == dropped ? m_kept : edge->to;
    if (EDGE* const known = last_with_ends(from, to)) {
        known->weight += edge->weight;
        edge->from = edge->to = nullptr;
        return;
    }
    const bool is_listed = edge->from == m_kept || edge->to == m_kept;
    const int place = is_listed ? place_in_list(edge) : m_kept->edges.size();
    edge->from = from;
    edge->to = to;
    if (!is_listed)
        m_kept->edges.append(edge);
    enter(edge, place);
}

void JOINER::finish()
{
    if (!m_has_dropped)
        return;
    delete_marked(m_graph.nodes, is_dropped);
    for (NODE* node : qAsConst(m_graph.nodes))
        forget_dead(node->edges);
    delete_marked(m_graph.edges, is_dead);
}

struct MEMBER // of the nodes of one text
{
    NODE* node;
    bool is_first;
    bool is_last;
};

/// Nodes of one text behind one another, in order; the texts in order of the first
/// node that has them.
FW::VECTOR<MEMBER> nodes_by_text(const ACTION_GRAPH& graph)
{
    const int count = graph.nodes.size();
    FW::VECTOR<int> next(std::size_t(count), -1); // node of the same text, -1 behind the last
    FW::VECTOR<char> is_first(std::size_t(count), 1);
    QHash<QString, int> last;
    last.reserve(count);
    for (int i = 0; i < count; ++i) {
        const auto known = last.find(graph.nodes.at(i)->text);
        if (known == last.end()) {
            last.insert(graph.nodes.at(i)->text, i);
            continue;
        }
        next[std::size_t(*known)] = i;
        is_first[std::size_t(i)] = 0;
        *known = i;
    }
    FW::VECTOR<MEMBER> order;
    order.reserve(std::size_t(count));
    for (int i = 0; i < count; ++i)
        for (int node = is_first[std::size_t(i)] ? i : -1; node >= 0; node = next[std::size_t(node)])
            order.push_back({graph.nodes.at(node), node == i, next[std::size_t(node)] < 0});
    return order;
}

void call_into_cache(const void* place)
{
#ifdef __GNUC__
    __builtin_prefetch(place);
#else
    Q_UNUSED(place)
#endif
}

/// Nodes of one text lie far apart in memory, and waiting for it would be most of
/// the work in a large graph: what the steps behind `place` need is called for
/// ahead of time.
void call_ahead(const FW::VECTOR<MEMBER>& order, std::size_t place)
{
    if (place + 12 < order.size())
        call_into_cache(order[place + 12].node);
    if (place + 8 < order.size())
        call_into_cache(order[place + 8].node->edges.constData());
    if (place + 4 < order.size())
        for (const EDGE* edge : qAsConst(order[place + 4].node->edges))
            call_into_cache(edge);
}

} // namespace

void join_nodes(ACTION_GRAPH& graph, ACTION_GRAPH_NODE* kept, ACTION_GRAPH_NODE* dropped)
{
    if (kept == dropped)
        return;
    JOINER joiner(graph);
    joiner.keep(kept);
    joiner.drop(dropped);
    joiner.finish();
}

void join_identical_nodes(ACTION_GRAPH& graph)
{
    const FW::VECTOR<MEMBER> order = nodes_by_text(graph);
    JOINER joiner(graph);
    for (std::size_t i = 0; i < order.size(); ++i) {
        call_ahead(order, i);
        if (!order[i].is_first)
            joiner.drop(order[i].node);
        else if (!order[i].is_last)
            joiner.keep(order[i].node);
    }
    joiner.finish();
}
