#pragma once

#include <QtCore/QString>
#include <QtGui/QImage>

/// Reads the picture file at `path`: TGA when the name ends in ".tga" (in any
/// letter case), PNG otherwise. The result is RGB32 or ARGB32. A null image
/// means that `error` says what is wrong, beginning with the path. Any thread.
QImage read_picture(const QString& path, QString& error);
