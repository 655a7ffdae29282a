#pragma once

#include <QtCore/QAbstractItemModel>
#include <QtCore/QList>
#include <QtCore/QSet>
#include <QtCore/QStringRef>
#include <QtGui/QIcon>

#include <functional>
#include <utility>

#include "contracts/paths/logical_path.h"
#include "session/lockable_map.h"

class ACTION_INTERFACE;
struct FILE_ENTRY;

/// A folder of a file tree. Its files are no nodes: they are `file_count` places
/// of the file map, from `first_file` on.
struct DATA_SELECTION_FOLDER
{
    using FILE_MAP = LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>;

    /// Shares the text that `name` is part of: its owner may get another one.
    DATA_SELECTION_FOLDER(DATA_SELECTION_FOLDER* parent, const QStringRef& name,
                          const FILE_MAP::const_iterator& first_file);
    ~DATA_SELECTION_FOLDER(); ///< frees the sub-folders

    DATA_SELECTION_FOLDER* parent;          ///< null in the root; not owned
    QList<DATA_SELECTION_FOLDER*> children; ///< as they first appear in the file map; owned
    QStringRef name;                     ///< as it was on disk when the tree was built; null in an empty root
    int check_state = Qt::Unchecked;     ///< as of the last refresh, a Qt::CheckState
    FILE_MAP::const_iterator first_file; ///< means nothing while `first_file_set` is false
    int file_count = 0;                  ///< files directly in the folder
    bool has_actions = true;             ///< some file in or below the folder has an action
    bool first_file_set = false;         ///< the folder has files of its own
    int row = 0;                         ///< place among the parent's `children`

private:
    Q_DISABLE_COPY(DATA_SELECTION_FOLDER)

    QString m_text; // what `name` is part of
};

/// One root of the session's file map as a tree of folders and files with check
/// boxes.
///
/// The model holds no selection. A file is checked, partly or not, as far as its
/// actions are selected (their selection_count is at least 1); a row that no
/// action touches can't be checked. A click on a box is only reported, by
/// item_checked, and whoever decides what it means uses the walks below, which
/// report actions by action_selected, and ends with `refresh`.
///
/// In a folder the sub-folders come first, then the files, each in the order of
/// the file map. An index has column 0 and as its internal pointer the folder
/// that contains the row, not the row's own. Names are spelled as on disk.
///
/// The tree is built by the constructor and stays. Until the model is gone the
/// file map must not change and its entries must stay; their actions' selection
/// may change at any time, and a build may move their files to another root. Works
/// with a locked map and with one that is being built, where finding a file by its
/// row takes as many steps as its place in the folder. GUI thread, while no build
/// runs.
class DATA_SELECTION_FILE_MODEL : public QAbstractItemModel
{
    Q_OBJECT

public:
    using FILE_MAP = DATA_SELECTION_FOLDER::FILE_MAP;

    /// `files` is not owned; `kind` is 0 for raw data, 1 for working data, 2 for
    /// the retail build. A map without files of that kind gives a tree without rows.
    DATA_SELECTION_FILE_MODEL(FILE_MAP* files, int kind, QObject* parent);

    FILE_MAP* file_map;         ///< not owned
    DATA_SELECTION_FOLDER root; ///< invisible; its rows are the top of the tree
    int root_kind;              ///< 0 raw data, 1 working data, 2 retail build

    QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& index) const override;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

    /// Changes nothing: with Qt::CheckStateRole it emits item_checked, whatever
    /// the value, and returns true.
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    using QObject::parent;

    FILE_ENTRY* file_entry(const QModelIndex& index) const; ///< null for a folder and an invalid index

    /// As the actions are now, a Qt::CheckState. An action that both reads and
    /// writes the file counts for both. A null file is unchecked.
    static int file_check_state(const FILE_ENTRY* file);

    /// A file's state as it is now, a folder's as of the last refresh, 0 for an
    /// invalid index.
    int check_state(const QModelIndex& index) const;

    /// Emits action_selected for each consumer, then each provider, with repeats.
    void select_file(FILE_ENTRY* file, bool selected);

    /// select_file for each file of the folder and, if `recursive`, of those below.
    void select_folder(const DATA_SELECTION_FOLDER* folder, bool selected, bool recursive);

    /// select_file or select_folder for the row; nothing for an invalid index.
    void select_index(const QModelIndex& index, bool selected, bool recursive);

    /// Adds the actions of the row's file, or of all files in and below the row's
    /// folder; nothing for an invalid index.
    void collect_file_actions(const QModelIndex& index, QSet<ACTION_INTERFACE*>& providers,
                              QSet<ACTION_INTERFACE*>& consumers) const;

    /// The same, with repeats: a set of a million actions takes longer than the walk.
    void collect_file_actions(const QModelIndex& index, QVector<ACTION_INTERFACE*>& providers,
                              QVector<ACTION_INTERFACE*>& consumers) const;

    /// Works out `check_state` of the folder and of all below: partly checked when
    /// what is in it differs or is partly checked itself. Files and folders without
    /// actions take no part. Gives the state and whether anything took part.
    std::pair<int, bool> update_check_states(DATA_SELECTION_FOLDER* folder);

    /// Reports every row as changed, by one dataChanged a folder that has rows. Its
    /// bottom right index is one row behind the folder's last and is for the number
    /// alone: don't ask the model about it.
    void emit_rows_changed();

    void refresh(); ///< update_check_states of the root, then emit_rows_changed

    /// The child of that name, or below it if `recursive`, depth first; or null.
    static DATA_SELECTION_FOLDER* find_folder(const QStringRef& name, const DATA_SELECTION_FOLDER* folder,
                                              bool recursive);

signals:
    void item_checked(const QModelIndex& index);
    void action_selected(ACTION_INTERFACE* action, bool selected);

private:
    /// The row's file, or those in and below the row's folder, as far as they are there.
    void visit_files_at(const QModelIndex& index, const std::function<void(const FILE_ENTRY&)>& visit) const;
    static DATA_SELECTION_FOLDER* containing_folder(const QModelIndex& index);
    static DATA_SELECTION_FOLDER* own_folder(const QModelIndex& index); // null for a file row
    static bool is_row(const QModelIndex& index); // false for an invalid index and one behind the last row
    const DATA_SELECTION_FOLDER* folder_of_rows(const QModelIndex& parent) const;
    void emit_rows_changed(DATA_SELECTION_FOLDER* folder);

    const QIcon m_folder_icon;
    const QIcon m_file_icon;
};
