#pragma once

struct ACTION_GRAPH;
struct ACTION_GRAPH_NODE;

/// Joins `dropped` into `kept`: `kept` gets its weight and its edges, and
/// `dropped` leaves the graph and is deleted.
///
/// Each edge of `dropped` in turn: where `kept` has one between the same ends
/// already, in the same direction or, if that one goes both ways, in the other,
/// the last such edge gets the weight and the edge of `dropped` is deleted. Else
/// the edge moves over in place. An edge between the two becomes one from `kept`
/// to itself and stays.
///
/// Both nodes belong to the graph; nothing happens when they are the same. Costs
/// as much as a walk over the whole graph.
void join_nodes(ACTION_GRAPH& graph, ACTION_GRAPH_NODE* kept, ACTION_GRAPH_NODE* dropped);

/// Joins all nodes that have exactly the same text, whatever their kinds, each
/// into the first of them: the outcome of going through the nodes in order and
/// joining the next one of the same text until there is none. Nodes and edges
/// that are left keep their order. Costs in step with nodes and edges.
void join_identical_nodes(ACTION_GRAPH& graph);
