#include "contracts/services/plain_row_delegate.h"

#include <QtGui/QHelpEvent>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QToolTip>

#include "contracts/services/plain_tool_tip.h"

namespace {

const int DARK = 128; // lightness below which a colour is dark

}

PLAIN_ROW_DELEGATE::PLAIN_ROW_DELEGATE(QObject* parent) : QStyledItemDelegate(parent) {}

QString PLAIN_ROW_DELEGATE::displayText(const QVariant& value, const QLocale& locale) const
{
    QString text = QStyledItemDelegate::displayText(value, locale);
    for (QChar& letter : text)
        if (letter == '\r' || letter == '\n' || letter == QChar::LineSeparator ||
            letter == QChar::ParagraphSeparator)
            letter = ' ';
    return text;
}

bool PLAIN_ROW_DELEGATE::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                                   const QStyleOptionViewItem& option, const QModelIndex& index)
{
    const auto is_cut_off = [&] {
        const QRect visible = option.rect & view->viewport()->rect();
        return visible.width() < sizeHint(option, index).width();
    };
    if (event->type() != QEvent::ToolTip || !view || !index.isValid() ||
        index.data(Qt::ToolTipRole).isValid() || !is_cut_off())
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    QToolTip::showText(event->globalPos(), plain_tool_tip(index.data(Qt::DisplayRole).toString()), view);
    return true;
}

void PLAIN_ROW_DELEGATE::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    // Styles outline the box in a darker shade of the window's colour, which is
    // lost on a base that is dark itself.
    if (option->palette.base().color().lightness() < DARK)
        option->palette.setColor(QPalette::Window, option->palette.text().color().darker());
}
