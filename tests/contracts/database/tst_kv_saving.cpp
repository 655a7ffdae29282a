#include <QtTest/QTest>

#include <functional>

#include "tests/contracts/database/database_commands.h"
#include "tests/support/full_disk.h"
#include "tests/support/rows.h"
#include "tests/support/watched_test.h"

namespace {

// Does something when a step of the database begins.
class INTERRUPTION : public PROGRESS_CALLBACK
{
public:
    QString step; // the end of its text
    std::function<void()> action;

    void progress(const QString& text, int, int) override
    {
        if (!step.isEmpty() && text.endsWith(step))
            action();
    }
};

QMap<QString, QByteArray> files_of(const DATABASE_SCENE& db)
{
    QMap<QString, QByteArray> files;
    for (const QString& name : FILES::below(db.folder()))
        files.insert(name, FILES::bytes(db.path(name)));
    return files;
}

} // namespace

// file, cause, outcome, what is left to save: nothing when the transaction goes on
using SAVES = ROWS<QString, QString, QString, QString>;

// Saves that fail at each of their steps, and files that other people change.
class TST_KV_SAVING : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void fails_data()
    {
        const SAVES row;
        const QString changed = "somebody else changed it since it was read";
        const QString nothing = "no file was written: log.xml, packs.xml, schema.xml";
        for (const QString file : {"log.xml", "packs.xml", "schema.xml"})
            row(qPrintable("Writing " + file), file, changed, nothing, "");
#ifdef Q_OS_UNIX
        row("full disk", "packs.xml", "File too large", nothing, "");
#endif
        row("Saving log.xml", "log.xml", "", nothing, "");
        row("Saving packs.xml", "packs.xml", "", "written: log.xml; not written: packs.xml, schema.xml",
            "schema.xml packs.xml");
        row("Saving schema.xml", "schema.xml", "", "written: log.xml, packs.xml; not written: schema.xml",
            "schema.xml");
    }
    // Somebody changes the file before it is written, or puts a folder in its place
    // before it is replaced, or the disk is full.
    void fails()
    {
        const auto fields = SAVES::values(); // of which a lambda may take some
        const QString file = std::get<0>(fields), left = std::get<3>(fields);
        const QString tag = QTest::currentDataTag();
        INTERRUPTION interruption;
        DATABASE_SCENE db(false, &interruption);
        db.connect_stock();
        for (const QString& command : {QString("begin_transaction true"), QString("fields log text=d"),
                                       "add packs d||" + QString(500, 'x') + '|'})
            QCOMPARE(run(db, command), QString());
        const QByteArray original = FILES::bytes(db.path(file));
        const QDateTime time = QFileInfo(db.path(file)).lastModified();
        const auto before = files_of(db);
        interruption.step = tag.section(' ', 0, 0) + ' ' + db.path(file);
        interruption.action = [&] {
            if (tag.startsWith("Saving"))
                QFile::remove(db.path(file));
            db.write(tag.startsWith("Saving") ? file + "/x" : file, original + " ");
        };
        QString error, ignored;
        {
            const FULL_DISK disk(tag == "full disk");
            error = db.without_folder(run(db, "end_transaction"));
        }
        interruption.step.clear();
        QVERIFY2(error.startsWith(file + ": can't be written: " + std::get<1>(fields)), qPrintable(error));
        QCOMPARE(error.section('\n', 1), std::get<2>(fields));
        QCOMPARE(db.in_transaction(), left.isEmpty());
        QCOMPARE(db.get_table_data(ignored, "packs")->rows_by_key.contains("d"), !left.isEmpty());
        QCOMPARE(db.without_folder(db.get_changed_files(ignored).join(' ')), left);

        // The cause mended, it goes on.
        QDir(db.path(file)).removeRecursively();
        FILES::write(db.path(file), original, time);
        if (left.isEmpty())
            QCOMPARE(files_of(db), before); // and nothing lies beside them
        for (const char* const command : {"end_transaction", "save_table packs", "save_schema"})
            if (left.isEmpty() || *command == 's')
                QCOMPARE(run(db, command), QString());
        QCOMPARE(db.get_changed_files(ignored), QStringList());
        QCOMPARE(db.connect_here(true), QString());
        QVERIFY(db.get_table_data(error, "packs")->record_with_key("d"));
        QCOMPARE(db.get_table_schema(error, "log")->fields.at(0).default_value, QString("d"));
        QCOMPARE(FILES::below(db.folder()).size(), 4);
    }

    void makes_an_empty_folder_a_database()
    {
        DATABASE_SCENE db;
        QCOMPARE(db.connect_here(), QString());
        for (const char* const command :
             {"begin_transaction true", "fields first id", "add first 1", "end_transaction"})
            QCOMPARE(run(db, command), QString());
        QCOMPARE(db.version(), 1);
        QCOMPARE(db.connect_here(), QString());
        QCOMPARE(content(db).first(), QString("first(id): 3: 1"));
        QCOMPARE(run(db, "save_schema " + db.path("copy.xml")), QString());
        QCOMPARE(FILES::bytes(db.path("copy.xml")), FILES::bytes(db.path("schema.xml")));
        const QString nowhere = db.path("none/copy.xml");
        QVERIFY(run(db, "save_schema " + nowhere).startsWith(nowhere + ": can't be written: "));
    }

    void writes_more_files_than_are_open_at_once()
    {
        DATABASE_SCENE db;
        db.connect_here();
        for (int i = 0; i < 450; ++i)
            QCOMPARE(run(db, QString("fields t%1 id").arg(i)), QString());
        QCOMPARE(run(db, "save_schema"), QString());
        QCOMPARE(FILES::below(db.folder()).size(), 451);
        QCOMPARE(db.connect_here(true), QString());
    }
};

QTEST_GUILESS_MAIN(TST_KV_SAVING)
#include "tst_kv_saving.moc"
