#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include "examples/plugins/packs/pack_file.h"
#include "tests/support/files.h"
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

using FAILURES = ROWS<PACK_MEMBER, bool, QString>; // member, stop, error

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
        row("stopped", PACK_MEMBER{"new", QString(), noise(1000)}, true,
            "%1/a.zip can't be written: Operation cancelled");
        row("member missing", PACK_MEMBER{"new", "%1/none", QByteArray()}, false,
            "%1/none can't be read: No such file or directory");
        row("member twice", PACK_MEMBER{"old", QString(), "again"}, false,
            "%1/a.zip can't be written: File already exists");
    }
    void failures_leave_the_former_pack()
    {
        auto [member, stop, error] = FAILURES::values();
        const QString path = m_folder->filePath(QStringLiteral("a.zip"));
        FILES::write(path, "former");
        member.path.replace(QLatin1String("%1"), m_folder->path());
        m_stop = stop;
        QCOMPARE(write_pack(path, {{"old", QString(), "old"}, member}, {m_progress, 50, m_stop}),
                 error.arg(m_folder->path()));
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
