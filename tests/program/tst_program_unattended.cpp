#include <QtTest/QtTest>

#include <csignal>

#include "tests/support/scripted_scene.h"
#include "tests/support/terminal.h"
#include "tests/support/virtual_display.h"
#include "tests/support/watched_test.h"

namespace {

const char ENDLESS[] = "trace trace.txt\nprocessor p\naction endless\nignores_abort\ntakes 600000\n";

} // namespace

/// What takes a hand: displays, terminals and signals.
class TST_PROGRAM_UNATTENDED : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    // A display, and nobody at it: the boxes are answered, and the window that watches
    // goes its way.
    void nobody_is_waited_for_at_a_display()
    {
        const VIRTUAL_DISPLAY display;
        if (display.name().isEmpty())
            GOX_SKIP("no Xvfb");
        SCRIPTED_SCENE scene;
        scene.gox.extra.insert("DISPLAY", display.name());
        scene.configuration.no_progress_dialog = false;
        scene.tree.write("old_raw_data/a.txt", "shadowed");
        scene.tree.write("raw_data/a.txt", "x");
        GOX_COMPARE_STATUS(
            scene.run("processor p\ncollecting_raises early\ncollecting_asks May I?\naction a\n"), 0,
            scene.gox);
        QVERIFY2(scene.gox.err.startsWith("early\n") && scene.gox.err.contains("\nMay I?\n"),
                 scene.gox.report());
    }

    void second_interrupt_ends_at_once()
    {
        SCRIPTED_SCENE scene;
        QVERIFY(scene.start(ENDLESS));
        QVERIFY2(scene.gox.wait_for_text(scene.tree.path("tool/trace.txt"), "execute endless"),
                 scene.gox.report());
        scene.gox.send_signal(SIGINT);
        // Two requests that are pending together would be one.
        QVERIFY2(scene.gox.wait_for_text(scene.tree.path("tool/trace.txt"), "abort endless"),
                 scene.gox.report());
        scene.gox.send_signal(SIGINT);
        const int status = scene.gox.wait();
        QVERIFY2(status != PROGRAM_RUN::HUNG && status != 0, scene.gox.report());
    }

    // Shown in place of the one before, and gone in the end.
    void progress_on_a_terminal()
    {
        TERMINAL terminal(44);
        SCRIPTED_SCENE scene;
        scene.gox.output_file = terminal.path();
        scene.gox.extra.insert("TERM", "xterm");
        QVERIFY(scene.start("processor p\naction torn\nends 4\naction long\nlong 日本語日本語\n"
                            "takes 600000\naction last\n"));
        QTRY_COMPARE_WITH_TIMEOUT(terminal.lines().last(),
                                  QString("1 of 3 done, 1 failed, at hand: p / 日本"), 20000);
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
