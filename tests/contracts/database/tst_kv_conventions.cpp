#include <QtCore/QRegularExpression>
#include <QtCore/QThread>
#include <QtTest/QTest>

#include "tests/contracts/database/database_session.h"
#include "tests/support/watched_test.h"

namespace {

const char ENDLESS[] =
    "ask WITH RECURSIVE c(x) AS (VALUES (1) UNION ALL SELECT x + 1 FROM c) SELECT count(*) FROM c";

} // namespace

// What plugins rely on whatever they call.
class TST_KV_CONVENTIONS : public WATCHED_TEST
{
    Q_OBJECT

private slots:
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
            for (const quint64 id : {one.new_unique_global_id(), other.new_unique_global_id()}) {
                QVERIFY(qint64(id) > 0);
                ids.insert(id);
            }
        QCOMPARE(ids.size(), 20000);
    }

    // The processors ask on the thread of the windows, the actions on that of the
    // build, in turn.
    void serves_two_threads()
    {
        DATABASE_SESSION db;
        db.run("stock");
        QStringList found;
        for (int round = 0; round < 3; ++round) {
            const QScopedPointer<QThread> thread(QThread::create([&] {
                found +=
                    db.run({QString("add packs t%1|||").arg(round), "ask SELECT count(*) AS n FROM packs"});
            }));
            thread->start();
            QVERIFY(thread->wait());
            found += db.run("ask SELECT max(name) AS m FROM packs");
        }
        QCOMPARE(found.join(' ').simplified(), QString("n:integer 4 m t0 n:integer 5 m t1 n:integer 6 m t2"));
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

QTEST_GUILESS_MAIN(TST_KV_CONVENTIONS)
#include "tst_kv_conventions.moc"
