#pragma once

#include <QtWidgets/QStyledItemDelegate>

#include "contracts/export.h"

/// Shows the rows of lists and trees whose texts come from outside, such as file
/// names. A row is always one line, so that rows of uniform height stay whole,
/// and one that is cut off says all of its text in a tool tip, as plain text.
/// What a row holds stays as it is. Check boxes can be seen on a dark background
/// in every style. GUI thread.
class GOX_CONTRACTS_EXPORT PLAIN_ROW_DELEGATE : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit PLAIN_ROW_DELEGATE(QObject* parent);

    /// The text with a blank for every kind of line end.
    QString displayText(const QVariant& value, const QLocale& locale) const override;

    /// A row with a tool tip of its own shows that one.
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;
};
