#include <QtCore/QFileInfo>
#include <QtCore/QScopedValueRollback>
#include <QtWidgets/QAction>

#include "contracts/rules/rule_cache.h"
#include "contracts/services/plain_message_box.h"
#include "rules/rule_edit_commands.h"
#include "rules/rule_editor_dialog.h"
#include "rules/rule_file_command.h"
#include "rules/rule_rows.h"
#include "rules/rule_value_delegate.h"

// What the rule editor offers to do with its rows.

void RULE_EDITOR_DIALOG::selection_changed()
{
    for (QAction* const action :
         {m_delete, m_cut, m_copy, m_paste, m_paste_above, m_paste_below, m_add, m_add_above, m_add_below})
        action->setVisible(false);
    m_read_again->setVisible(selected_folder());
    const QList<QTreeWidgetItem*> selected = ui.rules->selectedItems();
    if (selected.size() != 1)
        return;
    const QTreeWidgetItem& row = *selected.first();
    if (kind_of_row(row) == FOLDER_ROW) {
        m_add->setVisible(true);
        m_paste->setVisible(clipboard);
    } else if (kind_of_row(row) == RULE_ROW) {
        for (QAction* const action : {m_delete, m_cut, m_copy, m_add_above, m_add_below})
            action->setVisible(true);
        const bool is_same_kind = clipboard && clipboard->name == rule_of_row(row)->name;
        m_paste_above->setVisible(is_same_kind);
        m_paste_below->setVisible(is_same_kind);
    }
}

void RULE_EDITOR_DIALOG::item_changed(QTreeWidgetItem* item, int)
{
    if (!track_changes)
        return;
    CACHED_RULE* const rule = rule_of_row(*item);
    const RULE_ROW_KIND kind = kind_of_row(*item);
    if (kind == RULE_ROW) {
        undo_stack.push(new RULE_INHERIT_COMMAND(rule, item, &track_changes));
    } else if (kind == VALUE_ROW) {
        const QString name = item->text(NAME_COLUMN);
        const QString old_value = value_text(*rule, name);
        const QString value = item->text(VALUE_COLUMN).trimmed();
        if (name == QLatin1String(FILES_ROW_NAME))
            undo_stack.push(new RULE_FILTERS_COMMAND(old_value, value, item, &track_changes, rule));
        else
            undo_stack.push(new RULE_PROPERTY_COMMAND(old_value, value, item, &track_changes, rule, name));
    }
    cache->rules_changed = true;
}

// Null when there is none of that kind, as when the operation is called without
// its menu, which offers it on the right row only.
QTreeWidgetItem* RULE_EDITOR_DIALOG::selected_row(bool with_rule) const
{
    QTreeWidgetItem* const row = ui.rules->selectedItems().value(0);
    return row && kind_of_row(*row) == (with_rule ? RULE_ROW : FOLDER_ROW) ? row : nullptr;
}

void RULE_EDITOR_DIALOG::copy()
{
    const QTreeWidgetItem* const row = selected_row(true);
    if (!row)
        return;
    CACHED_RULE* const copied = new CACHED_RULE(*rule_of_row(*row));
    delete clipboard;
    clipboard = copied;
    selection_changed();
}

void RULE_EDITOR_DIALOG::del()
{
    QTreeWidgetItem* const row = selected_row(true);
    if (!row)
        return;
    CACHED_RULE* const rule = rule_of_row(*row);
    const int index = place_among_equals(cache->rules, rule);
    undo_stack.push(new RULE_INSERT_COMMAND(false, rule, &cache->rules, index, row, row->parent()));
    cache->rules_changed = true;
}

void RULE_EDITOR_DIALOG::cut()
{
    copy();
    del();
}

void RULE_EDITOR_DIALOG::paste()
{
    paste_at(-1);
}

void RULE_EDITOR_DIALOG::paste_above()
{
    paste_at(0);
}

void RULE_EDITOR_DIALOG::paste_below()
{
    paste_at(1);
}

void RULE_EDITOR_DIALOG::paste_at(int position)
{
    if (clipboard && selected_row(position >= 0))
        insert_rule(new CACHED_RULE(*clipboard), position);
}

void RULE_EDITOR_DIALOG::add(const QString& name)
{
    add_new(name, -1);
}

void RULE_EDITOR_DIALOG::add_above(const QString& name)
{
    add_new(name, 0);
}

void RULE_EDITOR_DIALOG::add_below(const QString& name)
{
    add_new(name, 1);
}

void RULE_EDITOR_DIALOG::add_new(const QString& name, int position)
{
    if (!RULE_SCHEMA::s_schemas.contains(name.toLower()) || !selected_row(position >= 0))
        return;
    CACHED_RULE* const rule = new CACHED_RULE;
    rule->name = name;
    insert_rule(rule, position);
}

void RULE_EDITOR_DIALOG::insert_rule(CACHED_RULE* rule, int position)
{
    QTreeWidgetItem* const selected = selected_row(position >= 0);
    QTreeWidgetItem* parent = selected;
    int index = 0;
    if (position < 0) {
        for (int i = 0; i < parent->childCount(); ++i)
            if (kind_of_row(*parent->child(i)) == RULE_ROW &&
                parent->child(i)->text(NAME_COLUMN) == rule->name)
                ++index;
    } else {
        parent = selected->parent();
        index = position + place_among_equals(cache->rules, rule_of_row(*selected));
    }
    QTreeWidgetItem* const row = make_rule_row(rule, *RULE_SCHEMA::s_schemas.value(rule->name.toLower()));
    undo_stack.push(new RULE_INSERT_COMMAND(true, rule, &cache->rules, index, row, parent));
    cache->rules_changed = true;
}

// That of the selected row, whichever kind that has, when it may have a rule file.
QTreeWidgetItem* RULE_EDITOR_DIALOG::selected_folder() const
{
    QTreeWidgetItem* row = ui.rules->selectedItems().value(0);
    while (row && kind_of_row(*row) != FOLDER_ROW)
        row = row->parent();
    return row && QFileInfo::exists(file_of_folder(*row)) ? row : nullptr;
}

PHYSICAL_PATH RULE_EDITOR_DIALOG::file_of_folder(const QTreeWidgetItem& row) const
{
    const PHYSICAL_PATH known = cache->file_of_folder(folder_of_row(row));
    return known == PHYSICAL_PATH() ? PHYSICAL_PATH(physical_folder_of_row(row) + "/rules.gox") : known;
}

void RULE_EDITOR_DIALOG::read_again()
{
    m_delegate->commit();
    QTreeWidgetItem* const folder = selected_folder();
    if (!folder)
        return;
    const PHYSICAL_PATH file = file_of_folder(*folder);
    RULE_FILE_READING reading;
    const QString error = cache->read_again(file, reading);
    if (!error.isEmpty()) {
        if (is_unreadable(*folder)) {
            const QScopedValueRollback<bool> no_edit(track_changes, false);
            show_as_unreadable(*folder, error);
        }
        show_plain_box(QMessageBox::Critical, this, tr("The rules stay as they are.\n") + error);
        return;
    }
    const bool was_clean = undo_stack.isClean();
    undo_stack.push(new RULE_FILE_COMMAND(*cache, reading, *folder));
    if (was_clean)
        undo_stack.setClean();
    cache->rules_changed = true;
    show_plain_box(QMessageBox::Information, this, tr("%1 has been read again.").arg(file));
}
