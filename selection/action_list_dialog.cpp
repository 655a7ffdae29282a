#include "selection/action_list_dialog.h"

#include <QtCore/QHash>
#include <QtCore/QVector>
#include <QtGui/QPainter>
#include <QtWidgets/QListWidget>

#include "contracts/actions/action_interface.h"
#include "contracts/actions/dialog_helper.h"
#include "contracts/actions/processor_interface.h"
#include "contracts/services/plain_row_delegate.h"

namespace {

using ROWS = QVector<QListWidgetItem*>;

// How many of the actions behind a merged row are selected.
struct TALLY
{
    int selected = 0;
    int total = 0;

    void add(const ACTION_INTERFACE& action)
    {
        ++total;
        selected += action.selection_count >= 1 ? 1 : 0;
    }
    Qt::CheckState state() const
    {
        return selected == 0 ? Qt::Unchecked : selected == total ? Qt::Checked : Qt::PartiallyChecked;
    }
};

using TALLIES = QHash<QString, TALLY>; // by row text

QString row_text(ACTION_INTERFACE& action, bool long_form)
{
    return action.processor->name() + QStringLiteral(" / ") + action.display_text(long_form);
}

Qt::CheckState state_of(const ACTION_INTERFACE& action)
{
    return action.selection_count >= 1 ? Qt::Checked : Qt::Unchecked;
}

// A row without an action is the one for all.
QListWidgetItem* make_row(const QString& text, const ACTION_INTERFACE* action)
{
    QListWidgetItem* const row = new QListWidgetItem(text);
    row->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
    row->setCheckState(action ? state_of(*action) : Qt::Unchecked);
    if (action)
        DIALOG_HELPER::set_action_pointer(row, action);
    return row;
}

ROWS plain_rows(const QList<ACTION_INTERFACE*>& actions)
{
    ROWS rows;
    rows.reserve(actions.size());
    for (ACTION_INTERFACE* action : actions)
        rows.append(make_row(row_text(*action, true), action));
    return rows;
}

ROWS merged_rows(const QList<ACTION_INTERFACE*>& actions)
{
    ROWS rows;
    TALLIES tallies;
    for (ACTION_INTERFACE* action : actions) {
        const QString text = row_text(*action, false);
        TALLY& tally = tallies[text];
        if (tally.total == 0)
            rows.append(make_row(text, action));
        tally.add(*action);
    }
    for (QListWidgetItem* row : qAsConst(rows))
        row->setCheckState(tallies.value(row->text()).state());
    return rows;
}

void update_plain_rows(const QListWidget& list)
{
    for (int row = 0; row < list.count(); ++row)
        if (const ACTION_INTERFACE* const action = DIALOG_HELPER::get_action_pointer(list.item(row)))
            list.item(row)->setCheckState(state_of(*action));
}

// One walk over the actions, whatever the number of rows.
void update_merged_rows(const QListWidget& list, const QList<ACTION_INTERFACE*>& actions)
{
    TALLIES tallies;
    for (ACTION_INTERFACE* action : actions)
        tallies[row_text(*action, false)].add(*action);
    for (int row = 0; row < list.count(); ++row)
        if (DIALOG_HELPER::get_action_pointer(list.item(row)))
            list.item(row)->setCheckState(tallies.value(list.item(row)->text()).state());
}

void update_all_row(const QListWidget& list)
{
    if (list.count() < 2)
        return;
    bool some_are = false;
    bool some_are_not = false;
    for (int row = 1; row < list.count() && !(some_are && some_are_not); ++row)
        (list.item(row)->checkState() == Qt::Checked ? some_are : some_are_not) = true;
    list.item(0)->setCheckState(!some_are       ? Qt::Unchecked
                                : !some_are_not ? Qt::Checked
                                                : Qt::PartiallyChecked);
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
    const ROWS rows = merged ? merged_rows(actions) : plain_rows(actions);
    if (rows.size() > 1)
        list->addItem(make_row(tr("<All>"), nullptr));
    for (QListWidgetItem* row : rows)
        list->addItem(row);
    update_all_row(*list);
    updating = false;
}

void ACTION_LIST_DIALOG::item_changed(QListWidgetItem* item)
{
    if (updating)
        return;
    const bool is_consumer = sender() && sender()->objectName() == QLatin1String("consumer_list");
    const QListWidget& list = is_consumer ? *ui.consumer_list : *ui.provider_list;
    const ACTIONS& actions = is_consumer ? consumers : providers;
    const bool merged = (is_consumer ? ui.consumer_merge_box : ui.provider_merge_box)->isChecked();
    const bool selected = item->checkState() == Qt::Checked;

    ACTION_INTERFACE* const action = DIALOG_HELPER::get_action_pointer(item);
    if (!action)
        report_all(list, actions, merged, item->checkState());
    else if (merged)
        report_namesakes(actions, item->text(), selected);
    else
        emit action_selection_changed(action, selected);

    updating = true;
    if (merged)
        update_merged_rows(list, actions);
    else
        update_plain_rows(list);
    update_all_row(list);
    updating = false;
}

void ACTION_LIST_DIALOG::report_all(const QListWidget& list, const ACTIONS& actions, bool merged,
                                    Qt::CheckState state)
{
    const bool selected = state == Qt::Checked;
    emit mass_selection_change_started();
    if (merged)
        for (ACTION_INTERFACE* action : actions)
            emit action_selection_changed(action, selected);
    else
        for (int row = 1; row < list.count(); ++row)
            if (list.item(row)->checkState() != state)
                emit action_selection_changed(DIALOG_HELPER::get_action_pointer(list.item(row)), selected);
    emit mass_selection_change_ended();
}

void ACTION_LIST_DIALOG::report_namesakes(const ACTIONS& actions, const QString& text, bool selected)
{
    emit mass_selection_change_started();
    for (ACTION_INTERFACE* action : actions)
        if (row_text(*action, false) == text)
            emit action_selection_changed(action, selected);
    emit mass_selection_change_ended();
}
