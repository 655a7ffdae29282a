#include <QtTest/QtTest>

#include <csignal>

#include "tests/support/rows.h"
#include "tests/support/scripted_scene.h"
#include "tests/support/terminal.h"
#include "tests/support/virtual_display.h"
#include "tests/support/watched_test.h"

namespace {

const char SCRIPT_OF_ONE[] = "trace trace.txt\nprocessor p\naction a\n";

// Whom a fault lets end: nobody, a run without dont_stop_on_error, every run.
enum ENDS
{
    NONE,
    STRICT,
    ALL
};

// Everything that raises a message box in an unattended run.
struct FAULT
{
    const char* name;
    const char* script; // null: the script of one action
    const char* text;   // what standard error is to hold
    ENDS ends;
    void (*prepare)(SCRIPTED_SCENE&);
};

void nothing(SCRIPTED_SCENE&) {}

void remove_database(SCRIPTED_SCENE& scene)
{
    scene.tree.remove("raw_data/db");
}

void remove_plugin(SCRIPTED_SCENE& scene)
{
    scene.tree.remove("tool/GOX_scripted." GOX_BUILD_TAG ".dll");
}

void add_broken_plugin(SCRIPTED_SCENE& scene)
{
    scene.tree.add_plugin("missing_symbol");
}

void forbid_folder(SCRIPTED_SCENE& scene)
{
    scene.tree.make_folder("raw_data/secret");
    scene.tree.open_to_everybody();
    scene.tree.set_permissions("raw_data/secret", 0);
    scene.gox.unprivileged = true;
}

void shadow_a_file(SCRIPTED_SCENE& scene)
{
    scene.tree.write("old_raw_data/a.txt", "x");
    scene.tree.write("raw_data/a.txt", "x");
}

void fill_with_faults(SCRIPTED_SCENE& scene)
{
    scene.tree.write("raw_data/rules.gox", "<broken");
    scene.tree.write("raw_data/x.agf", "<broken");
    scene.configuration.processors = {"p", "none"};
    scene.configuration.load_asset_graph = true;
    shadow_a_file(scene);
    add_broken_plugin(scene);
}

const char EARLY[] = "processor p\ncollecting_raises early\naction a\n";
const char MANY[] = "processor p\ncollecting_raises early\naction a\nraises late\npreset x\n";

const FAULT FAULTS[] = {
    {"none", nullptr, "", NONE, nothing},
    {"no database", nullptr, "Failed to connect the database!\n\n", ALL, remove_database},
    {"no plugin", nullptr, "GOX plugins could not be loaded for some reason!", ALL, remove_plugin},
    {"broken plugin", nullptr, "The following plugins were not loaded (missing dependencies?):\n\n", STRICT,
     add_broken_plugin},
    {"unreadable folder", nullptr, "Error while scanning local files! (Error: 13, ", ALL, forbid_folder},
    {"shadowed file", nullptr, "", NONE, shadow_a_file},
    {"assertion at start", EARLY, "early", NONE, nothing},
    {"swallowed assertion at start", EARLY, "", NONE, nothing},
    {"assertion in the build", "processor p\naction a\nraises late\n", "", NONE, nothing},
    {"failing action", "processor p\naction a\nends 4\n", "", ALL, nothing},
    {"many at once", MANY, "The following plugins were not loaded", ALL, fill_with_faults},
};

using RUNS = ROWS<int, bool, bool>;                       // fault, silent, strict
using PERSONS = ROWS<QString, bool, bool>;                // fault, silent, waits
using PLATFORMS = ROWS<QStringList, QString, QByteArray>; // environment, option, remark
using INTERRUPTS = ROWS<int, bool, bool>; // signal, no progress dialog, the action hears of it

} // namespace

/// A machine with nobody in front of it: no fault makes the program wait, and a
/// request to end stops a build in good order.
class tst_program_unattended : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void nothing_hangs_data()
    {
        const RUNS row;
        for (int i = 0; i < int(sizeof FAULTS / sizeof FAULTS[0]); ++i) {
            for (const bool silent : {true, false})
                for (const bool strict : {true, false})
                    row(QByteArray(FAULTS[i].name) + (silent ? ", silent" : "") +
                            (strict ? "" : ", dont_stop_on_error"),
                        i, silent, strict);
        }
    }
    // Without a display nothing at all waits for a person.
    void nothing_hangs()
    {
        const auto [number, silent, strict] = RUNS::values();
        const FAULT& fault = FAULTS[number];
        for (const bool no_progress_dialog : {true, false}) {
            SCRIPTED_SCENE scene;
            scene.configuration.silent = silent;
            scene.configuration.no_progress_dialog = no_progress_dialog;
            scene.tree.write_script(fault.script ? fault.script : SCRIPT_OF_ONE);
            fault.prepare(scene);
            write_configuration(scene.tree, "ci", scene.configuration);
            QStringList options{"--configuration=ci", "--no_such_option"};
            if (!strict)
                options.append("--dont_stop_on_error");
            if (QByteArray(fault.name).startsWith("swallowed"))
                options.append("--swallow_startup_asserts");
            // Without a display a selection can't be asked for.
            const bool fails = fault.ends == ALL || (strict && fault.ends == STRICT) || !silent;
            GOX_COMPARE_STATUS(scene.gox.run(options), fails ? 1 : 0, scene.gox);
            QVERIFY2(!silent || scene.gox.err.contains(fault.text), scene.gox.report());
            QVERIFY2(scene.gox.err.contains("no_such_option"), scene.gox.report());
            QVERIFY2(silent || scene.gox.err.count('\n') >= 2, scene.gox.report());
            const QByteArray log = scene.tree.read("tool/gox_startup_error.log");
            if (silent && !strict && QByteArray(fault.name) == "unreadable folder")
                QVERIFY2(log.startsWith(fault.text) && log.endsWith(')') && scene.gox.err.contains(log) &&
                             log.contains(scene.tree.path("raw_data/secret").toUtf8()),
                         log.constData());
            QVERIFY(silent || !scene.tree.exists("tool/gox.log"));
        }
    }

    void a_person_is_waited_for_data()
    {
        const PERSONS row;
        row("no database", "no database", true, true);
        row("no plugin", "no plugin", true, true);
        row("unreadable folder", "unreadable folder", true, true);
        row("broken plugin, silent", "broken plugin", true, false);
        row("broken plugin", "broken plugin", false, true);
        row("shadowed file, silent", "shadowed file", true, false);
        row("selection", "none", false, true);
    }
    // At a display a box stays until somebody answers it. `silent` alone hides some
    // of them and not others.
    void a_person_is_waited_for()
    {
        const auto [name, silent, waits] = PERSONS::values();
        const FAULT* fault = FAULTS;
        while (fault->name != name)
            ++fault;
        SCRIPTED_SCENE scene;
        if (!use_display(scene))
            GOX_SKIP("no Xvfb");
        scene.configuration.silent = silent;
        scene.tree.write_script(SCRIPT_OF_ONE);
        fault->prepare(scene);
        write_configuration(scene.tree, "ci", scene.configuration);
        if (waits)
            scene.gox.limit = 1000;
        const int expected = waits ? int(PROGRAM_RUN::HUNG) : fault->ends == NONE ? 0 : 1;
        GOX_COMPARE_STATUS(scene.gox.run({"--configuration=ci"}), expected, scene.gox);
    }

    // With both settings nobody is, and the window that watches goes its way.
    void nobody_is_waited_for_at_a_display()
    {
        SCRIPTED_SCENE scene;
        if (!use_display(scene))
            GOX_SKIP("no Xvfb");
        scene.configuration.no_progress_dialog = false;
        GOX_COMPARE_STATUS(
            scene.run("processor p\ncollecting_raises early\ncollecting_asks May I?\naction a\ntakes 300\n"),
            0, scene.gox);
        QVERIFY2(scene.gox.err.startsWith("early\n") && scene.gox.err.contains("\nMay I?\n"),
                 scene.gox.report());
    }

    void nobody_sees_a_window_data()
    {
        const PLATFORMS row;
        row("none", {}, "", "");
        row("empty", {"QT_QPA_PLATFORM=", "DISPLAY=", "WAYLAND_DISPLAY="}, "", "");
        row("offscreen", {"QT_QPA_PLATFORM=offscreen", "DISPLAY=:77777"}, "", "");
        row("minimal by an option", {"DISPLAY=:77777"}, "minimal", "");
        const QByteArray end = " can't be reached: the run goes on without one.\n";
        row("dead X", {"DISPLAY=:77777"}, "", "The display :77777" + end);
        row("dead X of another machine", {"DISPLAY=localhost:7777.0"}, "",
            "The display localhost:7777.0" + end);
        row("dead Wayland", {"WAYLAND_DISPLAY=none", "XDG_SESSION_TYPE=wayland"}, "",
            "The display none" + end);
    }
    // Boxes are answered there, and Qt has nothing to say of its own.
    void nobody_sees_a_window()
    {
        const auto [environment, option, remark] = PLATFORMS::values();
        SCRIPTED_SCENE scene;
        scene.gox.extra.insert("XDG_RUNTIME_DIR", ""); // as good as not set
        for (const QString& variable : environment)
            scene.gox.extra.insert(variable.section('=', 0, 0), variable.section('=', 1));
        scene.configuration.silent = false;
        const QStringList options = option.isEmpty() ? QStringList() : QStringList{"-platform", option};
        GOX_COMPARE_STATUS(
            scene.run("processor p\ncollecting_warns of a plugin\ncollecting_raises early\naction a\n",
                      options),
            1, scene.gox);
        QCOMPARE(scene.gox.err,
                 remark + "of a plugin\nearly\nThere is no display to choose files on. Use a configuration "
                          "that is silent.\n");
    }

    void a_choice_without_a_display()
    {
        SCRIPTED_SCENE scene;
        GOX_COMPARE_STATUS(scene.gox.run({"--configuration=choose", "--dont_stop_on_error"}), 1, scene.gox);
        QVERIFY2(scene.gox.err.startsWith("There is no display to choose a configuration on. Name one.\n"),
                 scene.gox.report());
    }

    void interrupt_data()
    {
        const INTERRUPTS row;
        for (const bool no_progress_dialog : {true, false})
            for (const bool hears : {true, false})
                for (const int number : {SIGINT, SIGTERM})
                    row(QByteArray(number == SIGINT ? "SIGINT" : "SIGTERM") +
                            (no_progress_dialog ? "" : ", with a progress dialog asked for") +
                            (hears ? "" : ", an action that goes on"),
                        number, no_progress_dialog, hears);
    }
    // The action in hand hears of it and is the last; its section and those before
    // it are whole.
    void interrupt()
    {
        const auto [number, no_progress_dialog, hears] = INTERRUPTS::values();
        SCRIPTED_SCENE scene;
        scene.configuration.no_progress_dialog = no_progress_dialog;
        QVERIFY(
            scene.start(QByteArray("trace trace.txt\nprocessor p\naction first\naction second\nends 3\n") +
                        (hears ? "takes 600000\n" : "ignores_abort\nawaits_abort\n") +
                        "says after\naction third\naction fourth\n"));
        QVERIFY2(scene.gox.wait_for_text(scene.tree.path("tool/trace.txt"), "execute second"),
                 scene.gox.report());
        scene.gox.send_signal(number);
        GOX_COMPARE_STATUS(scene.gox.wait(), 1, scene.gox);
        const BUILD_LOG log = scene.log();
        QCOMPARE(log.count, 4);
        QCOMPARE(log.actions(), QStringList({"first", "second"}));
        QCOMPARE(log.body("second"), (hears ? "aborted\n" : "after\n") + end_of_executed_section());
        QCOMPARE(scene.log(hears ? "gox_error.log" : "gox_warnings.log").body("second"), log.body("second"));
        QCOMPARE(scene.trace("execute").size(), 2);
        const int told = scene.gox.out.indexOf("\nStopping, waiting for p / second...\n");
        QVERIFY2(told > 0 && told < scene.gox.out.indexOf(": p / second") &&
                     scene.gox.out.contains("\nStopped from outside.\n4 action(s) in "),
                 scene.gox.report());
        // Whoever still waits is told as well, and whoever is through is not.
        QCOMPARE(scene.trace("abort "),
                 QStringList({"main abort second", "main abort third", "main abort fourth"}));
    }

    void second_interrupt_ends_at_once()
    {
        SCRIPTED_SCENE scene;
        QVERIFY(scene.start("trace trace.txt\nprocessor p\naction endless\nignores_abort\ntakes 600000\n"));
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

    // The first files that are opened then get the numbers of the console, and what
    // is meant for the console must not end up in them.
    void a_console_that_is_closed()
    {
        SCRIPTED_SCENE scene;
        scene.gox.closed_console = true;
        GOX_COMPARE_STATUS(scene.run(SCRIPT_OF_ONE, {"--no_such_option"}), 0, scene.gox);
        QCOMPARE(scene.tree.read("tool/gox_startup_error.log"), QByteArray());
        QCOMPARE(scene.tree.read("tool/gox_error.log"), QByteArray());
        QCOMPARE(without_durations(scene.tree.read("tool/gox.log")),
                 "1 action(s) were selected for execution.\n\n=== p / a ===\n" +
                     end_of_executed_section().toUtf8() + '\n');
    }

private:
    bool use_display(SCRIPTED_SCENE& scene) const
    {
        scene.gox.extra.insert("DISPLAY", m_display.name());
        return !m_display.name().isEmpty();
    }

    VIRTUAL_DISPLAY m_display;
};

QTEST_GUILESS_MAIN(tst_program_unattended)
#include "tst_program_unattended.moc"
