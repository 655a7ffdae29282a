// Planning against its plain procedure.

#include <algorithm>
#include <random>

#include "bench/bench_session.h"
#include "bench/measure.h"
#include "tests/execution/plain_plan.h"

namespace {

constexpr int LEVELS = 20;
constexpr int STRETCH = 20000;
constexpr int GROUP_SIZE = 8;
constexpr int GROUPED = 20; // one action of these is in a group: 5 percent

/// Selected actions as plain numbers.
struct WORK
{
    struct ACTION
    {
        QVector<int> dependencies;
        int group = 0; // from 1 on
    };
    QVector<ACTION> actions; // by number
    QVector<int> order;      // of the session
    int groups = 0;
};

WORK work_of(int count)
{
    WORK work;
    work.actions.resize(count);
    for (int i = 0; i < count; ++i)
        work.order.append(i);
    return work;
}

/// Lanes of 20 actions, each on top of the one before it and now and then of one
/// of the next lane; in random order within stretches, as processors hand actions
/// out area by area.
WORK lanes(int count)
{
    std::mt19937 random(7);
    WORK work = work_of(count);
    for (int i = 0; i < count; ++i) {
        const int level = i % LEVELS;
        if (level > 0)
            work.actions[i].dependencies.append(i - 1);
        const int partner = (i / LEVELS ^ 1) * LEVELS + level - 1;
        if (level % 4 == 1 && partner < count)
            work.actions[i].dependencies.append(partner);
    }
    for (int start = 0; start < count; start += STRETCH)
        std::shuffle(work.order.begin() + start, work.order.begin() + std::min(start + STRETCH, count),
                     random);
    int grouped = 0;
    for (int i = 0; i < count; i += GROUPED)
        work.actions[work.order[i]].group = grouped++ / GROUP_SIZE + 1;
    work.groups = (grouped + GROUP_SIZE - 1) / GROUP_SIZE;
    return work;
}

/// One action that depends on all others.
WORK consumer(int count)
{
    WORK work = work_of(count);
    for (int i = 0; i + 1 < count; ++i)
        work.actions.last().dependencies.append(i);
    return work;
}

WORK chain(int count)
{
    WORK work = work_of(count);
    for (int i = 1; i < count; ++i)
        work.actions[i].dependencies.append(i - 1);
    return work;
}

/// Two more actions on which all else depends, and which may depend on each other.
WORK with_pair_ahead(WORK work, bool is_cycle)
{
    const int pair = work.actions.size();
    for (WORK::ACTION& action : work.actions)
        if (action.dependencies.isEmpty())
            action.dependencies.append(pair);
    work.actions.append({{pair + 1}, 0});
    work.actions.append({is_cycle ? QVector<int>{pair} : QVector<int>(), 0});
    work.order = QVector<int>{pair + 1, pair} + work.order;
    return work;
}

struct OUTCOME
{
    COST cost;
    QVector<int> plan;
};

OUTCOME plan_plainly(const WORK& work)
{
    QVector<PLAIN_ACTION> storage(work.actions.size());
    QVector<PLAIN_ACTION*> actions;
    for (int i = 0; i < storage.size(); ++i) {
        storage[i].number = i;
        storage[i].selection_count = 1;
        storage[i].group_id = work.actions[i].group;
        for (const int dependency : work.actions[i].dependencies)
            storage[i].dependencies.append(&storage[dependency]);
    }
    for (const int number : work.order)
        actions.append(&storage[number]);
    OUTCOME outcome;
    outcome.cost = cost_of([&] { outcome.plan = plain_plan(actions, work.groups + 1); });
    return outcome;
}

/// The program never takes a group number back, so each round uses the same ones
/// and new ones are drawn only when the work has more groups.
OUTCOME plan_well(const WORK& work)
{
    BENCH_SESSION session;
    BENCH_PROCESSOR processor(
        [](BENCH_PROCESSOR&, const BENCH_PROCESSOR::FILE_MAP&) { return QVector<ACTION_INTERFACE*>(); });
    static int s_groups = 0;
    for (; s_groups < work.groups; ++s_groups)
        BENCH_PROCESSOR::new_group();
    QVector<ACTION_INTERFACE*> by_number;
    QHash<const ACTION_INTERFACE*, int> numbers;
    for (int i = 0; i < work.actions.size(); ++i) {
        by_number.append(new BENCH_ACTION(&processor, i));
        by_number[i]->selection_count = 1;
        by_number[i]->group_id = work.actions[i].group;
        numbers.insert(by_number[i], i);
    }
    for (int i = 0; i < work.actions.size(); ++i)
        for (const int dependency : work.actions[i].dependencies)
            by_number[i]->add_dependency(*by_number[dependency], false);
    for (const int number : work.order)
        session->actions.append(by_number[number]);
    OUTCOME outcome;
    outcome.cost = cost_of([&] { session->plan_build(); });
    for (const ACTION_INTERFACE* const action : qAsConst(session->selected_actions))
        outcome.plan.append(numbers[action]);
    qDeleteAll(by_number);
    return outcome;
}

COST best_of(const WORK& work, int rounds)
{
    COST best = plan_well(work).cost;
    for (int round = 1; round < rounds; ++round)
        best = least(best, plan_well(work).cost);
    return best;
}

} // namespace

void bench_planning(const BENCH_OPTIONS& options, FIGURES& figures)
{
    const WORK both = lanes(20000);
    const OUTCOME plain = plan_plainly(both);
    if (plain.plan != plan_well(both).plan)
        give_up("the plan differs from that of the plain procedure");
    figures.ratio(QString("plan of %1 actions").arg(both.order.size()), best_of(both, 5), "plain procedure",
                  plain.cost, 0.05);

    const int count = options.quick ? 10000 : 100000;
    const COST small = best_of(lanes(count), 5);
    const COST large = best_of(lanes(count * 10), 3);
    const QString what = QString("plan of %1 actions");
    figures.value(what.arg(count), small.time / count * 1e6, "us an action", 0);
    figures.value(what.arg(count * 10), large.time / count / 10 * 1e6, "us an action", 0);
    figures.ratio(what.arg(count * 10), large, QString("of %1 actions").arg(count), small, 15);

    const std::pair<const char*, WORK> shapes[] = {{"one that depends on all others", consumer(count)},
                                                   {"in lanes", lanes(count)},
                                                   {"in a chain", chain(count / 20)}};
    for (const auto& [name, work] : shapes)
        figures.ratio(QString("plan of %1 %2, behind a cycle").arg(work.order.size()).arg(name),
                      best_of(with_pair_ahead(work, true), 5), "without the cycle",
                      best_of(with_pair_ahead(work, false), 5), 3);
}
