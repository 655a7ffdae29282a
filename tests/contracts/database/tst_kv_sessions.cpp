#include <QtCore/QRandomGenerator>
#include <QtCore/QRegularExpression>
#include <QtTest/QTest>

#include "tests/contracts/database/database_session.h"
#include "tests/support/cases.h"
#include "tests/support/watched_test.h"

namespace {

using TABLES = QMap<QString, QStringList>; // a record as "show" has it

const char SCHEMA[] =
    R"(<database><table name="a"><field name="id" key="true"/><field name="n" type="integer"/></table>
<table name="b"><field name="id" key="true"/><field name="a" lookup="a.id"/><field name="b" lookup="b.id"/></table>
<table name="c"><field name="n" lookup="a.n"/></table></database>)";

QMap<QString, int> counts(const QStringList& records, int field)
{
    QMap<QString, int> result;
    for (const QString& record : records)
        ++result[record.section('|', field, field)];
    result.remove(QString());
    return result;
}

// A value that more records give now, or fewer have, and that leads nowhere.
bool leads_nowhere(const TABLES& before, const TABLES& after, const QString& table, int field,
                   const QString& target, int target_field)
{
    const auto given = counts(before[table], field), gives = counts(after[table], field);
    const auto had = counts(before[target], target_field), has = counts(after[target], target_field);
    for (const QString& value : gives.keys())
        if (!has.contains(value) && (gives[value] > given[value] || had.contains(value)))
            return true;
    return false;
}

bool is_good(const TABLES& before, const TABLES& after)
{
    return !leads_nowhere(before, after, "b", 1, "a", 0) && !leads_nowhere(before, after, "b", 2, "b", 0) &&
           !leads_nowhere(before, after, "c", 0, "a", 1);
}

// One command on tables that are as plain as can be.
bool change(TABLES& tables, const QStringList& words)
{
    QStringList& records = tables[words[1]];
    const bool is_add = words[0] == "add", has_key = words[1] != "c";
    const auto row_of = [&](const QString& record) { // with the same key
        const QRegularExpression same(record.section('|', 0, 0) + "\\|.*");
        return has_key ? records.indexOf(same) : -1;
    };
    const int row = is_add ? -1 : row_of(words[2]), owner = row_of(words.last());
    const bool has_bad_key = has_key && (words.last().startsWith('|') || (owner >= 0 && owner != row));
    if ((!is_add && row < 0) || (words[0] != "remove" && has_bad_key))
        return false;
    if (is_add)
        records.append(words.last());
    else if (words[0] == "edit")
        records[row] = words.last();
    else
        records.removeAt(row);
    return true;
}

QString text_of(const TABLES& tables)
{
    return (QStringList("a(id,n)") + tables["a"] + QStringList("b(id,a,b)") + tables["b"] +
            QStringList("c(n)") + tables["c"])
        .join('\n');
}

// Few different values, so that they meet.
QString random_command(QRandomGenerator& random)
{
    const auto value = [&](const QString& letters) {
        return letters.mid(random.bounded(letters.size() + 1), 1);
    };
    const QString table = QString("aabbc").mid(random.bounded(5), 1);
    const QString record = table == "a"   ? value("uvwxyz") + '|' + value("123")
                           : table == "b" ? value("pqrs") + '|' + value("uvwxyz") + '|' + value("pqrs")
                                          : value("123");
    const int kind = random.bounded(table == "c" ? 2 : 5);
    const QString key = value(table == "a" ? "uvwxyz" : "pqrs");
    return kind < 2    ? "add " + table + ' ' + record
           : kind == 2 ? "remove " + table + ' ' + key
                       : "edit " + table + ' ' + key + ' ' + record;
}

const char ENDLESS[] =
    "ask WITH RECURSIVE c(x) AS (VALUES (1) UNION ALL SELECT x + 1 FROM c) SELECT count(*) FROM c";

const QStringList KEYS{"session", "skips unknown fields"};

void check_session()
{
    DATABASE_SESSION db(current_case().has("skips unknown fields"));
    GOX_COMPARE_TEXT(db.play(current_case()["session"]), current_case()["session"]);
}

} // namespace

// What the database answers to one command after the other, as transcripts, and
// what plugins rely on whatever they call.
class TST_KV_SESSIONS : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void reading_data() { add_cases("contracts/database/reading.cases", KEYS); }
    void reading() { check_session(); }

    void changing_data() { add_cases("contracts/database/changing.cases", KEYS); }
    void changing() { check_session(); }

    void queries_data() { add_cases("contracts/database/queries.cases", KEYS); }
    void queries() { check_session(); }

    void lookups_data() { add_cases("contracts/database/lookups.cases", KEYS); }
    void lookups() { check_session(); }

    void noted_data() { add_cases("contracts/database/noted.cases", KEYS); }
    void noted() { check_session(); }

    void saving_data() { add_cases("contracts/database/saving.cases", KEYS); }
    void saving() { check_session(); }

    // Random changes, by themselves, several at once and in transactions, with queries
    // and saves between, against a plain model.
    void random_changes()
    {
        QRandomGenerator random(20);
        DATABASE_SESSION db;
        TABLES real, pending;
        bool in_transaction = false;
        db.write("schema.xml", SCHEMA);
        db.run("connect");
        for (int step = 0; step < 800; ++step) {
            const int kind = random.bounded(40);
            QStringList commands;
            for (int i = kind == 39 ? random.bounded(6) : 1; i > 0; --i)
                commands.append(random_command(random));
            QString command = kind == 39 ? "all " + commands.join(" & ") : commands.first();
            TABLES after = in_transaction ? pending : real;
            bool is_done = true;
            if (kind < 2) {
                command = "begin_transaction";
                is_done = !in_transaction;
                in_transaction = true;
            } else if (kind < 4) {
                command = "end_transaction";
                is_done = in_transaction && is_good(real, pending);
                in_transaction = in_transaction && !is_done;
                real = is_done ? pending : real;
            } else if (kind == 4) {
                command = "terminate_transaction";
                is_done = std::exchange(in_transaction, false);
                after = real;
            } else if (kind == 5) {
                command = "save_table a b c";
                is_done = !in_transaction;
            } else {
                for (const QString& one : commands)
                    is_done = is_done && change(after, one.split(' '));
                is_done = is_done && (in_transaction || is_good(real, after));
                if (is_done)
                    (in_transaction ? pending : real) = after;
            }
            if (command == "begin_transaction" && is_done)
                pending = real;
            const QString answer = db.run(command);
            QVERIFY2(is_done == answer.isEmpty(),
                     qPrintable(QString("%1: %2: %3").arg(step).arg(command, answer)));
            QCOMPARE(content_of(db).remove(QRegExp("\\b\\d+: ")), text_of(real));
            const QString number = QString::number(counts(real["a"], 1)["2"]),
                          key = in_transaction && counts(pending["a"], 0).contains("v") ? "true" : "false";
            QCOMPARE(db.run("ask SELECT count(*) AS n FROM a WHERE n = 2"), "n:integer\n" + number);
            QVERIFY(!in_transaction || db.run("key_exists a v") == key);
            if (command.startsWith("save") && is_done)
                QCOMPARE(content_on_disk(db.path()), content_of(db));
        }
    }

    void broken_files_data() { add_cases("contracts/database/broken.cases", {"schema", "packs", "error"}); }
    void broken_files()
    {
        const TEST_CASE one = current_case();
        DATABASE_SESSION db;
        db.run("stock");
        for (const char* const file : {"schema", "packs"})
            if (one.has(file))
                db.write(QString(file) + ".xml", one.bytes(file));
        const QString error = db.run("connect");
        QCOMPARE(error.isEmpty() ? db.run("show packs") : error, "error: " + one["error"]);
        QCOMPARE(db.is_connected(), !one.has("schema"));
    }

    // By itself and in a transaction, and what of it is found again by who reads
    // the files.
    void edits_data() { add_cases("contracts/database/edits.cases", {"do", "tables", "error"}); }
    void edits()
    {
        const TEST_CASE one = current_case();
        for (const bool in_transaction : {false, true}) {
            DATABASE_SESSION db;
            db.run("stock");
            db.write("stray.xml", "somebody's");
            const QString before = content_of(db);
            db.run(in_transaction ? "begin_transaction" : "state");
            QString answer = db.run(one["do"]);
            if (in_transaction && answer.isEmpty()) {
                QCOMPARE(content_of(db), before);
                answer = db.run("end_transaction");
            }
            if (in_transaction && !answer.isEmpty())
                QCOMPARE(db.run("terminate_transaction"), QString());
            QCOMPARE(answer, one.has("error") ? "error: " + one["error"] : QString());
            GOX_COMPARE_TEXT(content_of(db), one.has("tables") ? one["tables"] : before);
            QString error;
            QCOMPARE(db.get_changed_files(error).isEmpty(), one.has("error"));
            QVERIFY2(db.save_table(error, db.get_changed_tables(error)), qPrintable(error));
            QCOMPARE(db.run("save_schema"), QString());
            QCOMPARE(db.get_changed_files(error), QStringList());
            QCOMPARE(content_on_disk(db.path()), content_of(db)); // with their lines
            QCOMPARE(db.run("file stray.xml"), QString("somebody's"));
        }
    }

    // Plugins call by position: operations.txt has the order.
    void keeps_the_order_of_operations()
    {
        const QString header =
            QString::fromUtf8(FILES::bytes(GOX_SOURCE_DIR "/contracts/database/kv_xml_query_interface.h"));
        QRegularExpressionMatchIterator matches =
            QRegularExpression("virtual [^;(]*?(\\w+)\\(").globalMatch(header);
        QStringList operations;
        while (matches.hasNext())
            operations.append(matches.next().captured(1));
        const QByteArray expected = FILES::bytes(GOX_SOURCE_DIR "/tests/contracts/database/operations.txt");
        QCOMPARE(operations.join(' ').toUtf8(), expected.simplified());
    }

    void gives_ids_once()
    {
        DATABASE_SESSION one, other;
        QSet<quint64> ids;
        for (int i = 0; i < 10000; ++i)
            ids << one.new_unique_global_id() << other.new_unique_global_id();
        QCOMPARE(ids.size(), 20000);
        QVERIFY(std::all_of(ids.begin(), ids.end(), [](quint64 id) { return qint64(id) > 0; }));
    }

    void ends_queries_that_would_not_end()
    {
        DATABASE_SESSION db;
        db.run("stock");
        const auto ends_only_that = [&](const QString& cause) {
            return db.run(ENDLESS).endsWith(cause) &&
                   db.run("ask SELECT code FROM regions") == "code\nn\ns"; // before anybody asks
        };
        db.bound_queries([] { return true; }, -1);
        QVERIFY(ends_only_that("it was ended on the way, as the build is to stop"));
        db.bound_queries([] { return false; }, 0);
        QVERIFY(ends_only_that("it takes longer than 0 second(s)"));
        int questions = 0;
        db.bound_queries([&] { return ++questions == 3; }, -1);
        QVERIFY(ends_only_that("it was ended on the way, as the build is to stop"));
        QCOMPARE(questions, 3);
    }

    void bounds_what_it_is_given()
    {
        DATABASE_SESSION db;
        db.run("stock");
        QVERIFY(
            db.run("ask SELECT 1" + QString(100000, ' ')).endsWith("it is longer than 100000 characters"));
        QVERIFY(db.run("ask SELECT 1" + QString(QChar(0)) + "; DELETE")
                    .endsWith("it must be one statement only"));
        QVERIFY(db.run("ask " + QString(300, '.')).contains("query \"" + QString(200, '.') + "...\": "));
        QStringList fields;
        for (int i = 0; i < 501; ++i)
            fields.append("f" + QString::number(i));
        QCOMPARE(db.run("fields log " + fields.join(',')),
                 QString("error: table \"log\" has more than 500 fields"));
        QCOMPARE(db.run("fields log " + fields.mid(1).join(',')), QString());
    }
};

QTEST_GUILESS_MAIN(TST_KV_SESSIONS)
#include "tst_kv_sessions.moc"
