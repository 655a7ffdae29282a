#include <QtCore/QDir>
#include <QtCore/QLockFile>
#include <QtTest/QTest>

#include "tests/contracts/database/database_session.h"
#include "tests/session/step_scene.h"
#include "tests/support/cases.h"
#include "tests/support/full_disk.h"
#include "tests/support/watched_test.h"

#ifdef Q_OS_UNIX
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

QMap<QString, QByteArray> files_of(const DATABASE_SESSION& db)
{
    QMap<QString, QByteArray> files;
    for (const QString& name : FILES::below(db.path()))
        files.insert(name, FILES::bytes(db.path(name)));
    return files;
}

// A change of records, one of fields and a table that goes: four files.
void change_four_files(DATABASE_SESSION& db)
{
    QCOMPARE(db.run({"remove_table log", "fields regions code*,scale,more=d", "add packs d||\\200000x|"}),
             QString());
}

QStringList unfinished(const DATABASE_SESSION& db)
{
    return QDir(db.path()).entryList({"unfinished*"});
}

} // namespace

// Saves that fail at each of their steps, or are cut off there.
class TST_KV_SAVING : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void fails_data()
    {
        add_cases("contracts/database/save_failures.cases", {"at", "read-only", "room", "file", "cause"});
    }
    // Somebody changes a file before or after its new one is written, or the disk is
    // full: nothing is written, and all is as it was.
    void fails()
    {
        const TEST_CASE one = current_case();
#ifndef Q_OS_UNIX
        if (one.has("read-only") || one.has("room"))
            GOX_SKIP("files are refused in another way");
#endif
        for (const bool in_transaction : {true, false}) {
            DATABASE_SESSION db;
            db.run("stock");
            const QString stock = content_of(db);
            if (in_transaction)
                db.run("begin_transaction true");
            change_four_files(db);
            const auto before = files_of(db);
            const QString file = one["file"], path = db.path(file);
            const QDateTime time = QFileInfo(path).lastModified();
            db.step = "Writing " + db.path(one["at"]);
            db.action = [&] {
                if (one.has("read-only"))
                    QFile::setPermissions(path, QFile::ReadOwner);
                else
                    FILES::write(path, FILES::bytes(path) + ' ');
            };
            QString answer;
            {
                const FULL_DISK disk(one.has("room"), one["room"].toInt());
                answer = db.run(in_transaction ? "end_transaction" : "save_table packs regions");
            }
            db.step.clear();
            QCOMPARE(answer, "error: " + file + ": can't be written: " + one["cause"] +
                                 "\nno file was written: packs.xml, regions.xml, schema.xml, log.xml");
            QCOMPARE(db.in_transaction(), in_transaction);
            QCOMPARE(content_of(db) == stock, in_transaction);

            // The cause mended, it goes on, or goes back.
            QFile::remove(path);
            if (before.contains(file))
                FILES::write(path, before.value(file), time);
            QCOMPARE(files_of(db), before); // and nothing lies beside them
            QCOMPARE(db.run(in_transaction ? "end_transaction" : "revert_changes"), QString());
            QCOMPARE(content_of(db) == stock, !in_transaction);
            QCOMPARE(content_on_disk(db.path()), content_of(db));
            QCOMPARE(QFile::exists(db.path("log.xml")), !in_transaction);
        }
    }

    // Something hinders a file that is saved from taking its place: the action that
    // saves tells it, and so does whoever connects next.
    void waits()
    {
        for (const QString file : {"log.xml", "packs.xml", "schema.xml"}) {
            DATABASE_SESSION db;
            STEP_ACTION action;
            db.run("stock");
            change_four_files(db);
            const QFile::Permissions permissions = QFile::permissions(db.path(file));
            db.step = "Saving " + db.path(file);
            db.action = [&] { QFile::setPermissions(db.path(file), QFile::ReadOwner); };
            const QString hindrance = file + ": can't be written: it is read-only";
            action.redirect_messages();
            QCOMPARE(db.run({"save_schema", "save_table packs"}),
                     file == "packs.xml" ? QString() : "error: " + hindrance);
            QCOMPARE(db.run("connect"), QString());
            action.clear_redirections();
            action.output.remove(db.path() + '/');
            QCOMPARE(action.output.count(hindrance + "\nThe new files are saved in unfinished_save, and"), 2);
            db.step.clear();
            QFile::setPermissions(db.path(file), permissions);
            QVERIFY(content_on_disk(db.path()).contains("regions(code,scale,more)"));
            QCOMPARE(unfinished(db), QStringList("unfinished_save"));
            QCOMPARE(db.run({"add packs e|||", "save_table packs"}), QString());
            QCOMPARE(content_on_disk(db.path()), content_of(db));
            QCOMPARE(unfinished(db), QStringList());
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
            DATABASE_SESSION db;
            db.run("stock");
            const pid_t child = fork();
            if (child == 0) {
                change_four_files(db);
                db.step = ".xml";
                db.action = [&] {
                    if (step-- == 0)
                        raise(SIGKILL);
                };
                _exit(db.run("save_schema").isEmpty() && db.run("save_table packs").isEmpty() ? 0 : 1);
            }
            int status = 0;
            QCOMPARE(waitpid(child, &status, 0), child);
            is_over = WIFEXITED(status);
            QVERIFY(!is_over || WEXITSTATUS(status) == 0);
            const auto left = files_of(db);
            const QString content = content_on_disk(db.path());
            found.insert(content);
            QCOMPARE(files_of(db), left);
            QCOMPARE(db.run("connect"), QString());
            QCOMPARE(content_of(db), content);
            QCOMPARE(unfinished(db), QStringList());
            QCOMPARE(db.run({"add packs e|||", "save_table packs"}), QString());
        }
        QCOMPARE(found.size(), 3);
    }
#endif

    void one_process_saves_at_a_time()
    {
        DATABASE_SESSION db;
        db.run("stock");
        db.run("add log u");
        QLockFile other(db.path("unfinished_save.lock"));
        QVERIFY(other.tryLock());
        const QString host = QSysInfo::machineHostName().toLower(); // which Windows has in two spellings
        QCOMPARE(db.run("save_table log").toLower(),
                 QString("error: unfinished_save.lock: another process saves this folder (number %1 on "
                         "\"%2\"); when that is not so, remove this file")
                     .arg(QString::number(QCoreApplication::applicationPid()), host));
        other.unlock();
        QCOMPARE(db.run("save_table log"), QString());
    }
};

QTEST_GUILESS_MAIN(TST_KV_SAVING)
#include "tst_kv_saving.moc"
