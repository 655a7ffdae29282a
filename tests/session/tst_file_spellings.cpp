// Letter case of paths: the remembered spellings against a plain walk over the
// whole map or the disk, on random trees with all that can happen to them.

#include <QtTest/QtTest>

#include <memory>
#include <random>

#include "contracts/paths/letter_case.h"
#include "contracts/paths/paths.h"
#include "session/file_spellings.h"
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

// What the names stand for below a folder, with each folder read when it is come to.
QStringList plain_places(const QString& folder, const QStringList& names, bool only_folders)
{
    QStringList places{folder};
    for (int i = 0; i < names.size(); ++i) {
        QStringList found;
        for (const QString& place : qAsConst(places)) {
            const auto kinds = i + 1 < names.size() || only_folders ? QDir::Dirs : QDir::AllEntries;
            QStringList entries = QDir(place).entryList(kinds | QDir::NoDotAndDotDot);
            std::sort(entries.begin(), entries.end());
            for (const QString& entry : qAsConst(entries))
                if (lower_case_by_letter(entry) == lower_case_by_letter(names[i]))
                    found.append(place + '/' + entry);
        }
        places = found;
    }
    return places;
}

// Where nothing is: the first folder on the way that is there, and the rest as it stands.
QString plain_place(const QString& folder, const QStringList& names)
{
    QStringList found = plain_places(folder, names, false);
    int known = names.size();
    while (found.isEmpty())
        found = plain_places(folder, names.mid(0, --known), true);
    return QStringList(found.mid(0, 1) + names.mid(known)).join('/');
}

class RANDOM_TREE
{
public:
    RANDOM_TREE(unsigned seed, const QString& top) : m_random(seed), m_kinds(int(seed % 5)), m_top(top) {}

    PHYSICAL_PATH random_path()
    {
        static const QStringList ROOTS{"raw_data", "old_raw_data", "working_data", "RAW_data"};
        static const QStringList NAMES{"unit1", "unit10", "Unit1", "UNIT10", "a.txt",
                                       "A.txt", "ä",      "Ä",     "ǅ",      "ǆ"};
        QString path = m_top + '/' + ROOTS[below(4)];
        for (int depth = 1 + below(4); depth > 0; --depth)
            path += '/' + NAMES[below(NAMES.size())];
        return PHYSICAL_PATH(path);
    }

    // Of some trees every file is one that the scan finds; the others know more
    // kinds of steps.
    void take_step()
    {
        const PHYSICAL_PATH path = random_path();
        const int kind = below(20);
        const auto known = files.begin() + (files.empty() ? 0 : below(files.size()));
        if (kind >= m_kinds || (kind > 0 && files.empty())) {
            put(PATHS::logical_path(path), path, false);
        } else if (kind == 0) { // a virtual file
            put(PATHS::logical_path(path), path, true);
        } else if (kind == 1) { // a rule file
            spellings.file_left(known.value()->physical);
            files.erase(known);
        } else if (kind == 2) { // a target that is made in the root, or the companion
            const PHYSICAL_PATH former = known.value()->physical;
            QString place = former;
            const bool is_old = place.contains("/old_raw_data/");
            place.replace(is_old ? "/old_raw_data/" : "/raw_data/", is_old ? "/raw_data/" : "/old_raw_data/");
            known.value()->physical = spellings.normalised(PHYSICAL_PATH(place));
            spellings.file_moved(former, known.value()->physical);
        } else { // its key is not the logical path of its place
            put(PATHS::logical_path(random_path()), path, true);
        }
    }

    FILE_MAP files;
    FILE_SPELLINGS::FILE_LOOKUP lookup; // of all that were ever there
    FILE_SPELLINGS spellings{files, lookup};

private:
    int below(int end) { return int(m_random() % unsigned(end)); }

    void put(const LOGICAL_PATH& key, const PHYSICAL_PATH& path, bool as_it_stands)
    {
        FILE_ENTRY* const known = files.value(key);
        if (files.locked || (known && !PATHS::override(path, known->physical, true)))
            return;
        if (known)
            spellings.file_left(known->physical);
        m_entries.push_back(std::make_unique<FILE_ENTRY>());
        m_entries.back()->physical = as_it_stands ? path : spellings.normalised(path);
        files.insert(key, m_entries.back().get());
        lookup.insert(key, m_entries.back().get());
        spellings.file_added(m_entries.back()->physical, key);
    }

    std::mt19937 m_random;
    int m_kinds;
    QString m_top;
    std::vector<std::unique_ptr<FILE_ENTRY>> m_entries;
};

} // namespace

class TST_FILE_SPELLINGS : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void result_is_that_of_the_plain_walk()
    {
        TEMPORARY_TREE tree;
        tree.make_folder("old_raw_data");
        QVERIFY(PATHS::initialise(tree.path("tool")));
        for (unsigned seed = 1; seed <= 400; ++seed) {
            RANDOM_TREE random(seed, tree.path());
            for (int step = 0; step < 120; ++step) {
                if (step == 100)
                    random.files.lock(true);
                if (!random.files.locked || step % 2)
                    random.take_step();
                const PHYSICAL_PATH path = random.random_path();
                const QString quick = random.spellings.normalised(path);
                const QString plain = plain_spelling(random.files, path);
                if (quick != plain)
                    qWarning() << "seed" << seed << "step" << step << path;
                QCOMPARE(quick, plain);
            }
        }
    }

    void places_are_those_of_a_walk_over_the_disk()
    {
        const QStringList letters{"a", "A", "ab", "Ab", "aB", "AB", "ä", "Ä"};
        std::mt19937 random(1);
        const auto open_files = [] { return QDir("/proc/self/fd").count(); };
        const uint open_before = open_files();
        const auto any_names = [&] {
            QStringList names;
            for (unsigned depth = 1 + random() % 4; depth > 0; --depth)
                names.append(letters[int(random() % unsigned(letters.size()))]);
            return names;
        };
        for (int round = 0; round < 12; ++round) {
            const TEMPORARY_TREE tree;
            QVERIFY(PATHS::initialise(tree.path("tool")));
            PATHS::forget_folders();
            const PHYSICAL_PATH raw(tree.path("raw_data"));
            for (int i = 0; i < 12; ++i) { // some can't be, as a file is in the way
                const QString place = raw + '/' + any_names().join('/');
                QDir().mkpath(random() % 2 ? place : QFileInfo(place).path());
                QFile(place).open(QIODevice::WriteOnly);
            }
            for (int i = 0; i < 60; ++i) {
                const QStringList names = any_names();
                const QString rest = '/' + names.join('/');
                for (const PHYSICAL_PATH& root : {raw, PHYSICAL_PATH(tree.path("working_data"))}) {
                    const QStringList there = plain_places(root, names, false);
                    QStringList found;
                    for (const QString& place : PATHS::places_below(root, rest))
                        found.append(place);
                    QCOMPARE(found, there.isEmpty() ? QStringList(plain_place(root, names)) : there);
                }
                const LOGICAL_PATH logical("<raw>" + rest);
                const QStringList lower = QString(logical).split('/').mid(1);
                QCOMPARE(PATHS::target_path(logical), PHYSICAL_PATH(plain_place(raw, lower)));
            }
        }
        QCOMPARE(open_files(), open_before);
    }
};

QTEST_GUILESS_MAIN(TST_FILE_SPELLINGS)
#include "tst_file_spellings.moc"
