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
#include "tests/support/spelled_bytes.h"
#include "tests/support/watched_test.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

DIRECTORY_SCANNER scanner_of(int way)
{
    return DIRECTORY_SCANNER(way == 1 ? 8 : 1, DIRECTORY_SCANNER::WALK(way == 2));
}

// A folder. Paths are below it.
class SCENE
{
public:
    SCENE() { ::chmod(bytes(QString()), 0755); }
    ~SCENE()
    {
        seteuid(getuid());
        // Qt can't remove paths that are too long for one system call.
        QProcess::execute("sh", {"-c", "chmod -R u+rwx \"$0\"; rm -rf \"$0\"", folder.path()});
    }

    QByteArray bytes(const QString& path) const { return folder.path().toUtf8() + spelled_bytes(path); }

    void write(const QString& path) const
    {
        const QByteArray file = bytes(path);
        for (int slash = file.indexOf('/', 1); slash > 0; slash = file.indexOf('/', slash + 1))
            ::mkdir(file.left(slash), 0755);
        ::close(::open(file, O_CREAT | O_WRONLY, 0644));
    }

    void write_deep(const QByteArray& name, const QByteArray& file) const
    {
        int place = ::open(bytes(QString()), O_RDONLY | O_DIRECTORY);
        for (int i = 0; i < 1500; ++i) {
            ::mkdirat(place, name, 0755);
            const int next = ::openat(place, name, O_RDONLY | O_DIRECTORY);
            ::close(std::exchange(place, next));
        }
        ::close(::openat(place, file, O_CREAT | O_WRONLY, 0644));
        ::close(place);
    }

    QString fetch(DIRECTORY_SCANNER& scanner, const QString& path, bool says_times = false) const
    {
        QVector<DIRECTORY_SCANNER::FILE_INFO> files{{"before", QDateTime()}};
        QStringList said;
        if (!scanner.get_files(path == "nothing" ? QString() : folder.path() + path, files))
            said.append(QStringLiteral("!%1 %2").arg(scanner.error_number).arg(scanner.get_error()));
        for (const DIRECTORY_SCANNER::FILE_INFO& file : files.mid(1))
            said.append(says_times ? file.modified.toString(Qt::ISODateWithMs) : file.path);
        const QStringList left_out = scanner.take_left_out();
        said += QString("| ").repeated(left_out.isEmpty() ? 0 : 1) + left_out.join(' ');
        return said.join(' ').trimmed().remove(folder.path());
    }

    QString take(DIRECTORY_SCANNER& scanner, const QString& step)
    {
        const QStringList words = step.split(' ');
        const QString word = words[0], path = words[1];
        const timespec times[] = {{0, 0}, {words.value(2).toInt(), words.value(3).toInt()}};
        if (m_is_restricted && word != "mode")
            seteuid(65534); // a privileged user may read everything
        if (word == "fetch" || word == "times")
            return fetch(scanner, path, word == "times") + '\n';
        if (word == "announce")
            scanner.add_path(path == "nothing" ? QString() : folder.path() + path);
        else if (word == "file")
            write(path);
        else if (word == "deep")
            write_deep(path.mid(1).toUtf8(), words[2].toUtf8());
        else if (word == "mode")
            m_is_restricted = ::chmod(bytes(words[2]), path.toUInt(nullptr, 8)) == 0;
        else if (word == "link"   ? ::symlink(words[2].toUtf8(), bytes(path))
                 : word == "pipe" ? ::mkfifo(bytes(path), 0600)
                                  : ::utimensat(AT_FDCWD, bytes(path), times, 0))
            return "can't be done: " + step;
        return QString();
    }

    const QTemporaryDir folder;

private:
    bool m_is_restricted = false;
};

} // namespace

class TST_DIRECTORY_SCANNER : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void says_data() { add_cases("contracts/services/directory_scanner.cases", {"do", "said", "native"}); }
    void says()
    {
        for (int way = 0; way < (current_case().has("native") ? 2 : 3); ++way) {
            SCENE scene;
            DIRECTORY_SCANNER scanner = scanner_of(way);
            QString said;
            for (const QString& step : current_case().lines("do"))
                said += scene.take(scanner, step);
            said.chop(1);
            GOX_COMPARE_TEXT(said, QString::fromUtf8(spelled_bytes(current_case()["said"])));
        }
    }

    void order_is_that_of_the_file_map()
    {
        // Kelvin sign and dotted capital I have lower-case forms within ASCII, the
        // full-width A lies above the surrogates of the Deseret letter.
        const QStringList names =
            QStringLiteral("a .B a.b a-b _x k1 k10 k1.x \u212a0 zz Zz2 longer1B longer1a "
                           "longer1bc \u0130 \u00e4x \u00c4y \uff21 \U00010400")
                .split(' ');
        QStringList expected;
        for (const QString& folder : names)
            for (const QString& name : names)
                expected << "/in" + folder + "/file" + name << '/' + folder + '/' + name + "/x";
        const SCENE scene;
        for (const QString& path : qAsConst(expected))
            scene.write(path);
        std::sort(expected.begin(), expected.end(), [](const QString& a, const QString& b) {
            return LOGICAL_PATH(lower_case_by_letter(a)) < lower_case_by_letter(b);
        });
        for (const int way : {0, 1, 2}) {
            DIRECTORY_SCANNER scanner = scanner_of(way);
            QCOMPARE(scene.fetch(scanner, QString()).split(' '), expected);
        }
    }

    void changes_during_the_walk()
    {
        const SCENE scene;
        for (int i = 10; i < 50; ++i)
            scene.write(QString("/s%1/f").arg(i));
        DIRECTORY_SCANNER scanner;
        const QString expected = scene.fetch(scanner, QString());
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
        for (int i = 0; i < 100 && result == expected; ++i) {
            DIRECTORY_SCANNER other = scanner_of(i % 3);
            result = scene.fetch(other, QString()).remove(QRegularExpression(" [^ ]*unrest[^ ]*"));
        }
        is_over = true;
        unrest.join();
        QCOMPARE(result, expected);
    }

    void stop_in_the_middle()
    {
        const SCENE scene;
        for (int i = 0; i < 300; ++i)
            scene.write(QString("/%1/%2/f").arg(i / 10).arg(i % 10));
        SATELLITE& scanner = SATELLITE::instance();
        QCOMPARE(&scanner, &SATELLITE::instance());
        for (int pass = 0; pass < 20; ++pass) {
            scanner.add_path(scene.bytes(QString()));
            scanner.add_path(scene.bytes("/1"));
            scanner.stop(); // most likely in the middle of the walk
        }
        QCOMPARE(scene.fetch(scanner, "/1/0"), QString("/1/0/f"));
        QCOMPARE(scene.fetch(scanner, QString()).count("/f"), 300);
    }
};

QTEST_GUILESS_MAIN(TST_DIRECTORY_SCANNER)
#include "tst_directory_scanner.moc"
