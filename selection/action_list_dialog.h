#pragma once

#include <QtCore/QList>
#include <QtWidgets/QDialog>

#include "ui_action_list_dialog.h"

class ACTION_INTERFACE;

/// The actions behind a set of files, in two lists: those that write the files
/// and those that read them, each action with a check box for its selection.
///
/// The dialog selects nothing. It reports each change by action_selection_changed
/// and then shows what the selection counts of the actions say, so whoever
/// listens changes them before it returns. A change of many actions comes between
/// the two mass_selection_change signals. Only the list that was clicked in is
/// brought up to date; the other one shows what it showed.
///
/// A merged list has one row for all actions with the same short text. A list
/// with several rows begins with a row for all of them. A list without rows leaves
/// its room to the other one.
///
/// With Qt::WA_DeleteOnClose the dialog ends once it is hidden, which is all that
/// happens to some popups. GUI thread.
class ACTION_LIST_DIALOG : public QDialog
{
    Q_OBJECT

public:
    /// The lists keep the order given here. The actions are not owned.
    ACTION_LIST_DIALOG(const QList<ACTION_INTERFACE*>& providers, const QList<ACTION_INTERFACE*>& consumers,
                       QWidget* parent, Qt::WindowFlags flags);

signals:
    void action_selection_changed(ACTION_INTERFACE* action, bool selected);
    void mass_selection_change_started();
    void mass_selection_change_ended();

protected:
    /// A popup has no frame of its own; without an edge it can't be told from what
    /// it covers.
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private slots:
    void item_changed(QListWidgetItem* item);
    void merge_consumer_toggled(bool checked);
    void merge_provider_toggled(bool checked);

private:
    using ACTIONS = QList<ACTION_INTERFACE*>;

    void say_how_to_leave();
    void fill(QListWidget* list, const ACTIONS& actions, bool merged);

    Ui::ACTION_LIST_DIALOG ui;
    bool updating; // item_changed ignores what the code itself writes
    const ACTIONS providers;
    const ACTIONS consumers;
    QLabel* m_close_hint = nullptr; // made when the list is shown first
};
