#include "graph/picture_view.h"

#include <algorithm>
#include <cmath>

namespace {

const double LARGEST_ZOOM = 8;
const double SMALLEST_OF_FITTING = 0.5; // zoom, as a part of the one at which all is seen
const double LEAST_READABLE = 0.5;      // zoom
const double IN_SIGHT = 40;             // pixels of the picture that always show

QPointF rounded(const QPointF& point)
{
    return {std::round(point.x()), std::round(point.y())};
}

double kept(double offset, double first, double last, double canvas)
{
    const double margin = std::min({IN_SIGHT, last - first, canvas});
    const double least = std::ceil(margin - last);
    return std::clamp(offset, least, std::max(least, std::floor(canvas - margin - first)));
}

} // namespace

QTransform PICTURE_VIEW::transform() const
{
    return QTransform::fromTranslate(m_offset.x(), m_offset.y()).scale(m_zoom, m_zoom);
}

QPointF PICTURE_VIEW::to_picture(const QPointF& pixel) const
{
    return (pixel - m_offset) / m_zoom;
}

double PICTURE_VIEW::fitting_zoom() const
{
    if (m_bounds.isEmpty() || m_canvas.isEmpty())
        return 1;
    return std::min({1.0, m_canvas.width() / m_bounds.width(), m_canvas.height() / m_bounds.height()});
}

void PICTURE_VIEW::fit()
{
    m_zoom = fitting_zoom();
    centre_on(m_bounds.center(), 0);
}

void PICTURE_VIEW::show_beginning()
{
    fit();
    if (m_bounds.isEmpty() || m_canvas.isEmpty())
        return;
    const double width = m_canvas.width() / m_bounds.width(), height = m_canvas.height() / m_bounds.height();
    const double across = std::min(1.0, std::max(width, height));
    if (m_zoom >= LEAST_READABLE || across < LEAST_READABLE)
        return;
    m_zoom = across;
    const QPointF half = QPointF(m_canvas.width(), m_canvas.height()) / 2 / m_zoom;
    centre_on({width < height ? m_bounds.left() + half.x() : m_bounds.center().x(),
               width < height ? m_bounds.center().y() : m_bounds.top() + half.y()},
              0);
}

void PICTURE_VIEW::set_zoom(double zoom)
{
    m_zoom = std::clamp(zoom, fitting_zoom() * SMALLEST_OF_FITTING, LARGEST_ZOOM);
}

void PICTURE_VIEW::zoom_at(const QPointF& pixel, double factor)
{
    const QPointF point = to_picture(pixel);
    set_zoom(m_zoom * factor);
    m_offset = rounded(pixel - point * m_zoom);
    keep_in_sight();
}

QPoint PICTURE_VIEW::pan(const QPoint& pixels)
{
    const QPointF before = m_offset;
    m_offset += pixels;
    keep_in_sight();
    return (m_offset - before).toPoint();
}

void PICTURE_VIEW::centre_on(const QPointF& point, double least_zoom)
{
    set_zoom(std::max(m_zoom, least_zoom));
    m_offset = rounded(QPointF(m_canvas.width() / 2, m_canvas.height() / 2) - point * m_zoom);
    keep_in_sight();
}

void PICTURE_VIEW::keep_in_sight()
{
    m_offset.setX(kept(m_offset.x(), m_bounds.left() * m_zoom, m_bounds.right() * m_zoom, m_canvas.width()));
    m_offset.setY(kept(m_offset.y(), m_bounds.top() * m_zoom, m_bounds.bottom() * m_zoom, m_canvas.height()));
}
