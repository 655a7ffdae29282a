#include <QtTest/QTest>

#include "session/perforce_reading.h"
#include "tests/session/step_scene.h"
#include "tests/support/files.h"
#include "tests/support/p4_scene.h"
#include "tests/support/watched_test.h"

namespace {

const PERFORCE_ROOTS ROOTS{QStringLiteral("//depot/game"), QStringLiteral("/w")};

// "name=value name=value", for a file of this depot unless it says otherwise.
QStringList record_lines(const QString& fields)
{
    QStringList lines;
    if (!fields.contains("depotFile"))
        lines.append("... depotFile //depot/game/a%40b.txt");
    for (const QString& field : fields.split(' ', Qt::SkipEmptyParts))
        lines.append("... " + field.section('=', 0, 0) + ' ' + field.section('=', 1));
    return lines;
}

// What the reader makes of it: "path local p4 time", a blank between files.
QString read_states(const QStringList& lines)
{
    QStringList files;
    PERFORCE_STATUS_READER reader(ROOTS, [&](const PERFORCE_FILE& file) {
        files.append(QStringLiteral("%1 %2 %3 %4")
                         .arg(static_cast<const QString&>(file.path))
                         .arg(file.local_state)
                         .arg(file.p4_state)
                         .arg(file.head_time.isNull() ? -1 : file.head_time.toSecsSinceEpoch()));
    });
    for (const QString& line : lines)
        if (!reader.add_line(line.toUtf8()))
            return "error: " + reader.error();
    return reader.finish() ? files.join(' ') : "error: " + reader.error();
}

} // namespace

class tst_perforce : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void init() { PERFORCE_READING::s_failed = false; }
    void states_follow_from_a_record_data()
    {
        QTest::addColumn<QString>("fields");
        QTest::addColumn<QString>("result"); // local and depot state; "" for a file left out
        const auto row = [](const char* fields, const char* result) {
            QTest::newRow(fields) << fields << result;
        };
        row("haveRev=3 headRev=3 headAction=edit", "0 0");
        row("haveRev=2 headRev=3 headAction=edit", "0 3");
        row("haveRev=2 headRev=3 headAction=delete", "0 1");
        row("haveRev=2 headRev=3 headAction=move/delete action=edit", "3 1");
        row("haveRev=9 headRev=10 headAction=purge action=integrate", "3 3");
        row("haveRev=1 headRev=1 action=branch", "2 0");
        row("haveRev=1", "0 0");
        row("action=add", "2 4");
        row("action=add headRev=2 headAction=edit", "2 0");
        row("headRev=1 headAction=add haveRev=none", "0 2");
        row("haveRev=1 headRev=1 action=delete", "");
        row("headRev=3 headAction=delete", "");
        row("headRev=3 headAction=delete action=add", "");
        row("haveRev=1 headRev=1 action=archive", "error");
        row("action=edit", "error");
        row("headRev=x", "error");
        row("headRev=1 headTime=-5", "error");
        row("headRev=1 headTime=99999999999999", "error");
        row("headRev=1 depotFile=//depot/game2/a", "error");
        row("headRev=1 depotFile=", "error");
    }
    void states_follow_from_a_record()
    {
        QFETCH(QString, fields);
        QFETCH(QString, result);
        // Between two others, the last of them without an empty line behind it.
        QStringList lines = record_lines("haveRev=1 headRev=1 headTime=77") + QStringList{QString()};
        lines += record_lines(fields) + QStringList{"... ... otherOpen0 me@here", QString(), QString()};
        lines += record_lines("headRev=1 depotFile=//DEPOT/Game/c");
        const QString states = read_states(lines);
        QCOMPARE(PERFORCE_READING::s_failed, result == "error");
        if (result != "error")
            QCOMPARE(states, "/w/a@b.txt 0 0 77" + (result.isEmpty() ? "" : " /w/a@b.txt " + result + " -1") +
                                 " /w/c 0 2 -1");
    }

    void history_gives_the_time_of_the_revision()
    {
        FILE_ENTRY behind, current, other;
        behind.p4_state = FILE_STATE_MODIFIED;
        current.p4_state = FILE_STATE_NO_CHANGE;
        current.head_time = FILES::hour(5);
        const QMap<QString, FILE_ENTRY*> files = {{"/w/behind", &behind}, {"/w/current", &current}};
        PERFORCE_HISTORY_READER reader(
            ROOTS, [&](const PHYSICAL_PATH& path) { return files.value(path); }, 3600);
        for (const char* line :
             {"//depot/game/behind", "#4 change 9 edit on 2020/03/01 10:00:00 by me@here",
              "... branch into //x", "#3 change 2 add on 2020/02/29 00:30:00 by me", "//depot/game/current",
              "#1 has no time", "//depot/game/unknown", "#1 nor this"})
            QVERIFY2(reader.add_line(line), qPrintable(reader.error()));
        QCOMPARE(behind.have_time, QDateTime(QDate(2020, 2, 28), QTime(23, 30), Qt::UTC));
        QCOMPARE(current.have_time, current.head_time);
    }

    void nonsense_stops_all_reading()
    {
        for (const QByteArray& line :
             {QByteArray("Segmentation fault"), "... depotFile " + QByteArray(70000, 'a'),
              QByteArray("#1 change 1 add on monday"), QByteArray("#1 change 1 add on 2021/02/29 00:00:00"),
              QByteArray("#1 add on abcd/02/01 00:00:00"), QByteArray("#1 add on 2021/02/01 00:00:0")}) {
            PERFORCE_READING::s_failed = false;
            FILE_ENTRY file;
            PERFORCE_HISTORY_READER history(
                ROOTS, [&](const PHYSICAL_PATH&) { return &file; }, 0);
            PERFORCE_STATUS_READER states(ROOTS, [](const PERFORCE_FILE&) {});
            QVERIFY(history.add_line("//depot/game/a"));
            QVERIFY2(!(line[0] == '#' ? history.add_line(line) : states.add_line(line)), line.left(50));
            QVERIFY(PERFORCE_READING::s_failed && file.have_time.isNull());
            QVERIFY(!history.add_line("//depot/game/a") && !history.error().isEmpty());
            QVERIFY(!states.finish() && !states.error().isEmpty());
        }
    }

    void specifications_name_roots_and_rule_files()
    {
        const QVector<PHYSICAL_PATH> directories{PHYSICAL_PATH("/w/raw_data/a#1"), PHYSICAL_PATH("/x")};
        const QSet<PHYSICAL_PATH> parents{PHYSICAL_PATH("/w"), PHYSICAL_PATH("/W/raw_data"),
                                          PHYSICAL_PATH("/")};
        QCOMPARE(perforce_specifications(directories, parents,
                                         [](const PHYSICAL_PATH& path) { return ROOTS.depot_path(path); }),
                 QStringList({"//depot/game/raw_data/a%231/...", "//depot/game/raw_data/rules.gox",
                              "//depot/game/rules.gox"}));
        STEP_SCENE scene;
        scene.session->directories = directories;
        scene.session->parent_directories = parents;
        QCOMPARE(scene.session->perforce_file_specifications(), QStringList());
    }

    void fills_the_file_map()
    {
        STEP_SCENE scene;
        scene.configuration.silent = true;
        P4_SCENE client;
        P4_CONNECTION p4(true, true, true);
        const PERFORCE_ROOTS roots{"//depot/game", scene.tree.path()};
        scene.tree.write("raw_data/Unit/a.txt", "a", FILES::hour(1));
        scene.tree.write("old_raw_data/unit/a.txt", "a", FILES::hour(2));
        scene.session->directories = PATHS::all();
        QTextStream log(&scene.log_text);
        QVERIFY(scene.session->scan_local_files(log));

        QByteArray states;
        for (const QString& fields :
             {QStringLiteral("depotFile=//depot/game/raw_data/unit/a.txt haveRev=1 headRev=2 headTime=1000 "
                             "headAction=edit action=edit"),
              QStringLiteral("depotFile=//depot/game/old_raw_data/unit/a.txt haveRev=1 headRev=1 headTime=5"),
              QStringLiteral("depotFile=//depot/game/raw_data/unit/new.txt headRev=1 headTime=2000"),
              QStringLiteral("depotFile=//depot/game/readme.txt headRev=1")})
            states += "out " + (record_lines(fields).join("\nout ") + "\nout \n").toUtf8();
        client.answers("fstat", states);
        client.answers("info", "out ... serverDate 1970/01/01 12:00:00 +0100 CET");
        client.answers("filelog", "out //depot/game/raw_data/unit/a.txt\n"
                                  "out ... #1 change 7 add on 1970/01/01 01:00:30 by me@here (text) 'x'\n"
                                  "out //depot/game/old_raw_data/unit/a.txt\nout ... #1 plays no part");
        QCOMPARE(scene.session->read_perforce_files(p4, roots, {"//depot/game/..."}), QString());

        const FILE_ENTRY* const known = scene.file("<raw>/unit/a.txt");
        QCOMPARE(known->physical, PHYSICAL_PATH(scene.tree.path("raw_data/Unit/a.txt")));
        QCOMPARE(known->local_time, FILES::hour(1)); // the companion's record has no say
        QCOMPARE(known->local_state * 10 + known->p4_state, 33);
        QCOMPARE(known->head_time.toSecsSinceEpoch(), 1000);
        QCOMPARE(known->have_time.toSecsSinceEpoch(), 30);
        const FILE_ENTRY* const fresh = scene.file("<raw>/unit/new.txt");
        QVERIFY(fresh && fresh->local_time.isNull());
        QCOMPARE(static_cast<const QString&>(fresh->physical), scene.tree.path("raw_data/Unit/new.txt"));
        QCOMPARE(fresh->local_state * 10 + fresh->p4_state, 2);
        QCOMPARE(scene.session->file_map.size(), 2); // and nothing from outside the roots

        client.answers("fstat", "out ... depotFile //depot/game/raw_data/b.txt\nout nonsense\nwait 60000");
        QVERIFY(scene.session->read_perforce_files(p4, roots, {"//depot/game/..."}).contains("\"nonsense\""));
        client.answers("fstat", states);
        QVERIFY(scene.session->read_perforce_files(p4, roots, {"//depot/game/..."}).contains("before"));
    }

    void walks_without_the_scanner()
    {
        STEP_SCENE scene;
        scene.tree.write("old_raw_data/Unit/deep/er/a.txt", "a", FILES::hour(1));
        scene.tree.write("raw_data/unit/deep/er/a.txt", "a", FILES::hour(2));
        scene.tree.write("raw_data/unit/.hidden", "a", FILES::hour(3));
        QFile::link(scene.tree.path("raw_data"), scene.tree.path("raw_data/unit/back"));
        QFile::link(scene.tree.path("nowhere"), scene.tree.path("raw_data/unit/dead"));
        QStringList shadowing;
        for (const PHYSICAL_PATH& root : PATHS::all())
            scene.session->walk_local_files(root, shadowing);
        QCOMPARE(shadowing, QStringList(scene.tree.path("raw_data/unit/deep/er/a.txt")));
        QStringList keys;
        for (const LOGICAL_PATH& key : scene.session->file_map.map.keys())
            keys.append(key);
        QCOMPARE(keys, QStringList({"<raw>/unit/.hidden", "<raw>/unit/deep/er/a.txt"}));
        QCOMPARE(scene.file("<raw>/unit/deep/er/a.txt")->local_time, FILES::hour(2));
        QCOMPARE(scene.file("<raw>/unit/.hidden")->p4_state, int(FILE_STATE_NO_PERFORCE));
    }
};

QTEST_MAIN(tst_perforce)
#include "tst_perforce.moc"
