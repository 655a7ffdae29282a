#include "graph/layout_protocol.h"

#include <QtCore/QCoreApplication>

#include <charconv>
#include <cmath>
#include <cstdint>

#include "graph/graph_picture.h"

namespace {

const double HUNDREDTHS = 100;
const std::int64_t MOST_POINTS = 100000;       // of one curve
const std::int64_t FARTHEST = 1000000000000LL; // from the middle of the picture
const double BORDER = 12;                      // around everything

void append(QByteArray& request, std::int64_t number)
{
    request += QByteArray::number(qlonglong(number));
    request += ' ';
}

/// Takes one number after the other from an answer. After a fault all are 0.
class READER
{
public:
    explicit READER(const QByteArray& answer) : m_place(answer.constData()), m_end(m_place + answer.size()) {}

    std::int64_t number()
    {
        while (m_place != m_end && (*m_place == ' ' || *m_place == '\n' || *m_place == '\r'))
            ++m_place;
        std::int64_t value = 0;
        const auto [behind, fault] = std::from_chars(m_place, m_end, value);
        if (fault != std::errc() || value < -FARTHEST || value > FARTHEST)
            m_is_good = false;
        m_place = behind;
        return m_is_good ? value : 0;
    }
    QPointF point()
    {
        const double x = double(number()) / HUNDREDTHS;
        return {x, double(number()) / HUNDREDTHS};
    }
    bool is_good() const { return m_is_good; }

private:
    const char* m_place;
    const char* m_end;
    bool m_is_good = true;
};

bool read_edge(READER& reader, PICTURE_EDGE& edge)
{
    const std::int64_t points = reader.number();
    if (points < 0 || points > MOST_POINTS || (points > 0 && points % 3 != 1))
        return false;
    edge.head_tip = reader.point();
    edge.tail_tip = reader.point();
    edge.curve.resize(int(points));
    for (QPointF& point : edge.curve)
        point = reader.point();
    return reader.is_good();
}

} // namespace

QByteArray layout_request(const GRAPH_PICTURE& picture, LAYOUT_ENGINE engine)
{
    QByteArray request;
    append(request, int(engine));
    append(request, picture.nodes.size());
    append(request, picture.edges.size());
    request += '\n';
    for (const PICTURE_NODE& node : picture.nodes) {
        append(request, std::llround(node.box.width() * HUNDREDTHS));
        append(request, std::llround(node.box.height() * HUNDREDTHS));
    }
    for (const PICTURE_EDGE& edge : picture.edges) {
        append(request, edge.from);
        append(request, edge.to);
        append(request, edge.both_ways ? 1 : 0);
    }
    request += '\n';
    return request;
}

QString read_layout(const QByteArray& answer, GRAPH_PICTURE& picture)
{
    const QString fault = QCoreApplication::translate("LAYOUT_RUN", "the layout is incomplete or damaged");
    READER reader(answer);
    QRectF bounds;
    for (PICTURE_NODE& node : picture.nodes) {
        node.box.moveCenter(reader.point());
        bounds |= node.box;
    }
    for (PICTURE_EDGE& edge : picture.edges) {
        if (!reader.is_good() || !read_edge(reader, edge))
            return fault;
        bounds |= bounds_of(edge);
    }
    if (reader.number() != -1)
        return fault;
    picture.bounds = bounds.adjusted(-BORDER, -BORDER, BORDER, BORDER);
    return QString();
}
