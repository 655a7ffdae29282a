#include "bench/bench_session.h"

#include <QtCore/QDataStream>
#include <QtCore/QDirIterator>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QTextStream>

#include <sys/wait.h>
#include <unistd.h>

#include "bench/measure.h"
#include "bench/synthetic_tree.h"
#include "contracts/paths/paths.h"

double BENCH_ACTION::s_seconds = 0;

namespace {

constexpr int INPUTS = 8;

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

// A line of /proc/self/status, in bytes.
double memory(const char* name)
{
    QFile file("/proc/self/status");
    if (!file.open(QIODevice::ReadOnly))
        give_up(file.fileName() + ": " + file.errorString());
    for (const QByteArray& line : file.readAll().split('\n'))
        if (line.startsWith(name))
            return line.simplified().split(' ').value(1).toDouble() * 1024;
    give_up(QString("no %1 in %2").arg(name, file.fileName()));
}

[[noreturn]] void run_as_child(const std::function<SESSION_RUN()>& run, int pipe_end)
{
    const double before = memory("VmRSS:");
    SESSION_RUN result = run();
    result.peak_memory = memory("VmHWM:") - before;
    QFile output;
    if (!output.open(pipe_end, QIODevice::WriteOnly))
        give_up(output.errorString());
    QDataStream stream(&output);
    stream << result.cost.time << result.cost.processor << result.peak_memory << result.steps.size();
    for (const auto& step : qAsConst(result.steps))
        stream << step.first << step.second.time << step.second.processor;
    output.flush();
    _exit(0);
}

} // namespace

void BENCH_ACTION::collect_files(QVector<LOGICAL_PATH>& inputs, QVector<ACTION_TARGET>& targets, QDateTime&,
                                 LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&, RULE_CACHE&)
{
    QElapsedTimer watch;
    watch.start();
    inputs += inputs_to_report;
    targets += targets_to_report;
    s_seconds += double(watch.nsecsElapsed()) * 1e-9;
}

QVector<ACTION_INTERFACE*> BENCH_PROCESSOR::collect_actions(FILE_MAP& files, RULE_CACHE&)
{
    QVector<ACTION_INTERFACE*> actions;
    seconds += cost_of([&] { actions = m_maker(*this, files); }).time;
    return actions;
}

BENCH_SESSION::BENCH_SESSION()
    : m_metrics("localhost", 12345, "GOX bench", 44),
      m_p4(true, true, false),
      m_splash(nullptr, Qt::WindowFlags())
{
    m_configuration.silent = true;
    m_configuration.load_asset_graph = false;
    m_session = std::make_unique<BUILD_SESSION>(m_configuration, m_options, m_metrics, m_p4);
}

void BENCH_SESSION::start_up(PROCESSOR_INTERFACE* processor)
{
    QString text;
    QTextStream log(&text);
    BUILD_SESSION& session = *m_session;
    session.processors = {processor};
    step("directories", [&] { session.calculate_directories(); });
    step("scan", [&] {
        if (!session.scan_local_files(log))
            give_up("the scan failed: " + text);
    });
    step("rules", [&] { session.load_rule_files(); });
    step("virtual files", [&] { session.collect_virtual_files(); });
    Tallyline::StopWatch collection;
    Tallyline::StopWatch files;
    step("collection", [&] { session.collect_actions(m_splash, collection, files); });
    step("lock", [&] { session.file_map.lock(true); });
    step("dependencies", [&] { session.analyse_dependencies(); });
}

void BENCH_SESSION::step(const char* name, const std::function<void()>& work)
{
    steps.append({name, cost_of(work)});
}

SESSION_RUN start_up_over(const SYNTHETIC_TREE& tree)
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

SESSION_RUN run_in_child(const std::function<SESSION_RUN()>& run)
{
    int ends[2];
    if (pipe(ends) != 0)
        give_up("pipe: " + qt_error_string());
    const pid_t child = fork();
    if (child < 0)
        give_up("fork: " + qt_error_string());
    if (child == 0)
        run_as_child(run, ends[1]);
    close(ends[1]);
    QFile input;
    if (!input.open(ends[0], QIODevice::ReadOnly, QFileDevice::AutoCloseHandle))
        give_up(input.errorString());
    const QByteArray bytes = input.readAll();
    int status = 0;
    if (waitpid(child, &status, 0) != child || status != 0)
        give_up("a session did not end well");

    SESSION_RUN result;
    int steps = 0;
    QDataStream stream(bytes);
    stream >> result.cost.time >> result.cost.processor >> result.peak_memory >> steps;
    for (int i = 0; i < steps; ++i) {
        QPair<QString, COST> step;
        stream >> step.first >> step.second.time >> step.second.processor;
        result.steps.append(step);
    }
    return result;
}

SESSION_RUN least(const SESSION_RUN& a, const SESSION_RUN& b)
{
    SESSION_RUN result = a.cost.time < b.cost.time ? a : b;
    result.cost = least(a.cost, b.cost);
    return result;
}

void use_tree(const QString& tree)
{
    if (!PATHS::initialise(tree + "/tool"))
        give_up(tree + ": no data tree");
}

int plain_walk(const QString& root)
{
    int count = 0;
    QDirIterator walk(root, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        walk.next();
        if (walk.fileInfo().lastModified().isNull())
            give_up(walk.filePath() + ": no time");
        ++count;
    }
    return count;
}

LOGICAL_PATH raw_file(const QString& name)
{
    return LOGICAL_PATH("<raw>/" + lower_case_by_letter(name));
}

LOGICAL_PATH working_file(const QString& name)
{
    return LOGICAL_PATH("<working>/" + lower_case_by_letter(name));
}

ACTION_TARGET working_target(const QString& tree, const QString& name)
{
    ACTION_TARGET target;
    target.physical_path = PHYSICAL_PATH(tree + "/working_data/" + name);
    target.logical_path = working_file(name);
    return target;
}
