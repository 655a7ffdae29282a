#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include "contracts/services/whole_file.h"
#include "tests/support/cases.h"
#include "tests/support/files.h"
#include "tests/support/full_disk.h"
#include "tests/support/watched_test.h"

#include <functional>

#include <sys/stat.h>
#include <unistd.h>

static int s_waits = 0;

// Takes the place of the system's, in Qt's library too.
extern "C" Q_DECL_EXPORT int fdatasync(int)
{
    ++s_waits;
    return 0;
}

static QString write_in_pieces(const QString& path, const QByteArray& bytes)
{
    TARGET_FILE file(path);
    file.write(QByteArray(bytes.size(), '?'));
    file.seek(0);
    for (int i = 0; i < bytes.size(); i += 7)
        file.write(bytes.mid(i, 7));
    return file.commit();
}

// As a library does that has a temporary file of its own.
static QString write_by_name(const QString& path, const QByteArray& bytes)
{
    TARGET_FILE file(path);
    const QString temporary = file.temporary_path();
    const QString error =
        !temporary.isEmpty() && QFile::remove(temporary) ? write_target(temporary, bytes) : QString();
    return error.isEmpty() ? file.commit() : QString(error).replace(temporary, path);
}

/// Every way to write a file: the outcome is the same.
class TST_WHOLE_FILE : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void writes_data() { add_cases("contracts/services/whole_file.cases", {"waits"}); }
    void writes()
    {
        const QMap<QString, std::function<QString(const QString&, const QByteArray&)>> ways{
            {"whole file", write_whole_file},
            {"target", write_target},
            {"in pieces", write_in_pieces},
            {"by name", write_by_name}};
        const auto write = ways[QTest::currentDataTag()];
        const QTemporaryDir folder;
        QVERIFY(QDir::setCurrent(folder.path()));
        const QByteArray bytes(100000, 'x');
        const QString long_name(240, 'n');
        for (const char* file : {"folder/old", "full", "read-only"})
            FILES::write(file, "former");
        QVERIFY(::chmod("folder/old", 0600) + ::chmod("read-only", 0400) == 0);
        QVERIFY(QFile::link("folder/old", "link") && QFile::link("circle", "circle"));
        s_waits = 0;
        const mode_t before = umask(027);
        const QString errors = write(long_name, bytes) + write("link", bytes) + write("dot.tex", "");
        umask(before);
        QCOMPARE(errors, QString());
        QCOMPARE(s_waits, 3 * current_case()["waits"].toInt());

        const QStringList refused = QString("circle: it is a link that leads back to itself|"
                                            "/dev/null: it is no ordinary file|folder: it is a folder|"
                                            "full: File too large|new: File too large|"
                                            "none/new: No such file or directory|read-only: it is read-only")
                                        .split('|');
        for (const QString& error : refused)
            for (const int size : {100000, 150}) {
                const FULL_DISK disk(true);
                QCOMPARE(write(error.section(':', 0, 0), QByteArray(size, 'x')).remove("can't be written: "),
                         error);
            }
        QCOMPARE(::setresuid(getuid() ? getuid() : 65534, uid_t(-1), uid_t(-1)), 0);
        const QString not_mine = write("folder/old", bytes);
        QCOMPARE(::setresuid(geteuid(), uid_t(-1), uid_t(-1)), 0);
        QCOMPARE(not_mine,
                 QString(getuid() ? "" : "folder/old: can't be written: it belongs to somebody else"));
        struct stat old, made;
        QVERIFY(::stat("folder/old", &old) + ::stat(QFile::encodeName(long_name), &made) == 0);
        QCOMPARE(QString::number((old.st_mode & 0777) << 9 | (made.st_mode & 0777), 8), QString("600640"));
        QVERIFY(FILES::bytes(long_name) == bytes && FILES::bytes("folder/old") == bytes);
        QCOMPARE(FILES::bytes("full") + FILES::bytes("read-only"), QByteArray("formerformer"));
        QCOMPARE(FILES::below("."),
                 QStringList({"circle", "dot.tex", "folder/old", "full", "link", long_name, "read-only"}));
        QVERIFY(QFileInfo("link").isSymLink());
        {
            TARGET_FILE given_up("new");
            QVERIFY(given_up.write("some") == 4 && given_up.seek(1) && given_up.size() == 4);
        }
        QVERIFY(!QFile::exists("new") && FILES::below(".").size() == 7);
    }
};

QTEST_GUILESS_MAIN(TST_WHOLE_FILE)
#include "tst_whole_file.moc"
