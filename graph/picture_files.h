#pragma once

#include <QtCore/QString>

class PICTURE_PAINTER;

/// Saves a laid-out picture under `file`, whole or not at all: SVG, PNG or the
/// Graphviz language, by the end of the name (".svg", ".png", ".dot" or ".gv",
/// whatever their case). Labels stand in all three as the viewer shows them; the
/// Graphviz file has the whole texts and no places, for tools that lay out
/// themselves.
///
/// A PNG is as large as the picture at 100 percent, but at most 40 million pixels
/// and 16,000 on a side; a larger picture is scaled down.
///
/// Gives an error with the file's name and the cause; empty on success. GUI
/// thread.
QString save_picture(const PICTURE_PAINTER& painter, const QString& file);
