#include "rules/rule_value_delegate.h"

#include <QtGui/QHelpEvent>
#include <QtGui/QKeyEvent>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QToolTip>

#include <limits>

#include "contracts/services/plain_tool_tip.h"

namespace {

constexpr int MOST_LETTERS_IN_CELL = 1000;
constexpr QChar LINE_END_SIGN(0x21b5);

} // namespace

RULE_VALUE_DELEGATE::RULE_VALUE_DELEGATE(QObject* parent) : QStyledItemDelegate(parent) {}

void RULE_VALUE_DELEGATE::commit()
{
    if (m_editor)
        emit commitData(m_editor);
}

QString RULE_VALUE_DELEGATE::displayText(const QVariant& value, const QLocale&) const
{
    QString text = value.toString().left(MOST_LETTERS_IN_CELL);
    text.remove('\r');
    for (const QChar line_end : {QChar('\n'), QChar(QChar::LineSeparator), QChar(QChar::ParagraphSeparator)})
        text.replace(line_end, LINE_END_SIGN);
    return text;
}

QWidget* RULE_VALUE_DELEGATE::createEditor(QWidget* parent, const QStyleOptionViewItem&,
                                           const QModelIndex&) const
{
    m_editor = new QLineEdit(parent);
    m_editor->setMaxLength(std::numeric_limits<int>::max()); // or a long value would be cut
    return m_editor;
}

void RULE_VALUE_DELEGATE::setEditorData(QWidget* editor, const QModelIndex& index) const
{
    QLineEdit* const edit = static_cast<QLineEdit*>(editor);
    const QString text = index.data(Qt::EditRole).toString();
    if (text == m_text && edit->text() == m_text && edit == m_editor)
        return; // keeps the cursor
    edit->setText(text);
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

bool RULE_VALUE_DELEGATE::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                                    const QStyleOptionViewItem& option, const QModelIndex& index)
{
    if (event->type() != QEvent::ToolTip)
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    QToolTip::showText(event->globalPos(), plain_tool_tip(index.data(Qt::ToolTipRole).toString()), view);
    return true;
}

bool RULE_VALUE_DELEGATE::eventFilter(QObject* watched, QEvent* event)
{
    QLineEdit* const edit = qobject_cast<QLineEdit*>(watched);
    if (!edit || (event->type() != QEvent::KeyPress && event->type() != QEvent::ShortcutOverride))
        return QStyledItemDelegate::eventFilter(watched, event);
    QKeyEvent* const key = static_cast<QKeyEvent*>(event);
    if (event->type() == QEvent::KeyPress) {
        prepare_for_key(edit, key->key());
        return QStyledItemDelegate::eventFilter(watched, event);
    }
    // With nothing typed to go back on, the editor's own undo is meant.
    const bool is_for_dialog = (key->matches(QKeySequence::Undo) && !edit->isUndoAvailable()) ||
                               (key->matches(QKeySequence::Redo) && !edit->isRedoAvailable());
    if (is_for_dialog)
        event->ignore();
    return is_for_dialog || QStyledItemDelegate::eventFilter(watched, event);
}

void RULE_VALUE_DELEGATE::prepare_for_key(QLineEdit* edit, int key)
{
    if (key == Qt::Key_Escape)
        edit->setText(m_text);
    else if (key == Qt::Key_Up || key == Qt::Key_Down || key == Qt::Key_PageUp || key == Qt::Key_PageDown)
        emit commitData(edit); // the tree goes to another row, which closes the editor
}
