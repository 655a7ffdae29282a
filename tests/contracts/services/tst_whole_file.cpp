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
    return file.commit();
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
class tst_whole_file : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void init() { m_folder.reset(new QTemporaryDir); }

    void replaces_data()
    {
        const WAYS row;
        row("whole file", write_whole_file, 1);
        row("target", write_target, 0);
        row("in pieces", write_in_pieces, 0);
        row("by name", write_by_name, 0);
    }
    void replaces()
    {
        const auto [write, waits] = WAYS::values();
        const QByteArray bytes(100000, 'x');
        const QString name = path(QString(240, 'n'));
        FILES::write(path("folder/old"), "former");
        QVERIFY(QFile::setPermissions(path("folder/old"), QFile::ReadOwner | QFile::WriteOwner));
        QVERIFY(QFile::link("folder/old", path("link")));
        s_waits = 0;
        const mode_t before = umask(027);
        const QString errors = write(name, bytes) + write(path("link"), bytes) + write(path("dot.tex"), "");
        umask(before);
        QCOMPARE(errors, QString());
        QCOMPARE(s_waits, 3 * waits);
        QVERIFY(FILES::bytes(name) == bytes && FILES::bytes(path("folder/old")) == bytes);
        QVERIFY(QFileInfo(path("link")).isSymLink());
        QCOMPARE(mode(name), 0640u);
        QCOMPARE(mode(path("folder/old")), 0600u);
        QCOMPARE(FILES::below(m_folder->path()).size(), 4);
    }

    void leaves_as_it_was_data() { replaces_data(); }
    void leaves_as_it_was()
    {
        const WRITE write = std::get<0>(WAYS::values());
        FILES::write(path("old"), "former");
        FILES::write(path("read-only"), "former");
        FILES::write(path("folder/in it"), "former");
        QVERIFY(QFile::setPermissions(path("read-only"), QFile::ReadOwner));
        QVERIFY(QFile::link("circle", path("circle")));
        const QStringList files = FILES::below(m_folder->path());
        const QMap<QString, QString> causes{
            {"old", "File too large"},
            {"new", "File too large"},
            {"read-only", "it is read-only"},
            {"folder", "it is a folder"},
            {"circle", "it is a link that leads back to itself"},
            {"none/new", "No such file or directory"},
        };
        for (auto place = causes.cbegin(); place != causes.cend(); ++place) {
            QString error;
            {
                const FULL_DISK disk(true);
                error = write(path(place.key()), QByteArray(100000, 'x')) +
                        write(path(place.key()), QByteArray(150, 'x'));
            }
            const QString expected = path(place.key()) + ": can't be written: " + *place;
            QCOMPARE(error, expected + expected);
        }
        QCOMPARE(FILES::below(m_folder->path()), files);
        QCOMPARE(FILES::bytes(path("old")) + FILES::bytes(path("read-only")), QByteArray("formerformer"));
    }

    // What the caller gives up leaves nothing behind.
    void is_given_up()
    {
        {
            TARGET_FILE file(path("new"));
            file.write("some");
        }
        QCOMPARE(FILES::below(m_folder->path()), QStringList());
    }

private:
    QString path(const QString& name) const { return m_folder->filePath(name); }

    static uint mode(const QString& file)
    {
        struct stat found;
        return stat(QFile::encodeName(file).constData(), &found) == 0 ? found.st_mode & 0777 : 0;
    }

    QScopedPointer<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(tst_whole_file)
#include "tst_whole_file.moc"
