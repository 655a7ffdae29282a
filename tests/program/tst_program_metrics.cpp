#include <QtNetwork/QUdpSocket>
#include <QtTest/QtTest>

#include "tests/support/rows.h"
#include "tests/support/scripted_scene.h"
#include "tests/support/watched_test.h"

using PACKETS = ROWS<QByteArray, bool, QStringList>; // script, has a database, beginnings of packets

/// The packets that a run sends, on each road out of the process.
class tst_program_metrics : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void packets_data()
    {
        const QString started = "GoX,number=0 ToolStarted=1i";
        const QString start_up = "GOX,number=44 StartUpTotalSecs=";
        const QString build = "GOX,number=44 BuildStarted=1i";
        const PACKETS row;
        row("a build", "processor p\naction a\n", true, {started, start_up, build});
        row("a failing build", "processor p\naction a\nends 4\n", true, {started, start_up, build});
        row("an empty plan", "", true, {started, start_up});
        // The one road on which the end is told.
        row("a start that fails", "", false, {started, "GoX,number=0 ToolFinished=1i"});
    }
    void packets()
    {
        const auto [script, has_database, packets] = PACKETS::values();
        QUdpSocket server;
        if (!server.bind(QHostAddress::LocalHost, 12345))
            GOX_SKIP("the metrics port is taken");
        SCRIPTED_SCENE scene;
        if (!has_database)
            scene.tree.remove("raw_data/db");
        QVERIFY2(scene.run(script) >= 0, scene.gox.report());
        QStringList received;
        while (server.hasPendingDatagrams()) {
            QByteArray packet(int(server.pendingDatagramSize()), 0);
            server.readDatagram(packet.data(), packet.size());
            received.append(packet);
        }
        QVERIFY2(received.size() == packets.size(), qPrintable(received.join("")));
        for (int i = 0; i < packets.size(); ++i)
            QVERIFY2(received[i].startsWith(packets[i]), qPrintable(received[i]));
    }
};

QTEST_GUILESS_MAIN(tst_program_metrics)
#include "tst_program_metrics.moc"
