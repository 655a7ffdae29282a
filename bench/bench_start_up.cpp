// The start-up behind the plugins, with one action for ten files, against the
// plain walk alone.

#include "bench/bench_session.h"
#include "bench/measure.h"
#include "bench/synthetic_tree.h"

namespace {

constexpr int INPUTS = 8;

/// An action for each eight raw files in the order of the map, which with its
/// target and the other files makes one for ten.
QVector<ACTION_INTERFACE*> make_actions(BENCH_PROCESSOR& processor, const BENCH_PROCESSOR::FILE_MAP& files,
                                        const SYNTHETIC_TREE& tree)
{
    QVector<ACTION_INTERFACE*> actions;
    auto file = files.lower_bound(LOGICAL_PATH(QStringLiteral("<raw>/")));
    for (int i = 0; i < tree.working_files; ++i) {
        auto* const action = new BENCH_ACTION(&processor, i);
        action->inputs_to_report.reserve(INPUTS);
        for (int k = 0; k < INPUTS; ++k, ++file)
            action->inputs_to_report.append(file.key());
        action->targets_to_report.append(working_target(tree.path, SYNTHETIC_TREE::file_name(i)));
        actions.append(action);
    }
    return actions;
}

SESSION_RUN start_up(const SYNTHETIC_TREE& tree)
{
    auto* const processor =
        new BENCH_PROCESSOR([&](BENCH_PROCESSOR& maker, const BENCH_PROCESSOR::FILE_MAP& files) {
            return make_actions(maker, files, tree);
        });
    auto* const session = new BENCH_SESSION;
    const COST cost = cost_of([&] { session->start_up(processor); });
    const int known = (*session)->file_map.size();
    const bool is_linked = (*session)->actions.size() == tree.working_files &&
                           (*session)->actions.last()->input_files.size() == INPUTS;
    if (known != tree.files() || !is_linked)
        give_up(QString("%1 files became %2 entries").arg(tree.files()).arg(known));
    return {cost, session->steps, 0};
}

COST measure(const SYNTHETIC_TREE& tree, int rounds, FIGURES& figures)
{
    use_tree(tree.path);
    SESSION_RUN own;
    COST plain;
    for (int round = -1; round < rounds; ++round) { // the first one warms
        const SESSION_RUN own_run = run_in_child([&] { return start_up(tree); });
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
