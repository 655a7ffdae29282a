#include <QtGui/QImage>
#include <QtTest/QtTest>

#include <memory>

#include "contracts/paths/paths.h"
#include "contracts/rules/rule_schema.h"
#include "examples/plugins/textures/texture_action.h"
#include "examples/plugins/textures/textures_processor.h"
#include "session/file_entry.h"
#include "tests/contracts/rules/rule_cache_holder.h"
#include "tests/session/step_scene.h"
#include "tests/support/files.h"
#include "tests/support/temporary_tree.h"
#include "tests/support/watched_test.h"

// The one picture of a tree, and the action that the processor makes of it,
// taken through the calls of a run by hand.
class tst_texture_action : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void init()
    {
        m_tree.reset(new TEMPORARY_TREE);
        m_rules.reset(new RULE_CACHE_HOLDER);
        m_inputs.clear();
        m_targets.clear();
        m_tree->write("raw_data/textures/rules.gox",
                      "<rules><rule name='texture' inherit='true'><property name='mip "
                      "maps'>no</property></rule></rules>",
                      FILES::hour(3));
        m_tree->write("raw_data/textures/Wood/rules.gox",
                      "<rules><rule name='Texture' inherit='true'><property "
                      "name='Format'>grey8</property></rule></rules>",
                      FILES::hour(5));
        m_tree->write("tool/GOX/x.rules.gox", "<rules/>", FILES::hour(6));
        m_tree->make_folder("working_data/Wood");
        QImage image(64, 64, QImage::Format_RGB32);
        image.fill(Qt::white);
        QVERIFY(image.save(m_tree->path("raw_data/textures/Wood/Oak.PNG"), "PNG"));
        QVERIFY(PATHS::initialise(m_tree->path("tool")));
        QCOMPARE(m_rules->add(*m_tree, "raw_data/textures/rules.gox"), QString());
        QCOMPARE(m_rules->add(*m_tree, "raw_data/textures/Wood/rules.gox"), QString());
        QCOMPARE(m_rules->add_global(*m_tree, "tool/GOX/x.rules.gox"), QString());
        m_picture.physical = PHYSICAL_PATH(m_tree->path("raw_data/textures/Wood/Oak.PNG"));
        m_files = LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>();
        for (const char* name :
             {"<raw>/a.png", "<raw>/textures.png", "<raw>/textures/wood/notes.txt", "<working>/b.png"})
            m_files.insert(LOGICAL_PATH(name), &m_other);
        m_files.insert(LOGICAL_PATH("<raw>/textures/wood/oak.png"), &m_picture);

        const QVector<ACTION_INTERFACE*> actions = m_processor.collect_actions(m_files, m_rules->cache);
        QCOMPARE(actions.size(), 1);
        m_action.reset(actions.first());
        m_action->collect_files(m_inputs, m_targets, m_stamp, m_files, m_rules->cache);
        QCOMPARE(m_targets.size(), 1);
        m_texture.physical = m_targets.first().physical_path;
        m_action->input_files = {&m_picture};
        m_action->target_files = {{&m_texture, m_texture.physical}};
    }

    void processor_describes_its_rule()
    {
        QVERIFY(RULE_SCHEMA::s_schemas.contains("texture"));
        QCOMPARE(RULE_SCHEMA::s_schemas.value("texture")->properties.keys(),
                 (QStringList{"format", "maximum size", "mip maps"}));
    }

    void files_and_date()
    {
        QCOMPARE(m_inputs, QVector<LOGICAL_PATH>{LOGICAL_PATH("<raw>/textures/wood/oak.png")});
        QCOMPARE(QString(m_targets.first().logical_path), QStringLiteral("<working>/wood/oak.tex"));
        QCOMPARE(QString(m_texture.physical), m_tree->path("working_data/Wood/Oak.tex"));
        QCOMPARE(m_stamp, FILES::hour(6)); // of the newest of the rule files
    }

    // A configuration that names this processor alone scans what it asks for.
    void texture_is_found_up_to_date()
    {
        STEP_SCENE scene;
        scene.configuration.processors = {"Textures"};
        scene.session->processors.append(&m_processor);
        scene.add_processor("Packs")->add("pack", {"<working>/ruled/elm.tex"}, "<working>/elm.zip");
        scene.tree.write("raw_data/textures/Wood/Oak.PNG", "picture", FILES::hour(2));
        scene.tree.write("raw_data/textures/Ruled/Elm.PNG", "picture", FILES::hour(2));
        scene.tree.write("raw_data/textures/Ruled/rules.gox", "<rules/>", FILES::hour(4));
        scene.tree.write("working_data/Wood/Oak.tex", "texture", FILES::hour(3));
        scene.tree.write("working_data/Ruled/Elm.tex", "texture", FILES::hour(3));
        scene.tree.write("working_data/elm.zip", "pack", FILES::hour(5));
        scene.session->calculate_directories();
        QVERIFY(scene.start_up());
        QVERIFY(!scene.file("<working>/wood/oak.tex")->out_of_date_target);
        QVERIFY(scene.file("<working>/ruled/elm.tex")->out_of_date_target);
        QVERIFY(scene.file("<working>/elm.zip")->out_of_date_target); // though younger than the picture
    }

    void stopped_and_run_again()
    {
        m_action->abort();
        QCOMPARE(m_action->execute(m_files, m_rules->cache), int(ACTION_FAILED));
        QCOMPARE(m_action->output, QStringLiteral("Stopped.\n"));
        QCOMPARE(FILES::below(m_tree->path("working_data")), QStringList());

        m_action->reset();
        QCOMPARE(m_action->execute(m_files, m_rules->cache), int(ACTION_SUCCEEDED));
        QCOMPARE(m_action->output, QStringLiteral("64 x 64 pixels became 64 x 64 in 1 level(s) of grey8.\n"));
        QCOMPARE(m_action->progress_current, m_action->progress_total);
        QCOMPARE(m_tree->read("working_data/Wood/Oak.tex").size(), 32 + 64 * 64);
    }

    void picture_that_vanished()
    {
        m_tree->remove("raw_data/textures/Wood/Oak.PNG");
        QCOMPARE(m_action->execute(m_files, m_rules->cache), int(ACTION_FAILED));
        QCOMPARE(m_action->output,
                 QString(m_picture.physical + ": it can't be opened: No such file or directory\n"));
    }

    void cleanupTestCase()
    {
        qDeleteAll(RULE_SCHEMA::s_schemas);
        RULE_SCHEMA::s_schemas.clear();
    }

private:
    std::unique_ptr<TEMPORARY_TREE> m_tree;
    std::unique_ptr<RULE_CACHE_HOLDER> m_rules;
    TEXTURES_PROCESSOR m_processor;
    LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*> m_files;
    FILE_ENTRY m_picture;
    FILE_ENTRY m_other;
    FILE_ENTRY m_texture;
    std::unique_ptr<ACTION_INTERFACE> m_action;
    QVector<LOGICAL_PATH> m_inputs;
    QVector<ACTION_TARGET> m_targets;
    QDateTime m_stamp;
};

QTEST_MAIN(tst_texture_action)
#include "tst_texture_action.moc"
