#include <QtTest/QTest>

#include "tests/contracts/database/database_session.h"
#include "tests/support/cases.h"
#include "tests/support/watched_test.h"

namespace {

const QStringList KEYS{"session", "skips unknown fields"};

void check_session()
{
    DATABASE_SESSION db(current_case().has("skips unknown fields"));
    GOX_COMPARE_TEXT(db.transcript(current_case()["session"]), current_case()["session"]);
}

} // namespace

// What the database answers to one command after the other; the cases are
// transcripts.
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
};

QTEST_GUILESS_MAIN(TST_KV_SESSIONS)
#include "tst_kv_sessions.moc"
