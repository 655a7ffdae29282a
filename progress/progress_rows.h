#pragma once

#include <QtCore/QVector>

class ACTION_INTERFACE;
class QColor;
class QModelIndex;
class QTreeWidget;
class QTreeWidgetItem;

/// The rows of the progress window: a group row for each processor, and in it a
/// row for each of its actions, coloured by state and hidden by filters. A group tells
/// in its tool tip how many of its actions are in which state, and an action that did
/// not run whom it waited for; the accessible descriptions tell the state of each row.
/// These texts are made when somebody asks.
///
/// A tree widget is slow to ask and slow to tell, so the rows remember what each
/// of them shows and write only what differs: with nothing new, a look at all of
/// them is a walk over the actions' states. Nothing else may change colour or
/// visibility of a row. GUI thread; the actions' fields are read while the build
/// thread writes them.
class PROGRESS_ROWS
{
public:
    /// The bits of a filter: which rows stay visible.
    enum FILTER : int
    {
        UNFINISHED = 1,
        ERRORS = 2,
        WARNINGS = 4,
        COMPLETED = 8,
        ALL = 15
    };

    /// What a look at all actions found.
    struct SUMMARY
    {
        int total = 0;        ///< units of work of all actions; halved with `done` until it fits
        int done = 0;         ///< units done, at most the total; no action counts beyond its own
        bool finished = true; ///< no action is left to run
        bool failed = false;
        ACTION_INTERFACE* running = nullptr; ///< null for none
    };

    /// Fills the tree, which must be empty and outlive the rows: groups in the
    /// order of their first action, actions in the order given. Nothing is
    /// expanded. Neither the tree nor the actions are owned.
    void build(QTreeWidget* tree, const QVector<ACTION_INTERFACE*>& actions);

    /// Looks at every action and brings the rows up to date with it. A state
    /// that is none of ACTION_STATE counts as unfinished, keeps the colour that
    /// the row has, and no filter shows it. A group that is not finished is
    /// always visible and keeps its colour, too.
    SUMMARY refresh(int filter);

    /// The colour of an action's row once it is in that ACTION_STATE; invalid where
    /// the row keeps the one that it has.
    static QColor colour_of(int state);

    /// The next visible row from `from` on (null: from the beginning) whose action
    /// has failed itself or has warnings, or with `step` -1 the former one (null: from the
    /// end). Goes round, so that it may be `from` again; null for none.
    QTreeWidgetItem* find_problem(const QTreeWidgetItem* from, int step) const;

    /// The action that runs now, or null. Writes nothing.
    ACTION_INTERFACE* running() const;

private:
    using LOOK = quint8; // the state whose colour a row has, and whether it is hidden

    class ROW_ITEM;

    struct GROUP
    {
        ROW_ITEM* item;
        LOOK shown;
        int begin; // its actions
        int end;
    };

    struct SUMS;

    int first_to_search(const QTreeWidgetItem* from, int step) const;
    unsigned refresh_actions(int group, int filter, SUMS& sums);
    void write(ROW_ITEM& item, int row, const QModelIndex& parent, LOOK& shown, LOOK wanted);

    // By number of the row, group by group. Apart from each other, so that a
    // look that finds no change reads no more than it needs.
    QVector<ACTION_INTERFACE*> m_actions;
    QVector<LOOK> m_shown;
    QVector<ROW_ITEM*> m_items;
    QVector<GROUP> m_groups;
    QTreeWidget* m_tree = nullptr;
};
