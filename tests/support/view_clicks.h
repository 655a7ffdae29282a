#pragma once

#include <QtTest/QTest>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QStyle>

/// Clicks on rows of lists and trees as a person does.
namespace VIEW_CLICKS {

/// Presses the left button on the middle of the row's check box.
inline void click_box(QAbstractItemView& view, const QModelIndex& index)
{
    view.scrollTo(index);
    QStyleOptionViewItem row;
    row.initFrom(&view);
    row.rect = view.visualRect(index);
    row.features = QStyleOptionViewItem::HasCheckIndicator | QStyleOptionViewItem::HasDisplay;
    row.viewItemPosition = QStyleOptionViewItem::OnlyOne;
    const QRect box = view.style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &row, &view);
    QTest::mouseClick(view.viewport(), Qt::LeftButton, Qt::NoModifier, box.center());
}

/// Clicks near the right end of the row, where neither box nor branch is.
inline void click_row(QAbstractItemView& view, const QModelIndex& index,
                      Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    view.scrollTo(index);
    const QRect row = view.visualRect(index);
    QTest::mouseClick(view.viewport(), Qt::LeftButton, modifiers, {row.right() - 4, row.center().y()});
}

} // namespace VIEW_CLICKS
