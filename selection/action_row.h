#pragma once

#include <QtWidgets/QListWidget>

class ACTION_INTERFACE;

/// A row of an action list: an action, or all that have the same short text, with a
/// check box. It asks the action for its text when the text is wanted and keeps
/// nothing but the state, so that lists of a million actions come up at once and
/// stay small. DIALOG_HELPER knows its action. GUI thread.
class ACTION_ROW : public QListWidgetItem
{
public:
    /// The action is not owned and outlives the row.
    ACTION_ROW(ACTION_INTERFACE* action, bool long_form);

    QVariant data(int role) const override;
    void setData(int role, const QVariant& value) override;

    /// The processor's name and the action's text.
    static QString text_of(ACTION_INTERFACE& action, bool long_form);

    /// Puts the rows, which the list then owns, into an empty list. Telling a view of
    /// each row by itself takes longer than all the rest.
    static void add_to(QListWidget& list, const QList<QListWidgetItem*>& rows);

private:
    ACTION_INTERFACE* const m_action;
    Qt::CheckState m_state = Qt::Unchecked;
    const bool m_long_form;
};
