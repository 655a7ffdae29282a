#include "selection/action_list_dialog.h"

#include <QtCore/QHash>
#include <QtCore/QSet>
#include <QtGui/QPainter>
#include <QtWidgets/QListWidget>

#include "contracts/actions/action_interface.h"
#include "contracts/actions/dialog_helper.h"
#include "contracts/actions/processor_interface.h"
#include "contracts/services/plain_row_delegate.h"

namespace {

using ACTIONS = QList<ACTION_INTERFACE*>;

// How many of those that a row stands for are selected.
struct TALLY
{
    int selected = 0;
    int total = 0;

    void add(bool is_selected)
    {
        ++total;
        selected += is_selected ? 1 : 0;
    }
    Qt::CheckState state() const
    {
        return selected == 0 ? Qt::Unchecked : selected == total ? Qt::Checked : Qt::PartiallyChecked;
    }
};

QString row_text(ACTION_INTERFACE& action, bool long_form)
{
    return action.processor->name() + QStringLiteral(" / ") + action.display_text(long_form);
}

bool is_selected(const ACTION_INTERFACE& action)
{
    return action.selection_count >= 1;
}

// A row without an action is the one for all.
QListWidgetItem* make_row(const QString& text, const ACTION_INTERFACE* action)
{
    QListWidgetItem* const row = new QListWidgetItem(text);
    row->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
    if (action)
        DIALOG_HELPER::set_action_pointer(row, action);
    return row;
}

// A merged list has one row for all actions with the same short text.
void make_rows(QListWidget& list, const ACTIONS& actions, bool merged)
{
    QSet<QString> texts;
    for (ACTION_INTERFACE* action : actions) {
        const QString text = row_text(*action, !merged);
        if (!merged || !texts.contains(text))
            list.addItem(make_row(text, action));
        texts.insert(text);
    }
}

// One walk over the actions, whatever the number of rows.
void show_states(const QListWidget& list, const ACTIONS& actions, bool merged)
{
    QHash<QString, TALLY> merged_rows; // by text
    if (merged)
        for (ACTION_INTERFACE* action : actions)
            merged_rows[row_text(*action, false)].add(is_selected(*action));
    TALLY all;
    for (int row = list.count() - 1; row >= 0; --row) { // the row for all comes last
        QListWidgetItem& item = *list.item(row);
        const ACTION_INTERFACE* const action = DIALOG_HELPER::get_action_pointer(&item);
        TALLY tally = all;
        if (action && merged)
            tally = merged_rows.value(item.text());
        else if (action)
            tally = {is_selected(*action) ? 1 : 0, 1};
        item.setCheckState(tally.state());
        all.add(tally.state() == Qt::Checked);
    }
}

ACTIONS actions_meant_by(QListWidgetItem& item, const ACTIONS& actions, bool merged)
{
    ACTION_INTERFACE* const clicked = DIALOG_HELPER::get_action_pointer(&item);
    if (merged && !clicked)
        return actions;
    ACTIONS meant;
    if (merged) {
        for (ACTION_INTERFACE* action : actions)
            if (row_text(*action, false) == item.text())
                meant.append(action);
    } else if (clicked) {
        meant.append(clicked);
    } else { // what shows that state already is left alone
        const QListWidget& list = *item.listWidget();
        for (int row = 1; row < list.count(); ++row)
            if (list.item(row)->checkState() != item.checkState())
                meant.append(DIALOG_HELPER::get_action_pointer(list.item(row)));
    }
    return meant;
}

} // namespace

ACTION_LIST_DIALOG::ACTION_LIST_DIALOG(const ACTIONS& providers, const ACTIONS& consumers, QWidget* parent,
                                       Qt::WindowFlags flags)
    : QDialog(parent, flags), updating(true), providers(providers), consumers(consumers)
{
    ui.setupUi(this);
    for (QListWidget* list : {ui.provider_list, ui.consumer_list}) {
        list->setItemDelegate(new PLAIN_ROW_DELEGATE(list));
        connect(list, SIGNAL(itemChanged(QListWidgetItem*)), this, SLOT(item_changed(QListWidgetItem*)));
    }
    connect(ui.provider_merge_box, SIGNAL(clicked(bool)), this, SLOT(merge_provider_toggled(bool)));
    connect(ui.consumer_merge_box, SIGNAL(clicked(bool)), this, SLOT(merge_consumer_toggled(bool)));
    fill(ui.consumer_list, consumers, false);
    fill(ui.provider_list, providers, false);
    (providers.isEmpty() ? ui.consumer_list : ui.provider_list)->setFocus();
}

void ACTION_LIST_DIALOG::paintEvent(QPaintEvent* event)
{
    QDialog::paintEvent(event);
    if (windowType() != Qt::Popup)
        return;
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::Disabled, QPalette::Text));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

void ACTION_LIST_DIALOG::merge_provider_toggled(bool checked)
{
    fill(ui.provider_list, providers, checked);
}

void ACTION_LIST_DIALOG::merge_consumer_toggled(bool checked)
{
    fill(ui.consumer_list, consumers, checked);
}

void ACTION_LIST_DIALOG::fill(QListWidget* list, const ACTIONS& actions, bool merged)
{
    updating = true;
    list->clear();
    make_rows(*list, actions, merged);
    if (list->count() > 1)
        list->insertItem(0, make_row(tr("<All>"), nullptr));
    show_states(*list, actions, merged);
    updating = false;
}

void ACTION_LIST_DIALOG::item_changed(QListWidgetItem* item)
{
    if (updating)
        return;
    const bool is_consumer = item->listWidget() == ui.consumer_list;
    const ACTIONS& actions = is_consumer ? consumers : providers;
    const bool merged = (is_consumer ? ui.consumer_merge_box : ui.provider_merge_box)->isChecked();
    const bool is_mass_change = merged || !DIALOG_HELPER::get_action_pointer(item);

    if (is_mass_change)
        emit mass_selection_change_started();
    for (ACTION_INTERFACE* action : actions_meant_by(*item, actions, merged))
        emit action_selection_changed(action, item->checkState() == Qt::Checked);
    if (is_mass_change)
        emit mass_selection_change_ended();

    updating = true;
    show_states(*item->listWidget(), actions, merged);
    updating = false;
}
