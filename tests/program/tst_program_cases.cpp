#include <QtTest/QtTest>

#include "tests/program/scenario.h"
#include "tests/support/watched_test.h"

/// The real program, over scenarios that stand in the files of this folder.
class TST_PROGRAM_CASES : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void start_data() { add_scenarios("start.cases"); }
    void start() { play_scenario(); }
    void remarks_data() { add_scenarios("remarks.cases"); }
    void remarks() { play_scenario(); }
    void faults_data() { add_scenarios("faults.cases"); }
    void faults() { play_scenario(); }
    void build_data() { add_scenarios("build.cases"); }
    void build() { play_scenario(); }
    void report_data() { add_scenarios("report.cases"); }
    void report() { play_scenario(); }
    void up_to_date_data() { add_scenarios("up_to_date.cases"); }
    void up_to_date() { play_scenario(); }
    void shards_data() { add_scenarios("shards.cases"); }
    void shards() { play_scenario(); }
    void watched_data() { add_scenarios("watched.cases"); }
    void watched() { play_scenario(); }
    void metrics_data() { add_scenarios("metrics.cases"); }
    void metrics() { play_scenario(); }
    void crash_data() { add_scenarios("crash.cases"); }
    void crash() { play_scenario(); }
};

QTEST_GUILESS_MAIN(TST_PROGRAM_CASES)
#include "tst_program_cases.moc"
