#pragma once

struct ACTION_GRAPH;
struct Agraph_s;

/// A Graphviz graph of the same nodes and edges, in the same order, which the
/// caller closes. GUI thread.
///
/// A node is named after the address of its ACTION_GRAPH_NODE, so names differ
/// whatever the labels. Its "label" is the text as it stands, in the local 8-bit
/// encoding; where that can't hold the text, "tooltip" has all of it in UTF-8.
///
/// The lines of joined nodes: full when each of the joined nodes has the edge,
/// dashed when at least half of them, dotted when fewer.
Agraph_s* to_graphviz(const ACTION_GRAPH& graph);
