#include <QtTest/QTest>

#include "contracts/services/p4_connection.h"
#include "tests/support/cases.h"
#include "tests/support/p4_scene.h"
#include "tests/support/spelled_bytes.h"
#include "tests/support/temporary_tree.h"
#include "tests/support/watched_test.h"

class TST_P4_CONNECTION : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void says_data()
    {
        add_cases("contracts/services/p4_connection.cases",
                  {"do", "files", "answer", "limit", "off", "said", "called"});
    }
    void says()
    {
        const TEST_CASE one = current_case();
        const TEMPORARY_TREE tree;
        const P4_SCENE scene;
        const auto spelled = [&](const char* key) {
            return QString::fromUtf8(spelled_bytes(one[key])).replace("FOLDER", tree.path("raw_data"));
        };
        const QString name = IS_WINDOWS ? "raw_data/a b@1#2%3.txt" : "raw_data/a b@1#2%3*.txt";
        tree.write(name, "text");
        tree.set_permissions(name, 0444);
        const QString file = one.has("files") ? spelled("files") : tree.path(name);
        const QStringList files = file.split('\n', Qt::SkipEmptyParts);
        for (const char* command : {"edit", "add", "fstat", "filelog", "info"})
            scene.answers(command, spelled_bytes(one["answer"]));

        P4_CONNECTION p4(true, true, !one.has("off"));
        p4.set_time_limit(one.has("limit") ? one["limit"].toInt() : 50000);
        QString said;
        const auto take = [&](const QByteArray& line) {
            said += line + '\n';
            return QString();
        };
        const QString what = one["do"];
        int seconds = 0;
        const QString error = what == "edit"     ? p4.open_for_edit(files)
                              : what == "add"    ? p4.open_for_add(files)
                              : what == "states" ? p4.read_file_states({"//depot/..."}, take)
                              : what == "offset" ? p4.read_server_time_offset(seconds)
                                                 : p4.read_history({"//depot/..."}, take);
        said += !error.isEmpty() ? '!' + error : seconds ? QString::number(seconds) : QString();
        GOX_COMPARE_TEXT(said.trimmed(), spelled("said"));
        if (one.has("called"))
            GOX_COMPARE_TEXT(QDir::fromNativeSeparators(QString::fromUtf8(scene.calls()).trimmed()),
                             spelled("called").trimmed());
    }

    // Its complaints are read here, so it has to speak English.
    void client_is_found_and_speaks_english()
    {
        const QByteArray path = qgetenv("PATH");
        P4_CONNECTION p4(true, true, true);
        const QTemporaryDir folder;
        int seconds = 0;
        qputenv("PATH", QFile::encodeName(folder.path()));
        QCOMPARE(p4.read_server_time_offset(seconds),
                 QString("The Perforce client \"p4\" was not found. Install the command line client of "
                         "Perforce and see that its folder stands in PATH."));
        qputenv("PATH", path);
        const P4_SCENE scene;
        scene.answers("info", "language");
        const QString error = p4.read_server_time_offset(seconds);
        QVERIFY2(error.endsWith("\"en\""), qPrintable(error));
        QCOMPARE(P4_CONNECTION::plain_name("50%/%2a%4%25402"), QString("50%/*%4%402"));
    }
};

QTEST_GUILESS_MAIN(TST_P4_CONNECTION)
#include "tst_p4_connection.moc"
