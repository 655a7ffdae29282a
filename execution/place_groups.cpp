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

// For each action that is a member of a group of several, who depends on it;
// nothing for others.
INTEGER_ROWS dependants_of_members(const PLAN_GRAPH& graph, const INTEGER_ROWS& members)
{
    FW::VECTOR<char> is_member(std::size_t(graph.selected()), 0);
    for (int row = 0; row < members.rows(); ++row)
        if (members.size(row) > 1)
            for (const int* member = members.begin(row); member != members.end(row); ++member)
                is_member[std::size_t(*member)] = 1;

    const auto for_each_dependant = [&](auto&& take) {
        for (int action = 0; action < graph.selected(); ++action)
            for (const int* d = graph.closures.begin(action); d != graph.closures.end(action); ++d)
                if (*d < graph.selected() && is_member[std::size_t(*d)])
                    take(*d, action);
    };
    INTEGER_ROWS dependants;
    dependants.first.assign(std::size_t(graph.selected()) + 1, 0);
    for_each_dependant([&](int member, int) { ++dependants.first[std::size_t(member) + 1]; });
    for (std::size_t i = 1; i < dependants.first.size(); ++i)
        dependants.first[i] += dependants.first[i - 1];
    dependants.items.resize(dependants.first.back());
    FW::VECTOR<std::size_t> next = dependants.first;
    for_each_dependant(
        [&](int member, int action) { dependants.items[next[std::size_t(member)]++] = action; });
    return dependants;
}

class GROUP_PLACING
{
public:
    GROUP_PLACING(SEQUENCE& sequence, const PLAN_GRAPH& graph, const INTEGER_ROWS& dependants)
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
        for (const int* d = m_graph.closures.begin(member); d != m_graph.closures.end(member); ++d)
            if (*d < m_graph.selected() && level(*d) < level(member) && m_sequence.comes_before(*d, member) &&
                m_sequence.comes_before(halt, *d))
                halt = *d;
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
    const INTEGER_ROWS& m_dependants;
};

} // namespace

void place_groups(FW::VECTOR<int>& order, const PLAN_GRAPH& graph, int next_group)
{
    const INTEGER_ROWS members = members_by_group(graph, next_group);
    const INTEGER_ROWS dependants = dependants_of_members(graph, members);
    SEQUENCE sequence(order);
    GROUP_PLACING placing(sequence, graph, dependants);
    for (int row = 0; row < members.rows(); ++row)
        if (members.size(row) > 1)
            placing.place(FW::VECTOR<int>(members.begin(row), members.end(row)));
    order = sequence.to_vector();
}
