#include "execution/order_by_level.h"

#include <algorithm>
#include <functional>
#include <queue>

namespace {

const int NOWHERE = 0x7fffffff;

using POSITIONS = std::priority_queue<int, std::vector<int>, std::greater<int>>;

// The positions of each level that are still to be sorted, the first of them at
// hand, and for any level the lower level whose first position comes earliest.
class LEVEL_FRONTS
{
public:
    explicit LEVEL_FRONTS(const std::vector<int>& ranks, int levels) : m_positions(std::size_t(levels))
    {
        while (m_leaves < levels)
            m_leaves *= 2;
        std::vector<std::vector<int>> by_rank(static_cast<std::size_t>(levels));
        for (std::size_t i = 0; i < ranks.size(); ++i)
            by_rank[std::size_t(ranks[i])].push_back(int(i));
        m_tree.assign(std::size_t(2 * m_leaves), NOWHERE);
        for (int rank = 0; rank < levels; ++rank) {
            m_positions[std::size_t(rank)] =
                POSITIONS(std::greater<int>(), std::move(by_rank[std::size_t(rank)]));
            m_tree[std::size_t(m_leaves + rank)] = front(rank);
        }
        for (int node = m_leaves - 1; node > 0; --node)
            update(node);
    }

    int take_front(int rank)
    {
        const int position = m_positions[std::size_t(rank)].top();
        m_positions[std::size_t(rank)].pop();
        front_changed(rank);
        return position;
    }

    void put(int rank, int position)
    {
        m_positions[std::size_t(rank)].push(position);
        front_changed(rank);
    }

    // The earliest position of all levels below `rank`.
    int earliest_below(int rank) const
    {
        int earliest = NOWHERE;
        int low = m_leaves;
        int high = m_leaves + rank;
        while (low < high) {
            if (high % 2)
                earliest = std::min(earliest, m_tree[std::size_t(--high)]);
            if (low % 2)
                earliest = std::min(earliest, m_tree[std::size_t(low++)]);
            low /= 2;
            high /= 2;
        }
        return earliest;
    }

private:
    int front(int rank) const
    {
        const POSITIONS& positions = m_positions[std::size_t(rank)];
        return positions.empty() ? NOWHERE : positions.top();
    }

    void update(int node)
    {
        m_tree[std::size_t(node)] =
            std::min(m_tree[std::size_t(2 * node)], m_tree[std::size_t(2 * node + 1)]);
    }

    void front_changed(int rank)
    {
        int node = m_leaves + rank;
        m_tree[std::size_t(node)] = front(rank);
        for (node /= 2; node > 0; node /= 2)
            update(node);
    }

    std::vector<POSITIONS> m_positions;
    int m_leaves = 1;
    std::vector<int> m_tree; // minimum of the fronts, leaves behind inner nodes
};

std::vector<int> ranks_of(const std::vector<int>& levels, int& count)
{
    std::vector<int> distinct = levels;
    std::sort(distinct.begin(), distinct.end());
    distinct.erase(std::unique(distinct.begin(), distinct.end()), distinct.end());
    count = int(distinct.size());
    std::vector<int> ranks(levels.size());
    for (std::size_t i = 0; i < levels.size(); ++i)
        ranks[i] = int(std::lower_bound(distinct.begin(), distinct.end(), levels[i]) - distinct.begin());
    return ranks;
}

} // namespace

std::vector<int> order_by_level(const std::vector<int>& levels)
{
    int level_count = 0;
    const std::vector<int> ranks = ranks_of(levels, level_count);
    LEVEL_FRONTS fronts(ranks, level_count);
    std::vector<int> order(levels.size());
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i] = int(i);

    // When its turn comes, a place takes the elements of ever lower levels that
    // follow, each the first of its level, and each moves to where the next one
    // was found.
    for (std::size_t i = 0; i < order.size(); ++i) {
        int held = order[i];
        fronts.take_front(ranks[std::size_t(held)]);
        int found = fronts.earliest_below(ranks[std::size_t(held)]);
        while (found != NOWHERE) {
            std::swap(held, order[std::size_t(found)]);
            fronts.take_front(ranks[std::size_t(held)]);
            fronts.put(ranks[std::size_t(order[std::size_t(found)])], found);
            found = fronts.earliest_below(ranks[std::size_t(held)]);
        }
        order[i] = held;
    }
    return order;
}
