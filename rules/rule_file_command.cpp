#include "rules/rule_file_command.h"

#include <QtWidgets/QTreeWidget>

#include "contracts/rules/rule_cache.h"
#include "contracts/rules/rule_key.h"
#include "contracts/rules/rule_schema.h"
#include "rules/rule_rows.h"

RULE_FILE_COMMAND::RULE_FILE_COMMAND(RULE_CACHE& cache, const RULE_FILE_READING& reading,
                                     QTreeWidgetItem& folder_row)
    : m_cache(&cache), m_reading(reading), m_folder_row(&folder_row)
{
}

void RULE_FILE_COMMAND::undo()
{
    exchange();
}

void RULE_FILE_COMMAND::redo()
{
    exchange();
}

void RULE_FILE_COMMAND::exchange()
{
    m_folder_row->treeWidget()->setCurrentItem(m_folder_row);
    QList<CACHED_RULE*> open;
    take_rows(open);
    m_cache->exchange(m_reading);
    const bool has_rules = add_rows();
    for (int i = 0; i < m_folder_row->childCount(); ++i)
        if (open.contains(rule_of_row(*m_folder_row->child(i))))
            m_folder_row->child(i)->setExpanded(true);
    show_as_unreadable(*m_folder_row, m_cache->unreadable_folders().value(folder_of_row(*m_folder_row)));
    for (QTreeWidgetItem* row = m_folder_row; row && has_rules; row = row->parent())
        show_as_holding(*row);
    m_folder_row->setExpanded(true);
}

void RULE_FILE_COMMAND::take_rows(QList<CACHED_RULE*>& open)
{
    for (int i = m_folder_row->childCount() - 1; i >= 0; --i) {
        QTreeWidgetItem* const row = m_folder_row->child(i);
        CACHED_RULE* const rule = rule_of_row(*row);
        if (!rule)
            continue;
        if (row->isExpanded())
            open.append(rule);
        m_rows.insert(rule, m_folder_row->takeChild(i));
    }
}

// In the order that they have in a new tree: each goes in front of those before it. False
// when there are none.
bool RULE_FILE_COMMAND::add_rows()
{
    bool has_rules = false;
    const QMultiMap<QString, CACHED_RULE*>& rules = m_cache->rules;
    const QString keys_begin = rule_key(folder_of_row(*m_folder_row), QString());
    for (auto place = rules.lowerBound(keys_begin); place != rules.cend(); ++place) {
        if (!place.key().startsWith(keys_begin))
            break;
        const RULE_SCHEMA* const schema = RULE_SCHEMA::s_schemas.value((*place)->name.toLower());
        if (!schema)
            continue;
        QTreeWidgetItem* const known = m_rows.take(*place);
        m_folder_row->insertChild(0, known ? known : make_rule_row(*place, *schema));
        has_rules = true;
    }
    return has_rules;
}
