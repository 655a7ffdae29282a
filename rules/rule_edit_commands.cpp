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
    : m_insert(insert), m_rule(rule), m_rules(rules), m_index(index), m_row(row), m_parent_row(parent_row)
{
}

void RULE_INSERT_COMMAND::undo()
{
    if (m_insert)
        remove_rule();
    else
        insert_rule();
}

void RULE_INSERT_COMMAND::redo()
{
    if (m_insert)
        insert_rule();
    else
        remove_rule();
}

// The rows above show that a rule is there; the top one always does.
void RULE_INSERT_COMMAND::take_over_folder()
{
    for (QTreeWidgetItem* row = m_parent_row; row->parent(); row = row->parent()) {
        show_as_holding(*row);
        row->setHidden(false);
    }
    m_rule->path = folder_of_row(*m_parent_row);
    m_rule->physical_path = physical_folder_of_row(*m_parent_row);
}

void RULE_INSERT_COMMAND::insert_rule()
{
    take_over_folder();
    const QString key = rule_key(m_rule->path, m_rule->name);
    QList<CACHED_RULE*> equals = m_rules->values(key);
    std::reverse(equals.begin(), equals.end()); // to the oldest first
    equals.insert(qBound(0, m_index, equals.size()), m_rule);
    m_rules->remove(key);
    for (CACHED_RULE* const rule : qAsConst(equals))
        m_rules->insert(key, rule);
    m_parent_row->insertChild(position_of_row(key), m_row);
    make_current(m_row);
    m_row->setExpanded(true);
}

int RULE_INSERT_COMMAND::position_of_row(const QString& key) const
{
    int count = 0;
    for (int i = 0; i < m_parent_row->childCount(); ++i) {
        const CACHED_RULE* const rule = rule_of_row(*m_parent_row->child(i));
        if (!rule || rule_key(rule->path, rule->name) != key)
            continue;
        if (count == m_index)
            return i;
        if (++count == m_index)
            return i + 1;
    }
    return m_parent_row->childCount();
}

void RULE_INSERT_COMMAND::remove_rule()
{
    const auto place = std::find(m_rules->begin(), m_rules->end(), m_rule);
    if (place != m_rules->end())
        m_rules->erase(place);
    const int position = m_parent_row->indexOfChild(m_row);
    if (position < 0)
        return;
    make_current(m_row);
    m_parent_row->takeChild(position);
}

RULE_VALUE_COMMAND::RULE_VALUE_COMMAND(const QString& old_value, const QString& new_value,
                                       QTreeWidgetItem* row, bool* tracking)
    : m_old_value(old_value), m_new_value(new_value), m_row(row), m_tracking(tracking)
{
}

void RULE_VALUE_COMMAND::undo()
{
    apply(m_old_value);
}

void RULE_VALUE_COMMAND::redo()
{
    apply(m_new_value);
}

void RULE_VALUE_COMMAND::apply(const QString& value)
{
    *m_tracking = false;
    if (m_row->text(VALUE_COLUMN) != value)
        m_row->setText(VALUE_COLUMN, value);
    m_row->setForeground(NAME_COLUMN, value.isEmpty() ? Qt::gray : Qt::black);
    make_current(m_row);
    *m_tracking = true;
}

RULE_FILTERS_COMMAND::RULE_FILTERS_COMMAND(const QString& old_value, const QString& new_value,
                                           QTreeWidgetItem* row, bool* tracking, CACHED_RULE* rule)
    : RULE_VALUE_COMMAND(old_value, new_value, row, tracking), m_rule(rule)
{
}

void RULE_FILTERS_COMMAND::apply(const QString& value)
{
    RULE_VALUE_COMMAND::apply(value);
    m_rule->set_file_filters(value);
}

RULE_PROPERTY_COMMAND::RULE_PROPERTY_COMMAND(const QString& old_value, const QString& new_value,
                                             QTreeWidgetItem* row, bool* tracking, CACHED_RULE* rule,
                                             const QString& property)
    : RULE_VALUE_COMMAND(old_value, new_value, row, tracking), m_rule(rule), m_property(property)
{
}

void RULE_PROPERTY_COMMAND::apply(const QString& value)
{
    RULE_VALUE_COMMAND::apply(value);
    m_rule->set_property(m_property, value);
}

RULE_INHERIT_COMMAND::RULE_INHERIT_COMMAND(CACHED_RULE* rule, QTreeWidgetItem* row, bool* tracking)
    : m_rule(rule), m_row(row), m_tracking(tracking)
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
    *m_tracking = false;
    m_rule->inherit_properties = !m_rule->inherit_properties;
    if (!m_first_redo) {
        m_row->setCheckState(VALUE_COLUMN, m_rule->inherit_properties ? Qt::Checked : Qt::Unchecked);
        make_current(m_row);
    }
    m_first_redo = false;
    *m_tracking = true;
}
