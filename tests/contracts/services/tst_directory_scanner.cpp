#include <QtCore/QDir>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTextCodec>
#include <QtTest/QtTest>

#include <atomic>
#include <cerrno>
#include <thread>

#include "contracts/paths/logical_path.h"
#include "contracts/paths/paths.h"
#include "contracts/services/directory_scanner.h"
#include "contracts/services/satellite.h"
#include "tests/support/files.h"
#include "tests/support/watched_test.h"

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

using FILE_LIST = QVector<DIRECTORY_SCANNER::FILE_INFO>;

class tst_directory_scanner : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void order_data() { walks(); }
    void order();
    void order_is_that_of_the_file_map_data() { walks(); }
    void order_is_that_of_the_file_map();
    void times_data() { walks(); }
    void times();
    void announcements();
    void spellings_of_a_root_data();
    void spellings_of_a_root();
    void unreadable_folder_data() { walks(); }
    void unreadable_folder();
    void root_that_is_a_file_data() { walks(); }
    void root_that_is_a_file();
    void links_data();
    void links();
    void names_in_any_locale_data() { walks(); }
    void names_in_any_locale();
    void very_long_paths();
    void changes_during_the_walk_data() { walks(); }
    void changes_during_the_walk();
    void stop();

private:
    static void walks();
    std::unique_ptr<DIRECTORY_SCANNER> make_scanner() const;
    void write(const QString& relative) const { FILES::write(root() + '/' + relative, QByteArray()); }
    QString root() const { return m_folder->path(); }
    QStringList relative(const FILE_LIST& files) const;
    QStringList scan() const; // relative paths of the whole folder, which must be readable

    std::unique_ptr<QTemporaryDir> m_folder;
};

void tst_directory_scanner::walks()
{
    QTest::addColumn<int>("threads");
    QTest::addColumn<int>("walk");
    QTest::newRow("native, one thread") << 1 << int(DIRECTORY_SCANNER::WALK_NATIVE);
    QTest::newRow("native, many threads") << 8 << int(DIRECTORY_SCANNER::WALK_NATIVE);
    QTest::newRow("portable") << 3 << int(DIRECTORY_SCANNER::WALK_PORTABLE);
}

std::unique_ptr<DIRECTORY_SCANNER> tst_directory_scanner::make_scanner() const
{
    QFETCH(int, threads);
    QFETCH(int, walk);
    return std::make_unique<DIRECTORY_SCANNER>(threads, DIRECTORY_SCANNER::WALK(walk));
}

void tst_directory_scanner::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
}

void tst_directory_scanner::cleanup()
{
#ifdef Q_OS_UNIX
    // Qt can't remove paths that are too long for one system call.
    QCOMPARE(QProcess::execute("rm", {"-rf", root()}), 0);
#endif
    m_folder.reset();
}

QStringList tst_directory_scanner::relative(const FILE_LIST& files) const
{
    QStringList result;
    for (const DIRECTORY_SCANNER::FILE_INFO& file : files)
        result.append(file.path.startsWith(root() + '/') ? file.path.mid(root().size() + 1) : file.path);
    return result;
}

QStringList tst_directory_scanner::scan() const
{
    const auto scanner = make_scanner();
    FILE_LIST files;
    scanner->add_path(root());
    if (!scanner->get_files(root(), files))
        return {scanner->get_error()};
    return relative(files);
}

void tst_directory_scanner::order()
{
    const QStringList expected = {
        ".hidden",
        "_x", // the underscore is before the lower-case letters, and behind the others
        "abcdefgh_1", "abcdefgh_10", "abcdefgh_2",         "README",   "readme",   "Readme.txt",
        "unit", // a file of a folder comes before all of its folders
        "Unit/a.dds", "Unit/B.dds",  "Unit/sub/deep/er/z", "unit-1/a", "unit.1/a", "unit1/Z.dds", "unit1/a/x",
        "unit10/a",   "unit2/a",
    };
    QStringList shuffled = expected;
    shuffled.sort();
    for (const QString& path : qAsConst(shuffled))
        write(path);
    QVERIFY(QDir(root()).mkpath("empty/emptier"));
    QCOMPARE(scan(), expected);
}

void tst_directory_scanner::order_is_that_of_the_file_map()
{
    // Kelvin sign and dotted capital I have lower-case forms within ASCII, the
    // full-width A lies above the surrogates of the Deseret letter.
    const QStringList names = {"a",
                               "B",
                               "a.b",
                               "a-b",
                               "k1",
                               QString(QChar(0x212a)) + "0",
                               "zz",
                               "Zz2",
                               QString(QChar(0x130)),
                               QString(QChar(0xe4)) + "x",
                               QString(QChar(0xc4)) + "y",
                               QString(QChar(0xff21)),
                               QString::fromUtf8("\xf0\x90\x90\x80")};
    QStringList expected;
    for (const QString& folder : names)
        for (const QString& name : names)
            expected << "in " + folder + "/file " + name << folder + "/" + name + "/x";
    for (const QString& path : qAsConst(expected))
        write(path);
    std::sort(expected.begin(), expected.end(), [](const QString& a, const QString& b) {
        return LOGICAL_PATH(lower_case_by_letter(a)) < lower_case_by_letter(b);
    });
    QCOMPARE(scan(), expected);
}

void tst_directory_scanner::times()
{
#ifdef Q_OS_UNIX
    write("new");
    write("old");
    const timespec recent[] = {{1600000000, 0}, {1600000000, 123999999}};
    const timespec ancient[] = {{0, 0}, {-2, 250000000}};
    QCOMPARE(utimensat(AT_FDCWD, QFile::encodeName(root() + "/new"), recent, 0), 0);
    QCOMPARE(utimensat(AT_FDCWD, QFile::encodeName(root() + "/old"), ancient, 0), 0);
    FILE_LIST files;
    QVERIFY(make_scanner()->get_files(root(), files));
    QCOMPARE(files.size(), 2);
    QCOMPARE(files[0].modified.timeSpec(), Qt::UTC);
    QCOMPARE(files[0].modified.toMSecsSinceEpoch(), Q_INT64_C(1600000000123));
    QCOMPARE(files[1].modified.toMSecsSinceEpoch(), Q_INT64_C(-1750));
#endif
}

void tst_directory_scanner::announcements()
{
    for (const char* const path : {"a/1", "a/sub/2", "b/3"})
        write(path);
    const QString a = root() + "/a";
    const QString sub = root() + "/a/sub";
    const QString b = root() + "/b";
    DIRECTORY_SCANNER scanner(2);
    for (const QString& announced : {b, a, sub, a, root()})
        scanner.add_path(announced);

    FILE_LIST files;
    const auto fetched = [&](const QString& directory) {
        files.clear();
        return scanner.get_files(directory, files) ? relative(files) : QStringList("failed");
    };
    const QStringList of_a = {"a/1", "a/sub/2"};
    QCOMPARE(fetched(a), of_a);
    QCOMPARE(fetched(sub), QStringList("a/sub/2"));
    QCOMPARE(fetched(a), of_a); // announced twice
    QCOMPARE(fetched(root()), QStringList({"a/1", "a/sub/2", "b/3"}));
    QCOMPARE(fetched(b), QStringList("b/3"));

    write("b/4");
    QCOMPARE(fetched(b), QStringList({"b/3", "b/4"})); // fetched already, so it is walked again
    QVERIFY(scanner.get_files(sub, files));            // appended to what is there
    QCOMPARE(relative(files), QStringList({"b/3", "b/4", "a/sub/2"}));
}

void tst_directory_scanner::spellings_of_a_root_data()
{
    QTest::addColumn<QString>("directory");
    QTest::addColumn<QString>("expected");
    QTest::newRow("plain") << "%1/a"
                           << "%1/a/f";
    QTest::newRow("trailing slash") << "%1/a/"
                                    << "%1/a/f";
    QTest::newRow("trailing slashes") << "%1/a//"
                                      << "%1/a/f";
    QTest::newRow("text is kept") << "%1/./a/../a"
                                  << "%1/./a/../a/f";
    QTest::newRow("missing") << "%1/none"
                             << "";
    QTest::newRow("below a missing one") << "%1/none/a"
                                         << "";
    QTest::newRow("no text") << ""
                             << "";
}

void tst_directory_scanner::spellings_of_a_root()
{
    QFETCH(QString, directory);
    QFETCH(QString, expected);
    write("a/f");
    if (!directory.isEmpty())
        directory = directory.arg(root());
    for (const DIRECTORY_SCANNER::WALK walk :
         {DIRECTORY_SCANNER::WALK_NATIVE, DIRECTORY_SCANNER::WALK_PORTABLE}) {
        DIRECTORY_SCANNER scanner(2, walk);
        FILE_LIST files;
        QVERIFY(scanner.get_files(directory, files));
        QCOMPARE(files.isEmpty() ? QString() : files.first().path,
                 expected.isEmpty() ? QString() : expected.arg(root()));
        QCOMPARE(files.size(), expected.isEmpty() ? 0 : 1);
        QCOMPARE(scanner.get_error(), QString());
    }
}

void tst_directory_scanner::unreadable_folder()
{
#ifdef Q_OS_UNIX
    for (const char* const path : {"bad/a/f", "bad/b/f", "bad/c/f", "good/f"})
        write(path);
    const auto set_mode = [&](const char* relative, mode_t mode) {
        QCOMPARE(chmod(QFile::encodeName(root() + '/' + relative).constData(), mode), 0);
    };
    set_mode(".", 0755);
    set_mode("bad/b", 0);
    set_mode("bad/c", 0644); // its names can be read, but not what is behind them
    const bool is_privileged = geteuid() == 0;
    if (is_privileged)
        QCOMPARE(seteuid(65534), 0);

    const auto scanner = make_scanner();
    QCOMPARE(scanner->error_number, 0);
    FILE_LIST files;
    scanner->add_path(root() + "/bad");
    scanner->add_path(root() + "/good");
    const bool bad = scanner->get_files(root() + "/bad", files);
    const int number = scanner->error_number;
    const int size = files.size();
    const bool good = scanner->get_files(root() + "/good", files);

    if (is_privileged)
        QCOMPARE(seteuid(0), 0);
    set_mode("bad/b", 0755);
    set_mode("bad/c", 0755);
    QVERIFY(!bad);
    QCOMPARE(number, EACCES);
    QCOMPARE(size, 0); // nothing by halves
    QVERIFY(good);
    QCOMPARE(relative(files), QStringList("good/f"));
    QCOMPARE(scanner->get_error(), root() + "/bad/b: Permission denied (and 1 more)");
    QCOMPARE(scanner->error_number, EACCES);
#endif
}

void tst_directory_scanner::root_that_is_a_file()
{
    write("file");
    const auto scanner = make_scanner();
    FILE_LIST files;
    QVERIFY(!scanner->get_files(root() + "/file", files));
    QVERIFY2(scanner->get_error().startsWith(root() + "/file: "), qPrintable(scanner->get_error()));
    QVERIFY(scanner->error_number != 0);
    QVERIFY(files.isEmpty());
}

void tst_directory_scanner::links_data()
{
    // "link -> target" makes a link, "|name" a pipe, anything else a file.
    QTest::addColumn<QStringList>("tree");
    QTest::addColumn<QStringList>("expected");
    using LIST = QStringList;
    QTest::newRow("to a file") << LIST{"x/f", "l -> x/f"} << LIST{"l", "x/f"};
    QTest::newRow("to a folder") << LIST{"x/f", "l -> x"} << LIST{"l/f", "x/f"};
    QTest::newRow("to nothing") << LIST{"f", "l -> nothing", "m -> f/g"} << LIST{"f"};
    QTest::newRow("to itself") << LIST{"f", "l -> l"} << LIST{"f"};
    QTest::newRow("to its folder") << LIST{"x/f", "x/l -> ."} << LIST{"x/f"};
    QTest::newRow("to a folder above") << LIST{"x/y/z/f", "x/y/z/l -> ../.."} << LIST{"x/y/z/f"};
    QTest::newRow("to each other") << LIST{"x/f", "y/g", "x/l -> ../y", "y/l -> ../x"}
                                   << LIST{"x/f", "x/l/g", "y/g", "y/l/f"};
    QTest::newRow("to a link") << LIST{"x/f", "l -> m", "m -> x"} << LIST{"l/f", "m/f", "x/f"};
    QTest::newRow("not a file") << LIST{"|pipe", "l -> pipe", "f"} << LIST{"f"};
}

void tst_directory_scanner::links()
{
#ifdef Q_OS_UNIX
    QFETCH(QStringList, tree);
    QFETCH(QStringList, expected);
    for (const QString& item : qAsConst(tree)) {
        const QStringList link = item.split(" -> ");
        if (link.size() == 2)
            QVERIFY(QFile::link(link[1], root() + '/' + link[0]));
        else if (item.startsWith('|'))
            QCOMPARE(mkfifo(QFile::encodeName(root() + '/' + item.mid(1)), 0600), 0);
        else
            write(item);
    }
    for (const DIRECTORY_SCANNER::WALK walk :
         {DIRECTORY_SCANNER::WALK_NATIVE, DIRECTORY_SCANNER::WALK_PORTABLE}) {
        DIRECTORY_SCANNER scanner(2, walk);
        FILE_LIST files;
        QVERIFY2(scanner.get_files(root(), files), qPrintable(scanner.get_error()));
        QCOMPARE(relative(files), expected);
    }
    // A link out of the root to a folder above it: what is there is listed,
    // the root itself not once more.
    if (expected.first() == "x/f") {
        QVERIFY(QFile::link("..", root() + "/x/up"));
        DIRECTORY_SCANNER scanner;
        FILE_LIST files;
        QVERIFY(scanner.get_files(root() + "/x", files));
        for (const DIRECTORY_SCANNER::FILE_INFO& file : qAsConst(files))
            QVERIFY2(!file.path.contains("/x/up/x/"), qPrintable(file.path));
    }
#endif
}

void tst_directory_scanner::names_in_any_locale()
{
#ifdef Q_OS_UNIX
    QTextCodec* const before = QTextCodec::codecForLocale();
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO 8859-1"));
    const QByteArray base = root().toUtf8();
    QCOMPARE(mkdir(base + "/\xe6\x9d\x90\xe8\xb3\xaa", 0700), 0);
    const QByteArray file = base + "/\xe6\x9d\x90\xe8\xb3\xaa/Stra\xc3\x9f"
                                   "e.png";
    const int descriptor = open(file, O_CREAT | O_WRONLY, 0600);
    QVERIFY(descriptor >= 0);
    close(descriptor);
    const QStringList result = scan();
    QTextCodec::setCodecForLocale(before);
    QCOMPARE(result, QStringList(QString::fromUtf8(file).mid(root().size() + 1)));
#endif
}

void tst_directory_scanner::very_long_paths()
{
#ifdef Q_OS_LINUX
    // Deeper than a path can tell in one system call, and than the number of
    // files that a process may have open.
    constexpr int DEPTH = 1500;
    const QByteArray name(40, 'n');
    int folder = open(root().toUtf8(), O_RDONLY | O_DIRECTORY);
    for (int i = 0; i < DEPTH; ++i) {
        QCOMPARE(mkdirat(folder, name, 0700), 0);
        const int next = openat(folder, name, O_RDONLY | O_DIRECTORY);
        QVERIFY(next >= 0);
        close(folder);
        folder = next;
    }
    close(openat(folder, "f", O_CREAT | O_WRONLY, 0600));
    close(folder);
    FILE_LIST files;
    DIRECTORY_SCANNER scanner;
    QVERIFY2(scanner.get_files(root(), files), qPrintable(scanner.get_error()));
    QCOMPARE(files.size(), 1);
    QCOMPARE(files.first().path, root() + QString('/' + name).repeated(DEPTH) + "/f");
#endif
}

void tst_directory_scanner::changes_during_the_walk()
{
    QStringList expected;
    for (int i = 0; i < 40; ++i)
        expected << QString("s%1/f").arg(i, 2, 10, QChar('0'));
    for (const QString& path : qAsConst(expected))
        write(path);
    std::atomic<bool> is_over{false};
    std::thread unrest([&] {
        for (int i = 0; !is_over; i = (i + 1) % 40) {
            const QString folder = root() + QString("/s%1/unrest").arg(i, 2, 10, QChar('0'));
            for (int k = 0; k < 5; ++k)
                FILES::write(folder + QString("/%1/t").arg(k), QByteArray());
            QDir(folder).removeRecursively();
        }
    });
    bool is_complete = true;
    for (int i = 0; i < 50 && is_complete; ++i) {
        QStringList result = scan();
        const auto passing = [](const QString& path) { return path.contains("unrest"); };
        result.erase(std::remove_if(result.begin(), result.end(), passing), result.end());
        is_complete = result == expected;
    }
    is_over = true;
    unrest.join();
    QVERIFY(is_complete);
}

void tst_directory_scanner::stop()
{
    for (int i = 0; i < 300; ++i)
        write(QString("%1/%2/f").arg(i / 10).arg(i % 10));
    SATELLITE& scanner = SATELLITE::instance();
    QCOMPARE(&scanner, &SATELLITE::instance());
    for (int pass = 0; pass < 20; ++pass) {
        scanner.add_path(root());
        scanner.add_path(root() + "/1");
        scanner.stop(); // most likely in the middle of the walk
    }
    scanner.stop();
    write("1/0/g");
    FILE_LIST files;
    QVERIFY(scanner.get_files(root() + "/1/0", files));
    QCOMPARE(relative(files), QStringList({"1/0/f", "1/0/g"}));
    QVERIFY(scanner.get_files(root(), files));
    QCOMPARE(files.size(), 303);
    scanner.stop();
}

QTEST_GUILESS_MAIN(tst_directory_scanner)
#include "tst_directory_scanner.moc"
