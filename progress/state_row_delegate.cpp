#include "progress/state_row_delegate.h"

#include <QtGui/QPainter>
#include <QtWidgets/QApplication>

#include <algorithm>

#include "contracts/services/colour_contrast.h"

namespace {

const QColor LIGHT_GROUND(220, 225, 255);
const QColor DARK_GROUND(32, 34, 40);
const int EDGE = 1; // pixels between the ground and the edge of the row

QBrush ground_for(const QColor& text, const QColor& lies_on)
{
    if (contrast(text, lies_on) >= LEAST_CONTRAST)
        return {};
    return contrast(text, DARK_GROUND) > contrast(text, LIGHT_GROUND) ? DARK_GROUND : LIGHT_GROUND;
}

QPalette::ColorGroup colour_group(QStyle::State state)
{
    return !(state & QStyle::State_Enabled)  ? QPalette::Disabled
           : !(state & QStyle::State_Active) ? QPalette::Inactive
                                             : QPalette::Active;
}

void draw(QPainter& painter, const QStyleOptionViewItem& row)
{
    row.widget->style()->drawControl(QStyle::CE_ItemViewItem, &row, &painter, row.widget);
}

} // namespace

STATE_ROW_DELEGATE::STATE_ROW_DELEGATE(QPalette::ColorRole ground, QObject* parent)
    : PLAIN_ROW_DELEGATE(parent), m_ground(ground)
{
}

void STATE_ROW_DELEGATE::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    const QVariant foreground = index.data(Qt::ForegroundRole);
    if (!foreground.isValid())
        return;
    const QColor colour = foreground.value<QBrush>().color();
    const bool is_chosen = option->state & QStyle::State_Selected;
    const QColor lies_on =
        option->palette.color(colour_group(option->state), is_chosen ? QPalette::Highlight : m_ground);
    option->palette.setColor(QPalette::Text, colour);
    option->palette.setColor(QPalette::HighlightedText, colour);
    option->backgroundBrush = ground_for(colour, lies_on);
}

// A ground lies behind the text alone, also of a chosen row, for which styles draw
// either the choice or a ground. All but the text is drawn first.
void STATE_ROW_DELEGATE::paint(QPainter* painter, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const
{
    QStyleOptionViewItem row(option);
    initStyleOption(&row, index);
    if (row.backgroundBrush.style() == Qt::NoBrush)
        return PLAIN_ROW_DELEGATE::paint(painter, option, index);
    const QBrush ground = row.backgroundBrush;
    const QString text = row.text;
    row.backgroundBrush = QBrush();
    row.text.clear();
    draw(*painter, row);

    row.text = text;
    row.state &= ~(QStyle::State_Selected | QStyle::State_HasFocus | QStyle::State_MouseOver);
    QRect place = row.widget->style()->subElementRect(QStyle::SE_ItemViewItemText, &row, row.widget);
    place.setWidth(std::min(place.width(), sizeHint(option, index).width()));
    painter->fillRect(place.adjusted(0, EDGE, 0, -EDGE), ground);
    draw(*painter, row);
}
