#include <QtNetwork/QUdpSocket>
#include <QtTest/QtTest>

#include "tests/support/cases.h"
#include "tests/support/scripted_scene.h"
#include "tests/support/watched_test.h"

#ifdef Q_OS_LINUX
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <unistd.h>
#endif

namespace {

// The port is a fixed one, and other runs on this machine send there too: where
// the system allows it, this process and the runs that it starts get a network
// of their own. That has to be before there is a second thread.
bool enter_own_network()
{
#ifdef Q_OS_LINUX
    if (unshare(CLONE_NEWNET) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0)
        return false;
    ifreq loopback{};
    loopback.ifr_name[0] = 'l', loopback.ifr_name[1] = 'o';
    loopback.ifr_flags = IFF_UP;
    const int socket = ::socket(AF_INET, SOCK_DGRAM, 0);
    const bool is_up = ioctl(socket, SIOCSIFFLAGS, &loopback) == 0;
    close(socket);
    return is_up;
#else
    return false;
#endif
}

const bool IS_ALONE = enter_own_network();

} // namespace

/// The packets that a run sends, on each road out of the process.
class TST_PROGRAM_METRICS : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void packets_data() { add_cases("program/metrics.cases", {"script", "without", "packets"}); }
    void packets()
    {
        const TEST_CASE one = current_case();
        const QStringList packets = one.lines("packets");
        QUdpSocket server;
        if (!server.bind(QHostAddress::LocalHost, 12345))
            GOX_SKIP("the metrics port is taken");
        SCRIPTED_SCENE scene;
        if (one.has("without"))
            scene.tree.remove(one["without"]);
        QVERIFY2(scene.run(one.bytes("script")) >= 0, scene.gox.report());
        // Among the packets of others these come in their order, alone they are all.
        QByteArrayList received;
        int found = 0;
        while (server.hasPendingDatagrams()) {
            QByteArray packet(int(server.pendingDatagramSize()), 0);
            server.readDatagram(packet.data(), packet.size());
            received.append(packet);
            found += found < packets.size() && packet.startsWith(packets[found].toUtf8());
        }
        QVERIFY2(found == packets.size(), received.join());
        QVERIFY2(!IS_ALONE || received.size() == found, received.join());
    }
};

QTEST_GUILESS_MAIN(TST_PROGRAM_METRICS)
#include "tst_program_metrics.moc"
