#pragma once

#include <QtCore/QPersistentModelIndex>
#include <QtCore/QPointer>
#include <QtWidgets/QLineEdit>

#include "contracts/services/plain_row_delegate.h"

/// Edits the texts of the rule editor's tree, and shows them like other rows. An
/// editor that is merely opened and closed changes nothing; the view keeps at most
/// one open, which has the tool tip of the row that it covers. GUI thread only.
class RULE_VALUE_DELEGATE : public PLAIN_ROW_DELEGATE
{
    Q_OBJECT

public:
    explicit RULE_VALUE_DELEGATE(QObject* parent);

    /// The line edit that is open, null if none is.
    QLineEdit* editor() const { return m_editor; }

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;

public slots:
    void commit(); ///< takes over what has been typed so far

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool show_tool_tip(QLineEdit* edit, const QPoint& place) const;
    void prepare_for_key(QLineEdit* edit, int key);

    mutable QPointer<QLineEdit> m_editor;
    mutable QPersistentModelIndex m_edited;
    mutable QString m_text; // in the editor when it was filled
};
