#include <QtCore/QElapsedTimer>
#include <QtTest/QTest>

#include "contracts/services/p4_connection.h"
#include "tests/support/files.h"
#include "tests/support/p4_scene.h"
#include "tests/support/rows.h"
#include "tests/support/temporary_tree.h"
#include "tests/support/watched_test.h"

using FAILURES = ROWS<QByteArray, QStringList>; // steps, words

class tst_p4_connection : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void names_reach_the_client()
    {
        TEMPORARY_TREE tree;
        P4_SCENE scene;
        P4_CONNECTION p4(true, true, true);
        const QString special = QStringLiteral("raw_data/a b@1#2%3*.txt");
        tree.write(special, "text");
        tree.set_permissions(special, 0444);
        const QString path = tree.path(special);
        const QString encoded = tree.path("raw_data/a b%401%232%253%2A.txt");
        scene.answers("edit", "out //depot/can't - a#1 - opened for edit\nwritable");
        QCOMPARE(p4.open_for_edit({path}), QString());
        scene.answers("add", "err A remark: the server goes down tonight.");
        QCOMPARE(p4.open_for_add({path}), QString());
        QStringList lines;
        const auto take = [&](const QByteArray& line) {
            lines.append(line);
            return QString();
        };
        scene.answers("fstat",
                      "out ... depotFile //depot/a\nout \ncomplain 2000 /b - no such file(s).\nexit 1");
        QCOMPARE(p4.read_file_states({"//depot/..."}, take), QString());
        scene.answers("filelog", "out //depot/a\nout ... #3 change 1\nout ... ... branch into //depot/b");
        QCOMPARE(p4.read_history({"//depot/..."}, take), QString());
        QCOMPARE(lines.join('|'),
                 QStringLiteral("... depotFile //depot/a||//depot/a|#3 change 1|... branch into //depot/b"));
        QCOMPARE(scene.calls(),
                 "-d HERE -ztag -x - edit\n" + encoded.toUtf8() + "\n-d HERE -ztag -x - add -f\n" +
                     path.toUtf8() +
                     "\n-d HERE -ztag -x - fstat -T action,depotFile,haveRev,headAction,headRev,headTime\n"
                     "//depot/...\n-d HERE -x - filelog -t -m 1\n//depot/...#have\n");
        QCOMPARE(P4_CONNECTION::plain_name(P4_CONNECTION::specification(path)), path);
        QCOMPARE(P4_CONNECTION::plain_name("50%/%2a%4%25402"), QStringLiteral("50%/*%4%402"));
    }

    void runs_only_when_it_should()
    {
        P4_SCENE scene;
        P4_CONNECTION off(true, true, false);
        QVERIFY(off.open_for_edit({"/a"}).contains("p4_option"));
        QVERIFY(off.open_for_add({"/a"}).contains("p4_option"));
        QVERIFY(off.read_file_states({"/a"}, nullptr).contains("p4_option"));
        P4_CONNECTION on(true, true, true);
        QCOMPARE(on.open_for_edit({}) + on.open_for_add({}) + on.read_history({}, nullptr), QString());
        // Names that the client would take for several files, or for several names.
        QVERIFY(on.open_for_edit({"/a", "/b/.../c"}).contains("\"...\""));
        QVERIFY(on.open_for_add({"/a\nb"}).contains("line end"));
        QCOMPARE(scene.calls(), QByteArray());
        qputenv("PATH", "/nowhere");
        QVERIFY(on.open_for_edit({"/a"}).contains("\"p4\" was not found"));
    }

    void failures_name_their_cause_data()
    {
        const FAILURES row;
        row("login", "err Your session has expired, please login again.\nexit 1",
            {"login of this user", "session has expired", "p4 login"});
        row("server", "err Perforce client error:\nerr \tConnect to server failed; check $P4PORT.\nexit 1",
            {"can't be reached", "check $P4PORT", "P4PORT"});
        row("lost half way", "out ... depotFile //depot/a\nerr TCP receive failed.\nexit 1",
            {"lost", "network"});
        row("trust", "err The authenticity of '1.2.3.4:1666' can't be established", {"p4 trust"});
        row("workspace", "err Client 'x' unknown - use 'client' command to create it.", {"P4CLIENT"});
        row("its own words", "err //depot/a - file(s) not on client.",
            {"Perforce: //depot/a - file(s) not on"});
        row("refused as a remark", "out /a - ignored file can't be added.", {"ignored file can't be added"});
        row("status alone", "exit 7", {"status 7", "p4 add"});
        row("dies", "out ... depotFile //depot/a\ndie", {"ended unexpectedly", "p4 info"});
        row("hangs", "wait 60000", {"0.5 seconds", "p4 add", "stopped"});
        row("closes nothing and floods", "flood 3000000\nwait 60000", {"1048576 bytes"});
        row("complains without an end", "complain 20000000 of this and that", {"0.5 seconds"});
        row("among much else", "complain 2000 x\nerr please login again.\ncomplain 20000 y",
            {"p4 login", "x", "\n... ", "please login again", "y"});
    }
    void failures_name_their_cause()
    {
        const auto [steps, words] = FAILURES::values();
        P4_SCENE scene;
        P4_CONNECTION p4(true, true, true);
        const bool hangs = words.first() == "0.5 seconds";
        p4.set_time_limit(hangs ? 500 : 50000);
        scene.answers("add", steps);
        QElapsedTimer watch;
        watch.start();
        const QString error = p4.open_for_add({"/a"});
        for (const QString& word : words)
            QVERIFY2(error.contains(word), qPrintable(error));
        QVERIFY(error.size() < 20000);
        QVERIFY(watch.elapsed() < 40000); // nothing waits for the client's own end
    }

    void a_read_only_file_stays_read_only()
    {
        TEMPORARY_TREE tree;
        P4_SCENE scene;
        P4_CONNECTION p4(true, true, true);
        tree.write("raw_data/a.txt", "text");
        tree.set_permissions("raw_data/a.txt", 0444);
        const QString path = tree.path("raw_data/a.txt");
        scene.answers("edit", "out //depot/a - also opened by somebody");
        const QString error = p4.open_for_edit({path, tree.path("raw_data/none.txt")});
        QVERIFY2(error.contains(path) && error.contains("none.txt") && error.contains("by somebody"),
                 qPrintable(error));
        QVERIFY(!(QFile::permissions(path) & QFile::WriteOwner));
    }

    void long_lists_go_in_batches()
    {
        P4_SCENE scene;
        QStringList files;
        for (int i = 0; i < 2500; ++i)
            files.append(QStringLiteral("/a_folder_with_a_long_name/%1").arg(i, 100));
        QCOMPARE(P4_CONNECTION(true, true, true).open_for_add(files), QString());
        const QByteArray calls = scene.calls();
        QCOMPARE(calls.count("add -f\n"), 3);
        QCOMPARE(calls.count("\n/a_folder"), 2500);
    }

    void tells_the_offset_of_the_server()
    {
        P4_SCENE scene;
        const QMap<QByteArray, int> offsets = {{"2020/01/31 12:00:00 +0530 IST", 19800},
                                               {"2020/01/31 12:00:00 -0800 PST", -28800},
                                               {"2020/01/31 12:00:00", -1},
                                               {"a b +1x00", -1}};
        for (auto offset = offsets.cbegin(); offset != offsets.cend(); ++offset) {
            scene.answers("info", "out ... userName me\nout ... serverDate " + offset.key() + "\nout ");
            int seconds = -1;
            const QString error = P4_CONNECTION(true, true, true).read_server_time_offset(seconds);
            QCOMPARE(seconds, offset.value());
            QCOMPARE(error.isEmpty(), seconds != -1);
        }
    }
};

QTEST_GUILESS_MAIN(tst_p4_connection)
#include "tst_p4_connection.moc"
