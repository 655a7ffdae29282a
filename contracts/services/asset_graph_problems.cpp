#include "contracts/services/asset_graph_problems.h"

#include <algorithm>

namespace QTSHARED {
namespace {

void find_repeated_definitions(const ASSET_GRAPH_DATA& graph, const ASSET_GRAPH_INDEX& index,
                               QStringList& problems)
{
    for (const int asset : index.sorted) {
        if (index.definers.size(asset) < 2)
            continue;
        QStringList files;
        std::for_each(index.definers.first(asset), index.definers.last(asset),
                      [&](int file) { files.append(index.files.at(file)); });
        problems.append(QStringLiteral("asset \"%1\" is defined by several files: %2")
                            .arg(graph.names.at(asset), files.join(QStringLiteral(", "))));
    }
}

void find_missing_definitions(const ASSET_GRAPH_DATA& graph, const ASSET_GRAPH_INDEX& index,
                              QStringList& problems)
{
    for (auto file = graph.files.begin(); file != graph.files.end(); ++file)
        for (const ASSET_USES& asset : file->assets)
            for (const int used : asset.uses)
                if (!index.is_defined(used))
                    problems.append(QStringLiteral("%1: asset \"%2\" uses \"%3\", which no .agf file defines")
                                        .arg(file.key(), graph.names.at(asset.asset), graph.names.at(used)));
}

class CYCLE_SEARCH
{
public:
    CYCLE_SEARCH(const ASSET_GRAPH_DATA& graph, const ASSET_GRAPH_INDEX& index, QStringList& problems)
        : m_graph(graph),
          m_index(index),
          m_problems(problems),
          m_rank(graph.names.size(), 0),
          m_place(graph.names.size(), UNSEEN)
    {
        for (int i = 0; i < index.sorted.size(); ++i)
            m_rank[index.sorted.at(i)] = i;
    }

    void search()
    {
        for (const int asset : m_index.sorted)
            if (m_place.at(asset) == UNSEEN)
                search_from(asset);
        if (m_found > MAX_LISTED_CYCLES)
            m_problems.append(
                QStringLiteral("%1 more cycles are not listed").arg(m_found - MAX_LISTED_CYCLES));
    }

private:
    enum : int
    {
        UNSEEN = -1,
        DONE = -2,
    };

    struct STEP
    {
        int asset;
        const int* next; // the use to follow next
    };

    void enter(int asset)
    {
        m_place[asset] = m_way.size();
        m_way.append({asset, m_index.uses.first(asset)});
    }

    // The way is kept in a vector: chains may be longer than any stack.
    void search_from(int root)
    {
        enter(root);
        while (!m_way.isEmpty()) {
            STEP& step = m_way.last();
            if (step.next == m_index.uses.last(step.asset)) {
                m_place[step.asset] = DONE;
                m_way.removeLast();
                continue;
            }
            const int used = *step.next++;
            if (m_place.at(used) >= 0)
                report(m_place.at(used));
            else if (m_place.at(used) == UNSEEN)
                enter(used);
        }
    }

    // The end of the way, from `begin` on, leads back to its beginning.
    void report(int begin)
    {
        if (++m_found > MAX_LISTED_CYCLES)
            return;
        const auto first = m_way.constBegin() + begin;
        const auto is_lower = [&](const STEP& a, const STEP& b) {
            return m_rank.at(a.asset) < m_rank.at(b.asset);
        };
        const int lowest = int(std::min_element(first, m_way.constEnd(), is_lower) - first);
        const int length = m_way.size() - begin;
        const int named = std::min(length, MAX_NAMED_IN_CYCLE);
        QStringList chain;
        for (int i = 0; i < named; ++i)
            chain.append(name_at(begin + (lowest + i) % length));
        if (named < length)
            chain.append(QStringLiteral("(%1 more)").arg(length - named));
        chain.append(chain.first());
        m_problems.append(
            QStringLiteral("assets use each other in a cycle: %1").arg(chain.join(QStringLiteral(" -> "))));
    }

    QString name_at(int place) const { return '"' + m_graph.names.at(m_way.at(place).asset) + '"'; }

    const ASSET_GRAPH_DATA& m_graph;
    const ASSET_GRAPH_INDEX& m_index;
    QStringList& m_problems;
    QVector<int> m_rank;  // of a defined asset by name
    QVector<int> m_place; // on the way, UNSEEN or DONE
    QVector<STEP> m_way;
    int m_found = 0;
};

} // namespace

void find_asset_graph_problems(const ASSET_GRAPH_DATA& graph, const ASSET_GRAPH_INDEX& index,
                               QStringList& problems)
{
    find_repeated_definitions(graph, index, problems);
    find_missing_definitions(graph, index, problems);
    CYCLE_SEARCH(graph, index, problems).search();
}

} // namespace QTSHARED
