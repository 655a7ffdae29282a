#include <algorithm>

#include "contracts/actions/action_interface.h"
#include "contracts/services/file_list_dialog.h"
#include "contracts/services/plain_message_box.h"
#include "contracts/services/qt_workarounds.h"
#include "selection/action_order.h"
#include "selection/chosen_files.h"
#include "selection/data_selection_dialog.h"
#include "selection/data_selection_file_model_filter_proxy.h"
#include "session/build_session.h"
#include "settings/preferences_editor_dialog.h"

namespace {

// A click on a row that is checked in part completes it.
bool selects(int check_state)
{
    return check_state != Qt::Checked;
}

} // namespace

QTreeView* DATA_SELECTION_DIALOG::tree_of(int root_kind) const
{
    QTreeView* const trees[] = {ui.raw_data_files, ui.working_data_files, ui.retail_build_files};
    return trees[root_kind];
}

// Null for an invalid index.
DATA_SELECTION_FILE_MODEL_FILTER_PROXY* DATA_SELECTION_DIALOG::proxy_of(const QModelIndex& index) const
{
    for (PROXY* proxy : {raw_data_proxy, working_data_proxy, retail_build_proxy})
        if (proxy == index.model())
            return proxy;
    return nullptr;
}

void DATA_SELECTION_DIALOG::refresh_all()
{
    for (PROXY* proxy : {raw_data_proxy, working_data_proxy, retail_build_proxy})
        proxy->refresh();
}

// A box that is clicked inside a selection of rows speaks for all of them.
QModelIndexList DATA_SELECTION_DIALOG::rows_meant_by(const QModelIndex& index) const
{
    const QTreeView* const tree = tree_of(proxy_of(index)->root_kind());
    const QModelIndexList rows = QT_WORKAROUNDS::selection_indices(tree->selectionModel());
    return rows.contains(index) ? rows : QModelIndexList{index};
}

void DATA_SELECTION_DIALOG::item_checked(const QModelIndex& index)
{
    PROXY* const proxy = proxy_of(index);
    if (!proxy)
        return;
    const QModelIndexList rows = rows_meant_by(index);
    if (session->preferences->show_action_selection_popup()) { // collecting costs, and is for the list alone
        QVector<ACTION_INTERFACE*> providers;
        QVector<ACTION_INTERFACE*> consumers;
        for (const QModelIndex& row : rows)
            proxy->collect_file_actions(row, providers, consumers);
        const QList<ACTION_INTERFACE*> listed_providers = in_order_of(session->actions, providers);
        const QList<ACTION_INTERFACE*> listed_consumers = in_order_of(session->actions, consumers);
        if (listed_providers.size() + listed_consumers.size() >= 2) {
            open_action_list(listed_providers, listed_consumers, true);
            return;
        }
    }
    select_rows(rows, true);
}

// Of one tree; the first one's state decides for all.
void DATA_SELECTION_DIALOG::select_rows(const QModelIndexList& rows, bool recursive)
{
    PROXY* const proxy = proxy_of(rows.first());
    const bool selected = selects(proxy->check_state(rows.first()));
    mass_selection_change_started();
    for (const QModelIndex& row : rows)
        proxy->select_index(row, selected, recursive);
    mass_selection_change_ended();
}

void DATA_SELECTION_DIALOG::action_selection_changed(ACTION_INTERFACE* action, bool selected)
{
    const bool was_changing = selection_changing;
    selection_changing = true;
    const QSet<ACTION_INTERFACE*> touched = choose(action, selected);
    if (selected)
        chosen_actions.unite(touched);
    else
        for (ACTION_INTERFACE* released : touched)
            if (released->selection_count <= 0) // something else may still hold it
                chosen_actions.remove(released);
    if (refresh_enabled)
        refresh_all();
    update_start_button();
    selection_changing = was_changing;
}

// Gives what has been counted or taken back: nothing for a choice that stood already.
QSet<ACTION_INTERFACE*> DATA_SELECTION_DIALOG::choose(ACTION_INTERFACE* action, bool selected)
{
    QSet<ACTION_INTERFACE*> touched;
    if (m_chosen_by_hand.contains(action) == selected)
        return touched;
    if (selected) {
        m_chosen_by_hand.insert(action);
        action->select(touched);
    } else {
        m_chosen_by_hand.remove(action);
        action->deselect(touched);
    }
    return touched;
}

void DATA_SELECTION_DIALOG::update_start_button()
{
    ui.start_button->setEnabled(!chosen_actions.isEmpty() && !session->rule_cache.rules_changed);
}

// Counts what planning would take, which is more than what was chosen by hand.
QString DATA_SELECTION_DIALOG::tip_of_start(bool counted) const
{
    if (session->rule_cache.rules_changed)
        return tr("Rules were changed. Start GOX again to build with them.");
    if (chosen_actions.isEmpty())
        return tr("Nothing is selected.");
    const auto is_selected = [](const ACTION_INTERFACE* action) { return action->selection_count >= 1; };
    const QVector<ACTION_INTERFACE*>& all = session->actions;
    const int count = counted ? int(std::count_if(all.begin(), all.end(), is_selected)) : 0;
    const QString what = !counted     ? tr("Builds what is selected")
                         : count == 1 ? tr("Builds 1 action")
                                      : tr("Builds %1 actions").arg(count);
    return tr("%1 (Alt+S, or Return in a tree)").arg(what);
}

void DATA_SELECTION_DIALOG::mass_selection_change_started()
{
    refresh_enabled = false;
}

void DATA_SELECTION_DIALOG::mass_selection_change_ended()
{
    refresh_enabled = true;
    refresh_all();
}

void DATA_SELECTION_DIALOG::select_all()
{
    select_everything(true);
}

void DATA_SELECTION_DIALOG::unselect_all()
{
    select_everything(false);
}

// Retail files are made from the other two, so they are not chosen by the
// thousand; a person ticks them one by one.
void DATA_SELECTION_DIALOG::select_everything(bool selected)
{
    mass_selection_change_started();
    raw_data_proxy->select_all(selected);
    working_data_proxy->select_all(selected);
    mass_selection_change_ended();
}

void DATA_SELECTION_DIALOG::select_files_only(const QModelIndex& index)
{
    if (proxy_of(index))
        select_rows({index}, false);
}

void DATA_SELECTION_DIALOG::select_files_only_raw()
{
    select_files_only(ui.raw_data_files->currentIndex());
}

void DATA_SELECTION_DIALOG::select_files_only_working()
{
    select_files_only(ui.working_data_files->currentIndex());
}

void DATA_SELECTION_DIALOG::apply_filter()
{
    const bool was_changing = selection_changing;
    selection_changing = true;
    mass_selection_change_started();
    for (ACTION_INTERFACE* action : QSet<ACTION_INTERFACE*>(m_chosen_by_hand))
        action_selection_changed(action, false);
    mass_selection_change_ended();
    for (PROXY* proxy : {raw_data_proxy, working_data_proxy, retail_build_proxy})
        proxy->set_filter(filter);
    offer_rules(); // the current row may be hidden now
    selection_changing = was_changing;
}

void DATA_SELECTION_DIALOG::get_latest_toggled(bool checked)
{
    raw_data_proxy->set_get_latest(checked);
    working_data_proxy->set_get_latest(checked);
    if (filter.mode == FILTER_DATE && !filter.up_to_date)
        apply_filter();
}

void DATA_SELECTION_DIALOG::check_in_selected() {}

void DATA_SELECTION_DIALOG::revert_selected() {}

void DATA_SELECTION_DIALOG::select_checked_out()
{
    unselect_all();
    select_opened_files(QSet<QString>()); // nothing tells which files are opened
    selection_changing = true;
    raw_data_proxy->refresh();
    working_data_proxy->refresh();
    selection_changing = false;
    show_plain_box(QMessageBox::Information, this, tr("Files selected."));
}

// What makes an opened file counts, and what uses it only where nothing does.
void DATA_SELECTION_DIALOG::select_opened_files(const QSet<QString>& logical_paths)
{
    for (const QString& path : logical_paths)
        if (const FILE_ENTRY* const file = session->file_map.value(LOGICAL_PATH(path)))
            for (ACTION_INTERFACE* action : file->providers.isEmpty() ? file->consumers : file->providers)
                choose(action, true);
}

void DATA_SELECTION_DIALOG::start()
{
    const QMap<QString, FILE_ENTRY*> missing =
        missing_files(ui.get_latest_checkbox->isChecked() ? QSet<ACTION_INTERFACE*>() : chosen_actions);
    if (!missing.isEmpty()) {
        FILE_LIST_DIALOG question(
            QStringLiteral("GOX"),
            tr("The following files you wish to process do not exist on your hard drive.\n"
               "Without these files, your build is likely to fail.\n"
               "Do you want to get latest for them?"),
            tr("Get latest"), missing.keys(), tr("Skip"), false, nullptr, Qt::WindowFlags());
        const QList<FILE_ENTRY*> files = missing.values();
        if (question.exec() == QDialog::Accepted &&
            !session->get_latest_files(QSet<FILE_ENTRY*>(files.begin(), files.end())))
            return;
    }
    accept();
}
