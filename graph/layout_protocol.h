#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

struct GRAPH_PICTURE;

// What is said between the windows and the layout program, on its standard input
// and output. All of it are whole numbers with one space or line break behind
// each; lengths are in hundredths of a pixel, a pixel being the point of
// Graphviz.
//
// Request:  the engine (0 layered, 1 spring), the number of nodes, the number of
//           edges; for each node width and height; for each edge the index of
//           its tail, of its head, and 1 when it goes both ways.
// Answer:   for each node the x and y of its middle; for each edge the number of
//           points of its curve, the tip of its head, that of its tail, and the
//           points; at the end -1.
//
// No label is part of it: the boxes have the sizes that the labels need, so
// nothing in a label can disturb a layout.

enum class LAYOUT_ENGINE : int
{
    LAYERED = 0,
    SPRING = 1
};

QByteArray layout_request(const GRAPH_PICTURE& picture, LAYOUT_ENGINE engine);

/// Puts nodes and edges of the picture where the answer says. Gives what is wrong
/// with the answer, the picture being unusable then; empty when nothing is.
QString read_layout(const QByteArray& answer, GRAPH_PICTURE& picture);
