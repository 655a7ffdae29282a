#include <QtTest/QtTest>

#include <csignal>

#include "tests/support/scripted_scene.h"
#include "tests/support/terminal.h"
#include "tests/support/watched_test.h"

/// What takes a hand: terminals.
class TST_PROGRAM_UNATTENDED : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    // Shown in place of the one before, cut where a letter of two columns would be split, and gone
    // in the end.
    void progress_on_a_terminal()
    {
        TERMINAL terminal(44);
        SCRIPTED_SCENE scene;
        scene.gox.output_file = terminal.path();
        scene.gox.extra.insert("TERM", "xterm");
        QVERIFY(scene.start("processor p\naction torn\nends 4\naction long\nlong ᄀ😀😀😀\n"
                            "takes 600000\naction last\n"));
        QTRY_COMPARE_WITH_TIMEOUT(terminal.lines().last(), QString("1 of 3 done, 1 failed, at hand: p / ᄀ"),
                                  20000);
        scene.gox.send_signal(SIGTERM);
        GOX_COMPARE_STATUS(scene.gox.wait(), 1, scene.gox);
        const QStringList lines = terminal.lines();
        QVERIFY2(lines.filter(" done, ").isEmpty() && lines.contains("failed: p / torn") &&
                     lines.contains("Stopped from outside.") && lines.last().isEmpty(),
                 qPrintable(lines.join('\n')));
    }
};

QTEST_GUILESS_MAIN(TST_PROGRAM_UNATTENDED)
#include "tst_program_unattended.moc"
