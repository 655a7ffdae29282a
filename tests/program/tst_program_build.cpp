#include <QtTest/QtTest>
#include <QtWidgets/QDialog>

#include <unistd.h>

#include "execution/run_summary.h"
#include "session/run_report.h"
#include "session/start_up_hooks.h"
#include "tests/plugins/scripted_processor.h"
#include "tests/session/step_scene.h"
#include "tests/support/cases.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/watched_test.h"

namespace {

QString state_of(const BUILD_SESSION& session)
{
    QStringList lines;
    for (ACTION_INTERFACE* action : session.actions) {
        lines.append(QStringLiteral("%1 %2, %3 of %4:")
                         .arg(action->display_text(true))
                         .arg(action->state)
                         .arg(action->progress_current)
                         .arg(action->progress_total) +
                     QString(action->output).prepend(action->output.isEmpty() ? "" : " ").replace('\n', '/'));
        QStringList targets;
        for (auto file = action->target_files.cbegin(); file != action->target_files.cend(); ++file)
            targets.append(QStringLiteral("%1 %2 %3")
                               .arg(file.key()->physical)
                               .arg(file.key()->local_state)
                               .arg(file.key()->p4_state));
        targets.sort();
        lines += targets;
    }
    for (PROCESSOR_INTERFACE* processor : session.processors)
        lines.append(processor->name() + ' ' + QString::number(processor->finished_actions));
    lines.append(session.written_logs.join(' '));
    static const QRegularExpression ran(QStringLiteral("/={37}/Duration: \\d+ msec\\(s\\)/"));
    return lines.join('\n').replace(ran, QStringLiteral(" (ran)"));
}

/// What this process writes to a stream of its own, as long as it lives.
class CAUGHT_STREAM
{
public:
    explicit CAUGHT_STREAM(FILE* stream) : m_stream(stream)
    {
        std::fflush(stream);
        m_former = ::dup(::fileno(stream));
        if (!m_file.open() || ::dup2(m_file.handle(), ::fileno(stream)) < 0)
            qFatal("no file for a stream");
    }
    ~CAUGHT_STREAM()
    {
        ::dup2(m_former, ::fileno(m_stream));
        ::close(m_former);
    }
    QByteArray text() const { return FILES::bytes(m_file.fileName()); }

private:
    FILE* m_stream;
    int m_former;
    QTemporaryFile m_file;
};

/// Tells what is around it while it runs and in its review.
struct WITNESS : STEP_ACTION
{
    explicit WITNESS(const QString& name) : STEP_ACTION(name) {}
    int execute(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&, RULE_CACHE&) override
    {
        qWarning("of the run");
        review_needed = true;
        is_current = current_action == this && FW::fw_message_box_hook == startup_message_hook &&
                     state == ACTION_RUNNING;
        return ACTION_SUCCEEDED;
    }
    bool review_is_failure() override
    {
        qWarning("of the review");
        return false;
    }

    bool is_current = false;
};

/// Ends the build when its section is written.
struct LAST_WORD : STEP_ACTION
{
    explicit LAST_WORD(BUILD_SESSION* of) : STEP_ACTION("left"), session(of) {}
    QString display_text(bool long_form) override
    {
        if (state == ACTION_DEPENDENCY_FAILED)
            session->abort_flag = true;
        return STEP_ACTION::display_text(long_form);
    }

    BUILD_SESSION* session;
};

} // namespace

/// A build on a session, seen from inside, and what the console hears of it.
class TST_PROGRAM_BUILD : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void builds_data()
    {
        add_cases("program/inside.cases", {"script", "files", "output", "paused", "abort at", "passes",
                                           "providers", "consumers", "plan", "left"});
    }
    void builds()
    {
        const TEST_CASE one = current_case();
        STEP_SCENE scene;
        BUILD_SESSION& session = *scene.session;
        scene.configuration.keep_output = one["output"] != "dropped";
        scene.configuration.selected_providers = one.lines("providers");
        scene.configuration.selected_consumers = one.lines("consumers");
        for (const QString& file : one.lines("files"))
            scene.tree.write(file, "x");
        const QString script = one["script"].replace("TREE", scene.tree.path());
        session.processors = scripted_processors(SCRIPT::parse(script, "script"), scene.tree.path("tool"));
        QVERIFY(scene.start_up());
        for (FILE_ENTRY* file : qAsConst(session.file_lookup))
            file->p4_state = FILE_STATE_NO_CHANGE;
        for (int pass = 0; pass < qMax(1, one["passes"].toInt()); ++pass) {
            if (pass > 0)
                session.reset_for_more();
            session.pause_flag = one.has("paused");
            scene.begin_build(pass > 0);
            if (one.has("abort at"))
                QTRY_VERIFY_WITH_TIMEOUT(scene.tree.read("tool/trace.txt").contains(one.bytes("abort at")),
                                         20000);
            else
                QVERIFY(session.wait(20000));
            session.finish_build(one.has("abort at"));
        }
        QStringList plan;
        for (ACTION_INTERFACE* action : qAsConst(session.selected_actions))
            plan.append(action->display_text(true));
        if (one.has("plan"))
            QCOMPARE(plan.join(' '), one["plan"]);
        else
            GOX_COMPARE_TEXT(state_of(session).replace(scene.tree.path(), "TREE"), one["left"]);
    }

    void pause_and_abort()
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
        QTRY_COMPARE_WITH_TIMEOUT(current_action, static_cast<ACTION_INTERFACE*>(second), 20000);
        QVERIFY(!scene.session->wait(20)); // held ahead of it
        processor->add("not chosen");      // which hears of nothing
        scene.session->actions.append(processor->actions.last());
        scene.session->finish_build(true);
        QCOMPARE(second->state, int(ACTION_NOT_RUN));
        QVERIFY(!scene.session->pause_flag);
        QCOMPARE(first->aborts + second->aborts * 10 +
                     static_cast<STEP_ACTION*>(processor->actions.last())->aborts * 100,
                 10);
    }

    // The thread clears the flag when it starts, which may be after the request.
    void ended_before_it_began()
    {
        STEP_SCENE scene;
        scene.add_processor("p")->add("a")->body = [&](STEP_ACTION&) {
            while (!scene.session->abort_flag)
                QThread::msleep(1);
            return int(ACTION_SUCCEEDED);
        };
        QVERIFY(scene.start_up());
        scene.begin_build();
        scene.session->finish_build(true);
        QVERIFY(scene.session->isFinished());
    }

    // What the build has set for the time that it takes, and the processor's time.
    void around_the_actions()
    {
        STEP_SCENE scene;
        STEP_PROCESSOR* const quick = scene.add_processor("quick");
        STEP_PROCESSOR* const slow = scene.add_processor("slow");
        STEP_PROCESSOR* const idle = scene.add_processor("idle");
        WITNESS* const witness = new WITNESS("witness");
        quick->actions.append(witness);
        STEP_ACTION* const torn = slow->add("torn");
        torn->body = [](STEP_ACTION&) {
            QThread::msleep(150);
            return int(ACTION_FAILED);
        };
        LAST_WORD* const left = new LAST_WORD(scene.session);
        idle->actions.append(left);
        left->add_dependency(*torn, false);
        left->progress_total = 7;
        QVERIFY(scene.start_up());
        const int thread_number = next_thread_number;
        scene.begin_build();
        scene.session->finish_build(false);
        QVERIFY(witness->is_current && witness->state == ACTION_SUCCEEDED_WITH_WARNINGS);
        QVERIFY2(witness->output.startsWith("of the run\n\n=="), qPrintable(witness->output));
        QVERIFY(!current_action && !FW::fw_message_box_hook && next_thread_number == thread_number + 1);
        QVERIFY(slow->stopwatch.AsMSec() >= 150 && quick->stopwatch.AsMSec() < 150);
        QCOMPARE(idle->stopwatch.AsMSec(), 0);
        QCOMPARE(left->progress_current, 7); // though the build ended there
        scene.session->ensure_target_directories({scene.tree.path("new/x")}, {}, nullptr);
        QVERIFY(scene.tree.exists("new") && !scene.tree.exists("new/x"));
    }

    // How far the build is, where the console is no terminal: a line a minute.
    void progress_on_the_console()
    {
        STEP_PROCESSOR processor("p");
        STEP_ACTION done("done"), torn("torn"), next("next");
        for (STEP_ACTION* action : {&done, &torn, &next})
            action->processor = &processor;
        done.state = ACTION_SUCCEEDED;
        torn.state = ACTION_FAILED_ALONE;
        torn.output = "first\n why\n  \n";
        const CAUGHT_STREAM console(stdout);
        report_start(9);
        report_progress_at(60000); // nobody listens yet
        RUN_REPORT::start();
        report_action(torn);
        report_progress_at(70000);
        report_start(3); // the next build
        report_action(done);
        report_action(torn);
        current_action = &next;
        for (const int milliseconds : {0, 59999, 60000, 60001, 119999, 120500, 180499, 180500})
            report_progress_at(milliseconds);
        current_action = nullptr;
        report_progress_at(240500);
        const QByteArray line = "2 of 3 done, 1 failed, at hand: p / next\n";
        const QByteArray failed = "failed (others went on): p / torn: why\n";
        QCOMPARE(console.text(),
                 failed + "1 of 9 done, 1 failed\n" + failed + line.repeated(3) + "2 of 3 done, 1 failed\n");
    }

    // Two checks that no step of a run asks for; no box where nobody can answer it.
    void local_edits()
    {
        STEP_SCENE scene;
        STEP_ACTION action("a");
        FILE_ENTRY files[6][6]; // by state on disk and in Perforce
        for (int local = 0; local < 6; ++local)
            for (int p4 = 0; p4 < 6; ++p4) {
                FILE_ENTRY& file = files[local][p4];
                file.physical = PHYSICAL_PATH(QStringLiteral("/%1/%2").arg(local).arg(p4));
                file.local_state = local;
                file.p4_state = p4;
                action.input_files.append(&file);
            }
        FILE_ENTRY target = files[3][3];
        target.physical = PHYSICAL_PATH("/target");
        for (FILE_ENTRY* file : {&files[3][3], &target})
            action.target_files.insert(file, file->physical);
        QString text = "The following files cannot be updated because of being edited locally:";
        for (const char* file : {"/1/1", "/1/2", "/1/3", "/2/1", "/2/2", "/2/3", "/3/1", "/3/2", "/3/3",
                                 "/5/1", "/5/2", "/5/3", "/target"})
            text += QString("\n        ") + file;
        DIALOG_ANSWERS answers;
        for (const bool silent : {false, true}) {
            scene.configuration.silent = silent; // by itself it silences nothing
            answers.answer_with(&QDialog::accept);
            QVERIFY(scene.session->check_edited_locally({&action}));
            GOX_COMPARE_TEXT(answers.texts.takeLast(), text);
        }
        make_unattended(scene);
        const CAUGHT_STREAM error(stderr);
        QVERIFY(scene.session->check_edited_locally({&action}));
        QCOMPARE(QString::fromUtf8(error.text()), text + '\n');
        QCOMPARE(answers.unexpected + answers.waiting(), 0);
    }

    void data_sets()
    {
        const std::pair<const char*, const char*> rows[] = {
            {"OSTRAND and corvane", "It seems you are trying to run GOX with Ostrand data (%1)\n"
                                    "We are sorry but Ostrand data is not supported."},
            {"cORVANe", "It seems you are trying to run GOX with Corvane data (%1)\n"
                        "This version of GOX is not compatible with Corvane."},
            {"another", ""}};
        for (int i = 0; i < 6; ++i) {
            const auto& [name, refusal] = rows[i / 2];
            STEP_SCENE scene;
            DIALOG_ANSWERS answers; // rejects the box
            if (i % 2)
                make_unattended(scene);
            const TEMPORARY_TREE tree(QLatin1String{name});
            QVERIFY(PATHS::initialise(tree.path("tool")));
            QTextStream log(&scene.log_text);
            const CAUGHT_STREAM error(stderr);
            QCOMPARE(scene.session->check_data_set(log), *refusal == 0);
            log.flush();
            QCOMPARE(scene.log_text, QString(refusal).replace("%1", tree.path("working_data")));
            QCOMPARE(QString::fromUtf8(error.text()).trimmed(), i % 2 ? scene.log_text : QString());
            QCOMPARE(answers.texts.join('|'), i % 2 ? QString() : scene.log_text);
        }
    }

private:
    static void make_unattended(STEP_SCENE& scene)
    {
        scene.give_option("--dont_stop_on_error");
        scene.configuration.silent = true;
    }
};

QTEST_MAIN(TST_PROGRAM_BUILD)
#include "tst_program_build.moc"
