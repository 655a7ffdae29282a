#include "graph/picture_files.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QTextStream>
#include <QtCore/QXmlStreamWriter>
#include <QtGui/QFontInfo>
#include <QtGui/QFontMetricsF>
#include <QtGui/QImageWriter>

#include <algorithm>
#include <cmath>

#include "contracts/services/whole_file.h"
#include "graph/picture_painter.h"

namespace {

const double MOST_PIXELS = 40e6;
const double LONGEST_SIDE = 16000;
const QColor INK = Qt::black;
const QColor PAPER = Qt::white;

QString error_text(const char* text)
{
    return QCoreApplication::translate("GRAPHVIZ_VIEWER_WIDGET", text);
}

QString number(double length)
{
    return QString::number(length, 'f', 2);
}

QString points_text(const QVector<QPointF>& points)
{
    QStringList texts;
    for (const QPointF& point : points)
        texts.append(number(point.x()) + ',' + number(point.y()));
    return texts.join(' ');
}

QString path_text(const QVector<QPointF>& curve)
{
    return QStringLiteral("M") + points_text(curve.mid(0, 1)) + QStringLiteral(" C") +
           points_text(curve.mid(1));
}

void write_head(QXmlStreamWriter& svg, const QPointF& end, const QPointF& tip)
{
    svg.writeEmptyElement(QStringLiteral("polygon"));
    svg.writeAttribute(QStringLiteral("points"), points_text(arrow_head(end, tip)));
    svg.writeAttribute(QStringLiteral("fill"), INK.name());
}

void write_edge(QXmlStreamWriter& svg, const PICTURE_EDGE& edge)
{
    if (edge.curve.isEmpty())
        return;
    svg.writeEmptyElement(QStringLiteral("path"));
    svg.writeAttribute(QStringLiteral("d"), path_text(edge.curve));
    svg.writeAttribute(QStringLiteral("fill"), QStringLiteral("none"));
    svg.writeAttribute(QStringLiteral("stroke"), INK.name());
    if (edge.style != PICTURE_LINE::FULL)
        svg.writeAttribute(QStringLiteral("stroke-dasharray"), edge.style == PICTURE_LINE::DASHED
                                                                   ? QStringLiteral("5,3")
                                                                   : QStringLiteral("1.5,2.5"));
    write_head(svg, edge.curve.last(), edge.head_tip);
    if (edge.both_ways)
        write_head(svg, edge.curve.first(), edge.tail_tip);
}

// Another font than ours may be at hand where the file is shown; the text's
// length keeps it in its box.
void write_node(QXmlStreamWriter& svg, const PICTURE_NODE& node, const QFontMetricsF& metrics)
{
    svg.writeEmptyElement(QStringLiteral("rect"));
    svg.writeAttribute(QStringLiteral("x"), number(node.box.x()));
    svg.writeAttribute(QStringLiteral("y"), number(node.box.y()));
    svg.writeAttribute(QStringLiteral("width"), number(node.box.width()));
    svg.writeAttribute(QStringLiteral("height"), number(node.box.height()));
    svg.writeAttribute(QStringLiteral("fill"), node.fill.name());
    svg.writeAttribute(QStringLiteral("stroke"), QStringLiteral("#505050"));
    const QStringList lines = node.label.split('\n');
    const double top = node.box.center().y() - metrics.lineSpacing() * (lines.size() - 1) / 2.0;
    for (int i = 0; i < lines.size(); ++i) {
        svg.writeStartElement(QStringLiteral("text"));
        svg.writeAttribute(QStringLiteral("x"), number(node.box.center().x()));
        svg.writeAttribute(QStringLiteral("y"), number(top + i * metrics.lineSpacing() +
                                                       (metrics.ascent() - metrics.descent()) / 2));
        svg.writeAttribute(QStringLiteral("xml:space"), QStringLiteral("preserve"));
        if (!lines.at(i).isEmpty())
            svg.writeAttribute(QStringLiteral("textLength"), number(metrics.horizontalAdvance(lines.at(i))));
        svg.writeCharacters(lines.at(i));
        svg.writeEndElement();
    }
}

QString write_svg(const PICTURE_PAINTER& painter, QIODevice& device)
{
    const GRAPH_PICTURE& picture = painter.picture();
    const QRectF& bounds = picture.bounds;
    QXmlStreamWriter svg(&device);
    svg.setAutoFormatting(true);
    svg.setAutoFormattingIndent(1);
    svg.writeStartDocument();
    svg.writeStartElement(QStringLiteral("svg"));
    svg.writeDefaultNamespace(QStringLiteral("http://www.w3.org/2000/svg"));
    svg.writeAttribute(QStringLiteral("width"), number(bounds.width()));
    svg.writeAttribute(QStringLiteral("height"), number(bounds.height()));
    svg.writeAttribute(QStringLiteral("viewBox"), points_text({bounds.topLeft()}) + ' ' +
                                                      number(bounds.width()) + ' ' + number(bounds.height()));
    svg.writeStartElement(QStringLiteral("g"));
    svg.writeAttribute(QStringLiteral("font-family"),
                       '"' + QFontInfo(picture.font).family() + QStringLiteral("\", sans-serif"));
    svg.writeAttribute(QStringLiteral("font-size"), QString::number(QFontInfo(picture.font).pixelSize()));
    svg.writeAttribute(QStringLiteral("text-anchor"), QStringLiteral("middle"));
    svg.writeAttribute(QStringLiteral("xml:space"), QStringLiteral("preserve")); // in labels
    for (const PICTURE_EDGE& edge : picture.edges)
        write_edge(svg, edge);
    const QFontMetricsF metrics(picture.font);
    for (const PICTURE_NODE& node : picture.nodes)
        write_node(svg, node, metrics);
    svg.writeEndDocument();
    return svg.hasError() ? device.errorString() : QString();
}

QString write_png(const PICTURE_PAINTER& painter, QIODevice& device)
{
    const QRectF& bounds = painter.picture().bounds;
    const double zoom = png_zoom(bounds.size());
    QImage image(std::max(1, int(bounds.width() * zoom)), std::max(1, int(bounds.height() * zoom)),
                 QImage::Format_RGB32);
    if (image.isNull())
        return error_text(
            QT_TRANSLATE_NOOP("GRAPHVIZ_VIEWER_WIDGET", "there is not enough memory for the picture"));
    image.fill(PAPER);
    QPainter brush(&image);
    brush.scale(zoom, zoom);
    brush.translate(-bounds.topLeft());
    painter.paint(brush, bounds, zoom, INK);
    brush.end();
    QImageWriter writer(&device, "png");
    if (writer.write(image))
        return QString();
    return device.errorString().isEmpty() ? writer.errorString() : device.errorString();
}

// The quote is escaped for the language, backslash and ampersand for the layouts,
// which read escapes and entities in labels.
QString dot_text(const QString& text)
{
    QString quoted = text;
    quoted.replace('&', QStringLiteral("&amp;"));
    quoted.replace('\\', QStringLiteral("\\\\"));
    quoted.replace('"', QStringLiteral("\\\""));
    quoted.replace('\n', QStringLiteral("\\n"));
    return '"' + quoted + '"';
}

QString write_dot(const PICTURE_PAINTER& painter, QIODevice& device)
{
    const GRAPH_PICTURE& picture = painter.picture();
    QTextStream dot(&device);
    dot.setCodec("UTF-8");
    dot << "digraph \"graph\" {\n  charset=\"UTF-8\";\n  node [shape=box, style=filled];\n";
    for (int i = 0; i < picture.nodes.size(); ++i)
        dot << "  " << i << " [label=" << dot_text(picture.nodes.at(i).text) << ", fillcolor=\""
            << picture.nodes.at(i).fill.name() << "\"];\n";
    for (const PICTURE_EDGE& edge : picture.edges) {
        QStringList attributes;
        if (edge.both_ways)
            attributes.append(QStringLiteral("dir=both"));
        if (edge.style != PICTURE_LINE::FULL)
            attributes.append(edge.style == PICTURE_LINE::DASHED ? QStringLiteral("style=dashed")
                                                                 : QStringLiteral("style=dotted"));
        dot << "  " << edge.from << " -> " << edge.to;
        if (!attributes.isEmpty())
            dot << " [" << attributes.join(QStringLiteral(", ")) << ']';
        dot << ";\n";
    }
    dot << "}\n";
    dot.flush();
    return dot.status() == QTextStream::Ok ? QString() : device.errorString();
}

using WRITER = QString (*)(const PICTURE_PAINTER&, QIODevice&);

WRITER writer_for(const QString& file)
{
    const auto ends_with = [&](const char* end) {
        return file.endsWith(QLatin1String(end), Qt::CaseInsensitive);
    };
    if (ends_with(".svg"))
        return write_svg;
    if (ends_with(".png"))
        return write_png;
    return ends_with(".dot") || ends_with(".gv") ? write_dot : nullptr;
}

QString write_whole(WRITER writer, const PICTURE_PAINTER& painter, const QString& path)
{
    TARGET_FILE file(path);
    const QString error = writer(painter, file);
    if (!error.isEmpty())
        return error;
    return file.commit().isEmpty() ? QString() : file.errorString();
}

} // namespace

double png_zoom(const QSizeF& picture)
{
    return std::min({1.0, std::sqrt(MOST_PIXELS / picture.width() / picture.height()),
                     LONGEST_SIDE / std::max(picture.width(), picture.height())});
}

QString save_picture(const PICTURE_PAINTER& painter, const QString& file)
{
    const WRITER writer = writer_for(file);
    const QString cause = writer ? write_whole(writer, painter, file)
                                 : error_text(QT_TRANSLATE_NOOP("GRAPHVIZ_VIEWER_WIDGET",
                                                                "the name must end with .svg, .png or .dot"));
    if (cause.isEmpty())
        return QString();
    return error_text(QT_TRANSLATE_NOOP("GRAPHVIZ_VIEWER_WIDGET", "%1 could not be written: %2"))
        .arg(QDir::toNativeSeparators(file), cause);
}
