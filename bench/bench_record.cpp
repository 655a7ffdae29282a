// The build record: reading it against a start-up over the same actions and against a
// bare loop over its rows, writing it against a bare loop of inserts.

#include <QtCore/QElapsedTimer>
#include <QtCore/QHash>
#include <QtCore/QTemporaryDir>

#include <sqlite3.h>
#include <time.h>

#include "bench/bench_session.h"
#include "bench/measure.h"
#include "bench/synthetic_tree.h"
#include "record/record_reader.h"
#include "record/record_writer.h"

namespace {

constexpr int INPUTS = 3;
constexpr int ACTIONS_A_COMMIT = 20000;
const QString PLAIN = QStringLiteral("/plain.sqlite");
const QString NAME = QStringLiteral("gox_build_record.sqlite");

quint64 key_of(int action)
{
    return hash_64(QString::number(action));
}

RECORDED_FILE file_of(const QString& logical_root, const QString& root, int number, int run)
{
    const QString name = SYNTHETIC_TREE::file_name(number);
    return {logical_root + name.toLower(), root + name, {1700000000000 + number + run, number * 7 + run}};
}

// What the build thread would copy. `run` makes other times and sizes of the same files.
RECORDED_ACTION action_of(int number, int run)
{
    RECORDED_ACTION action;
    action.entry.key = key_of(number);
    action.entry.state = {quint64(number), quint64(run)};
    action.entry.duration = number % 1000;
    action.surroundings = {"GOX_bench.release.dll", {1, 2}, false, {}, {}};
    action.details.name = "bench / Action " + QString::number(number);
    action.details.inputs.reserve(INPUTS);
    for (int i = 0; i < INPUTS; ++i)
        action.details.inputs.append(file_of("<raw>/", "raw_data/", number * INPUTS + i, run));
    action.details.targets = {file_of("<working>/", "working_data/", number, run)};
    action.details.answers = {{action.details.inputs.first().logical, "texture", true, {{"format", "bc7"}}}};
    return action;
}

QVector<RECORDED_ACTION> actions_of(int count, int run)
{
    QVector<RECORDED_ACTION> actions;
    for (int i = 0; i < count; ++i)
        actions.append(action_of(i, run));
    return actions;
}

class BENCH_JOB : public RECORD_JOB
{
public:
    explicit BENCH_JOB(const RECORDED_ACTION& action) : m_action(action)
    {
        m_action.details.inputs.detach();
        m_action.details.targets.detach();
        m_action.details.answers.detach();
    }
    void complete(RECORDED_ACTION& action) override { action = std::move(m_action); }

private:
    RECORDED_ACTION m_action;
};

double thread_seconds()
{
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) + double(time.tv_nsec) * 1e-9;
}

struct WRITING
{
    COST cost;              // the processor's part: of the writer's thread
    double put_seconds = 0; // of the thread that puts, from beginning to end
};

// Jobs come one by one, as from a build. They are made ahead: a thread that asks for
// memory all the time, as no build does, holds up the one that gives it back. Their
// texts, but not their lists, are those of the files, which a build goes on having.
WRITING write_record(const QString& folder, int count, int run)
{
    WRITING writing;
    const QVector<RECORDED_ACTION> actions = actions_of(count, run);
    std::vector<std::unique_ptr<RECORD_JOB>> jobs;
    for (const RECORDED_ACTION& action : actions)
        jobs.push_back(std::make_unique<BENCH_JOB>(action));
    double own_seconds = 0;
    writing.cost = cost_of([&] {
        const double start = thread_seconds();
        RECORD_WRITER writer(folder, NAME, read_records(folder, NAME, RECORD_ACCESS::READ_AND_WRITE));
        for (std::unique_ptr<RECORD_JOB>& job : jobs) {
            QElapsedTimer watch;
            watch.start();
            writer.put(std::move(job));
            writing.put_seconds += double(watch.nsecsElapsed()) * 1e-9;
        }
        const QString error = writer.finish();
        if (!error.isEmpty())
            give_up(error);
        own_seconds = thread_seconds() - start;
    });
    writing.cost.processor -= own_seconds;
    return writing;
}

void run_sql(sqlite3* database, const char* sql)
{
    if (sqlite3_exec(database, sql, nullptr, nullptr, nullptr) != SQLITE_OK)
        give_up(QString("%1: %2").arg(sql, sqlite3_errmsg(database)));
}

sqlite3* open_plain(const QString& path)
{
    sqlite3* database = nullptr;
    if (sqlite3_open(path.toUtf8().constData(), &database) != SQLITE_OK)
        give_up(path + " can't be opened");
    run_sql(database, "PRAGMA synchronous = NORMAL");
    return database;
}

QByteArray plain_list(const QVector<RECORDED_FILE>& files)
{
    QByteArray list;
    for (const RECORDED_FILE& file : files)
        list += file.logical.toUtf8() + '\t' + file.place.toUtf8() + '\t' +
                QByteArray::number(file.stamp.time) + '\t' + QByteArray::number(file.stamp.size) + '\n';
    return list;
}

// What a first version would be: a row an action under its key, files as text.
void write_plainly(const QString& path, const QVector<RECORDED_ACTION>& actions)
{
    sqlite3* const database = open_plain(path);
    run_sql(database, "CREATE TABLE IF NOT EXISTS actions (key INTEGER PRIMARY KEY, name TEXT, state BLOB, "
                      "ended INTEGER, duration INTEGER, inputs TEXT, targets TEXT)");
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(database, "INSERT OR REPLACE INTO actions VALUES (?, ?, ?, ?, ?, ?, ?)", -1, &insert,
                       nullptr);
    for (int i = 0; i < actions.size(); ++i) {
        if (i % ACTIONS_A_COMMIT == 0)
            run_sql(database, i == 0 ? "BEGIN" : "COMMIT; BEGIN");
        const RECORDED_ACTION& action = actions.at(i);
        const QByteArray name = action.details.name.toUtf8();
        const QByteArray inputs = plain_list(action.details.inputs);
        const QByteArray targets = plain_list(action.details.targets);
        sqlite3_bind_int64(insert, 1, qint64(action.entry.key));
        sqlite3_bind_text(insert, 2, name.constData(), name.size(), SQLITE_STATIC);
        sqlite3_bind_blob(insert, 3, &action.entry.state, sizeof action.entry.state, SQLITE_STATIC);
        sqlite3_bind_int64(insert, 4, i);
        sqlite3_bind_int64(insert, 5, action.entry.duration);
        sqlite3_bind_text(insert, 6, inputs.constData(), inputs.size(), SQLITE_STATIC);
        sqlite3_bind_text(insert, 7, targets.constData(), targets.size(), SQLITE_STATIC);
        if (sqlite3_step(insert) != SQLITE_DONE)
            give_up(sqlite3_errmsg(database));
        sqlite3_reset(insert);
    }
    run_sql(database, "COMMIT");
    sqlite3_finalize(insert);
    sqlite3_close(database);
}

// All rows of the plain one, with no check of anything.
int read_plainly(const QString& path)
{
    sqlite3* const database = open_plain(path);
    sqlite3_stmt* select = nullptr;
    sqlite3_prepare_v2(database, "SELECT key, state FROM actions", -1, &select, nullptr);
    QHash<quint64, QByteArray> rows;
    while (sqlite3_step(select) == SQLITE_ROW)
        rows.insert(quint64(sqlite3_column_int64(select, 0)),
                    QByteArray(static_cast<const char*>(sqlite3_column_blob(select, 1)),
                               sqlite3_column_bytes(select, 1)));
    sqlite3_finalize(select);
    sqlite3_close(database);
    return rows.size();
}

void measure_writing(const QString& folder, int count, FIGURES& figures)
{
    WRITING first = write_record(folder, count, 0);
    WRITING again;
    COST plain;
    const QVector<RECORDED_ACTION> actions = actions_of(count, 0);
    write_plainly(folder + PLAIN, actions);
    for (int round = 0; round < 3; ++round) {
        const WRITING writing = write_record(folder, count, round + 1);
        const COST plain_cost = cost_of([&] { write_plainly(folder + PLAIN, actions); });
        again.cost = round == 0 ? writing.cost : least(again.cost, writing.cost);
        again.put_seconds = round == 0 ? writing.put_seconds : qMin(again.put_seconds, writing.put_seconds);
        plain = round == 0 ? plain_cost : least(plain, plain_cost);
    }
    const QString what = QString("record of %1 actions").arg(count);
    const auto processor_only = [](const COST& cost) { return COST{cost.processor, cost.processor}; };
    figures.ratio(what + ", processor time", processor_only(again.cost), "a bare loop of inserts",
                  processor_only(plain), 0.8);
    figures.value(what + ", writer's thread", first.cost.processor / count * 1e6, "us an action", 5);
    figures.value(what + ", the same again", again.cost.processor / count * 1e6, "us an action", 5);
    figures.value(what + ", build thread", again.put_seconds / count * 1e6, "us an action", 1);
}

COST measure_reading(const QString& folder, int count, FIGURES& figures)
{
    std::vector<CONTENDER> contenders = {
        {"own",
         [&] {
             const auto content = read_records(folder, NAME, RECORD_ACCESS::READ_ONLY);
             if (!content->problems().isEmpty() || !content->find(key_of(count - 1)))
                 give_up("the record can't be read: " + content->problems().join('\n'));
         }},
        {"plain",
         [&] {
             if (read_plainly(folder + PLAIN) != count)
                 give_up("not all rows are there");
         }},
    };
    race(contenders, 5);
    figures.ratio(QString("record of %1 actions, read").arg(count), contenders[0].best,
                  "the rows of the bare loop", contenders[1].best, 0.5);
    return contenders[0].best;
}

} // namespace

void bench_record(const BENCH_OPTIONS& options, FIGURES& figures)
{
    const SYNTHETIC_TREE tree = SYNTHETIC_TREE::of_size(options.trees, options.quick ? 100000 : 1000000);
    const QTemporaryDir folder;
    measure_writing(folder.path(), tree.working_files, figures);
    const COST reading = measure_reading(folder.path(), tree.working_files, figures);
    use_tree(tree.path);
    SESSION_RUN start_up = run_in_child([&] { return start_up_over(tree); }); // warms
    start_up = run_in_child([&] { return start_up_over(tree); });
    figures.ratio(QString("record of %1 actions, read").arg(tree.working_files), reading,
                  "the start-up with these actions", start_up.cost, 0.25);
}
