#pragma once

#include <QtCore/QSizeF>
#include <QtCore/QString>

class PICTURE_PAINTER;

/// Saves a laid-out picture under `file`, whole or not at all: SVG, PNG or the
/// Graphviz language, by the end of the name (".svg", ".png", ".dot" or ".gv",
/// whatever their case). Labels stand in all three as the viewer shows them; the
/// Graphviz file has the whole texts and no places, for tools that lay out
/// themselves.
///
/// A PNG is as large as the picture at 100 percent times png_zoom.
///
/// Gives an error with the file's name and the cause; empty on success. GUI
/// thread.
QString save_picture(const PICTURE_PAINTER& painter, const QString& file);

/// 1, or less for a picture that would be a PNG of more than 40 million pixels or of
/// more than 16,000 on a side.
double png_zoom(const QSizeF& picture);
