#pragma once

#include <QtCore/QPointF>
#include <QtCore/QRectF>
#include <QtCore/QString>
#include <QtCore/QVector>
#include <QtGui/QColor>
#include <QtGui/QFont>

struct Agraph_s;

/// A box with a text.
struct PICTURE_NODE
{
    QString text;  ///< whole, with characters that nothing can show replaced
    QString label; ///< what stands in the box: what is long is left out
    QColor fill;
    QRectF box; ///< its size from the beginning, its place once laid out
};

enum class PICTURE_LINE
{
    FULL,
    DASHED,
    DOTTED
};

/// An arrow: a row of cubic curves and the tips of its heads.
struct PICTURE_EDGE
{
    int from = 0; ///< index of the tail's node
    int to = 0;
    PICTURE_LINE style = PICTURE_LINE::FULL;
    bool both_ways = false; ///< a head at the tail too
    QVector<QPointF>
        curve;        ///< none, or 1 + 3n points: where it begins, then two handles and an end each time
    QPointF head_tip; ///< the curve ends short of it, where the head begins
    QPointF tail_tip; ///< with both_ways only
};

/// A graph as the viewer shows and saves it: plain data, independent of the
/// Graphviz graph that it came from. Lengths are in pixels at 100 percent, y runs
/// down.
struct GRAPH_PICTURE
{
    QVector<PICTURE_NODE> nodes;
    QVector<PICTURE_EDGE> edges;
    QRectF bounds; ///< of everything that is drawn, once laid out
    QFont font;    ///< of the labels
};

/// The triangle of an arrow head: the tip, then the two corners behind it.
/// `end` is where the curve ends.
QVector<QPointF> arrow_head(const QPointF& end, const QPointF& tip);

/// All that the edge may touch when drawn.
QRectF bounds_of(const PICTURE_EDGE& edge);

/// Takes the nodes and edges over from a graph that to_graphviz has made or one
/// with the same attributes, and gives each node the size that its label needs
/// in `font`. GUI thread. The graph isn't needed afterwards.
GRAPH_PICTURE picture_of(Agraph_s* graph, const QFont& font);

/// The text with each character that has no picture of its own, such as a control
/// character or half of a surrogate pair, replaced by one that stands for it.
/// Line breaks stay.
QString shown_text(const QString& text);

/// Each line above 48 characters without its middle, and a text above 12 lines without
/// its end; "…" stands for what is left out.
QString shortened_label(const QString& text);
