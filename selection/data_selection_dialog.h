#pragma once

#include <QtCore/QSet>
#include <QtWidgets/QDialog>

#include "selection/data_selection_filter.h"
#include "ui_data_selection_dialog.h"

class ACTION_INTERFACE;
class BUILD_SESSION;
class CACHED_RULE;
class CONFIGURATION_EDITOR_DIALOG;
class DATA_SELECTION_FILE_MODEL_FILTER_PROXY;
class QMenu;
class P4_CONNECTION;
class PHYSICAL_PATH;
class RULE_EDITOR_DIALOG;

/// The window in which a person chooses what to build: the three file trees, and
/// the ways to everything that helps to choose.
///
/// What is chosen ends up in the selection counts of the actions and nowhere
/// else; planning reads them. A choice by hand counts an action once: one that is
/// chosen already is not counted again, by whatever gesture and however many of
/// its files the gesture visits; taking it away lowers the count once, and one that
/// was not chosen by hand is not lowered. So the count of an action is 1 if it was
/// chosen by hand, plus 1 for each action chosen by hand that pulls it along: it
/// stays selected until the last of them is taken away. The trees and the action
/// lists report an action as often as they meet it.
///
/// `exec` gives 1 when the user starts a build. One object serves all passes of a
/// run, so that the choice and the trees stay as they were left. GUI thread, while
/// no build runs.
///
/// The widgets that a normal run does not use are hidden by the constructor and
/// work when they are shown.
///
/// data_selection_dialog.cpp sets the window up and closes it,
/// data_selection_changes.cpp holds what changes the choice, up to "Start", and
/// data_selection_windows.cpp the windows and menus that are opened from here.
class DATA_SELECTION_DIALOG : public QDialog
{
    Q_OBJECT

public:
    /// The session has started up and outlives the dialog. The text is not used.
    DATA_SELECTION_DIALOG(BUILD_SESSION* session, const QString& spare_text, QWidget* parent,
                          Qt::WindowFlags flags);

    /// What saves the rules that are edited here; not owned. Without one there is
    /// no rule editor.
    void set_perforce(P4_CONNECTION* p4);

    Ui::DATA_SELECTION_DIALOG ui;
    BUILD_SESSION* session;                 ///< not owned
    DATA_SELECTION_FILTER filter;           ///< the proxies hold copies of it
    bool selection_changing = false;        ///< set around changes of the selection
    bool refresh_enabled = true;            ///< false while many actions change, which shows only at the end
    QSet<ACTION_INTERFACE*> chosen_actions; ///< what was chosen by hand, with what that pulled in
    RULE_EDITOR_DIALOG* rule_editor_dialog = nullptr;                   ///< null until first used
    CONFIGURATION_EDITOR_DIALOG* configuration_editor_dialog = nullptr; ///< null until first used
    DATA_SELECTION_FILE_MODEL_FILTER_PROXY* raw_data_proxy = nullptr;
    DATA_SELECTION_FILE_MODEL_FILTER_PROXY* working_data_proxy = nullptr;
    DATA_SELECTION_FILE_MODEL_FILTER_PROXY* retail_build_proxy = nullptr;

    /// Makes the trees show what `filter` lets through. Drops the choice: part of it
    /// would be out of sight.
    void apply_filter();

    /// Checks the row, or clears it when it is fully checked; of a folder only
    /// the files directly in it take part. Nothing for an invalid index.
    void select_files_only(const QModelIndex& index);

    void done(int result) override; ///< the next pass finds the window where it was

    /// Opens the list of the actions that touch the row's files; nothing for an
    /// invalid index.
    void view_actions(const QModelIndex& index);

    /// Opens the list of the rules that hold for the row's file, and from there
    /// the rule editor. Nothing for a folder and an invalid index.
    void view_rules(const QModelIndex& index);

    /// Opens the action list: as a popup at the cursor, which stays open when
    /// this returns, or modally.
    void show_action_list(const QSet<ACTION_INTERFACE*>& providers, const QSet<ACTION_INTERFACE*>& consumers,
                          bool popup);

    /// Selects what makes these files, and where nothing does, what uses them. Such
    /// a choice does not count in `chosen_actions`.
    void select_opened_files(const QSet<QString>& logical_paths);

protected:
    void closeEvent(QCloseEvent* event) override;  ///< remembers where the window was
    void keyPressEvent(QKeyEvent* event) override; ///< Escape asks before it loses a choice

    /// The tool tip of "Start" is made when somebody asks for it: it says what would
    /// be built, or why nothing can be.
    bool eventFilter(QObject* watched, QEvent* event) override;

private slots:
    void get_latest_toggled(bool checked);
    void show_filter_dialog();
    void item_checked(const QModelIndex& index);
    void action_selection_changed(ACTION_INTERFACE* action, bool selected);
    void mass_selection_change_started();
    void mass_selection_change_ended();
    void select_all();
    void unselect_all();
    void perforce();
    void check_in_selected();
    void revert_selected();
    void select_checked_out();
    void view_raw_data_rules();
    void view_working_data_rules();
    void view_raw_data_actions();
    void view_working_data_actions();
    void view_retail_build_actions();
    void select_files_only_raw();
    void select_files_only_working();
    void rule_editor();
    void configuration_editor();
    void preferences_editor();
    void graph();
    void start();
    void offer_rules();

private:
    using PROXY = DATA_SELECTION_FILE_MODEL_FILTER_PROXY;

    // data_selection_dialog.cpp
    void connect_widgets();
    void set_up_trees();
    PROXY* set_up_tree(QTreeView* tree, int root_kind);
    void add_context_actions();
    void add_context_action(QTreeView* tree, QAction* action, const char* slot);
    void hide_unused_widgets();

    // data_selection_changes.cpp
    QTreeView* tree_of(int root_kind) const;
    PROXY* proxy_of(const QModelIndex& index) const;
    QModelIndexList rows_meant_by(const QModelIndex& index) const;
    void refresh_all();
    void select_rows(const QModelIndexList& rows, bool recursive);
    void select_everything(bool selected);
    QSet<ACTION_INTERFACE*> choose(ACTION_INTERFACE* action, bool selected);
    void update_start_button();
    QString tip_of_start(bool counted) const;

    // data_selection_windows.cpp
    void open_action_list(const QList<ACTION_INTERFACE*>& providers,
                          const QList<ACTION_INTERFACE*>& consumers, bool popup);
    void run_rule_editor(CACHED_RULE* rule, const QString& property, const PHYSICAL_PATH& file);

    QSet<ACTION_INTERFACE*> m_chosen_by_hand;
    P4_CONNECTION* m_p4 = nullptr;
    QMenu* m_perforce_menu = nullptr; // null until first used
};
