// The report of a large build against writing the same bytes plainly.

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include "bench/bench_session.h"
#include "bench/measure.h"
#include "contracts/services/whole_file.h"
#include "execution/reported_actions.h"

namespace {

constexpr int FILES_OF_FOLDER = 100;

using WRITER = void (*)(const BUILD_REPORT&, QIODevice&);

// A build whose actions each have a target, and were told to keep what they said.
void build(BENCH_SESSION& session, BENCH_PROCESSOR& processor, int count)
{
    session->processors = {&processor};
    for (int i = 0; i < count; ++i) {
        const QString name = QStringLiteral("folder %1/file %2.txt").arg(i / FILES_OF_FOLDER).arg(i);
        FILE_ENTRY* const target = new FILE_ENTRY;
        session->file_map.map.insert(working_file(name), target);
        ACTION_INTERFACE* const action = new BENCH_ACTION(&processor, i);
        action->target_files.insert(target, PHYSICAL_PATH());
        session->actions.append(action);
    }
    session->file_map.lock(true);
    session->selected_actions = session->actions;
    session->results.actions.fill({1, QStringLiteral("reads a file\nwrites a file\n"), 26}, count);
    for (ACTION_INTERFACE* action : qAsConst(session->actions))
        action->state = ACTION_SUCCEEDED;
}

void write_report(const BUILD_SESSION& session, WRITER writer, const QString& path)
{
    BUILD_REPORT report;
    report.started = QDateTime::currentDateTimeUtc();
    report.has_started_up = true;
    report.actions = reported_actions(session, PLAN_JUDGEMENT());
    TARGET_FILE file(path);
    writer(report, file);
    if (!file.commit().isEmpty())
        give_up(file.error());
}

QByteArray bytes_of(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        give_up(path + ": " + file.errorString());
    return file.readAll();
}

} // namespace

void bench_report(const BENCH_OPTIONS& options, FIGURES& figures)
{
    const int count = options.quick ? 10000 : 100000;
    const int rounds = 5;
    const double most_seconds = 1.0 * count / 100000;
    const QTemporaryDir folder;
    BENCH_SESSION session;
    BENCH_PROCESSOR processor(
        [](BENCH_PROCESSOR&, const BENCH_PROCESSOR::FILE_MAP&) { return QVector<ACTION_INTERFACE*>(); });
    build(session, processor, count);
    for (const auto& [form, writer] : {std::pair("JSON", write_json_report), {"JUnit", write_junit_report}}) {
        const QString path = folder.filePath(form), copy = folder.filePath("copy");
        write_report(*session, writer, path);
        const QByteArray bytes = bytes_of(path);
        std::vector<CONTENDER> contenders{{"report", [&] { write_report(*session, writer, path); }},
                                          {"plain", [&] { write_target(copy, bytes); }}};
        race(contenders, rounds);
        const QString what = QStringLiteral("%1 report of %2 actions").arg(form).arg(count);
        figures.ratio(what, contenders[0].best, "its bytes written", contenders[1].best, 0);
        figures.value(what, contenders[0].best.processor, "s of processor", most_seconds);
    }
}
