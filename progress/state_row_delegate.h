#pragma once

#include "contracts/services/plain_row_delegate.h"

/// Shows rows whose text has a colour that tells a state, and keeps it legible: the
/// colour stays when the row is chosen, and where its contrast with what it stands
/// on is below 3 to 1 the text gets a ground of its own. A row without a colour is
/// shown as any other. GUI thread.
class STATE_ROW_DELEGATE : public PLAIN_ROW_DELEGATE
{
    Q_OBJECT

public:
    /// `ground` is the colour that rows lie on which are not chosen.
    STATE_ROW_DELEGATE(QPalette::ColorRole ground, QObject* parent);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;

    /// The brush behind the text, if it needs one, is the option's backgroundBrush.
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;

private:
    const QPalette::ColorRole m_ground;
};
