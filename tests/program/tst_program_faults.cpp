#include <QtTest/QtTest>

#include "tests/support/files.h"
#include "tests/support/scripted_scene.h"
#include "tests/support/watched_test.h"

/// What the real program makes of a tree that is not as it should be.
class tst_program_faults : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void unreadable_folder();
    void read_only_tool_folder();
    void logs_that_are_folders();
    void full_disk();
    void target_folder_that_cannot_be_made_data();
    void target_folder_that_cannot_be_made();
    void broken_rule_files_data();
    void broken_rule_files();
    void missing_global_rules();
    void broken_asset_graph_data();
    void broken_asset_graph();
    void broken_database_data();
    void broken_database();
    void shadowed_files();
    void two_spellings_of_a_file();
    void names_beyond_ascii_data();
    void names_beyond_ascii();
    void links_that_lead_back();
};

namespace {

const QByteArray NESTED = QByteArray("<a>").repeated(200000);

void add_broken_texts(bool with_missing_end = true)
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("not XML") << QByteArray("once upon a time\n");
    QTest::newRow("binary") << QByteArray("\0\1\2\377\376", 5);
    QTest::newRow("another document") << QByteArray("<?xml version=\"1.0\"?>\n<html><body/></html>\n");
    QTest::newRow("deeply nested") << NESTED;
    if (with_missing_end)
        QTest::newRow("cut off") << QByteArray("<?xml version=\"1.0\"?>\n<a>\n<b>");
}

} // namespace

void tst_program_faults::unreadable_folder()
{
    SCRIPTED_SCENE scene;
    scene.tree.write("raw_data/open/a.txt", "x");
    scene.tree.write("raw_data/secret/b.txt", "x");
    scene.tree.open_to_everybody();
    scene.tree.set_permissions("raw_data/secret", 0);
    scene.gox.unprivileged = true;
    GOX_COMPARE_STATUS(scene.run("processor p\naction a\n"), 1, scene.gox);
    const QByteArray log = scene.tree.read("tool/gox_startup_error.log");
    QVERIFY2(log.startsWith("Error while scanning local files! (Error: 13, "), log.constData());
    QVERIFY2(log.contains(scene.tree.path("raw_data/secret").toUtf8()) && log.endsWith(')'), log.constData());
    QVERIFY2(scene.gox.err.contains(log), scene.gox.report());
    QVERIFY(!scene.tree.exists("tool/gox.log"));
}

// Nobody is told of logs that can't be written but the console, and the run is
// judged by its actions.
void tst_program_faults::read_only_tool_folder()
{
    for (const int result : {2, 4}) {
        SCRIPTED_SCENE scene;
        const QByteArray script = "processor p\naction a\nwrites <working>/a.txt\nends ";
        scene.tree.write_script(script + QByteArray::number(result));
        write_configuration(scene.tree, "ci", scene.configuration);
        scene.tree.open_to_everybody();
        scene.tree.set_permissions("tool", 0555);
        scene.gox.unprivileged = true;
        GOX_COMPARE_STATUS(scene.gox.run({"--configuration=ci"}), result == 2 ? 0 : 1, scene.gox);
        QCOMPARE(scene.tree.read("working_data/a.txt"), QByteArray("made by a\n"));
        QVERIFY(!scene.tree.exists("tool/gox.log"));
        QVERIFY2((scene.gox.out + scene.gox.err).contains("gox.log"), scene.gox.report());
    }
}

void tst_program_faults::logs_that_are_folders()
{
    SCRIPTED_SCENE scene;
    for (const char* log : {"gox.log", "gox_error.log", "gox_startup_error.log", "gox_plugin_error.log",
                            "gox_asset_graph_error.log"})
        scene.tree.make_folder(QStringLiteral("tool/") + log);
    scene.configuration.processors = {"p", "none"};
    GOX_COMPARE_STATUS(scene.run("processor p\naction a\nends 3\n"), 0, scene.gox);
    QCOMPARE(scene.log("gox_warnings.log").actions(), QStringList{"a"});
}

// /dev/full takes nothing: a log, a target and the console on a full disk.
void tst_program_faults::full_disk()
{
    if (!QFileInfo::exists("/dev/full"))
        GOX_SKIP("this system has no /dev/full");
    SCRIPTED_SCENE scene;
    QVERIFY(QFile::link("/dev/full", scene.tree.path("tool/gox.log")));
    QVERIFY(QFile::link("/dev/full", scene.tree.path("working_data/a.txt")));
    const QByteArray script =
        "processor p\naction a\nwrites <working>/a.txt\naction b\nwrites <working>/b.txt\n";
    GOX_COMPARE_STATUS(scene.run(script), 1, scene.gox);
    QVERIFY2(scene.gox.out.contains("gox.log: No space left on device"), scene.gox.report());
    QVERIFY2(scene.gox.out.contains("working_data/a.txt: No space left on device"), scene.gox.report());
    QCOMPARE(scene.log("gox_error.log").actions(), QStringList{"a"});
    QCOMPARE(scene.tree.read("working_data/b.txt"), QByteArray("made by b\n"));
    scene.gox.output_file = "/dev/full";
    GOX_COMPARE_STATUS(scene.run(script), 1, scene.gox);
    QCOMPARE(scene.log("gox_error.log").actions(), QStringList{"a"});
}

void tst_program_faults::target_folder_that_cannot_be_made_data()
{
    QTest::addColumn<bool>("file_in_the_way");
    QTest::newRow("a file is in the way") << true;
    QTest::newRow("no permission") << false;
}

// The action itself meets the fault, and its words are in the log.
void tst_program_faults::target_folder_that_cannot_be_made()
{
    QFETCH(bool, file_in_the_way);
    SCRIPTED_SCENE scene;
    if (file_in_the_way)
        scene.tree.write("working_data/unit", "a file");
    scene.tree.open_to_everybody();
    if (!file_in_the_way)
        scene.tree.set_permissions("working_data", 0555);
    scene.gox.unprivileged = true;
    GOX_COMPARE_STATUS(scene.run("processor p\naction a\nwrites <working>/unit/a.txt\naction b\n"), 1,
                       scene.gox);
    QVERIFY2(
        scene.log("gox_error.log").body("a").startsWith(scene.tree.path("working_data/unit/a.txt") + ": "),
        qPrintable(scene.log("gox_error.log").body("a")));
    QCOMPARE(scene.log().actions(), QStringList({"a", "b"}));
}

void tst_program_faults::broken_rule_files_data()
{
    add_broken_texts();
}

// They are not reported; the run goes on with the rules that did load.
void tst_program_faults::broken_rule_files()
{
    QFETCH(QByteArray, bytes);
    SCRIPTED_SCENE scene;
    scene.tree.write("raw_data/unit/rules.gox", bytes);
    scene.tree.write("raw_data/unit/a.txt", "x");
    scene.tree.write("tool/GOX/all.rules.gox", bytes);
    scene.configuration.global_rules = {"all.rules.gox"};
    GOX_COMPARE_STATUS(scene.run("processor p\naction a\nreads <raw>/unit/a.txt\nrule Texture Size\nfiles\n"
                                 "reads <raw>/unit/rules.gox\n"),
                       0, scene.gox);
    QVERIFY2(scene.log().body("a").startsWith("Texture Size: no rule\n"), qPrintable(scene.log().body("a")));
    // A rule file leaves the file map and stays known by its path.
    QVERIFY2(scene.log().body("a").contains("raw_data/unit/rules.gox "), qPrintable(scene.log().body("a")));
    QCOMPARE(scene.tree.read("raw_data/unit/rules.gox"), bytes);
}

void tst_program_faults::missing_global_rules()
{
    SCRIPTED_SCENE scene;
    scene.configuration.global_rules = {"none.rules.gox", "", "../../etc/passwd"};
    GOX_COMPARE_STATUS(scene.run("processor p\naction a\n"), 0, scene.gox);
}

void tst_program_faults::broken_asset_graph_data()
{
    add_broken_texts();
}

void tst_program_faults::broken_asset_graph()
{
    QFETCH(QByteArray, bytes);
    SCRIPTED_SCENE scene;
    scene.tree.write("working_data/one.agf", bytes);
    scene.tree.write("working_data/two.agf", bytes);
    scene.tree.write("working_data/IGNORED.AGF.txt", bytes);
    scene.tree.write("working_data/asset_graph.bin", bytes);
    scene.configuration.load_asset_graph = true;
    scene.configuration.clean_asset_graph = true;
    GOX_COMPARE_STATUS(scene.run("processor p\naction a\n"), 0, scene.gox);
    const QByteArray log = scene.tree.read("tool/gox_asset_graph_error.log");
    QVERIFY2(log.contains("one.agf") && log.contains("two.agf"), log.constData());
    QVERIFY2(log.indexOf("one.agf") < log.indexOf("two.agf"), log.constData());
    QVERIFY2(log.contains("\r\n") && !log.endsWith('\n'), log.constData());
    QVERIFY2(log.contains("asset_graph.bin"), log.constData());
    // Without trouble the log is empty, and without the step it stays as it is.
    scene.configuration.load_asset_graph = false;
    GOX_COMPARE_STATUS(scene.run("processor p\naction a\n"), 0, scene.gox);
    QCOMPARE(scene.tree.read("tool/gox_asset_graph_error.log"), log);
    for (const char* file : {"one.agf", "two.agf", "asset_graph.bin"})
        scene.tree.remove(QStringLiteral("working_data/") + file);
    scene.configuration.load_asset_graph = true;
    GOX_COMPARE_STATUS(scene.run("processor p\naction a\n"), 0, scene.gox);
    QCOMPARE(scene.tree.read("tool/gox_asset_graph_error.log"), QByteArray());
}

void tst_program_faults::broken_database_data()
{
    add_broken_texts();
}

void tst_program_faults::broken_database()
{
    QFETCH(QByteArray, bytes);
    SCRIPTED_SCENE scene;
    scene.tree.write("raw_data/db/schema.xml", bytes);
    GOX_COMPARE_STATUS(scene.run("processor p\naction a\n"), 1, scene.gox);
    const QByteArray log = scene.tree.read("tool/gox_startup_error.log");
    QVERIFY2(log.startsWith("Failed to connect the database!\n\n"), log.constData());
    QVERIFY2(log.contains("schema.xml"), log.constData());
}

void tst_program_faults::shadowed_files()
{
    SCRIPTED_SCENE scene;
    scene.tree.write("old_raw_data/unit/a.txt", "old", FILES::hour(7));
    scene.tree.write("raw_data/unit/A.txt", "new", FILES::hour(2));
    scene.tree.write("old_raw_data/unit/b.txt", "old", FILES::hour(3));
    GOX_COMPARE_STATUS(
        scene.run("processor p\naction a\nreads <raw>/unit/a.txt\nreads <raw>/unit/b.txt\nfiles\n"), 0,
        scene.gox);
    const QStringList inputs = scene.log().body("a").split('\n').filter("input ");
    QCOMPARE(inputs.size(), 2);
    QVERIFY2(inputs[0].endsWith("/raw_data/unit/A.txt 2020-01-01T02:00:00Z") &&
                 !inputs[0].contains("old_raw_data"),
             qPrintable(inputs[0]));
    QVERIFY2(inputs[1].endsWith("/old_raw_data/unit/b.txt 2020-01-01T03:00:00Z"), qPrintable(inputs[1]));
    // Nobody is there to be asked, so nothing is deleted.
    QVERIFY(scene.tree.exists("raw_data/unit/A.txt") && scene.tree.exists("old_raw_data/unit/a.txt"));
}

// The file that is met second loses, and still its date replaces the winner's.
void tst_program_faults::two_spellings_of_a_file()
{
    SCRIPTED_SCENE scene;
    scene.tree.write("raw_data/unit/A.txt", "x", FILES::hour(1));
    scene.tree.write("raw_data/unit/a.txt", "x", FILES::hour(5));
    if (FILES::below(scene.tree.path("raw_data")).size() < 2)
        GOX_SKIP("the file system does not tell the two apart");
    GOX_COMPARE_STATUS(scene.run("processor p\naction a\nreads <raw>/unit/a.txt\nfiles\n"), 0, scene.gox);
    const QString line = scene.log().body("a").section('\n', 0, 0);
    QVERIFY2(line.endsWith("/raw_data/unit/A.txt 2020-01-01T05:00:00Z"), qPrintable(line));
}

void tst_program_faults::names_beyond_ascii_data()
{
    QTest::addColumn<bool>("plain_locale");
    QTest::addColumn<QString>("tree");
    QTest::newRow("UTF-8") << false << QString();
    QTest::newRow("no locale") << true << QString();
    QTest::newRow("no locale, and the tree as well") << true << QStringLiteral("Ärger mit Бäumen");
}

// On Unix file names are UTF-8 whatever the locale says.
void tst_program_faults::names_beyond_ascii()
{
    QFETCH(bool, plain_locale);
    QFETCH(QString, tree);
    SCRIPTED_SCENE scene(tree);
    scene.tree.write(QStringLiteral("raw_data/Größe/файл 😀.txt"), "x");
    scene.gox.plain_locale = plain_locale;
    GOX_COMPARE_STATUS(scene.run("trace trace.txt\nprocessor p\naction Übung\nreads <raw>/größe/ФАЙЛ 😀.txt\n"
                                 "writes <working>/Größe/мир.txt\nsays schön\nfiles\n"),
                       0, scene.gox);
    QCOMPARE(scene.tree.read(QStringLiteral("working_data/Größe/мир.txt")), QByteArray("made by Übung\n"));
    QVERIFY2(scene.tree.read("tool/gox.log").contains("=== p / Übung ===\nschön\n"),
             scene.tree.read("tool/gox.log").constData());
    QVERIFY2(scene.tree.read("tool/gox.log").contains("/raw_data/Größe/файл 😀.txt "),
             scene.tree.read("tool/gox.log").constData());
}

void tst_program_faults::links_that_lead_back()
{
    SCRIPTED_SCENE scene;
    scene.tree.write("raw_data/unit/a.txt", "x");
    QVERIFY(QFile::link(scene.tree.path("raw_data"), scene.tree.path("raw_data/unit/up")));
    QVERIFY(QFile::link(scene.tree.path("nowhere"), scene.tree.path("raw_data/unit/broken")));
    GOX_COMPARE_STATUS(
        scene.run("processor p\naction a\nreads <raw>/unit/a.txt\nreads <raw>/unit/up/unit/a.txt\n"
                  "files\n"),
        0, scene.gox);
    QCOMPARE(scene.log().body("a").count("input "), 1);
}

QTEST_GUILESS_MAIN(tst_program_faults)
#include "tst_program_faults.moc"
