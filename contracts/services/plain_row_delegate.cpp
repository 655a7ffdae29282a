#include "contracts/services/plain_row_delegate.h"

#include <QtGui/QHelpEvent>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QToolTip>

#include "contracts/services/plain_tool_tip.h"

namespace {

const int MOST_LETTERS_IN_ROW = 1000; // more are slow to draw, and no row is that wide
constexpr QChar LINE_END_SIGN(0x21b5);

QString with_line_end_signs(QString text)
{
    for (QChar line_end : {QChar('\n'), QChar(QChar::LineSeparator), QChar(QChar::ParagraphSeparator)})
        text.replace(line_end, LINE_END_SIGN);
    return text.replace(QString("\r") + LINE_END_SIGN, QString(LINE_END_SIGN)).replace('\r', LINE_END_SIGN);
}

} // namespace

PLAIN_ROW_DELEGATE::PLAIN_ROW_DELEGATE(QObject* parent) : QStyledItemDelegate(parent) {}

QString PLAIN_ROW_DELEGATE::displayText(const QVariant& value, const QLocale& locale) const
{
    return with_line_end_signs(QStyledItemDelegate::displayText(value, locale).left(MOST_LETTERS_IN_ROW));
}

bool PLAIN_ROW_DELEGATE::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                                   const QStyleOptionViewItem& option, const QModelIndex& index)
{
    const QString text = index.data(Qt::DisplayRole).toString();
    const QString own = index.data(Qt::ToolTipRole).toString();
    const int visible = (option.rect & view->viewport()->rect()).width();
    const bool is_cut_off =
        text.size() > MOST_LETTERS_IN_ROW || visible < QStyledItemDelegate::sizeHint(option, index).width();
    if (event->type() != QEvent::ToolTip || (own.isEmpty() && !is_cut_off))
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    const QString all = !is_cut_off ? own : own.isEmpty() ? text : text + "\n\n" + own;
    QToolTip::showText(event->globalPos(), plain_tool_tip(all), view, option.rect);
    return true;
}
