#pragma once

#include <QtWidgets/QStyledItemDelegate>

#include "contracts/export.h"

/// Shows the rows of a list or tree whose texts come from outside, such as file
/// names: always on one line, so that rows of uniform height stay whole, and a
/// row that is cut off says all of its text in a tool tip, as plain text. What a
/// row holds stays as it is. GUI thread.
class GOX_CONTRACTS_EXPORT SINGLE_LINE_DELEGATE : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit SINGLE_LINE_DELEGATE(QObject* parent);

    /// The text with a blank for every kind of line end.
    QString displayText(const QVariant& value, const QLocale& locale) const override;

    /// A row with a tool tip of its own shows that one.
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;
};
