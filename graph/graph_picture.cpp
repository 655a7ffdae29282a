#include "graph/graph_picture.h"

#include <QtCore/QHash>
#include <QtGui/QFontMetricsF>
#include <QtGui/QPolygonF>

#include <cmath>

#include "graph/graphviz.h"

namespace {

const int LONGEST_LINE = 48; // characters
const int MOST_LINES = 12;
const QChar ELLIPSIS(0x2026);
const double SIDE_MARGIN = 8; // between label and box
const double TOP_MARGIN = 5;
const double SMALLEST_WIDTH = 24;
const double HEAD_WIDTH = 0.7; // of its length

QString text_of(Agnode_s* node)
{
    const GRAPHVIZ& graphviz = GRAPHVIZ::instance();
    const char* const whole = graphviz.attribute(node, "tooltip");
    if (whole && *whole)
        return QString::fromUtf8(whole);
    return QString::fromLocal8Bit(graphviz.attribute(node, "label"));
}

PICTURE_LINE style_of(const QLatin1String& style)
{
    if (style == QLatin1String("dashed"))
        return PICTURE_LINE::DASHED;
    return style == QLatin1String("dotted") ? PICTURE_LINE::DOTTED : PICTURE_LINE::FULL;
}

QSizeF size_of(const QString& label, const QFontMetricsF& metrics)
{
    const QSizeF text = metrics.size(0, label);
    return {std::ceil(std::max(text.width() + 2 * SIDE_MARGIN, SMALLEST_WIDTH)),
            std::ceil(std::max(text.height(), metrics.height()) + 2 * TOP_MARGIN)};
}

QString shortened_line(const QString& line)
{
    if (line.size() <= LONGEST_LINE)
        return line;
    int head = LONGEST_LINE / 2;
    int tail = line.size() - LONGEST_LINE / 2;
    if (line.at(head).isLowSurrogate())
        --head;
    if (line.at(tail).isLowSurrogate())
        ++tail;
    return line.left(head) + ELLIPSIS + line.mid(tail);
}

PICTURE_NODE picture_of_node(Agnode_s* node, const QFontMetricsF& metrics)
{
    PICTURE_NODE picture;
    picture.text = shown_text(text_of(node));
    picture.label = shortened_label(picture.text);
    picture.fill = QColor(QLatin1String(GRAPHVIZ::instance().attribute(node, "fillcolor")));
    picture.box.setSize(size_of(picture.label, metrics));
    return picture;
}

bool is_left_alone(QChar character)
{
    return character == '\n' || !(character.category() == QChar::Other_Control ||
                                  character.isNonCharacter() || character.isSurrogate());
}

} // namespace

QString shown_text(const QString& text)
{
    const ushort PICTURES_OF_CONTROLS = 0x2400;
    QString shown = text;
    for (int i = 0; i < shown.size(); ++i) {
        const QChar character = shown.at(i);
        if (is_left_alone(character))
            continue;
        if (character.isHighSurrogate() && i + 1 < shown.size() && shown.at(i + 1).isLowSurrogate())
            ++i;
        else if (character.unicode() < 0x20)
            shown[i] = QChar(PICTURES_OF_CONTROLS + character.unicode());
        else
            shown[i] = QChar(QChar::ReplacementCharacter);
    }
    return shown;
}

QString shortened_label(const QString& text)
{
    QStringList lines = text.split('\n');
    const bool has_more = lines.size() > MOST_LINES;
    lines = lines.mid(0, MOST_LINES);
    for (QString& line : lines)
        line = shortened_line(line);
    return lines.join('\n') + (has_more ? QString(ELLIPSIS) : QString());
}

QVector<QPointF> arrow_head(const QPointF& end, const QPointF& tip)
{
    const QPointF along = tip - end;
    const QPointF across(-along.y() * HEAD_WIDTH / 2, along.x() * HEAD_WIDTH / 2);
    return {tip, end + across, end - across};
}

QRectF bounds_of(const PICTURE_EDGE& edge)
{
    if (edge.curve.isEmpty())
        return {};
    QPolygonF points(edge.curve);
    points += arrow_head(edge.curve.last(), edge.head_tip);
    if (edge.both_ways)
        points += arrow_head(edge.curve.first(), edge.tail_tip);
    return points.boundingRect();
}

GRAPH_PICTURE picture_of(Agraph_s* graph, const QFont& font)
{
    const GRAPHVIZ& graphviz = GRAPHVIZ::instance();
    const QFontMetricsF metrics(font);
    GRAPH_PICTURE picture;
    picture.font = font;
    QHash<const Agnode_s*, int> indexes;
    for (Agnode_s* node = graphviz.first_node(graph); node; node = graphviz.next_node(graph, node)) {
        indexes.insert(node, picture.nodes.size());
        picture.nodes.append(picture_of_node(node, metrics));
    }
    for (Agnode_s* node = graphviz.first_node(graph); node; node = graphviz.next_node(graph, node))
        for (Agedge_s* edge = graphviz.first_edge(graph, node); edge;
             edge = graphviz.next_edge(graph, edge)) {
            PICTURE_EDGE line;
            line.from = indexes.value(node);
            line.to = indexes.value(graphviz.head(edge));
            line.style = style_of(QLatin1String(graphviz.attribute(edge, "style")));
            line.both_ways = QLatin1String(graphviz.attribute(edge, "dir")) == QLatin1String("both");
            picture.edges.append(line);
        }
    return picture;
}
