#pragma once

#include <QtCore/QString>

/// What a picture may be at most, whatever its file claims: memory is only
/// asked for after this test, so a few broken bytes can't claim it all.
const int MAX_PICTURE_SIDE = 16384;                        ///< pixels
const qint64 MAX_PICTURE_PIXELS = qint64(8192) * 8192;     ///< 256 MB decoded
const qint64 MAX_PICTURE_FILE = qint64(256) * 1024 * 1024; ///< bytes on disk

/// Empty when a picture of that size may be read, else what is wrong with it.
inline QString picture_size_error(int width, int height)
{
    if (width < 1 || height < 1)
        return QStringLiteral("it has no pixels (%1 x %2)").arg(width).arg(height);
    if (width > MAX_PICTURE_SIDE || height > MAX_PICTURE_SIDE || qint64(width) * height > MAX_PICTURE_PIXELS)
        return QStringLiteral("%1 x %2 pixels are too many (a side has at most %3, the picture %4)")
            .arg(width)
            .arg(height)
            .arg(MAX_PICTURE_SIDE)
            .arg(MAX_PICTURE_PIXELS);
    return {};
}
