// The steps from the folders to scan up to the dependencies: each scene is a data
// tree, and all that the session knows of it in the end.

#include <QtTest/QtTest>
#include <QtWidgets/QDialog>
#include <QtWidgets/QListWidget>

#include "contracts/services/satellite.h"
#include "contracts/services/user_settings.h"
#include "session/perforce_reading.h"
#include "settings/preferences_editor_dialog.h"
#include "tests/plugins/scripted_processor.h"
#include "tests/session/step_scene.h"
#include "tests/support/cases.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/noted.h"
#include "tests/support/p4_scene.h"
#include "tests/support/watched_test.h"
#include "tests/support/window_text.h"

namespace {

const char RULES[] = "<rules version='1'><rule name='Kind'><property name='P'>1</property></rule></rules>";

QDateTime day(int number)
{
    return QDateTime(QDate(2020, 1, 1), QTime(12, 0), Qt::UTC).addDays(number);
}

// "day 5"; times beyond the days of a test are now, those before in seconds of 1970.
QString time_text(const char* name, const QDateTime& time)
{
    const qint64 number = day(0).daysTo(time);
    const QString text = number < 0      ? QString("%1 s").arg(time.toSecsSinceEpoch())
                         : number > 1000 ? QString("now")
                                         : QString::number(number);
    return time.isNull() ? QString() : QString(", %1 %2").arg(name, text);
}

QString flag_text(const char* name, bool is_set)
{
    return is_set ? QString(", ") + name : QString();
}

// Most files have one byte.
QString size_text(const FILE_ENTRY& file)
{
    const bool is_scanned = !file.local_time.isNull() && !file.virtual_file;
    return file.local_size == (is_scanned ? 1 : -1) ? QString() : QString(", size %1").arg(file.local_size);
}

// Behind `name`, with "*" in front of `main_one`; empty for no actions.
QString actions_text(const char* name, const QVector<ACTION_INTERFACE*>& actions,
                     const ACTION_INTERFACE* main_one = nullptr)
{
    QString text;
    for (ACTION_INTERFACE* action : actions)
        text += QString(action == main_one ? " *" : " ") + action->display_text(false);
    return text.isEmpty() ? text : QString(", ") + name + text;
}

QString file_text(const LOGICAL_PATH& key, const FILE_ENTRY& file, bool is_in_map)
{
    const QString states = QString(", states %1 %2").arg(file.local_state).arg(file.p4_state);
    return key + ": " + file.physical + (states == ", states 4 4" ? "" : states) +
           time_text("day", file.local_time) + size_text(file) + time_text("have", file.have_time) +
           time_text("head", file.head_time) + flag_text("not in the map", !is_in_map) +
           flag_text("virtual", file.virtual_file) + flag_text("intermediate", file.intermediate) +
           flag_text("old target", file.out_of_date_target) +
           flag_text("old source", file.out_of_date_source) +
           flag_text("old latest target", file.out_of_date_target_latest) +
           flag_text("old latest source", file.out_of_date_source_latest) +
           actions_text("to", file.consumers) + actions_text("from", file.providers, file.main_provider);
}

QString action_text(ACTION_INTERFACE& action)
{
    QString text = action.processor->name() + " / " + action.display_text(false);
    for (const FILE_ENTRY* file : qAsConst(action.input_files))
        text += ", reads " + file->physical;
    QStringList targets;
    for (const PHYSICAL_PATH& target : qAsConst(action.target_files))
        targets.append(", writes " + target);
    targets.sort(); // they have no order of their own
    text += targets.join(QString());
    return text + actions_text("after", action.dependencies) + actions_text("pulls", action.pulls) +
           actions_text("pulled by", action.pulled_by) + flag_text("selected", action.selection_count == 1);
}

QString dialog_text(const QDialog& dialog)
{
    QString text = WINDOW_TEXT::form(dialog);
    const QListWidget& list = *dialog.findChild<QListWidget*>();
    for (int row = 0; row < list.count(); ++row)
        text += (list.item(row)->checkState() == Qt::Checked ? "\n[x] " : "\n[ ] ") + list.item(row)->text();
    return text;
}

void prepare(STEP_SCENE& scene, const TEST_CASE& one)
{
    for (const QString& file : one.lines("files")) {
        const int number = file.section(' ', 1).toInt();
        scene.tree.write(file.section(' ', 0, 0), file.endsWith(" rules") ? RULES : "x",
                         number ? day(number) : QDateTime());
    }
    const QString set = one["set"];
    scene.configuration.silent = set.contains("silent");
    scene.configuration.retail = !set.contains("no_retail");
    scene.configuration.processors = one.lines("processors").toVector();
    scene.configuration.directories = one.lines("directories").toVector();
    scene.configuration.selected_providers = one.lines("providers");
    scene.configuration.selected_consumers = one.lines("consumers");
    if (set.contains("dont_stop_on_error"))
        scene.give_option("--dont_stop_on_error");
    scene.session->processors = scripted_processors(
        SCRIPT::parse(one["script"].replace("TREE", scene.tree.path()), "script"), scene.tree.path("tool"));
    for (const QString& root : one.lines("roots"))
        scene.session->directories.append(PHYSICAL_PATH(scene.tree.path(root)));
    if (!one.has("roots"))
        scene.session->calculate_directories();
}

// What the client prints for "name=value name=value" a line, or for another line as
// it stands. "d5" is the time of a day.
QByteArray tagged(const QStringList& records)
{
    QByteArray output;
    for (const QString& record : records) {
        for (QString field : record.split(' ')) {
            const int equals = field.indexOf('=');
            if (field.startsWith("headTime=d"))
                field.replace(equals + 1, 3,
                              QString::number(day(field.mid(equals + 2).toInt()).toSecsSinceEpoch()));
            output += "out " + (equals < 0 ? field : "... " + field.replace(equals, 1, ' ')).toUtf8() + '\n';
        }
        output += "out \n";
    }
    return output;
}

// Reads what Perforce says of the files, in a depot whose server is an hour ahead of
// UTC. The error.
QString read_perforce(STEP_SCENE& scene, const QStringList& states, QByteArray history)
{
    const P4_SCENE client;
    client.answers("fstat", tagged(states));
    client.answers("info", "out ... serverDate 1970/01/01 12:00:00 +0100 CET");
    client.answers("filelog", "out " + history.replace("\n", "\nout ") + '\n');
    P4_CONNECTION p4(true, true, true);
    return scene.session->read_perforce_files(p4, {"//depot/game", scene.tree.path()}, {"//depot/game/..."});
}

QStringList state(STEP_SCENE& scene)
{
    const BUILD_SESSION& session = *scene.session;
    QList<LOGICAL_PATH> keys = session.file_lookup.keys();
    std::sort(keys.begin(), keys.end());
    QStringList lines;
    for (const LOGICAL_PATH& key : qAsConst(keys)) {
        const FILE_ENTRY* const file = session.file_lookup.value(key);
        lines.append(file_text(key, *file, session.file_map.value(key) == file));
    }
    for (ACTION_INTERFACE* action : session.actions)
        lines.append(action_text(*action));
    for (const QString& line : QString::fromUtf8(scene.tree.read("tool/trace.txt")).split('\n'))
        if (line.contains(" delete "))
            lines.append("deleted " + line.section(' ', -1));
    return lines;
}

// What is kept of the questions, and what else tells an action from others and from
// what it was.
QStringList notes(const BUILD_SESSION& session)
{
    LETTERS keys;
    QStringList lines;
    for (PROCESSOR_INTERFACE* processor : session.processors)
        if (session.processor_questions.contains(processor))
            lines.append(processor->name() + ": " + text_of(session.processor_questions[processor]));
    for (ACTION_INTERFACE* action : session.actions) {
        const ACTION_NOTES& notes = notes_of(*action);
        const bool has_stamp = notes.stamp != ACTION_NOTES::NO_STAMP;
        lines.append(action->processor->name() + " / " + action->display_text(false) + ": " +
                     (notes.key ? keys.of(QByteArray::number(notes.key)) : "no key") +
                     time_text("stamp", has_stamp ? QDateTime::fromMSecsSinceEpoch(notes.stamp, Qt::UTC)
                                                  : QDateTime()) +
                     (notes.asked ? ", " + text_of(*notes.asked) : QString()));
    }
    return lines;
}

QStringList folders(const BUILD_SESSION& session)
{
    QStringList lines, above;
    for (const QString& folder : session.directories)
        lines.append("scan " + folder);
    for (const QString& folder : session.parent_directories)
        above.append("above " + folder);
    above.sort();
    return lines + above;
}

} // namespace

class TST_SESSION_SCENES : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void init() { PERFORCE_READING::s_failed = false; }

    void scenes_data()
    {
        add_cases("session/session_scenes.cases",
                  {"files", "set", "processors", "directories", "roots", "script", "fstat", "filelog",
                   "error", "stored", "preferences", "providers", "consumers", "answer", "boxes", "folders",
                   "state", "left", "notes"});
    }
    void scenes()
    {
        const TEST_CASE one = current_case();
        for (const QString& line : one.lines("stored"))
            user_settings().setValue(line.section('=', 0, 0), line.section('=', 1));
        STEP_SCENE scene;
        const auto short_text = [&](QString text) { return text.remove(scene.tree.path() + '/'); };
        prepare(scene, one);
        QString boxes;
        DIALOG_ANSWERS answers;
        if (one.has("answer"))
            answers.answer_with([&](QDialog* dialog) {
                boxes = short_text(dialog_text(*dialog));
                dialog->findChild<QListWidget*>()->item(0)->setCheckState(Qt::Unchecked);
                QTest::mouseClick(dialog->findChild<QWidget*>(one["answer"]), Qt::LeftButton);
            });
        const QString root = scene.tree.path("working_data");
        SATELLITE::instance().add_path(root); // once more than it is fetched
        const bool has_files = scene.find_files();
        if (has_files) {
            if (one.has("fstat")) {
                const QString error = read_perforce(scene, one.lines("fstat"), one.bytes("filelog"));
                QVERIFY2(error.contains(one["error"]) && error.isEmpty() != one.has("error"),
                         qPrintable(error));
                QCOMPARE(PERFORCE_READING::s_failed, one.has("error"));
                QCOMPARE(read_perforce(scene, {}, {}),
                         one.has("error")
                             ? "An answer of Perforce made no sense before, so no more of them are read."
                             : QString());
            }
            scene.link_files();
            if (one.has("providers"))
                scene.begin_build();
            scene.session->finish_build(false);
        }
        QStringList found = !has_files         ? QStringList(scene.log_text)
                            : one.has("notes") ? notes(*scene.session)
                                               : state(scene);
        if (one.has("processors"))
            found = folders(*scene.session) + found;
        GOX_COMPARE_TEXT(short_text(found.join('\n')), one[one.has("notes") ? "notes" : "state"]);
        GOX_COMPARE_TEXT(boxes, one["boxes"]);
        if (one.has("preferences"))
            GOX_COMPARE_TEXT(WINDOW_TEXT::form(*scene.session->preferences), one["preferences"]);
        QCOMPARE(answers.unexpected, 0);
        if (one.has("left"))
            GOX_COMPARE_TEXT(FILES::below(scene.tree.path()).join('\n'), one["left"]);
        // A good scan has ended all walks; one that failed leaves what it announced.
        scene.tree.write("working_data/late", "x");
        QVector<DIRECTORY_SCANNER::FILE_INFO> files;
        QVERIFY(SATELLITE::instance().get_files(root, files));
        QCOMPARE(files.isEmpty(), !has_files);
    }

    // Plain texts are compared, so an input counts that no file stands for. Whoever
    // knew the dropped ones, or its own processor's, knows them no more.
    void retail_actions_are_dropped()
    {
        STEP_SCENE scene;
        scene.configuration.retail = false;
        STEP_ACTION* const earlier = scene.add_processor("first")->add("e", {}, "<working>/e");
        STEP_PROCESSOR* const processor = scene.add_processor("p");
        for (const char* name : {"r1", "w1", "r2", "r3", "w2"})
            processor->add(name, {scene.tree.path(name[0] == 'r' ? "RETAIL_build/x" : "retail_build2/x")},
                           QStringLiteral("<working>/") + name);
        for (ACTION_INTERFACE* action : qAsConst(processor->actions)) {
            earlier->add_dependency(*action, true);
            action->add_dependency(*earlier, true);
        }
        processor->actions[1]->add_dependency(*processor->actions[0], true);
        processor->actions[2]->add_dependency(*processor->actions[3], true);
        earlier->all_dependencies = earlier->dependencies;
        processor->actions << nullptr << processor->actions[0];
        QVERIFY(scene.start_up());
        QCOMPARE(processor->files_seen, 1); // of the processor ahead of it
        QVERIFY(!scene.file("<working>/r1"));
        QStringList texts;
        for (ACTION_INTERFACE* action : qAsConst(scene.session->actions))
            texts.append(action_text(*action).remove(scene.tree.path() + '/') +
                         actions_text("all", action->all_dependencies));
        QCOMPARE(
            texts.join('\n'),
            QString("first / e, writes working_data/e, after w1 w2, pulls w1 w2, pulled by w1 w2, all w1 w2\n"
                    "p / w1, writes working_data/w1, after e, pulls e, pulled by e\n"
                    "p / w2, writes working_data/w2, after e, pulls e, pulled by e"));
    }

    void specifications_name_roots_and_rule_files()
    {
        const PERFORCE_ROOTS roots{"//depot/game", "/w"};
        const QVector<PHYSICAL_PATH> directories{PHYSICAL_PATH("/w/raw_data/a#1"), PHYSICAL_PATH("/x")};
        const QSet<PHYSICAL_PATH> parents{PHYSICAL_PATH("/w"), PHYSICAL_PATH("/W/raw_data"),
                                          PHYSICAL_PATH("/")};
        QCOMPARE(perforce_specifications(directories, parents,
                                         [&](const PHYSICAL_PATH& path) { return roots.depot_path(path); }),
                 QStringList({"//depot/game/raw_data/a%231/...", "//depot/game/raw_data/rules.gox",
                              "//depot/game/rules.gox"}));
        STEP_SCENE scene;
        scene.session->directories = directories;
        scene.session->parent_directories = parents;
        QCOMPARE(scene.session->perforce_file_specifications(), QStringList());
    }

    void walks_without_the_scanner()
    {
        STEP_SCENE scene;
        scene.tree.write("old_raw_data/Unit/deep/er/a.txt", "a", day(1));
        scene.tree.write("raw_data/unit/deep/er/a.txt", "a", day(2));
        scene.tree.write("raw_data/unit/.hidden", "a", day(3));
        for (const auto& [target, link] :
             {std::pair("raw_data", "back"), {"nowhere", "dead"}, {"raw_data/unit/deep", "same"}})
            QFile::link(scene.tree.path(target), scene.tree.path("raw_data/unit/") + link);
        QStringList shadowing;
        for (const PHYSICAL_PATH& root : PATHS::all())
            scene.session->walk_local_files(root, shadowing);
        QCOMPARE(shadowing, QStringList(scene.tree.path("raw_data/unit/deep/er/a.txt")));
        QCOMPARE(state(scene).join('\n').remove(scene.tree.path() + '/'),
                 QString("<raw>/unit/.hidden: raw_data/unit/.hidden, day 3\n"
                         "<raw>/unit/deep/er/a.txt: raw_data/unit/deep/er/a.txt, day 2\n"
                         "<raw>/unit/same/er/a.txt: raw_data/unit/same/er/a.txt, day 2"));
    }
};

QTEST_MAIN(TST_SESSION_SCENES)
#include "tst_session_scenes.moc"
