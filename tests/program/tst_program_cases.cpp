#include <QtTest/QtTest>

#include "tests/program/scenario.h"
#include "tests/support/cases.h"
#include "tests/support/watched_test.h"

/// The real program, over scenarios that stand in the files of this folder.
class TST_PROGRAM_CASES : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void start_data() { add_scenarios("start.cases"); }
    void start() { m_stage.play(); }
    void remarks_data() { add_scenarios("remarks.cases"); }
    void remarks() { m_stage.play(); }
    void faults_data() { add_scenarios("faults.cases"); }
    void faults() { m_stage.play(); }
    void build_data() { add_scenarios("build.cases"); }
    void build() { m_stage.play(); }
    void report_data() { add_scenarios("report.cases"); }
    void report() { m_stage.play(); }
    void up_to_date_data() { add_scenarios("up_to_date.cases"); }
    void up_to_date() { m_stage.play(); }
    void shards_data() { add_scenarios("shards.cases"); }
    void shards() { m_stage.play(); }
    void watched_data() { add_scenarios("watched.cases"); }
    void watched() { m_stage.play(); }
    void metrics_data() { add_scenarios("metrics.cases"); }
    void metrics() { m_stage.play(); }
    void crash_data() { add_scenarios("crash.cases"); }
    void crash() { m_stage.play(); }
    void cleanupTestCase() { GOX_COMPARE_TEXT(m_stage.faults_of_reports(), QString()); }

private:
    STAGE m_stage;
};

QTEST_GUILESS_MAIN(TST_PROGRAM_CASES)
#include "tst_program_cases.moc"
