#include <QtCore/QLockFile>
#include <QtTest/QTest>

#include <functional>

#include "tests/contracts/database/database_commands.h"
#include "tests/support/full_disk.h"
#include "tests/support/rows.h"
#include "tests/support/watched_test.h"

#ifdef Q_OS_UNIX
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>
#endif

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

// A change of records, one of fields and a table that goes: four files.
void change_four_files(DB& db)
{
    for (const QString& command : {QString("remove_table log"), QString("fields regions code*,scale,more=d"),
                                   "add packs d||" + QString(200000, 'x') + '|'})
        QCOMPARE(run(db, command), QString());
}

QString content_on_disk(const QString& folder)
{
    DB reader(nullptr, QString(), false, true);
    const QString error = reader.connect_without_merge(folder, true);
    return error.isEmpty() ? content_text(reader) : error;
}

} // namespace

using SAVES = ROWS<QString, QString>; // file, cause

// Saves that fail at each of their steps, and files that other people change.
class TST_KV_SAVING : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void fails_data()
    {
        const SAVES row;
        const QString changed = "somebody else changed it since it was read";
        for (const QString file : {"log.xml", "packs.xml", "regions.xml", "schema.xml"}) {
            if (file != "log.xml")
                row(qPrintable("Writing " + file), file, changed);
            row(qPrintable("Saving " + file), file, "it is a folder");
        }
        row("Writing log.xml, others are done", "packs.xml", changed);
#ifdef Q_OS_UNIX
        row("full disk", "packs.xml", "File too large");
        row("full disk, lock", "unfinished_save.lock", "File too large");
        row("Writing schema.xml, read-only", "schema.xml", "it is read-only");
#endif
    }
    // Somebody changes a file before or after its new one is written, or puts a folder
    // in its place, or the disk is full: nothing is written, and all is as it was.
    void fails()
    {
        const auto fields = SAVES::values(); // of which a lambda may take some
        const QString file = std::get<0>(fields), tag = QTest::currentDataTag();
        for (const bool in_transaction : {true, false}) {
            INTERRUPTION interruption;
            DATABASE_SCENE db(false, &interruption);
            db.connect_stock();
            const QString stock = content_text(db);
            if (in_transaction)
                QCOMPARE(run(db, "begin_transaction true"), QString());
            change_four_files(db);
            const auto before = files_of(db);
            const QDateTime time = QFileInfo(db.path(file)).lastModified();
            const QFile::Permissions permissions = QFile::permissions(db.path(file));
            interruption.step =
                db.path(tag.section(' ', 1).section(',', 0, 0)).prepend(tag.section(' ', 0, 0) + ' ');
            interruption.action = [&] {
                if (tag.startsWith("Saving"))
                    QFile::remove(db.path(file));
                if (tag.endsWith("read-only"))
                    QFile::setPermissions(db.path(file), QFile::ReadOwner);
                else
                    db.write(tag.startsWith("Saving") ? file + "/x" : file, before.value(file) + " ");
            };
            QString error;
            {
                const FULL_DISK disk(tag.startsWith("full disk"), tag.endsWith("lock") ? 1 : 100);
                error = db.without_folder(
                    run(db, in_transaction ? "end_transaction" : "save_table packs regions"));
            }
            interruption.step.clear();
            QCOMPARE(error, file + ": can't be written: " + std::get<1>(fields) +
                                "\nno file was written: packs.xml, regions.xml, schema.xml, log.xml");
            QCOMPARE(db.in_transaction(), in_transaction);
            QCOMPARE(content_text(db) == stock, in_transaction);

            // The cause mended, it goes on, or goes back.
            QDir(db.path(file)).removeRecursively();
            if (before.contains(file)) {
                QFile::setPermissions(db.path(file), permissions);
                FILES::write(db.path(file), before.value(file), time);
            }
            QCOMPARE(files_of(db), before); // and nothing lies beside them
            QCOMPARE(run(db, in_transaction ? "end_transaction" : "revert_changes"), QString());
            QCOMPARE(content_text(db) == stock, !in_transaction);
            QCOMPARE(content_on_disk(db.folder()), content_text(db));
            QCOMPARE(QFile::exists(db.path("log.xml")), !in_transaction);
        }
    }

#ifdef Q_OS_UNIX
    // At each step in turn: the next who comes finds what was before or what was to be,
    // and so does who may not write.
    void is_killed()
    {
        bool is_over = false;
        QSet<QString> found;
        for (int step = 0; !is_over; ++step) {
            INTERRUPTION interruption;
            DATABASE_SCENE db(false, &interruption);
            db.connect_stock();
            const QString stock = content_text(db);
            const pid_t child = fork();
            if (child == 0) {
                change_four_files(db);
                interruption.step = ".xml";
                interruption.action = [&] {
                    if (step-- == 0)
                        raise(SIGKILL);
                };
                _exit(run(db, "save_schema").isEmpty() && run(db, "save_table packs").isEmpty() ? 0 : 1);
            }
            int status = 0;
            QCOMPARE(waitpid(child, &status, 0), child);
            is_over = WIFEXITED(status);
            const auto left = files_of(db);
            const QString content = content_on_disk(db.folder());
            found.insert(content);
            QCOMPARE(files_of(db), left);
            QCOMPARE(db.connect_here(), QString());
            QCOMPARE(content_text(db), content);
            QCOMPARE(db.connect_here(), QString());
            QVERIFY(QDir(db.folder()).entryList({"unfinished*"}).isEmpty());
            QCOMPARE(run(db, "add packs e|||"), QString());
            QCOMPARE(run(db, "save_table packs"), QString());
        }
        QCOMPARE(found.size(), 3);
    }

    // What somebody changed since is not written over, by whoever goes on.
    void is_killed_and_changed()
    {
        DATABASE_SCENE db;
        db.connect_stock();
        FILES::write(db.path("unfinished_save/packs.xml"), "<table name='packs'/>", FILES::hour(0));
        const auto before = files_of(db);
        const QString expected =
            db.path("packs.xml: somebody changed this file after a save of it was cut off");
        for (const QString& error : {db.connect_here(), content_on_disk(db.folder())})
            QVERIFY2(error.startsWith(expected), qPrintable(error));
        QCOMPARE(files_of(db), before);
        QFile::remove(db.path("packs.xml"));
        QCOMPARE(db.connect_here(), QString());
        QVERIFY(content_text(db).startsWith("packs(name,size,note,region):  /"));
    }
#endif

    void cannot_put_back()
    {
        INTERRUPTION interruption;
        DATABASE_SCENE db(false, &interruption);
        db.connect_stock();
        change_four_files(db);
        interruption.step = "Saving " + db.path("schema.xml");
        interruption.action = [&] {
            QDir(db.path("unfinished_save.old")).removeRecursively();
            QFile::remove(db.path("schema.xml"));
            db.write("schema.xml/x", "");
        };
        allow_warning("take their places with the next save");
        QCOMPARE(run(db, "save_schema"), QString());
        QDir(db.path("schema.xml")).removeRecursively();
        QVERIFY(content_on_disk(db.folder()).contains("regions(code,scale,more)"));
        interruption.step.clear();
        QCOMPARE(run(db, "save_table packs"), QString());
        QCOMPARE(content_on_disk(db.folder()), content_text(db));
        QVERIFY(QDir(db.folder()).entryList({"unfinished*"}).isEmpty());
    }

    void one_process_saves_at_a_time()
    {
        DATABASE_SCENE db;
        db.connect_stock();
        QCOMPARE(run(db, "add log u"), QString());
        QLockFile other(db.path("unfinished_save.lock"));
        QVERIFY(other.tryLock());
        const QString expected = db.path("unfinished_save.lock: another process saves this folder");
        QVERIFY(run(db, "save_table log").startsWith(expected));
        other.unlock();
        QCOMPARE(run(db, "save_table log"), QString());
    }

    void keeps_its_own_files_from_other_saves()
    {
        DATABASE_SCENE db;
        db.connect_stock();
        const QString own = ": can't be written: it is a file of this database";
        QDir().mkpath(db.path("sub"));
        QStringList paths{"packs.xml", "LOG.xml", "sub/../schema.xml", "./log.xml"};
#ifdef Q_OS_UNIX
        QVERIFY(QFile::link(db.path("log.xml"), db.path("sub/link")));
        QVERIFY(QFile::link(db.folder(), db.path("sub/folder")));
        paths += QStringList{"sub/link", "sub/folder/packs.xml"};
#endif
        const auto before = files_of(db);
        for (const QString& path : qAsConst(paths))
            QCOMPARE(run(db, "save_schema " + db.path(path)), db.path(path) + own);
        QCOMPARE(files_of(db), before);
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
};

QTEST_GUILESS_MAIN(TST_KV_SAVING)
#include "tst_kv_saving.moc"
