#include <QtCore/QProcess>
#include <QtCore/QtEndian>
#include <QtTest/QtTest>

#include <sys/stat.h>
#include <zip.h>

#include "tests/support/cases.h"
#include "tests/support/program_run.h"
#include "tests/support/temporary_tree.h"
#include "tests/support/watched_test.h"

namespace {

const int LAYING_OUT = 280000; // milliseconds; the plugins are compiled

// The names in a zip file, in its order, and what its table of contents says.
QString packed_in(const QString& path)
{
    QStringList names;
    zip_t* const archive = zip_open(path.toUtf8(), ZIP_RDONLY | ZIP_CHECKCONS, nullptr);
    for (zip_int64_t i = 0; archive && i < zip_get_num_entries(archive, 0); ++i)
        names.append(QString::fromUtf8(zip_get_name(archive, zip_uint64_t(i), 0)));
    QByteArray contents(10000, '\0');
    zip_file_t* const file = zip_fopen(archive, "contents.txt", 0);
    contents.truncate(file ? int(zip_fread(file, contents.data(), 10000)) : 0);
    zip_discard(archive);
    return names.join(' ') + " (" + QString::fromUtf8(contents).replace('\n', '|').replace('\t', ": ") + ')';
}

// "64x32, 7 level(s) of format 2" when the sizes in the header agree with the file.
QString texture_in(const QByteArray& bytes)
{
    if (!bytes.startsWith("GTEX") || qFromLittleEndian<qint64>(bytes.constData() + 24) != bytes.size() - 32)
        return "no texture";
    const auto number = [&](int place) { return qFromLittleEndian<quint32>(bytes.constData() + place); };
    return QStringLiteral("%1x%2, %3 level(s) of format %4")
        .arg(number(8))
        .arg(number(12))
        .arg(number(16))
        .arg(number(4) >> 16);
}

// A fresh copy of the sample's tree and a run of the program in it.
struct SAMPLE
{
    SAMPLE()
    {
        QProcess::execute("cp", {"-R", GOX_SAMPLE_DIR "/tree/.", tree.path()});
        gox.plain_locale = true;
    }

    int run(const QString& configuration)
    {
        return gox.run({"--configuration=" + configuration, "--dont_stop_on_error"});
    }
    QString log(const char* name) const
    {
        return QString::fromUtf8(tree.read(QString("tool/") + name)).replace(tree.path(), "TREE");
    }
    QStringList actions_in(const char* name) const
    {
        const QRegularExpression heading("^=== .*? / (.*) ===$");
        return log(name).split('\n').filter(heading).replaceInStrings(heading, "\\1");
    }

    // What lies in a folder: of a texture its size, of a pack its files.
    QString files_in(const QString& folder) const
    {
        QStringList lines;
        for (const QString& file : FILES::below(tree.path(folder))) {
            const QString path = tree.path(folder + '/' + file);
            lines.append(file + ": " +
                         (file.endsWith(".zip") ? packed_in(path) : texture_in(FILES::bytes(path))));
        }
        return lines.join('\n');
    }

    TEMPORARY_TREE tree;
    PROGRAM_RUN gox{tree};
};

} // namespace

class TST_SAMPLE : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QProcess script;
        script.setProcessChannelMode(QProcess::MergedChannels);
        script.start(GOX_SOURCE_DIR "/scripts/lay-out-sample.sh", {GOX_BUILD_DIR, GOX_SAMPLE_DIR});
        QVERIFY(script.waitForFinished(LAYING_OUT));
        QVERIFY2(script.exitCode() == 0, script.readAll().constData());
    }

    void runs_data()
    {
        add_cases("examples/sample.cases",
                  {"run", "file", "bytes", "log", "failed", "working_data", "retail_build"});
    }
    void runs()
    {
        const TEST_CASE one = current_case();
        SAMPLE sample;
        if (one.has("file"))
            sample.tree.write(one["file"], one.bytes("bytes"));
        QStringList log(QString::number(sample.run(one["run"])));
        const QStringList errors = sample.actions_in("gox_error.log");
        const QStringList warnings = sample.actions_in("gox_warnings.log");
        for (const QString& action : sample.actions_in("gox.log"))
            log.append((errors.contains(action) ? "!" : warnings.contains(action) ? "?" : "") + action);
        QString failed;
        for (const QString& action : errors)
            failed +=
                sample.log("gox_error.log").section(" / " + action + " ===\n", 1).section("\n\n=", 0, 0) +
                '\n';
        if (one.has("log"))
            GOX_COMPARE_TEXT(log.join('\n'), one["log"]);
        for (const char* folder : {"working_data", "retail_build"})
            if (one.has(folder))
                GOX_COMPARE_TEXT(sample.files_in(folder), one[folder]);
        GOX_COMPARE_TEXT(failed.trimmed(), one["failed"]);
        for (const char* empty :
             {"gox_startup_error.log", "gox_asset_graph_error.log", "gox_plugin_error.log"})
            QCOMPARE(sample.tree.read(QString("tool/") + empty), QByteArray());
    }

    // Packs of the same files are the same, wherever.
    void packs_come_out_alike()
    {
        SAMPLE sample, again;
        again.gox.extra.insert("TZ", "Asia/Tokyo");
        GOX_COMPARE_STATUS(sample.run("default"), 0, sample.gox);
        const mode_t former = umask(077);
        const int status = again.run("default");
        umask(former);
        GOX_COMPARE_STATUS(status, 0, again.gox);
        for (const QString& name : FILES::below(sample.tree.path("retail_build")))
            QCOMPARE(sample.tree.read("retail_build/" + name), again.tree.read("retail_build/" + name));
    }
};

QTEST_GUILESS_MAIN(TST_SAMPLE)
#include "tst_sample.moc"
