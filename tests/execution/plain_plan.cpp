#include "tests/execution/plain_plan.h"

#include <utility>

namespace {

// Where an ordinary raise follows a cycle's in each sweep, the sweeps never end.
const int MOST_SWEEPS = 1000;

void close_dependencies(PLAIN_ACTION* action, PLAIN_ACTION* from)
{
    for (PLAIN_ACTION* dependency : from->dependencies)
        if (dependency != action && !action->all_dependencies.contains(dependency)) {
            action->all_dependencies.append(dependency);
            close_dependencies(action, dependency);
        }
}

QVector<PLAIN_ACTION*> gather(const QVector<PLAIN_ACTION*>& actions)
{
    QVector<PLAIN_ACTION*> selected;
    for (PLAIN_ACTION* action : actions)
        if (action->selection_count >= 1) {
            selected.append(action);
            if (action->all_dependencies.isEmpty())
                close_dependencies(action, action);
        }
    return selected;
}

bool raise(const QVector<PLAIN_ACTION*>& selected)
{
    bool changed = true;
    for (int sweeps = 0; changed; ++sweeps) {
        if (sweeps == MOST_SWEEPS)
            return false;
        changed = false;
        for (PLAIN_ACTION* a : selected)
            for (PLAIN_ACTION* d : a->all_dependencies) {
                if (a->order_level >= d->order_level + 1)
                    continue;
                a->order_level = d->order_level + 1;
                changed = !d->all_dependencies.contains(a);
            }
    }
    return true;
}

void sort(QVector<PLAIN_ACTION*>& plan)
{
    for (int i = 0; i + 1 < plan.size(); ++i)
        for (int j = i + 1; j < plan.size(); ++j)
            if (plan[i]->order_level > plan[j]->order_level)
                std::swap(plan[i], plan[j]);
}

bool must_stay_ahead(const PLAIN_ACTION* left, const PLAIN_ACTION* right)
{
    return left->order_level < right->order_level &&
           right->all_dependencies.contains(const_cast<PLAIN_ACTION*>(left));
}

void place(QVector<PLAIN_ACTION*>& plan, int group)
{
    QVector<int> positions;
    for (int i = 0; i < plan.size(); ++i)
        if (plan[i]->group_id == group)
            positions.append(i);
    for (int k = 0; k + 1 < positions.size();) {
        int& n = positions[k + 1];
        if (positions[k] + 1 >= n || must_stay_ahead(plan[n - 1], plan[n])) {
            ++k;
        } else {
            std::swap(plan[n - 1], plan[n]);
            --n;
        }
    }
    for (int k = positions.size() - 1; k >= 1;) {
        int& m = positions[k - 1];
        if (m + 1 >= positions[k] || must_stay_ahead(plan[m], plan[m + 1])) {
            --k;
        } else {
            std::swap(plan[m], plan[m + 1]);
            ++m;
        }
    }
}

} // namespace

QVector<int> plain_plan(const QVector<PLAIN_ACTION*>& actions, int next_group)
{
    QVector<PLAIN_ACTION*> plan = gather(actions);
    if (!raise(plan))
        return {};
    sort(plan);
    for (int group = 1; group < next_group; ++group)
        place(plan, group);
    QVector<int> numbers;
    for (const PLAIN_ACTION* action : qAsConst(plan))
        numbers.append(action->number);
    return numbers;
}
