#include <QtCore/QDir>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include "contracts/paths/letter_case.h"
#include "contracts/paths/logical_path.h"
#include "contracts/services/satellite.h"
#include "tests/support/cases.h"
#include "tests/support/files.h"
#include "tests/support/spelled_bytes.h"
#include "tests/support/watched_test.h"

#include <thread>

#ifdef Q_OS_UNIX
#include <unistd.h>
#else
static int getuid()
{
    return 0;
}
static void seteuid(int) {}
#endif

namespace {

DIRECTORY_SCANNER scanner_of(int way)
{
    return DIRECTORY_SCANNER(way == 1 ? 8 : 1, DIRECTORY_SCANNER::WALK(way == 2));
}

// A folder. Paths are below it.
class SCENE
{
public:
    SCENE() { sh("chmod 755 ."); }
    // Qt can't remove paths that are too long for one system call.
    ~SCENE() { sh("chmod -R u+rwx . && rm -rf *"); }

    bool sh(const QString& command) const
    {
        QProcess shell;
        shell.setWorkingDirectory(folder.path());
        shell.start("sh", {"-c", command});
        return shell.waitForFinished() && shell.exitCode() == 0;
    }
    QString path(const QString& below) const { return folder.path() + below; }
    void write(const QString& below) const { FILES::write(path(below), QByteArray()); }

    QString fetch(DIRECTORY_SCANNER& scanner, const QString& path, bool says_times = false) const
    {
        QVector<DIRECTORY_SCANNER::FILE_INFO> files{{"before", QDateTime()}};
        QStringList said;
        if (!scanner.get_files(path == "nothing" ? QString() : this->path(path), files))
            said.append(QStringLiteral("!%1 %2").arg(scanner.error_number).arg(scanner.get_error()));
        for (const DIRECTORY_SCANNER::FILE_INFO& file : files.mid(1))
            said.append(says_times ? file.modified.toString(Qt::ISODateWithMs) + QString(" %1").arg(file.size)
                                   : file.path);
        const QStringList left_out = scanner.take_left_out();
        said += QString("| ").repeated(left_out.isEmpty() ? 0 : 1) + left_out.join(' ');
        return said.join(' ').trimmed().remove(folder.path());
    }

    QString take(DIRECTORY_SCANNER& scanner, const QString& step) const
    {
        const QString word = step.section(' ', 0, 0), rest = step.section(' ', 1);
        seteuid(word == "announce" || word == "fetch" ? 65534 : getuid()); // who may not read everything
        if (word == "$")
            return sh(rest) ? QString() : "can't be done: " + rest;
        if (word == "fetch" || word == "times")
            return fetch(scanner, rest, word == "times") + '\n';
        if (word == "announce")
            scanner.add_path(rest == "nothing" ? QString() : path(rest));
        for (const QByteArray& file : spelled_bytes(rest).split(' '))
            if (word == "files")
                write(QString::fromUtf8(file));
        if (word == "old")
            FILES::set_time(path(rest), FILES::hour(1).addMSecs(123));
        return QString();
    }

    const QTemporaryDir folder;
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
            seteuid(getuid());
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
            for (int i = 0; !is_over; ++i) {
                const QString folder = scene.path(QString("/s%1/unrest/").arg(10 + i % 40));
                for (const char* name : {"1", "2", "3"})
                    if (QDir().mkpath(folder + name))
                        QFile(folder + name + "/t").open(QIODevice::WriteOnly);
                QDir(folder).removeRecursively();
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
        for (int i = 1; i <= 300; ++i)
            scene.write(QString("/%1/1/f").arg(i));
        SATELLITE& scanner = SATELLITE::instance();
        QCOMPARE(&scanner, &SATELLITE::instance());
        for (int pass = 0; pass < 20; ++pass) {
            scanner.add_path(scene.path(""));
            scanner.add_path(scene.path("/1"));
            scanner.stop(); // most likely in the middle of the walk
        }
        QCOMPARE(scene.fetch(scanner, "/1"), QString("/1/1/f"));
        QCOMPARE(scene.fetch(scanner, QString()).count("/f"), 300);
    }
};

QTEST_GUILESS_MAIN(TST_DIRECTORY_SCANNER)
#include "tst_directory_scanner.moc"
