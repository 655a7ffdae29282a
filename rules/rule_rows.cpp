#include "rules/rule_rows.h"

#include <QtCore/QCoreApplication>

#include "contracts/paths/paths.h"
#include "contracts/rules/rule_key.h"

namespace {

const QColor RED(192, 0, 0); // a lighter one is hard to read on white

QString tr(const char* text)
{
    return QCoreApplication::translate("RULE_EDITOR_DIALOG", text);
}

QString help_on_files()
{
    return tr("If filled then the rule is limited to the files matching these patterns.\n"
              "You can use the same wildcards as in Perforce:\n"
              "  ? - stands for one character\n"
              "  * - stands for any number of characters in one file or directory name\n"
              "  ... - stands for any number of characters including sub-directories\n"
              "Starting the pattern with - means the rules is not applied for those files but only for the "
              "rest.\n"
              "You can specify more than one entry separating by comma. E.g.: *.txt, -design_*.txt, "
              "design_todo_*.txt ('code.txt' would be affected, 'design_info.txt' wouldn't be but "
              "design_todo_x.txt would be too)");
}

QString help_on_inheriting(const QString& kind)
{
    return tr("Checked: what this rule leaves open comes from other %1 rules: those above it in this\n"
              "folder, those of the folders above, and global ones.\n"
              "Not checked: all of these are switched off for the files of this rule.")
        .arg(kind);
}

// A folder: "<root>" and what is below it, with a slash in front.
struct PLACE
{
    QString root;
    QString below;
};

PLACE place_of(const QTreeWidgetItem& row)
{
    PLACE place;
    const QTreeWidgetItem* folder = &row;
    for (; folder->parent(); folder = folder->parent())
        place.below.prepend('/' + folder->text(NAME_COLUMN));
    place.root = '<' + folder->text(NAME_COLUMN) + '>';
    return place;
}

bool holds_rule(const QTreeWidgetItem& folder)
{
    for (int i = 0; i < folder.childCount(); ++i)
        if (rule_of_row(*folder.child(i)) || folder.child(i)->foreground(NAME_COLUMN) != QBrush(Qt::gray))
            return true;
    return false;
}

void set_rule(QTreeWidgetItem* row, CACHED_RULE* rule)
{
    row->setData(NAME_COLUMN, Qt::UserRole, quint64(reinterpret_cast<quintptr>(rule)));
}

void add_value_row(QTreeWidgetItem* rule_row, CACHED_RULE* rule, const QString& name, const QString& tool_tip)
{
    const QString value = value_text(*rule, name);
    QTreeWidgetItem* const row = new QTreeWidgetItem(QStringList{name, value});
    row->setToolTip(NAME_COLUMN, tool_tip);
    row->setToolTip(VALUE_COLUMN, tool_tip);
    if (value.isEmpty())
        row->setForeground(NAME_COLUMN, Qt::gray);
    set_rule(row, rule);
    rule_row->addChild(row);
}

} // namespace

CACHED_RULE* rule_of_row(const QTreeWidgetItem& row)
{
    const quint64 address = row.data(NAME_COLUMN, Qt::UserRole).toULongLong();
    return reinterpret_cast<CACHED_RULE*>(quintptr(address));
}

RULE_ROW_KIND kind_of_row(const QTreeWidgetItem& row)
{
    if (!rule_of_row(row))
        return FOLDER_ROW;
    return row.parent() && rule_of_row(*row.parent()) ? VALUE_ROW : RULE_ROW;
}

bool is_global(const CACHED_RULE& rule)
{
    return rule.path == LOGICAL_PATH(QStringLiteral("<>"));
}

LOGICAL_PATH folder_of_row(const QTreeWidgetItem& row)
{
    const PLACE place = place_of(row);
    return LOGICAL_PATH(place.root + lower_case_by_letter(place.below));
}

PHYSICAL_PATH physical_folder_of_row(const QTreeWidgetItem& row)
{
    const PLACE place = place_of(row);
    return PHYSICAL_PATH(PATHS::physical_path(LOGICAL_PATH(place.root)) + place.below);
}

void show_as_holding(QTreeWidgetItem& row)
{
    if (!is_unreadable(row))
        row.setForeground(NAME_COLUMN, Qt::black);
}

void show_as_unreadable(QTreeWidgetItem& row, const QString& error)
{
    row.setToolTip(NAME_COLUMN, error);
    row.setData(NAME_COLUMN, Qt::AccessibleDescriptionRole, error);
    row.setForeground(NAME_COLUMN, !error.isEmpty() ? RED : holds_rule(row) ? Qt::black : Qt::gray);
}

bool is_unreadable(const QTreeWidgetItem& row)
{
    return !rule_of_row(row) && !row.toolTip(NAME_COLUMN).isEmpty();
}

QString display_path(const PHYSICAL_PATH& path)
{
    const LOGICAL_PATH logical = PATHS::logical_path(path);
    const QString& text = logical;
    if (text == QLatin1String("<>"))
        return QString();
    const int end = text.indexOf('>');
    return text.mid(1, end - 1) + path.right(text.size() - end - 1);
}

QTreeWidgetItem* make_rule_row(CACHED_RULE* rule, const RULE_SCHEMA& schema)
{
    QTreeWidgetItem* const row = new QTreeWidgetItem(QStringList{rule->name, tr("Inherit properties")});
    row->setToolTip(NAME_COLUMN, schema.description);
    row->setToolTip(VALUE_COLUMN, help_on_inheriting(rule->name));
    row->setCheckState(VALUE_COLUMN, rule->inherit_properties ? Qt::Checked : Qt::Unchecked);
    QFont font = row->font(NAME_COLUMN);
    font.setBold(true);
    row->setFont(NAME_COLUMN, font);
    set_rule(row, rule);
    add_value_row(row, rule, FILES_ROW_NAME, help_on_files());
    for (const RULE_PROPERTY& property : schema.properties)
        add_value_row(row, rule, property.name, property.description);
    return row;
}

QString value_text(const CACHED_RULE& rule, const QString& row_name)
{
    return row_name == QLatin1String(FILES_ROW_NAME) ? rule.get_file_filters() : rule.property(row_name);
}

int place_among_equals(const QMultiMap<QString, CACHED_RULE*>& rules, CACHED_RULE* rule)
{
    const QList<CACHED_RULE*> newest_first = rules.values(rule_key(rule->path, rule->name));
    const int index = newest_first.indexOf(rule);
    return index < 0 ? -1 : newest_first.size() - index - 1;
}
