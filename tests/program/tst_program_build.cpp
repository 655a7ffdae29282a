#include <QtCore/QRegularExpression>
#include <QtTest/QtTest>

#include "tests/support/files.h"
#include "tests/support/scripted_scene.h"
#include "tests/support/watched_test.h"

/// What a build of the real program does to its actions, and what it writes
/// about them.
class tst_program_build : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void logs_byte_for_byte();
    void states_decide_logs_and_status_data();
    void states_decide_logs_and_status();
    void failure_travels_down_a_chain();
    void preset_errors_keep_from_execution();
    void review_data();
    void review();
    void assertions_count_once_an_action();
    void order_data();
    void order();
    void calls_in_order();
    void selection_data();
    void selection();
    void selection_carries_along();
    void virtual_files_data();
    void virtual_files();
    void retail_data();
    void retail();
    void targets_are_prepared();
    void intermediate_files_and_dates();
    void rules_reach_the_plugins();
    void a_new_build_empties_the_logs();
    void console_summary();
};

void tst_program_build::logs_byte_for_byte()
{
    SCRIPTED_SCENE scene;
    GOX_COMPARE_STATUS(scene.run("processor First one\n"
                                 "order 1\n"
                                 "action good\n"
                                 "long the good one\n"
                                 "says a line\n"
                                 "warns from Qt\n"
                                 "processor Second\n"
                                 "order 2\n"
                                 "action warned\n"
                                 "says careful\n"
                                 "ends 3\n"
                                 "action bad\n"
                                 "ends 4\n"
                                 "action follower\n"
                                 "depends bad\n"),
                       1, scene.gox);
    const QByteArray end = "\n=====================================\nDuration: *\n\n";
    const QByteArray warned = "=== Second / warned ===\ncareful\n" + end;
    const QByteArray bad = "=== Second / bad ===\n" + end;
    QCOMPARE(without_durations(scene.tree.read("tool/gox.log")),
             "4 action(s) were selected for execution.\n\n"
             "=== First one / the good one ===\na line\nfrom Qt\n" +
                 end + warned + bad +
                 "=== Second / follower ===\nSome of its dependencies has failed:\n - bad\n\n");
    QCOMPARE(without_durations(scene.tree.read("tool/gox_warnings.log")), warned);
    QCOMPARE(without_durations(scene.tree.read("tool/gox_error.log")), bad);
    const QRegularExpression duration("\nDuration: \\d+ msec\\(s\\)\n");
    QVERIFY(QString::fromUtf8(scene.tree.read("tool/gox_error.log")).contains(duration));
    QVERIFY(scene.tree.exists("tool/gox_startup_error.log"));
    QCOMPARE(scene.tree.read("tool/gox_startup_error.log"), QByteArray());
}

void tst_program_build::states_decide_logs_and_status_data()
{
    QTest::addColumn<QByteArray>("action");
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("in_warnings");
    QTest::addColumn<bool>("in_errors");
    QTest::addColumn<bool>("dependant_runs");
    QTest::newRow("succeeded") << QByteArray("ends 2") << 0 << false << false << true;
    QTest::newRow("with warnings") << QByteArray("ends 3") << 0 << true << false << true;
    QTest::newRow("failed") << QByteArray("ends 4") << 1 << false << true << false;
    QTest::newRow("failed alone") << QByteArray("ends 6") << 1 << false << false << true;
    QTest::newRow("says a dependency failed") << QByteArray("ends 5") << 1 << false << false << false;
    QTest::newRow("unknown state") << QByteArray("ends 7") << 1 << false << false << true;
    QTest::newRow("state of not run") << QByteArray("ends 0") << 1 << false << false << true;
    QTest::newRow("done before") << QByteArray("begins 2") << 0 << false << false << true;
    QTest::newRow("warned before") << QByteArray("begins 3") << 0 << true << false << true;
    QTest::newRow("failed before") << QByteArray("begins 4") << 1 << false << true << false;
}

void tst_program_build::states_decide_logs_and_status()
{
    QFETCH(QByteArray, action);
    QFETCH(int, status);
    SCRIPTED_SCENE scene;
    GOX_COMPARE_STATUS(
        scene.run("trace trace.txt\nprocessor p\naction a\n" + action + "\naction dependant\ndepends a\n"),
        status, scene.gox);
    QCOMPARE(scene.log().actions(), QStringList({"a", "dependant"}));
    QTEST(scene.log("gox_warnings.log").actions().contains("a"), "in_warnings");
    QTEST(scene.log("gox_error.log").actions().contains("a"), "in_errors");
    QTEST(scene.trace().contains("build execute dependant"), "dependant_runs");
    // An action that something else has left in a state is logged, not run.
    QCOMPARE(scene.trace().contains("build execute a"), !action.startsWith("begins"));
    QCOMPARE(scene.log().body("a"), action.startsWith("begins") ? QString() : end_of_executed_section());
}

void tst_program_build::failure_travels_down_a_chain()
{
    SCRIPTED_SCENE scene;
    GOX_COMPARE_STATUS(scene.run("trace trace.txt\nprocessor p\n"
                                 "action bad\nlong bad in full\nends 4\n"
                                 "action preset\npreset broken\n"
                                 "action child\ndepends preset\ndepends bad\n"
                                 "action grandchild\ndepends child\n"
                                 "action stubborn\nignores_dependencies\ndepends bad\n"
                                 "action unconcerned\n"),
                       1, scene.gox);
    const QString head = "Some of its dependencies has failed:\n";
    QCOMPARE(scene.log().body("child"), head + " - preset\n - bad in full\n");
    QCOMPARE(scene.log().body("grandchild"), head + " - child\n");
    QCOMPARE(scene.trace("execute"),
             QStringList({"build execute bad", "build execute unconcerned", "build execute stubborn"}));
    QCOMPARE(scene.log("gox_error.log").actions().size(), 2);
}

void tst_program_build::preset_errors_keep_from_execution()
{
    SCRIPTED_SCENE scene;
    GOX_COMPARE_STATUS(scene.run("trace trace.txt\nprocessor p\naction a\n"
                                 "preset first reason\npreset second reason\nsays never\n"
                                 "needs_review\nwrites <working>/deep/er/a.txt\n"),
                       1, scene.gox);
    QCOMPARE(scene.trace("execute"), QStringList());
    QCOMPARE(scene.log().body("a"), QStringLiteral("first reason\nsecond reason\n"));
    QCOMPARE(scene.log("gox_error.log").body("a"), QStringLiteral("first reason\nsecond reason\n"));
    QVERIFY(scene.tree.exists("working_data/deep/er"));
}

void tst_program_build::review_data()
{
    QTest::addColumn<QByteArray>("action");
    QTest::addColumn<bool>("asked");
    QTest::addColumn<QString>("log");
    QTest::addColumn<int>("status");
    QTest::newRow("warns") << QByteArray("needs_review") << true << "gox_warnings.log" << 0;
    QTest::newRow("fails") << QByteArray("needs_review\nreview_fails") << true << "gox_error.log" << 1;
    QTest::newRow("not needed") << QByteArray("review_fails") << false << "gox.log" << 0;
    QTest::newRow("after warnings") << QByteArray("needs_review\nreview_fails\nends 3") << false
                                    << "gox_warnings.log" << 0;
    QTest::newRow("after a failure") << QByteArray("needs_review\nends 6") << false << "gox.log" << 1;
    QTest::newRow("by an assertion") << QByteArray("raises oh") << true << "gox_warnings.log" << 0;
    QTest::newRow("by an assertion, fails")
        << QByteArray("review_fails\nraises oh") << true << "gox_error.log" << 1;
}

void tst_program_build::review()
{
    QFETCH(QByteArray, action);
    QFETCH(QString, log);
    QFETCH(int, status);
    SCRIPTED_SCENE scene;
    GOX_COMPARE_STATUS(scene.run("trace trace.txt\nprocessor p\naction a\n" + action + '\n'), status,
                       scene.gox);
    QTEST(!scene.trace("review_is_failure").isEmpty(), "asked");
    for (const char* name : {"gox_warnings.log", "gox_error.log"})
        QCOMPARE(scene.log(name).actions().size(), QLatin1String(name) == log ? 1 : 0);
}

void tst_program_build::assertions_count_once_an_action()
{
    SCRIPTED_SCENE scene;
    GOX_COMPARE_STATUS(scene.run("processor p\n"
                                 "action a\nraises x < 3\nraises y\nraises x < 3\nsays done\n"
                                 "action b\nraises x < 3\n"),
                       0, scene.gox);
    QCOMPARE(scene.log().body("a"), "x < 3\ny\ndone\n" + end_of_executed_section());
    QCOMPARE(scene.log().body("b"), "x < 3\n" + end_of_executed_section());
    QCOMPARE(scene.log("gox_warnings.log").actions(), QStringList({"a", "b"}));
}

void tst_program_build::order_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QStringList>("order");
    QTest::newRow("as collected") << QByteArray("action c\naction a\naction b\n")
                                  << QStringList{"c", "a", "b"};
    QTest::newRow("by order number of the processor")
        << QByteArray("order 5\naction late\nprocessor q\norder -5\naction early\n")
        << QStringList{"early", "late"};
    QTest::newRow("dependencies first")
        << QByteArray("action c\ndepends a\naction a\naction b\n") << QStringList{"a", "b", "c"};
    // A swap carries an element past its equals.
    QTest::newRow("equals change places")
        << QByteArray("action x1\ndepends y\naction x2\ndepends y\naction y\n")
        << QStringList{"y", "x2", "x1"};
    QTest::newRow("dependencies through files")
        << QByteArray(
               "virtual <working>/a\naction reads\nreads <working>/a\naction writes\nwrites <working>/a\n")
        << QStringList{"writes", "reads"};
    QTest::newRow("main provider before the other writers")
        << QByteArray("action second\nwrites secondary <working>/a\naction main\nwrites <working>/a\n"
                      "action reader\nreads <working>/a\n")
        << QStringList{"main", "second", "reader"};
    QTest::newRow("group pulled together")
        << QByteArray("action a\ngroup g\naction b\naction c\naction d\ngroup g\naction e\n")
        << QStringList{"a", "d", "b", "c", "e"};
    QTest::newRow("group pushed back")
        << QByteArray("action a\ngroup g\naction b\naction c\ngroup g\ndepends b\n")
        << QStringList{"b", "a", "c"};
    QTest::newRow("group held apart")
        << QByteArray("action a\ngroup g\naction b\ndepends a\naction c\ngroup g\ndepends b\n")
        << QStringList{"a", "b", "c"};
    QTest::newRow("two groups interleaved")
        << QByteArray("action a1\ngroup g\naction b1\ngroup h\naction a2\ngroup g\naction b2\ngroup h\n")
        << QStringList{"a1", "a2", "b1", "b2"};
    QTest::newRow("a later group splits an earlier one")
        << QByteArray("action g0\ngroup g\ndepends h1\naction h1\ngroup h\naction g1\ngroup g\n"
                      "action g2\ngroup g\naction h2\ngroup h\ndepends g1\n")
        << QStringList{"g1", "h1", "h2", "g2", "g0"};
    QTest::newRow("a cycle ends") << QByteArray("action a\ndepends b\naction b\ndepends a\naction c\n")
                                  << QStringList();
}

void tst_program_build::order()
{
    QFETCH(QByteArray, script);
    QFETCH(QStringList, order);
    SCRIPTED_SCENE scene;
    GOX_COMPARE_STATUS(scene.run("processor p\n" + script), 0, scene.gox);
    QStringList ran = scene.log().actions();
    if (order.isEmpty()) { // any order, but all of them
        ran.sort();
        order = QStringList{"a", "b", "c"};
    }
    QCOMPARE(ran, order);
}

void tst_program_build::calls_in_order()
{
    SCRIPTED_SCENE scene;
    GOX_COMPARE_STATUS(
        scene.run("trace trace.txt\n"
                  "processor p\norder 2\naction a\nservices\naction b\nneeds_review\ndepends a\n"
                  "processor q\norder 1\nvirtual <raw>/v.txt\naction c\nreads <raw>/v.txt\nfiles\n"),
        0, scene.gox);
    QCOMPARE(
        scene.trace(),
        QStringList({"main collect_virtual_files q", "main collect_virtual_files p", "main collect_actions q",
                     "main collect_files c", "main collect_actions p", "main collect_files a",
                     "main collect_files b", "main resolve_dependencies c", "main resolve_dependencies a",
                     "main resolve_dependencies b", "build checks_dependencies c", "build execute c",
                     "build checks_dependencies a", "build execute a", "build checks_dependencies b",
                     "build execute b", "build review_is_failure b"}));
    QVERIFY(scene.log().body("a").startsWith("database: yes, asset graph: yes\n"));
    QVERIFY2(scene.log().body("c").contains(" virtual"), qPrintable(scene.log().body("c")));
}

void tst_program_build::selection_data()
{
    QTest::addColumn<QStringList>("providers");
    QTest::addColumn<QStringList>("consumers");
    QTest::addColumn<QStringList>("selected");
    const QStringList all{"a", "b", "idle"};
    QTest::newRow("no lists") << QStringList() << QStringList() << all;
    QTest::newRow("by a provider") << QStringList{"<working>/a.out"} << QStringList() << QStringList{"a"};
    QTest::newRow("case does not count") << QStringList{"<WORKING>/A.*"} << QStringList() << QStringList{"a"};
    QTest::newRow("by a consumer") << QStringList() << QStringList{"<raw>/unit/b.*"} << QStringList{"b"};
    QTest::newRow("lists add up") << QStringList{"<working>/a.out"} << QStringList{"<raw>/.../b.txt"}
                                  << QStringList{"a", "b"};
    QTest::newRow("both subtractive narrow")
        << QStringList{"-<working>/a.out"} << QStringList{"-<raw>/nothing"} << QStringList{"b", "idle"};
    QTest::newRow("one subtractive and none")
        << QStringList{"-<working>/a.out"} << QStringList() << QStringList{"b"};
    QTest::newRow("nothing matches") << QStringList{"<working>/zzz"} << QStringList() << QStringList();
}

void tst_program_build::selection()
{
    QFETCH(QStringList, providers);
    QFETCH(QStringList, consumers);
    QFETCH(QStringList, selected);
    SCRIPTED_SCENE scene;
    scene.tree.write("raw_data/unit/a.txt", "a");
    scene.tree.write("raw_data/unit/b.txt", "b");
    scene.configuration.selected_providers = providers;
    scene.configuration.selected_consumers = consumers;
    GOX_COMPARE_STATUS(scene.run("processor p\n"
                                 "action a\nreads <raw>/unit/a.txt\nwrites <working>/A.out\n"
                                 "action b\nreads <raw>/unit/b.txt\nwrites <working>/b.out\n"
                                 "action idle\n"),
                       0, scene.gox);
    QCOMPARE(scene.log().actions(), selected);
    // An empty plan starts no build, and so no log.
    QCOMPARE(scene.tree.exists("tool/gox.log"), !selected.isEmpty());
}

void tst_program_build::selection_carries_along()
{
    SCRIPTED_SCENE scene;
    scene.configuration.selected_providers = QStringList{"<working>/a.out"};
    GOX_COMPARE_STATUS(scene.run("processor p\n"
                                 "action a\nwrites <working>/a.out\npulls pulled\ndepends needed\n"
                                 "action pulled\npulls deep\naction needed\naction deep\naction other\n"),
                       0, scene.gox);
    // What is merely needed is not carried along, and what is pulled is a dependency as well.
    QCOMPARE(scene.log().actions(), QStringList({"deep", "pulled", "a"}));
}

void tst_program_build::virtual_files_data()
{
    QTest::addColumn<QString>("on_disk");
    QTest::addColumn<QString>("place");
    QTest::addColumn<QString>("known");
    const QString announced = " 2020-01-01T09:00:00Z virtual";
    QTest::newRow("nothing on disk") << QString() << "raw_data/Unit/V.txt" << announced;
    QTest::newRow("over a file of the companion root") << "old_raw_data/unit/v.txt"
                                                       << "raw_data/Unit/V.txt" << announced;
    QTest::newRow("over a file of the same root") << "raw_data/unit/v.txt"
                                                  << "raw_data/unit/v.txt"
                                                  << " 2020-01-01T02:00:00Z";
}

void tst_program_build::virtual_files()
{
    QFETCH(QString, on_disk);
    QFETCH(QString, place);
    QFETCH(QString, known);
    SCRIPTED_SCENE scene;
    if (!on_disk.isEmpty())
        scene.tree.write(on_disk, "x", FILES::hour(2));
    GOX_COMPARE_STATUS(scene.run("processor p\nvirtual 2020-01-01T09:00:00Z <raw>/Unit/V.txt\n"
                                 "action a\nreads <raw>/unit/v.txt\nfiles\n"),
                       0, scene.gox);
    QCOMPARE(scene.log().body("a").section('\n', 0, 0), "input " + scene.tree.path(place) + known);
}

void tst_program_build::retail_data()
{
    QTest::addColumn<bool>("retail");
    QTest::addColumn<QStringList>("actions");
    QTest::newRow("off") << false << QStringList{"before", "after"};
    QTest::newRow("on") << true << QStringList{"before", "pack", "after"};
}

void tst_program_build::retail()
{
    QFETCH(bool, retail);
    QFETCH(QStringList, actions);
    SCRIPTED_SCENE scene;
    scene.configuration.retail = retail;
    GOX_COMPARE_STATUS(scene.run("trace trace.txt\nprocessor p\naction before\naction pack\n"
                                 "writes <retail>/Pack.bin\naction after\n"),
                       0, scene.gox);
    QCOMPARE(scene.log().actions(), actions);
    QCOMPARE(scene.trace("delete"), retail ? QStringList() : QStringList{"main delete pack"});
    QCOMPARE(scene.tree.exists("retail_build/Pack.bin"), retail);
}

// A target takes the spelling that its folder has on disk, and leaves the
// companion root that it was found in.
void tst_program_build::targets_are_prepared()
{
    SCRIPTED_SCENE scene;
    scene.tree.write("working_data/Unit/old.txt", "old", FILES::hour(1));
    scene.tree.write("old_working_data/unit/z.txt", "old", FILES::hour(1));
    GOX_COMPARE_STATUS(scene.run("processor p\naction a\nwrites <working>/unit/new/x.txt\n"
                                 "writes <working>/fresh/y.txt\nwrites <working>/unit/z.txt\nfiles\n"),
                       0, scene.gox);
    for (const char* target :
         {"working_data/Unit/new/x.txt", "working_data/fresh/y.txt", "working_data/Unit/z.txt"}) {
        QVERIFY2(scene.log().body("a").contains("target " + scene.tree.path(target) + ' '),
                 qPrintable(scene.log().body("a")));
        QCOMPARE(scene.tree.read(target), QByteArray("made by a\n"));
    }
    QCOMPARE(scene.tree.read("old_working_data/unit/z.txt"), QByteArray("old"));
    QVERIFY(!scene.tree.exists("working_data/unit"));
}

void tst_program_build::intermediate_files_and_dates()
{
    SCRIPTED_SCENE scene;
    scene.tree.write("raw_data/old.txt", "x", FILES::hour(1));
    scene.tree.write("raw_data/new.txt", "x", FILES::hour(5));
    for (const char* target : {"current", "stale", "stamped", "through"})
        scene.tree.write(QStringLiteral("working_data/") + target, "x", FILES::hour(3));
    scene.tree.write("working_data/middle", "x", FILES::hour(4));
    GOX_COMPARE_STATUS(
        scene.run(
            "processor p\n"
            "action current\nreads <raw>/old.txt\nwrites <working>/current\nfiles\nleaves_targets\n"
            "action stale\nreads <raw>/new.txt\nwrites <working>/stale\nfiles\nleaves_targets\n"
            "action stamped\nreads <raw>/old.txt\nstamp 2020-01-01T09:00:00Z\nwrites <working>/stamped\n"
            "files\nleaves_targets\n"
            // the middle file is younger than the target, but what it is made from is not
            "action maker\nreads <raw>/old.txt\nwrites intermediate <working>/middle\nleaves_targets\n"
            "action through\nreads <working>/middle\nwrites <working>/through\nfiles\nleaves_targets\n"),
        0, scene.gox);
    const auto target_line = [&scene](const char* action) {
        const QStringList lines = scene.log().body(action).split('\n').filter("target ");
        return lines.value(0);
    };
    QVERIFY2(!target_line("current").contains("outdated"), qPrintable(target_line("current")));
    QVERIFY2(target_line("stale").endsWith("outdated_target"), qPrintable(target_line("stale")));
    QVERIFY2(target_line("stamped").endsWith("outdated_target"), qPrintable(target_line("stamped")));
    QVERIFY2(!target_line("through").contains("outdated"), qPrintable(target_line("through")));
    QVERIFY(scene.log().body("through").contains("middle 2020-01-01T04:00:00Z intermediate"));
}

// Of the nearest folder first, then upwards while rules inherit, the global
// ones last; rule files above the scan roots count, those of the retail tree don't.
void tst_program_build::rules_reach_the_plugins()
{
    SCRIPTED_SCENE scene;
    const auto rule_file = [](const QByteArray& files, const QByteArray& property, const QByteArray& value) {
        return "<rules><rule name='Texture' inherit='true'><files>" + files + "</files><property name='" +
               property + "'>" + value + "</property></rule></rules>";
    };
    scene.tree.write("raw_data/rules.gox", rule_file("", "Size", "top"));
    scene.tree.write("raw_data/unit/rules.gox", rule_file("*.txt, -b*", "Size", "unit"));
    scene.tree.write("retail_build/rules.gox", rule_file("", "Depth", "retail"));
    scene.tree.write("tool/GOX/all.rules.gox", rule_file("&lt;raw>/...", "Format", "global"));
    scene.tree.write("raw_data/unit/a.txt", "x");
    scene.tree.write("raw_data/unit/b.txt", "x");
    scene.configuration.processors = {"p"};
    scene.configuration.global_rules = {"all.rules.gox"};
    const QByteArray questions =
        "rule texture size\nrule TEXTURE Format\nrule Texture Depth\nrule Sound Size\n";
    GOX_COMPARE_STATUS(scene.run("processor p\nscan <raw>/unit\n"
                                 "action a\nreads <raw>/unit/a.txt\n" +
                                 questions + "action b\nreads <raw>/unit/b.txt\n" + questions),
                       0, scene.gox);
    const QString common =
        "TEXTURE Format: global\nTexture Depth: no value\nSound Size: no rule\n" + end_of_executed_section();
    QCOMPARE(scene.log().body("a"), "texture size: unit\n" + common);
    QCOMPARE(scene.log().body("b"), "texture size: top\n" + common);
}

void tst_program_build::a_new_build_empties_the_logs()
{
    SCRIPTED_SCENE scene;
    for (const char* log : {"gox.log", "gox_warnings.log", "gox_error.log", "gox_startup_error.log"})
        scene.tree.write(QStringLiteral("tool/") + log, "from yesterday");
    GOX_COMPARE_STATUS(scene.run("processor p\naction a\n"), 0, scene.gox);
    QVERIFY(!scene.tree.read("tool/gox.log").contains("yesterday"));
    for (const char* log : {"gox_warnings.log", "gox_error.log", "gox_startup_error.log"})
        QCOMPARE(scene.tree.read(QStringLiteral("tool/") + log), QByteArray());
    // An empty plan starts no build: the logs of the last one stay.
    const QByteArray last = scene.tree.read("tool/gox.log");
    GOX_COMPARE_STATUS(scene.run(""), 0, scene.gox);
    QCOMPARE(scene.tree.read("tool/gox.log"), last);
}

void tst_program_build::console_summary()
{
    SCRIPTED_SCENE scene;
    GOX_COMPARE_STATUS(
        scene.run("processor p\naction fine\naction torn\nends 4\naction left\ndepends torn\n"), 1,
        scene.gox);
    for (const char* step : {"Connecting the database...", "Loading plugins...", "Analysing dependencies..."})
        QVERIFY2(scene.gox.out.contains(step), scene.gox.report());
    for (const char* text : {"torn", "left", "gox.log"})
        QVERIFY2(scene.gox.out.contains(text), scene.gox.report());
    QVERIFY2(!scene.gox.out.contains("fine"), scene.gox.report());
    QVERIFY2(scene.gox.err.isEmpty(), scene.gox.report());
}

QTEST_GUILESS_MAIN(tst_program_build)
#include "tst_program_build.moc"
