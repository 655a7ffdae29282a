#include <QtGui/QImage>
#include <QtTest/QtTest>

#include <memory>

#include "contracts/rules/rule_schema.h"
#include "examples/plugins/textures/textures_processor.h"
#include "session/file_entry.h"
#include "tests/session/step_scene.h"
#include "tests/support/cases.h"
#include "tests/support/watched_test.h"

/// The textures of a small tree, taken through the steps of a run.
class TST_TEXTURE_ACTION : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void init()
    {
        m_scene.reset(new STEP_SCENE);
        m_scene->configuration.processors = {"Textures"};
        m_scene->session->processors.append(&m_processor);
        QImage image(64, 16, QImage::Format_RGB32);
        image.fill(Qt::white);
        const TEMPORARY_TREE& tree = m_scene->tree;
        tree.make_folder("raw_data/textures/Wood");
        QVERIFY(image.save(tree.path("raw_data/textures/Wood/Oak.PNG"), "PNG"));
        for (const char* file : {"a.png", "textures.png", "textures/wood/notes.txt", "textures/wood/a.png/b"})
            tree.write(QString("raw_data/") + file, "x");
        tree.make_folder("working_data/Wood");
    }

    void rules_data() { add_cases("examples/texture_rules.cases", {"properties", "said", "fault"}); }
    void rules()
    {
        const TEST_CASE one = current_case();
        const QString fault = one["fault"];
        QCOMPARE(RULE_SCHEMA::s_schemas.value("texture")->properties.size(), 3);
        QByteArray rule = "<rules><rule name='Texture'>";
        for (const QByteArray& property : one.bytes("properties").split(','))
            if (!property.isEmpty())
                rule += "<property name='" + QByteArray(property).replace(":", "'>") + "</property>";
        m_scene->tree.write("raw_data/textures/rules.gox", rule + "</rule></rules>");
        ACTION_INTERFACE* const action = oak();
        const QString wrong = QString("The rule \"Texture\" of %1 has %2 is wanted.")
                                  .arg(m_scene->tree.path("raw_data/textures"), fault);
        QCOMPARE(action->preset_errors, fault.isEmpty() ? QStringList() : QStringList(wrong));
        if (!fault.isEmpty())
            return;
        QCOMPARE(run(action), one["said"] + '\n');
        QCOMPARE(action->progress_current, action->progress_total);
        QVERIFY(m_scene->tree.read("working_data/Wood/Oak.tex").startsWith("GTEX"));
    }

    // A configuration that names this processor alone scans what it asks for.
    void texture_is_found_up_to_date()
    {
        m_scene->add_processor("Packs")->add("pack", {"<working>/ruled/elm.tex"}, "<working>/elm.zip");
        const TEMPORARY_TREE& tree = m_scene->tree;
        FILES::set_time(tree.path("raw_data/textures/Wood/Oak.PNG"), FILES::hour(2));
        tree.write("raw_data/textures/Ruled/Elm.PNG", "picture", FILES::hour(2));
        tree.write("raw_data/textures/Ruled/rules.gox", "<rules/>", FILES::hour(4));
        tree.write("working_data/Wood/Oak.tex", "texture", FILES::hour(3));
        tree.write("working_data/Ruled/Elm.tex", "texture", FILES::hour(3));
        tree.write("working_data/elm.zip", "pack", FILES::hour(5));
        oak();
        QVERIFY(!m_scene->file("<working>/wood/oak.tex")->out_of_date_target);
        QVERIFY(m_scene->file("<working>/ruled/elm.tex")->out_of_date_target);
        QVERIFY(m_scene->file("<working>/elm.zip")->out_of_date_target); // though younger than the picture
        QCOMPARE(m_scene->session->actions.size(), 3);
    }

    void stopped_and_run_again()
    {
        ACTION_INTERFACE* const action = oak();
        QCOMPARE(action->display_text(true) + ' ' + action->display_text(false),
                 QString("<raw>/textures/wood/oak.png oak.png"));
        action->abort();
        QCOMPARE(run(action), QString("Stopped.\n! 4"));
        QCOMPARE(FILES::below(m_scene->tree.path("working_data")), QStringList());
        action->reset();
        QVERIFY(!run(action).contains('!'));
        m_scene->tree.remove("raw_data/textures/Wood/Oak.PNG");
        action->reset();
        GOX_COMPARE_TEXT(run(action),
                         m_scene->tree.path("raw_data/textures/Wood/Oak.PNG: it can't be opened: "
                                            "No such file or directory\n! 4"));
    }

    void cleanupTestCase()
    {
        qDeleteAll(RULE_SCHEMA::s_schemas);
        RULE_SCHEMA::s_schemas.clear();
    }

private:
    // The action of the picture that is one, after a start.
    ACTION_INTERFACE* oak()
    {
        m_scene->session->calculate_directories();
        return m_scene->start_up() ? m_scene->file("<working>/wood/oak.tex")->main_provider : nullptr;
    }

    // What it says, and what came out when that is not a success.
    QString run(ACTION_INTERFACE* action)
    {
        const int state = action->execute(m_scene->session->file_map, m_scene->session->rule_cache);
        return action->output + (state == ACTION_SUCCEEDED ? QString() : QString("! %1").arg(state));
    }

    std::unique_ptr<STEP_SCENE> m_scene;
    TEXTURES_PROCESSOR m_processor;
};

QTEST_MAIN(TST_TEXTURE_ACTION)
#include "tst_texture_action.moc"
