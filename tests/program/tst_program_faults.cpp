#include <QtTest/QtTest>

#include "tests/support/files.h"
#include "tests/support/full_disk.h"
#include "tests/support/scripted_scene.h"
#include "tests/support/watched_test.h"

/// What the real program makes of a tree that is not as it should be.
class tst_program_faults : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    // Nobody is told of logs that can't be written but the console, and the run is
    // judged by its actions.
    void read_only_tool_folder()
    {
        for (const int result : {2, 4}) {
            SCRIPTED_SCENE scene;
            scene.tree.write_script("processor p\naction a\nwrites <working>/a.txt\nends " +
                                    QByteArray::number(result));
            write_configuration(scene.tree, "ci", scene.configuration);
            scene.tree.open_to_everybody();
            scene.tree.set_permissions("tool", 0555);
            scene.gox.unprivileged = true;
            GOX_COMPARE_STATUS(scene.gox.run({"--configuration=ci"}), result == 2 ? 0 : 1, scene.gox);
            QCOMPARE(scene.tree.read("working_data/a.txt"), QByteArray("made by a\n"));
            QVERIFY(!scene.tree.exists("tool/gox.log"));
            QVERIFY2(scene.gox.out.contains("gox.log: ") &&
                         scene.gox.out.endsWith("Logs: none could be written\n"),
                     scene.gox.report());
        }
    }

    void logs_that_are_folders()
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
    void full_disk()
    {
        if (!QFileInfo::exists("/dev/full"))
            GOX_SKIP("this system has no /dev/full");
        const QStringList full{"tool/gox.log", "tool/gox_startup_error.log", "tool/gox_plugin_error.log",
                               "tool/gox_asset_graph_error.log", "working_data/a.txt"};
        SCRIPTED_SCENE scene;
        for (const QString& file : full)
            QVERIFY(QFile::link("/dev/full", scene.tree.path(file)));
        scene.tree.add_plugin("missing_symbol"); // something to say for each of the logs
        scene.tree.write("raw_data/x.agf", "<broken");
        scene.configuration.processors = {"p", "none"};
        scene.configuration.directories = {"..."};
        scene.configuration.load_asset_graph = true;
        for (const bool is_console_full : {false, true}) {
            if (is_console_full)
                scene.gox.output_file = "/dev/full";
            GOX_COMPARE_STATUS(scene.run("processor p\naction a\nwrites <working>/a.txt\n"
                                         "action b\nwrites <working>/b.txt\n"),
                               1, scene.gox);
            for (const QString& file : full)
                QVERIFY2(is_console_full ||
                             scene.gox.out.contains(file.toUtf8() + ": No space left on device"),
                         scene.gox.report());
            QVERIFY2(is_console_full || scene.gox.out.endsWith("/tool/gox_warnings.log, gox_error.log\n"),
                     scene.gox.report());
            QCOMPARE(scene.log("gox_error.log").actions(), QStringList{"a"});
            QCOMPARE(scene.tree.read("working_data/b.txt"), QByteArray("made by b\n"));
        }
    }

    // A disk that takes the beginning.
    void log_that_is_cut_off()
    {
        SCRIPTED_SCENE scene;
        scene.tree.write_script("processor p\naction a\n" + QByteArray("says much\n").repeated(5000));
        write_configuration(scene.tree, "ci", scene.configuration);
        {
            const FULL_DISK full_for_children(true);
            QVERIFY(scene.gox.start({"--configuration=ci"}));
        }
        GOX_COMPARE_STATUS(scene.gox.wait(), 0, scene.gox);
        QCOMPARE(scene.tree.read("tool/gox.log").size(), 100);
        QVERIFY2(scene.gox.out.contains("/gox.log: it is cut off") && !scene.gox.out.contains("/gox.log, "),
                 scene.gox.report());
    }

    // The action itself meets the fault, and its words are in the log.
    void target_folder_that_cannot_be_made()
    {
        for (const bool file_in_the_way : {true, false}) {
            SCRIPTED_SCENE scene;
            if (file_in_the_way)
                scene.tree.write("working_data/unit", "a file");
            scene.tree.open_to_everybody();
            if (!file_in_the_way)
                scene.tree.set_permissions("working_data", 0555);
            scene.gox.unprivileged = true;
            GOX_COMPARE_STATUS(scene.run("processor p\naction a\nwrites <working>/unit/a.txt\naction b\n"), 1,
                               scene.gox);
            const QString body = scene.log("gox_error.log").body("a");
            QVERIFY2(body.startsWith(scene.tree.path("working_data/unit/a.txt: ")), qPrintable(body));
            QCOMPARE(scene.log().actions(), QStringList({"a", "b"}));
        }
    }

    // They are not reported; the run goes on with the rules that did load.
    void broken_and_missing_rule_files()
    {
        const QByteArray bytes = QByteArray("<rules>").repeated(200000);
        SCRIPTED_SCENE scene;
        scene.tree.write("raw_data/unit/rules.gox", bytes);
        scene.tree.write("raw_data/unit/a.txt", "x");
        scene.tree.write("tool/GOX/all.rules.gox", bytes);
        scene.configuration.global_rules = {"all.rules.gox", "none.rules.gox", "", "../../etc/passwd"};
        GOX_COMPARE_STATUS(
            scene.run("processor p\naction a\nreads <raw>/unit/a.txt\nrule Texture Size\nfiles\n"
                      "reads <raw>/unit/rules.gox\n"),
            0, scene.gox);
        const QString body = scene.log().body("a");
        QVERIFY2(body.startsWith("Texture Size: no rule\n"), qPrintable(body));
        // A rule file leaves the file map and stays known by its path.
        QVERIFY2(body.contains("raw_data/unit/rules.gox "), qPrintable(body));
        QCOMPARE(scene.tree.read("raw_data/unit/rules.gox"), bytes);
    }

    void broken_asset_graph()
    {
        SCRIPTED_SCENE scene;
        const QStringList files{"one.agf", "two.agf", "IGNORED.AGF.txt", "asset_graph.bin"};
        for (const QString& file : files)
            scene.tree.write("working_data/" + file, QByteArray("\0\1\2\377\376", 5));
        scene.configuration.load_asset_graph = true;
        scene.configuration.clean_asset_graph = true;
        GOX_COMPARE_STATUS(scene.run("processor p\naction a\n"), 0, scene.gox);
        const QByteArray log = scene.tree.read("tool/gox_asset_graph_error.log");
        QVERIFY2(log.contains("one.agf") && log.indexOf("one.agf") < log.indexOf("two.agf"), log.constData());
        QVERIFY2(log.contains("\r\n") && !log.endsWith('\n'), log.constData());
        QVERIFY2(log.contains("asset_graph.bin") && !log.contains("IGNORED"), log.constData());
        // Without trouble the log is empty, and without the step it stays as it is.
        scene.configuration.load_asset_graph = false;
        GOX_COMPARE_STATUS(scene.run("processor p\naction a\n"), 0, scene.gox);
        QCOMPARE(scene.tree.read("tool/gox_asset_graph_error.log"), log);
        for (const QString& file : files)
            scene.tree.remove("working_data/" + file);
        scene.configuration.load_asset_graph = true;
        GOX_COMPARE_STATUS(scene.run("processor p\naction a\n"), 0, scene.gox);
        QCOMPARE(scene.tree.read("tool/gox_asset_graph_error.log"), QByteArray());
    }

    // On Unix file names are UTF-8 whatever the locale says.
    void names_beyond_ascii()
    {
        for (const char* tree : {"", "Ärger mit Бäumen"})
            for (const bool plain_locale : {false, true}) {
                SCRIPTED_SCENE scene{QString(tree)};
                scene.tree.write(QStringLiteral("raw_data/Größe/файл 😀.txt"), "x");
                scene.gox.plain_locale = plain_locale;
                GOX_COMPARE_STATUS(scene.run("processor p\naction Übung\nreads <raw>/größe/ФАЙЛ 😀.txt\n"
                                             "writes <working>/Größe/мир.txt\nsays schön\nfiles\n"),
                                   0, scene.gox);
                QCOMPARE(scene.tree.read(QStringLiteral("working_data/Größe/мир.txt")),
                         QByteArray("made by Übung\n"));
                const QByteArray log = scene.tree.read("tool/gox.log");
                QVERIFY2(log.contains("=== p / Übung ===\nschön\n"), log.constData());
                QVERIFY2(log.contains("/raw_data/Größe/файл 😀.txt "), log.constData());
            }
    }

    void links_that_lead_back()
    {
        SCRIPTED_SCENE scene;
        scene.tree.write("raw_data/unit/a.txt", "x");
        QVERIFY(QFile::link(scene.tree.path("raw_data"), scene.tree.path("raw_data/unit/up")));
        QVERIFY(QFile::link(scene.tree.path("nowhere"), scene.tree.path("raw_data/unit/broken")));
        GOX_COMPARE_STATUS(scene.run("processor p\naction a\nreads <raw>/unit/a.txt\n"
                                     "reads <raw>/unit/up/unit/a.txt\nfiles\n"),
                           0, scene.gox);
        QCOMPARE(scene.log().body("a").count("input "), 1);
    }
};

QTEST_GUILESS_MAIN(tst_program_faults)
#include "tst_program_faults.moc"
