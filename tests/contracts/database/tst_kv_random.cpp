#include <QtCore/QRandomGenerator>
#include <QtTest/QTest>

#include "tests/contracts/database/database_session.h"
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
    QStringList keys;
    for (const QString& record : records)
        keys.append(record.section('|', 0, 0));
    const int row = has_key && !is_add ? keys.indexOf(words[2]) : -1;
    const QString key = words.last().section('|', 0, 0);
    if (!is_add && row < 0)
        return false;
    if (words[0] != "remove" && has_key &&
        (key.isEmpty() || (keys.contains(key) && keys.indexOf(key) != row)))
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

} // namespace

// Random changes, by themselves, several at once and in transactions, with queries
// and saves between, against a plain model.
class TST_KV_RANDOM : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void changes()
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
};

QTEST_GUILESS_MAIN(TST_KV_RANDOM)
#include "tst_kv_random.moc"
