#include "graph/picture_painter.h"

#include <QtGui/QPainterPath>

#include <algorithm>

namespace {

const double SMALLEST_CURVE_ZOOM = 0.12; // below it curves, styles and heads can't be told apart
const double SMALLEST_LETTERS = 4.5;     // height in pixels below which nobody reads a label
const double OUTLINE_ZOOM = 0.25;        // boxes have outlines from here on
const double LINE_WIDTH = 1.2;
const double PALENESS = 0.2; // opacity of what is not singled out
const QColor OUTLINE(0x50, 0x50, 0x50);
const QColor LABEL_INK(Qt::black); // boxes are light in every palette

// Numbers of nodes or edges, in their order.
struct PARTS
{
    QVector<int> pale;
    QVector<int> full;

    PARTS(const QVector<int>& numbers, const QVector<bool>& singled_out)
    {
        if (singled_out.isEmpty()) {
            full = numbers;
            return;
        }
        for (const int number : numbers)
            (singled_out.at(number) ? full : pale).append(number);
    }
};

} // namespace

QPainterPath path_of(const PICTURE_EDGE& edge)
{
    QPainterPath path;
    if (edge.curve.isEmpty())
        return path;
    path.moveTo(edge.curve.first());
    for (int i = 3; i < edge.curve.size(); i += 3)
        path.cubicTo(edge.curve.at(i - 2), edge.curve.at(i - 1), edge.curve.at(i));
    return path;
}

Qt::PenStyle pen_style_of(const PICTURE_EDGE& edge)
{
    if (edge.style == PICTURE_LINE::DASHED)
        return Qt::DashLine;
    return edge.style == PICTURE_LINE::DOTTED ? Qt::DotLine : Qt::SolidLine;
}

PICTURE_PAINTER::PICTURE_PAINTER(const GRAPH_PICTURE& picture) : m_picture(picture)
{
    for (const PICTURE_NODE& node : m_picture.nodes)
        m_nodes.insert(node.box);
    for (const PICTURE_EDGE& edge : m_picture.edges)
        m_edges.insert(bounds_of(edge));
}

int PICTURE_PAINTER::node_at(const QPointF& point) const
{
    const QVector<int> numbers = m_nodes.find(QRectF(point, QSizeF(0.001, 0.001)));
    for (int i = numbers.size() - 1; i >= 0; --i)
        if (m_picture.nodes.at(numbers.at(i)).box.contains(point))
            return numbers.at(i);
    return -1;
}

// Pale ones come first, so that no other is covered by them.
void PICTURE_PAINTER::paint(QPainter& painter, const QRectF& part, double zoom, const QColor& ink,
                            const NODE_RELATIVES& singled_out) const
{
    const double thickness = LINE_WIDTH + 1 / zoom;
    const QRectF touched = part.adjusted(-thickness, -thickness, thickness, thickness);
    const PARTS edges(m_edges.find(touched), singled_out.edges);
    const PARTS nodes(m_nodes.find(touched), singled_out.nodes);
    painter.save();
    const double opacity = painter.opacity();
    painter.setOpacity(PALENESS * opacity);
    paint_edges(painter, edges.pale, zoom, ink);
    paint_nodes(painter, nodes.pale, zoom);
    painter.setOpacity(opacity);
    paint_edges(painter, edges.full, zoom, ink);
    paint_nodes(painter, nodes.full, zoom);
    painter.restore();
}

void PICTURE_PAINTER::paint_edges(QPainter& painter, const QVector<int>& numbers, double zoom,
                                  const QColor& ink) const
{
    if (zoom < SMALLEST_CURVE_ZOOM)
        paint_coarse_edges(painter, numbers, ink);
    else
        paint_fine_edges(painter, numbers, zoom, ink);
}

void PICTURE_PAINTER::paint_coarse_edges(QPainter& painter, const QVector<int>& numbers,
                                         const QColor& ink) const
{
    painter.setRenderHint(QPainter::Antialiasing, false);
    QColor faint = ink;
    faint.setAlphaF(0.5);
    painter.setPen(QPen(faint, 0));
    QVector<QLineF> lines;
    lines.reserve(numbers.size());
    for (const int number : numbers) {
        const QVector<QPointF>& curve = m_picture.edges.at(number).curve;
        if (!curve.isEmpty())
            lines.append({curve.first(), curve.last()});
    }
    painter.drawLines(lines);
}

void PICTURE_PAINTER::paint_fine_edges(QPainter& painter, const QVector<int>& numbers, double zoom,
                                       const QColor& ink) const
{
    painter.setRenderHint(QPainter::Antialiasing);
    const double width = std::max(LINE_WIDTH, 0.6 / zoom);
    const QPen head_pen(ink, width, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin);
    for (const int number : numbers) {
        const PICTURE_EDGE& edge = m_picture.edges.at(number);
        if (edge.curve.isEmpty())
            continue;
        painter.setPen(QPen(ink, width, pen_style_of(edge), Qt::FlatCap));
        painter.setBrush(Qt::NoBrush);
        painter.drawPath(path_of(edge));
        painter.setPen(Qt::NoPen);
        painter.setBrush(ink);
        painter.drawPolygon(QPolygonF(arrow_head(edge.curve.last(), edge.head_tip)));
        if (edge.both_ways)
            painter.drawPolygon(QPolygonF(arrow_head(edge.curve.first(), edge.tail_tip)));
    }
}

void PICTURE_PAINTER::paint_nodes(QPainter& painter, const QVector<int>& numbers, double zoom) const
{
    painter.setRenderHint(QPainter::Antialiasing, zoom >= OUTLINE_ZOOM);
    const bool has_labels = QFontMetricsF(m_picture.font).height() * zoom >= SMALLEST_LETTERS;
    painter.setFont(m_picture.font);
    for (const int number : numbers) {
        const PICTURE_NODE& node = m_picture.nodes.at(number);
        if (zoom < OUTLINE_ZOOM) {
            painter.fillRect(node.box, node.fill);
            continue;
        }
        painter.setPen(QPen(OUTLINE, 1));
        painter.setBrush(node.fill);
        painter.drawRect(node.box);
        if (has_labels)
            paint_label(painter, node);
    }
}

void PICTURE_PAINTER::paint_label(QPainter& painter, const PICTURE_NODE& node) const
{
    painter.setPen(LABEL_INK);
    painter.drawText(node.box, Qt::AlignCenter | Qt::TextDontClip, node.label);
}
