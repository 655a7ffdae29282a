#include <QtTest/QtTest>

#include <csignal>

#include "tests/support/rows.h"
#include "tests/support/scripted_scene.h"
#include "tests/support/watched_test.h"

namespace {

const char ACTION[] = "p / a";
const char ELSEWHERE[] = "p / a, in another thread";

// Ends by a signal below 0, else with this status.
using CRASHES = ROWS<QByteArray, QByteArray, int, QByteArray>; // place, cause, end, words of the script

} // namespace

/// A plugin that takes the process with it: where it was is known afterwards.
class tst_program_crash : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void last_word_data()
    {
        const CRASHES row;
        const auto add = [&](const char* call, const char* how, const char* place, const char* cause,
                             int end) {
#ifdef GOX_SANITIZED // the sanitizer tells of the signals
            if (end < 0 && QByteArray(how) != "throw")
                return;
#endif
            const QByteArray script = QByteArray("crashes ") + call + ' ' + how + '\n';
            row(QByteArray(call) + ' ' + how, place, cause, end, script);
        };
        const auto step = [](const char* text) { return "the step \"" + QByteArray(text) + '"'; };
        const QByteArray loading = step("Loading plugins...");
        add("load", "11", loading, "SIGSEGV", -SIGSEGV);
        add("load", "exit:0", loading, "exit(0)", 1);
        add("construct", "throw", loading, "nobody caught an exception, \"thrown by the script\"", -SIGABRT);
        add("processors_of_plugin", "exit:3", step("Creating processors..."), "exit(3)", 3);
        add("scan_directories", "8", step("Calculating directories..."), "SIGFPE", -SIGFPE);
        add("collect_virtual_files", "overflow", step("Collecting virtual files from processors..."),
            "SIGSEGV", -SIGSEGV);
        const QByteArray collecting = step("Collecting actions and affected files... 1/1 p");
        add("collect_actions", "6", collecting, "SIGABRT", -SIGABRT);
        add("collect_files", "4", collecting, "SIGILL", -SIGILL);
        add("resolve_dependencies", "7", step("Analysing dependencies..."), "SIGBUS", -SIGBUS);
        add("display_text", "11", "the way to the next action", "SIGSEGV", -SIGSEGV);
        add("checks_dependencies", "overflow", ACTION, "SIGSEGV", -SIGSEGV);
        add("execute", "11", ACTION, "SIGSEGV", -SIGSEGV);
        add("execute", "throw", ACTION, "nobody caught an exception, \"thrown by the script\"", -SIGABRT);
        add("execute", "exit:0", ACTION, "exit(0)", 1);
        add("execute", "exit:256", ACTION, "exit(256)", 1); // nobody outside sees more than a byte of it
        add("review_is_failure", "exit:7", ACTION, "exit(7)", 7);
        add("abort", "11", ELSEWHERE, "SIGSEGV", -SIGSEGV);
    }
    void last_word()
    {
        const auto [place, cause, end, words] = CRASHES::values();
        SCRIPTED_SCENE scene;
        scene.configuration.processors = {"p"};
        scene.tree.write("tool/call_stack.txt", QByteArray(100000, 'x'));
        QVERIFY(scene.start(words + "trace trace.txt\nprocessor p\naction a\nneeds_review\n" +
                            (place == ELSEWHERE ? "awaits_abort\n" : "")));
        if (place == ELSEWHERE) {
            QVERIFY2(scene.gox.wait_for_text(scene.tree.path("tool/trace.txt"), "execute a"),
                     scene.gox.report());
            scene.gox.send_signal(SIGTERM);
        }
        GOX_COMPARE_STATUS(scene.gox.wait(), end < 0 ? int(PROGRAM_RUN::CRASHED) : end, scene.gox);
        QCOMPARE(scene.gox.signal, end < 0 ? -end : 0);
        const QByteArray event =
            cause.startsWith("exit") ? "GOX was ended by an exit in " : "GOX crashed in ";
        const QByteArray word = event + place + ": " + cause + '\n';
        const QByteArray file = scene.tree.read("tool/call_stack.txt");
        QVERIFY2(scene.gox.err.contains(word) && file.startsWith(word), scene.gox.report());
        QVERIFY2(place != ACTION || !scene.gox.err.contains("destroyed"),
                 scene.gox.report()); // while it runs
        // The thrower of an exception on the build thread is unwound before anybody hears of it.
        const bool is_unwound = place == ACTION && cause.contains("exception");
        QVERIFY2(is_unwound || file.contains("GOX_scripted." GOX_BUILD_TAG ".dll(+0x"), file.constData());
    }

    void without_a_place_to_write()
    {
        SCRIPTED_SCENE scene;
        scene.tree.make_folder("tool/call_stack.txt");
        GOX_COMPARE_STATUS(scene.run("crashes execute exit:0\nprocessor p\naction a\n"), 1, scene.gox);
        QVERIFY2(scene.gox.err.startsWith("GOX was ended by an exit in p / a: exit(0)\n"),
                 scene.gox.report());
    }
};

QTEST_GUILESS_MAIN(tst_program_crash)
#include "tst_program_crash.moc"
