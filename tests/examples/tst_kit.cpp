#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include "tests/support/files.h"
#include "tests/support/scripted_scene.h"
#include "tests/support/watched_test.h"

namespace {

const int LIMIT = 200000; // milliseconds; a plugin is compiled

// The exit status; what it printed goes to `output`.
int execute(const QString& program, const QStringList& arguments, QByteArray& output)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    const bool has_ended = process.waitForFinished(LIMIT) && process.exitStatus() == QProcess::NormalExit;
    output = process.readAll();
    return has_ended ? process.exitCode() : -1;
}

int configure(const QString& source, const QString& build, const QString& kit, QByteArray& output)
{
    return execute("cmake",
                   {"-S", source, "-B", build, "-G", "Ninja", "-DCMAKE_PREFIX_PATH=" + kit,
                    "-DGOX_BUILD_TAG=" GOX_BUILD_TAG},
                   output);
}

} // namespace

/// The kit as an outside author gets it: installed to a folder of its own, and
/// packed.
class tst_kit : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QByteArray output;
        const QStringList install{"--install", GOX_BUILD_DIR, "--component", "sdk", "--prefix", m_kit};
        QVERIFY2(execute("cmake", install, output) == 0, output);
    }

    void minimal_plugin_needs_the_kit_alone()
    {
        // The example is copied away, so that nothing of the sources is above it.
        const QTemporaryDir folder;
        const QString source = folder.filePath("plugin"), build = folder.filePath("build");
        QByteArray output;
        QVERIFY2(execute("cp", {"-R", GOX_SOURCE_DIR "/examples/minimal-plugin", source}, output) == 0,
                 output);
        QVERIFY2(configure(source, build, m_kit, output) == 0, output);
        QVERIFY2(execute("cmake", {"--build", build}, output) == 0, output);

        SCRIPTED_SCENE scene;
        scene.tree.remove("tool/GOX_scripted." GOX_BUILD_TAG ".dll");
        const QString plugin = "GOX_minimal." GOX_BUILD_TAG ".dll";
        QVERIFY(QFile::copy(build + '/' + plugin, scene.tree.path("tool/" + plugin)));
        GOX_COMPARE_STATUS(scene.run(QByteArray()), 0, scene.gox);
        QCOMPARE(scene.tree.read("working_data/greeting.txt"), QByteArray("Hello!\n"));
        QCOMPARE(scene.tree.read("tool/gox_startup_error.log"), QByteArray());
    }

    void another_major_version_is_refused()
    {
        const QTemporaryDir folder;
        FILES::write(folder.filePath("CMakeLists.txt"), "cmake_minimum_required(VERSION 3.22)\n"
                                                        "project(p LANGUAGES CXX)\n"
                                                        "find_package(GOX 2.0 REQUIRED)\n");
        QByteArray output;
        QVERIFY(configure(folder.path(), folder.filePath("build"), m_kit, output) != 0);
        QVERIFY2(output.contains("version: 1.0.0"), output);
    }

    void packages()
    {
        if (QStandardPaths::findExecutable("dpkg-deb").isEmpty())
            GOX_SKIP("packages are made on Debian alone");
        const QTemporaryDir folder;
        QByteArray output;
        QVERIFY2(execute("cpack", {"--config", GOX_BUILD_DIR "/CPackConfig.cmake", "-B", folder.path()},
                         output) == 0,
                 output);
        const auto contents = [&](const QString& package) {
            QByteArray list;
            const QStringList found = QDir(folder.path()).entryList({package + "_*.deb"});
            if (found.size() == 1)
                execute("dpkg-deb", {"--contents", folder.filePath(found.first())}, list);
            return list;
        };
        const QByteArray program = contents("gox"), kit = contents("gox-sdk");
        QVERIFY2(program.contains("/gox/tool/gox." GOX_BUILD_TAG ".bin\n") &&
                     program.contains("/gox/tool/gox_layout." GOX_BUILD_TAG ".bin\n") &&
                     program.contains("/gox/tool/libgox_contracts.so\n") && !program.contains("/include/"),
                 program);
        QVERIFY2(kit.contains("/libgox_contracts.so\n") && kit.contains("/cmake/GOX/GOXPlugin.cmake\n") &&
                     kit.contains("/include/gox/session/file_entry.h\n") &&
                     !kit.contains("gox." GOX_BUILD_TAG),
                 kit);
    }

private:
    const QTemporaryDir m_folder;
    const QString m_kit = m_folder.filePath("kit");
};

QTEST_MAIN(tst_kit)
#include "tst_kit.moc"
