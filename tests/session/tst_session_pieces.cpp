// Pieces that stand alone: the lockable map, paths, numbers of threads, watches.

#include <QtTest/QtTest>

#include <csignal>
#include <random>

#include "contracts/paths/paths.h"
#include "contracts/services/abort_watcher.h"
#include "contracts/services/fw_memory.h"
#include "contracts/services/stop_watch.h"
#include "session/lockable_map.h"
#include "session/start_up_hooks.h"
#include "tests/support/cases.h"
#include "tests/support/temporary_tree.h"
#include "tests/support/watched_test.h"

namespace {

using MAP = LOCKABLE_MAP<LOGICAL_PATH, int>;

// Pairs in their order, and what the map answers.
QString map_text(const MAP& map)
{
    QString text;
    for (auto place = map.begin(); place != map.end(); ++place)
        text += place.key() + '=' + QString::number(place.value()) + ' ';
    return text + map.lower_bound(LOGICAL_PATH("<raw>/b/")).key() +
           QString(" %1%2%3%4")
               .arg(map.value(LOGICAL_PATH("<raw>/b.txt")))
               .arg(map.contains(LOGICAL_PATH("<raw>/b")))
               .arg(map.size())
               .arg(map.map.size());
}

// Comes in the order of the paths: the files of a folder, then its folders.
QString order_text(const QString& path)
{
    const int name = path.lastIndexOf('/') + 1;
    return path.left(name).replace('/', QString(QChar(0)) + QChar(2)) + path.mid(name).prepend(QChar(1));
}

} // namespace

class TST_SESSION_PIECES : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void map_in_both_forms()
    {
        MAP map;
        int number = 0;
        for (const char* key :
             {"<raw>/b/x", "<raw>/0", "<raw>/a.txt", "<raw>/b.txt", "<raw>/a/z", "<working>/q"})
            map.insert(LOGICAL_PATH(key), ++number);
        QCOMPARE(map.erase(map.begin()).key(), LOGICAL_PATH("<raw>/a.txt"));
        const QString text =
            "<raw>/a.txt=3 <raw>/b.txt=4 <raw>/a/z=5 <raw>/b/x=1 <working>/q=6 <raw>/b/x 405";
        QCOMPARE(map_text(map), text + '5');
        MAP other = map;
        map.lock(true);
        QCOMPARE(map_text(map), text + '0');
        other.lock(false);
        other.insert(LOGICAL_PATH("<raw>/d"), 1);
        QVERIFY(other.locked && other.erase(other.begin()) == other.end());
        other.lock(true); // locked already: nothing is released any more
        QCOMPARE(map_text(other), text + '5');
        FW::STANDARD_ALLOCATOR<LOGICAL_PATH> allocator;
        QVERIFY_EXCEPTION_THROWN(allocator.deallocate(allocator.allocate(std::size_t(-1) / 64), 0),
                                 std::bad_alloc);
    }

    void paths_below_a_folder_lie_together()
    {
        std::mt19937 random(5);
        const QStringList names{"a", "a.txt", "A", "unit1", "unit10", "unit1.x", "ä", "-"};
        const auto random_path = [&] {
            QString path = "<raw>";
            for (int depth = 1 + int(random() % 4); depth > 0; --depth)
                path += '/' + names.at(int(random() % unsigned(names.size())));
            return path;
        };
        for (int i = 0; i < 20000; ++i) {
            const QString a = random_path(), b = random_path();
            QCOMPARE(LOGICAL_PATH(a) < LOGICAL_PATH(b), order_text(a) < order_text(b));
        }
    }

    void paths_data()
    {
        add_cases("session/paths.cases", {"tool", "files", "place", "path", "read", "write", "all"});
    }
    void paths()
    {
        const TEST_CASE one = current_case();
        TEMPORARY_TREE tree;
        tree.make_folder("old_raw_data");
        tree.make_folder("old_working_data");
        const QString tool = tree.path(one.has("tool") ? one["tool"] : "tool");
        QVERIFY(PATHS::initialise(tool));
        const LOGICAL_PATH path(one["path"]);
        PATHS::physical_path(path);
        PATHS::target_path(path); // what is remembered of the time before there were files
        for (const QString& file : one.lines("files"))
            tree.write(file, "x");
        QVERIFY(PATHS::initialise(tool)); // and that is forgotten
        const auto below = [&](const QString& place) { return place.mid(tree.path().size() + 1); };
        QCOMPARE(below(PATHS::physical_path(path)), one["read"]);
        QCOMPARE(below(PATHS::target_path(path)), one["write"]);
        QVector<PHYSICAL_PATH> all(1); // of a former call
        PATHS::physical_paths(path, all);
        QStringList places;
        for (const QString& one_place : all)
            places.append(below(one_place) + (PATHS::is_in_companion(PHYSICAL_PATH(one_place.toUpper()))
                                                  ? " of the companion"
                                                  : ""));
        GOX_COMPARE_TEXT(places.join('\n'), one["all"]);
        const QString place = one["place"];
        QCOMPARE(QString(PATHS::logical_path(PHYSICAL_PATH(tree.path(place)))),
                 place.isEmpty() ? QString("<>") : one["path"]);
        QCOMPARE(lower_case_by_letter(place).size(), place.size());
    }

    void slashes_at_the_end()
    {
        for (const char* text : {"a", "a/", "a///", "/a", "/"}) {
            PHYSICAL_PATH path(text);
            path.remove_end_slashes();
            QCOMPARE(QString(path), QString(text).remove(QRegularExpression("/+$")));
        }
    }

    // Whatever a comparison without regard to case takes for one letter.
    void letters_that_are_one_have_one_lower_case()
    {
        const QChar halves[] = {0xd801, 'A', 0xc4, 0xdc00}, lower_halves[] = {0xd801, 'a', 0xe4, 0xdc00};
        QCOMPARE(lower_case_by_letter(QString(halves, 4)), QString(lower_halves, 4));
        QHash<uint, QString> lower_of_folded;
        QString former;
        for (uint letter = 0x21; letter < 0x11000; ++letter) {
            if (QChar::isSurrogate(letter))
                continue;
            const QString text = QString::fromUcs4(&letter, 1);
            const QString lower = lower_case_by_letter(text);
            QVERIFY(begins_with_folder(text + 'x', lower) == text.startsWith(lower, Qt::CaseInsensitive));
            QVERIFY(!begins_with_folder(text, former) || text.startsWith(former, Qt::CaseInsensitive));
            former = text;
            QCOMPARE(lower_of_folded.value(QChar::toCaseFolded(letter), lower), lower);
            lower_of_folded.insert(QChar::toCaseFolded(letter), lower);
        }
    }

    void thread_numbers()
    {
        for (const unsigned number : {0u, 1u, 2u}) {
            QCOMPARE(thread_number_of_current_thread(), number);
            register_current_thread();
        }
        shutting_down = true;
        QCOMPARE(thread_number_of_current_thread(), 0u);
        shutting_down = false;
    }

    void requests_to_end_go_to_the_first_watcher()
    {
#ifdef Q_OS_UNIX
        static volatile bool is_former_asked = false;
        const auto former = std::signal(SIGTERM, [](int) { is_former_asked = true; });
        volatile bool is_first_asked = false, is_second_asked = false;
        {
            ABORT_WATCHER first(is_first_asked), second(is_second_asked);
            first.start();
            second.start();
            std::raise(SIGTERM);
        }
        QVERIFY(is_first_asked && !is_second_asked && !is_former_asked);
        std::raise(SIGTERM);
        QVERIFY(is_former_asked);
        std::signal(SIGTERM, former);
#endif
    }

    void watches_add_up_intervals()
    {
        Tallyline::StopWatch watch; // runs at once
        const auto run_on = [&] {
            for (const int before = watch.AsMSec(); watch.AsMSec() == before;)
                continue;
            return watch.Stop().AsMSec();
        };
        const int first = run_on();
        QVERIFY(first > 0 && watch.Stop().AsMSec() == first); // stands still
        watch.Start();
        QVERIFY(run_on() > first);
    }
};

QTEST_GUILESS_MAIN(TST_SESSION_PIECES)
#include "tst_session_pieces.moc"
