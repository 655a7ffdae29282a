// What the build thread itself adds to each action.

#include "bench/bench_session.h"
#include "bench/measure.h"

void bench_build_thread(const BENCH_OPTIONS& options, FIGURES& figures)
{
    const int count = options.quick ? 10000 : 100000;
    BENCH_SESSION session;
    BENCH_PROCESSOR processor(
        [](BENCH_PROCESSOR&, const BENCH_PROCESSOR::FILE_MAP&) { return QVector<ACTION_INTERFACE*>(); });
    session->processors = {&processor};
    for (int i = 0; i < count; ++i)
        session->actions.append(new BENCH_ACTION(&processor, i));
    session->select_from_configuration();
    session->plan_build();
    COST best;
    for (int round = -1; round < 3; ++round) { // the first one warms
        session->reset_for_more();
        const COST cost = cost_of([&] {
            session->prepare_build(false);
            session->finish_build(false);
        });
        best = round <= 0 ? cost : least(best, cost);
    }
    for (const ACTION_INTERFACE* const action : qAsConst(session->actions))
        if (action->state != ACTION_SUCCEEDED || !action->output.contains("Duration: "))
            give_up("an action was not run");
    figures.value(QString("build of %1 actions that do nothing").arg(count), best.time / count * 1e6,
                  "us an action", 10);
}
