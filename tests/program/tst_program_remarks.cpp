#include <QtCore/QRegularExpression>
#include <QtTest/QtTest>

#ifdef Q_OS_UNIX
#include <csignal>
#include <sys/stat.h>
#endif

#include "tests/support/rows.h"
#include "tests/support/scripted_scene.h"
#include "tests/support/watched_test.h"

namespace {

const char SCRIPT[] = "processor textures\naction a\nreads <raw>/a.png\nwrites <working>/a.tex\n";
const char PLUGIN[] = "GOX_%1." GOX_BUILD_TAG ".dll";

// What is not as it was meant in a tree that builds, and what the console says of
// it: "TREE" is the path of the tree, "*" any text.
struct FLAW
{
    const char* name;
    void (*prepare)(SCRIPTED_SCENE& scene);
    QStringList remarks;
    const char* script = SCRIPT;
};

void add_library(SCRIPTED_SCENE& scene, const char* name, const QByteArray& bytes)
{
    scene.tree.write(QStringLiteral("tool/") + QString(PLUGIN).arg(name), bytes);
}

void add_configuration(SCRIPTED_SCENE& scene, const QByteArray& elements)
{
    scene.tree.write("tool/GOX/odd_configuration.xml", "<configuration>\n<silent>true</silent>\n" + elements +
                                                           "<no_progress_dialog>true</no_progress_dialog>\n"
                                                           "</configuration>");
}

const FLAW FLAWS[] = {
    {"nothing",
     [](SCRIPTED_SCENE& scene) {
         scene.configuration.processors = {"textures"};
         scene.configuration.directories = {"..."};
         scene.configuration.selected_providers = QStringList{"<WORKING>/*.tex", "-<raw>/..."};
         scene.configuration.selected_consumers = QStringList{"<raw>/a.png"};
         add_library(scene, "CleanRetail", "junk with an excluded name");
     },
     {}},
    {"processors",
     [](SCRIPTED_SCENE& scene) {
         scene.configuration.processors = {"Texturse", "sounds", "sounds", "textures"};
     },
     {"There is no processor \"Texturse\", which the configuration names; did you mean \"textures\"?",
      "There is no processor \"sounds\", which the configuration names",
      "The configuration names the processor \"sounds\" twice."}},
    {"patterns",
     [](SCRIPTED_SCENE& scene) {
         scene.configuration.selected_providers =
             QStringList{"<working>/*.txe", " <working>/* ", "<raw>/..."};
         scene.configuration.selected_consumers = QStringList{"-", "- <raw>/b*", "<working>/a.tex"};
     },
     {"The entry \"<working>/*.txe\" of <selected_providers> matches no file.",
      "The entry \"<raw>/...\" of <selected_providers> matches files, but no action writes any of them.",
      "The entry \"-\" of <selected_consumers> matches no file, so it takes nothing away.",
      "The entry \"- <raw>/b*\" of <selected_consumers> matches no file, so it takes nothing away.",
      "The entry \"<working>/a.tex\" of <selected_consumers> matches files, but no action reads any of "
      "them."}},
    {"elements",
     [](SCRIPTED_SCENE& scene) {
         add_configuration(scene, "<of_tomorrow><silent>false</silent></of_tomorrow>\n<keepoutput/>\n"
                                  "<processors><procesor>x</procesor></processors>\n");
     },
     {"GOX/odd_configuration.xml:3:14: <of_tomorrow> is not known and is passed over",
      "GOX/odd_configuration.xml:4:14: <keepoutput> is not known and is passed over; did you mean "
      "<keep_output>?",
      "GOX/odd_configuration.xml:5:23: <procesor> is not known and is passed over; did you mean "
      "<processor>?"}},
    {"half a library",
     [](SCRIPTED_SCENE& scene) { add_library(scene, "half", "\177ELF\2\1\1"); },
     {"A library was not loaded: *TREE/tool/GOX_half.*"}},
    {"a library without permission",
     [](SCRIPTED_SCENE& scene) {
         add_library(scene, "mine", "x");
         scene.tree.open_to_everybody();
         scene.tree.set_permissions(QStringLiteral("tool/") + QString(PLUGIN).arg("mine"), 0);
         scene.gox.unprivileged = true;
     },
     {"A library was not loaded: *TREE/tool/GOX_mine.*ermission denied*"}},
    {"no plugin",
     [](SCRIPTED_SCENE& scene) { scene.tree.add_plugin("no_plugin"); },
     {"A library was not loaded: *TREE/tool/GOX_no_plugin.*"}},
    {"another interface",
     [](SCRIPTED_SCENE& scene) { scene.tree.add_plugin("odd_root"); },
     {"A library was not loaded: TREE/tool/GOX_odd_root.*: its root object is no PLUGIN_INTERFACE"}},
    {"another level",
     [](SCRIPTED_SCENE& scene) { scene.tree.add_plugin("other_level"); },
     {"A library was not loaded: Cannot load library TREE/tool/GOX_other_level.*: (*level 9999*"}},
    {"a link that leads nowhere",
     [](SCRIPTED_SCENE& scene) {
         QVERIFY(QFile::link("/nowhere/GOX_far.dll", scene.tree.path("tool/") + QString(PLUGIN).arg("far")));
     },
     {"A library was not loaded: TREE/tool/GOX_far.*: it is a link to /nowhere/GOX_far.dll, *"}},
    {"asset graph files of one name",
     [](SCRIPTED_SCENE& scene) {
         for (const char* file : {"raw_data/unit/a.agf", "working_data/Unit/A.agf", "raw_data/unit/b.agf"})
             scene.tree.write(file, "<agf/>");
         scene.tree.write("working_data/Unit/b.agf", "broken, so that the other one counts");
     },
     {"The assets of TREE/raw_data/unit/a.agf do not count: TREE/working_data/Unit/A.agf takes its place *",
      "The asset graph has * problem(s), see TREE/tool/gox_asset_graph_error.log"}},
    {"rule files",
     [](SCRIPTED_SCENE& scene) {
         scene.tree.write("raw_data/rules.gox", "<rules>\n<rule/></rules>");
         scene.configuration.global_rules = {"none.rules.gox"};
     },
     {"TREE/raw_data/rules.gox:2:8: <rule> needs a name",
      "TREE/tool/GOX/none.rules.gox: can't be opened: No such file or directory"}},
    {"a library that was copied",
     [](SCRIPTED_SCENE& scene) { scene.tree.add_plugin("scripted", QString(PLUGIN).arg("copy")); },
     {"There are two processors \"textures\", and both take part: "
      "TREE/tool/GOX_*.dll and TREE/tool/GOX_*.dll"}},
    {"two processors of one library",
     [](SCRIPTED_SCENE&) {},
     {"There are two processors \"p\", and both take part: twice in TREE/tool/GOX_scripted.*"},
     "processor p\nprocessor p\n"},
    {"null pointers",
     [](SCRIPTED_SCENE&) {},
     {"A processor that is null is passed over, from TREE/tool/GOX_scripted.*",
      "The processor \"p\" gave 1 action(s) that are null, which are passed over."},
     "processor null\nprocessor p\naction null\naction b\n"},
};

QString remarks_of(const SCRIPTED_SCENE& scene)
{
    QStringList remarks;
    for (const QString& line : QString::fromUtf8(scene.gox.out).split('\n'))
        if (line.startsWith(QLatin1String("Remark: ")))
            remarks.append(line.mid(8).replace(scene.tree.path(), QLatin1String("TREE")));
    return remarks.join('\n');
}

// The pattern is of as many lines as the text.
bool fits(const QString& text, const QString& pattern)
{
    const QString expression = QRegularExpression::escape(pattern).replace("\\*", "[^\\n]*");
    return QRegularExpression(QRegularExpression::anchoredPattern(expression)).match(text).hasMatch();
}

using FLAW_ROWS = ROWS<int>;
using TROUBLES = ROWS<QString, QString, QString, QString>; // file, bytes, current folder, standard error

} // namespace

/// What would otherwise be green by mistake: names that lead nowhere and files that
/// were passed over have a line each on the console of an unattended run.
class tst_program_remarks : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void remarks_data()
    {
        const FLAW_ROWS row;
        for (int i = 0; i < int(sizeof FLAWS / sizeof FLAWS[0]); ++i)
            row(FLAWS[i].name, i);
    }
    void remarks()
    {
        const auto [number] = FLAW_ROWS::values();
        const FLAW& flaw = FLAWS[number];
        SCRIPTED_SCENE scene("100%1 of %2%3%4"); // which is no place to fill in
        scene.configuration.load_asset_graph = true;
        scene.tree.write("raw_data/a.png", "x");
        flaw.prepare(scene);
        const bool is_odd = scene.tree.exists("tool/GOX/odd_configuration.xml");
        GOX_COMPARE_STATUS(scene.run(flaw.script, {is_odd ? "--configuration=odd" : "--offline"}), 0,
                           scene.gox);
        const QString remarks = remarks_of(scene);
        QVERIFY2(fits(remarks, flaw.remarks.join('\n')), scene.gox.report());
        const int count = flaw.remarks.size();
        const QByteArray counted =
            count ? "tarted with " + QByteArray::number(count) + " remark" : "succeeded";
        QVERIFY2(scene.gox.out.contains(counted), scene.gox.report());
    }

    void standard_error_data()
    {
        const TROUBLES row;
        const QString no_display =
            "There is no display to choose files on. Use a configuration that is silent.\n";
        row("default that can't be read", "tool/GOX/default_configuration.xml", "<configuration>\n<silent>",
            "tool",
            "The default configuration is left out: GOX/default_configuration.xml:2:9: Premature end of "
            "document.\n" +
                no_display);
        row("no default", "", "", "tool", no_display);
        row("no raw data", "-raw_data", "", "tool",
            "There is no data tree: the folder TREE/raw_data does not exist. *\n");
        row("another folder", "", "", "raw_data",
            "There is neither a folder GOX with configurations nor a plugin (GOX_*.dll) in TREE/raw_data. "
            "Start GOX in its tool folder, TREE/tool.\nGOX plugins could not be loaded for some reason!\n");
        // A text for the start-up log, and no log to put it in.
        row("a log that can't be opened", "tool/gox_startup_error.log/x", "", "raw_data/db",
            "There is neither *\nGOX plugins could not be loaded for some reason!\n");
    }
    // Without a display and without options, and nothing else on the console.
    void standard_error()
    {
        const auto [file, bytes, folder, text] = TROUBLES::values();
        SCRIPTED_SCENE scene;
        if (file.startsWith('-'))
            scene.tree.remove(file.mid(1));
        else if (!file.isEmpty())
            scene.tree.write(file, bytes.toUtf8());
        scene.gox.folder = folder;
        GOX_COMPARE_STATUS(scene.gox.run(), 1, scene.gox);
        const QString err = QString::fromUtf8(scene.gox.err).replace(scene.tree.path(), "TREE");
        QVERIFY2(fits(err, text), scene.gox.report());
    }

    void another_run_in_the_tree()
    {
#ifndef Q_OS_UNIX
        GOX_SKIP("a run can't be ended badly here");
#else
        const QByteArray endless = "trace trace.txt\nprocessor p\naction a\ntakes 600000\n";
        const QStringList options{"--configuration=ci", "--dont_stop_on_error"};
        SCRIPTED_SCENE scenes[2];
        for (SCRIPTED_SCENE& scene : scenes) {
            QVERIFY(scene.start(endless));
            QVERIFY2(scene.gox.wait_for_text(scene.tree.path("tool/trace.txt"), "execute"),
                     scene.gox.report());
        }
        const TEMPORARY_TREE& tree = scenes[0].tree;
        tree.write_script(SCRIPT);
        PROGRAM_RUN second(tree);
        const QByteArray lock = tree.read("tool/gox.lock");
        GOX_COMPARE_STATUS(second.run(options), 0, second);
        QVERIFY2(second.out.contains("Remark: Another GOX runs in this tree, process " +
                                     lock.split('\n').first() + ';'),
                 second.report());
        // A run that ended badly is in nobody's way, nor when its number is that of a
        // run elsewhere by now.
        scenes[0].gox.send_signal(SIGKILL);
        scenes[0].gox.wait();
        for (const QByteArray& left : {lock, scenes[1].tree.read("tool/gox.lock")}) {
            tree.write("tool/gox.lock", left);
            GOX_COMPARE_STATUS(second.run(options), 0, second);
            QVERIFY2(!second.out.contains("Remark: "), second.report());
            QVERIFY(!tree.exists("tool/gox.lock"));
        }
        QCOMPARE(::mkfifo(QFile::encodeName(tree.path("tool/gox.lock")), 0600), 0);
        GOX_COMPARE_STATUS(second.run(options), 0, second);
#endif
    }
};

QTEST_GUILESS_MAIN(tst_program_remarks)
#include "tst_program_remarks.moc"
