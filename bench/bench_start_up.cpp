// The start-up behind the plugins, with one action for ten files, against the
// plain walk alone.

#include "bench/bench_session.h"
#include "bench/measure.h"
#include "bench/synthetic_tree.h"

namespace {

COST measure(const SYNTHETIC_TREE& tree, int rounds, FIGURES& figures)
{
    use_tree(tree.path);
    SESSION_RUN own;
    COST plain;
    for (int round = -1; round < rounds; ++round) { // the first one warms
        const SESSION_RUN own_run = run_in_child([&] { return start_up_over(tree); });
        const COST plain_cost = cost_of([&] { plain_walk(tree.path); });
        own = round <= 0 ? own_run : least(own, own_run);
        plain = round <= 0 ? plain_cost : least(plain, plain_cost);
    }
    const QString what = QString("start-up over %1 files").arg(tree.files());
    figures.ratio(what, own.cost, "QDirIterator walk alone", plain, 1);
    figures.steps("steps", own.steps);
    figures.value(what + ", peak memory", own.peak_memory / tree.files(), "B a file", 0);
    return own.cost;
}

} // namespace

void bench_start_up(const BENCH_OPTIONS& options, FIGURES& figures)
{
    const int files = options.quick ? 10000 : 100000;
    const COST small = measure(SYNTHETIC_TREE::of_size(options.trees, files), 3, figures);
    const COST large = measure(SYNTHETIC_TREE::of_size(options.trees, files * 10), 3, figures);
    figures.ratio(QString("start-up over %1 files").arg(files * 10), large,
                  QString("over %1 files").arg(files), small, 15);
}
