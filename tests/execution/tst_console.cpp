#include <QtTest/QtTest>

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

#include "execution/run_summary.h"
#include "session/run_report.h"
#include "session/start_up_hooks.h"
#include "tests/session/step_scene.h"
#include "tests/support/watched_test.h"

/// How far the build is, where the console is no terminal.
class tst_console : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void a_line_a_minute()
    {
#ifdef Q_OS_UNIX
        QTemporaryFile console;
        QVERIFY(console.open());
        std::fflush(stdout);
        const int former = ::dup(STDOUT_FILENO);
        ::dup2(console.handle(), STDOUT_FILENO);

        STEP_PROCESSOR processor("p");
        STEP_ACTION done("done");
        STEP_ACTION torn("torn");
        STEP_ACTION next("next");
        for (STEP_ACTION* action : {&done, &torn, &next})
            action->processor = &processor;
        done.state = ACTION_SUCCEEDED;
        torn.state = ACTION_FAILED_ALONE;
        report_start(3);
        report_action(done);
        report_progress_at(60000); // nobody listens yet
        RUN_REPORT::start();
        report_action(torn);
        current_action = &next;
        for (const int milliseconds : {0, 59999, 60000, 60001, 119999, 120500, 180499, 180500})
            report_progress_at(milliseconds);
        current_action = nullptr;
        report_progress_at(240500);

        ::dup2(former, STDOUT_FILENO);
        ::close(former);
        const QByteArray line = "2 of 3 done, 1 failed, at hand: p / next\n";
        console.seek(0);
        QCOMPARE(console.readAll(),
                 "failed (others went on): p / torn\n" + line.repeated(3) + "2 of 3 done, 1 failed\n");
#endif
    }
};

QTEST_GUILESS_MAIN(tst_console)
#include "tst_console.moc"
