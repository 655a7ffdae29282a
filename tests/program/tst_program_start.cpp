#include <QtCore/QRegularExpression>
#include <QtTest/QtTest>

#include "tests/support/files.h"
#include "tests/support/scripted_scene.h"
#include "tests/support/watched_test.h"

/// How the program starts: options, configuration, database, plugins, and the
/// road that it leaves by.
class tst_program_start : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void help_and_version_data();
    void help_and_version();
    void no_data_tree();
    void option_texts_data();
    void option_texts();
    void handle_crash_removes_the_call_stack();
    void configuration_choice_data();
    void configuration_choice();
    void default_configuration_data();
    void default_configuration();
    void default_configuration_keeps_retail();
    void broken_configuration_data();
    void broken_configuration();
    void unknown_elements_are_passed_over();
    void current_and_program_folder();
    void database_failure();
    void test_database_marker();
    void plugins_data();
    void plugins();
    void processors_data();
    void processors();
    void scan_roots_of_named_processors();
    void script_errors_are_told();
};

void tst_program_start::help_and_version_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("help") << QStringList{"--help"} << QByteArray("--dont_stop_on_error");
    QTest::newRow("help among others") << QStringList{"--configuration=ci", "-help"} << QByteArray("Usage");
    QTest::newRow("version") << QStringList{"--version"} << QByteArray("1.");
}

// Both work in a folder that is no tool folder of a data tree.
void tst_program_start::help_and_version()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, text);
    TEMPORARY_TREE tree;
    tree.lay_out_program();
    tree.remove("raw_data");
    PROGRAM_RUN gox(tree);
    const QStringList before = FILES::below(tree.path());
    GOX_COMPARE_STATUS(gox.run(arguments), 0, gox);
    QVERIFY2(gox.out.contains(text), gox.report());
    QCOMPARE(gox.err, QByteArray());
    QCOMPARE(FILES::below(tree.path()), before);
}

void tst_program_start::no_data_tree()
{
    SCRIPTED_SCENE scene;
    scene.tree.remove("raw_data");
    GOX_COMPARE_STATUS(scene.run("processor p\naction a\n"), 1, scene.gox);
    QVERIFY(!scene.tree.exists("tool/gox_startup_error.log"));
}

void tst_program_start::option_texts_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("value without an option") << QStringList{"--offline", "x", "stray"} << QByteArray("stray");
    QTest::newRow("misspelt option") << QStringList{"--dont_stop"} << QByteArray("dont_stop");
    QTest::newRow("no value for the configuration")
        << QStringList{"--Configuration"} << QByteArray("Missing value for parameter 'Configuration'!");
    QTest::newRow("empty value for the configuration")
        << QStringList{"-CONFIGURATION="} << QByteArray("Missing value for parameter 'CONFIGURATION'!");
    QTest::newRow("accepted and ignored") << QStringList{"--Assert_At_Startup", "--changelist=7",
                                                         "-nosplashscreen",     "--offline",
                                                         "--workspace",         "w",
                                                         "--build_server",      "--swallow_startup_asserts"}
                                          << QByteArray();
}

// Whatever is wrong with an option is told, and the run goes on.
void tst_program_start::option_texts()
{
    QFETCH(QStringList, options);
    QFETCH(QByteArray, text);
    SCRIPTED_SCENE scene;
    GOX_COMPARE_STATUS(scene.run("processor p\naction a\n", options), 0, scene.gox);
    QVERIFY2(scene.gox.err.contains(text), scene.gox.report());
    QCOMPARE(scene.gox.err.isEmpty(), text.isEmpty());
    QCOMPARE(scene.log().count, 1);
}

void tst_program_start::handle_crash_removes_the_call_stack()
{
    SCRIPTED_SCENE scene;
    scene.tree.write("tool/call_stack.txt", "x");
    GOX_COMPARE_STATUS(scene.run(""), 0, scene.gox);
    QVERIFY(scene.tree.exists("tool/call_stack.txt"));
    GOX_COMPARE_STATUS(scene.run("", {"--Handle_Crash"}), 0, scene.gox);
    QVERIFY(!scene.tree.exists("tool/call_stack.txt"));
}

void tst_program_start::configuration_choice_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QStringList>("actions");
    QTest::newRow("by name") << QStringList{"--configuration=one"} << QStringList{"first"};
    QTest::newRow("value behind") << QStringList{"-configuration", "two"} << QStringList{"second"};
    QTest::newRow("default") << QStringList() << QStringList{"first", "second"};
    QTest::newRow("the last of equal keys")
        << QStringList{"--configuration=one", "--configuration=two"} << QStringList{"second"};
    // Keys are walked in their order, and capitals come first.
    QTest::newRow("the last key in order")
        << QStringList{"--configuration=one", "--Configuration=two"} << QStringList{"first"};
    QTest::newRow("a later key without a value")
        << QStringList{"--Configuration=two", "--configuration"} << QStringList{"second"};
}

void tst_program_start::configuration_choice()
{
    QFETCH(QStringList, arguments);
    QFETCH(QStringList, actions);
    SCRIPTED_SCENE scene;
    scene.tree.write_script("processor p\naction first\nprocessor q\norder 1\naction second\n");
    CONFIGURATION configuration = unattended_configuration();
    write_configuration(scene.tree, "default", configuration);
    configuration.processors = {"p"};
    write_configuration(scene.tree, "one", configuration);
    configuration.processors = {"q"};
    write_configuration(scene.tree, "two", configuration);
    GOX_COMPARE_STATUS(scene.gox.run(arguments), 0, scene.gox);
    QCOMPARE(scene.log().actions(), actions);
}

void tst_program_start::default_configuration_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::newRow("missing") << QByteArray();
    QTest::newRow("broken") << QByteArray("<configuration><silent>");
}

// It is not reported; what follows needs a person, and here is none.
void tst_program_start::default_configuration()
{
    QFETCH(QByteArray, file);
    SCRIPTED_SCENE scene;
    if (!file.isEmpty())
        scene.tree.write("tool/GOX/default_configuration.xml", file);
    scene.tree.write_script("processor p\naction a\n");
    GOX_COMPARE_STATUS(scene.gox.run(), 1, scene.gox);
    QVERIFY2(!scene.gox.err.contains("Failed to load configuration"), scene.gox.report());
    QVERIFY2(!scene.gox.err.isEmpty(), scene.gox.report());
    QVERIFY(!scene.tree.exists("tool/gox.log"));
}

// Retail output takes part unless the file says otherwise.
void tst_program_start::default_configuration_keeps_retail()
{
    SCRIPTED_SCENE scene;
    scene.configuration.retail = true;
    scene.run("processor p\naction pack\nwrites <retail>/x\n");
    QByteArray file = scene.tree.read("tool/GOX/ci_configuration.xml");
    const int before = file.size();
    file.replace("<retail>true</retail>", "");
    QVERIFY2(file.size() < before, file.constData());
    scene.tree.write("tool/GOX/ci_configuration.xml", file);
    scene.tree.remove("tool/gox.log");
    GOX_COMPARE_STATUS(scene.gox.run({"--configuration=ci"}), 0, scene.gox);
    QCOMPARE(scene.log().actions(), QStringList{"pack"});
}

void tst_program_start::broken_configuration_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::newRow("missing") << QByteArray();
    QTest::newRow("empty") << QByteArray("\n");
    QTest::newRow("cut off") << QByteArray(
        "<?xml version=\"1.0\"?>\n<configuration>\n<silent>true</silent>\n");
    QTest::newRow("not XML") << QByteArray("silent=true\n");
    QTest::newRow("binary") << QByteArray("\x7f\x45\x4c\x46\0\0\xff\xfe", 8);
    QTest::newRow("another document") << QByteArray("<html/>");
    QTest::newRow("deeply nested") << QByteArray("<a>").repeated(100000);
    QTest::newRow("a value that means nothing")
        << QByteArray("<configuration>\n<retail>perhaps</retail>\n</configuration>");
    QTest::newRow("entries beyond all measure")
        << "<configuration><processors>" + QByteArray("<processor>p</processor>").repeated(1000001) +
               "</processors></configuration>";
    QTest::newRow("huge") << "<configuration>" + QByteArray("<silent>").append(QByteArray(100000000, 'x'));
}

void tst_program_start::broken_configuration()
{
    QFETCH(QByteArray, file);
    SCRIPTED_SCENE scene;
    if (!file.isEmpty())
        scene.tree.write("tool/GOX/bad_configuration.xml", file);
    GOX_COMPARE_STATUS(scene.gox.run({"--configuration=bad", "--dont_stop_on_error"}), 1, scene.gox);
    QVERIFY2(scene.gox.err.contains("Failed to load configuration!\n"), scene.gox.report());
    QVERIFY2(scene.gox.err.contains("GOX/bad_configuration.xml"), scene.gox.report());
    if (file.contains("perhaps"))
        QVERIFY2(scene.gox.err.contains("bad_configuration.xml:2"), scene.gox.report());
    QVERIFY(!scene.tree.exists("tool/gox_startup_error.log"));
}

void tst_program_start::unknown_elements_are_passed_over()
{
    SCRIPTED_SCENE scene;
    scene.tree.write("tool/GOX/new_configuration.xml",
                     "<configuration><of_tomorrow><silent>false</silent></of_tomorrow><silent>true</silent>\n"
                     "<no_progress_dialog>true</no_progress_dialog></configuration>");
    scene.tree.write_script("processor p\naction a\n");
    GOX_COMPARE_STATUS(scene.gox.run({"--configuration=new"}), 0, scene.gox);
    QCOMPARE(scene.log().count, 1);
}

// Configurations and plugins belong to the current folder, logs and global
// rules to the program's.
void tst_program_start::current_and_program_folder()
{
    SCRIPTED_SCENE scene;
    const QString plugin = "GOX_scripted." GOX_BUILD_TAG ".dll";
    scene.tree.make_folder("desk");
    scene.tree.add_plugin("scripted", "../desk/" + plugin);
    scene.tree.remove("tool/" + plugin);
    scene.tree.write("desk/GOX/ci_configuration.xml",
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

void tst_program_start::database_failure()
{
    SCRIPTED_SCENE scene;
    scene.tree.remove("raw_data/db");
    GOX_COMPARE_STATUS(scene.run("trace trace.txt\nprocessor p\naction a\n"), 1, scene.gox);
    const QByteArray log = scene.tree.read("tool/gox_startup_error.log");
    QVERIFY2(log.startsWith("Failed to connect the database!\n\n"), log.constData());
    QVERIFY2(log.contains(scene.tree.path("raw_data/db").toUtf8()), log.constData());
    QVERIFY2(scene.gox.err.contains(log), scene.gox.report());
    QVERIFY(!scene.tree.exists("tool/gox.log"));
}

void tst_program_start::test_database_marker()
{
    SCRIPTED_SCENE scene;
    scene.tree.write("tool/test_database", "");
    GOX_COMPARE_STATUS(scene.run(""), 1, scene.gox);
    QVERIFY(scene.tree.read("tool/gox_startup_error.log").contains("raw_data/test_db"));
    scene.tree.make_folder("raw_data/test_db");
    GOX_COMPARE_STATUS(scene.run(""), 0, scene.gox);
}

void tst_program_start::plugins_data()
{
    QTest::addColumn<QStringList>("files"); // built plugin, or "junk", and a name to give it
    QTest::addColumn<bool>("stops");        // without dont_stop_on_error
    QTest::addColumn<bool>("stops_always");
    QTest::addColumn<QByteArray>("log");
    const QByteArray none = "GOX plugins could not be loaded for some reason!";
    const QByteArray some = "The following plugins were not loaded (missing dependencies?):\n\n";
    const QString tag = "." GOX_BUILD_TAG ".dll";
    QTest::newRow("the scripted one") << QStringList{"scripted="} << false << false << QByteArray();
    QTest::newRow("none") << QStringList() << true << true << none;
    QTest::newRow("another tag") << QStringList{"scripted=GOX_scripted.othertag.dll"} << true << true << none;
    QTest::newRow("no tag") << QStringList{"scripted=GOX_scripted.dll"} << true << true << none;
    QTest::newRow("no prefix") << QStringList{"scripted=MY_scripted" + tag} << true << true << none;
    QTest::newRow("in a folder") << QStringList{"scripted=sub/GOX_scripted" + tag} << true << true << none;
    QTest::newRow("only excluded names")
        << QStringList{"scripted=GOX_cleanretail" + tag, "scripted=GOX_VariantMeshPart" + tag} << true << true
        << none;
    QTest::newRow("excluded names beside another")
        << QStringList{"scripted=", "missing_symbol=GOX_CleanRetail.more" + tag} << false << false
        << QByteArray();
    QTest::newRow("nearly an excluded name")
        << QStringList{"scripted=GOX_cleanretail2" + tag} << false << false << QByteArray();
    QTest::newRow("junk alone") << QStringList{"junk=GOX_junk" + tag} << true << true << none;
    QTest::newRow("junk beside") << QStringList{"scripted=", "junk=GOX_junk" + tag} << false << false
                                 << QByteArray();
    QTest::newRow("no plugin beside")
        << QStringList{"scripted=", "no_plugin="} << false << false << QByteArray();
    QTest::newRow("another interface beside")
        << QStringList{"scripted=", "odd_root="} << false << false << QByteArray();
    QTest::newRow("missing symbol alone") << QStringList{"missing_symbol="} << true << true << none;
    QTest::newRow("missing symbol beside")
        << QStringList{"scripted=", "missing_symbol="} << true << false << some;
}

void tst_program_start::plugins()
{
    QFETCH(QStringList, files);
    QFETCH(bool, stops);
    QFETCH(bool, stops_always);
    QFETCH(QByteArray, log);
    TEMPORARY_TREE tree;
    tree.lay_out_program();
    tree.make_folder("tool/sub");
    for (const QString& file : files) {
        const QString name = file.section('=', 0, 0);
        if (name == "junk")
            tree.write("tool/" + file.section('=', 1), "no library at all");
        else
            tree.add_plugin(name, file.section('=', 1));
    }
    write_configuration(tree, "ci", unattended_configuration());
    PROGRAM_RUN gox(tree);
    GOX_COMPARE_STATUS(gox.run({"--configuration=ci"}), stops ? 1 : 0, gox);
    const QByteArray written = tree.read("tool/gox_startup_error.log");
    QVERIFY2(written.startsWith(log) && written.isEmpty() == log.isEmpty(), written.constData());
    if (log.startsWith("The following")) {
        QCOMPARE(written.count('\n'), 2); // one failure, with no line end behind it
        QVERIFY2(written.contains("Cannot load") && written.contains("missing_symbol"), written.constData());
    }
    GOX_COMPARE_STATUS(gox.run({"--configuration=ci", "--dont_stop_on_error"}), stops_always ? 1 : 0, gox);
    QCOMPARE(tree.read("tool/gox_startup_error.log"), written);
}

void tst_program_start::processors_data()
{
    QTest::addColumn<QVector<QString>>("named");
    QTest::addColumn<QStringList>("kept");
    QTest::addColumn<bool>("complains");
    QTest::newRow("all") << QVector<QString>() << QStringList{"one", "twin", "twin"} << false;
    QTest::newRow("one") << QVector<QString>{"one"} << QStringList{"one"} << false;
    QTest::newRow("letter case counts") << QVector<QString>{"One"} << QStringList() << true;
    QTest::newRow("missing one") << QVector<QString>{"one", "none"} << QStringList{"one"} << true;
    QTest::newRow("listed twice") << QVector<QString>{"one", "one"} << QStringList{"one"} << true;
    QTest::newRow("two of a name") << QVector<QString>{"twin"} << QStringList{"twin", "twin"} << true;
    QTest::newRow("a twin offsets a missing one")
        << QVector<QString>{"twin", "none"} << QStringList{"twin", "twin"} << false;
}

void tst_program_start::processors()
{
    QFETCH(QVector<QString>, named);
    QFETCH(QStringList, kept);
    QFETCH(bool, complains);
    SCRIPTED_SCENE scene;
    scene.tree.write("tool/gox_plugin_error.log", "from yesterday");
    scene.configuration.processors = named;
    GOX_COMPARE_STATUS(scene.run("trace trace.txt\nprocessor one\nprocessor twin\nprocessor twin\n"), 0,
                       scene.gox);
    QCOMPARE(scene.trace("collect_actions").replaceInStrings("main collect_actions ", ""), kept);
    QCOMPARE(scene.trace("delete").size(), 3 - kept.size());
    QCOMPARE(scene.tree.read("tool/gox_plugin_error.log"),
             complains ? QByteArray("Couldn't create all processors, check that GOX has been built.")
                       : QByteArray());
    QCOMPARE(scene.tree.exists("tool/gox_plugin_error.log"), complains);
}

void tst_program_start::scan_roots_of_named_processors()
{
    SCRIPTED_SCENE scene;
    for (const char* file : {"raw_data/unit/a.txt", "raw_data/unit10/b.txt", "old_raw_data/unit/c.txt",
                             "working_data/more/d.txt", "raw_data/other/e.txt"})
        scene.tree.write(file, "x");
    scene.configuration.processors = {"p"};
    scene.configuration.directories = {"<working>/more"};
    const QByteArray script = "processor p\nscan <raw>/unit\naction a\nreads <raw>/unit/a.txt\n"
                              "reads <raw>/unit10/b.txt\nreads <raw>/unit/c.txt\nreads <working>/more/d.txt\n"
                              "reads <raw>/other/e.txt\nfiles\n";
    const auto seen = [&scene] {
        QStringList names;
        for (const QString& line : scene.log().body("a").split('\n').filter("input "))
            names.append(line.section(' ', 1, 1).section('/', -1));
        return names;
    };
    GOX_COMPARE_STATUS(scene.run(script), 0, scene.gox);
    // "old_raw_data/unit/c.txt" is named as a file of raw_data and found by its logical path.
    QCOMPARE(seen(), QStringList({"a.txt", "c.txt", "d.txt"}));
    scene.configuration.directories = {"..."};
    GOX_COMPARE_STATUS(scene.run(script), 0, scene.gox);
    QCOMPARE(seen(), QStringList({"a.txt", "b.txt", "c.txt", "d.txt", "e.txt"}));
}

// A test that misspells its script is to notice.
void tst_program_start::script_errors_are_told()
{
    SCRIPTED_SCENE scene;
    GOX_COMPARE_STATUS(scene.run("action lost\nprocessor p\nfrobnicate x\naction a\nends well\ndepends b\n"
                                 "takes\nleaves_targets now\nrule R\naction a\nwrites intermediate\n"
                                 "stamp monday\n"),
                       1, scene.gox);
    QCOMPARE(scene.log("gox_error.log").body("errors"),
             QStringLiteral("script.txt:1: \"action\" stands before the first processor\n"
                            "script.txt:3: \"frobnicate\" is no word of a processor\n"
                            "script.txt:5: \"well\" is no number\n"
                            "script.txt:7: \"\" is no number\n"
                            "script.txt:8: \"leaves_targets\" takes no argument\n"
                            "script.txt:9: \"rule\" takes the name of a rule and of a property\n"
                            "script.txt:10: there is an action \"a\" in line 4 already\n"
                            "script.txt:11: a target needs a path\n"
                            "script.txt:12: \"monday\" is no time such as 2020-01-31T12:00:00Z\n"
                            "script.txt:6: there is no action \"b\"\n"));
}

QTEST_GUILESS_MAIN(tst_program_start)
#include "tst_program_start.moc"
