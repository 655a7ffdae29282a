#include "tests/support/window_text.h"

#include <QtGui/QTextDocument>
#include <QtWidgets/QAbstractSpinBox>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QProgressBar>
#include <QtWidgets/QToolButton>

namespace {

QString box_of(const QModelIndex& index)
{
    const QVariant state = index.data(Qt::CheckStateRole);
    if (!state.isValid())
        return {};
    return QStringList{"[ ] ", "[-] ", "[x] "}.value(state.toInt());
}

void add_rows(const QTreeView& view, const QModelIndex& parent, const QString& level, QStringList& lines)
{
    const QAbstractItemModel& model = *view.model();
    for (int row = 0; row < model.rowCount(parent); ++row) {
        if (view.isRowHidden(row, parent))
            continue;
        QStringList texts;
        for (int column = 0; column < model.columnCount(parent); ++column) {
            const QModelIndex index = model.index(row, column, parent);
            if (!view.isColumnHidden(column))
                texts += box_of(index) + index.data().toString();
        }
        const QModelIndex first = model.index(row, 0, parent);
        const bool closed = model.hasChildren(first) && !view.isExpanded(first);
        const bool current = view.currentIndex().siblingAtColumn(0) == first;
        lines += level + (closed ? "+" : "") + texts.join(" | ") + (current ? " <" : "");
        if (!closed)
            add_rows(view, first, level + '.', lines);
    }
}

QString items_of(const QComboBox& box)
{
    QStringList items;
    for (int i = 0; i < box.count(); ++i)
        items += (i == box.currentIndex() ? "*" : "") + box.itemText(i);
    return items.join(", ");
}

/// What the widget says; null for one that only holds others.
QString words_of(const QWidget& widget)
{
    if (const auto* box = qobject_cast<const QComboBox*>(&widget))
        return items_of(*box) + QString("");
    if (qobject_cast<const QProgressBar*>(&widget))
        return {};
    for (const char* property : {"text", "title", "plainText"})
        if (const QVariant words = widget.property(property); words.isValid())
            return words.toString() + QString("");
    return {};
}

QString particulars_of(const QWidget& widget)
{
    QStringList states;
    if (widget.isHidden() && !widget.isWindow())
        states += "hidden";
    if (!widget.isEnabled() && (!widget.parentWidget() || widget.parentWidget()->isEnabled()))
        states += "disabled";
    if (const auto* button = qobject_cast<const QToolButton*>(&widget); button && button->arrowType())
        states += QStringList{"arrow up", "arrow down"}.value(button->arrowType() - Qt::UpArrow);
    if (const auto* label = qobject_cast<const QLabel*>(&widget))
        if (label->textFormat() != Qt::PlainText && Qt::mightBeRichText(label->text()))
            states += "rich";
    for (const char* property : {"checked", "default", "readOnly"})
        if (widget.property(property).toBool())
            states += property;
    if (!widget.toolTip().isEmpty())
        states += "tip \"" + widget.toolTip() + '"';
    return states.isEmpty() ? QString() : ' ' + states.join(", ");
}

void add_widget(const QWidget& widget, QStringList& lines)
{
    const QString words = words_of(widget), name = widget.objectName();
    const bool of_its_own = !name.isEmpty() && !name.startsWith("qt_");
    if (of_its_own || !words.isEmpty())
        lines += (of_its_own ? name : QString(widget.metaObject()->className())) +
                 (words.isNull() ? QString() : " \"" + words + '"') + particulars_of(widget);
    if (qobject_cast<const QComboBox*>(&widget) || qobject_cast<const QAbstractSpinBox*>(&widget))
        return; // made of widgets that are Qt's affair
    for (const QObject* child : widget.children())
        if (const auto* inner = qobject_cast<const QWidget*>(child))
            if (!inner->isWindow())
                add_widget(*inner, lines);
}

void add_entries(const QMenu& menu, const QString& level, QStringList& lines)
{
    for (const QAction* entry : menu.actions()) {
        if (!entry->isVisible())
            continue;
        lines += level + (entry->isSeparator() ? QString("-") : entry->text()) +
                 (entry->isEnabled() ? "" : " disabled") + (entry->isChecked() ? " checked" : "");
        if (entry->menu())
            add_entries(*entry->menu(), level + '.', lines);
    }
}

} // namespace

QString WINDOW_TEXT::rows(const QTreeView& view)
{
    QStringList lines;
    add_rows(view, view.rootIndex(), QString(), lines);
    return lines.join('\n');
}

QString WINDOW_TEXT::form(const QWidget& window)
{
    QStringList lines{"window \"" + window.windowTitle() + '"'};
    for (const QObject* child : window.children())
        if (const auto* widget = qobject_cast<const QWidget*>(child))
            if (!widget->isWindow())
                add_widget(*widget, lines);
    return lines.join('\n');
}

QString WINDOW_TEXT::menu(const QMenu& menu)
{
    QStringList lines;
    add_entries(menu, QString(), lines);
    return lines.join('\n');
}
