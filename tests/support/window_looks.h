#pragma once

#include <QtCore/QStringList>
#include <QtWidgets/QWidget>

/// What a window is for people with large type, without a mouse, or with a screen reader.
namespace WINDOW_LOOKS {

/// A line for each label, button, header, box and title that is cut off, or outside of
/// what holds it, with a font of so many percent. Font and size are as before then.
QStringList cut_off(QWidget& window, int percent);

/// A line for each stop of the Tab key, from the widget that has the focus on: object
/// name, then what a screen reader is told, name and description. At last the widgets
/// that the focus could be on and that Tab does not reach.
QStringList stops(QWidget& window);

} // namespace WINDOW_LOOKS
