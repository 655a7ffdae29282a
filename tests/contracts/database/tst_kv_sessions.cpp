#include <QtCore/QRegularExpression>
#include <QtCore/QThread>
#include <QtTest/QTest>

#include "tests/contracts/database/database_session.h"
#include "tests/support/cases.h"
#include "tests/support/watched_test.h"

namespace {

const char ENDLESS[] =
    "ask WITH RECURSIVE c(x) AS (VALUES (1) UNION ALL SELECT x + 1 FROM c) SELECT count(*) FROM c";

const QStringList KEYS{"session", "skips unknown fields"};

void check_session()
{
    DATABASE_SESSION db(current_case().has("skips unknown fields"));
    GOX_COMPARE_TEXT(db.transcript(current_case()["session"]), current_case()["session"]);
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

    void saving_data() { add_cases("contracts/database/saving.cases", KEYS); }
    void saving() { check_session(); }

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

    // The processors ask on the thread of the windows, the actions on that of the
    // build, in turn.
    void serves_two_threads()
    {
        DATABASE_SESSION db;
        QString found = db.run({"stock", "ask SELECT count(*) AS n FROM packs"});
        const QScopedPointer<QThread> thread(QThread::create([&] {
            found += db.run({"add packs t|||", "ask SELECT count(*) AS n FROM packs"});
        }));
        thread->start();
        QVERIFY(thread->wait());
        QCOMPARE(found + db.run("ask SELECT max(name) AS m FROM packs"),
                 QString("n:integer\n3n:integer\n4m\nt"));
    }

    void ends_queries_that_would_not_end()
    {
        DATABASE_SESSION db;
        db.run("stock");
        bool is_stopped = true;
        db.bound_queries([&] { return is_stopped; }, -1);
        QVERIFY(db.run(ENDLESS).endsWith("it was ended on the way, as the build is to stop"));
        QCOMPARE(db.run("ask SELECT code FROM regions"), QString("code\nn\ns")); // before anybody asks
        is_stopped = false;
        db.bound_queries([&] { return is_stopped; }, 0);
        QVERIFY(db.run(ENDLESS).endsWith("it takes longer than 0 second(s)"));
        QCOMPARE(db.run("ask SELECT code FROM regions"), QString("code\nn\ns"));
        int questions = 0;
        db.bound_queries([&] { return ++questions == 3; }, -1);
        QVERIFY(db.run(ENDLESS).endsWith("it was ended on the way, as the build is to stop"));
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
