#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include "contracts/services/whole_file.h"
#include "tests/support/files.h"
#include "tests/support/full_disk.h"
#include "tests/support/rows.h"
#include "tests/support/watched_test.h"

#include <sys/stat.h>

static int s_waits = 0;

// Takes the place of the system's, in Qt's library too.
extern "C" Q_DECL_EXPORT int fdatasync(int)
{
    ++s_waits;
    return 0;
}

namespace {

using WRITE = QString (*)(const QString&, const QByteArray&);

QString write_in_pieces(const QString& path, const QByteArray& bytes)
{
    TARGET_FILE file(path);
    file.write(QByteArray(bytes.size(), '?'));
    file.seek(0);
    for (int i = 0; i < bytes.size(); i += 7)
        file.write(bytes.mid(i, 7));
    const QString first = file.error();
    const QString error = file.commit();
    return first.isEmpty() || first == error ? error : "first " + first;
}

// As a library does that has a temporary file of its own.
QString write_by_name(const QString& path, const QByteArray& bytes)
{
    TARGET_FILE file(path);
    const QString temporary = file.temporary_path();
    if (temporary.isEmpty() || !QFile::remove(temporary))
        return file.commit();
    const QString error = write_target(temporary, bytes);
    return error.isEmpty() ? file.commit() : QString(error).replace(temporary, path);
}

} // namespace

Q_DECLARE_METATYPE(WRITE)

using WAYS = ROWS<WRITE, int>; // write, waits for the disk

/// Every way to write a file: the outcome is the same.
class TST_WHOLE_FILE : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void writes_data()
    {
        const WAYS row;
        row("whole file", write_whole_file, 1);
        row("target", write_target, 0);
        row("in pieces", write_in_pieces, 0);
        row("by name", write_by_name, 0);
    }
    void writes()
    {
        const auto [write, waits] = WAYS::values();
        const QTemporaryDir folder;
        const auto path = [&](const QString& name) { return folder.filePath(name); };
        const auto mode = [&](const QString& name) {
            struct stat found;
            return stat(QFile::encodeName(path(name)), &found) == 0 ? found.st_mode & 0777 : 0;
        };
        const QByteArray bytes(100000, 'x');
        const QString long_name(240, 'n');
        FILES::write(path("folder/old"), "former");
        FILES::write(path("full"), "former");
        FILES::write(path("read-only"), "former");
        QVERIFY(QFile::setPermissions(path("folder/old"), QFile::ReadOwner | QFile::WriteOwner));
        QVERIFY(QFile::setPermissions(path("read-only"), QFile::ReadOwner));
        QVERIFY(QFile::link("folder/old", path("link")) && QFile::link("circle", path("circle")));
        s_waits = 0;
        const mode_t before = umask(027);
        const QString errors =
            write(path(long_name), bytes) + write(path("link"), bytes) + write(path("dot.tex"), "");
        umask(before);
        QCOMPARE(errors, QString());
        QCOMPARE(s_waits, 3 * waits);

        const QMap<QString, QString> causes{{"full", "File too large"},
                                            {"new", "File too large"},
                                            {"read-only", "it is read-only"},
                                            {"folder", "it is a folder"},
                                            {"/dev/null", "it is no ordinary file"},
                                            {"circle", "it is a link that leads back to itself"},
                                            {"none/new", "No such file or directory"}};
        for (auto place = causes.cbegin(); place != causes.cend(); ++place) {
            const QString file = QDir(folder.path()).filePath(place.key());
            for (const int size : {100000, 150}) {
                FULL_DISK disk(true);
                QCOMPARE(write(file, QByteArray(size, 'x')), file + ": can't be written: " + *place);
            }
        }
        QVERIFY(FILES::bytes(path(long_name)) == bytes && FILES::bytes(path("folder/old")) == bytes);
        QCOMPARE(FILES::bytes(path("full")) + FILES::bytes(path("read-only")), QByteArray("formerformer"));
        QVERIFY(QFileInfo(path("link")).isSymLink());
        QCOMPARE(mode(long_name), 0640u);
        QCOMPARE(mode("folder/old"), 0600u);
        QCOMPARE(FILES::below(folder.path()).size(), 7);
    }

    // What the caller gives up leaves nothing behind.
    void is_given_up()
    {
        const QTemporaryDir folder;
        {
            TARGET_FILE file(folder.filePath("new"));
            QCOMPARE(file.write("some"), 4);
            QVERIFY(file.seek(1) && file.size() == 4);
        }
        QCOMPARE(FILES::below(folder.path()), QStringList());
    }
};

QTEST_GUILESS_MAIN(TST_WHOLE_FILE)
#include "tst_whole_file.moc"
