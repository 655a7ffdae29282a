#include "contracts/services/single_line_delegate.h"

#include <QtGui/QHelpEvent>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QToolTip>

SINGLE_LINE_DELEGATE::SINGLE_LINE_DELEGATE(QObject* parent) : QStyledItemDelegate(parent) {}

QString SINGLE_LINE_DELEGATE::displayText(const QVariant& value, const QLocale& locale) const
{
    QString text = QStyledItemDelegate::displayText(value, locale);
    for (QChar& letter : text)
        if (letter == '\r' || letter == '\n' || letter == QChar::LineSeparator ||
            letter == QChar::ParagraphSeparator)
            letter = ' ';
    return text;
}

bool SINGLE_LINE_DELEGATE::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                                     const QStyleOptionViewItem& option, const QModelIndex& index)
{
    const bool is_cut_off =
        index.isValid() && view && option.rect.width() < sizeHint(option, index).width();
    if (event->type() != QEvent::ToolTip || !is_cut_off || index.data(Qt::ToolTipRole).isValid())
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    // A tool tip guesses whether a text is markup; a name must never be taken for it.
    const QString text = index.data(Qt::DisplayRole).toString();
    QToolTip::showText(event->globalPos(), QStringLiteral("<p>%1</p>").arg(text.toHtmlEscaped()), view);
    return true;
}
