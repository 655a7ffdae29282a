#include "contracts/actions/dialog_helper.h"

#include <QtCore/QVariant>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QTreeWidget>

namespace {

QVariant to_variant(const ACTION_INTERFACE* action)
{
    return QVariant::fromValue(static_cast<void*>(const_cast<ACTION_INTERFACE*>(action)));
}

ACTION_INTERFACE* from_variant(const QVariant& value)
{
    return static_cast<ACTION_INTERFACE*>(value.value<void*>());
}

} // namespace

void DIALOG_HELPER::set_action_pointer(QListWidgetItem* item, const ACTION_INTERFACE* action)
{
    item->setData(Qt::UserRole, to_variant(action));
}

void DIALOG_HELPER::set_action_pointer(QTreeWidgetItem* item, int column, const ACTION_INTERFACE* action)
{
    item->setData(column, Qt::UserRole, to_variant(action));
}

ACTION_INTERFACE* DIALOG_HELPER::get_action_pointer(QListWidgetItem* item)
{
    return from_variant(item->data(Qt::UserRole));
}

ACTION_INTERFACE* DIALOG_HELPER::get_action_pointer(QTreeWidgetItem* item, int column)
{
    return from_variant(item->data(column, Qt::UserRole));
}
