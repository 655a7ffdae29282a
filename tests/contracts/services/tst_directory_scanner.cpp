#include <QtCore/QDir>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include <atomic>
#include <thread>

#include "contracts/paths/letter_case.h"
#include "contracts/paths/logical_path.h"
#include "contracts/services/satellite.h"
#include "tests/support/cases.h"
#include "tests/support/files.h"
#include "tests/support/spelled_bytes.h"
#include "tests/support/watched_test.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using FILE_LIST = QVector<DIRECTORY_SCANNER::FILE_INFO>;

// A folder and a scanner. Paths are below the folder.
class SCENE
{
public:
    explicit SCENE(int way = 0)
        : scanner(way == 1 ? 8 : 1,
                  way == 2 ? DIRECTORY_SCANNER::WALK_PORTABLE : DIRECTORY_SCANNER::WALK_NATIVE)
    {
        ::chmod(bytes(QString()), 0755);
    }
    ~SCENE()
    {
        seteuid(getuid());
        // Qt can't remove paths that are too long for one system call.
        QProcess::execute("sh", {"-c", "chmod -R u+rwx \"$0\"; rm -rf \"$0\"", m_folder.path()});
    }

    QByteArray bytes(const QString& path) const { return m_folder.path().toUtf8() + spelled_bytes(path); }

    void write(const QString& path) const
    {
        const QByteArray file = bytes(path);
        for (int slash = file.indexOf('/', 1); slash > 0; slash = file.indexOf('/', slash + 1))
            ::mkdir(file.left(slash), 0755);
        ::close(::open(file, O_CREAT | O_WRONLY, 0644));
    }

    QString fetch(const QString& path)
    {
        FILE_LIST files{{"before", QDateTime()}};
        QStringList said;
        if (!scanner.get_files(path == "nothing" ? QString() : m_folder.path() + path, files))
            said.append(QStringLiteral("!%1 %2").arg(scanner.error_number).arg(scanner.get_error()));
        for (const DIRECTORY_SCANNER::FILE_INFO& file : files)
            said.append(file.path);
        said.removeOne("before");
        const QStringList left_out = scanner.take_left_out();
        return said.join(' ').remove(m_folder.path()) +
               (left_out.isEmpty() ? QString()
                                   : " | " + left_out.join(' ').replace(m_folder.path(), "FOLDER"));
    }

    void take(const QString& step, QStringList& said)
    {
        const QString word = step.section(' ', 0, 0), path = step.section(' ', 1, 1);
        if (m_is_restricted && word != "mode")
            seteuid(65534); // a privileged user may read everything
        if (word == "file")
            write(path);
        else if (word == "link" && ::symlink(step.section(' ', 2).toUtf8(), bytes(path)) == 0)
            return;
        else if (word == "pipe" && ::mkfifo(bytes(path), 0600) == 0)
            return;
        else if (word == "mode" && ::chmod(bytes(step.section(' ', 2)), path.toUInt(nullptr, 8)) == 0)
            m_is_restricted = true;
        else if (word == "announce")
            scanner.add_path(path == "nothing" ? QString() : m_folder.path() + path);
        else if (word == "stop")
            scanner.stop();
        else if (word == "fetch")
            said.append(fetch(path));
        else
            said.append("not done: " + step);
    }

    struct SCANNER : DIRECTORY_SCANNER
    {
        using DIRECTORY_SCANNER::DIRECTORY_SCANNER;
        void stop() { end_work(); }
    } scanner;

private:
    QTemporaryDir m_folder;
    bool m_is_restricted = false;
};

} // namespace

class TST_DIRECTORY_SCANNER : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void says_data() { add_cases("contracts/services/directory_scanner.cases", {"do", "said"}); }
    void says()
    {
        for (const int way : {0, 1, 2}) {
            SCENE scene(way);
            QStringList said;
            for (const QString& step : current_case().lines("do"))
                scene.take(step, said);
            GOX_COMPARE_TEXT(said.join('\n'), current_case()["said"]);
        }
    }

    void order_is_that_of_the_file_map()
    {
        // Kelvin sign and dotted capital I have lower-case forms within ASCII, the
        // full-width A lies above the surrogates of the Deseret letter.
        const QStringList names =
            QStringLiteral("a .B a.b a-b _x k1 k10 k1.x \u212a0 zz Zz2 longer1B longer1a longer1bc "
                           "\u0130 \u00e4x \u00c4y \uff21 \U00010400")
                .split(' ');
        QStringList expected;
        for (const QString& folder : names)
            for (const QString& name : names)
                expected << "/in" + folder + "/file" + name << "/" + folder + "/" + name + "/x"
                         << "/" + name + "_";
        expected.removeDuplicates();
        std::sort(expected.begin(), expected.end(), [](const QString& a, const QString& b) {
            const LOGICAL_PATH lower(lower_case_by_letter(a));
            return lower == LOGICAL_PATH(lower_case_by_letter(b)) ? a < b : lower < lower_case_by_letter(b);
        });
        for (const int way : {0, 1, 2}) {
            SCENE scene(way);
            for (const QString& path : qAsConst(expected))
                scene.write(path);
            QCOMPARE(scene.fetch("").split(' '), expected);
        }
    }

    void times()
    {
        for (const int way : {0, 2}) {
            SCENE scene(way);
            scene.write("/new");
            scene.write("/old");
            const timespec recent[] = {{1600000000, 0}, {1600000000, 123999999}};
            const timespec ancient[] = {{0, 0}, {-2, 250000000}};
            QCOMPARE(utimensat(AT_FDCWD, scene.bytes("/new"), recent, 0), 0);
            QCOMPARE(utimensat(AT_FDCWD, scene.bytes("/old"), ancient, 0), 0);
            FILE_LIST files;
            QVERIFY(scene.scanner.get_files(scene.bytes(""), files));
            QCOMPARE(files.size(), 2);
            QCOMPARE(files[0].modified.timeSpec(), Qt::UTC);
            QCOMPARE(files[0].modified.toMSecsSinceEpoch(), Q_INT64_C(1600000000123));
            QCOMPARE(files[1].modified.toMSecsSinceEpoch(), Q_INT64_C(-1750));
        }
    }

#ifdef Q_OS_LINUX
    // Deeper than a path can tell in one system call, and than the number of files
    // that a process may have open.
    void very_long_paths()
    {
        constexpr int DEPTH = 1500;
        const QByteArray name(40, 'n');
        SCENE scene;
        int folder = open(scene.bytes(""), O_RDONLY | O_DIRECTORY);
        for (int i = 0; i < DEPTH; ++i) {
            QCOMPARE(mkdirat(folder, name, 0700), 0);
            const int next = openat(folder, name, O_RDONLY | O_DIRECTORY);
            close(folder);
            folder = next;
        }
        close(openat(folder, "f", O_CREAT | O_WRONLY, 0600));
        close(folder);
        QCOMPARE(scene.fetch(""), QString('/' + name).repeated(DEPTH) + "/f");
    }
#endif

    void changes_during_the_walk()
    {
        SCENE scene;
        for (int i = 10; i < 50; ++i)
            scene.write(QString("/s%1/f").arg(i));
        const QString expected = scene.fetch("");
        std::atomic<bool> is_over{false};
        std::thread unrest([&] {
            for (int i = 0; !is_over; i = (i + 1) % 40) {
                const QString folder = QString("/s%1/unrest").arg(10 + i);
                for (int k = 0; k < 5; ++k)
                    scene.write(folder + QString("/%1/t").arg(k));
                QDir(scene.bytes(folder)).removeRecursively();
            }
        });
        QString result = expected;
        for (int i = 0; i < 150 && result == expected; ++i) {
            DIRECTORY_SCANNER scanner(1 + i % 8, i % 3 ? DIRECTORY_SCANNER::WALK_NATIVE
                                                       : DIRECTORY_SCANNER::WALK_PORTABLE);
            FILE_LIST files;
            result = scanner.get_files(scene.bytes(""), files) ? QString() : scanner.get_error();
            for (const DIRECTORY_SCANNER::FILE_INFO& file : qAsConst(files))
                if (!file.path.contains("unrest"))
                    result += (result.isEmpty() ? "" : " ") + file.path.mid(scene.bytes("").size());
        }
        is_over = true;
        unrest.join();
        QCOMPARE(result, expected);
    }

    void stop_in_the_middle()
    {
        SCENE scene;
        for (int i = 0; i < 300; ++i)
            scene.write(QString("/%1/%2/f").arg(i / 10).arg(i % 10));
        SATELLITE& scanner = SATELLITE::instance();
        QCOMPARE(&scanner, &SATELLITE::instance());
        for (int pass = 0; pass < 20; ++pass) {
            scanner.add_path(scene.bytes(""));
            scanner.add_path(scene.bytes("/1"));
            scanner.stop(); // most likely in the middle of the walk
        }
        FILE_LIST files;
        QVERIFY(scanner.get_files(scene.bytes("/1/0"), files) && scanner.get_files(scene.bytes(""), files));
        QCOMPARE(files.size(), 301);
        scanner.stop();
    }
};

QTEST_GUILESS_MAIN(TST_DIRECTORY_SCANNER)
#include "tst_directory_scanner.moc"
