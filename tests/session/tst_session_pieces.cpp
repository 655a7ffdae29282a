// Pieces that stand alone: the lockable map, scan roots, the order of
// processors, path order, selection counts, watches, the command line.

#include <QtTest/QtTest>

#include <algorithm>
#include <random>

#include "contracts/actions/action_interface.h"
#include "contracts/paths/dir_iterator.h"
#include "contracts/paths/paths.h"
#include "contracts/services/command_line_options.h"
#include "contracts/services/fw_memory.h"
#include "contracts/services/stop_watch.h"
#include "session/lockable_map.h"
#include "session/processor_order.h"
#include "session/scan_roots.h"
#include "session/start_up_hooks.h"
#include "tests/support/temporary_tree.h"
#include "tests/support/watched_test.h"

namespace {

class IDLE_ACTION : public ACTION_INTERFACE
{
public:
    using ACTION_INTERFACE::add_output_line;
    using ACTION_INTERFACE::clear_redirections;
    using ACTION_INTERFACE::redirect_messages;
    QString display_text(bool) override { return QString(); }
    void collect_files(QVector<LOGICAL_PATH>&, QVector<ACTION_TARGET>&, QDateTime&,
                       LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&, RULE_CACHE&) override
    {
    }
    int execute(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&, RULE_CACHE&) override { return ACTION_SUCCEEDED; }
};

QVector<PHYSICAL_PATH> to_paths(const QStringList& texts)
{
    QVector<PHYSICAL_PATH> paths;
    for (const QString& text : texts)
        paths.append(PHYSICAL_PATH(text));
    return paths;
}

QStringList to_texts(const QVector<PHYSICAL_PATH>& paths)
{
    QStringList texts;
    for (const PHYSICAL_PATH& path : paths)
        texts.append(path);
    return texts;
}

} // namespace

class TST_SESSION_PIECES : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void map_reads_alike_in_both_forms();
    void locked_map_takes_nothing();
    void map_that_cannot_be_allocated();
    void nested_roots_data();
    void nested_roots();
    void ancestors();
    void exchange_sort_of_equal_numbers();
    void paths_below_a_folder_lie_together();
    void logical_paths_data();
    void logical_paths();
    void roots_and_override();
    void selection_is_a_count();
    void dependencies_are_free_of_repeats();
    void messages_of_a_thread_go_into_the_output();
    void hook_and_thread_numbers();
    void watches_add_up_intervals();
    void command_line_data();
    void command_line();
    void iterator_looks_one_ahead();
};

void TST_SESSION_PIECES::map_reads_alike_in_both_forms()
{
    LOCKABLE_MAP<LOGICAL_PATH, int> map;
    int number = 0;
    for (const char* key : {"<raw>/b/x", "<raw>/a.txt", "<raw>/b.txt", "<raw>/a/z", "<working>/q"})
        map.insert(LOGICAL_PATH(key), ++number);
    const auto read = [&] {
        QStringList rows;
        for (auto place = map.begin(); place != map.end(); ++place)
            rows.append(place.key() + '=' + QString::number(place.value()));
        rows.append(map.lower_bound(LOGICAL_PATH("<raw>/b/")).key());
        rows.append(QString::number(map.value(LOGICAL_PATH("<raw>/b.txt"))));
        rows.append(QString::number(map.contains(LOGICAL_PATH("<raw>/b"))));
        rows.append(QString::number(map.size()));
        return rows;
    };
    const QStringList building = read();
    QCOMPARE(building, QStringList({"<raw>/a.txt=2", "<raw>/b.txt=3", "<raw>/a/z=4", "<raw>/b/x=1",
                                    "<working>/q=5", "<raw>/b/x", "3", "0", "5"}));
    map.lock(true);
    QVERIFY(map.locked);
    QVERIFY(map.map.isEmpty());
    QCOMPARE(read(), building);
}

void TST_SESSION_PIECES::locked_map_takes_nothing()
{
    LOCKABLE_MAP<LOGICAL_PATH, int> map;
    for (const char* key : {"<raw>/a", "<raw>/b", "<raw>/c"})
        map.insert(LOGICAL_PATH(key), 1);
    QCOMPARE(map.erase(map.begin()).key(), LOGICAL_PATH("<raw>/b"));
    map.lock(false);
    QCOMPARE(map.map.size(), 2);
    map.insert(LOGICAL_PATH("<raw>/d"), 1);
    QVERIFY(map.erase(map.begin()) == map.end());
    QCOMPARE(map.size(), 2);
    map.lock(true); // locked already: nothing is released any more
    QCOMPARE(map.map.size(), 2);
}

void TST_SESSION_PIECES::map_that_cannot_be_allocated()
{
    FW::STANDARD_ALLOCATOR<LOGICAL_PATH> allocator;
    const std::size_t too_many = std::size_t(-1) / 64;
    QVERIFY_EXCEPTION_THROWN(allocator.deallocate(allocator.allocate(too_many), too_many), std::bad_alloc);
}

void TST_SESSION_PIECES::nested_roots_data()
{
    QTest::addColumn<QStringList>("roots");
    QTest::addColumn<QStringList>("kept");
    QTest::newRow("parent first") << QStringList{"/r/a", "/r/a/b", "/r/c"} << QStringList{"/r/a", "/r/c"};
    QTest::newRow("parent last") << QStringList{"/r/a/b", "/r/a/c/d", "/r/a"} << QStringList{"/r/a"};
    QTest::newRow("letter case") << QStringList{"/r/A/x", "/r/a", "/R/a/Y"} << QStringList{"/r/a"};
    QTest::newRow("names that begin alike")
        << QStringList{"/r/unit1", "/r/unit10"} << QStringList{"/r/unit1", "/r/unit10"};
    QTest::newRow("identical ones stay")
        << QStringList{"/r/a", "/r/a", "/r/a/b"} << QStringList{"/r/a", "/r/a"};
    QTest::newRow("empty") << QStringList() << QStringList();
}

void TST_SESSION_PIECES::nested_roots()
{
    QFETCH(QStringList, roots);
    QFETCH(QStringList, kept);
    QVector<PHYSICAL_PATH> paths = to_paths(roots);
    remove_nested_roots(paths);
    QCOMPARE(to_texts(paths), kept);
}

void TST_SESSION_PIECES::ancestors()
{
    const QVector<PHYSICAL_PATH> data_roots = to_paths({"/t/old_raw_data", "/t/raw_data"});
    const auto of = [&](const char* folder) {
        QStringList texts;
        for (const PHYSICAL_PATH& path : ancestors_within(PHYSICAL_PATH(folder), data_roots))
            texts.append(path);
        texts.sort();
        return texts;
    };
    QCOMPARE(of("/t/raw_data/a/B/c"), QStringList({"/t/raw_data", "/t/raw_data/a", "/t/raw_data/a/B"}));
    QCOMPARE(of("/T/RAW_DATA/a"), QStringList({"/T/RAW_DATA"}));
    QCOMPARE(of("/t/raw_data"), QStringList());
    QCOMPARE(of("/elsewhere/a/b"), QStringList());
}

void TST_SESSION_PIECES::exchange_sort_of_equal_numbers()
{
    QVector<QPair<int, char>> elements{{2, 'a'}, {2, 'b'}, {1, 'c'}, {2, 'd'}, {1, 'e'}};
    exchange_sort(elements, [](const QPair<int, char>& element) { return element.first; });
    QByteArray order;
    for (const auto& element : qAsConst(elements))
        order += element.second;
    QCOMPARE(order, QByteArray("ceadb")); // what the swaps give, not what came first
}

void TST_SESSION_PIECES::paths_below_a_folder_lie_together()
{
    std::mt19937 random(5);
    const QStringList names{"a", "a.txt", "A", "unit1", "unit10", "unit1.x", QStringLiteral("ä"), "-", "b"};
    QMap<LOGICAL_PATH, int> map;
    QStringList folders;
    for (int i = 0; i < 3000; ++i) {
        QString path = "<raw>";
        for (int depth = 1 + int(random() % 4); depth > 0; --depth) {
            path += '/' + names.at(int(random() % unsigned(names.size())));
            if (depth > 1)
                folders.append(path + '/');
        }
        map.insert(LOGICAL_PATH(path), i);
    }
    for (const QString& folder : qAsConst(folders)) {
        int expected = 0;
        for (auto place = map.cbegin(); place != map.cend(); ++place)
            expected += static_cast<const QString&>(place.key()).startsWith(folder);
        int found = 0;
        for (auto place = map.lowerBound(LOGICAL_PATH(folder));
             place != map.end() && static_cast<const QString&>(place.key()).startsWith(folder); ++place)
            ++found;
        QCOMPARE(found, expected);
    }
    const QList<LOGICAL_PATH> keys = map.keys();
    for (int i = 1; i < keys.size(); ++i) {
        QVERIFY(keys[i - 1] < keys[i]);
        QVERIFY(!(keys[i] < keys[i - 1]));
    }
}

void TST_SESSION_PIECES::logical_paths_data()
{
    QTest::addColumn<QString>("physical"); // below the tree
    QTest::addColumn<QString>("logical");
    QTest::newRow("raw") << "raw_data/Units/Tank.PNG"
                         << "<raw>/units/tank.png";
    QTest::newRow("companion") << "old_raw_data/Units/Tank.PNG"
                               << "<raw>/units/tank.png";
    QTest::newRow("root in another case") << "WORKING_Data/x"
                                          << "<working>/x";
    QTest::newRow("bare root") << "retail_build"
                               << "<retail>";
    QTest::newRow("begins like a root") << "raw_data2/x"
                                        << "<>";
    QTest::newRow("outside") << "tool/x"
                             << "<>";
    QTest::newRow("letters that would grow")
        << QStringLiteral("raw_data/ǅİß𐐀") << QStringLiteral("<raw>/ǆİß𐐨");
}

void TST_SESSION_PIECES::logical_paths()
{
    QFETCH(QString, physical);
    QFETCH(QString, logical);
    TEMPORARY_TREE tree;
    tree.make_folder("old_raw_data");
    QVERIFY(PATHS::initialise(tree.path("tool")));
    const QString text = PATHS::logical_path(PHYSICAL_PATH(tree.path(physical)));
    QCOMPARE(text, logical);
    QCOMPARE(lower_case_by_letter(physical).size(), physical.size());
}

void TST_SESSION_PIECES::roots_and_override()
{
    TEMPORARY_TREE tree;
    tree.make_folder("old_raw_data");
    tree.write("old_raw_data/only_old.txt", "x");
    QVERIFY(PATHS::initialise(tree.path("tool")));
    QVector<PHYSICAL_PATH> roots;
    PATHS::physical_paths(LOGICAL_PATH("<raw>"), roots);
    QCOMPARE(to_texts(roots), QStringList({tree.path("old_raw_data"), tree.path("raw_data")}));
    PATHS::physical_paths(LOGICAL_PATH(QString()), roots);
    QVERIFY(roots.isEmpty());
    const auto physical = [](const char* path) -> QString {
        return PATHS::physical_path(LOGICAL_PATH(path));
    };
    QCOMPARE(physical("<raw>/only_old.txt"), tree.path("old_raw_data/only_old.txt"));
    QCOMPARE(physical("<raw>/nowhere.txt"), tree.path("raw_data/nowhere.txt"));
    const auto overrides = [&](const char* a, const char* b) {
        return PATHS::override(PHYSICAL_PATH(tree.path(a)), PHYSICAL_PATH(tree.path(b)), false);
    };
    QVERIFY(overrides("raw_data/x", "old_raw_data/x"));
    QVERIFY(!overrides("old_raw_data/x", "raw_data/x"));
    QVERIFY(!overrides("raw_data/x", "raw_data/X"));
    QVERIFY(!overrides("working_data/x", "old_raw_data/x"));
    tree.remove("raw_data");
    QVERIFY(!PATHS::initialise(tree.path("tool")));
}

void TST_SESSION_PIECES::selection_is_a_count()
{
    IDLE_ACTION pack, texture, palette;
    pack.add_dependency(texture, true);
    texture.add_dependency(palette, true);
    palette.add_dependency(pack, true); // carries in a circle: each counts once
    QSet<ACTION_INTERFACE*> touched;
    pack.select(touched);
    QCOMPARE(touched, (QSet<ACTION_INTERFACE*>{&pack, &texture, &palette}));
    texture.select(touched);
    QCOMPARE(pack.selection_count, 2);
    touched.clear();
    pack.deselect(touched);
    QCOMPARE(touched.size(), 3);
    QCOMPARE(texture.selection_count, 1); // something else still holds it
    palette.deselect(touched);
    touched.clear();
    palette.deselect(touched);
    QVERIFY(touched.isEmpty());
    QCOMPARE(palette.selection_count, 0);
    QCOMPARE(texture.pulled_by, QVector<ACTION_INTERFACE*>{&pack});
}

void TST_SESSION_PIECES::dependencies_are_free_of_repeats()
{
    std::vector<std::unique_ptr<IDLE_ACTION>> others(200);
    IDLE_ACTION action;
    for (int round = 0; round < 3; ++round)
        for (auto& other : others) {
            if (!other)
                other = std::make_unique<IDLE_ACTION>();
            action.add_dependency(*other, round == 1);
            action.add_dependency(action, true);
        }
    QCOMPARE(action.dependencies.size(), 200);
    QCOMPARE(action.pulls.size(), 200); // a pull that comes later counts, once
    QCOMPARE(others.front()->pulled_by.size(), 1);
    others.clear();
    QVERIFY(action.pulls.isEmpty()); // whoever is dropped is pulled no more
}

void TST_SESSION_PIECES::messages_of_a_thread_go_into_the_output()
{
    IDLE_ACTION action;
    action.redirect_messages();
    qWarning("a warning");
    action.clear_redirections();
    action.add_output_line(QString());
    action.add_output_line(QStringLiteral("end"));
    QCOMPARE(action.output, QStringLiteral("a warning\n\nend\n"));
}

void TST_SESSION_PIECES::hook_and_thread_numbers()
{
    bool show_box = true;
    bool break_in_debugger = true;
    silent_mode = false;
    QVERIFY(startup_message_hook(true, FW::UniString("text"), show_box, break_in_debugger));
    QVERIFY(!show_box);
    QVERIFY(break_in_debugger);
    silent_mode = true;
    IDLE_ACTION action;
    current_action = &action;
    QVERIFY(!startup_message_hook(true, FW::UniString(QStringLiteral("tëxt")), show_box, break_in_debugger));
    QVERIFY(!startup_message_hook(true, FW::UniString(QStringLiteral("tëxt")), show_box, break_in_debugger));
    current_action = nullptr;
    silent_mode = false;
    QCOMPARE(action.output, QStringLiteral("tëxt\n")); // once
    QVERIFY(action.review_needed);

    QCOMPARE(thread_number_of_current_thread(), 0u);
    register_current_thread();
    QCOMPARE(thread_number_of_current_thread(), 1u);
    register_current_thread();
    QCOMPARE(thread_number_of_current_thread(), 2u);
    shutting_down = true;
    QCOMPARE(thread_number_of_current_thread(), 0u);
    shutting_down = false;
}

void TST_SESSION_PIECES::watches_add_up_intervals()
{
    Tallyline::StopWatch watch; // runs at once
    QTest::qSleep(30);
    const int first = watch.Stop().AsMSec();
    QVERIFY(first >= 29);
    QTest::qSleep(30);
    QCOMPARE(watch.Stop().AsMSec(), first); // stands still
    watch.Start();
    QTest::qSleep(30);
    QVERIFY(watch.Stop().AsMSec() >= first + 29);
    QCOMPARE(watch.AsSec(), 0);
}

void TST_SESSION_PIECES::command_line_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QStringList>("parsed");
    QTest::addColumn<QStringList>("error_words");
    QTest::newRow("forms") << QStringList{"--offline", "-workspace=a=b", "--configuration", "night ly"}
                           << QStringList{"configuration=night ly", "offline=", "workspace=a=b"}
                           << QStringList();
    QTest::newRow("last one counts") << QStringList{"--workspace=a", "-workspace", "b"}
                                     << QStringList{"workspace=b"} << QStringList();
    QTest::newRow("value in front") << QStringList{"stray", "--offline"} << QStringList{"offline="}
                                    << QStringList{"'stray'"};
    QTest::newRow("second value") << QStringList{"--workspace", "a", "b c"} << QStringList{"workspace=a"}
                                  << QStringList{"'b c'"};
    QTest::newRow("spelling is kept")
        << QStringList{"--Configuration", "x"} << QStringList{"Configuration=x"} << QStringList();
    QTest::newRow("misspelt") << QStringList{"--confguration=x", "--OFFLINE", "--"}
                              << QStringList{"OFFLINE=", "confguration=x"}
                              << QStringList{"'confguration'", "'OFFLINE'", "'--'"};
}

void TST_SESSION_PIECES::command_line()
{
    QFETCH(QStringList, arguments);
    QFETCH(QStringList, parsed);
    QFETCH(QStringList, error_words);
    QList<QByteArray> bytes{"gox"};
    for (const QString& argument : arguments)
        bytes.append(argument.toLocal8Bit());
    QVector<char*> argv;
    for (QByteArray& argument : bytes)
        argv.append(argument.data());
    COMMAND_LINE_OPTIONS options;
    QStringList errors;
    options.initialise(argv.size(), argv.data(), errors);
    QStringList found;
    for (auto option = options.get_all().cbegin(); option != options.get_all().cend(); ++option)
        found.append(option.key() + '=' + option.value());
    QCOMPARE(found, parsed);
    QCOMPARE(errors.size(), error_words.size());
    for (int i = 0; i < errors.size(); ++i)
        QVERIFY2(errors[i].contains(error_words[i]), qPrintable(errors[i]));
}

void TST_SESSION_PIECES::iterator_looks_one_ahead()
{
    TEMPORARY_TREE tree;
    tree.write("raw_data/x/a.txt", "1");
    tree.make_folder("raw_data/x/sub");
    QStringList names;
    for (DIR_ITERATOR entries(tree.path("raw_data/x")); entries.has_next;) {
        const QString name = entries.next();
        names.append(entries.current.is_directory ? name + '/' : name);
        QVERIFY(entries.current.modified.isValid());
    }
    names.sort();
    QCOMPARE(names, QStringList({"../", "./", "a.txt", "sub/"}));
    DIR_ITERATOR nowhere(tree.path("nowhere"));
    QVERIFY(!nowhere.has_next);
    QCOMPARE(nowhere.next(), QString());
}

QTEST_GUILESS_MAIN(TST_SESSION_PIECES)
#include "tst_session_pieces.moc"
