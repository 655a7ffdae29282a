#pragma once

#include <QtGui/QPainter>

#include "graph/graph_picture.h"
#include "graph/node_relatives.h"
#include "graph/picture_index.h"

/// Paints parts of a laid-out picture at any zoom, in a time that goes with what
/// is visible: what lies outside is not looked at, and where boxes are only a few
/// pixels large, lines are straight and labels are left out.
class PICTURE_PAINTER
{
public:
    /// Takes a laid-out picture.
    explicit PICTURE_PAINTER(const GRAPH_PICTURE& picture);

    /// Paints what of the picture lies in `part`. The painter maps the picture's
    /// coordinates to its device; `zoom` is how many pixels of the device there
    /// are to one of the picture. Lines are drawn in `ink`. Where nodes are singled
    /// out, all others and their edges are pale.
    void paint(QPainter& painter, const QRectF& part, double zoom, const QColor& ink,
               const NODE_RELATIVES& singled_out = NODE_RELATIVES()) const;

    const GRAPH_PICTURE& picture() const { return m_picture; }

    int node_at(const QPointF& point) const; ///< the last one painted there; -1 when there is none

private:
    void paint_edges(QPainter& painter, const QVector<int>& numbers, double zoom, const QColor& ink) const;
    void paint_fine_edges(QPainter& painter, const QVector<int>& numbers, double zoom,
                          const QColor& ink) const;
    void paint_coarse_edges(QPainter& painter, const QVector<int>& numbers, const QColor& ink) const;
    void paint_nodes(QPainter& painter, const QVector<int>& numbers, double zoom) const;
    void paint_label(QPainter& painter, const PICTURE_NODE& node) const;

    GRAPH_PICTURE m_picture;
    PICTURE_INDEX m_nodes;
    PICTURE_INDEX m_edges;
};

/// The curve of an edge, without its heads.
QPainterPath path_of(const PICTURE_EDGE& edge);

Qt::PenStyle pen_style_of(const PICTURE_EDGE& edge);
