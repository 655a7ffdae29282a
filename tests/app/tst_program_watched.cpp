#include <QtTest/QtTest>

#include "app/program_options.h"
#include "tests/support/cases.h"
#include "tests/support/scripted_scene.h"
#include "tests/support/virtual_display.h"
#include "tests/support/watched_test.h"

/// What the program makes of its command line, and what a person at a display sees
/// of a run.
class TST_PROGRAM_WATCHED : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void command_lines_data()
    {
        add_cases("app/command_lines.cases", {"arguments", "parsed", "errors", "help"});
    }
    void command_lines()
    {
        const TEST_CASE one = current_case();
        QList<QByteArray> arguments{"gox"};
        for (const QString& argument : one.lines("arguments"))
            arguments.append(argument.toLocal8Bit());
        QVector<char*> argv;
        for (QByteArray& argument : arguments)
            argv.append(argument.data());
        COMMAND_LINE_OPTIONS options(program_options()), options_of_nobody;
        QStringList errors, found, none;
        options.initialise(argv.size(), argv.data(), errors);
        for (auto option = options.get_all().cbegin(); option != options.get_all().cend(); ++option)
            found.append(option.key() + '=' + options.value(option.key()));
        GOX_COMPARE_TEXT(found.join('\n'), one["parsed"]);
        GOX_COMPARE_TEXT(errors.join('\n'), one["errors"]);
        if (one.has("help"))
            GOX_COMPARE_TEXT(help_text(), one["help"] + '\n');
        options_of_nobody.initialise(argv.size(), argv.data(), none);
        QVERIFY(!none.join('\n').contains("There is no option")); // to whom none is known
    }

    void runs_data()
    {
        add_cases("app/program_watched.cases", {"options", "set", "processors", "without", "files", "script",
                                                "choice", "plugins", "seen"});
    }
    void runs()
    {
        if (m_display.name().isEmpty() && !IS_WINDOWS)
            GOX_SKIP("no Xvfb");
        const TEST_CASE one = current_case();
        SCRIPTED_SCENE scene;
        scene.configuration.silent = one["set"].contains("silent");
        scene.configuration.load_asset_graph = one["set"].contains("load_asset_graph");
        scene.configuration.clean_asset_graph = one["set"].contains("clean_asset_graph");
        scene.configuration.processors = one.lines("processors").toVector();
        write_configuration(scene.tree, "ci", scene.configuration);
        for (const QString& file : one.lines("without"))
            scene.tree.remove(QString(file).replace("TAG", GOX_BUILD_TAG));
        for (const QString& file : one.lines("files"))
            scene.tree.write(file.section(' ', 0, 0), file.section(' ', 1).toUtf8());
        for (const QString& plugin : one.lines("plugins"))
            scene.tree.add_plugin(plugin);
        scene.tree.write_script(one.bytes("script"));
        const std::pair<const char*, QString> variables[] = {{"DISPLAY", m_display.name()},
                                                             {"QT_PLUGIN_PATH", GOX_QT_PLUGINS},
                                                             {"QT_QPA_GENERIC_PLUGINS", "gox_watcher"},
                                                             {"GOX_TEST_SEEN", scene.tree.path("seen.txt")},
                                                             {"GOX_TEST_CHOICE", one["choice"]}};
        for (const auto& [name, value] : variables)
            scene.gox.extra.insert(name, value);
        const int status = scene.gox.run(one["options"].split(' '));
        QStringList found;
        const auto note = [&](const char* source, const QByteArray& text) {
            for (QString line : QString::fromUtf8(text).split('\n', Qt::SkipEmptyParts))
                // Of a display without window manager, and of memory that is refused on purpose.
                if (!line.startsWith("qt.qpa.xcb: ") && !line.contains("AddressSanitizer failed to allocate"))
                    found.append(
                        source +
                        line.replace(scene.tree.path(), "TREE").replace("." GOX_BUILD_TAG ".", ".TAG."));
        };
        note("", scene.tree.read("seen.txt"));
        note("out: ", scene.gox.out);
        note("err: ", scene.gox.err);
        note("log: ", scene.tree.read("tool/gox_startup_error.log"));
        note("plugin log: ", scene.tree.read("tool/gox_plugin_error.log"));
        note("graph log: ", scene.tree.read("tool/gox_asset_graph_error.log").replace('\r', " CR"));
        found.append(QString("status %1").arg(status));
        GOX_COMPARE_TEXT(found.join('\n'), one["seen"]);
    }

private:
    VIRTUAL_DISPLAY m_display;
};

QTEST_GUILESS_MAIN(TST_PROGRAM_WATCHED)
#include "tst_program_watched.moc"
