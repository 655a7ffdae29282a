#pragma once

#include <QtCore/QString>
#include <QtCore/QVector>
#include <QtGui/QImage>

#include "contracts/services/whole_file.h"

/// How a texture keeps its pixels; the values stand in the file.
enum class TEXTURE_FORMAT : quint16
{
    RGBA8 = 1,  ///< four bytes: red, green, blue, alpha
    RGB565 = 2, ///< two bytes, little-endian: red in the highest 5 bits, blue in the lowest
    GREY8 = 3,  ///< one byte: brightness
};

/// Writes a converted picture, a ".tex" file. All numbers are little-endian:
///
///     offset  bytes
///          0      4  "GTEX"
///          4      2  version, 1
///          6      2  TEXTURE_FORMAT
///          8      4  width of the first level in pixels
///         12      4  height of the first level in pixels
///         16      4  number of levels; each is half as large as the one before
///         20      4  0
///         24      8  bytes of all levels together
///         32         the levels, largest first, rows from the top, no padding
///
/// The file is written under a temporary name and takes its own name in
/// `commit`; without that, whatever was there before stays as it was.
class TEXTURE_FILE
{
public:
    TEXTURE_FILE(const QString& path, TEXTURE_FORMAT format);

    /// Opens the file and writes the header. False on failure.
    bool open(const QVector<QSize>& levels);

    /// Adds one row of a level; `image` is RGB32 or ARGB32. False on failure.
    bool write_row(const QImage& image, int row);

    /// Makes the file appear under its name. False on failure.
    bool commit();

    /// What went wrong, with the path.
    const QString& error() const { return m_file.error(); }

private:
    TARGET_FILE m_file;
    const TEXTURE_FORMAT m_format;
    QByteArray m_row; // kept between rows
};

int bytes_of_pixel(TEXTURE_FORMAT format);
