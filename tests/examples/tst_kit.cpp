#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include "tests/support/files.h"
#include "tests/support/full_disk.h"
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
                    "-DGOX_BUILD_TAG=" GOX_BUILD_TAG, "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Werror"},
                   output);
}

// The files that a guide prints. A line such as "`notes_plugin.cpp`:" names the
// file that the fenced parts behind it make up.
QMap<QString, QByteArray> files_printed_in(const QString& guide)
{
    QMap<QString, QByteArray> files;
    QString file;
    bool is_inside = false;
    for (const QByteArray& line : FILES::bytes(guide).split('\n'))
        if (line.startsWith("```"))
            is_inside = !is_inside;
        else if (is_inside)
            files[file] += line + '\n';
        else if (line.startsWith('`') && line.endsWith("`:"))
            file = line.mid(1, line.size() - 3);
    return files;
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
        QByteArray output;
        QVERIFY2(execute("cp", {"-R", GOX_SOURCE_DIR "/examples/minimal-plugin", folder.filePath("plugin")},
                         output) == 0,
                 output);
        SCRIPTED_SCENE scene;
        scene.tree.write("old_working_data/greeting.txt", "shipped");
        build_plugin(folder, "minimal", scene);
        GOX_COMPARE_STATUS(scene.run(QByteArray()), 0, scene.gox);
        QCOMPARE(scene.tree.read("working_data/greeting.txt"), QByteArray("Hello!\n"));
        QCOMPARE(scene.tree.read("old_working_data/greeting.txt"), QByteArray("shipped"));
        QCOMPARE(scene.tree.read("tool/gox_startup_error.log"), QByteArray());
    }

    void plugin_of_the_guide_does_what_it_says()
    {
        const QTemporaryDir folder;
        const auto files = files_printed_in(m_kit + "/share/doc/gox-sdk/plugin-guide.md");
        for (auto file = files.cbegin(); file != files.cend(); ++file)
            FILES::write(folder.filePath("plugin/" + file.key()), *file);
        SCRIPTED_SCENE scene;
        scene.tree.write("old_working_data/notes/first.txt", "shipped");
        scene.tree.write("raw_data/notes/First.txt", QByteArray(50, 'a'), FILES::hour(1));
        build_plugin(folder, "notes", scene);
        const auto said = [&] { return scene.log().body("<raw>/notes/first.txt"); };
        const auto written = [&] { return scene.tree.read("working_data/notes/first.txt"); };

        GOX_COMPARE_STATUS(scene.run(QByteArray()), 0, scene.gox);
        QCOMPARE(written(), QByteArray(50, 'A'));
        QCOMPARE(scene.tree.read("old_working_data/notes/first.txt"), QByteArray("shipped"));
        QVERIFY2(said().startsWith("50 characters.\n"), qPrintable(said()));
        GOX_COMPARE_STATUS(scene.run(QByteArray()), 0, scene.gox);
        QVERIFY2(said().startsWith("Up to date.\n"), qPrintable(said()));

        scene.tree.write("raw_data/notes/First.txt", QByteArray(200, 'b'));
        {
            const FULL_DISK disk(true);
            GOX_COMPARE_STATUS(scene.gox.run({"--configuration=ci", "--dont_stop_on_error"}), 1, scene.gox);
        }
        QCOMPARE(written(), QByteArray(50, 'A'));
        GOX_COMPARE_STATUS(scene.run(QByteArray()), 0, scene.gox);
        QCOMPARE(written(), QByteArray(200, 'B'));
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
    // The project in "plugin" of the folder, into the scene in place of its own.
    void build_plugin(const QTemporaryDir& folder, const QString& name, const SCRIPTED_SCENE& scene) const
    {
        const QString build = folder.filePath("build");
        QByteArray output;
        QVERIFY2(configure(folder.filePath("plugin"), build, m_kit, output) == 0, output);
        QVERIFY2(execute("cmake", {"--build", build}, output) == 0, output);
        scene.tree.remove("tool/GOX_scripted." GOX_BUILD_TAG ".dll");
        const QString plugin = "GOX_" + name + "." GOX_BUILD_TAG ".dll";
        QVERIFY(QFile::copy(build + '/' + plugin, scene.tree.path("tool/" + plugin)));
    }

    const QTemporaryDir m_folder;
    const QString m_kit = m_folder.filePath("kit");
};

QTEST_MAIN(tst_kit)
#include "tst_kit.moc"
