#pragma once

#include <QtCore/QPair>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <functional>
#include <vector>

/// What the sections of the benchmark are told.
struct BENCH_OPTIONS
{
    QString trees;      ///< folder where synthetic trees are kept
    bool quick = false; ///< smaller trees, fewer rounds
};

/// What a piece of work costs, in seconds.
struct COST
{
    double time = 0;      ///< from its beginning to its end
    double processor = 0; ///< of all threads and child processes together: says more than the
                          ///< time while others use the machine
};

/// Each of the two for itself, so that one bad round spoils nothing.
COST least(const COST& a, const COST& b);

/// One way of doing the work that is measured.
struct CONTENDER
{
    QString name;
    std::function<void()> work;
    COST best = {}; ///< of all rounds
};

/// Lets all contenders work in turn, `rounds` times, after a turn that does not
/// count and warms what can be warmed.
void race(std::vector<CONTENDER>& contenders, int rounds);

COST cost_of(const std::function<void()>& work);

/// Runs a program that is found through the path, with its standard output going
/// to the file `output`, and gives its exit code. Started without a copy of this
/// process, which would be paid for in the program's time.
int run_program(const QStringList& command, const QString& output);

/// Ends the program with a text: what is measured must be right.
[[noreturn]] void give_up(const QString& text);

/// The parts of a piece of work.
using STEPS = QVector<QPair<QString, COST>>;

/// The table: one printed line a figure.
class FIGURES
{
public:
    static void print_head();

    /// The ratio of the times. A limit of 0 says that the figure is for information.
    void ratio(const QString& what, const COST& own, const QString& against, const COST& other, double limit);
    void steps(const QString& what, const STEPS& steps);
    void value(const QString& what, double value, const QString& unit, double limit);

    bool missed() const { return m_missed; } ///< a figure was above its limit

private:
    void print(const QString& what, const QString& own, const QString& other, const QString& figure,
               double number, double limit);

    bool m_missed = false;
};

// The sections. Each runs in a process of its own.
void bench_scan(const BENCH_OPTIONS& options, FIGURES& figures);
void bench_start_up(const BENCH_OPTIONS& options, FIGURES& figures);
void bench_peer(const BENCH_OPTIONS& options, FIGURES& figures);
void bench_planning(const BENCH_OPTIONS& options, FIGURES& figures);
void bench_build_thread(const BENCH_OPTIONS& options, FIGURES& figures);
void bench_report(const BENCH_OPTIONS& options, FIGURES& figures);
void bench_progress(const BENCH_OPTIONS& options, FIGURES& figures);
void bench_selection(const BENCH_OPTIONS& options, FIGURES& figures);
void bench_database(const BENCH_OPTIONS& options, FIGURES& figures);
void bench_graph(const BENCH_OPTIONS& options, FIGURES& figures);
void bench_record(const BENCH_OPTIONS& options, FIGURES& figures);
void bench_incremental(const BENCH_OPTIONS& options, FIGURES& figures);
