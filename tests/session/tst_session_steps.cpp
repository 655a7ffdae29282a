// The steps of the start-up and of the build on a real session, looked at from
// inside: what they leave in the file records and in the actions.

#include <QtTest/QtTest>

#include <QtCore/QSemaphore>
#include <QtWidgets/QDialog>

#include "session/file_entry.h"
#include "tests/session/step_scene.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/rows.h"
#include "tests/support/watched_test.h"

namespace {

QDateTime day(int number)
{
    return QDateTime(QDate(2020, 1, number), QTime(12, 0), Qt::UTC);
}

QString names(const QVector<ACTION_INTERFACE*>& actions)
{
    QStringList result;
    for (ACTION_INTERFACE* action : actions)
        result.append(action->display_text(true));
    return result.join(' ');
}

QString place(const FILE_ENTRY* file)
{
    return file->physical;
}

using SHADOWS = ROWS<bool, int, bool>;
using STALENESS = ROWS<int, int, int, bool>;               // days of source, target and stamp, 0 for none
using SELECTION = ROWS<QStringList, QStringList, QString>; // providers, consumers, selected

} // namespace

class TST_SESSION_STEPS : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void losing_file_lends_its_date()
    {
        STEP_SCENE scene;
        scene.configuration.silent = true;
        scene.tree.write("raw_data/Units/a.txt", "new", day(1));
        scene.tree.write("old_raw_data/units/A.txt", "old", day(2));
        scene.tree.write("raw_data/two/B.txt", "x", day(1));
        scene.tree.write("raw_data/two/b.txt", "x", day(5)); // met second in the same root
        const bool case_counts = QDir(scene.tree.path("raw_data/two")).entryList(QDir::Files).size() == 2;
        const PHYSICAL_PATH winner(scene.tree.path("raw_data")), loser(scene.tree.path("old_raw_data"));
        for (const bool winner_first : {true, false}) {
            STEP_SCENE other;
            BUILD_SESSION& session = winner_first ? *scene.session : *other.session;
            PATHS::initialise(scene.tree.path("tool"));
            other.configuration.silent = true;
            session.directories = {winner_first ? winner : loser, winner_first ? loser : winner};
            QTextStream log(&scene.log_text);
            QVERIFY(session.scan_local_files(log));
            const FILE_ENTRY* const file = session.file_lookup.value(LOGICAL_PATH("<raw>/units/a.txt"));
            QCOMPARE(place(file), scene.tree.path("raw_data/Units/a.txt"));
            QCOMPARE(file->local_time, day(winner_first ? 2 : 1));
            QCOMPARE(file->local_state, int(FILE_STATE_NO_PERFORCE));
            QCOMPARE(session.file_map.value(LOGICAL_PATH("<raw>/units/a.txt")), file);
            const FILE_ENTRY* const two = session.file_lookup.value(LOGICAL_PATH("<raw>/two/b.txt"));
            if (case_counts)
                QVERIFY(place(two).endsWith("/B.txt") && two->local_time == day(5));
        }
    }

    void shadowing_files_can_be_deleted_data()
    {
        const SHADOWS row;
        row("silent: not asked", true, 0, false);
        row("deleted", false, 1, true);
        row("skipped", false, 1, false);
    }
    void shadowing_files_can_be_deleted()
    {
        const auto [silent, dialogs, accepts] = SHADOWS::values();
        STEP_SCENE scene;
        scene.configuration.silent = silent;
        scene.tree.write("raw_data/a.txt", "new");
        scene.tree.write("old_raw_data/a.txt", "old");
        scene.tree.write("raw_data/b.txt", "alone");
        DIALOG_ANSWERS answers;
        if (dialogs)
            answers.answer_with([button = accepts ? "accept_button" : "reject_button"](QDialog* dialog) {
                QTest::mouseClick(dialog->findChild<QWidget*>(button), Qt::LeftButton);
            });
        QVERIFY(scene.start_up());
        QCOMPARE(answers.texts.size(), dialogs);
        QCOMPARE(scene.tree.exists("raw_data/a.txt"), !accepts);
        QVERIFY(scene.tree.exists("old_raw_data/a.txt"));
        QCOMPARE(place(scene.file("<raw>/a.txt")), scene.tree.path("raw_data/a.txt"));
    }

    void rule_files_leave_the_map()
    {
        STEP_SCENE scene;
        const QByteArray rules =
            R"(<rules version="1"><rule name="Kind"><property name="P">1</property></rule></rules>)";
        for (const char* path : {"raw_data/rules.gox", "raw_data/unit/rules.gox", "retail_build/x/rules.gox",
                                 "raw_data/unit/other_rules.gox"})
            scene.tree.write(path, rules);
        scene.tree.write("raw_data/unit/broken/rules.gox", "<rules");
        QVERIFY(scene.start_up());
        for (const char* key : {"<raw>/rules.gox", "<raw>/unit/rules.gox", "<raw>/unit/broken/rules.gox"})
            QVERIFY(!scene.session->file_map.contains(LOGICAL_PATH(key)) && scene.file(key));
        QVERIFY(scene.session->file_map.contains(LOGICAL_PATH("<retail>/x/rules.gox")));
        QVERIFY(scene.session->file_map.contains(LOGICAL_PATH("<raw>/unit/other_rules.gox")));
        QCOMPARE(scene.session->rule_cache.rules.size(), 2);
    }

    void virtual_files_against_files_on_disk()
    {
        STEP_SCENE scene;
        scene.configuration.silent = true;
        scene.tree.write("raw_data/a.txt", "on disk", day(1));
        scene.tree.write("old_raw_data/b.txt", "on disk", day(1));
        STEP_PROCESSOR* const processor = scene.add_processor("p");
        for (const char* name : {"a.txt", "B.txt", "dir/C.txt", "DIR/c.TXT"})
            processor->virtual_files.append({PHYSICAL_PATH(scene.tree.path("raw_data/") + name), day(9)});
        processor->virtual_files.append({PHYSICAL_PATH(scene.tree.path("outside")), day(9)});
        QVERIFY(scene.start_up());
        const FILE_ENTRY& a = *scene.file("<raw>/a.txt");
        QVERIFY(!a.virtual_file && a.local_time == day(1));
        const FILE_ENTRY& b = *scene.file("<raw>/b.txt");
        QVERIFY(b.virtual_file && b.local_time == day(9));
        // As it stands, and the first of two in one root stays.
        QCOMPARE(place(scene.file("<raw>/dir/c.txt")), scene.tree.path("raw_data/dir/C.txt"));
        QVERIFY(scene.file("<>"));
    }

    void files_and_actions_are_linked()
    {
        STEP_SCENE scene;
        scene.tree.write("raw_data/Dir/a.txt", "x");
        STEP_PROCESSOR* const first = scene.add_processor("first");
        STEP_PROCESSOR* const second = scene.add_processor("second");
        STEP_ACTION* const a =
            first->add("a", {"<raw>/dir/a.txt", "<raw>/dir/missing.txt", "<raw>/dir/a.txt"});
        a->writes("<raw>/dir/sub/new.txt", true);
        second->add("b")->writes("<raw>/dir/sub/new.txt", false, true);
        STEP_ACTION* const c = second->add("c", {}, "<raw>/dir/sub/new.txt");
        QVERIFY(scene.start_up());
        QCOMPARE(first->files_seen, 1);
        QCOMPARE(second->files_seen, 2); // the target of the first
        FILE_ENTRY* const input = scene.file("<raw>/dir/a.txt");
        FILE_ENTRY* const target = scene.file("<raw>/dir/sub/new.txt");
        QCOMPARE(a->input_files, (QVector<FILE_ENTRY*>{input, input}));
        QCOMPARE(names(input->consumers), QString("a a"));
        QCOMPARE(names(target->providers), QString("a b c"));
        QCOMPARE(target->main_provider, c);
        QVERIFY(!target->intermediate);
        QCOMPARE(place(target), scene.tree.path("raw_data/Dir/sub/new.txt"));
        QCOMPARE(static_cast<const QString&>(a->target_files.value(target)),
                 scene.tree.path("raw_data/Dir/sub/new.txt"));
        QCOMPARE(a->processor, first);
        QCOMPARE(names(scene.session->actions), QString("a b c"));
        QCOMPARE(scene.splash_text, QString("Collecting actions and affected files...\n2/2 second"));
    }

    void staleness_data()
    {
        const STALENESS row;
        row("target is newer", 1, 2, 0, false);
        row("same time", 2, 2, 0, false);
        row("source is newer", 3, 2, 0, true);
        row("target is not on disk", 1, 0, 0, true);
        row("the action is newer", 1, 2, 3, true);
        row("the action is older", 1, 2, 2, false);
        row("no source and no stamp", 0, 2, 0, true);
        row("no source but a stamp", 0, 2, 1, false);
    }
    void staleness()
    {
        const auto [source_day, target_day, stamp_day, stale] = STALENESS::values();
        STEP_SCENE scene;
        if (source_day)
            scene.tree.write("raw_data/source", "x", day(source_day));
        if (target_day)
            scene.tree.write("working_data/target", "x", day(target_day));
        scene.tree.write("raw_data/epoch", "x", QDateTime::fromMSecsSinceEpoch(0, Qt::UTC));
        STEP_ACTION* const action = scene.add_processor("p")->add("a", {"<raw>/source"}, "<working>/target");
        if (source_day)
            action->reads.append("<raw>/epoch");
        if (stamp_day)
            action->stamp = day(stamp_day);
        QVERIFY(scene.start_up());
        const FILE_ENTRY* const target = scene.file("<working>/target");
        QCOMPARE(target->out_of_date_target, stale);
        QCOMPARE(target->out_of_date_target_latest, stale);
        QVERIFY(!target->out_of_date_source);
        if (source_day)
            QCOMPARE(scene.file("<raw>/source")->out_of_date_source, stale);
    }

    void staleness_travels_along_the_collection()
    {
        STEP_SCENE scene;
        scene.tree.write("raw_data/new", "x", day(9));
        for (const char* target : {"working_data/middle", "working_data/last", "working_data/early"})
            scene.tree.write(target, "x", day(6));
        STEP_PROCESSOR* const processor = scene.add_processor("p");
        processor->add("collected ahead of the provider", {"<working>/middle"}, "<working>/early");
        processor->add("middle", {"<raw>/new"}, "<working>/middle");
        processor->add("last", {"<working>/middle"}, "<working>/last");
        QVERIFY(scene.start_up());
        QVERIFY(!scene.file("<working>/early")->out_of_date_target);
        QVERIFY(scene.file("<working>/middle")->out_of_date_target);
        QVERIFY(scene.file("<working>/last")->out_of_date_target);
        QVERIFY(scene.file("<working>/middle")->out_of_date_source);
    }

    void intermediate_files_in_a_circle()
    {
        STEP_SCENE scene;
        scene.tree.write("raw_data/source", "x", day(1));
        scene.tree.write("working_data/last", "x", day(2));
        scene.tree.write("working_data/b", "x", day(3)); // younger than what is made from it
        STEP_PROCESSOR* const processor = scene.add_processor("p");
        processor->add("one", {"<raw>/source", "<working>/b"})->writes("<working>/a", true);
        processor->add("two", {"<working>/a"})->writes("<working>/b", true);
        processor->add("last", {"<working>/b"}, "<working>/last");
        QVERIFY(scene.start_up());
        QSet<FILE_ENTRY*> sources;
        BUILD_SESSION::find_sources(scene.file("<working>/b"), sources);
        QCOMPARE(sources, QSet<FILE_ENTRY*>{scene.file("<raw>/source")});
        QVERIFY(scene.file("<working>/b")->intermediate);
        QVERIFY(!scene.file("<working>/last")->out_of_date_target); // judged by what lies behind
    }

    void retail_actions_are_dropped()
    {
        STEP_SCENE scene;
        scene.configuration.retail = false;
        QStringList deleted;
        STEP_PROCESSOR* const processor = scene.add_processor("p");
        for (const char* name : {"r1", "w1", "r2", "r3", "w2"})
            processor->add(name, {}, (name[0] == 'r' ? "<retail>/" : "<working>/") + QString(name))->deleted =
                &deleted;
        STEP_ACTION* const earlier = new STEP_ACTION("e"); // of a processor that comes first
        scene.session->processors.prepend(new STEP_PROCESSOR("first"));
        static_cast<STEP_PROCESSOR*>(scene.session->processors[0])->actions.append(earlier);
        for (ACTION_INTERFACE* action : qAsConst(processor->actions)) {
            earlier->add_dependency(*action, true);
            action->add_dependency(*earlier, true);
        }
        processor->actions[1]->add_dependency(*processor->actions[0], true);
        processor->actions[2]->add_dependency(*processor->actions[3], true);
        earlier->all_dependencies = earlier->dependencies;
        processor->actions << nullptr << processor->actions[0];
        QVERIFY(scene.start_up());
        QCOMPARE(deleted, QStringList({"r1", "r2", "r3"}));
        QCOMPARE(names(scene.session->actions), QString("e w1 w2"));
        QVERIFY(!scene.file("<retail>/r1"));
        for (const auto& list :
             {earlier->dependencies, earlier->all_dependencies, earlier->pulls, earlier->pulled_by})
            QCOMPARE(names(list), QString("w1 w2"));
        const ACTION_INTERFACE* const kept = scene.session->actions[1];
        for (const auto& list : {kept->dependencies, kept->pulls, kept->pulled_by})
            QCOMPARE(names(list), QString("e"));
    }

    void dependencies_of_shared_files()
    {
        STEP_SCENE scene;
        STEP_PROCESSOR* const processor = scene.add_processor("p");
        STEP_ACTION* const second = processor->add("S");
        second->writes("<working>/f", false, true);
        second->writes("<working>/g", false, true);
        STEP_ACTION* const main_one = processor->add("M", {}, "<working>/f");
        STEP_ACTION* const other = processor->add("O");
        other->writes("<working>/g", false, true);
        STEP_ACTION* const consumer = processor->add("C", {"<working>/f", "<working>/own"}, "<working>/own");
        // An input has to be known when its reader is collected.
        scene.tree.write("working_data/own", "x");
        QVERIFY(scene.start_up());
        QCOMPARE(names(second->dependencies), QString("M"));
        QCOMPARE(names(main_one->dependencies) + names(other->dependencies), QString());
        QCOMPARE(names(consumer->dependencies), QString("S M"));
    }

    void selection_data()
    {
        const SELECTION row;
        row("everything", {}, {}, "a b none");
        row("by target", {"<WORKING>/A*"}, {}, "a");
        row("by input", {}, {".../b.txt"}, "b");
        row("lists add up", {".../a.out"}, {".../b.txt"}, "a b");
        row("both take away", {"-.../a.out"}, {"-.../c.txt"}, "b none");
        row("an input that is refused", {"-.../c.out"}, {"-.../b.txt"}, "a none");
        row("one takes away", {"-.../a.out"}, {}, "b");
        row("nothing matches", {"<raw>/x"}, {}, "");
    }
    void selection()
    {
        const auto [providers, consumers, selected] = SELECTION::values();
        STEP_SCENE scene;
        scene.configuration.selected_providers = providers;
        scene.configuration.selected_consumers = consumers;
        STEP_PROCESSOR* const processor = scene.add_processor("p");
        for (const char* name : {"a", "b"}) {
            scene.tree.write(QStringLiteral("raw_data/Dir/%1.TXT").arg(name), "x");
            processor->add(name, {QStringLiteral("<raw>/dir/%1.txt").arg(name)},
                           QStringLiteral("<working>/%1.out").arg(name));
        }
        processor->add("none");
        QVERIFY(scene.start_up());
        for (int pass = 0; pass < 2; ++pass) { // what is selected is not selected twice
            scene.session->select_from_configuration();
            QVector<ACTION_INTERFACE*> found;
            for (ACTION_INTERFACE* action : qAsConst(scene.session->actions))
                for (int count = 0; count < action->selection_count; ++count)
                    found.append(action);
            QCOMPARE(names(found), selected);
        }
    }

    void second_pass_builds_again()
    {
        STEP_SCENE scene;
        STEP_PROCESSOR* const processor = scene.add_processor("p");
        STEP_ACTION* const first = processor->add("first", {}, "<working>/x");
        STEP_ACTION* const second = processor->add("second", {"<working>/x"});
        int first_result = ACTION_FAILED;
        first->body = [&](STEP_ACTION&) { return first_result; };
        QVERIFY(scene.start_up());
        BUILD_SESSION& session = *scene.session;
        scene.begin_build(true);
        session.finish_build(false);
        QCOMPARE(first->state, int(ACTION_FAILED));
        QCOMPARE(second->state, int(ACTION_DEPENDENCY_FAILED));
        QCOMPARE(processor->finished_actions, 1);
        QVERIFY(second->output.contains("Some of its dependencies has failed:\n - first\n"));

        session.reset_for_more();
        QCOMPARE(session.selected_actions.size(), 2); // the plan stays until the next one
        QCOMPARE(second->state, int(ACTION_NOT_RUN));
        QCOMPARE(processor->finished_actions, 0);
        first_result = ACTION_SUCCEEDED;
        scene.begin_build();
        session.finish_build(true);         // harmless on a thread that has ended, and may come too early
        if (first->state == ACTION_NOT_RUN) // it came ahead of the first action
            return;
        QCOMPARE(first->state, int(ACTION_SUCCEEDED));
        QCOMPARE(first->runs, 2);
    }

    void targets_that_lie_elsewhere()
    {
        STEP_SCENE scene;
        scene.configuration.silent = true;
        scene.tree.write("old_raw_data/Dir/a.txt", "x");
        scene.tree.write("raw_data/DIR/b.txt", "x");
        STEP_ACTION* const action = scene.add_processor("p")->add("a");
        action->targets.append({PHYSICAL_PATH(scene.tree.path("raw_data/dir/a.txt")),
                                LOGICAL_PATH("<raw>/dir/a.txt"), false, false});
        action->writes("<working>/deep/er/x.txt", true);
        bool folder_exists = false;
        action->body = [&](STEP_ACTION&) {
            folder_exists = scene.tree.exists("working_data/deep/er");
            return int(ACTION_SUCCEEDED);
        };
        QVERIFY(scene.start_up());
        FILE_ENTRY* const file = scene.file("<raw>/dir/a.txt");
        QCOMPARE(place(file), scene.tree.path("old_raw_data/Dir/a.txt"));
        scene.begin_build();
        scene.session->finish_build(false);
        QVERIFY(folder_exists);
        QCOMPARE(place(file), scene.tree.path("raw_data/DIR/a.txt"));
        QCOMPARE(file->local_state, int(FILE_STATE_MODIFIED));
        QCOMPARE(file->p4_state, int(FILE_STATE_NO_PERFORCE));
    }

    void abort_from_the_windows_thread()
    {
        STEP_SCENE scene;
        STEP_PROCESSOR* const processor = scene.add_processor("p");
        QSemaphore started;
        for (int i = 0; i < 5; ++i)
            processor->add(QString::number(i))->progress_total = 10;
        static_cast<STEP_ACTION*>(processor->actions[2])->body = [&](STEP_ACTION& self) {
            started.release();
            while (self.aborts.loadRelaxed() == 0)
                QThread::usleep(100);
            return int(ACTION_FAILED);
        };
        QVERIFY(scene.start_up());
        scene.begin_build();
        started.acquire();
        scene.session->finish_build(true);
        QStringList found; // state, progress, calls of abort
        for (ACTION_INTERFACE* action : qAsConst(scene.session->selected_actions))
            found.append(QStringLiteral("%1 %2 %3")
                             .arg(action->state)
                             .arg(action->progress_current)
                             .arg(static_cast<STEP_ACTION*>(action)->aborts.loadRelaxed()));
        QCOMPARE(found, QStringList({"2 10 0", "2 10 0", "4 0 1", "0 0 1", "0 0 1"}));
    }

    void abort_during_pause()
    {
        STEP_SCENE scene;
        STEP_PROCESSOR* const processor = scene.add_processor("p");
        STEP_ACTION* const first = processor->add("first");
        STEP_ACTION* const second = processor->add("second");
        first->body = [&](STEP_ACTION&) {
            scene.session->pause_flag = true;
            return int(ACTION_SUCCEEDED);
        };
        QVERIFY(scene.start_up());
        scene.begin_build();
        QTRY_COMPARE_WITH_TIMEOUT(first->state, int(ACTION_SUCCEEDED), 60000);
        QVERIFY(!scene.session->wait(100)); // held ahead of the second action
        scene.session->finish_build(true);
        QCOMPARE(second->state, int(ACTION_NOT_RUN));
        QCOMPARE(second->runs, 0);
        QVERIFY(!scene.session->pause_flag);
    }

    void checks_that_no_run_asks_for()
    {
        STEP_SCENE scene;
        STEP_ACTION action("a");
        FILE_ENTRY edited, unknown;
        edited.physical = PHYSICAL_PATH("/x/edited");
        edited.local_state = edited.p4_state = FILE_STATE_MODIFIED;
        unknown.physical = PHYSICAL_PATH("/x/unknown");
        unknown.local_state = FILE_STATE_NO_PERFORCE;
        action.input_files = {&unknown, &edited};
        DIALOG_ANSWERS answers;
        answers.press_default();
        QVERIFY(scene.session->check_edited_locally({&action}));
        QCOMPARE(answers.texts.last(),
                 QString("The following files cannot be updated because of being edited "
                         "locally:\n        /x/edited"));
        QTextStream log(&scene.log_text);
        QVERIFY(scene.session->check_data_set(log));
        TEMPORARY_TREE other(QStringLiteral("OSTRAND and corvane"));
        QVERIFY(PATHS::initialise(other.path("tool")));
        answers.press_default();
        QVERIFY(!scene.session->check_data_set(log));
        log.flush();
        QCOMPARE(scene.log_text, "It seems you are trying to run GOX with Ostrand data (" +
                                     other.path("working_data") +
                                     ")\nWe are sorry but Ostrand data is not supported.");
        QCOMPARE(answers.texts.last(), scene.log_text);
        QCOMPARE(answers.unexpected, 0);
    }
};

QTEST_MAIN(TST_SESSION_STEPS)
#include "tst_session_steps.moc"
