#include "execution/level_sweeps.h"

#include <QtCore/QtAlgorithms>

int DUE_ACTIONS::take_next(int from)
{
    std::size_t place = std::size_t(from) / 64;
    if (place >= m_words.size())
        return -1;
    std::uint64_t word = m_words[place] & (~std::uint64_t(0) << (from % 64));
    while (word == 0) {
        if (++place == m_words.size())
            return -1;
        word = m_words[place];
    }
    const int action = int(place * 64) + int(qCountTrailingZeroBits(quint64(word)));
    m_words[place] &= ~bit(action);
    return action;
}

LEVEL_SWEEPS::LEVEL_SWEEPS(const PLAN_GRAPH& graph, const KNOTS& knots, const FW::VECTOR<int>& settled)
    : m_graph(graph), m_knots(knots), m_settled(settled), m_due(graph.selected())
{
}

bool LEVEL_SWEEPS::run()
{
    begin();
    std::int64_t next_look = 0; // at a distance that grows, as a look costs as much as a sweep
    const std::int64_t most = most_sweeps();
    for (std::int64_t sweeps = 0; sweeps < most; ++sweeps) {
        sweep();
        if (m_last < 0 || !counts_as_change(m_last))
            return true;
        measure_growth();
        if (m_restless.empty() || m_even_sweeps < 2 || sweeps < next_look)
            continue;
        next_look = sweeps + sweeps / 8;
        if (!is_steady())
            continue;
        if (counts_as_change(m_last_restless))
            return false;
        sweep_beside_steady_ones();
        return true;
    }
    return false;
}

void LEVEL_SWEEPS::begin()
{
    m_level = m_graph.level;
    m_is_restless = m_knots.restless_ones();
    m_growth.assign(m_level.size(), 0);
    read_knots();
    for (int action = 0; action < m_graph.selected(); ++action) {
        m_due.put(action);
        if (m_is_restless[std::size_t(m_knots.of(action))]) {
            m_restless.push_back(action);
            m_former.push_back(m_level[std::size_t(action)]);
        }
    }
}

void LEVEL_SWEEPS::read_knots()
{
    m_inside.resize(std::size_t(m_knots.count()));
    m_below.assign(m_inside.size(), NO_LEVEL);
    FW::VECTOR<std::size_t> readers(m_inside.size(), 0);
    for (int knot = 0; knot < m_knots.count(); ++knot) {
        m_knots.for_each_below(knot, [&](int below) { ++readers[std::size_t(below)]; });
        for (const int* action = m_knots.actions.begin(knot); action != m_knots.actions.end(knot); ++action)
            m_inside[std::size_t(knot)].enter(*action, m_level[std::size_t(*action)]);
        m_top.push_back(m_inside[std::size_t(knot)].highest());
    }
    m_above.make_rows(readers);
    FW::VECTOR<std::size_t> next = m_above.first;
    for (int knot = 0; knot < m_knots.count(); ++knot) {
        int& below = m_below[std::size_t(knot)];
        m_knots.for_each_below(knot, [&](int other) {
            m_above.items[next[std::size_t(other)]++] = knot;
            below = std::max(below, m_top[std::size_t(other)]);
        });
        if (m_knots.passes_on)
            m_top[std::size_t(knot)] = std::max(m_top[std::size_t(knot)], below);
    }
    m_first_above.assign(m_inside.size(), int(m_level.size()));
    for (int knot = m_knots.count() - 1; knot >= 0; --knot)
        for (const int* above = m_above.begin(knot); above != m_above.end(knot); ++above)
            m_first_above[std::size_t(knot)] =
                std::min({m_first_above[std::size_t(knot)], m_first_above[std::size_t(*above)],
                          *m_knots.actions.begin(*above)});
}

void LEVEL_SWEEPS::sweep()
{
    m_last = m_last_restless = -1;
    for (int action = m_due.take_next(0); action >= 0; action = m_due.take_next(action + 1)) {
        const std::size_t knot = std::size_t(m_knots.of(action));
        const int read = std::max(m_below[knot], m_inside[knot].others_than(action));
        if (m_level[std::size_t(action)] > read || (m_are_steady && m_is_restless[knot]))
            continue;
        m_current = m_last = action;
        if (m_is_restless[knot])
            m_last_restless = action;
        raise(action, read + 1);
    }
}

void LEVEL_SWEEPS::raise(int action, int level)
{
    const int knot = m_knots.of(action);
    m_level[std::size_t(action)] = level;
    m_inside[std::size_t(knot)].enter(action, level);
    look_at(knot, level);
    pass_on(knot, level);
}

void LEVEL_SWEEPS::pass_on(int knot, int level)
{
    m_waiting.assign(1, knot);
    while (!m_waiting.empty()) {
        int& top = m_top[std::size_t(m_waiting.back())];
        const int current = m_waiting.back();
        m_waiting.pop_back();
        if (top >= level)
            continue;
        top = level;
        for (const int* above = m_above.begin(current); above != m_above.end(current); ++above) {
            int& below = m_below[std::size_t(*above)];
            if (below >= level)
                continue;
            below = level;
            look_at(*above, level);
            if (m_knots.passes_on && !is_raised_before_seen(*above, level))
                m_waiting.push_back(*above);
        }
    }
}

// Then what it passes on is still higher, and this level need not be. Where
// dependencies come first in the order, this is what keeps a sweep short.
bool LEVEL_SWEEPS::is_raised_before_seen(int knot, int level) const
{
    return std::any_of(m_knots.actions.begin(knot), m_knots.actions.end(knot), [&](int action) {
        return action > m_current && action < m_first_above[std::size_t(knot)] &&
               m_level[std::size_t(action)] <= level;
    });
}

// The actions of the knot that such a level raises are due.
void LEVEL_SWEEPS::look_at(int knot, int level)
{
    for (const int* action = m_knots.actions.begin(knot); action != m_knots.actions.end(knot); ++action)
        if (m_knots.is_selected(*action) && m_level[std::size_t(*action)] <= level)
            m_due.put(*action);
}

// Asked at the end of the sweep, of the last action that it raised: what raised it
// was the first of its closure with the highest level, which nobody has raised since.
bool LEVEL_SWEEPS::counts_as_change(int action) const
{
    if (m_knots.passes_on && m_knots.actions.size(m_knots.of(action)) == 1)
        return true;
    for (const int read : m_graph.closure(action))
        if (m_level[std::size_t(read)] + 1 == m_level[std::size_t(action)])
            return !m_graph.is_in_closure(action, read);
    return true;
}

void LEVEL_SWEEPS::measure_growth()
{
    bool is_even = true;
    for (std::size_t i = 0; i < m_restless.size(); ++i) {
        const std::size_t action = std::size_t(m_restless[i]);
        const int growth = m_level[action] - m_former[i];
        is_even = is_even && growth == m_growth[action];
        m_growth[action] = growth;
        m_former[i] = m_level[action];
    }
    m_even_sweeps = is_even ? m_even_sweeps + 1 : 0;
}

bool LEVEL_SWEEPS::is_steady() const
{
    FW::VECTOR<int> fastest(m_top.size(), 0);      // by knot: the growth that can be read there
    FW::VECTOR<int> quiet(m_top.size(), NO_LEVEL); // and the level that others than restless ones will have
    for (const int action : m_restless)
        fastest[std::size_t(m_knots.of(action))] =
            std::max(fastest[std::size_t(m_knots.of(action))], m_growth[std::size_t(action)]);
    for (int knot = 0; knot < m_knots.count(); ++knot) {
        int& quiet_here = quiet[std::size_t(knot)];
        int fastest_below = 0;
        m_knots.for_each_below(knot, [&](int below) {
            fastest_below = std::max(fastest_below, fastest[std::size_t(below)]);
            quiet_here = std::max(quiet_here, quiet[std::size_t(below)]);
        });
        if (!is_steady(knot, fastest_below, quiet_here, fastest[std::size_t(knot)]))
            return false;
        if (m_knots.passes_on)
            fastest[std::size_t(knot)] = std::max(fastest[std::size_t(knot)], fastest_below);
        if (!m_is_restless[std::size_t(knot)])
            for (const int* action = m_knots.actions.begin(knot); action != m_knots.actions.end(knot);
                 ++action)
                quiet_here = std::max(quiet_here, m_settled[std::size_t(*action)]);
    }
    return true;
}

bool LEVEL_SWEEPS::is_steady(int knot, int fastest_below, int quiet_below, int fastest_inside) const
{
    if (!m_is_restless[std::size_t(knot)])
        return true;
    const int fastest = std::max(fastest_below, fastest_inside);
    return std::all_of(m_knots.actions.begin(knot), m_knots.actions.end(knot), [&](int action) {
        return !m_knots.is_selected(action) ||
               (m_growth[std::size_t(action)] == fastest && m_level[std::size_t(action)] > quiet_below + 1);
    });
}

// The sweep before counted as a change, by the raise of another action behind the
// last steady one.
void LEVEL_SWEEPS::sweep_beside_steady_ones()
{
    m_are_steady = true;
    const int last_steady = m_last_restless;
    int sweeps = 0;
    do {
        sweep();
        ++sweeps;
    } while (m_last > last_steady && counts_as_change(m_last));
    for (const int action : m_restless)
        m_level[std::size_t(action)] += sweeps * m_growth[std::size_t(action)];
}

// Each way of dependencies has been gone to its end after as many sweeps as there
// are actions, and one that started low has caught up after as many as there are
// levels. Closures that don't follow links could go round in larger circles, which
// nobody waits for.
std::int64_t LEVEL_SWEEPS::most_sweeps() const
{
    const auto levels = std::minmax_element(m_graph.level.begin(), m_graph.level.end());
    return 2 * (std::int64_t(*levels.second) - *levels.first + m_graph.selected()) + 16;
}
