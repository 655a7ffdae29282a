#include "rules/rule_value_delegate.h"

#include <QtGui/QHelpEvent>
#include <QtGui/QKeyEvent>
#include <QtWidgets/QToolTip>

#include <limits>

#include "contracts/services/plain_tool_tip.h"

namespace {

const int FRAME_AND_MARGINS = 12; // of a line edit, both sides

} // namespace

RULE_VALUE_DELEGATE::RULE_VALUE_DELEGATE(QObject* parent) : PLAIN_ROW_DELEGATE(parent) {}

void RULE_VALUE_DELEGATE::commit()
{
    if (m_editor)
        emit commitData(m_editor);
}

QWidget* RULE_VALUE_DELEGATE::createEditor(QWidget* parent, const QStyleOptionViewItem&,
                                           const QModelIndex& index) const
{
    m_edited = index;
    m_editor = new QLineEdit(parent);
    m_editor->setMaxLength(std::numeric_limits<int>::max()); // or a long value would be cut
    m_editor->setAccessibleName(index.siblingAtColumn(0).data().toString());
    return m_editor;
}

void RULE_VALUE_DELEGATE::setEditorData(QWidget* editor, const QModelIndex& index) const
{
    QLineEdit* const edit = static_cast<QLineEdit*>(editor);
    const QString text = index.data(Qt::EditRole).toString();
    if (edit->text() != text)
        edit->setText(text); // which moves the cursor
    m_text = edit->text();
}

void RULE_VALUE_DELEGATE::setModelData(QWidget* editor, QAbstractItemModel* model,
                                       const QModelIndex& index) const
{
    const QString text = static_cast<QLineEdit*>(editor)->text();
    if (text == m_text)
        return;
    m_text = text;
    model->setData(index, text);
}

bool RULE_VALUE_DELEGATE::eventFilter(QObject* watched, QEvent* event)
{
    QLineEdit* const edit = qobject_cast<QLineEdit*>(watched);
    if (edit && event->type() == QEvent::ToolTip)
        return show_tool_tip(edit, static_cast<QHelpEvent*>(event)->globalPos());
    if (!edit || (event->type() != QEvent::KeyPress && event->type() != QEvent::ShortcutOverride))
        return PLAIN_ROW_DELEGATE::eventFilter(watched, event);
    QKeyEvent* const key = static_cast<QKeyEvent*>(event);
    if (event->type() == QEvent::KeyPress) {
        prepare_for_key(edit, key->key());
        return PLAIN_ROW_DELEGATE::eventFilter(watched, event);
    }
    // With nothing typed to go back on, the editor's own undo is meant.
    const bool is_for_dialog = (key->matches(QKeySequence::Undo) && !edit->isUndoAvailable()) ||
                               (key->matches(QKeySequence::Redo) && !edit->isRedoAvailable());
    if (is_for_dialog)
        event->ignore();
    return is_for_dialog || PLAIN_ROW_DELEGATE::eventFilter(watched, event);
}

bool RULE_VALUE_DELEGATE::show_tool_tip(QLineEdit* edit, const QPoint& place) const
{
    const QString own = m_edited.data(Qt::ToolTipRole).toString();
    const QString text = edit->text();
    const bool is_cut_off = edit->fontMetrics().horizontalAdvance(text) > edit->width() - FRAME_AND_MARGINS;
    const QString all = !is_cut_off ? own : own.isEmpty() ? text : text + "\n\n" + own;
    QToolTip::showText(place, plain_tool_tip(all), edit);
    return true;
}

void RULE_VALUE_DELEGATE::prepare_for_key(QLineEdit* edit, int key)
{
    if (key == Qt::Key_Escape)
        edit->setText(m_text);
}
