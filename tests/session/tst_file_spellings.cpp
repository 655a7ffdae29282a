// Letter case of paths: the remembered spellings against a plain walk over the
// whole map, on random trees with all that can happen to them.

#include <QtTest/QtTest>

#include <memory>
#include <random>

#include "contracts/paths/paths.h"
#include "session/file_spellings.h"
#include "tests/support/rows.h"
#include "tests/support/temporary_tree.h"
#include "tests/support/watched_test.h"

namespace {

using FILE_MAP = FILE_SPELLINGS::FILE_MAP;

// The rule as it is told: every key is looked at.
QString plain_spelling(const FILE_MAP& files, const QString& path)
{
    QString a = path;
    QString b = PATHS::logical_path(PHYSICAL_PATH(path));
    while (true) {
        for (auto place = files.begin(); place != files.end(); ++place) {
            const QString& key = place.key();
            const QString& physical = place.value()->physical;
            if (key.startsWith(b) && physical.startsWith(a, Qt::CaseInsensitive) &&
                (physical.size() == a.size() || physical.at(a.size()) == '/'))
                return physical.left(a.size()) + path.mid(a.size());
        }
        if (!b.contains('/'))
            return path;
        a.truncate(a.lastIndexOf('/'));
        b.truncate(b.lastIndexOf('/'));
    }
}

class RANDOM_TREE
{
public:
    explicit RANDOM_TREE(unsigned seed, const QString& top) : spellings(files), m_random(seed), m_top(top) {}

    int below(int end) { return int(m_random() % unsigned(end)); }

    QString random_path()
    {
        static const char* const ROOTS[] = {"raw_data", "old_raw_data", "working_data", "RAW_data"};
        static const char* const NAMES[] = {"unit1",  "unit10", "unit100", "Unit1",
                                            "UNIT10", "a.txt",  "A.txt",   "b"};
        QString path = m_top + '/' + ROOTS[below(4)];
        for (int depth = 1 + below(4); depth > 0; --depth)
            path += '/' + QLatin1String(NAMES[below(8)]);
        return path;
    }

    // A file that takes the letter case of its folder, as all do but virtual ones.
    void add(const QString& path, bool as_it_stands)
    {
        const PHYSICAL_PATH wanted(path);
        const LOGICAL_PATH key = PATHS::logical_path(wanted);
        if (files.locked)
            return;
        if (FILE_ENTRY* const known = files.value(key)) {
            if (!PATHS::override(wanted, known->physical, true))
                return;
            spellings.file_left(known->physical);
        }
        put(key, as_it_stands ? wanted : spellings.normalised(wanted));
    }

    // A file whose key is not the logical path of its place.
    void add_stray(const QString& key_of, const QString& path)
    {
        put(PATHS::logical_path(PHYSICAL_PATH(key_of)), PHYSICAL_PATH(path));
    }

    FILE_ENTRY* random_entry(LOGICAL_PATH& key)
    {
        if (files.empty())
            return nullptr;
        auto place = files.begin();
        for (int steps = below(files.size()); steps > 0; --steps)
            ++place;
        key = place.key();
        return place.value();
    }

    void remove_one()
    {
        LOGICAL_PATH key;
        FILE_ENTRY* const entry = random_entry(key);
        if (entry && !files.locked) {
            spellings.file_left(entry->physical);
            files.map.remove(key);
        }
    }

    void move_one(const QString& path)
    {
        LOGICAL_PATH key;
        if (FILE_ENTRY* const entry = random_entry(key)) {
            const PHYSICAL_PATH former = entry->physical;
            entry->physical = spellings.normalised(PHYSICAL_PATH(path));
            spellings.file_moved(former, entry->physical);
        }
    }

    FILE_MAP files;
    FILE_SPELLINGS spellings;

private:
    void put(const LOGICAL_PATH& key, const PHYSICAL_PATH& physical)
    {
        if (files.locked)
            return;
        m_entries.push_back(std::make_unique<FILE_ENTRY>());
        m_entries.back()->physical = physical;
        files.insert(key, m_entries.back().get());
        spellings.file_added(physical, key);
    }

    std::mt19937 m_random;
    QString m_top;
    std::vector<std::unique_ptr<FILE_ENTRY>> m_entries;
};

// Of a hundred steps, how many are a file as it stands, a removal, a move, a
// stray; the rest adds a file in its folder's spelling.
using STEPS = ROWS<int, int, int, int>;

} // namespace

class TST_FILE_SPELLINGS : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void result_is_that_of_the_plain_walk_data()
    {
        const STEPS row;
        row("scanned files only", 0, 0, 0, 0);
        row("files that leave the map", 0, 20, 0, 0);
        row("virtual files in a spelling of their own", 20, 5, 0, 0);
        row("targets that move", 5, 5, 15, 0);
        row("strays", 5, 5, 5, 5);
    }
    void result_is_that_of_the_plain_walk()
    {
        const auto [as_it_stands, removed, moved, strays] = STEPS::values();
        TEMPORARY_TREE tree;
        tree.make_folder("old_raw_data");
        QVERIFY(PATHS::initialise(tree.path("tool")));
        for (unsigned seed = 1; seed <= 150; ++seed) {
            RANDOM_TREE random(seed, tree.path());
            for (int step = 0; step < 120; ++step) {
                int kind = random.below(100);
                if ((kind -= as_it_stands) < 0)
                    random.add(random.random_path(), true);
                else if ((kind -= removed) < 0)
                    random.remove_one();
                else if ((kind -= moved) < 0)
                    random.move_one(random.random_path());
                else if ((kind -= strays) < 0)
                    random.add_stray(random.random_path(), random.random_path());
                else
                    random.add(random.random_path(), false);
                if (step == 100)
                    random.files.lock(true);
                const QString path = random.random_path();
                const QString quick = random.spellings.normalised(PHYSICAL_PATH(path));
                const QString plain = plain_spelling(random.files, path);
                if (quick != plain)
                    qWarning() << "seed" << seed << "step" << step << path;
                QCOMPARE(quick, plain);
            }
        }
    }
};

QTEST_GUILESS_MAIN(TST_FILE_SPELLINGS)
#include "tst_file_spellings.moc"
