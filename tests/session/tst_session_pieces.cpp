// Pieces that stand alone: the lockable map, scan roots, the order of
// processors, path order, selection counts, watches, the command line.

#include <QtTest/QtTest>

#include <algorithm>
#include <array>
#include <memory>
#include <random>

#include "contracts/paths/dir_iterator.h"
#include "contracts/paths/paths.h"
#include "contracts/services/command_line_options.h"
#include "contracts/services/fw_memory.h"
#include "contracts/services/nearest_name.h"
#include "contracts/services/stop_watch.h"
#include "session/lockable_map.h"
#include "session/processor_order.h"
#include "session/scan_roots.h"
#include "session/start_up_hooks.h"
#include "tests/support/idle_action.h"
#include "tests/support/rows.h"
#include "tests/support/temporary_tree.h"
#include "tests/support/watched_test.h"

namespace {

// Paths and names stand in one text with a blank between them.
QVector<PHYSICAL_PATH> to_paths(const QString& texts)
{
    QVector<PHYSICAL_PATH> paths;
    for (const QString& text : texts.split(' ', Qt::SkipEmptyParts))
        paths.append(PHYSICAL_PATH(text));
    return paths;
}

template <typename LIST>
QString to_text(const LIST& paths)
{
    QStringList texts;
    for (const QString& path : paths)
        texts.append(path);
    return texts.join(' ');
}

using NEAREST = ROWS<QString, QString>;
using COMMAND_LINE = ROWS<QStringList, QStringList, QStringList>; // arguments, parsed, words of errors

using PLACES = ROWS<QStringList, QString, QString, QString>; // on disk, asked for, to read, to write

} // namespace

class TST_SESSION_PIECES : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void map_reads_alike_in_both_forms()
    {
        LOCKABLE_MAP<LOGICAL_PATH, int> map;
        int number = 0;
        for (const char* key : {"<raw>/b/x", "<raw>/a.txt", "<raw>/b.txt", "<raw>/a/z", "<working>/q"})
            map.insert(LOGICAL_PATH(key), ++number);
        for (const bool is_locked : {false, true}) {
            if (is_locked)
                map.lock(true);
            QCOMPARE(map.locked, is_locked);
            QCOMPARE(map.map.isEmpty(), is_locked);
            QString text;
            for (auto place = map.begin(); place != map.end(); ++place)
                text += place.key() + '=' + QString::number(place.value()) + ' ';
            QCOMPARE(text, QString("<raw>/a.txt=2 <raw>/b.txt=3 <raw>/a/z=4 <raw>/b/x=1 <working>/q=5 "));
            QCOMPARE(map.lower_bound(LOGICAL_PATH("<raw>/b/")).key(), LOGICAL_PATH("<raw>/b/x"));
            QCOMPARE(map.value(LOGICAL_PATH("<raw>/b.txt")), 3);
            QVERIFY(!map.contains(LOGICAL_PATH("<raw>/b")));
            QCOMPARE(map.size(), 5);
        }
    }

    void locked_map_takes_nothing()
    {
        LOCKABLE_MAP<LOGICAL_PATH, int> map;
        for (const char* key : {"<raw>/a", "<raw>/b", "<raw>/c"})
            map.insert(LOGICAL_PATH(key), 1);
        QCOMPARE(map.erase(map.begin()).key(), LOGICAL_PATH("<raw>/b"));
        map.lock(false);
        map.insert(LOGICAL_PATH("<raw>/d"), 1);
        QVERIFY(map.erase(map.begin()) == map.end());
        QCOMPARE(map.size(), 2);
        map.lock(true); // locked already: nothing is released any more
        QCOMPARE(map.map.size(), 2);
    }

    void map_that_cannot_be_allocated()
    {
        FW::STANDARD_ALLOCATOR<LOGICAL_PATH> allocator;
        const std::size_t too_many = std::size_t(-1) / 64;
        QVERIFY_EXCEPTION_THROWN(allocator.deallocate(allocator.allocate(too_many), too_many),
                                 std::bad_alloc);
    }

    void nested_roots()
    {
        const std::pair<const char*, const char*> rows[] = {
            {"/r/a /r/a/b /r/c", "/r/a /r/c"},
            {"/r/a/b /r/a/c/d /r/a", "/r/a"},
            {"/r/A/x /r/a /R/a/Y", "/r/a"},
            {"/r/unit1 /r/unit10", "/r/unit1 /r/unit10"},
            {"/r/a /r/a /r/a/b", "/r/a /r/a"}, // identical ones stay
            {"", ""}};
        for (const auto& [roots, kept] : rows) {
            QVector<PHYSICAL_PATH> paths = to_paths(roots);
            remove_nested_roots(paths);
            QCOMPARE(to_text(paths), QString(kept));
        }
    }

    void ancestors()
    {
        const QVector<PHYSICAL_PATH> data_roots = to_paths("/t/old_raw_data /t/raw_data");
        const std::pair<const char*, const char*> rows[] = {
            {"/t/raw_data/a/B/c", "/t/raw_data /t/raw_data/a /t/raw_data/a/B"},
            {"/T/RAW_DATA/a", "/T/RAW_DATA"},
            {"/t/raw_data", ""},
            {"/elsewhere/a/b", ""}};
        for (const auto& [folder, expected] : rows) {
            QStringList texts;
            for (const PHYSICAL_PATH& path : ancestors_within(PHYSICAL_PATH(folder), data_roots))
                texts.append(path);
            texts.sort();
            QCOMPARE(to_text(texts), QString(expected));
        }
    }

    void exchange_sort_of_equal_numbers()
    {
        QVector<QPair<int, char>> elements{{2, 'a'}, {2, 'b'}, {1, 'c'}, {2, 'd'}, {1, 'e'}};
        exchange_sort(elements, [](const QPair<int, char>& element) { return element.first; });
        QByteArray order;
        for (const auto& element : qAsConst(elements))
            order += element.second;
        QCOMPARE(order, QByteArray("ceadb")); // what the swaps give, not what came first
    }

    void paths_below_a_folder_lie_together()
    {
        std::mt19937 random(5);
        const QStringList names{"a", "a.txt", "A", "unit1", "unit10", "unit1.x", QStringLiteral("ä"),
                                "-", "b"};
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
        const QList<LOGICAL_PATH> keys = map.keys();
        for (const QString& folder : qAsConst(folders)) {
            const auto is_below = [&](const QString& key) { return key.startsWith(folder); };
            const auto first = std::lower_bound(keys.begin(), keys.end(), LOGICAL_PATH(folder));
            const auto end = std::find_if_not(first, keys.end(), is_below);
            QCOMPARE(end - first, std::count_if(keys.begin(), keys.end(), is_below));
        }
        for (int i = 1; i < keys.size(); ++i)
            QVERIFY(keys[i - 1] < keys[i] && !(keys[i] < keys[i - 1]));
    }

    void logical_paths()
    {
        TEMPORARY_TREE tree;
        tree.make_folder("old_raw_data");
        QVERIFY(PATHS::initialise(tree.path("tool")));
        const std::pair<const char*, const char*> rows[] = {
            {"raw_data/Units/Tank.PNG", "<raw>/units/tank.png"},
            {"old_raw_data/Units/Tank.PNG", "<raw>/units/tank.png"},
            {"WORKING_Data/x", "<working>/x"},
            {"retail_build", "<retail>"},
            {"raw_data2/x", "<>"},
            {"tool/x", "<>"},
            {"raw_data/ǅİß𐐀", "<raw>/ǆİß𐐨"},              // some would grow
            {"raw_data/ΣΑΣ ΣΑς µſ", "<raw>/σασ σασ μs"}}; // letters of two small forms
        for (const auto& [physical, logical] : rows) {
            const QString text = PATHS::logical_path(PHYSICAL_PATH(tree.path(physical)));
            QCOMPARE(text, QString(logical));
            QCOMPARE(lower_case_by_letter(physical).size(), QString(physical).size());
        }
    }

    // Whatever a comparison without regard to case takes for one letter.
    void letters_that_are_one_have_one_lower_case()
    {
        QHash<uint, QString> lower_of_folded;
        for (uint letter = 0x21; letter < 0x11000; ++letter) {
            if (QChar::isSurrogate(letter))
                continue;
            const QString lower = lower_case_by_letter(QString::fromUcs4(&letter, 1));
            QCOMPARE(lower_of_folded.value(QChar::toCaseFolded(letter), lower), lower);
            lower_of_folded.insert(QChar::toCaseFolded(letter), lower);
        }
    }

    void places_on_disk_data()
    {
        const PLACES row;
        row("in lower case", {"raw_data/a/b.txt"}, "<raw>/a/b.txt", "raw_data/a/b.txt", "raw_data/a/b.txt");
        row("in another case", {"raw_data/Ab/Cd/E.TXT"}, "<raw>/ab/cd/e.txt", "raw_data/Ab/Cd/E.TXT",
            "raw_data/Ab/Cd/E.TXT");
        row("asked in another case", {"raw_data/ab/c.txt"}, "<raw>/AB/C.txt", "raw_data/ab/c.txt",
            "raw_data/ab/c.txt");
        row("new in a folder that is there", {"raw_data/Ab/x"}, "<raw>/ab/cd/e.txt", "raw_data/Ab/cd/e.txt",
            "raw_data/Ab/cd/e.txt");
        row("a file where the folder should be", {"raw_data/Ab"}, "<raw>/ab/c.txt", "raw_data/ab/c.txt",
            "raw_data/ab/c.txt");
        row("in the second of two folders", {"raw_data/Ab/x", "raw_data/ab/Y"}, "<raw>/ab/y", "raw_data/ab/Y",
            "raw_data/ab/Y");
        row("in two folders", {"raw_data/ab/y", "raw_data/aB/y"}, "<raw>/ab/y", "raw_data/aB/y",
            "raw_data/aB/y");
        row("new where there are two", {"raw_data/ab/y", "raw_data/aB/y"}, "<raw>/ab/z", "raw_data/aB/z",
            "raw_data/aB/z");
        row("two spellings of the file", {"raw_data/x", "raw_data/X"}, "<raw>/x", "raw_data/X", "raw_data/X");
        row("in the companion alone", {"old_raw_data/Ab/C"}, "<raw>/ab/c", "old_raw_data/Ab/C",
            "raw_data/ab/c");
        row("in both", {"old_raw_data/ab/c", "raw_data/AB/C"}, "<raw>/ab/c", "raw_data/AB/C",
            "raw_data/AB/C");
        row("nowhere", {}, "<raw>/Ab/c", "raw_data/Ab/c", "raw_data/Ab/c");
        row("the root", {}, "<retail>", "retail_build", "retail_build");
        row("below no root", {}, "<other>/x", "", "");
    }
    void places_on_disk()
    {
        const auto [files, logical, read_from, written_to] = PLACES::values();
        TEMPORARY_TREE tree;
        tree.make_folder("old_raw_data");
        QVERIFY(PATHS::initialise(tree.path("tool")));
        for (int pass = 0; pass < 2; ++pass) { // what is remembered, and what has come since
            const LOGICAL_PATH path(logical);
            if (pass == 1 || files.isEmpty()) {
                const auto relative = [&](const QString& place) { return place.mid(tree.path().size() + 1); };
                QCOMPARE(relative(PATHS::physical_path(path)), read_from);
                QCOMPARE(relative(PATHS::target_path(path)), written_to);
            } else {
                PATHS::physical_path(path);
                for (const QString& file : files)
                    tree.write(file, "x");
                PATHS::forget_folders();
            }
        }
    }

    void roots_and_override()
    {
        TEMPORARY_TREE tree;
        tree.write("old_raw_data/only_old.txt", "x");
        QVERIFY(PATHS::initialise(tree.path("tool")));
        QVector<PHYSICAL_PATH> roots;
        PATHS::physical_paths(LOGICAL_PATH("<raw>"), roots);
        QCOMPARE(to_text(roots), tree.path("old_raw_data") + ' ' + tree.path("raw_data"));
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
        QVERIFY(PATHS::is_in_companion(PHYSICAL_PATH(tree.path("OLD_raw_data/x"))));
        QVERIFY(!PATHS::is_in_companion(PHYSICAL_PATH(tree.path("raw_data/x"))));
        tree.remove("raw_data");
        QVERIFY(!PATHS::initialise(tree.path("tool")));
    }

    void selection_is_a_count()
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

    void dependencies_are_free_of_repeats()
    {
        auto others = std::make_unique<std::array<IDLE_ACTION, 200>>();
        IDLE_ACTION action;
        for (const bool pulls : {false, true, false})
            for (IDLE_ACTION& other : *others) {
                action.add_dependency(other, pulls);
                action.add_dependency(action, true);
            }
        QCOMPARE(action.dependencies.size(), 200);
        QCOMPARE(action.pulls.size(), 200); // a pull that comes later counts, once
        QCOMPARE(others->front().pulled_by.size(), 1);
        others.reset();
        QVERIFY(action.pulls.isEmpty()); // whoever is dropped is pulled no more
    }

    void hook_and_thread_numbers()
    {
        bool show_box = true;
        bool break_in_debugger = true;
        silent_mode = false;
        QVERIFY(startup_message_hook(true, FW::UniString("text"), show_box, break_in_debugger));
        QVERIFY(!show_box && break_in_debugger);
        silent_mode = true;
        IDLE_ACTION action;
        current_action = &action;
        for (int time = 0; time < 2; ++time)
            QVERIFY(!startup_message_hook(true, FW::UniString(QStringLiteral("tëxt")), show_box,
                                          break_in_debugger));
        current_action = nullptr;
        silent_mode = false;
        QCOMPARE(action.output, QStringLiteral("tëxt\n")); // once
        QVERIFY(action.review_needed);

        for (const unsigned number : {0u, 1u, 2u}) {
            QCOMPARE(thread_number_of_current_thread(), number);
            register_current_thread();
        }
        shutting_down = true;
        QCOMPARE(thread_number_of_current_thread(), 0u);
        shutting_down = false;
    }

    void watches_add_up_intervals()
    {
        Tallyline::StopWatch watch; // runs at once
        QTest::qSleep(10);
        const int first = watch.Stop().AsMSec();
        QTest::qSleep(10);
        QVERIFY(first >= 9 && watch.Stop().AsMSec() == first); // stands still
        watch.Start();
        QTest::qSleep(10);
        QVERIFY(watch.Stop().AsMSec() >= first + 9);
    }

    void command_line_data()
    {
        const COMMAND_LINE row;
        row("forms", {"--offline", "-workspace=a=b", "--configuration", "night ly", "-?", "-h", "-v"},
            {"configuration=night ly", "help=", "offline=", "version=", "workspace=a=b"}, {});
        row("last one counts", {"--workspace=a", "-workspace", "b"}, {"workspace=b"}, {});
        row("value in front", {"stray", "--offline"}, {"offline="}, {"'stray'"});
        row("second value", {"--workspace", "a", "b c"}, {"workspace=a"}, {"'b c'"});
        row("spelling is kept", {"--Configuration", "x"}, {"Configuration=x"}, {});
        row("misspelt", {"--confguration=x", "--OFFLINE", "y", "--dont_stop", "--", "--=z"},
            {"OFFLINE=y", "confguration=x", "dont_stop="},
            {"'confguration'; did you mean --configuration? --help", "'OFFLINE'; did you mean --offline?",
             "mean --dont_stop_on_error?", "'--' names", "'--=z' names"});
        row("nothing near", {"--frobnicate"}, {"frobnicate="}, {"no option 'frobnicate'; --help lists"});
        row("a value too many", {"--nosplashscreen=yes", "--offline", "foo", "bar", "--build_server="},
            {"build_server=", "nosplashscreen=", "offline="},
            {"'nosplashscreen' takes no value; 'yes' is", "'offline' takes no value; 'foo' is", "'bar'"});
    }
    void command_line()
    {
        const auto [arguments, parsed, error_words] = COMMAND_LINE::values();
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

    void nearest_names_data()
    {
        const NEAREST row;
        row("letter left out", "textues", "textures");
        row("neighbours swapped", "Texturse", "textures");
        row("letter case", "PACKS", "packs");
        row("cut short", "tex", "textures");
        row("the nearest of several", "packer", "packed");
        row("two letters of eight", "tixtires", "textures");
        row("three of eight", "tixtirus", "");
        row("far", "sounds", "");
        row("nothing", "", "");
        row("a text", QString(100000, 't'), "");
    }
    void nearest_names()
    {
        const auto [name, nearest] = NEAREST::values();
        QCOMPARE(nearest_name(name, {"packs", "packed", "textures", "p"}), nearest);
    }

    void iterator_looks_one_ahead()
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
};

QTEST_GUILESS_MAIN(TST_SESSION_PIECES)
#include "tst_session_pieces.moc"
