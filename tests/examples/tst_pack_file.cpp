#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include "examples/plugins/packs/pack_file.h"
#include "tests/support/files.h"
#include "tests/support/full_disk.h"
#include "tests/support/rows.h"
#include "tests/support/watched_test.h"

Q_DECLARE_METATYPE(PACK_MEMBER)

namespace {

// Text that does not compress, so that the writing goes on for a while.
QByteArray noise(int size)
{
    QByteArray bytes(size, '\0');
    quint32 random = 1;
    for (char& byte : bytes) {
        random = random * 1664525 + 1013904223;
        byte = char(random >> 24);
    }
    return bytes;
}

} // namespace

using FAILURES = ROWS<PACK_MEMBER, QString, QString>; // member, what is in the way, error

class tst_pack_file : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void init()
    {
        m_folder.reset(new QTemporaryDir);
        m_progress = 0;
        m_stop = false;
    }

    void progress_reaches_its_end()
    {
        const QString path = m_folder->filePath(QStringLiteral("ä.zip"));
        QCOMPARE(write_pack(path, {{"a", QString(), noise(100000)}, {"b", QString(), "b"}},
                            {m_progress, 50, m_stop}),
                 QString());
        QCOMPARE(m_progress, 50);
        QVERIFY(FILES::bytes(path).startsWith("PK"));
    }

    void failures_leave_the_former_pack_data()
    {
        const FAILURES row;
        const PACK_MEMBER good{"new", QString(), noise(1000)};
        row("stopped", good, "stop", "%1/a.zip: can't be written: Operation cancelled");
        row("member missing", PACK_MEMBER{"new", "%1/none", QByteArray()}, "",
            "%1/none can't be read: No such file or directory");
        row("member twice", PACK_MEMBER{"old", QString(), "again"}, "",
            "%1/a.zip: can't be written: File already exists");
        row("read-only", good, "lock", "%1/a.zip: can't be written: it is read-only");
#ifdef Q_OS_UNIX
        row("full disk", good, "disk", "%1/a.zip: can't be written: ");
#endif
    }
    void failures_leave_the_former_pack()
    {
        auto [member, in_the_way, error] = FAILURES::values();
        const QString path = m_folder->filePath(QStringLiteral("a.zip"));
        FILES::write(path, "former");
        member.path.replace(QLatin1String("%1"), m_folder->path());
        m_stop = in_the_way == "stop";
        if (in_the_way == "lock")
            QVERIFY(QFile::setPermissions(path, QFile::ReadOwner));
        QString told;
        {
            const FULL_DISK disk(in_the_way == "disk");
            told = write_pack(path, {{"old", QString(), "old"}, member}, {m_progress, 50, m_stop});
        }
        QVERIFY2(told.startsWith(error.arg(m_folder->path())), qPrintable(told));
        QCOMPARE(FILES::bytes(path), QByteArray("former"));
        QCOMPARE(FILES::below(m_folder->path()), QStringList{QStringLiteral("a.zip")});
    }

private:
    QScopedPointer<QTemporaryDir> m_folder;
    int m_progress = 0;
    std::atomic<bool> m_stop{false};
};

QTEST_GUILESS_MAIN(tst_pack_file)
#include "tst_pack_file.moc"
