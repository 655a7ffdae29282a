#pragma once

#include <QtCore/QMultiMap>
#include <QtCore/QString>
#include <QtWidgets/QTreeWidgetItem>

#include "contracts/paths/logical_path.h"
#include "contracts/paths/physical_path.h"
#include "contracts/rules/cached_rule.h"
#include "contracts/rules/rule_schema.h"

// The rows of the rule editor's tree and what they stand for. A row has a name
// and a value column; it knows its rule by address, under Qt::UserRole of the
// name. GUI thread only.

constexpr int NAME_COLUMN = 0;
constexpr int VALUE_COLUMN = 1;

/// The name of the row that holds a rule's file filters. Not translated: it
/// tells that row from those of properties.
constexpr const char* FILES_ROW_NAME = "<Files>";

enum RULE_ROW_KIND
{
    FOLDER_ROW, ///< no rule
    RULE_ROW,   ///< a rule, below a folder
    VALUE_ROW,  ///< one value of the rule above it
};

RULE_ROW_KIND kind_of_row(const QTreeWidgetItem& row);

/// Null for a folder row. Not owned by the row.
CACHED_RULE* rule_of_row(const QTreeWidgetItem& row);

/// Whether it comes from a file that holds for all folders, and has no place in the tree.
bool is_global(const CACHED_RULE& rule);

/// Of a folder row.
LOGICAL_PATH folder_of_row(const QTreeWidgetItem& row);
PHYSICAL_PATH physical_folder_of_row(const QTreeWidgetItem& row);

/// Makes a folder row black: a rule lies in it or below.
void show_as_holding(QTreeWidgetItem& row);

/// Makes a folder row red whose rule file can't be read, with `error` as its tool
/// tip, and one without an error what its other rows make it.
void show_as_unreadable(QTreeWidgetItem& row, const QString& error);
bool is_unreadable(const QTreeWidgetItem& row);

/// How a path is shown: the logical root's name without its brackets, a slash
/// and the rest in the disk's spelling. Empty outside the data roots.
QString display_path(const PHYSICAL_PATH& path);

/// A new row for the rule with a row for each of its values, the caller's.
QTreeWidgetItem* make_rule_row(CACHED_RULE* rule, const RULE_SCHEMA& schema);

/// What the value row of a rule's file filters or property is to show.
QString value_text(const CACHED_RULE& rule, const QString& row_name);

/// The place of a rule among those of its key, 0 for the oldest; -1 when the
/// map does not hold it.
int place_among_equals(const QMultiMap<QString, CACHED_RULE*>& rules, CACHED_RULE* rule);
