#include <QtTest/QtTest>

#include "tests/support/scripted_scene.h"
#include "tests/support/watched_test.h"

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

/// From the names that scripts, rules and configurations use to what lies on disk,
/// in real runs: letter case, companion roots, names that can't be used.
class tst_program_paths : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void letter_case_does_not_count()
    {
        SCRIPTED_SCENE scene;
        const QByteArray rules = R"(<rules version="1"><rule name="Kind"><inherit_properties/>)"
                                 R"(<property name="P">from above</property></rule></rules>)";
        scene.tree.write("raw_data/Unit/Rules.GOX", rules);
        scene.tree.write("raw_data/Unit/Tanks/A.txt", "x");
        scene.tree.write("working_data/Unit/Tanks/B.txt", "x");
        scene.configuration.processors = {"p"};
        scene.configuration.directories = {"<working>/unit/tanks/"};
        const QByteArray script = "processor p\nscan <raw>/unit/tanks\n"
                                  "action a\nreads <raw>/unit/tanks/a.txt\nreads <working>/unit/tanks/b.txt\n"
                                  "writes <working>/unit/tanks/new.txt\nfiles\nrule Kind P\n";
        GOX_COMPARE_STATUS(scene.run(script), 0, scene.gox);
        const QString body = scene.log().body("a");
        QVERIFY2(body.contains("raw_data/Unit/Tanks/A.txt") &&
                     body.contains("working_data/Unit/Tanks/B.txt") &&
                     body.contains("working_data/Unit/Tanks/new.txt") && body.contains("from above"),
                 scene.gox.report());
        QVERIFY(scene.tree.exists("working_data/Unit/Tanks/new.txt"));
        QVERIFY(!scene.gox.out.contains("Remark"));
    }

    void what_is_odd_about_names_is_told()
    {
#ifdef Q_OS_LINUX
        SCRIPTED_SCENE scene;
        scene.tree.write("raw_data/Unit/a.txt", "x");
        scene.tree.write("raw_data/unit/b.txt", "x");
        scene.tree.write("raw_data/C.txt", "x");
        scene.tree.write("raw_data/c.txt", "x");
        scene.tree.make_folder("old_working_data");
        const QByteArray top = scene.tree.path().toUtf8();
        QCOMPARE(::close(::open((top + "/raw_data/no\xff"
                                       "name")
                                    .constData(),
                                O_CREAT | O_WRONLY, 0600)),
                 0);
        QCOMPARE(::mkdir((top + "/raw_data/\xc3(").constData(), 0700), 0);
        scene.configuration.processors = {"p"};
        scene.configuration.directories = {"<raw>", "<raw>/none", "none"};
        const QByteArray script = "processor p\nscan <raw>/nowhere\nscan <working>/comes/later\n"
                                  "action a\nwrites " +
                                  top + "/old_working_data/shipped.txt\n";
        GOX_COMPARE_STATUS(scene.run(script), 0, scene.gox);
        QStringList remarks;
        for (const QString& line : QString::fromUtf8(scene.gox.out).split('\n'))
            if (line.startsWith("Remark: "))
                remarks.append(line.mid(8).replace(scene.tree.path(), "TREE"));
        const QString twins =
            " differ only in letter case: they count as one, and everything is looked for in "
            "the first. Rename one of them.";
        QCOMPARE(::unlink((top + "/raw_data/no\xff"
                                 "name")
                              .constData()),
                 0); // Qt can't
        QCOMPARE(::rmdir((top + "/raw_data/\xc3(").constData()), 0);
        QCOMPARE(
            remarks,
            QStringList({"A folder that the processor p wants scanned: <raw>/nowhere does not exist: there "
                         "is no TREE/raw_data/nowhere",
                         "A folder that the configuration wants scanned: <raw>/none does not exist: there "
                         "is no TREE/raw_data/none",
                         "A folder that the configuration wants scanned: none begins with no data root",
                         "TREE/raw_data/\\xc3( is left out: its name is no UTF-8.",
                         "TREE/raw_data/no\\xffname is left out: its name is no UTF-8.",
                         "TREE/raw_data/C.txt and TREE/raw_data/c.txt" + twins,
                         "TREE/raw_data/Unit and TREE/raw_data/unit" + twins,
                         "The processor p writes over older data: 1 of its targets lie in a companion "
                         "root, such as TREE/old_working_data/shipped.txt. It should ask for "
                         "PATHS::target_path."}));
        QVERIFY2(scene.gox.out.contains("started with 8 remarks"), scene.gox.report());
#endif
    }
};

QTEST_GUILESS_MAIN(tst_program_paths)
#include "tst_program_paths.moc"
