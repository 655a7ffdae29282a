#pragma once

#include <QtGui/QHelpEvent>
#include <QtGui/QTextDocument>
#include <QtGui/QTextDocumentFragment>
#include <QtWidgets/QApplication>
#include <QtWidgets/QToolTip>
#include <QtWidgets/QWidget>

/// The letters that a person reads who lets the pointer rest there.
inline QString tool_tip_at(QWidget* widget, const QPoint& place)
{
    QHelpEvent ask(QEvent::ToolTip, place, widget->mapToGlobal(place));
    QApplication::sendEvent(widget, &ask);
    const QString text = QToolTip::text();
    return Qt::mightBeRichText(text) ? QTextDocumentFragment::fromHtml(text).toPlainText() : text;
}
