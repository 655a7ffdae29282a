#include "rules/rule_finder.h"

#include <QtWidgets/QTreeWidget>

#include "contracts/services/find_line.h"
#include "rules/rule_rows.h"

RULE_FINDER::RULE_FINDER(QTreeWidget& tree, FIND_LINE& line) : QObject(&line), m_tree(&tree), m_line(&line)
{
    connect(m_line, SIGNAL(changed()), this, SLOT(look()));
    connect(m_line, SIGNAL(next()), this, SLOT(next()));
    connect(m_line, SIGNAL(previous()), this, SLOT(previous()));
    connect(m_line, SIGNAL(closed()), this, SLOT(leave()));
}

void RULE_FINDER::look()
{
    const HITS found = hits();
    go_to(found, found.before);
}

void RULE_FINDER::next()
{
    const HITS found = hits();
    go_to(found, found.before + (found.is_current ? 1 : 0));
}

void RULE_FINDER::previous()
{
    const HITS found = hits();
    go_to(found, found.before - 1);
}

void RULE_FINDER::leave()
{
    m_tree->setFocus();
}

// Behind the last hit comes the first again.
void RULE_FINDER::go_to(const HITS& hits, int index)
{
    const int count = hits.rows.size();
    const int number = count ? (index + count) % count + 1 : 0;
    m_line->show_hit(number, count);
    if (number)
        m_tree->setCurrentItem(hits.rows.at(number - 1), NAME_COLUMN);
}

RULE_FINDER::HITS RULE_FINDER::hits() const
{
    HITS hits;
    if (!m_line->text().isEmpty())
        for (int i = 0; i < m_tree->topLevelItemCount(); ++i)
            collect(*m_tree->topLevelItem(i), hits);
    if (!hits.has_passed)
        hits.before = 0; // no row is current
    return hits;
}

void RULE_FINDER::collect(QTreeWidgetItem& row, HITS& hits) const
{
    const bool is_current = &row == m_tree->currentItem();
    const bool is_found = is_hit(row);
    hits.has_passed = hits.has_passed || is_current;
    hits.is_current = hits.is_current || (is_current && is_found);
    if (is_found)
        hits.rows.append(&row);
    if (!hits.has_passed)
        hits.before = hits.rows.size();
    for (int i = 0; i < row.childCount(); ++i)
        collect(*row.child(i), hits);
}

bool RULE_FINDER::is_hit(const QTreeWidgetItem& row) const
{
    const RULE_ROW_KIND kind = kind_of_row(row);
    const auto holds = [&](int column) {
        return row.text(column).contains(m_line->text(), m_line->letter_case());
    };
    return kind != FOLDER_ROW && (holds(NAME_COLUMN) || (kind == VALUE_ROW && holds(VALUE_COLUMN)));
}
