// From the scan to the finished plan against a dry run of ninja over the same
// files and edges, everything up to date.

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QtEndian>

#include "bench/bench_session.h"
#include "bench/measure.h"
#include "bench/synthetic_tree.h"

namespace {

/// Every second action reads the target of an earlier one.
int chained_input(int number)
{
    return number % 2 == 1 && number > 1 ? number / 2 : -1;
}

QVector<ACTION_INTERFACE*> make_actions(BENCH_PROCESSOR& processor, const SYNTHETIC_TREE& tree)
{
    QVector<ACTION_INTERFACE*> actions;
    for (int i = 0; i < tree.working_files; ++i) {
        auto* const action = new BENCH_ACTION(&processor, i);
        const int chained = chained_input(i);
        action->inputs_to_report.append(raw_file(SYNTHETIC_TREE::file_name(i)));
        action->inputs_to_report.append(chained >= 0
                                            ? working_file(SYNTHETIC_TREE::file_name(chained))
                                            : raw_file(SYNTHETIC_TREE::file_name(tree.working_files + i)));
        action->targets_to_report.append(working_target(tree.path, SYNTHETIC_TREE::file_name(i)));
        actions.append(action);
    }
    return actions;
}

/// The hash by which ninja knows a command again (MurmurHash64A).
quint64 command_hash(const QByteArray& command)
{
    const quint64 factor = Q_UINT64_C(0xc6a4a7935bd1e995);
    quint64 hash = Q_UINT64_C(0xdecafbaddecafbad) ^ (quint64(command.size()) * factor);
    int at = 0;
    for (; at + 8 <= command.size(); at += 8) {
        quint64 block = qFromLittleEndian<quint64>(command.constData() + at) * factor;
        block ^= block >> 47;
        hash = (hash ^ (block * factor)) * factor;
    }
    quint64 rest = 0;
    for (int i = command.size() - 1; i >= at; --i)
        rest = rest << 8 | uchar(command[i]);
    if (at < command.size())
        hash = (hash ^ rest) * factor;
    hash = (hash ^ (hash >> 47)) * factor;
    return hash ^ (hash >> 47);
}

void write(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush())
        give_up(path + ": " + file.errorString());
}

/// The same edges, and the log of a build that has run them all.
void write_ninja_files(const SYNTHETIC_TREE& tree)
{
    QByteArray rules = "rule convert\n  command = convert $in $out\n";
    QByteArray log = "# ninja log v5\n";
    const QByteArray now = QByteArray::number(QDateTime::currentMSecsSinceEpoch() * 1000000);
    for (int i = 0; i < tree.working_files; ++i) {
        const int chained = chained_input(i);
        const QByteArray output = "working_data/" + SYNTHETIC_TREE::file_name(i).toUtf8();
        const QByteArray inputs =
            "raw_data/" + SYNTHETIC_TREE::file_name(i).toUtf8() + ' ' +
            (chained >= 0 ? "working_data/" + SYNTHETIC_TREE::file_name(chained).toUtf8()
                          : "raw_data/" + SYNTHETIC_TREE::file_name(tree.working_files + i).toUtf8());
        rules += "build " + output + ": convert " + inputs + '\n';
        const quint64 hash = command_hash("convert " + inputs + ' ' + output);
        log += "0\t1\t" + now + '\t' + output + '\t' + QByteArray::number(hash, 16) + '\n';
    }
    write(tree.path + "/build.ninja", rules);
    write(tree.path + "/.ninja_log", log);
}

void run_ninja(const SYNTHETIC_TREE& tree)
{
    const QString output = tree.path + "/ninja_output.txt";
    const int status = run_program({"ninja", "-n", "-C", tree.path}, output);
    QFile file(output);
    if (status != 0 || !file.open(QIODevice::ReadOnly) || !file.readAll().contains("no work to do"))
        give_up("ninja finds work, see " + output);
}

/// From the scan to the plan, the plugin's own time left out of the cost.
SESSION_RUN run_own(const SYNTHETIC_TREE& tree)
{
    BENCH_ACTION::s_seconds = 0;
    auto* const processor = new BENCH_PROCESSOR(
        [&](BENCH_PROCESSOR& maker, const BENCH_PROCESSOR::FILE_MAP&) { return make_actions(maker, tree); });
    auto* const session = new BENCH_SESSION;
    COST cost = cost_of([&] {
        session->start_up(processor);
        session->step("selection", [&] { (*session)->select_from_configuration(); });
        session->step("plan", [&] { (*session)->plan_build(); });
    });
    const double of_plugin = processor->seconds + BENCH_ACTION::s_seconds;
    session->steps.append({"of these the plugin's own", {of_plugin, of_plugin}});
    cost.time -= of_plugin;
    cost.processor -= of_plugin;
    if ((*session)->selected_actions.size() != tree.working_files)
        give_up("not every action was planned");
    for (const ACTION_INTERFACE* const action : qAsConst((*session)->actions))
        if (action->target_files.firstKey()->out_of_date_target)
            give_up("an action is out of date");
    return {cost, session->steps, 0};
}

} // namespace

void bench_peer(const BENCH_OPTIONS& options, FIGURES& figures)
{
    const int actions = options.quick ? 20000 : 100000;
    const SYNTHETIC_TREE tree(options.trees, 2 * actions, 0, actions);
    use_tree(tree.path);
    // In a child: what it leaves in the heap, the children of the rounds would copy page by page.
    run_in_child([&] {
        write_ninja_files(tree);
        return SESSION_RUN();
    });
    SESSION_RUN own;
    COST ninja;
    for (int round = -1; round < 5; ++round) { // the first one warms
        const SESSION_RUN own_run = run_in_child([&] { return run_own(tree); });
        const COST ninja_cost = cost_of([&] { run_ninja(tree); });
        own = round <= 0 ? own_run : least(own, own_run);
        ninja = round <= 0 ? ninja_cost : least(ninja, ninja_cost);
    }
    figures.ratio(QString("%1 actions up to date").arg(actions), own.cost, "ninja -n", ninja, 0.85);
    figures.steps("steps", own.steps);
}
