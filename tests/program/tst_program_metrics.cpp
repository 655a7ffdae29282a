#include <QtNetwork/QUdpSocket>
#include <QtTest/QtTest>

#include "tests/support/scripted_scene.h"
#include "tests/support/watched_test.h"

/// The packets that a run sends, on each road out of the process.
class tst_program_metrics : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void packets_data();
    void packets();
};

void tst_program_metrics::packets_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<bool>("has_database");
    QTest::addColumn<QStringList>("packets");
    const QString started = "GoX,number=0 ToolStarted=1i";
    const QString finished = "GoX,number=0 ToolFinished=1i";
    const QString start_up = "GOX,number=44 StartUpTotalSecs=";
    const QString build = "GOX,number=44 BuildStarted=1i";
    const QStringList of_build{started, start_up, build};
    QTest::newRow("a build") << QByteArray("processor p\naction a\n") << true << of_build;
    QTest::newRow("a failing build") << QByteArray("processor p\naction a\nends 4\n") << true << of_build;
    QTest::newRow("an empty plan") << QByteArray() << true << QStringList{started, start_up};
    // The one road on which the end is told.
    QTest::newRow("a start that fails") << QByteArray() << false << QStringList{started, finished};
}

void tst_program_metrics::packets()
{
    QFETCH(QByteArray, script);
    QFETCH(bool, has_database);
    QFETCH(QStringList, packets);
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
        received.append(QString::fromUtf8(packet));
    }
    QVERIFY2(received.size() == packets.size(), qPrintable(received.join("")));
    for (int i = 0; i < packets.size(); ++i)
        QVERIFY2(received[i].startsWith(packets[i]), qPrintable(received[i]));
}

QTEST_GUILESS_MAIN(tst_program_metrics)
#include "tst_program_metrics.moc"
