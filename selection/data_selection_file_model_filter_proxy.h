#pragma once

#include <QtCore/QSet>
#include <QtCore/QSortFilterProxyModel>

#include "selection/data_selection_filter.h"

class ACTION_INTERFACE;
class DATA_SELECTION_FILE_MODEL;
struct FILE_ENTRY;

/// What a file tree's view shows of a DATA_SELECTION_FILE_MODEL: hides files by a
/// filter, never folders, colours the rows, and carries checks and requests
/// between the view's indexes and the model's.
///
/// A row that can't be checked is grey. Once the latest revisions count, files
/// that an action writes are red when these put them out of date and green when
/// not. Sorting goes by the model's row number: in descending order, with which a
/// view starts, the rows stand as in the model.
///
/// What the filter goes by is looked at when the filter is set and not when rows
/// are reported as changed, which happens to all of them with every check. GUI
/// thread.
class DATA_SELECTION_FILE_MODEL_FILTER_PROXY : public QSortFilterProxyModel
{
    Q_OBJECT

public:
    /// Becomes the parent, and so the owner, of `model`.
    explicit DATA_SELECTION_FILE_MODEL_FILTER_PROXY(DATA_SELECTION_FILE_MODEL* model);

    bool get_latest = false;      ///< colours and the Date mode go by the latest revisions
    DATA_SELECTION_FILTER filter; ///< lets everything through at first

    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

    /// Shows and hides rows. Only persistent indexes of this proxy outlive it; views
    /// keep what is expanded and selected.
    void set_filter(const DATA_SELECTION_FILTER& new_filter);
    void set_get_latest(bool latest); ///< repaints; hides and shows nothing
    int root_kind() const;            ///< of the model

    /// Reports all actions of the tree as selected or not, those of hidden files
    /// too.
    void select_all(bool selected);

    // The operations of the model by that name, for an index of this proxy. They
    // reach hidden rows too.
    void select_index(const QModelIndex& index, bool selected, bool recursive);
    int check_state(const QModelIndex& index) const;
    void collect_file_actions(const QModelIndex& index, QSet<ACTION_INTERFACE*>& providers,
                              QSet<ACTION_INTERFACE*>& consumers) const;
    void collect_file_actions(const QModelIndex& index, QVector<ACTION_INTERFACE*>& providers,
                              QVector<ACTION_INTERFACE*>& consumers) const;
    FILE_ENTRY* file_entry(const QModelIndex& index) const;
    void refresh();

signals:
    void item_checked(const QModelIndex& index); ///< with an index of this proxy
    void action_selected(ACTION_INTERFACE* action, bool selected);

protected:
    bool filterAcceptsRow(int row, const QModelIndex& parent) const override;
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

private slots:
    void item_checked_slot(const QModelIndex& index);
    void action_selected_slot(ACTION_INTERFACE* action, bool selected);

private:
    DATA_SELECTION_FILE_MODEL* model() const;
};
