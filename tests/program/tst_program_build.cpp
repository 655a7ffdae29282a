#include <QtCore/QRegularExpression>
#include <QtTest/QtTest>

#include "tests/support/files.h"
#include "tests/support/rows.h"
#include "tests/support/scripted_scene.h"
#include "tests/support/watched_test.h"

using STATES = ROWS<QByteArray, int, bool, bool, bool>; // action, status, warned, failed, dependant runs
using REVIEWS = ROWS<QByteArray, bool, QString, int>;   // action, is asked, log, status
using ORDERS = ROWS<QByteArray, QStringList>;

/// What a build of the real program does to its actions, and what it writes
/// about them.
class tst_program_build : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void logs_byte_for_byte()
    {
        SCRIPTED_SCENE scene;
        for (const char* log : {"gox.log", "gox_warnings.log", "gox_error.log", "gox_startup_error.log"})
            scene.tree.write(QStringLiteral("tool/") + log, "from yesterday");
        GOX_COMPARE_STATUS(
            scene.run(
                "processor First one\norder 1\n"
                "action good\nlong the good one\nsays a line\nwarns from Qt\nsays\n"
                "processor Second\norder 2\n"
                "action warned\nsays careful\nends 3\naction bad\nends 4\naction follower\ndepends bad\n"),
            1, scene.gox);
        const QByteArray end = "\n=====================================\nDuration: *\n\n";
        const QByteArray warned = "=== Second / warned ===\ncareful\n" + end;
        const QByteArray bad = "=== Second / bad ===\n" + end;
        QCOMPARE(without_durations(scene.tree.read("tool/gox.log")),
                 "4 action(s) were selected for execution.\n\n"
                 "=== First one / the good one ===\na line\nfrom Qt\n\n" +
                     end + warned + bad +
                     "=== Second / follower ===\nSome of its dependencies has failed:\n - bad\n\n");
        QCOMPARE(without_durations(scene.tree.read("tool/gox_warnings.log")), warned);
        QCOMPARE(without_durations(scene.tree.read("tool/gox_error.log")), bad);
        QVERIFY(QString(scene.tree.read("tool/gox_error.log"))
                    .contains(QRegularExpression("\nDuration: \\d+ msec\\(s\\)\n")));
        QVERIFY(scene.tree.exists("tool/gox_startup_error.log"));
        QCOMPARE(scene.tree.read("tool/gox_startup_error.log"), QByteArray());
        // An empty plan starts no build: the logs of the last one stay.
        const QByteArray last = scene.tree.read("tool/gox.log");
        GOX_COMPARE_STATUS(scene.run(""), 0, scene.gox);
        QCOMPARE(scene.tree.read("tool/gox.log"), last);
    }

    void states_decide_logs_and_status_data()
    {
        const STATES row;
        row("succeeded", "ends 2", 0, false, false, true);
        row("with warnings", "ends 3", 0, true, false, true);
        row("failed", "ends 4", 1, false, true, false);
        row("failed alone", "ends 6", 1, false, false, true);
        row("says a dependency failed", "ends 5", 1, false, false, false);
        row("unknown state", "ends 7", 1, false, false, true);
        row("state of not run", "ends 0", 1, false, false, true);
        row("done before", "begins 2", 0, false, false, true);
        row("warned before", "begins 3", 0, true, false, true);
        row("failed before", "begins 4", 1, false, true, false);
    }
    void states_decide_logs_and_status()
    {
        const auto [action, status, in_warnings, in_errors, dependant_runs] = STATES::values();
        SCRIPTED_SCENE scene;
        GOX_COMPARE_STATUS(scene.run("trace trace.txt\nprocessor p\naction a\n" + action +
                                     "\naction dependant\ndepends a\n"),
                           status, scene.gox);
        QCOMPARE(scene.log().actions(), QStringList({"a", "dependant"}));
        QCOMPARE(scene.log("gox_warnings.log").actions().contains("a"), in_warnings);
        QCOMPARE(scene.log("gox_error.log").actions().contains("a"), in_errors);
        QCOMPARE(scene.trace().contains("build execute dependant"), dependant_runs);
        // An action that something else has left in a state is logged, not run.
        const bool runs = !action.startsWith("begins");
        QCOMPARE(scene.trace().contains("build execute a"), runs);
        QCOMPARE(scene.log().body("a"), runs ? end_of_executed_section() : QString());
    }

    void failure_travels_down_a_chain()
    {
        SCRIPTED_SCENE scene;
        GOX_COMPARE_STATUS(
            scene.run("trace trace.txt\nprocessor p\naction bad\nlong bad in full\nends 4\n"
                      "action preset\npreset first reason\npreset second reason\nsays never\nneeds_review\n"
                      "writes <working>/deep/er/a.txt\n"
                      "action child\ndepends preset\ndepends bad\naction grandchild\ndepends child\n"
                      "action stubborn\nignores_dependencies\ndepends bad\naction unconcerned\n"),
            1, scene.gox);
        const QString head = "Some of its dependencies has failed:\n";
        QCOMPARE(scene.log().body("child"), head + " - preset\n - bad in full\n");
        QCOMPARE(scene.log().body("grandchild"), head + " - child\n");
        QCOMPARE(scene.trace("execute"),
                 QStringList({"build execute bad", "build execute unconcerned", "build execute stubborn"}));
        QCOMPARE(scene.log("gox_error.log").actions().size(), 2);
        // Errors from before the build keep an action from running; its folder is made all the same.
        for (const char* log : {"gox.log", "gox_error.log"})
            QCOMPARE(scene.log(log).body("preset"), QString("first reason\nsecond reason\n"));
        QVERIFY(scene.tree.exists("working_data/deep/er"));
    }

    void review_data()
    {
        const REVIEWS row;
        row("warns", "needs_review", true, "gox_warnings.log", 0);
        row("fails", "needs_review\nreview_fails", true, "gox_error.log", 1);
        row("not needed", "review_fails", false, "gox.log", 0);
        row("after warnings", "needs_review\nreview_fails\nends 3", false, "gox_warnings.log", 0);
        row("after a failure", "needs_review\nends 6", false, "gox.log", 1);
        row("by an assertion", "raises oh", true, "gox_warnings.log", 0);
        row("by an assertion, fails", "review_fails\nraises oh", true, "gox_error.log", 1);
    }
    void review()
    {
        const auto [action, is_asked, log, status] = REVIEWS::values();
        SCRIPTED_SCENE scene;
        GOX_COMPARE_STATUS(scene.run("trace trace.txt\nprocessor p\naction a\n" + action + '\n'), status,
                           scene.gox);
        QCOMPARE(!scene.trace("review_is_failure").isEmpty(), is_asked);
        for (const char* name : {"gox_warnings.log", "gox_error.log"})
            QCOMPARE(scene.log(name).actions().size(), QLatin1String(name) == log ? 1 : 0);
    }

    void assertions_count_once_an_action()
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

    void order_data()
    {
        const ORDERS row;
        row("as collected", "action c\naction a\naction b\n", {"c", "a", "b"});
        row("by order number of the processor", "order 5\naction late\nprocessor q\norder -5\naction early\n",
            {"early", "late"});
        row("dependencies through files",
            "virtual <working>/a\naction reads\nreads <working>/a\naction writes\nwrites <working>/a\n",
            {"writes", "reads"});
        row("main provider before the other writers",
            "action second\nwrites secondary <working>/a\naction main\nwrites <working>/a\n"
            "action reader\nreads <working>/a\n",
            {"main", "second", "reader"});
        row("two groups interleaved",
            "action a1\ngroup g\naction b1\ngroup h\naction a2\ngroup g\naction b2\ngroup h\n",
            {"a1", "a2", "b1", "b2"});
        row("a cycle ends", "action c\ndepends a\naction a\ndepends b\naction b\nlong B\ndepends a\n", {});
        // What is merely needed is not carried along, and what is pulled is a dependency as well.
        row("carried along",
            "action a\nwrites <working>/chosen\npulls pulled\ndepends needed\n"
            "action pulled\npulls deep\naction needed\naction deep\naction other\n",
            {"deep", "pulled", "a"});
    }
    void order()
    {
        const auto [script, expected] = ORDERS::values();
        SCRIPTED_SCENE scene;
        if (script.contains("<working>/chosen"))
            scene.configuration.selected_providers = QStringList{"<working>/chosen"};
        GOX_COMPARE_STATUS(scene.run("processor p\n" + script), 0, scene.gox);
        if (!expected.isEmpty()) {
            QCOMPARE(scene.log().actions(), expected);
            return;
        }
        QCOMPARE(scene.log().actions().size(), 3); // any order, but all of them
        QCOMPARE(scene.gox.out.count("wait for each other: p / a -> p / B -> p / a\n"), 1);
    }

    void calls_in_order()
    {
        SCRIPTED_SCENE scene;
        GOX_COMPARE_STATUS(
            scene.run("trace trace.txt\n"
                      "processor p\norder 2\naction a\nservices\naction b\nneeds_review\ndepends a\n"
                      "processor q\norder 1\nvirtual <raw>/v.txt\naction c\nreads <raw>/v.txt\nfiles\n"),
            0, scene.gox);
        QCOMPARE(
            scene.trace().join(';'),
            QString("main collect_virtual_files q;main collect_virtual_files p;"
                    "main collect_actions q;main collect_files c;main collect_actions p;"
                    "main collect_files a;main collect_files b;"
                    "main resolve_dependencies c;main resolve_dependencies a;main resolve_dependencies b;"
                    "build checks_dependencies c;build execute c;"
                    "build checks_dependencies a;build execute a;"
                    "build checks_dependencies b;build execute b;build review_is_failure b"));
        QVERIFY(scene.log().body("a").startsWith("database: yes, asset graph: yes\n"));
        QVERIFY2(scene.log().body("c").contains(" virtual"), qPrintable(scene.log().body("c")));
    }

    // Of the nearest folder first, then upwards while rules inherit, the global
    // ones last; rule files above the scan roots count, those of the retail tree don't.
    void rules_reach_the_plugins()
    {
        SCRIPTED_SCENE scene;
        const auto write = [&](const char* file, const char* files, const char* property, const char* value) {
            scene.tree.write(file,
                             QStringLiteral("<rules><rule name='Texture' inherit='true'><files>%1</files>"
                                            "<property name='%2'>%3</property></rule></rules>")
                                 .arg(files, property, value)
                                 .toUtf8());
        };
        write("raw_data/rules.gox", "", "Size", "top");
        write("raw_data/unit/rules.gox", "*.txt, -b*", "Size", "unit");
        write("retail_build/rules.gox", "", "Depth", "retail");
        write("tool/GOX/all.rules.gox", "&lt;raw>/...", "Format", "global");
        scene.configuration.processors = {"p"};
        scene.configuration.global_rules = {"all.rules.gox"};
        QByteArray script = "processor p\nscan <raw>/unit\n";
        for (const QByteArray name : {"a", "b"}) {
            scene.tree.write("raw_data/unit/" + name + ".txt", "x");
            script += "action " + name + "\nreads <raw>/unit/" + name + ".txt\n" +
                      "rule texture size\nrule TEXTURE Format\nrule Texture Depth\nrule Sound Size\n";
        }
        GOX_COMPARE_STATUS(scene.run(script), 0, scene.gox);
        const QString common = "TEXTURE Format: global\nTexture Depth: no value\nSound Size: no rule\n" +
                               end_of_executed_section();
        QCOMPARE(scene.log().body("a"), "texture size: unit\n" + common);
        QCOMPARE(scene.log().body("b"), "texture size: top\n" + common);
    }

    void console_summary()
    {
        SCRIPTED_SCENE scene;
        GOX_COMPARE_STATUS(
            scene.run(
                "processor p\naction fine\naction torn\nsays reads a.txt\nsays line 7: bad\nsays\nends 4\n"
                "action left\ndepends torn\naction careful\nsays beware\nsays wrote b.txt\nends 3\n"
                "action preset\npreset one\npreset two\naction mute\nends 6\n"),
            1, scene.gox);
        for (const char* text :
             {"Connecting the database...", "Loading plugins...", "Analysing dependencies...",
              "failed: p / torn: line 7: bad\n", "not run because a dependency failed: p / left: Some",
              "failed: p / preset: two\n", "with warnings: p / careful: beware\n",
              "failed (others went on): p / mute\n", "/gox.log, gox_warnings.log, gox_error.log"})
            QVERIFY2(scene.gox.out.contains(text), scene.gox.report());
        QVERIFY2(!scene.gox.out.contains("fine") && scene.gox.err.isEmpty(), scene.gox.report());
    }
};

QTEST_GUILESS_MAIN(tst_program_build)
#include "tst_program_build.moc"
