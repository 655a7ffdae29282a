#include <QtCore/QFileInfo>
#include <QtCore/QProcess>
#include <QtCore/QtEndian>
#include <QtTest/QtTest>

#include <zip.h>

#include <memory>

#include "tests/support/build_log.h"
#include "tests/support/files.h"
#include "tests/support/program_run.h"
#include "tests/support/rows.h"
#include "tests/support/temporary_tree.h"
#include "tests/support/watched_test.h"

namespace {

const int LAYING_OUT = 280000; // milliseconds; the plugins are compiled

struct PACKED_FILE
{
    QString name;
    QByteArray bytes;
};

// What a zip file holds, in its order; empty when it is none.
QVector<PACKED_FILE> unpack(const QString& path)
{
    QVector<PACKED_FILE> files;
    const std::unique_ptr<zip_t, decltype(&zip_discard)> archive(
        zip_open(path.toUtf8().constData(), ZIP_RDONLY | ZIP_CHECKCONS, nullptr), &zip_discard);
    for (zip_int64_t i = 0; archive && i < zip_get_num_entries(archive.get(), 0); ++i) {
        zip_stat_t stat;
        zip_stat_index(archive.get(), zip_uint64_t(i), 0, &stat);
        const std::unique_ptr<zip_file_t, decltype(&zip_fclose)> file(
            zip_fopen_index(archive.get(), zip_uint64_t(i), 0), &zip_fclose);
        QByteArray bytes(int(stat.size), '\0');
        if (!file || zip_fread(file.get(), bytes.data(), stat.size) != zip_int64_t(stat.size))
            return {};
        files.append({QString::fromUtf8(stat.name), bytes});
    }
    return files;
}

QStringList names_of(const QVector<PACKED_FILE>& files)
{
    QStringList names;
    for (const PACKED_FILE& file : files)
        names.append(file.name);
    return names;
}

// "64x32, 7 levels of format 2" when the sizes in the header agree with the file.
QString describe_texture(const QByteArray& bytes)
{
    if (bytes.size() < 32 || !bytes.startsWith("GTEX"))
        return QStringLiteral("no texture");
    if (qFromLittleEndian<quint64>(bytes.constData() + 24) != quint64(bytes.size() - 32))
        return QStringLiteral("of the wrong size");
    return QStringLiteral("%1x%2, %3 level(s) of format %4")
        .arg(qFromLittleEndian<quint32>(bytes.constData() + 8))
        .arg(qFromLittleEndian<quint32>(bytes.constData() + 12))
        .arg(qFromLittleEndian<quint32>(bytes.constData() + 16))
        .arg(qFromLittleEndian<quint16>(bytes.constData() + 6));
}

// A fresh copy of the sample's tree and a run of the program in it.
struct SAMPLE
{
    SAMPLE()
    {
        QProcess::execute(QStringLiteral("cp"),
                          {"-R", QStringLiteral(GOX_SAMPLE_DIR "/tree/."), tree.path()});
        gox.plain_locale = true;
    }

    int run(const QString& configuration)
    {
        return gox.run({"--configuration=" + configuration, QStringLiteral("--dont_stop_on_error")});
    }
    BUILD_LOG log(const char* name) const { return BUILD_LOG(tree.read(QStringLiteral("tool/") + name)); }
    QVector<PACKED_FILE> pack(const QString& name) const
    {
        return unpack(tree.path(QStringLiteral("retail_build/") + name));
    }

    TEMPORARY_TREE tree;
    PROGRAM_RUN gox{tree};
};

} // namespace

// file, its bytes, the action that fails, the beginning of its words
using FAULTS = ROWS<QString, QByteArray, QString, QString>;

class tst_sample : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QProcess script;
        script.setProcessChannelMode(QProcess::MergedChannels);
        script.start(QStringLiteral(GOX_SOURCE_DIR "/scripts/lay-out-sample.sh"),
                     {QStringLiteral(GOX_BUILD_DIR), QStringLiteral(GOX_SAMPLE_DIR)});
        QVERIFY(script.waitForFinished(LAYING_OUT));
        QVERIFY2(script.exitCode() == 0, script.readAll().constData());
    }

    void default_run_writes_textures_and_packs()
    {
        SAMPLE sample;
        GOX_COMPARE_STATUS(sample.run(QStringLiteral("default")), 0, sample.gox);

        const QStringList textures = {"terrain/Cliffs/Granite.tex",
                                      "terrain/Cliffs/Höhle.tex",
                                      "terrain/Dirt.tex",
                                      "terrain/Grass.tex",
                                      "terrain/Moss.tex",
                                      "ui/Cursor.tex",
                                      "ui/Frame.tex",
                                      "ui/Portrait.tex",
                                      "units/Archer.tex",
                                      "units/Banner.tex",
                                      "units/Knight.tex"};
        const QStringList texts = {"texts/deutsch.txt", "texts/english.txt"};
        QStringList expected = textures + texts;
        expected.sort();
        QCOMPARE(FILES::below(sample.tree.path("working_data")), expected);
        QCOMPARE(FILES::below(sample.tree.path("retail_build")),
                 (QStringList{"terrain.zip", "texts.zip", "ui.zip", "units.zip"}));

        QCOMPARE(sample.log("gox.log").count, 15);
        QCOMPARE(sample.log("gox_warnings.log").actions(), QStringList{"<raw>/textures/units/banner.tga"});
        for (const char* empty :
             {"tool/gox_error.log", "tool/gox_startup_error.log", "tool/gox_asset_graph_error.log"})
            QCOMPARE(sample.tree.read(empty), QByteArray());

        const auto texture = [&](const char* name) { return describe_texture(sample.tree.read(name)); };
        QCOMPARE(texture("working_data/terrain/Grass.tex"), QStringLiteral("64x64, 7 level(s) of format 2"));
        QCOMPARE(texture("working_data/ui/Frame.tex"), QStringLiteral("8x8, 1 level(s) of format 1"));
        QCOMPARE(texture("working_data/ui/Portrait.tex"), QStringLiteral("128x128, 8 level(s) of format 1"));
        QCOMPARE(texture("working_data/units/Banner.tex"), QStringLiteral("48x96, 7 level(s) of format 1"));

        const QVector<PACKED_FILE> terrain = sample.pack("terrain.zip");
        QCOMPARE(names_of(terrain),
                 (QStringList{"contents.txt", "terrain/cliffs/granite.tex", "terrain/cliffs/höhle.tex",
                              "terrain/dirt.tex", "terrain/grass.tex", "terrain/moss.tex"}));
        QVERIFY2(terrain.first().bytes.contains("terrain/grass.tex\tMeadow\n"),
                 terrain.first().bytes.constData());
        QCOMPARE(terrain.at(4).bytes, sample.tree.read("working_data/terrain/Grass.tex"));
        // The actions of a pack run together.
        const QStringList actions = sample.log("gox.log").actions();
        const int pack = actions.indexOf("<retail>/terrain.zip");
        QCOMPARE(actions.mid(pack - 5, 5).filter("<raw>/textures/terrain/").size(), 5);
        // The banner of the units uses a picture of the user interface.
        QVERIFY(names_of(sample.pack("units.zip")).contains("ui/frame.tex"));
        // Packs of the same files are the same, wherever.
        SAMPLE again;
        again.gox.extra.insert(QStringLiteral("TZ"), QStringLiteral("Asia/Tokyo"));
        GOX_COMPARE_STATUS(again.run(QStringLiteral("default")), 0, again.gox);
        for (const QString& name : FILES::below(sample.tree.path("retail_build")))
            QVERIFY2(sample.tree.read("retail_build/" + name) == again.tree.read("retail_build/" + name),
                     qPrintable(name));
    }

    void broken_picture_fails_its_pack_alone()
    {
        SAMPLE sample;
        GOX_COMPARE_STATUS(sample.run(QStringLiteral("failing")), 1, sample.gox);
        const BUILD_LOG errors = sample.log("gox_error.log");
        QCOMPARE(errors.actions(), QStringList{"<raw>/textures/drafts/broken.png"});
        const QString reason = errors.body("<raw>/textures/drafts/broken.png");
        QVERIFY2(reason.contains("raw_data/textures/drafts/Broken.png: its pixels can't be read"),
                 qPrintable(reason));
        QCOMPARE(
            sample.log("gox.log").body("<retail>/drafts.zip"),
            QStringLiteral("Some of its dependencies has failed:\n - <raw>/textures/drafts/broken.png\n"));
        QCOMPARE(FILES::below(sample.tree.path("working_data/drafts")), QStringList{"Dragon.tex"});
        QCOMPARE(FILES::below(sample.tree.path("retail_build")),
                 (QStringList{"terrain.zip", "texts.zip", "ui.zip", "units.zip"}));
    }

    void part_of_the_tree()
    {
        SAMPLE sample;
        GOX_COMPARE_STATUS(sample.run(QStringLiteral("nightly_textures")), 0, sample.gox);
        QCOMPARE(sample.log("gox.log").count, 8);
        QVERIFY(sample.tree.exists("working_data/terrain/Moss.tex"));
        QVERIFY(!sample.tree.exists("working_data/ui"));
        QCOMPARE(FILES::below(sample.tree.path("retail_build")), QStringList());
        QVERIFY(!sample.tree.exists("tool/gox_plugin_error.log"));
    }

    void faults_data()
    {
        const FAULTS row;
        row("rule without meaning", "raw_data/textures/units/rules.gox",
            "<rules version='1'><rule name='Texture' inherit='true'><files>knight.png</files>"
            "<property name='Maximum size'>huge</property></rule></rules>",
            "<raw>/textures/units/knight.png",
            "The rule \"Texture\" of %1/raw_data/textures/units has \"huge\" for \"Maximum size\"; a number "
            "from 1 to 16384 is wanted.\n");
        row("two pictures of one texture", "raw_data/textures/units/Knight.tga", "anything",
            "<raw>/textures/units/knight.tga",
            "<raw>/textures/units/knight.png and <raw>/textures/units/knight.tga would both become "
            "<working>/units/knight.tex; rename one of them.\n");
        row("pack that can't be written", "retail_build/ui.zip/in the way", "", "<retail>/ui.zip",
            "%1/retail_build/ui.zip: can't be written: it is a folder");
        row("broken table", "raw_data/db/packs.xml", "<table", "<retail>/ui.zip", "%1/raw_data/db/packs.xml");
    }
    // A file that is in the way, and what the action that meets it says. All that
    // does not need it is built.
    void faults()
    {
        const auto [file, bytes, action, reason] = FAULTS::values();
        SAMPLE sample;
        sample.tree.write(file, bytes);
        GOX_COMPARE_STATUS(sample.run(QStringLiteral("default")), 1, sample.gox);
        const QString told = sample.log("gox_error.log").body(action);
        const QString expected = QString(reason).replace("%1", sample.tree.path());
        QVERIFY2(expected.endsWith('\n') ? told == expected : told.contains(expected), qPrintable(told));
        QCOMPARE(sample.log("gox_error.log").actions().size(), file.endsWith(".xml") ? 4 : 1);
        QCOMPARE(sample.tree.read(file), bytes);
        QVERIFY(sample.tree.exists("working_data/ui/Frame.tex"));
    }
};

QTEST_GUILESS_MAIN(tst_sample)
#include "tst_sample.moc"
