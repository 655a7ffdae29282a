#pragma once

#include <QtCore/QPoint>
#include <QtCore/QRectF>
#include <QtGui/QTransform>

/// Which part of a picture shows in a window, and how large: plain arithmetic.
/// Pixels of the window are counted from the canvas's own corner.
class PICTURE_VIEW
{
public:
    /// The whole picture and the canvas that it shows on; nothing else changes.
    void set_bounds(const QRectF& bounds) { m_bounds = bounds; }
    void set_canvas(const QSizeF& size) { m_canvas = size; }

    double zoom() const { return m_zoom; } ///< pixels of the window to one of the picture
    QTransform transform() const;          ///< from the picture to the window
    QPointF to_picture(const QPointF& pixel) const;

    /// The whole picture in the middle, not above 100 percent.
    void fit();

    /// As `fit`, but a long thin picture that nobody could read then is only fitted across,
    /// and shows its beginning, at the top or on the left.
    void show_beginning();

    /// Zooms so that what lies under `pixel` stays there.
    void zoom_at(const QPointF& pixel, double factor);

    /// Moves by whole pixels, but never so far that the picture is lost from
    /// sight. Gives how far it went.
    QPoint pan(const QPoint& pixels);

    /// Brings a point of the picture to the middle, at `least_zoom` or above.
    void centre_on(const QPointF& point, double least_zoom);

private:
    double fitting_zoom() const;
    void set_zoom(double zoom);
    void keep_in_sight();

    QRectF m_bounds;
    QSizeF m_canvas;
    QPointF m_offset; // of the picture's origin, in whole pixels, so that panning can move what is painted
    double m_zoom = 1;
};
