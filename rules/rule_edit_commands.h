#pragma once

#include <QtCore/QMultiMap>
#include <QtCore/QString>
#include <QtWidgets/QUndoCommand>

#include "contracts/rules/cached_rule.h"

class QTreeWidgetItem;

// The edits of the rule editor. Pushing one on the stack performs it; each then
// changes the live rules and the rows of the tree together, so that the two stay
// in step through any number of undos and redos. No two ever merge.
//
// Rules and rows are not owned: one that has left the cache and the tree stays
// allocated, since any command on the stack may bring it back.
//
// `tracking` is the editor's word on whether it listens to its tree: false while
// a command itself changes a row. GUI thread only.

/// A rule enters or leaves the cache and the tree.
class RULE_INSERT_COMMAND : public QUndoCommand
{
public:
    /// `index`: the rule's place among the rules of its key, 0 for the oldest.
    /// A rule that enters takes the folder that `parent_row` stands for.
    RULE_INSERT_COMMAND(bool insert, CACHED_RULE* rule, QMultiMap<QString, CACHED_RULE*>* rules, int index,
                        QTreeWidgetItem* row, QTreeWidgetItem* parent_row);
    void undo() override;
    void redo() override;

private:
    void insert_rule();
    void remove_rule();
    void take_over_folder();
    int position_of_row(const QString& key) const;

    bool insert;
    CACHED_RULE* rule;
    QMultiMap<QString, CACHED_RULE*>* rules;
    int index;
    QTreeWidgetItem* row;
    QTreeWidgetItem* parent_row;
};

/// A text of a rule takes another value: the base shows it in its row.
class RULE_VALUE_COMMAND : public QUndoCommand
{
public:
    RULE_VALUE_COMMAND(const QString& old_value, const QString& new_value, QTreeWidgetItem* row,
                       bool* tracking);
    void undo() override;
    void redo() override;
    virtual void apply(const QString& value) = 0;

private:
    QString old_value;
    QString new_value;
    QTreeWidgetItem* row;
    bool* tracking;
};

/// The file filters.
class RULE_FILTERS_COMMAND : public RULE_VALUE_COMMAND
{
public:
    RULE_FILTERS_COMMAND(const QString& old_value, const QString& new_value, QTreeWidgetItem* row,
                         bool* tracking, CACHED_RULE* rule);
    void apply(const QString& value) override;

private:
    CACHED_RULE* rule;
};

/// A property. An empty value leaves it unset.
class RULE_PROPERTY_COMMAND : public RULE_VALUE_COMMAND
{
public:
    RULE_PROPERTY_COMMAND(const QString& old_value, const QString& new_value, QTreeWidgetItem* row,
                          bool* tracking, CACHED_RULE* rule, const QString& property);
    void apply(const QString& value) override;

private:
    CACHED_RULE* rule;
    QString property;
};

/// The check box of a rule's row was clicked. The row shows the new state
/// before the command is pushed.
class RULE_INHERIT_COMMAND : public QUndoCommand
{
public:
    RULE_INHERIT_COMMAND(CACHED_RULE* rule, QTreeWidgetItem* row, bool* tracking);
    void undo() override;
    void redo() override;

private:
    void toggle();

    bool first_redo = true;
    CACHED_RULE* rule;
    QTreeWidgetItem* row;
    bool* tracking;
};
