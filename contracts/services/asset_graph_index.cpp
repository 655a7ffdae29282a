#include "contracts/services/asset_graph_index.h"

#include <algorithm>

namespace QTSHARED {
namespace {

struct PAIR
{
    int asset;
    int item;
};

// Sorts the pairs into lists without repeats; pairs of one asset keep their
// order.
ASSET_LISTS lists_of(const QVector<PAIR>& pairs, int assets, int items)
{
    ASSET_LISTS lists;
    lists.begin.fill(0, assets + 1);
    for (const PAIR& pair : pairs)
        ++lists.begin[pair.asset + 1];
    for (int i = 0; i < assets; ++i)
        lists.begin[i + 1] += lists.begin.at(i);

    QVector<int> end = lists.begin;
    lists.items.resize(pairs.size());
    for (const PAIR& pair : pairs)
        lists.items[end[pair.asset]++] = pair.item;

    QVector<int> seen_by(items, -1);
    int kept = 0;
    for (int asset = 0, from = 0; asset < assets; ++asset) {
        const int to = lists.begin.at(asset + 1);
        for (; from < to; ++from) {
            const int item = lists.items.at(from);
            if (seen_by.at(item) == asset)
                continue;
            seen_by[item] = asset;
            lists.items[kept++] = item;
        }
        lists.begin[asset + 1] = kept;
    }
    lists.items.resize(kept);
    return lists;
}

} // namespace

ASSET_GRAPH_INDEX::ASSET_GRAPH_INDEX(const ASSET_GRAPH_DATA& graph)
{
    QVector<PAIR> definitions, used;
    for (auto file = graph.files.begin(); file != graph.files.end(); ++file) {
        for (const ASSET_USES& asset : file->assets) {
            definitions.append({asset.asset, files.size()});
            for (const int other : asset.uses)
                used.append({asset.asset, other});
        }
        files.append(file.key());
    }
    const int count = graph.names.size();
    definers = lists_of(definitions, count, files.size());
    uses = lists_of(used, count, count);

    for (int asset = 0; asset < count; ++asset)
        if (is_defined(asset))
            sorted.append(asset);
    const auto by_name = [&](int a, int b) { return graph.names.at(a) < graph.names.at(b); };
    std::sort(sorted.begin(), sorted.end(), by_name);
}

} // namespace QTSHARED
