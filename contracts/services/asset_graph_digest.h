#pragma once

#include "contracts/services/asset_graph_data.h"
#include "contracts/services/digest.h"

namespace QTSHARED {

/// Stands for what the files of the graph say, whatever numbers their assets have and
/// whether it was read from a cache or from the files.
DIGEST digest_of_asset_graph(const ASSET_GRAPH_DATA& graph);

} // namespace QTSHARED
