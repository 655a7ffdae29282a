#pragma once

#include <QtCore/QStringList>

#include "contracts/services/asset_graph_index.h"

namespace QTSHARED {

constexpr int MAX_LISTED_CYCLES = 1000; ///< a line counts the others
constexpr int MAX_NAMED_IN_CYCLE = 100; ///< assets; the chain counts those between

/// Appends a line for each thing wrong with the graph as a whole: assets that
/// are defined more than once (by name), then uses of assets that nobody defines
/// (by file), then cycles: for each use that leads back to an asset on the way
/// to it, in a walk in depth that takes assets by name, the chain that it closes.
void find_asset_graph_problems(const ASSET_GRAPH_DATA& graph, const ASSET_GRAPH_INDEX& index,
                               QStringList& problems);

} // namespace QTSHARED
