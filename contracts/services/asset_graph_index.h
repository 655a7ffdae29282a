#pragma once

#include <QtCore/QStringList>
#include <QtCore/QVector>

#include "contracts/services/asset_graph_data.h"

namespace QTSHARED {

/// A list of numbers for each asset, all in one array.
struct ASSET_LISTS
{
    QVector<int> begin; ///< by asset, and one more: where the last list ends
    QVector<int> items;

    const int* first(int asset) const { return items.constData() + begin.at(asset); }
    const int* last(int asset) const { return items.constData() + begin.at(asset + 1); }
    int size(int asset) const { return begin.at(asset + 1) - begin.at(asset); }
};

/// A graph as seen from its assets, over all fragments. It stands for the graph
/// as it was when the index was made.
struct ASSET_GRAPH_INDEX
{
    explicit ASSET_GRAPH_INDEX(const ASSET_GRAPH_DATA& graph);

    bool is_defined(int asset) const { return definers.size(asset) > 0; }

    QStringList files;    ///< sorted
    QVector<int> sorted;  ///< the defined assets by name
    ASSET_LISTS definers; ///< the files that define an asset, as places in `files`
    ASSET_LISTS uses;     ///< what an asset uses, in the order of the fragments
};

} // namespace QTSHARED
