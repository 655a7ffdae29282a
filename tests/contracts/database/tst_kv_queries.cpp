#include <QtCore/QThread>
#include <QtTest/QTest>

#include "tests/contracts/database/database_commands.h"
#include "tests/support/watched_test.h"

namespace {

QStringList ask(const KV_XML_QUERY_INTERFACE& db, const QString& sql, const QVariantList& values = {})
{
    QString error;
    KV_QUERY_RESULTS results;
    db.get_query_data_from_simple_sql(error, results, sql, values);
    return error.isEmpty() ? text_of(results.records) : QStringList(error);
}

const QStringList TYPES{"text", "integer", "real", "boolean"};

constexpr char QUERIES[] = R"(
name northern => name text => a
name southern =>  => schema.xml: there is no query "southern"
name broken =>  => query "SELECT missing FROM packs": no such column: missing
string <query>SELECT count(*) AS n FROM packs</query> => n integer => 3
string <query><b/></query> =>  => "<query><b/></query>": query:1:12: <query> can hold text only, not <b>
string SELECT 1 =>  => "SELECT 1": query:1:2: Start tag expected.
sql SELECT code, scale, open, scale * 2 AS twice FROM Regions ORDER BY 1 => code text, scale real, open boolean, twice real => n|2.5||5; s|1|true|2
sql SELECT size, open FROM packs, regions WHERE 0 => size integer, open boolean => 
sql SELECT name FROM packs WHERE note IS NULL AND size < 2 => name text => a; c
sql SELECT p.name, r.scale FROM packs p JOIN regions r ON r.code = p.region => name text, scale real => a|2.5
values SELECT name FROM packs WHERE note = ? AND size = ? => name text => b
sql SELECT name FROM packs WHERE note = ? =>  => query "SELECT name FROM packs WHERE note = ?": Parameter count mismatch
sql SELECT  FROM packs =>  => query "SELECT FROM packs": near "FROM": syntax error
sql SELECT * FROM units =>  => query "SELECT * FROM units": no such table: units
sql SELECT * FROM bad =>  => query "SELECT * FROM bad": bad.xml:1:1: Premature end of document.
sql SELECT 'bad' AS x /* bad */ -- bad => x text => bad
sql SELECT 'sqlite_x' AS x => x text => sqlite_x
sql SELECT * FROM twins =>  => query "SELECT * FROM twins": table "twins" can't be queried: duplicate column name: A
)";

// What would write, reach another file or never end. %1 is a file.
constexpr char REFUSED[] = R"(
DELETE FROM packs
WITH x AS (SELECT 1) DELETE FROM packs
ATTACH '%1' AS x
VACUUM INTO '%1'
PRAGMA query_only = OFF
SELECT * FROM pragma_query_only(0)
DROP TABLE packs
'
EXPLAIN
SELECT 1; DELETE FROM packs
SELECT 1; ATTACH '%1' AS x
/* SELECT */ INSERT INTO packs VALUES(1)
SELECT * FROM (WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c) SELECT x FROM c)
SELECT $x('), (WITH c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c) SELECT x FROM c), (')
SELECT "a""" , (WITH c AS (SELECT 1) SELECT * FROM c)
SELECT load_extension('%1')
SELECT writefile('%1', 'x')
SELECT * FROM sqlite_master
SELECT * FROM 'sqlite_master'
)";

} // namespace

// Queries over the tables, from whichever thread.
class TST_KV_QUERIES : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    // The columns as "name type" and the records, or the error.
    void queries_data()
    {
        QTest::addColumn<QString>("expected_columns");
        QTest::addColumn<QString>("expected");
        for (const QStringList& row : rows_of(QUERIES))
            QTest::newRow(qPrintable(row.at(0))) << row.at(1) << row.at(2);
    }
    void queries()
    {
        QFETCH(QString, expected_columns);
        QFETCH(QString, expected);
        DATABASE_SCENE db;
        db.connect_stock();
        db.write("schema.xml", FILES::bytes(db.path("schema.xml"))
                                   .replace("<query name=\"n",
                                            "<table name='bad'><field name='x'/></table><table name='twins'>"
                                            "<field name='a'/><field name='A'/></table><query name=\"n"));
        db.write("bad.xml", "x");
        QCOMPARE(db.connect_here(), QString());
        const QString form = QString(QTest::currentDataTag()).section(' ', 0, 0);
        const QString query = QString(QTest::currentDataTag()).section(' ', 1);
        QString error = "left over";
        KV_QUERY_RESULTS results;
        results.records = {record_of({"left over"})};
        if (form == "name")
            db.get_query_data(error, results, query);
        else if (form == "string")
            db.get_query_data_from_string(error, results, query);
        else
            db.get_query_data_from_simple_sql(error, results, query,
                                              form == "values" ? QVariantList{"x", -5} : QVariantList());
        QStringList columns;
        for (const KV_FIELD_SCHEMA& column : qAsConst(results.columns))
            columns.append(column.name + ' ' + TYPES.at(column.type));
        QCOMPARE(columns.join(", "), expected_columns);
        QCOMPARE(error.isEmpty() ? text_of(results.records).join("; ") : db.without_folder(error), expected);
        if (!error.isEmpty())
            QCOMPARE(db.get_last_error(), error);
    }

    void only_reads_data()
    {
        QTest::addColumn<QString>("sql");
        for (const QStringList& row : rows_of(REFUSED))
            QTest::newRow(qPrintable(row.at(0))) << row.at(0);
        QTest::newRow("empty") << QString();
        QTest::newRow("mark") << QStringLiteral(
            "SELECT * FROM (\ufeffWITH c(x) AS (SELECT 1) SELECT x FROM c)");
        QTest::newRow("long") << "SELECT 1" + QString(200000, ' ');
    }
    void only_reads()
    {
        QFETCH(QString, sql);
        DATABASE_SCENE db;
        db.connect_stock();
        const QStringList all = ask(db, "SELECT * FROM packs");
        QCOMPARE(all.size(), 3);
        const QString query = sql.contains("%1") ? sql.arg(db.path("made")) : sql;
        QString error;
        KV_QUERY_RESULTS results;
        db.get_query_data_from_simple_sql(error, results, query, {});
        QVERIFY2(error.startsWith("query \"" + query.simplified().left(200)), qPrintable(error));
        QVERIFY(error.size() < 500);
        QVERIFY(results.columns.isEmpty() && results.records.isEmpty());
        QCOMPARE(ask(db, "SELECT * FROM packs"), all);
        QCOMPARE(FILES::below(db.folder()).size(), 4);
    }

    void follows_changes()
    {
        DATABASE_SCENE db;
        db.connect_stock();
        QString error;
        const QString sql = "SELECT name FROM packs WHERE size = 7";
        QCOMPARE(ask(db, sql), QStringList());
        QVERIFY(db.edit_field_data(error, "packs", "b", "size", "7"));
        // SQLite takes a text for a name where only a name can stand.
        for (const char* const from : {"'PACKS'", "main . 'packs'", "('packs')", "(SELECT 1), 'packs'"}) {
            QCOMPARE(ask(db, QString("SELECT sum(size) FROM %1").arg(from)), QStringList("9"));
            QVERIFY(db.edit_field_data(error, "packs", "b", "size", "8"));
            QCOMPARE(ask(db, QString("SELECT sum(size) FROM %1").arg(from)), QStringList("10"));
            QVERIFY(db.edit_field_data(error, "packs", "b", "size", "7"));
        }
        QCOMPARE(ask(db, sql), QStringList("b"));
        QVERIFY(db.begin_transaction(error, false));
        QVERIFY(db.remove_record(error, "packs", "b"));
        QCOMPARE(ask(db, sql), QStringList("b"));
        QVERIFY(db.end_transaction(error));
        QCOMPARE(ask(db, sql), QStringList());
        QVERIFY(db.revert_changes(error));
        QCOMPARE(ask(db, "SELECT name FROM packs"), QStringList({"a", "b", "c"}));
        QCOMPARE(run(db, "fields packs name*,size,Size"), QString());
        QVERIFY(ask(db, sql).first().endsWith("duplicate column name: Size"));
        QVERIFY(db.remove_table(error, "packs"));
        QVERIFY(ask(db, sql).first().endsWith("no such table: packs"));
        // Another database under the same names.
        DATABASE_SCENE other;
        other.connect_stock();
        QVERIFY(other.remove_record(error, "packs", "a"));
        QCOMPARE(ask(other, "SELECT count(*) FROM packs"), QStringList("2"));
        QCOMPARE(db.connect_here(), QString());
        QCOMPARE(ask(db, "SELECT count(*) FROM packs"), QStringList("3"));
    }

    // The processors ask on the thread of the windows, the actions on that of the
    // build, in turn. The thread that made the copies is gone before the next asks.
    void serves_two_threads()
    {
        DATABASE_SCENE db;
        db.connect_stock();
        QStringList found;
        for (int round = 0; round < 4; ++round) {
            const QScopedPointer<QThread> thread(QThread::create([&] {
                found += run(db, QString("add packs t%1|||").arg(round));
                found += ask(db, "SELECT count(*) FROM packs") + ask(db, "SELECT max(code) FROM regions");
            }));
            thread->start();
            QVERIFY(thread->wait());
            if (round > 0)
                found += ask(db, "SELECT count(*) FROM packs");
        }
        QCOMPARE(found.join(' '), QString(" 4 s  5 s 5  6 s 6  7 s 7"));
        db.disconnect();
        QCOMPARE(ask(db, "SELECT 1"), QStringList("no database is connected"));
    }

    void follows_lookups()
    {
        DATABASE_SCENE db;
        db.write("schema.xml",
                 R"(<database><table name="a"><field name="id" key="true"/><field name="text"/></table>
        <table name="b"><field name="id" key="true" lookup="a.id"/><field name="next" lookup="b.id"/></table>
        <table name="c"><field name="b" key="true" lookup="b.id"/></table></database>)");
        db.write("a.xml", "<table name='a'><record id='1' text='one'/><record id='2'/></table>");
        db.write("b.xml", "<table name='b'><record id='1' next='1'/><record id='9'/></table>");
        db.connect_here();
        QString error;
        QSet<QString> up{"a"}, down{"c"};
        QVERIFY(db.add_dependent_tables_to_set(error, up) && db.add_dependency_tables_to_set(error, down));
        QCOMPARE(up, QSet<QString>({"a", "b", "c"}));
        QCOMPARE(down, up);
        QCOMPARE(db.collect_dependant_tables(error, "b"), QStringList("c"));
        QCOMPARE(db.collect_dependency_tables(error, "b"), QStringList("a"));
        QCOMPARE(db.relationship_data(error, "a").size(), 1);
        QCOMPARE(db.relationship_data(error, QString()).size(), 3);
        QVERIFY(db.any_dependents_using_existing_value(error, "a", "id", "1"));
        QVERIFY(!db.any_dependents_using_existing_value(error, "a", "id", "2"));
        QCOMPARE(db.dependents_of_field_using_value(error, "b", "id", "1").size(), 1);
        QVERIFY(db.dependency_value_exists(error, "b", "id", "2"));
        QVERIFY(!db.dependency_value_exists(error, "b", "id", "3") && error.isEmpty());
        QVERIFY(db.dependency_value_exists(error, "a", "text", "3"));
        QCOMPARE(db.get_field_lookup_value(error, "b", "1", "id", "text"), QString("one"));
        QCOMPARE(db.get_field_lookup_value(error, "b", "9", "id", "text"), QString());
        QCOMPARE(error, QString("value \"9\" of field \"b.id\" is not found in \"a.id\""));
        QCOMPARE(db.get_field_lookup_value(error, "b", "9", "next", "id"), QString());
        QCOMPARE(error, QString());
        QCOMPARE(db.get_field_lookup_values(error, "c", "b"), QStringList({"1", "9"}));
        const METAFIELD_AND_SCHEMA end = db.get_main_dependency_field_data(error, "c", "b");
        QCOMPARE(end.table + '.' + end.field.name, QString("a.id"));
        QCOMPARE(db.get_main_dependency_field_data(error, "b", "next").table, QString("a"));
    }
};

QTEST_GUILESS_MAIN(TST_KV_QUERIES)
#include "tst_kv_queries.moc"
