#include <QtCore/QProcess>
#include <QtTest/QtTest>

#include "tests/support/cases.h"
#include "tests/support/files.h"
#include "tests/support/full_disk.h"
#include "tests/support/scripted_scene.h"
#include "tests/support/watched_test.h"

namespace {

const int LIMIT = 200000; // milliseconds; plugins are compiled
const QString KIT = GOX_KIT_DIR "/";

// What a program prints, and "failed" behind it when it does.
QByteArray printed_by(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    const bool has_ended = process.waitForFinished(LIMIT) && process.exitStatus() == QProcess::NormalExit;
    return process.readAll() + (has_ended && process.exitCode() == 0 ? "" : "failed");
}

} // namespace

/// The kit as an outside author gets it: installed to a folder of its own, and
/// packed.
class TST_KIT : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        run(GOX_SOURCE_DIR "/tests/examples/kit/lay-out-kit.sh", {GOX_BUILD_DIR, GOX_KIT_DIR, GOX_BUILD_TAG});
    }

    void minimal_plugin_needs_the_kit_alone()
    {
        SCRIPTED_SCENE scene;
        put_plugin("minimal", scene);
        scene.tree.write("old_working_data/greeting.txt", "shipped");
        GOX_COMPARE_STATUS(scene.run(QByteArray()), 0, scene.gox);
        QCOMPARE(scene.tree.read("working_data/greeting.txt"), QByteArray("Hello!\n"));
        QCOMPARE(scene.tree.read("old_working_data/greeting.txt"), QByteArray("shipped"));
        QCOMPARE(scene.tree.read("tool/gox_startup_error.log"), QByteArray());
    }

    void plugin_of_the_guide_does_what_it_says()
    {
        SCRIPTED_SCENE scene;
        put_plugin("notes", scene);
        scene.tree.write("old_working_data/notes/first.txt", "shipped");
        QStringList said;
        for (const QByteArray& note : {QByteArray(50, 'a'), QByteArray(50, 'a'), QByteArray(200, 'b')}) {
            scene.tree.write("raw_data/notes/First.txt", note,
                             note.size() == 50 ? FILES::hour(1) : QDateTime());
            GOX_COMPARE_STATUS(scene.run(QByteArray()), 0, scene.gox);
            const QString log = scene.tree.read("tool/gox.log");
            said.append(log.section("/ <raw>/notes/first.txt ===\n", 1).section('\n', 0, 0));
            said.append(scene.tree.read("working_data/notes/first.txt").left(3));
        }
        QCOMPARE(said.join(' '), QString("50 characters. AAA Up to date. AAA 200 characters. BBB"));
        QCOMPARE(scene.tree.read("old_working_data/notes/first.txt"), QByteArray("shipped"));
        scene.tree.write("raw_data/notes/First.txt", QByteArray(300, 'c'));
        {
            const FULL_DISK disk(true);
            GOX_COMPARE_STATUS(scene.gox.run({"--configuration=ci", "--dont_stop_on_error"}), 1, scene.gox);
        }
        QCOMPARE(scene.tree.read("working_data/notes/first.txt"), QByteArray(200, 'B'));
    }

    void another_major_version_is_refused()
    {
        FILES::write(KIT + "other/CMakeLists.txt", "cmake_minimum_required(VERSION 3.22)\n"
                                                   "project(p LANGUAGES NONE)\n"
                                                   "find_package(GOX 2.0 REQUIRED)\n");
        const QByteArray output = printed_by("cmake", {"-S", KIT + "other", "-B", KIT + "other/build", "-G",
                                                       "Ninja", "-DCMAKE_PREFIX_PATH=" + KIT + "kit"});
        QVERIFY2(output.contains("version: 1.0.0") && output.endsWith("failed"), output);
    }

    void packages()
    {
        if (QStandardPaths::findExecutable("dpkg-deb").isEmpty())
            GOX_SKIP("packages are made on Debian alone");
        // The library of the kit is that of the program's package, and so is what it needs.
        run("cpack", {"--config", GOX_BUILD_DIR "/CPackConfig.cmake", "-B", KIT + "packages", "-D",
                      "CPACK_DEBIAN_SDK_PACKAGE_SHLIBDEPS=OFF"});
        QString files;
        for (const QString package : {"gox", "gox-sdk"}) {
            const QString file = QDir(KIT + "packages").entryList({package + "_*.deb"}).join("several ");
            const QString list = printed_by("dpkg-deb", {"--contents", KIT + "packages/" + file});
            for (const QString& line : list.split('\n').filter(QRegularExpression("^-(?!.*gox_targets-)")))
                files +=
                    package + ": " + line.section("./", -1).replace("." GOX_BUILD_TAG ".", ".TAG.") + '\n';
        }
        GOX_COMPARE_TEXT(files, FILES::bytes(GOX_SOURCE_DIR "/tests/examples/packages.txt"));
    }

private:
    static void run(const QString& program, const QStringList& arguments)
    {
        const QByteArray output = printed_by(program, arguments);
        QVERIFY2(!output.endsWith("failed"), output);
    }

    // Into the scene in place of its own.
    static void put_plugin(const QString& name, const SCRIPTED_SCENE& scene)
    {
        const QString file = "GOX_" + name + "." GOX_BUILD_TAG ".dll";
        scene.tree.remove("tool/GOX_scripted." GOX_BUILD_TAG ".dll");
        QVERIFY(QFile::copy(KIT + "build/" + file, scene.tree.path("tool/" + file)));
    }
};

QTEST_MAIN(TST_KIT)
#include "tst_kit.moc"
