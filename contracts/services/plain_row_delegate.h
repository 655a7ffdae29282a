#pragma once

#include <QtWidgets/QStyledItemDelegate>

#include "contracts/export.h"

/// Shows the rows of lists and trees whose texts come from outside, such as file
/// names. A row is always one line of a bounded length, so that rows of uniform
/// height stay whole, and one that is cut off says all of its text in a tool tip.
/// What a row holds stays as it is. GUI thread.
class GOX_CONTRACTS_EXPORT PLAIN_ROW_DELEGATE : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit PLAIN_ROW_DELEGATE(QObject* parent);

    /// The beginning of the text, with a sign for every kind of line end.
    QString displayText(const QVariant& value, const QLocale& locale) const override;

    /// As plain text; a row's own tool tip comes behind the text that is cut off.
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;
};
