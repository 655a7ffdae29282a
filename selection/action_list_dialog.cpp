#include "selection/action_list_dialog.h"

#include <QtCore/QHash>
#include <QtCore/QSet>
#include <QtCore/QSignalBlocker>
#include <QtGui/QHideEvent>
#include <QtGui/QPainter>
#include <QtWidgets/QListWidget>

#include "contracts/actions/action_interface.h"
#include "contracts/actions/dialog_helper.h"
#include "contracts/services/plain_row_delegate.h"
#include "selection/action_row.h"

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

bool is_selected(const ACTION_INTERFACE& action)
{
    return action.selection_count >= 1;
}

// The row for all has no action.
QListWidgetItem* make_row_for_all()
{
    QListWidgetItem* const row = new QListWidgetItem(ACTION_LIST_DIALOG::tr("<All>"));
    row->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
    return row;
}

// A merged list has one row for all actions with the same short text.
QList<QListWidgetItem*> make_rows(const ACTIONS& actions, bool merged)
{
    QList<QListWidgetItem*> rows;
    QSet<QString> texts;
    for (ACTION_INTERFACE* action : actions) {
        if (merged) {
            const int known = texts.size();
            texts.insert(ACTION_ROW::text_of(*action, false));
            if (texts.size() == known)
                continue;
        }
        rows.append(new ACTION_ROW(action, !merged));
    }
    if (rows.size() > 1)
        rows.prepend(make_row_for_all());
    return rows;
}

// One walk over the actions, whatever the number of rows. The view hears of them
// all together.
void show_states(const QListWidget& list, const ACTIONS& actions, bool merged)
{
    const QSignalBlocker unseen(list.model());
    QHash<QString, TALLY> merged_rows; // by text
    if (merged)
        for (ACTION_INTERFACE* action : actions)
            merged_rows[ACTION_ROW::text_of(*action, false)].add(is_selected(*action));
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
    list.viewport()->update();
}

ACTIONS actions_meant_by(QListWidgetItem& item, const ACTIONS& actions, bool merged)
{
    ACTION_INTERFACE* const clicked = DIALOG_HELPER::get_action_pointer(&item);
    if (merged && !clicked)
        return actions;
    ACTIONS meant;
    if (merged) {
        for (ACTION_INTERFACE* action : actions)
            if (ACTION_ROW::text_of(*action, false) == item.text())
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
    for (QListWidget* list : {ui.provider_list, ui.consumer_list})
        if (list->count() == 0) // the other one needs the room
            list->setMaximumHeight(list->fontMetrics().height() + 2 * list->frameWidth());
}

void ACTION_LIST_DIALOG::showEvent(QShowEvent* event)
{
    if (!m_close_hint)
        say_how_to_leave();
    QDialog::showEvent(event);
}

void ACTION_LIST_DIALOG::say_how_to_leave()
{
    m_close_hint = new QLabel(this);
    m_close_hint->setObjectName(QStringLiteral("close_hint"));
    m_close_hint->setText(windowType() == Qt::Popup ? tr("Escape, or a click beside this list, closes it.")
                                                    : tr("Escape closes this list."));
    m_close_hint->setWordWrap(true);
    ui.verticalLayout->addWidget(m_close_hint);
    m_close_hint->show();
    setAccessibleDescription(m_close_hint->text());
}

void ACTION_LIST_DIALOG::hideEvent(QHideEvent* event)
{
    QDialog::hideEvent(event);
    if (testAttribute(Qt::WA_DeleteOnClose) && !event->spontaneous())
        deleteLater(); // its lists may still be handling the event that hides it
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
    ACTION_ROW::add_to(*list, make_rows(actions, merged));
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
