#include "rules/rule_edit_commands.h"

#include <QtWidgets/QTreeWidget>

#include <algorithm>

#include "contracts/rules/rule_key.h"
#include "rules/rule_rows.h"

namespace {

void make_current(QTreeWidgetItem* row)
{
    QTreeWidget* const tree = row->treeWidget();
    if (tree && tree->currentItem() != row)
        tree->setCurrentItem(row);
}

} // namespace

RULE_INSERT_COMMAND::RULE_INSERT_COMMAND(bool insert, CACHED_RULE* rule,
                                         QMultiMap<QString, CACHED_RULE*>* rules, int index,
                                         QTreeWidgetItem* row, QTreeWidgetItem* parent_row)
    : insert(insert), rule(rule), rules(rules), index(index), row(row), parent_row(parent_row)
{
}

void RULE_INSERT_COMMAND::undo()
{
    if (insert)
        remove_rule();
    else
        insert_rule();
}

void RULE_INSERT_COMMAND::redo()
{
    if (insert)
        insert_rule();
    else
        remove_rule();
}

// The rows above show that a rule is there; the top one always does.
void RULE_INSERT_COMMAND::take_over_folder()
{
    for (QTreeWidgetItem* folder = parent_row; folder->parent(); folder = folder->parent()) {
        show_as_holding(*folder);
        folder->setHidden(false);
    }
    rule->path = folder_of_row(*parent_row);
    rule->physical_path = physical_folder_of_row(*parent_row);
}

void RULE_INSERT_COMMAND::insert_rule()
{
    take_over_folder();
    const QString key = rule_key(rule->path, rule->name);
    QList<CACHED_RULE*> equals = rules->values(key);
    std::reverse(equals.begin(), equals.end()); // to the oldest first
    equals.insert(qBound(0, index, equals.size()), rule);
    rules->remove(key);
    for (CACHED_RULE* const equal : qAsConst(equals))
        rules->insert(key, equal);
    parent_row->insertChild(position_of_row(key), row);
    make_current(row);
    row->setExpanded(true);
}

int RULE_INSERT_COMMAND::position_of_row(const QString& key) const
{
    int count = 0;
    for (int i = 0; i < parent_row->childCount(); ++i) {
        const CACHED_RULE* const other = rule_of_row(*parent_row->child(i));
        if (!other || rule_key(other->path, other->name) != key)
            continue;
        if (count == index)
            return i;
        if (++count == index)
            return i + 1;
    }
    return parent_row->childCount();
}

void RULE_INSERT_COMMAND::remove_rule()
{
    const auto place = std::find(rules->begin(), rules->end(), rule);
    if (place != rules->end())
        rules->erase(place);
    const int position = parent_row->indexOfChild(row);
    if (position < 0)
        return;
    make_current(row);
    parent_row->takeChild(position);
}

RULE_VALUE_COMMAND::RULE_VALUE_COMMAND(const QString& old_value, const QString& new_value,
                                       QTreeWidgetItem* row, bool* tracking)
    : old_value(old_value), new_value(new_value), row(row), tracking(tracking)
{
}

void RULE_VALUE_COMMAND::undo()
{
    apply(old_value);
}

void RULE_VALUE_COMMAND::redo()
{
    apply(new_value);
}

void RULE_VALUE_COMMAND::apply(const QString& value)
{
    *tracking = false;
    if (row->text(VALUE_COLUMN) != value)
        row->setText(VALUE_COLUMN, value);
    row->setForeground(NAME_COLUMN, value.isEmpty() ? Qt::gray : Qt::black);
    make_current(row);
    *tracking = true;
}

RULE_FILTERS_COMMAND::RULE_FILTERS_COMMAND(const QString& old_value, const QString& new_value,
                                           QTreeWidgetItem* row, bool* tracking, CACHED_RULE* rule)
    : RULE_VALUE_COMMAND(old_value, new_value, row, tracking), rule(rule)
{
}

void RULE_FILTERS_COMMAND::apply(const QString& value)
{
    RULE_VALUE_COMMAND::apply(value);
    rule->set_file_filters(value);
}

RULE_PROPERTY_COMMAND::RULE_PROPERTY_COMMAND(const QString& old_value, const QString& new_value,
                                             QTreeWidgetItem* row, bool* tracking, CACHED_RULE* rule,
                                             const QString& property)
    : RULE_VALUE_COMMAND(old_value, new_value, row, tracking), rule(rule), property(property)
{
}

void RULE_PROPERTY_COMMAND::apply(const QString& value)
{
    RULE_VALUE_COMMAND::apply(value);
    rule->set_property(property, value);
}

RULE_INHERIT_COMMAND::RULE_INHERIT_COMMAND(CACHED_RULE* rule, QTreeWidgetItem* row, bool* tracking)
    : rule(rule), row(row), tracking(tracking)
{
}

void RULE_INHERIT_COMMAND::undo()
{
    toggle();
}

void RULE_INHERIT_COMMAND::redo()
{
    toggle();
}

void RULE_INHERIT_COMMAND::toggle()
{
    *tracking = false;
    rule->inherit_properties = !rule->inherit_properties;
    if (!first_redo) {
        row->setCheckState(VALUE_COLUMN, rule->inherit_properties ? Qt::Checked : Qt::Unchecked);
        make_current(row);
    }
    first_redo = false;
    *tracking = true;
}
