#include "progress/progress_rows.h"

#include <QtCore/QHash>
#include <QtGui/QBrush>
#include <QtWidgets/QTreeWidget>

#include <algorithm>
#include <limits>

#include "contracts/actions/action_interface.h"
#include "contracts/actions/dialog_helper.h"
#include "contracts/actions/processor_interface.h"
#include "progress/row_texts.h"

namespace {

// What an action adds to what is known of its group and of all.
enum : unsigned
{
    HAS_UNFINISHED = 1,
    HAS_WARNED = 2,
    HAS_FAILED = 4
};

struct STATE
{
    QColor colour; // none: the row keeps the one that it has
    int shown_by;  // bits of a filter
    unsigned adds;
};

// By ACTION_STATE; the last one stands for all others.
const STATE STATES[] = {
    {QColor(), PROGRESS_ROWS::UNFINISHED, HAS_UNFINISHED},
    {Qt::blue, PROGRESS_ROWS::UNFINISHED, HAS_UNFINISHED},
    {Qt::green, PROGRESS_ROWS::COMPLETED, 0},
    {QColor(255, 128, 0), PROGRESS_ROWS::WARNINGS, HAS_WARNED},
    {Qt::red, PROGRESS_ROWS::ERRORS, HAS_FAILED},
    {Qt::red, PROGRESS_ROWS::ERRORS, HAS_FAILED},
    {Qt::red, PROGRESS_ROWS::ERRORS, HAS_FAILED},
    {QColor(), 0, HAS_UNFINISHED},
};
const int UNKNOWN_STATE = ACTION_FAILED_ALONE + 1;

int known_state(int state)
{
    return state >= 0 && state < UNKNOWN_STATE ? state : UNKNOWN_STATE;
}

int state_of_group(unsigned has)
{
    return has & HAS_FAILED   ? ACTION_FAILED
           : has & HAS_WARNED ? ACTION_SUCCEEDED_WITH_WARNINGS
                              : ACTION_SUCCEEDED;
}

// What a row shows: the state whose colour it has, and whether it is hidden.
const quint8 COLOUR_BITS = 7;
const quint8 HIDDEN = 8;

quint8 look_of(quint8 shown, int state, int filter)
{
    const int coloured_by = STATES[state].colour.isValid() ? state : shown & COLOUR_BITS;
    return quint8(coloured_by | (filter & STATES[state].shown_by ? 0 : HIDDEN));
}

// The actions lie far apart, and a look at one that is not in the cache takes
// longer than all else that a poll does with it.
const int FETCHED_AHEAD = 24; // rows

void fetch(const ACTION_INTERFACE* action)
{
#if defined(__GNUC__)
    __builtin_prefetch(&action->progress_total);
    __builtin_prefetch(&action->state);
#else
    Q_UNUSED(action)
#endif
}

} // namespace

// Knows its colour itself: told in the common way, a tree widget first searches
// the group for the item, and all of them together take seconds.
class PROGRESS_ROWS::ROW_ITEM : public QTreeWidgetItem
{
public:
    explicit ROW_ITEM(const QString& text) : QTreeWidgetItem(QStringList(text)) {}

    QVariant data(int column, int role) const override
    {
        if (role == Qt::ForegroundRole)
            return STATES[state].colour.isValid() ? QVariant(QBrush(STATES[state].colour)) : QVariant();
        if (role == Qt::ToolTipRole || role == Qt::AccessibleDescriptionRole)
            return parent() ? text_of_action(role) : text_of_group();
        return QTreeWidgetItem::data(column, role);
    }

    int state = ACTION_NOT_RUN; // whose colour the row has

private:
    QString text_of_group() const
    {
        int by_state[UNKNOWN_STATE] = {};
        for (int row = 0; row < childCount(); ++row)
            ++by_state[static_cast<const ROW_ITEM*>(child(row))->state];
        return ROW_TEXTS::of_counts(by_state);
    }

    QString text_of_action(int role) const
    {
        const QString wait =
            ROW_TEXTS::of_wait(*DIALOG_HELPER::get_action_pointer(const_cast<ROW_ITEM*>(this), 0));
        return wait.isEmpty() && role == Qt::AccessibleDescriptionRole ? ROW_TEXTS::of_state(state) : wait;
    }
};

struct PROGRESS_ROWS::SUMS
{
    qint64 total = 0;
    qint64 done = 0;
    unsigned has = 0; // of all groups
    ACTION_INTERFACE* running = nullptr;
};

void PROGRESS_ROWS::build(QTreeWidget* tree, const QVector<ACTION_INTERFACE*>& actions)
{
    m_tree = tree;
    QHash<const PROCESSOR_INTERFACE*, int> group_of;
    QVector<QVector<ACTION_INTERFACE*>> members;
    for (ACTION_INTERFACE* const action : actions) {
        const auto known = group_of.constFind(action->processor);
        const int group = known == group_of.cend() ? members.size() : *known;
        if (group == members.size()) {
            group_of.insert(action->processor, group);
            members.append(QVector<ACTION_INTERFACE*>());
        }
        members[group].append(action);
    }

    QList<QTreeWidgetItem*> group_items;
    for (const QVector<ACTION_INTERFACE*>& group : qAsConst(members)) {
        ROW_ITEM* const item = new ROW_ITEM(group.first()->processor->name());
        QList<QTreeWidgetItem*> rows;
        rows.reserve(group.size());
        for (ACTION_INTERFACE* const action : group) {
            ROW_ITEM* const row = new ROW_ITEM(action->display_text(true));
            DIALOG_HELPER::set_action_pointer(row, 0, action);
            rows.append(row);
            m_items.append(row);
        }
        item->addChildren(rows);
        group_items.append(item);
        m_groups.append({item, ACTION_NOT_RUN, m_actions.size(), m_actions.size() + group.size()});
        m_actions += group;
    }
    m_shown.fill(ACTION_NOT_RUN, m_actions.size());
    tree->addTopLevelItems(group_items);
}

PROGRESS_ROWS::SUMMARY PROGRESS_ROWS::refresh(int filter)
{
    SUMS sums;
    for (int number = 0; number < m_groups.size(); ++number) {
        GROUP& group = m_groups[number];
        const unsigned has = refresh_actions(number, filter, sums);
        sums.has |= has;
        write(*group.item, number, QModelIndex(), group.shown,
              has & HAS_UNFINISHED ? group.shown & COLOUR_BITS
                                   : look_of(group.shown, state_of_group(has), filter));
    }

    for (sums.done = std::min(sums.done, sums.total); sums.total > std::numeric_limits<int>::max();) {
        sums.total /= 2;
        sums.done /= 2;
    }
    SUMMARY summary;
    summary.total = int(sums.total);
    summary.done = int(sums.done);
    summary.finished = !(sums.has & HAS_UNFINISHED);
    summary.failed = sums.has & HAS_FAILED;
    summary.running = sums.running;
    return summary;
}

// Gives what the actions of the group add.
unsigned PROGRESS_ROWS::refresh_actions(int number, int filter, SUMS& sums)
{
    const GROUP& group = m_groups.at(number);
    const QModelIndex parent = m_tree->model()->index(number, 0);
    unsigned has = 0;
    for (int row = group.begin; row < group.end; ++row) {
        if (row + FETCHED_AHEAD < group.end)
            fetch(m_actions.at(row + FETCHED_AHEAD));
        ACTION_INTERFACE& action = *m_actions.at(row);
        const int total = action.progress_total;
        sums.total += total;
        sums.done += std::min(total, action.progress_current);
        const int state = known_state(action.state);
        has |= STATES[state].adds;
        if (state == ACTION_RUNNING)
            sums.running = &action;
        write(*m_items.at(row), row - group.begin, parent, m_shown[row],
              look_of(m_shown.at(row), state, filter));
    }
    return has;
}

void PROGRESS_ROWS::write(ROW_ITEM& item, int row, const QModelIndex& parent, LOOK& shown, LOOK wanted)
{
    if (shown == wanted)
        return;
    item.state = wanted & COLOUR_BITS;
    m_tree->viewport()->update();
    if ((shown ^ wanted) & HIDDEN)
        m_tree->setRowHidden(row, parent, wanted & HIDDEN);
    shown = wanted;
}

QColor PROGRESS_ROWS::colour_of(int state)
{
    return STATES[known_state(state)].colour;
}

// In the order of all rows; beyond either end is where the search goes round.
int PROGRESS_ROWS::first_to_search(const QTreeWidgetItem* from, int step) const
{
    if (!from)
        return step > 0 ? 0 : -1;
    for (const GROUP& group : m_groups)
        if (group.item == from)
            return step > 0 ? group.begin : group.begin - 1;
    return int(std::find(m_items.cbegin(), m_items.cend(), from) - m_items.cbegin()) + step;
}

QTreeWidgetItem* PROGRESS_ROWS::find_problem(const QTreeWidgetItem* from, int step) const
{
    const int count = m_items.size();
    int row = first_to_search(from, step);
    for (int searched = 0; searched < count; ++searched, row += step) {
        row = (row + count) % count;
        const int state = m_shown.at(row) & COLOUR_BITS;
        const bool is_problem =
            state == ACTION_SUCCEEDED_WITH_WARNINGS || state == ACTION_FAILED || state == ACTION_FAILED_ALONE;
        if (is_problem && !(m_shown.at(row) & HIDDEN) && !m_items.at(row)->parent()->isHidden())
            return m_items.at(row);
    }
    return nullptr;
}

ACTION_INTERFACE* PROGRESS_ROWS::running() const
{
    for (ACTION_INTERFACE* const action : m_actions)
        if (action->state == ACTION_RUNNING)
            return action;
    return nullptr;
}
