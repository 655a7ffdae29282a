#pragma once

#include <QtCore/QSize>
#include <QtCore/QVector>
#include <QtGui/QImage>

#include "textures/row_counter.h"

/// The sizes through which a picture goes on its way into a texture.
struct MIP_CHAIN
{
    int halvings = 0;      ///< how often the picture is halved before it becomes the first level
    QVector<QSize> levels; ///< what is written, largest first; one entry without mip maps

    qint64 rows(const QSize& picture) const; ///< rows computed or written in all, for the progress
};

/// Half of `size`, rounded down, and never below one pixel a side.
QSize half_size(const QSize& size);

/// The picture is halved until no side is above `maximum_size`, which keeps its
/// proportions and, where a side is a power of two, that as well. Mip maps then
/// go down to a single pixel.
MIP_CHAIN mip_chain(const QSize& picture, int maximum_size, bool mip_maps);

/// False when a side is no power of two: such a picture converts, but its mip
/// maps lose a row or a column at each odd size.
bool has_power_of_two_sides(const QSize& size);

/// `image` (RGB32 or ARGB32) at half its size, each pixel the average of up to
/// four; colours count by their alpha, so that invisible ones don't bleed in.
/// Null when `rows` was told to stop or memory ran out.
QImage half_image(const QImage& image, ROW_COUNTER& rows);
