// The steps of the start-up and of the build on a real session, looked at from
// inside: what they leave in the file records and in the actions.

#include <QtTest/QtTest>

#include <QtCore/QSemaphore>
#include <QtWidgets/QDialog>

#include "session/file_entry.h"
#include "tests/session/step_scene.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/watched_test.h"

namespace {

QDateTime day(int number)
{
    return QDateTime(QDate(2020, 1, number), QTime(12, 0), Qt::UTC);
}

QStringList names(const QVector<ACTION_INTERFACE*>& actions)
{
    QStringList result;
    for (ACTION_INTERFACE* action : actions)
        result.append(action->display_text(true));
    return result;
}

} // namespace

class TST_SESSION_STEPS : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void losing_file_lends_its_date();
    void shadowing_files_can_be_deleted_data();
    void shadowing_files_can_be_deleted();
    void rule_files_leave_the_map();
    void virtual_files_against_files_on_disk();
    void files_and_actions_are_linked();
    void staleness_data();
    void staleness();
    void staleness_travels_along_the_collection();
    void intermediate_files_in_a_circle();
    void retail_actions_are_dropped();
    void dependencies_of_shared_files();
    void selection_data();
    void selection();
    void second_pass_builds_again();
    void targets_that_lie_elsewhere();
    void abort_from_the_windows_thread();
    void abort_during_pause();
    void checks_that_no_run_asks_for();
};

void TST_SESSION_STEPS::losing_file_lends_its_date()
{
    STEP_SCENE scene;
    scene.configuration.silent = true;
    scene.tree.write("raw_data/Units/a.txt", "new", day(1));
    scene.tree.write("old_raw_data/units/A.txt", "old", day(2));
    scene.session->directories = {PHYSICAL_PATH(scene.tree.path("raw_data")),
                                  PHYSICAL_PATH(scene.tree.path("old_raw_data"))}; // the winner first
    QTextStream log(&scene.log_text);
    QVERIFY(scene.session->scan_local_files(log));
    const FILE_ENTRY* const file = scene.file("<raw>/units/a.txt");
    QVERIFY(file);
    QCOMPARE(static_cast<const QString&>(file->physical), scene.tree.path("raw_data/Units/a.txt"));
    QCOMPARE(file->local_time, day(2));
    QCOMPARE(file->local_state, int(FILE_STATE_NO_PERFORCE));
    QCOMPARE(scene.session->file_map.value(LOGICAL_PATH("<raw>/units/a.txt")), file);
}

void TST_SESSION_STEPS::shadowing_files_can_be_deleted_data()
{
    QTest::addColumn<bool>("silent");
    QTest::addColumn<int>("dialogs");
    QTest::addColumn<bool>("accepts");
    QTest::newRow("silent: not asked") << true << 0 << false;
    QTest::newRow("deleted") << false << 1 << true;
    QTest::newRow("skipped") << false << 1 << false;
}

void TST_SESSION_STEPS::shadowing_files_can_be_deleted()
{
    QFETCH(bool, silent);
    QFETCH(int, dialogs);
    QFETCH(bool, accepts);
    STEP_SCENE scene;
    scene.configuration.silent = silent;
    scene.tree.write("raw_data/a.txt", "new");
    scene.tree.write("old_raw_data/a.txt", "old");
    scene.tree.write("raw_data/b.txt", "alone");
    DIALOG_ANSWERS answers;
    if (dialogs)
        answers.answer_with([&](QDialog* dialog) {
            QTest::mouseClick(dialog->findChild<QWidget*>(accepts ? "accept_button" : "reject_button"),
                              Qt::LeftButton);
        });
    QVERIFY(scene.start_up());
    QCOMPARE(answers.texts.size(), dialogs);
    QCOMPARE(answers.unexpected, 0);
    QCOMPARE(scene.tree.exists("raw_data/a.txt"), !accepts);
    QVERIFY(scene.tree.exists("old_raw_data/a.txt"));
    QCOMPARE(static_cast<const QString&>(scene.file("<raw>/a.txt")->physical),
             scene.tree.path("raw_data/a.txt"));
}

void TST_SESSION_STEPS::rule_files_leave_the_map()
{
    STEP_SCENE scene;
    const QByteArray rules =
        R"(<rules version="1"><rule name="Kind"><property name="P">1</property></rule></rules>)";
    for (const char* path : {"raw_data/rules.gox", "raw_data/unit/rules.gox", "retail_build/x/rules.gox"})
        scene.tree.write(path, rules);
    scene.tree.write("raw_data/unit/other_rules.gox", rules);
    scene.tree.write("raw_data/unit/broken/rules.gox", "<rules");
    QVERIFY(scene.start_up());
    for (const char* key : {"<raw>/rules.gox", "<raw>/unit/rules.gox", "<raw>/unit/broken/rules.gox"}) {
        QVERIFY(!scene.session->file_map.contains(LOGICAL_PATH(key)));
        QVERIFY(scene.file(key));
    }
    QVERIFY(scene.session->file_map.contains(LOGICAL_PATH("<retail>/x/rules.gox")));
    QVERIFY(scene.session->file_map.contains(LOGICAL_PATH("<raw>/unit/other_rules.gox")));
    QCOMPARE(scene.session->rule_cache.rules.size(), 2);
}

void TST_SESSION_STEPS::virtual_files_against_files_on_disk()
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
    QVERIFY(!scene.file("<raw>/a.txt")->virtual_file);
    QCOMPARE(scene.file("<raw>/a.txt")->local_time, day(1));
    QVERIFY(scene.file("<raw>/b.txt")->virtual_file);
    QCOMPARE(scene.file("<raw>/b.txt")->local_time, day(9));
    // As it stands, and the first of two in one root stays.
    QCOMPARE(static_cast<const QString&>(scene.file("<raw>/dir/c.txt")->physical),
             scene.tree.path("raw_data/dir/C.txt"));
    QVERIFY(scene.file("<>"));
}

void TST_SESSION_STEPS::files_and_actions_are_linked()
{
    STEP_SCENE scene;
    scene.tree.write("raw_data/Dir/a.txt", "x");
    STEP_PROCESSOR* const first = scene.add_processor("first");
    STEP_PROCESSOR* const second = scene.add_processor("second");
    STEP_ACTION* const a = first->add("a");
    a->reads = QStringList{"<raw>/dir/a.txt", "<raw>/dir/missing.txt", "<raw>/dir/a.txt"};
    a->writes("<raw>/dir/sub/new.txt", true);
    STEP_ACTION* const b = second->add("b");
    b->writes("<raw>/dir/sub/new.txt", false, true);
    STEP_ACTION* const c = second->add("c");
    c->writes("<raw>/dir/sub/new.txt");
    QVERIFY(scene.start_up());
    QCOMPARE(first->files_seen, 1);
    QCOMPARE(second->files_seen, 2); // the target of the first
    FILE_ENTRY* const input = scene.file("<raw>/dir/a.txt");
    FILE_ENTRY* const target = scene.file("<raw>/dir/sub/new.txt");
    QCOMPARE(a->input_files, (QVector<FILE_ENTRY*>{input, input}));
    QCOMPARE(names(input->consumers), QStringList({"a", "a"}));
    QCOMPARE(names(target->providers), QStringList({"a", "b", "c"}));
    QCOMPARE(target->main_provider, c);
    QVERIFY(!target->intermediate);
    QCOMPARE(static_cast<const QString&>(target->physical), scene.tree.path("raw_data/Dir/sub/new.txt"));
    QCOMPARE(static_cast<const QString&>(a->target_files.value(target)),
             scene.tree.path("raw_data/dir/sub/new.txt"));
    QCOMPARE(a->processor, first);
    QCOMPARE(names(scene.session->actions), QStringList({"a", "b", "c"}));
    QCOMPARE(scene.splash_text, QStringLiteral("Collecting actions and affected files...\n2/2 second"));
}

void TST_SESSION_STEPS::staleness_data()
{
    QTest::addColumn<int>("source_day"); // 0: no such file
    QTest::addColumn<int>("target_day");
    QTest::addColumn<int>("stamp_day"); // 0: null
    QTest::addColumn<bool>("stale");
    QTest::newRow("target is newer") << 1 << 2 << 0 << false;
    QTest::newRow("same time") << 2 << 2 << 0 << false;
    QTest::newRow("source is newer") << 3 << 2 << 0 << true;
    QTest::newRow("target is not on disk") << 1 << 0 << 0 << true;
    QTest::newRow("the action is newer") << 1 << 2 << 3 << true;
    QTest::newRow("the action is older") << 1 << 2 << 2 << false;
    QTest::newRow("no source and no stamp") << 0 << 2 << 0 << true;
    QTest::newRow("no source but a stamp") << 0 << 2 << 1 << false;
}

void TST_SESSION_STEPS::staleness()
{
    QFETCH(int, source_day);
    QFETCH(int, target_day);
    QFETCH(int, stamp_day);
    QFETCH(bool, stale);
    STEP_SCENE scene;
    if (source_day)
        scene.tree.write("raw_data/source", "x", day(source_day));
    if (target_day)
        scene.tree.write("working_data/target", "x", day(target_day));
    scene.tree.write("raw_data/epoch", "x", QDateTime::fromMSecsSinceEpoch(0, Qt::UTC));
    STEP_ACTION* const action = scene.add_processor("p")->add("a");
    action->reads = source_day ? QStringList{"<raw>/source", "<raw>/epoch"} : QStringList{"<raw>/source"};
    action->writes("<working>/target");
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

void TST_SESSION_STEPS::staleness_travels_along_the_collection()
{
    STEP_SCENE scene;
    scene.tree.write("raw_data/new", "x", day(9));
    scene.tree.write("working_data/middle", "x", day(5));
    scene.tree.write("working_data/last", "x", day(6));
    scene.tree.write("working_data/early", "x", day(6));
    STEP_PROCESSOR* const processor = scene.add_processor("p");
    STEP_ACTION* const early = processor->add("collected ahead of the provider");
    early->reads = QStringList{"<working>/middle"};
    early->writes("<working>/early");
    STEP_ACTION* const middle = processor->add("middle");
    middle->reads = QStringList{"<raw>/new"};
    middle->writes("<working>/middle");
    STEP_ACTION* const last = processor->add("last");
    last->reads = QStringList{"<working>/middle"};
    last->writes("<working>/last");
    QVERIFY(scene.start_up());
    QVERIFY(!scene.file("<working>/early")->out_of_date_target);
    QVERIFY(scene.file("<working>/middle")->out_of_date_target);
    QVERIFY(scene.file("<working>/last")->out_of_date_target);
    QVERIFY(scene.file("<working>/middle")->out_of_date_source);
}

void TST_SESSION_STEPS::intermediate_files_in_a_circle()
{
    STEP_SCENE scene;
    scene.tree.write("raw_data/source", "x", day(1));
    scene.tree.write("working_data/last", "x", day(2));
    STEP_PROCESSOR* const processor = scene.add_processor("p");
    STEP_ACTION* const one = processor->add("one");
    one->reads = QStringList{"<raw>/source", "<working>/b"};
    one->writes("<working>/a", true);
    STEP_ACTION* const two = processor->add("two");
    two->reads = QStringList{"<working>/a"};
    two->writes("<working>/b", true);
    STEP_ACTION* const last = processor->add("last");
    last->reads = QStringList{"<working>/b"};
    last->writes("<working>/last");
    QVERIFY(scene.start_up());
    QSet<FILE_ENTRY*> sources;
    BUILD_SESSION::find_sources(scene.file("<working>/b"), sources);
    QCOMPARE(sources, QSet<FILE_ENTRY*>{scene.file("<raw>/source")});
    QVERIFY(!scene.file("<working>/last")->out_of_date_target); // judged by what lies behind
}

void TST_SESSION_STEPS::retail_actions_are_dropped()
{
    STEP_SCENE scene;
    scene.configuration.retail = false;
    QStringList deleted;
    STEP_PROCESSOR* const processor = scene.add_processor("p");
    for (const char* name : {"r1", "w1", "r2", "r3", "w2"}) {
        STEP_ACTION* const action = processor->add(name);
        action->deleted = &deleted;
        action->writes(name[0] == 'r' ? "<retail>/" + action->name : "<working>/" + action->name);
    }
    processor->actions.append(nullptr);
    static_cast<STEP_ACTION*>(processor->actions[1])->add_dependency(*processor->actions[0], true);
    QVERIFY(scene.start_up());
    QCOMPARE(deleted, QStringList({"r1", "r2", "r3"}));
    QCOMPARE(names(scene.session->actions), QStringList({"w1", "w2"}));
    QVERIFY(!scene.file("<retail>/r1"));
    QVERIFY(scene.session->actions.first()->pulls.isEmpty());
    QVERIFY(scene.session->actions.first()->dependencies.isEmpty());
}

void TST_SESSION_STEPS::dependencies_of_shared_files()
{
    STEP_SCENE scene;
    STEP_PROCESSOR* const processor = scene.add_processor("p");
    STEP_ACTION* const second = processor->add("S");
    second->writes("<working>/f", false, true);
    second->writes("<working>/g", false, true);
    STEP_ACTION* const main_one = processor->add("M");
    main_one->writes("<working>/f");
    STEP_ACTION* const other = processor->add("O");
    other->writes("<working>/g", false, true);
    STEP_ACTION* const consumer = processor->add("C");
    consumer->reads = QStringList{"<working>/f", "<working>/own"};
    consumer->writes("<working>/own");
    // An input has to be known when its reader is collected.
    scene.tree.write("working_data/own", "x");
    QVERIFY(scene.start_up());
    QCOMPARE(names(second->dependencies), QStringList({"M"}));
    QCOMPARE(names(main_one->dependencies), QStringList());
    QCOMPARE(names(other->dependencies), QStringList());
    QCOMPARE(names(consumer->dependencies), QStringList({"S", "M"}));
}

void TST_SESSION_STEPS::selection_data()
{
    QTest::addColumn<QStringList>("providers");
    QTest::addColumn<QStringList>("consumers");
    QTest::addColumn<QStringList>("selected");
    QTest::newRow("everything") << QStringList() << QStringList() << QStringList{"a", "b", "none"};
    QTest::newRow("by target") << QStringList{"<working>/A*"} << QStringList() << QStringList{"a"};
    QTest::newRow("by input") << QStringList() << QStringList{".../b.txt"} << QStringList{"b"};
    QTest::newRow("lists add up") << QStringList{".../a.out"} << QStringList{".../b.txt"}
                                  << QStringList{"a", "b"};
    QTest::newRow("both take away") << QStringList{"-.../a.out"} << QStringList{"-.../c.txt"}
                                    << QStringList{"b", "none"};
    QTest::newRow("an input that is refused")
        << QStringList{"-.../c.out"} << QStringList{"-.../b.txt"} << QStringList{"a", "none"};
    QTest::newRow("one takes away") << QStringList{"-.../a.out"} << QStringList() << QStringList{"b"};
    QTest::newRow("nothing matches") << QStringList{"<raw>/x"} << QStringList() << QStringList();
}

void TST_SESSION_STEPS::selection()
{
    QFETCH(QStringList, providers);
    QFETCH(QStringList, consumers);
    QFETCH(QStringList, selected);
    STEP_SCENE scene;
    scene.configuration.selected_providers = providers;
    scene.configuration.selected_consumers = consumers;
    scene.tree.write("raw_data/Dir/A.txt", "x");
    scene.tree.write("raw_data/Dir/B.txt", "x");
    STEP_PROCESSOR* const processor = scene.add_processor("p");
    for (const char* name : {"a", "b"}) {
        STEP_ACTION* const action = processor->add(name);
        action->reads = QStringList{QStringLiteral("<raw>/dir/%1.txt").arg(name)};
        action->writes(QStringLiteral("<working>/%1.out").arg(name));
    }
    processor->add("none");
    QVERIFY(scene.start_up());
    for (int pass = 0; pass < 2; ++pass) { // what is selected is not selected twice
        scene.session->select_from_configuration();
        QStringList found;
        for (ACTION_INTERFACE* action : qAsConst(scene.session->actions)) {
            QVERIFY(action->selection_count <= 1);
            if (action->selection_count)
                found.append(action->display_text(true));
        }
        QCOMPARE(found, selected);
    }
}

void TST_SESSION_STEPS::second_pass_builds_again()
{
    STEP_SCENE scene;
    STEP_PROCESSOR* const processor = scene.add_processor("p");
    STEP_ACTION* const first = processor->add("first");
    STEP_ACTION* const second = processor->add("second");
    first->writes("<working>/x");
    second->reads = QStringList{"<working>/x"};
    int first_result = ACTION_FAILED;
    first->body = [&](STEP_ACTION&) { return first_result; };
    QVERIFY(scene.start_up());
    BUILD_SESSION& session = *scene.session;
    session.select_from_configuration();
    session.plan_build();
    QVERIFY(session.prepare_build(true));
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
    session.select_from_configuration();
    session.plan_build();
    QVERIFY(session.prepare_build(false));
    session.finish_build(true); // harmless on a thread that has ended, and may come too early
    if (first->state == ACTION_NOT_RUN)
        return; // it came ahead of the first action
    QCOMPARE(first->state, int(ACTION_SUCCEEDED));
    QCOMPARE(first->runs, 2);
}

void TST_SESSION_STEPS::targets_that_lie_elsewhere()
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
        return 2;
    };
    QVERIFY(scene.start_up());
    FILE_ENTRY* const file = scene.file("<raw>/dir/a.txt");
    QCOMPARE(static_cast<const QString&>(file->physical), scene.tree.path("old_raw_data/Dir/a.txt"));
    scene.session->select_from_configuration();
    scene.session->plan_build();
    scene.session->prepare_build(false);
    scene.session->finish_build(false);
    QVERIFY(folder_exists);
    QCOMPARE(static_cast<const QString&>(file->physical), scene.tree.path("raw_data/DIR/a.txt"));
    QCOMPARE(file->local_state, int(FILE_STATE_MODIFIED));
    QCOMPARE(file->p4_state, int(FILE_STATE_NO_PERFORCE));
}

void TST_SESSION_STEPS::abort_from_the_windows_thread()
{
    STEP_SCENE scene;
    STEP_PROCESSOR* const processor = scene.add_processor("p");
    QSemaphore started;
    for (int i = 0; i < 5; ++i) {
        STEP_ACTION* const action = processor->add(QString::number(i));
        action->progress_total = 10;
        if (i == 2)
            action->body = [&](STEP_ACTION& self) {
                started.release();
                while (self.aborts.loadRelaxed() == 0)
                    QThread::usleep(100);
                return int(ACTION_FAILED);
            };
    }
    QVERIFY(scene.start_up());
    scene.session->select_from_configuration();
    scene.session->plan_build();
    scene.session->prepare_build(false);
    started.acquire();
    scene.session->finish_build(true);
    QList<int> states;
    QList<int> progress;
    for (ACTION_INTERFACE* action : qAsConst(scene.session->selected_actions)) {
        states.append(action->state);
        progress.append(action->progress_current);
    }
    QCOMPARE(states, QList<int>({2, 2, 4, 0, 0}));
    QCOMPARE(progress, QList<int>({10, 10, 0, 0, 0}));
    QCOMPARE(static_cast<STEP_ACTION*>(scene.session->selected_actions[4])->aborts.loadRelaxed(), 1);
    QCOMPARE(static_cast<STEP_ACTION*>(scene.session->selected_actions[0])->aborts.loadRelaxed(), 0);
    QFile log(QCoreApplication::applicationDirPath() + "/gox.log");
    QVERIFY(log.open(QIODevice::ReadOnly));
    QCOMPARE(log.readAll().count("=== p / "), 3);
}

void TST_SESSION_STEPS::abort_during_pause()
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
    scene.session->select_from_configuration();
    scene.session->plan_build();
    scene.session->prepare_build(false);
    QVERIFY(!scene.session->wait(100)); // held ahead of the second action
    QCOMPARE(first->state, int(ACTION_SUCCEEDED));
    scene.session->finish_build(true);
    QCOMPARE(second->state, int(ACTION_NOT_RUN));
    QCOMPARE(second->runs, 0);
    QVERIFY(!scene.session->pause_flag);
}

void TST_SESSION_STEPS::checks_that_no_run_asks_for()
{
    STEP_SCENE scene;
    STEP_ACTION action("a");
    FILE_ENTRY edited, unknown;
    edited.physical = PHYSICAL_PATH("/x/edited");
    edited.local_state = FILE_STATE_MODIFIED;
    edited.p4_state = FILE_STATE_MODIFIED;
    unknown.physical = PHYSICAL_PATH("/x/unknown");
    unknown.local_state = FILE_STATE_NO_PERFORCE;
    action.input_files = {&unknown, &edited};
    DIALOG_ANSWERS answers;
    answers.press_default();
    QVERIFY(scene.session->check_edited_locally({&action}));
    QCOMPARE(
        answers.texts.last(),
        QStringLiteral(
            "The following files cannot be updated because of being edited locally:\n        /x/edited"));

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

QTEST_MAIN(TST_SESSION_STEPS)
#include "tst_session_steps.moc"
