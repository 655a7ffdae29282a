#include "tests/support/window_looks.h"

#include <QtGui/QAccessible>
#include <QtTest/QTest>
#include <QtWidgets/QAbstractScrollArea>
#include <QtWidgets/QApplication>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QProgressBar>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QSpinBox>
#include <QtWidgets/QToolButton>

namespace {

QString name_of(const QWidget& widget)
{
    const QString name = widget.objectName();
    return name.isEmpty() || name.startsWith("qt_") ? QString(widget.metaObject()->className()) : name;
}

/// The least that its words need; nothing for a widget that cuts none off.
QSize needed_by(const QWidget& widget)
{
    if (const auto* const label = qobject_cast<const QLabel*>(&widget)) {
        if (label->text().isEmpty())
            return {};
        const int width = label->wordWrap() ? label->width() : label->sizeHint().width();
        return {width, label->wordWrap() ? label->heightForWidth(width) : label->sizeHint().height()};
    }
    if (const auto* const button = qobject_cast<const QPushButton*>(&widget)) { // which likes to be wide
        const QSize words = button->fontMetrics().size(Qt::TextShowMnemonic, button->text());
        return words + QSize(button->style()->pixelMetric(QStyle::PM_ButtonMargin), 2);
    }
    if (qobject_cast<const QProgressBar*>(&widget))
        return {0, widget.minimumSizeHint().height()};
    for (const QMetaObject* of :
         {&QAbstractButton::staticMetaObject, &QComboBox::staticMetaObject, &QGroupBox::staticMetaObject,
          &QAbstractSpinBox::staticMetaObject, &QLineEdit::staticMetaObject})
        if (of->cast(&widget))
            return of == &QLineEdit::staticMetaObject || of == &QGroupBox::staticMetaObject
                       ? widget.minimumSizeHint()
                       : widget.sizeHint();
    return {};
}

void add_sections(const QHeaderView& header, QStringList& lines)
{
    for (int i = 0; header.isVisible() && i < header.count(); ++i) {
        const int needed = header.sectionSizeHint(i);
        if (!header.isSectionHidden(i) && header.sectionSize(i) < needed)
            lines += QString("%1 of %2")
                         .arg(header.model()->headerData(i, Qt::Horizontal).toString(),
                              name_of(*header.parentWidget()));
    }
}

void add_cut_off(const QWidget& widget, QStringList& lines)
{
    const QSize needed = needed_by(widget), has = widget.size();
    const QWidget* const holder = widget.parentWidget();
    const bool can_scroll = holder && qobject_cast<QAbstractScrollArea*>(holder->parentWidget());
    if (needed.width() > has.width() || needed.height() > has.height())
        lines += QString("%1 needs %2 x %3, has %4 x %5")
                     .arg(name_of(widget))
                     .arg(needed.width())
                     .arg(needed.height())
                     .arg(has.width())
                     .arg(has.height());
    else if (!widget.isWindow() && !can_scroll && !holder->rect().contains(widget.geometry()))
        lines += name_of(widget) + " goes beyond " + name_of(*holder);
}

/// In the order in which they were made, without those that others are made of.
QList<const QWidget*> seen_in(const QWidget& window)
{
    QList<const QWidget*> seen;
    for (const QWidget* const widget : window.findChildren<QWidget*>()) {
        const QWidget* const holder = widget->parentWidget();
        const bool is_part =
            qobject_cast<const QAbstractSpinBox*>(holder) || qobject_cast<const QComboBox*>(holder);
        if (widget->isVisible() && widget->window() == &window && !is_part)
            seen += widget;
    }
    return seen;
}

QString told_of(QWidget& widget)
{
    const QAccessibleInterface* const told = QAccessible::queryAccessibleInterface(&widget);
    const QString description = told->text(QAccessible::Description);
    const bool is_list = qobject_cast<QComboBox*>(&widget); // which has its label for a name on Windows
    return QString("%1 \"%2\"%3")
        .arg(name_of(widget), told->text(is_list ? QAccessible::Value : QAccessible::Name),
             description.isEmpty() ? QString() : ", " + description);
}

} // namespace

QStringList WINDOW_LOOKS::cut_off(QWidget& window, int percent)
{
    const QFont font = QApplication::font();
    const QSize size = window.size();
    QFont large = font;
    large.setPointSizeF(font.pointSizeF() * percent / 100);
    QApplication::setFont(large);
    for (QWidget* const widget : window.findChildren<QWidget*>()) {
        QEvent anew(QEvent::StyleChange); // as in a window that comes up with this font
        QApplication::sendEvent(widget, &anew);
        widget->updateGeometry();
    }
    QCoreApplication::processEvents();
    QStringList lines;
    for (const QWidget* const widget : seen_in(window)) {
        if (const auto* const header = qobject_cast<const QHeaderView*>(widget))
            add_sections(*header, lines);
        add_cut_off(*widget, lines);
    }
    QApplication::setFont(font);
    QCoreApplication::processEvents();
    window.resize(size);
    return lines;
}

QStringList WINDOW_LOOKS::stops(QWidget& window)
{
    QStringList lines;
    QWidgetList reached;
    const QPointer<QWidget> first = window.focusWidget();
    if (!first)
        QTest::keyClick(&window, Qt::Key_Tab);
    for (QWidget* stop = window.focusWidget(); stop && !reached.contains(stop); stop = window.focusWidget()) {
        reached += stop;
        lines += told_of(*stop);
        QTest::keyClick(stop, Qt::Key_Tab);
    }
    if (first)
        first->setFocus();
    for (const QWidget* const widget : seen_in(window))
        if (widget->focusPolicy() & Qt::TabFocus && widget->isEnabled() && !widget->focusProxy() &&
            !reached.contains(const_cast<QWidget*>(widget)))
            lines += "not reached: " + name_of(*widget);
    return lines;
}
