#include "selection/data_selection_file_model_filter_proxy.h"

#include <QtGui/QColor>

#include "selection/data_selection_file_model.h"
#include "session/file_entry.h"

DATA_SELECTION_FILE_MODEL_FILTER_PROXY::DATA_SELECTION_FILE_MODEL_FILTER_PROXY(
    DATA_SELECTION_FILE_MODEL* model)
{
    // Each check reports every row as changed. None of that alters which rows are
    // shown or their order, so these are not judged again.
    setDynamicSortFilter(false);
    setSourceModel(model);
    model->setParent(this);
    connect(model, SIGNAL(item_checked(QModelIndex)), this, SLOT(item_checked_slot(QModelIndex)));
    connect(model, SIGNAL(action_selected(ACTION_INTERFACE*, bool)), this,
            SLOT(action_selected_slot(ACTION_INTERFACE*, bool)));
}

DATA_SELECTION_FILE_MODEL* DATA_SELECTION_FILE_MODEL_FILTER_PROXY::model() const
{
    return static_cast<DATA_SELECTION_FILE_MODEL*>(sourceModel());
}

QVariant DATA_SELECTION_FILE_MODEL_FILTER_PROXY::data(const QModelIndex& index, int role) const
{
    const QModelIndex source = mapToSource(index);
    if (role != Qt::ForegroundRole)
        return model()->data(source, role);
    if (!(model()->flags(source) & Qt::ItemIsUserCheckable))
        return QColor(Qt::gray);
    const FILE_ENTRY* file = get_latest ? model()->file_entry(source) : nullptr;
    if (!file || file->providers.isEmpty())
        return QVariant();
    return QColor(file->out_of_date_target_latest ? Qt::red : Qt::green);
}

bool DATA_SELECTION_FILE_MODEL_FILTER_PROXY::filterAcceptsRow(int row, const QModelIndex& parent) const
{
    const FILE_ENTRY* file = model()->file_entry(model()->index(row, 0, parent));
    return !file || filter.accepts(*file, get_latest);
}

bool DATA_SELECTION_FILE_MODEL_FILTER_PROXY::lessThan(const QModelIndex& left, const QModelIndex& right) const
{
    return left.row() > right.row();
}

void DATA_SELECTION_FILE_MODEL_FILTER_PROXY::set_filter(const DATA_SELECTION_FILTER& new_filter)
{
    filter = new_filter;
    // On fresh rows: taking them out run by run costs with the square of their
    // number, minutes for 100,000 that a view shows.
    invalidate();
}

void DATA_SELECTION_FILE_MODEL_FILTER_PROXY::set_get_latest(bool latest)
{
    get_latest = latest;
    model()->emit_rows_changed();
}

int DATA_SELECTION_FILE_MODEL_FILTER_PROXY::root_kind() const
{
    return model()->root_kind;
}

void DATA_SELECTION_FILE_MODEL_FILTER_PROXY::select_all(bool selected)
{
    model()->select_folder(&model()->root, selected, true);
}

void DATA_SELECTION_FILE_MODEL_FILTER_PROXY::select_index(const QModelIndex& index, bool selected,
                                                          bool recursive)
{
    model()->select_index(mapToSource(index), selected, recursive);
}

int DATA_SELECTION_FILE_MODEL_FILTER_PROXY::check_state(const QModelIndex& index) const
{
    return model()->check_state(mapToSource(index));
}

void DATA_SELECTION_FILE_MODEL_FILTER_PROXY::collect_file_actions(const QModelIndex& index,
                                                                  QSet<ACTION_INTERFACE*>& providers,
                                                                  QSet<ACTION_INTERFACE*>& consumers) const
{
    model()->collect_file_actions(mapToSource(index), providers, consumers);
}

void DATA_SELECTION_FILE_MODEL_FILTER_PROXY::collect_file_actions(const QModelIndex& index,
                                                                  QVector<ACTION_INTERFACE*>& providers,
                                                                  QVector<ACTION_INTERFACE*>& consumers) const
{
    model()->collect_file_actions(mapToSource(index), providers, consumers);
}

FILE_ENTRY* DATA_SELECTION_FILE_MODEL_FILTER_PROXY::file_entry(const QModelIndex& index) const
{
    return model()->file_entry(mapToSource(index));
}

void DATA_SELECTION_FILE_MODEL_FILTER_PROXY::refresh()
{
    model()->refresh();
}

void DATA_SELECTION_FILE_MODEL_FILTER_PROXY::item_checked_slot(const QModelIndex& index)
{
    emit item_checked(mapFromSource(index));
}

void DATA_SELECTION_FILE_MODEL_FILTER_PROXY::action_selected_slot(ACTION_INTERFACE* action, bool selected)
{
    emit action_selected(action, selected);
}
