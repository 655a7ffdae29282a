#pragma once

#include <QtCore/QVector>

#include "graph/graph_picture.h"

/// What of a picture has to do with one of its nodes: all that leads to it, all that
/// follows from it, the node itself, and the edges on these ways.
struct NODE_RELATIVES
{
    QVector<bool> nodes; ///< by number; empty when nothing is singled out
    QVector<bool> edges;
    int before = 0; ///< how many nodes lead to it
    int behind = 0; ///< how many follow from it; one that does both counts twice
};

/// Follows the edges from tail to head, those with two heads both ways. Takes a time
/// that goes with all nodes and edges.
NODE_RELATIVES relatives_of(const GRAPH_PICTURE& picture, int node);
