#pragma once

#include <QtWidgets/QDialog>
#include <QtWidgets/QUndoStack>

#include "contracts/paths/logical_path.h"
#include "contracts/rules/cached_rule.h"
#include "rules/rule_folder_rows.h"
#include "ui_rule_editor_dialog.h"

class FIND_LINE;
class P4_CONNECTION;
class RULE_CACHE;
class RULE_VALUE_DELEGATE;

/// The rules of a run in the folder tree of the data: they can be added, copied,
/// changed and removed, with undo, and saved back to their files. Every edit
/// goes straight into the live cache and marks it as changed.
///
/// A folder whose rule file could not be read is red and says why. Ctrl+F finds rules,
/// properties and values. Size, width of the first column and open folders come back.
///
/// Rules whose kind has no schema, and those of global files, are not shown;
/// they stay in the cache and are saved like the others.
///
/// Made once and opened with `exec` as often as wanted: undo and clipboard
/// survive between openings. Cache and connection are not owned and must outlive
/// the dialog, the files are read by the constructor only. GUI thread, while no
/// build runs.
class RULE_EDITOR_DIALOG : public QDialog
{
    Q_OBJECT

public:
    /// Asks for attention, by a box for each, to rules that have no place in the
    /// tree: no file of the run lies in their tree of data.
    RULE_EDITOR_DIALOG(RULE_CACHE& cache, const LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files,
                       P4_CONNECTION& p4, QWidget* parent, Qt::WindowFlags flags);
    ~RULE_EDITOR_DIALOG() override;

    /// To be called before `exec`: opens the folder and those above it, makes its row
    /// current and brings it into view. Nothing happens when it has no row.
    void show_folder(const PHYSICAL_PATH& folder);

    /// To be called before `exec`: makes a row of the rule's folder current, by
    /// preference that of `property`. It is taken from the first row there that
    /// stands for anything but `rule`; nothing happens if none does. Neither
    /// changes anything nor keeps `rule`.
    void select_rule(const CACHED_RULE* rule, const QString& property);

public slots:
    void toggle_visibility(bool checked);
    void current_item_changed(QTreeWidgetItem* current, QTreeWidgetItem* previous);
    void selection_changed();
    void item_changed(QTreeWidgetItem* item, int column);
    void del();
    void cut();
    void copy();
    void paste();
    void paste_above();
    void paste_below();
    void add(const QString& name);
    void add_above(const QString& name);
    void add_below(const QString& name);
    void save(); ///< says what came of it

    /// Takes over what stands in the rule file of the selected row's folder now, for
    /// one that has changed on disk or could not be read. All other edits stay, and
    /// undo brings back what it was.
    void read_again();

    void find(); ///< opens the find line

    /// Closes the window, with the questions of `closeEvent`.
    void reject() override;

protected:
    /// Offers to save what has changed, and says once in the life of the process
    /// that changed rules need a new start. Never refuses.
    void closeEvent(QCloseEvent* event) override;

    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void show_as_table();
    void make_actions();
    QAction* make_action(const QString& text, const char* shortcut, const char* slot);
    QAction* make_menu(const QString& text, const char* operation);
    void add_rows_of_rules();
    void mark_unreadable_folders();
    void complete_menu();
    PHYSICAL_PATH file_of_folder(const QTreeWidgetItem& row) const;
    QTreeWidgetItem* selected_folder() const;
    QTreeWidgetItem* selected_row(bool with_rule) const;
    void add_new(const QString& name, int position);
    void paste_at(int position);
    void insert_rule(CACHED_RULE* rule, int position);
    bool press_key(int key);

    Ui::RULE_EDITOR_DIALOG ui;
    RULE_CACHE* cache;
    P4_CONNECTION* p4;
    RULE_FOLDER_ROWS folder_rows;
    CACHED_RULE* clipboard = nullptr; // owned
    bool track_changes = false;       // whether changes of rows are a person's
    QUndoStack undo_stack;
    QAction* m_delete = nullptr;
    QAction* m_cut = nullptr;
    QAction* m_copy = nullptr;
    QAction* m_paste = nullptr;
    QAction* m_paste_above = nullptr;
    QAction* m_paste_below = nullptr;
    QAction* m_add = nullptr;
    QAction* m_add_above = nullptr;
    QAction* m_add_below = nullptr;
    QAction* m_find = nullptr;
    QAction* m_read_again = nullptr;
    FIND_LINE* m_find_line = nullptr;            // null until it is used
    QTreeWidgetItem* m_folder_in_view = nullptr; // to be brought there once the window is shown
    RULE_VALUE_DELEGATE* m_delegate;
};
