#include "execution/order_by_level.h"

#include <QtCore/QtAlgorithms>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <queue>

namespace {

const int NOWHERE = 0x7fffffff;

// With more levels each has few positions in many words of bits, and heaps are quicker.
const int MOST_LEVELS_IN_BITS = 256;

// Positions of a sort of which the first never moves back: one bit each.
class POSITION_BITS
{
public:
    explicit POSITION_BITS(std::size_t size) : m_words(size / 64 + 1) {}

    int front()
    {
        while (m_words[m_first] == 0)
            if (++m_first == m_words.size()) {
                m_first = m_words.size() - 1;
                return NOWHERE;
            }
        return int(m_first * 64) + lowest_bit(m_words[m_first]);
    }
    void take(int position) { m_words[std::size_t(position) / 64] &= ~bit(position); }
    void put(int position) { m_words[std::size_t(position) / 64] |= bit(position); }

private:
    static std::uint64_t bit(int position) { return std::uint64_t(1) << (position % 64); }
    static int lowest_bit(std::uint64_t word) { return int(qCountTrailingZeroBits(quint64(word))); }

    FW::VECTOR<std::uint64_t> m_words;
    std::size_t m_first = 0;
};

// The same for any number of levels.
class POSITION_HEAP
{
public:
    explicit POSITION_HEAP(std::size_t) {}

    int front() const { return m_heap.empty() ? NOWHERE : m_heap.top(); }
    void take(int) { m_heap.pop(); }
    void put(int position) { m_heap.push(position); }

private:
    std::priority_queue<int, FW::VECTOR<int>, std::greater<int>> m_heap;
};

// The positions of each level that are still to be sorted, the first of them at
// hand, and for any level the lower level whose first position comes earliest.
template <typename POSITIONS>
class LEVEL_FRONTS
{
public:
    LEVEL_FRONTS(const FW::VECTOR<int>& ranks, int levels)
        : m_positions(std::size_t(levels), POSITIONS(ranks.size()))
    {
        while (m_leaves < levels)
            m_leaves *= 2;
        for (std::size_t i = 0; i < ranks.size(); ++i)
            m_positions[std::size_t(ranks[i])].put(int(i));
        m_tree.assign(std::size_t(2 * m_leaves), NOWHERE);
        for (int rank = 0; rank < levels; ++rank)
            m_tree[std::size_t(m_leaves + rank)] = m_positions[std::size_t(rank)].front();
        for (int node = m_leaves - 1; node > 0; --node)
            update(node);
    }

    void take_front(int rank)
    {
        m_positions[std::size_t(rank)].take(m_tree[std::size_t(m_leaves + rank)]);
        front_changed(rank);
    }

    // Takes the front of the level and puts in a later position.
    void move_front(int rank, int position)
    {
        m_positions[std::size_t(rank)].take(m_tree[std::size_t(m_leaves + rank)]);
        m_positions[std::size_t(rank)].put(position);
        front_changed(rank);
    }

    // The earliest position of all levels below `rank`: of each subtree to the left of
    // the way from its leaf to the root.
    int earliest_below(int rank) const
    {
        int earliest = NOWHERE;
        for (int node = m_leaves + rank; node > 1; node /= 2)
            if (node % 2)
                earliest = std::min(earliest, m_tree[std::size_t(node - 1)]);
        return earliest;
    }

private:
    void update(int node)
    {
        m_tree[std::size_t(node)] =
            std::min(m_tree[std::size_t(2 * node)], m_tree[std::size_t(2 * node + 1)]);
    }

    void front_changed(int rank)
    {
        int node = m_leaves + rank;
        m_tree[std::size_t(node)] = m_positions[std::size_t(rank)].front();
        for (node /= 2; node > 0; node /= 2)
            update(node);
    }

    FW::VECTOR<POSITIONS> m_positions;
    int m_leaves = 1;
    FW::VECTOR<int> m_tree; // minimum of the fronts, leaves behind inner nodes
};

FW::VECTOR<int> ranks_of(const FW::VECTOR<int>& levels, int& count)
{
    FW::VECTOR<int> distinct = levels;
    std::sort(distinct.begin(), distinct.end());
    distinct.erase(std::unique(distinct.begin(), distinct.end()), distinct.end());
    count = int(distinct.size());
    FW::VECTOR<int> ranks(levels.size());
    for (std::size_t i = 0; i < levels.size(); ++i)
        ranks[i] = int(std::lower_bound(distinct.begin(), distinct.end(), levels[i]) - distinct.begin());
    return ranks;
}

// When its turn comes, a place takes the elements of ever lower levels that
// follow, each the first of its level, and each moves to where the next one was
// found.
template <typename POSITIONS>
FW::VECTOR<int> exchange_sorted(const FW::VECTOR<int>& ranks, int level_count)
{
    LEVEL_FRONTS<POSITIONS> fronts(ranks, level_count);
    FW::VECTOR<int> order(ranks.size());
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i] = int(i);
    for (std::size_t i = 0; i < order.size(); ++i) {
        int held = order[i];
        int rank = ranks[std::size_t(held)];
        int found = fronts.earliest_below(rank);
        while (found != NOWHERE) {
            fronts.move_front(rank, found);
            std::swap(held, order[std::size_t(found)]);
            rank = ranks[std::size_t(held)];
            found = fronts.earliest_below(rank);
        }
        fronts.take_front(rank);
        order[i] = held;
    }
    return order;
}

} // namespace

FW::VECTOR<int> order_by_level(const FW::VECTOR<int>& levels)
{
    int level_count = 0;
    const FW::VECTOR<int> ranks = ranks_of(levels, level_count);
    return level_count <= MOST_LEVELS_IN_BITS ? exchange_sorted<POSITION_BITS>(ranks, level_count)
                                              : exchange_sorted<POSITION_HEAP>(ranks, level_count);
}
