#include "progress/progress_rows.h"

#include <QtCore/QHash>
#include <QtGui/QBrush>
#include <QtWidgets/QTreeWidget>

#include <algorithm>
#include <limits>

#include "contracts/actions/action_interface.h"
#include "contracts/actions/dialog_helper.h"
#include "contracts/actions/processor_interface.h"

namespace {

enum COLOUR : quint8
{
    DEFAULT_COLOUR,
    BLUE,
    GREEN,
    ORANGE,
    RED
};

const quint8 COLOUR_BITS = 7;
const quint8 HIDDEN = 8;

QVariant brush_of(quint8 colour)
{
    switch (colour) {
    case BLUE:
        return QBrush(Qt::blue);
    case GREEN:
        return QBrush(Qt::green);
    case ORANGE:
        return QBrush(QColor(255, 128, 0, 255));
    case RED:
        return QBrush(Qt::red);
    default:
        return {};
    }
}

const int STATES = ACTION_FAILED_ALONE + 1;
const int UNKNOWN_STATE = STATES; // stands for all others

int kind_of(int state)
{
    return state >= 0 && state < STATES ? state : UNKNOWN_STATE;
}

// What an action adds to what is known of its group.
enum : unsigned
{
    HAS_UNFINISHED = 1,
    HAS_WARNED = 2,
    HAS_FAILED = 4
};

const unsigned ADDS[STATES + 1] = {HAS_UNFINISHED, HAS_UNFINISHED, 0,          HAS_WARNED,
                                   HAS_FAILED,     HAS_FAILED,     HAS_FAILED, HAS_UNFINISHED};

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
            return brush_of(colour);
        if (role == Qt::BackgroundRole && colour == BLUE && treeWidget())
            return ground_of_blue(treeWidget()->palette());
        return QTreeWidgetItem::data(column, role);
    }

    quint8 colour = DEFAULT_COLOUR;
};

struct PROGRESS_ROWS::LOOKS
{
    explicit LOOKS(int filter)
    {
        const COLOUR colours[] = {DEFAULT_COLOUR, BLUE, GREEN, ORANGE, RED, RED, RED, DEFAULT_COLOUR};
        const int shown_by[] = {UNFINISHED, UNFINISHED, COMPLETED, WARNINGS, ERRORS, ERRORS, ERRORS, 0};
        for (int kind = 0; kind <= STATES; ++kind) {
            kept[kind] = colours[kind] == DEFAULT_COLOUR ? COLOUR_BITS : 0;
            set[kind] = quint8(colours[kind] | (filter & shown_by[kind] ? 0 : HIDDEN));
        }
    }

    LOOK of(LOOK shown, int kind) const { return LOOK((shown & kept[kind]) | set[kind]); }

    LOOK kept[STATES + 1]; // bits of the former look that stay
    LOOK set[STATES + 1];
};

struct PROGRESS_ROWS::SUMS
{
    qint64 total = 0;
    qint64 done = 0;
    unsigned group_has = 0;
    unsigned all_have = 0;
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
        m_groups.append({item, DEFAULT_COLOUR, m_actions.size(), m_actions.size() + group.size()});
        m_actions += group;
    }
    m_shown.fill(DEFAULT_COLOUR, m_actions.size());
    tree->addTopLevelItems(group_items);
}

PROGRESS_ROWS::SUMMARY PROGRESS_ROWS::refresh(int filter)
{
    const LOOKS looks(filter);
    SUMS sums;
    for (int number = 0; number < m_groups.size(); ++number) {
        GROUP& group = m_groups[number];
        sums.group_has = 0;
        refresh_actions(number, looks, sums);
        sums.all_have |= sums.group_has;
        LOOK wanted = group.shown & COLOUR_BITS;
        if (!(sums.group_has & HAS_UNFINISHED))
            wanted = looks.of(group.shown, sums.group_has & HAS_FAILED   ? ACTION_FAILED
                                           : sums.group_has & HAS_WARNED ? ACTION_SUCCEEDED_WITH_WARNINGS
                                                                         : ACTION_SUCCEEDED);
        if (group.shown != wanted)
            write(*group.item, number, QModelIndex(), group.shown, wanted);
    }

    for (sums.done = std::min(sums.done, sums.total); sums.total > std::numeric_limits<int>::max();) {
        sums.total /= 2;
        sums.done /= 2;
    }
    SUMMARY summary;
    summary.total = int(sums.total);
    summary.done = int(sums.done);
    summary.finished = !(sums.all_have & HAS_UNFINISHED);
    summary.failed = sums.all_have & HAS_FAILED;
    summary.running = sums.running;
    return summary;
}

void PROGRESS_ROWS::refresh_actions(int number, const LOOKS& looks, SUMS& sums)
{
    const GROUP& group = m_groups.at(number);
    const QModelIndex parent = m_tree->model()->index(number, 0);
    ACTION_INTERFACE* const* const actions = m_actions.constData();
    LOOK* const shown = m_shown.data();
    for (int row = group.begin; row < group.end; ++row) {
        if (row + FETCHED_AHEAD < group.end)
            fetch(actions[row + FETCHED_AHEAD]);
        ACTION_INTERFACE& action = *actions[row];
        const int total = action.progress_total;
        sums.total += total;
        sums.done += std::min(total, action.progress_current);
        const int kind = kind_of(action.state);
        sums.group_has |= ADDS[kind];
        if (kind == ACTION_RUNNING)
            sums.running = &action;
        const LOOK wanted = looks.of(shown[row], kind);
        if (shown[row] != wanted)
            write(*m_items.at(row), row - group.begin, parent, shown[row], wanted);
    }
}

void PROGRESS_ROWS::write(ROW_ITEM& item, int row, const QModelIndex& parent, LOOK& shown, LOOK wanted)
{
    const LOOK changed = shown ^ wanted;
    if (changed & COLOUR_BITS) {
        item.colour = wanted & COLOUR_BITS;
        m_tree->viewport()->update();
    }
    if (changed & HIDDEN)
        m_tree->setRowHidden(row, parent, wanted & HIDDEN);
    shown = wanted;
}

QBrush PROGRESS_ROWS::ground_of_blue(const QPalette& palette)
{
    const int middle = 128;
    return palette.color(QPalette::Base).lightness() < middle ? QBrush(QColor(220, 225, 255)) : QBrush();
}

ACTION_INTERFACE* PROGRESS_ROWS::running() const
{
    for (ACTION_INTERFACE* const action : m_actions)
        if (action->state == ACTION_RUNNING)
            return action;
    return nullptr;
}
