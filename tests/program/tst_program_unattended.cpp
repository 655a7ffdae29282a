#include <QtTest/QtTest>

#include <csignal>
#include <cstring>

#include "tests/support/files.h"
#include "tests/support/scripted_scene.h"
#include "tests/support/watched_test.h"

/// A machine with nobody in front of it: no fault makes the program wait, and a
/// request to end stops a build in good order.
class tst_program_unattended : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void nothing_hangs_without_a_display_data();
    void nothing_hangs_without_a_display();
    void nothing_hangs_unattended_on_a_chosen_platform_data();
    void nothing_hangs_unattended_on_a_chosen_platform();
    void a_person_is_waited_for_data();
    void a_person_is_waited_for();
    void a_choice_without_a_display_data();
    void a_choice_without_a_display();
    void interrupt_data();
    void interrupt();
    void second_interrupt_ends_at_once();
    void progress_dialog_is_left_out();
    void empty_platform_is_no_platform();
    void a_console_that_is_closed();
};

namespace {

const char SCRIPT_OF_ONE[] = "trace trace.txt\nprocessor p\naction a\n";

// Everything that raises a message box in an unattended run.
struct FAULT
{
    const char* name;
    const char* script;
    QStringList options;
    const char* text;     // what standard error is to hold
    bool ends_run;        // status 1 in every mode
    bool ends_strict_run; // status 1 unless dont_stop_on_error is given
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

const FAULT FAULTS[] = {
    {"none", SCRIPT_OF_ONE, {}, "", false, false, nothing},
    {"no database", SCRIPT_OF_ONE, {}, "Failed to connect the database!\n\n", true, true, remove_database},
    {"no plugin",
     SCRIPT_OF_ONE,
     {},
     "GOX plugins could not be loaded for some reason!",
     true,
     true,
     remove_plugin},
    {"broken plugin",
     SCRIPT_OF_ONE,
     {},
     "The following plugins were not loaded (missing dependencies?):\n\n",
     false,
     true,
     add_broken_plugin},
    {"unreadable folder",
     SCRIPT_OF_ONE,
     {},
     "Error while scanning local files! (Error: 13, ",
     true,
     true,
     forbid_folder},
    {"shadowed file", SCRIPT_OF_ONE, {}, "", false, false, shadow_a_file},
    {"assertion at start",
     "processor p\ncollecting_raises early\naction a\n",
     {},
     "early",
     false,
     false,
     nothing},
    {"swallowed assertion at start",
     "processor p\ncollecting_raises early\naction a\n",
     {"--swallow_startup_asserts"},
     "",
     false,
     false,
     nothing},
    {"assertion in the build", "processor p\naction a\nraises late\n", {}, "", false, false, nothing},
    {"failing action", "processor p\naction a\nends 4\n", {}, "", true, true, nothing},
    {"many at once",
     "processor p\ncollecting_raises early\naction a\nraises late\npreset x\n",
     {},
     "The following plugins were not loaded",
     true,
     true,
     fill_with_faults},
};

void add_rows(const QStringList& options = QStringList())
{
    QTest::addColumn<int>("fault");
    QTest::addColumn<bool>("silent");
    QTest::addColumn<bool>("strict");
    for (int i = 0; i < int(sizeof FAULTS / sizeof FAULTS[0]); ++i)
        for (const bool silent : {true, false})
            for (const bool strict : {true, false})
                if (options.isEmpty() || (silent && !strict))
                    QTest::addRow("%s%s%s", FAULTS[i].name, silent ? ", silent" : "",
                                  strict ? "" : ", dont_stop_on_error")
                        << i << silent << strict;
}

} // namespace

void tst_program_unattended::nothing_hangs_without_a_display_data()
{
    add_rows();
}

void tst_program_unattended::nothing_hangs_without_a_display()
{
    QFETCH(int, fault);
    QFETCH(bool, silent);
    QFETCH(bool, strict);
    const FAULT& the_fault = FAULTS[fault];
    for (const bool no_progress_dialog : {true, false}) {
        SCRIPTED_SCENE scene;
        scene.configuration.silent = silent;
        scene.configuration.no_progress_dialog = no_progress_dialog;
        scene.tree.write_script(the_fault.script);
        the_fault.prepare(scene);
        write_configuration(scene.tree, "ci", scene.configuration);
        QStringList options = the_fault.options + QStringList{"--configuration=ci", "--no_such_option"};
        if (!strict)
            options.append("--dont_stop_on_error");
        // Without a display a selection can't be asked for.
        const bool fails = the_fault.ends_run || (strict && the_fault.ends_strict_run) || !silent;
        GOX_COMPARE_STATUS(scene.gox.run(options), fails ? 1 : 0, scene.gox);
        if (silent)
            QVERIFY2(scene.gox.err.contains(the_fault.text), scene.gox.report());
        QVERIFY2(scene.gox.err.contains("no_such_option"), scene.gox.report());
        if (!silent)
            QVERIFY2(scene.gox.err.count('\n') >= 2, scene.gox.report());
    }
}

void tst_program_unattended::nothing_hangs_unattended_on_a_chosen_platform_data()
{
    add_rows({"unattended only"});
}

// Nothing that runs with both settings waits for a person, window system or not.
void tst_program_unattended::nothing_hangs_unattended_on_a_chosen_platform()
{
    QFETCH(int, fault);
    const FAULT& the_fault = FAULTS[fault];
    for (const bool no_progress_dialog : {true, false}) {
        SCRIPTED_SCENE scene;
        scene.gox.offscreen = true;
        scene.configuration.no_progress_dialog = no_progress_dialog;
        the_fault.prepare(scene);
        GOX_COMPARE_STATUS(scene.run(the_fault.script, the_fault.options), the_fault.ends_run ? 1 : 0,
                           scene.gox);
        QVERIFY2(scene.gox.err.contains(the_fault.text), scene.gox.report());
    }
}

void tst_program_unattended::a_person_is_waited_for_data()
{
    QTest::addColumn<int>("fault");
    QTest::addColumn<bool>("silent");
    QTest::addColumn<bool>("waits");
    const auto add = [](const char* name, bool silent, bool waits) {
        for (int i = 0; i < int(sizeof FAULTS / sizeof FAULTS[0]); ++i)
            if (!std::strcmp(FAULTS[i].name, name))
                QTest::addRow("%s%s", name, silent ? ", silent" : "") << i << silent << waits;
    };
    for (const char* name : {"no database", "no plugin", "unreadable folder"})
        add(name, true, true);
    add("broken plugin", true, false);
    add("broken plugin", false, true);
    add("shadowed file", true, false);
    add("none", false, true);
}

// On a platform that the caller chose, a box stays until somebody answers it.
// `silent` alone hides some of them and not others.
void tst_program_unattended::a_person_is_waited_for()
{
    QFETCH(int, fault);
    QFETCH(bool, silent);
    QFETCH(bool, waits);
    SCRIPTED_SCENE scene;
    scene.gox.offscreen = true;
    scene.configuration.silent = silent;
    scene.tree.write_script(FAULTS[fault].script);
    FAULTS[fault].prepare(scene);
    write_configuration(scene.tree, "ci", scene.configuration);
    if (waits)
        scene.gox.limit = 300;
    QVERIFY(scene.gox.start({"--configuration=ci"}));
    const int expected = waits ? int(PROGRAM_RUN::HUNG) : FAULTS[fault].ends_strict_run ? 1 : 0;
    GOX_COMPARE_STATUS(scene.gox.wait(), expected, scene.gox);
}

void tst_program_unattended::a_choice_without_a_display_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("configuration") << QStringList{"--configuration=choose"};
    QTest::newRow("configuration, unattended otherwise")
        << QStringList{"--configuration=choose", "--dont_stop_on_error"};
    QTest::newRow("files") << QStringList{"--configuration=person"};
}

void tst_program_unattended::a_choice_without_a_display()
{
    QFETCH(QStringList, arguments);
    SCRIPTED_SCENE scene;
    scene.tree.write_script(SCRIPT_OF_ONE);
    scene.configuration.silent = false;
    write_configuration(scene.tree, "person", scene.configuration);
    GOX_COMPARE_STATUS(scene.gox.run(arguments), 1, scene.gox);
    QVERIFY2(!scene.gox.err.trimmed().isEmpty(), scene.gox.report());
    QVERIFY(!scene.tree.exists("tool/gox.log"));
}

void tst_program_unattended::interrupt_data()
{
    QTest::addColumn<int>("signal_number");
    QTest::addColumn<bool>("no_progress_dialog");
    QTest::addColumn<bool>("honours");
    for (const bool no_progress_dialog : {true, false})
        for (const bool honours : {true, false})
            for (const int number : {SIGINT, SIGTERM})
                QTest::addRow("%s%s%s", number == SIGINT ? "SIGINT" : "SIGTERM",
                              no_progress_dialog ? "" : ", with a progress dialog asked for",
                              honours ? "" : ", an action that goes on")
                    << number << no_progress_dialog << honours;
}

// The action in hand hears of it and is the last; its section and those before
// it are whole.
void tst_program_unattended::interrupt()
{
    QFETCH(int, signal_number);
    QFETCH(bool, no_progress_dialog);
    QFETCH(bool, honours);
    SCRIPTED_SCENE scene;
    scene.configuration.no_progress_dialog = no_progress_dialog;
    QVERIFY(scene.start(QByteArray("trace trace.txt\nprocessor p\naction first\naction second\nends 3\n") +
                        (honours ? "takes 600000\n" : "ignores_abort\ntakes 200\n") +
                        "says after\naction third\naction fourth\n"));
    QVERIFY2(scene.gox.wait_for_text(scene.tree.path("tool/trace.txt"), "execute second"),
             scene.gox.report());
    scene.gox.send_signal(signal_number);
    GOX_COMPARE_STATUS(scene.gox.wait(), 1, scene.gox);
    const BUILD_LOG log = scene.log();
    QCOMPARE(log.count, 4);
    QCOMPARE(log.actions(), QStringList({"first", "second"}));
    QCOMPARE(log.body("second"), (honours ? "aborted\n" : "after\n") + end_of_executed_section());
    QCOMPARE(scene.log(honours ? "gox_error.log" : "gox_warnings.log").body("second"), log.body("second"));
    QCOMPARE(scene.trace("execute").size(), 2);
    // Whoever still waits is told as well, and whoever is through is not.
    QCOMPARE(scene.trace("abort "),
             QStringList({"main abort second", "main abort third", "main abort fourth"}));
}

void tst_program_unattended::second_interrupt_ends_at_once()
{
    SCRIPTED_SCENE scene;
    QVERIFY(scene.start("trace trace.txt\nprocessor p\naction endless\nignores_abort\ntakes 600000\n"));
    QVERIFY2(scene.gox.wait_for_text(scene.tree.path("tool/trace.txt"), "execute endless"),
             scene.gox.report());
    scene.gox.send_signal(SIGINT);
    QTest::qWait(50); // two requests that are pending together would be one
    scene.gox.send_signal(SIGINT);
    scene.gox.limit = 5000;
    const int status = scene.gox.wait();
    QVERIFY2(status != PROGRAM_RUN::HUNG && status != 0, scene.gox.report());
}

void tst_program_unattended::progress_dialog_is_left_out()
{
    SCRIPTED_SCENE scene;
    scene.configuration.no_progress_dialog = false;
    GOX_COMPARE_STATUS(scene.run(SCRIPT_OF_ONE), 0, scene.gox);
    QCOMPARE(scene.log().actions(), QStringList{"a"});
}

void tst_program_unattended::empty_platform_is_no_platform()
{
    SCRIPTED_SCENE scene;
    for (const char* name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
        scene.gox.extra.insert(name, "");
    GOX_COMPARE_STATUS(scene.run(SCRIPT_OF_ONE), 0, scene.gox);
}

// The first files that are opened then get the numbers of the console, and what
// is meant for the console must not end up in them.
void tst_program_unattended::a_console_that_is_closed()
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

QTEST_GUILESS_MAIN(tst_program_unattended)
#include "tst_program_unattended.moc"
