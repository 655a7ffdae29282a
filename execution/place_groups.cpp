#include "execution/place_groups.h"

#include <algorithm>

#include "execution/sequence.h"

namespace {

// The members of each group, by group number.
INTEGER_ROWS members_by_group(const PLAN_GRAPH& graph, int next_group)
{
    INTEGER_ROWS members;
    FW::VECTOR<std::pair<int, int>> all; // group, action
    for (int action = 0; action < graph.selected(); ++action) {
        const int group = graph.group[std::size_t(action)];
        if (group >= 1 && group < next_group)
            all.emplace_back(group, action);
    }
    std::sort(all.begin(), all.end());
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (i > 0 && all[i].first != all[i - 1].first)
            members.end_row();
        members.items.push_back(all[i].second);
    }
    if (!all.empty())
        members.end_row();
    return members;
}

// For the members of some groups, who depends on them: walks over all closures,
// which say it the other way round.
class DEPENDANTS
{
public:
    explicit DEPENDANTS(const PLAN_GRAPH& graph);

    /// Rows for the members of groups from `first` on, up to where they would take
    /// much memory beside the closures; gives the group behind the last one.
    int collect(const INTEGER_ROWS& members, int first);

    const int* begin(int member) const { return m_dependants.begin(m_row[std::size_t(member)]); }
    const int* end(int member) const { return m_dependants.end(m_row[std::size_t(member)]); }

private:
    template <typename TAKE>
    void for_each(TAKE take) const
    {
        for (int action = 0; action < m_graph.selected(); ++action)
            for (const int d : m_graph.closure(action))
                if (d < m_graph.selected() && m_row[std::size_t(d)] >= 0)
                    take(std::size_t(m_row[std::size_t(d)]), action);
    }
    void give_rows(const INTEGER_ROWS& members, int first, int end);

    const PLAN_GRAPH& m_graph;
    FW::VECTOR<int> m_row; // by action; -1 for none
    INTEGER_ROWS m_dependants;
    std::size_t m_most = 0; // entries at once, unless a single group has more
};

DEPENDANTS::DEPENDANTS(const PLAN_GRAPH& graph) : m_graph(graph), m_row(std::size_t(graph.selected()), -1)
{
    const std::size_t PART = 16;
    for (int action = 0; action < graph.selected(); ++action)
        m_most += std::size_t(graph.actions[std::size_t(action)]->all_dependencies.size());
    m_most /= PART;
}

void DEPENDANTS::give_rows(const INTEGER_ROWS& members, int first, int end)
{
    std::fill(m_row.begin(), m_row.end(), -1);
    int rows = 0;
    for (int group = first; group < end; ++group)
        if (members.size(group) > 1)
            for (const int* member = members.begin(group); member != members.end(group); ++member)
                m_row[std::size_t(*member)] = rows++;
}

int DEPENDANTS::collect(const INTEGER_ROWS& members, int first)
{
    give_rows(members, first, members.rows());
    FW::VECTOR<std::size_t> counts(std::size_t(m_graph.selected()), 0);
    FW::VECTOR<std::pair<std::size_t, int>> found; // as many as may be held, mostly all
    std::size_t all = 0;
    for_each([&](std::size_t row, int action) {
        ++counts[row];
        if (++all <= m_most)
            found.emplace_back(row, action);
    });

    int end = first;
    std::size_t rows = 0;
    for (std::size_t entries = 0; end < members.rows() && (rows == 0 || entries <= m_most); ++end)
        if (members.size(end) > 1)
            for (int member = 0; member < members.size(end); ++member)
                entries += counts[rows++];
    counts.resize(rows);
    give_rows(members, first, end);
    m_dependants.make_rows(counts);
    FW::VECTOR<std::size_t> next = m_dependants.first;
    const auto enter = [&](std::size_t row, int action) { m_dependants.items[next[row]++] = action; };
    if (all > m_most)
        for_each(enter);
    else
        for (const auto& [row, action] : found)
            enter(row, action);
    return end;
}

class GROUP_PLACING
{
public:
    GROUP_PLACING(SEQUENCE& sequence, const PLAN_GRAPH& graph, const DEPENDANTS& dependants)
        : m_sequence(sequence), m_graph(graph), m_dependants(dependants)
    {
    }

    void place(FW::VECTOR<int> members)
    {
        std::sort(members.begin(), members.end(),
                  [&](int a, int b) { return m_sequence.comes_before(a, b); });
        for (std::size_t k = 0; k + 1 < members.size(); ++k)
            pull_forward(members[k + 1], members[k]);
        for (std::size_t k = members.size() - 1; k >= 1; --k)
            push_back(members[k - 1], members[k]);
    }

private:
    int level(int action) const { return m_graph.level[std::size_t(action)]; }

    void pull_forward(int member, int former)
    {
        int halt = former; // the last action between the two that the member can't pass
        for (const int d : m_graph.closure(member))
            if (d < m_graph.selected() && level(d) < level(member) && m_sequence.comes_before(d, member) &&
                m_sequence.comes_before(halt, d))
                halt = d;
        m_sequence.move_behind(member, halt);
    }

    void push_back(int member, int later)
    {
        int halt = later; // the first action between the two that the member can't pass
        for (const int* a = m_dependants.begin(member); a != m_dependants.end(member); ++a)
            if (level(member) < level(*a) && m_sequence.comes_before(member, *a) &&
                m_sequence.comes_before(*a, halt))
                halt = *a;
        m_sequence.move_before(member, halt);
    }

    SEQUENCE& m_sequence;
    const PLAN_GRAPH& m_graph;
    const DEPENDANTS& m_dependants;
};

} // namespace

void place_groups(FW::VECTOR<int>& order, const PLAN_GRAPH& graph, int next_group)
{
    const INTEGER_ROWS members = members_by_group(graph, next_group);
    SEQUENCE sequence(order);
    DEPENDANTS dependants(graph);
    GROUP_PLACING placing(sequence, graph, dependants);
    for (int first = 0; first < members.rows();) {
        const int end = dependants.collect(members, first);
        for (; first < end; ++first)
            if (members.size(first) > 1)
                placing.place(FW::VECTOR<int>(members.begin(first), members.end(first)));
    }
    order = sequence.to_vector();
}
