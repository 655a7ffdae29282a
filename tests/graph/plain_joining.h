#pragma once

struct ACTION_GRAPH;

/// Joins nodes of the same text by comparing every pair of them, and edges by a
/// walk over all edges of the node that is kept: what join_identical_nodes must
/// give, in the plainest way.
void plain_join_identical_nodes(ACTION_GRAPH& graph);
