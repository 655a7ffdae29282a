#include <QtTest/QtTest>

#include "tests/support/files.h"
#include "tests/support/rows.h"
#include "tests/support/scripted_scene.h"
#include "tests/support/watched_test.h"

namespace {

const char SCRIPT_OF_ONE[] = "processor p\naction a\n";
const char TAG[] = "." GOX_BUILD_TAG ".dll";

using HELP = ROWS<QStringList, QByteArray>;
using OPTIONS = ROWS<QStringList, QByteArray>;
using CHOICES = ROWS<QStringList, QStringList>;
using BROKEN = ROWS<QString, QByteArray, QByteArray>;         // name, file, error
using PLUGINS = ROWS<QStringList, bool, bool, QByteArray>;    // files, stops, stops always, log
using PROCESSORS = ROWS<QVector<QString>, QStringList, bool>; // named, kept, complains

} // namespace

/// How the program starts: options, configuration, database, plugins, and the
/// road that it leaves by.
class tst_program_start : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void help_and_version_data()
    {
        const HELP row;
        row("help", {"--help"}, "\n  --configuration=NAME       run GOX/NAME_");
        row("help among others", {"--configuration=ci", "-?"},
            "\n  --help, -h, -?             show this text\n");
        row("version", {"-v"}, "1.");
    }
    // Both work in a folder that is no tool folder of a data tree.
    void help_and_version()
    {
        const auto [arguments, text] = HELP::values();
        TEMPORARY_TREE tree;
        tree.lay_out_program();
        tree.remove("raw_data");
        PROGRAM_RUN gox(tree);
        const QStringList before = FILES::below(tree.path());
        GOX_COMPARE_STATUS(gox.run(arguments), 0, gox);
        QVERIFY2(gox.out.contains(text) && gox.err.isEmpty(), gox.report());
        QCOMPARE(FILES::below(tree.path()), before);
    }

    void no_data_tree()
    {
        SCRIPTED_SCENE scene;
        scene.tree.remove("raw_data");
        GOX_COMPARE_STATUS(scene.run(SCRIPT_OF_ONE), 1, scene.gox);
        QVERIFY(!scene.tree.exists("tool/gox_startup_error.log"));
    }

    void option_texts_data()
    {
        const OPTIONS row;
        row("value without an option", {"--offline", "x", "stray"}, "stray");
        row("misspelt option", {"--dont_stop"}, "did you mean --dont_stop_on_error?");
        row("value too many", {"--nosplashscreen=yes"}, "takes no value; 'yes'");
        row("no value for the configuration", {"--Configuration"},
            "Missing value for parameter 'Configuration'!");
        row("empty value for the configuration", {"-CONFIGURATION="},
            "Missing value for parameter 'CONFIGURATION'!");
        row("accepted and ignored",
            {"--Assert_At_Startup", "--changelist=7", "-nosplashscreen", "--offline", "--workspace", "w",
             "--build_server", "--swallow_startup_asserts"},
            "");
    }
    // Whatever is wrong with an option is told, and the run goes on.
    void option_texts()
    {
        const auto [options, text] = OPTIONS::values();
        SCRIPTED_SCENE scene;
        GOX_COMPARE_STATUS(scene.run(SCRIPT_OF_ONE, options), 0, scene.gox);
        QVERIFY2(scene.gox.err.contains(text), scene.gox.report());
        QCOMPARE(scene.gox.err.isEmpty(), text.isEmpty());
        QCOMPARE(scene.log().count, 1);
    }

    void handle_crash_removes_the_call_stack()
    {
        SCRIPTED_SCENE scene;
        scene.tree.write("tool/call_stack.txt", "x");
        GOX_COMPARE_STATUS(scene.run(""), 0, scene.gox);
        QVERIFY(scene.tree.exists("tool/call_stack.txt"));
        GOX_COMPARE_STATUS(scene.run("", {"--Handle_Crash"}), 0, scene.gox);
        QVERIFY(!scene.tree.exists("tool/call_stack.txt"));
    }

    void configuration_choice_data()
    {
        const CHOICES row;
        row("by name", {"--configuration=one"}, {"first"});
        row("value behind", {"-configuration", "two"}, {"second"});
        row("default", {}, {"first", "second"});
        row("the last of equal keys", {"--configuration=one", "--configuration=two"}, {"second"});
        // Keys are walked in their order, and capitals come first.
        row("the last key in order", {"--configuration=one", "--Configuration=two"}, {"first"});
        row("a later key without a value", {"--Configuration=two", "--configuration"}, {"second"});
    }
    void configuration_choice()
    {
        const auto [arguments, actions] = CHOICES::values();
        SCRIPTED_SCENE scene;
        scene.tree.write_script("processor p\naction first\nprocessor q\norder 1\naction second\n");
        write_configuration(scene.tree, "default", scene.configuration);
        scene.configuration.processors = {"p"};
        write_configuration(scene.tree, "one", scene.configuration);
        scene.configuration.processors = {"q"};
        write_configuration(scene.tree, "two", scene.configuration);
        GOX_COMPARE_STATUS(scene.gox.run(arguments), 0, scene.gox);
        QCOMPARE(scene.log().actions(), actions);
    }

    void broken_configuration_data()
    {
        const BROKEN row;
        row("missing", "bad", "", "GOX/bad_configuration.xml: ");
        row("broken", "bad", "<configuration>\n<retail>perhaps</retail>\n</configuration>",
            "GOX/bad_configuration.xml:2:");
        row("entries beyond all measure", "bad",
            "<configuration><processors>" + QByteArray("<processor>p</processor>").repeated(1000001) +
                "</processors></configuration>",
            "GOX/bad_configuration.xml:1:");
        // Not reported; what follows needs a person, and here is none.
        row("default is missing", "default", "", "");
        row("default is broken", "default", "<configuration><silent>", "");
    }
    void broken_configuration()
    {
        const auto [name, file, error] = BROKEN::values();
        SCRIPTED_SCENE scene;
        if (!file.isEmpty())
            scene.tree.write("tool/GOX/" + name + "_configuration.xml", file);
        scene.tree.write_script(SCRIPT_OF_ONE);
        QStringList arguments("--dont_stop_on_error");
        if (name != "default")
            arguments.append("--configuration=" + name);
        GOX_COMPARE_STATUS(scene.gox.run(arguments), 1, scene.gox);
        QCOMPARE(scene.gox.err.contains("Failed to load configuration!\n"), !error.isEmpty());
        QVERIFY2(scene.gox.err.contains(error) && !scene.gox.err.isEmpty(), scene.gox.report());
        QVERIFY(!scene.tree.exists("tool/gox.log"));
        QCOMPARE(scene.tree.exists("tool/gox_startup_error.log"), error.isEmpty());
    }

    // Unknown elements are passed over, and retail output takes part unless the
    // file says otherwise.
    void configuration_of_another_program()
    {
        SCRIPTED_SCENE scene;
        scene.tree.write(
            "tool/GOX/new_configuration.xml",
            "<configuration><of_tomorrow><silent>false</silent></of_tomorrow>\n"
            "<silent>true</silent><no_progress_dialog>true</no_progress_dialog></configuration>");
        scene.tree.write_script("processor p\naction pack\nwrites <retail>/x\n");
        GOX_COMPARE_STATUS(scene.gox.run({"--configuration=new"}), 0, scene.gox);
        QCOMPARE(scene.log().actions(), QStringList{"pack"});
    }

    // Configurations and plugins belong to the current folder, logs and global
    // rules to the program's.
    void current_and_program_folder()
    {
        SCRIPTED_SCENE scene;
        const QString plugin = QStringLiteral("GOX_scripted") + TAG;
        scene.tree.make_folder("desk");
        scene.tree.add_plugin("scripted", "../desk/" + plugin);
        scene.tree.remove("tool/" + plugin);
        scene.tree.write(
            "desk/GOX/ci_configuration.xml",
            "<configuration><silent>true</silent><no_progress_dialog>true</no_progress_dialog>"
            "<global_rules><global_rule>all.rules.gox</global_rule></global_rules></configuration>");
        scene.tree.write("tool/GOX/all.rules.gox",
                         "<rules><rule name='R'><property name='P'>found</property></rule></rules>");
        scene.tree.write_script("processor p\naction a\nreads <raw>/a\nrule R P\n");
        scene.gox.folder = "desk";
        GOX_COMPARE_STATUS(scene.gox.run({"--configuration=ci"}), 0, scene.gox);
        QVERIFY2(scene.log().body("a").startsWith("R P: found\n"), qPrintable(scene.log().body("a")));
        QCOMPARE(FILES::below(scene.tree.path("desk")), QStringList({"GOX/ci_configuration.xml", plugin}));
    }

    void database_folder()
    {
        SCRIPTED_SCENE scene;
        scene.tree.remove("raw_data/db");
        GOX_COMPARE_STATUS(scene.run(SCRIPT_OF_ONE), 1, scene.gox);
        QByteArray log = scene.tree.read("tool/gox_startup_error.log");
        QVERIFY2(log.startsWith("Failed to connect the database!\n\n"), log.constData());
        QVERIFY2(log.contains(scene.tree.path("raw_data/db").toUtf8()), log.constData());
        QVERIFY2(scene.gox.err.contains(log), scene.gox.report());
        QVERIFY(!scene.tree.exists("tool/gox.log"));

        scene.tree.write("tool/test_database", ""); // the marker
        GOX_COMPARE_STATUS(scene.run(""), 1, scene.gox);
        QVERIFY(scene.tree.read("tool/gox_startup_error.log").contains("raw_data/test_db"));
        scene.tree.write("raw_data/test_db/schema.xml", QByteArray("<a>").repeated(200000));
        GOX_COMPARE_STATUS(scene.run(""), 1, scene.gox);
        log = scene.tree.read("tool/gox_startup_error.log");
        QVERIFY2(log.startsWith("Failed to connect the database!\n\n"), log.constData());
        QVERIFY2(log.contains("schema.xml:1:"), log.constData());
        scene.tree.remove("raw_data/test_db/schema.xml");
        GOX_COMPARE_STATUS(scene.run(""), 0, scene.gox);
    }

    // Each file is a built plugin, or "junk", and a name to give it.
    void plugins_data()
    {
        const QByteArray none = "GOX plugins could not be loaded for some reason!";
        const QByteArray some = "The following plugins were not loaded (missing dependencies?):\n\n";
        const QString tag = TAG;
        const PLUGINS row;
        row("the scripted one", {"scripted="}, false, false, "");
        row("none", {}, true, true, none);
        row("another tag", {"scripted=GOX_scripted.othertag.dll"}, true, true, none);
        row("no tag", {"scripted=GOX_scripted.dll"}, true, true, none);
        row("no prefix", {"scripted=MY_scripted" + tag}, true, true, none);
        row("in a folder", {"scripted=sub/GOX_scripted" + tag}, true, true, none);
        row("only excluded names", {"scripted=GOX_cleanretail" + tag, "scripted=GOX_VariantMeshPart" + tag},
            true, true, none);
        row("excluded names beside another", {"scripted=", "missing_symbol=GOX_CleanRetail.more" + tag},
            false, false, "");
        row("nearly an excluded name", {"scripted=GOX_cleanretail2" + tag}, false, false, "");
        row("junk alone", {"junk=GOX_junk" + tag}, true, true, none);
        row("junk beside", {"scripted=", "junk=GOX_junk" + tag}, false, false, "");
        row("no plugin beside", {"scripted=", "no_plugin="}, false, false, "");
        row("another interface beside", {"scripted=", "odd_root="}, false, false, "");
        row("missing symbol alone", {"missing_symbol="}, true, true, none);
        row("missing symbol beside", {"scripted=", "missing_symbol="}, true, false, some);
        row("missing library beside", {"scripted=", "missing_library="}, true, false, some);
        row("another level beside", {"scripted=", "other_level="}, true, false, some);
        row("another level alone", {"other_level="}, true, true, none);
        row("no level", {"no_level="}, false, false, "");
    }
    // Without dont_stop_on_error, and with it.
    void plugins()
    {
        const auto [files, stops, stops_always, log] = PLUGINS::values();
        SCRIPTED_SCENE scene;
        scene.tree.remove(QStringLiteral("tool/GOX_scripted") + TAG);
        scene.tree.make_folder("tool/sub");
        for (const QString& file : files) {
            const QString name = file.section('=', 0, 0);
            if (name == "junk")
                scene.tree.write("tool/" + file.section('=', 1), "no library at all");
            else
                scene.tree.add_plugin(name, file.section('=', 1));
        }
        write_configuration(scene.tree, "ci", scene.configuration);
        GOX_COMPARE_STATUS(scene.gox.run({"--configuration=ci"}), stops ? 1 : 0, scene.gox);
        const QByteArray written = scene.tree.read("tool/gox_startup_error.log");
        QVERIFY2(written.startsWith(log) && written.isEmpty() == log.isEmpty(), written.constData());
        if (log.startsWith("The following")) {
            QCOMPARE(written.count('\n'), 2); // one failure, with no line end behind it
            const QMap<QByteArray, QByteArray> causes = {
                {"missing symbol beside", "gox_test_symbol_that_is_nowhere"},
                {"missing library beside", "gox_test_library"},
                {"another level beside", "level 9999 of the plugin kit, this program has level "}};
            const QByteArray plugin = files.last().chopped(1).toUtf8();
            QVERIFY2(
                written.contains("Cannot load library " + scene.tree.path("tool/GOX_").toUtf8() + plugin) &&
                    written.contains(causes[QTest::currentDataTag()]),
                written.constData());
        }
        QVERIFY(!scene.tree.exists("tool/entered.txt"));
        GOX_COMPARE_STATUS(scene.run(""), stops_always ? 1 : 0, scene.gox);
        QCOMPARE(scene.tree.read("tool/gox_startup_error.log"), written);
    }

    void processors_data()
    {
        const PROCESSORS row;
        row("all", {}, {"one", "twin", "twin"}, false);
        row("one", {"one"}, {"one"}, false);
        row("letter case counts", {"One"}, {}, true);
        row("missing one", {"one", "none"}, {"one"}, true);
        row("listed twice", {"one", "one"}, {"one"}, true);
        row("two of a name", {"twin"}, {"twin", "twin"}, true);
        row("a twin offsets a missing one", {"twin", "none"}, {"twin", "twin"}, false);
    }
    void processors()
    {
        const auto [named, kept, complains] = PROCESSORS::values();
        SCRIPTED_SCENE scene;
        scene.tree.write("tool/gox_plugin_error.log", "from yesterday");
        scene.configuration.processors = named;
        GOX_COMPARE_STATUS(scene.run("trace trace.txt\nprocessor one\nprocessor twin\nprocessor twin\n"), 0,
                           scene.gox);
        QCOMPARE(scene.trace("collect_actions").replaceInStrings("main collect_actions ", ""), kept);
        QCOMPARE(scene.trace("delete").size(), 3 - kept.size());
        QCOMPARE(scene.tree.exists("tool/gox_plugin_error.log"), complains);
        if (complains)
            QCOMPARE(scene.tree.read("tool/gox_plugin_error.log"),
                     QByteArray("Couldn't create all processors, check that GOX has been built."));
    }

    void scan_roots_of_named_processors()
    {
        SCRIPTED_SCENE scene;
        for (const char* file : {"raw_data/unit/a.txt", "raw_data/unit10/b.txt", "old_raw_data/unit/c.txt",
                                 "working_data/more/d.txt", "raw_data/other/e.txt"})
            scene.tree.write(file, "x");
        scene.configuration.processors = {"p"};
        scene.configuration.directories = {"<working>/more"};
        for (const char* seen : {"acd", "abcde"}) {
            GOX_COMPARE_STATUS(scene.run("processor p\nscan <raw>/unit\naction a\nreads <raw>/unit/a.txt\n"
                                         "reads <raw>/unit10/b.txt\nreads <raw>/unit/c.txt\n"
                                         "reads <working>/more/d.txt\nreads <raw>/other/e.txt\nfiles\n"),
                               0, scene.gox);
            // "old_raw_data/unit/c.txt" is named as a file of raw_data and found by its logical path.
            QString names;
            for (const QString& line : scene.log().body("a").split('\n').filter("input "))
                names += line.section(' ', 1, 1).section('/', -1).left(1);
            QCOMPARE(names, QString(seen));
            scene.configuration.directories = {"..."};
        }
    }

    // A test that misspells its script is to notice.
    void script_errors_are_told()
    {
        SCRIPTED_SCENE scene;
        GOX_COMPARE_STATUS(scene.run("processor p\nfrobnicate x\naction a\nends well\ndepends b\n"), 1,
                           scene.gox);
        QCOMPARE(scene.log("gox_error.log").body("errors"),
                 QStringLiteral("script.txt:2: \"frobnicate\" is no word of a processor\n"
                                "script.txt:4: \"ends\" can't have the argument \"well\"\n"
                                "script.txt:5: there is no action \"b\"\n"));
    }
};

QTEST_GUILESS_MAIN(tst_program_start)
#include "tst_program_start.moc"
