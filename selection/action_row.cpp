#include "selection/action_row.h"

#include <QtCore/QSignalBlocker>

#include "contracts/actions/action_interface.h"
#include "contracts/actions/dialog_helper.h"
#include "contracts/actions/processor_interface.h"

ACTION_ROW::ACTION_ROW(ACTION_INTERFACE* action, bool long_form) : m_action(action), m_long_form(long_form)
{
    setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
}

QVariant ACTION_ROW::data(int role) const
{
    switch (role) {
    case Qt::DisplayRole:
        return text_of(*m_action, m_long_form);
    case Qt::CheckStateRole:
        return m_state;
    case Qt::UserRole: // what DIALOG_HELPER reads
        return QVariant::fromValue(static_cast<void*>(m_action));
    default:
        return QListWidgetItem::data(role);
    }
}

void ACTION_ROW::setData(int role, const QVariant& value)
{
    if (role != Qt::CheckStateRole)
        return QListWidgetItem::setData(role, value);
    if (m_state == value.toInt())
        return;
    m_state = Qt::CheckState(value.toInt());
    setFlags(flags()); // tells the list that the row has changed
}

QString ACTION_ROW::text_of(ACTION_INTERFACE& action, bool long_form)
{
    return action.processor->name() + QStringLiteral(" / ") + action.display_text(long_form);
}

void ACTION_ROW::add_to(QListWidget& list, const QList<QListWidgetItem*>& rows)
{
    {
        const QSignalBlocker unseen(list.model());
        for (QListWidgetItem* row : rows)
            list.addItem(row);
    }
    list.reset();
}
