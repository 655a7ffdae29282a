#pragma once

#include <QtCore/QByteArray>
#include <QtGui/QImage>

/// Reads a TGA picture: true colour with 24 or 32 bits a pixel, uncompressed or
/// run-length encoded, from any corner. These are what paint programs write;
/// Qt's own reader is an extra that not every system has.
///
/// `data` is the whole file. The result is an RGB32 image, or ARGB32 when the
/// header says that the fourth byte is an alpha value. A null image means that
/// `error` says, in words, what is wrong with the file. Any thread.
QImage read_tga(const QByteArray& data, QString& error);
