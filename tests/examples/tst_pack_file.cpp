#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include "examples/plugins/packs/pack_file.h"
#include "tests/support/files.h"
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

class tst_pack_file : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void init();
    void progress_reaches_its_end();
    void failures_leave_the_former_pack_data();
    void failures_leave_the_former_pack();

private:
    QScopedPointer<QTemporaryDir> m_folder;
    int m_progress = 0;
    std::atomic<bool> m_stop{false};
};

void tst_pack_file::init()
{
    m_folder.reset(new QTemporaryDir);
    m_progress = 0;
    m_stop = false;
}

void tst_pack_file::progress_reaches_its_end()
{
    const QString path = m_folder->filePath(QStringLiteral("ä.zip"));
    QCOMPARE(
        write_pack(path, {{"a", QString(), noise(100000)}, {"b", QString(), "b"}}, {m_progress, 50, m_stop}),
        QString());
    QCOMPARE(m_progress, 50);
    QVERIFY(FILES::bytes(path).startsWith("PK"));
}

void tst_pack_file::failures_leave_the_former_pack_data()
{
    QTest::addColumn<PACK_MEMBER>("member");
    QTest::addColumn<bool>("stop");
    QTest::addColumn<QString>("error");

    QTest::newRow("stopped") << PACK_MEMBER{"new", QString(), noise(1000)} << true
                             << "%1/a.zip can't be written: Operation cancelled";
    QTest::newRow("member missing") << PACK_MEMBER{"new", "%1/none", QByteArray()} << false
                                    << "%1/none can't be read: No such file or directory";
    QTest::newRow("member twice") << PACK_MEMBER{"old", QString(), "again"} << false
                                  << "%1/a.zip can't be written: File already exists";
}

void tst_pack_file::failures_leave_the_former_pack()
{
    QFETCH(PACK_MEMBER, member);
    QFETCH(bool, stop);
    QFETCH(QString, error);
    const QString path = m_folder->filePath(QStringLiteral("a.zip"));
    FILES::write(path, "former");
    member.path.replace(QLatin1String("%1"), m_folder->path());
    m_stop = stop;
    QCOMPARE(write_pack(path, {{"old", QString(), "old"}, member}, {m_progress, 50, m_stop}),
             error.arg(m_folder->path()));
    QCOMPARE(FILES::bytes(path), QByteArray("former"));
    QCOMPARE(FILES::below(m_folder->path()), QStringList{QStringLiteral("a.zip")});
}

QTEST_GUILESS_MAIN(tst_pack_file)
#include "tst_pack_file.moc"
