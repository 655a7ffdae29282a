#include <QtCore/QDir>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include <atomic>
#include <cerrno>
#include <thread>

#include "contracts/paths/logical_path.h"
#include "contracts/paths/paths.h"
#include "contracts/services/directory_scanner.h"
#include "contracts/services/satellite.h"
#include "tests/support/files.h"
#include "tests/support/rows.h"
#include "tests/support/watched_test.h"

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

using FILE_LIST = QVector<DIRECTORY_SCANNER::FILE_INFO>;

using LINKS = ROWS<QStringList, QStringList>;

class tst_directory_scanner : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        QVERIFY(m_folder->isValid());
    }

    void cleanup()
    {
#ifdef Q_OS_UNIX
        // Qt can't remove paths that are too long for one system call.
        QCOMPARE(QProcess::execute("rm", {"-rf", root()}), 0);
#endif
        m_folder.reset();
    }

    void order_is_that_of_the_file_map()
    {
        QVERIFY(QDir(root()).mkpath("empty/emptier"));
        // Kelvin sign and dotted capital I have lower-case forms within ASCII, the
        // full-width A lies above the surrogates of the Deseret letter.
        const QStringList names = QString::fromUtf8("a .B a.b a-b _x k1 k10 k1.x \u212a"
                                                    "0 zz Zz2 \u0130 \u00e4x \u00c4y \uff21 \U00010400")
                                      .split(' ');
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

    void times()
    {
#ifdef Q_OS_UNIX
        write("new");
        write("old");
        const timespec recent[] = {{1600000000, 0}, {1600000000, 123999999}};
        const timespec ancient[] = {{0, 0}, {-2, 250000000}};
        QCOMPARE(utimensat(AT_FDCWD, QFile::encodeName(root() + "/new"), recent, 0), 0);
        QCOMPARE(utimensat(AT_FDCWD, QFile::encodeName(root() + "/old"), ancient, 0), 0);
        for (const auto walk : {DIRECTORY_SCANNER::WALK_NATIVE, DIRECTORY_SCANNER::WALK_PORTABLE}) {
            FILE_LIST files;
            QVERIFY(DIRECTORY_SCANNER(2, walk).get_files(root(), files));
            QCOMPARE(files.size(), 2);
            QCOMPARE(files[0].modified.timeSpec(), Qt::UTC);
            QCOMPARE(files[0].modified.toMSecsSinceEpoch(), Q_INT64_C(1600000000123));
            QCOMPARE(files[1].modified.toMSecsSinceEpoch(), Q_INT64_C(-1750));
        }
#endif
    }

    void announcements()
    {
        for (const char* const path : {"a/1", "a/sub/2", "b/3"})
            write(path);
        DIRECTORY_SCANNER scanner(2);
        for (const char* announced : {"/b", "/a", "/a/sub", "/a", ""})
            scanner.add_path(root() + announced);
        FILE_LIST files;
        const auto fetched = [&](const char* directory) {
            files.clear();
            return scanner.get_files(root() + directory, files) ? relative(files).join(' ') : "failed";
        };
        QCOMPARE(fetched("/a"), QString("a/1 a/sub/2"));
        QCOMPARE(fetched("/a/sub"), QString("a/sub/2"));
        QCOMPARE(fetched("/a"), QString("a/1 a/sub/2")); // announced twice
        QCOMPARE(fetched(""), QString("a/1 a/sub/2 b/3"));
        QCOMPARE(fetched("/b"), QString("b/3"));
        write("b/4");
        QCOMPARE(fetched("/b"), QString("b/3 b/4"));          // fetched already, so it is walked again
        QVERIFY(scanner.get_files(root() + "/a/sub", files)); // appended to what is there
        QCOMPARE(relative(files).join(' '), QString("b/3 b/4 a/sub/2"));
    }

    void spellings_of_a_root()
    {
        write("a/f");
        for (const auto walk : {DIRECTORY_SCANNER::WALK_NATIVE, DIRECTORY_SCANNER::WALK_PORTABLE})
            for (const char* name : {"/a", "/a/", "/a//", "/./a/../a", "/none", "/none/a", ""}) {
                const QString directory = *name ? root() + name : QString();
                QString text = directory; // kept but for slashes at the end
                while (text.endsWith('/'))
                    text.chop(1);
                DIRECTORY_SCANNER scanner(2, walk);
                FILE_LIST files;
                QVERIFY(scanner.get_files(directory, files));
                QCOMPARE(scanner.get_error(), QString());
                const bool exists = QByteArray(name).contains("a") && !QByteArray(name).contains("none");
                QCOMPARE(files.size(), exists ? 1 : 0);
                if (exists)
                    QCOMPARE(files.first().path, text + "/f");
            }
    }

    void unreadable_folder()
    {
#ifdef Q_OS_UNIX
        for (const char* const path : {"bad/a/f", "bad/b/f", "bad/c/f", "good/f"})
            write(path);
        const auto set_mode = [&](const char* relative, mode_t mode) {
            QCOMPARE(chmod(QFile::encodeName(root() + '/' + relative).constData(), mode), 0);
        };
        set_mode(".", 0755);
        const bool is_privileged = geteuid() == 0;
        for (const auto walk : {DIRECTORY_SCANNER::WALK_NATIVE, DIRECTORY_SCANNER::WALK_PORTABLE}) {
            set_mode("bad/b", 0);
            set_mode("bad/c", 0644); // its names can be read, but not what is behind them
            if (is_privileged)
                QCOMPARE(seteuid(65534), 0);
            DIRECTORY_SCANNER scanner(2, walk);
            FILE_LIST files;
            scanner.add_path(root() + "/bad");
            scanner.add_path(root() + "/good");
            const int number_before = scanner.error_number;
            const bool bad = scanner.get_files(root() + "/bad", files);
            const int number = scanner.error_number;
            const int size = files.size();
            const bool good = scanner.get_files(root() + "/good", files);
            if (is_privileged)
                QCOMPARE(seteuid(0), 0);
            set_mode("bad/b", 0755);
            set_mode("bad/c", 0755);
            QVERIFY(!bad && good && number_before == 0);
            QCOMPARE(number, EACCES);
            QCOMPARE(size, 0); // nothing by halves
            QCOMPARE(relative(files), QStringList("good/f"));
            QCOMPARE(scanner.get_error(), root() + "/bad/b: Permission denied (and 1 more)");
            QCOMPARE(scanner.error_number, EACCES);
        }
#endif
    }

    void root_that_is_a_file()
    {
        write("file");
        for (const auto walk : {DIRECTORY_SCANNER::WALK_NATIVE, DIRECTORY_SCANNER::WALK_PORTABLE}) {
            DIRECTORY_SCANNER scanner(2, walk);
            FILE_LIST files;
            QVERIFY(!scanner.get_files(root() + "/file", files));
            QVERIFY2(scanner.get_error().startsWith(root() + "/file: "), qPrintable(scanner.get_error()));
            QVERIFY(scanner.error_number != 0 && files.isEmpty());
        }
    }

    // "link -> target" makes a link, "|name" a pipe, anything else a file.
    void links_data()
    {
        const LINKS row;
        row("to a file", {"x/f", "l -> x/f"}, {"l", "x/f"});
        row("to a folder", {"x/f", "l -> x"}, {"l/f", "x/f"});
        row("to nothing", {"f", "l -> nothing", "m -> f/g"}, {"f"});
        row("to itself", {"f", "l -> l"}, {"f"});
        row("to its folder", {"x/f", "x/l -> ."}, {"x/f"});
        row("to a folder above", {"x/y/z/f", "x/y/z/l -> ../.."}, {"x/y/z/f"});
        row("to each other", {"x/f", "y/g", "x/l -> ../y", "y/l -> ../x"}, {"x/f", "x/l/g", "y/g", "y/l/f"});
        row("to a link", {"x/f", "l -> m", "m -> x"}, {"l/f", "m/f", "x/f"});
        row("not a file", {"|pipe", "l -> pipe", "f"}, {"f"});
    }
    void links()
    {
#ifdef Q_OS_UNIX
        const auto [tree, expected] = LINKS::values();
        for (const QString& item : tree) {
            const QStringList link = item.split(" -> ");
            if (link.size() == 2)
                QVERIFY(QFile::link(link[1], root() + '/' + link[0]));
            else if (item.startsWith('|'))
                QCOMPARE(mkfifo(QFile::encodeName(root() + '/' + item.mid(1)), 0600), 0);
            else
                write(item);
        }
        QCOMPARE(scan(), expected);
        // A link out of the root to a folder above it: what is there is listed,
        // the root itself not once more.
        if (expected.first() == "x/f") {
            QVERIFY(QFile::link("..", root() + "/x/up"));
            FILE_LIST files;
            QVERIFY(DIRECTORY_SCANNER().get_files(root() + "/x", files));
            QVERIFY(!relative(files).isEmpty() && relative(files).filter("x/up/x/").isEmpty());
        }
#endif
    }

    void very_long_paths()
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

    void changes_during_the_walk()
    {
        QStringList expected;
        for (int i = 10; i < 50; ++i)
            expected << QString("s%1/f").arg(i);
        for (const QString& path : qAsConst(expected))
            write(path);
        std::atomic<bool> is_over{false};
        std::thread unrest([&] {
            for (int i = 0; !is_over; i = (i + 1) % 40) {
                const QString folder = root() + QString("/s%1/unrest").arg(10 + i);
                for (int k = 0; k < 5; ++k)
                    FILES::write(folder + QString("/%1/t").arg(k), QByteArray());
                QDir(folder).removeRecursively();
            }
        });
        QStringList result = expected;
        for (int i = 0; i < 150 && result == expected; ++i) {
            DIRECTORY_SCANNER scanner(1 + i % 8, i % 3 ? DIRECTORY_SCANNER::WALK_NATIVE
                                                       : DIRECTORY_SCANNER::WALK_PORTABLE);
            FILE_LIST files;
            result = scanner.get_files(root(), files) ? relative(files) : QStringList(scanner.get_error());
            const auto passing = [](const QString& path) { return path.contains("unrest"); };
            result.erase(std::remove_if(result.begin(), result.end(), passing), result.end());
        }
        is_over = true;
        unrest.join();
        QCOMPARE(result, expected);
    }

    void stop()
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

private:
    void write(const QString& relative) const
    {
        FILES::write(root() + '/' + relative, QByteArray());
    }
    QString root() const
    {
        return m_folder->path();
    }

    QStringList relative(const FILE_LIST& files) const
    {
        QStringList result;
        for (const DIRECTORY_SCANNER::FILE_INFO& file : files)
            result.append(file.path.startsWith(root() + '/') ? file.path.mid(root().size() + 1) : file.path);
        return result;
    }

    // Relative paths of the whole folder, which must be readable, if all walks
    // agree on them.
    QStringList scan() const
    {
        QStringList result;
        for (const int threads : {1, 8, 3}) {
            DIRECTORY_SCANNER scanner(threads, threads == 3 ? DIRECTORY_SCANNER::WALK_PORTABLE
                                                            : DIRECTORY_SCANNER::WALK_NATIVE);
            FILE_LIST files;
            scanner.add_path(root());
            if (!scanner.get_files(root(), files))
                return {scanner.get_error()};
            if (threads != 1 && relative(files) != result)
                return QStringList("the walks differ") + result + relative(files);
            result = relative(files);
        }
        return result;
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(tst_directory_scanner)
#include "tst_directory_scanner.moc"
