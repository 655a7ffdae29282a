// The window that watches a build: its poll beside one that writes every row,
// many changes at once, and an output of 50 million letters.

#include <QtCore/QElapsedTimer>
#include <QtCore/QThread>
#include <QtWidgets/QApplication>
#include <QtWidgets/QScrollBar>

#include <algorithm>
#include <climits>

#include "app/memory.h"
#include "bench/bench_session.h"
#include "bench/measure.h"
#include "contracts/actions/dialog_helper.h"
#include "progress/build_progress_dialog.h"

namespace {

constexpr int PROCESSORS = 5;
constexpr double POLL_PERIOD = 20; // milliseconds

/// The window over actions whose states the bench sets, with all groups expanded
/// and its own polls stopped. Actions are never freed, as in the program.
class SCENE
{
public:
    explicit SCENE(int count);

    void set_states(int state);

    QVector<BENCH_PROCESSOR*> processors;
    BENCH_SESSION session;
    CONFIGURATION configuration;
    COMMAND_LINE_OPTIONS options;
    std::unique_ptr<BUILD_PROGRESS_DIALOG> window;
};

SCENE::SCENE(int count)
{
    for (int i = 0; i < PROCESSORS; ++i)
        processors.append(new BENCH_PROCESSOR([](auto&, auto&) { return QVector<ACTION_INTERFACE*>(); }));
    for (int i = 0; i < count; ++i) {
        ACTION_INTERFACE* const action = new BENCH_ACTION(processors[i % PROCESSORS], i);
        action->progress_total = 10;
        session->selected_actions.append(action);
    }
    window = std::make_unique<BUILD_PROGRESS_DIALOG>(*session, configuration, QString(), options, nullptr,
                                                     Qt::WindowFlags());
    window->timer.stop();
    window->ui.actions->expandAll();
    window->show();
    QApplication::processEvents();
}

void SCENE::set_states(int state)
{
    for (ACTION_INTERFACE* const action : qAsConst(session->selected_actions))
        action->state = state;
}

/// What the rows of a poll come to when every one of them is asked and written.
void poll_plainly(QTreeWidget& tree, int filter)
{
    for (int g = 0; g < tree.topLevelItemCount(); ++g) {
        QTreeWidgetItem* const group = tree.topLevelItem(g);
        for (int row = 0; row < group->childCount(); ++row) {
            QTreeWidgetItem* const item = group->child(row);
            const int state = DIALOG_HELPER::get_action_pointer(item, 0)->state;
            if (state == ACTION_RUNNING)
                item->setForeground(0, QBrush(Qt::blue));
            else if (state != ACTION_NOT_RUN)
                item->setForeground(0, QBrush(state == ACTION_SUCCEEDED ? Qt::green : Qt::red));
            const int shown_by = state <= ACTION_RUNNING ? 1 : state == ACTION_SUCCEEDED ? 8 : 2;
            item->setHidden(!(filter & shown_by));
        }
    }
    QApplication::processEvents();
}

void measure_polls(int count, FIGURES& figures)
{
    SCENE scene(count);
    scene.set_states(ACTION_SUCCEEDED);
    scene.session->selected_actions.last()->state = ACTION_RUNNING;
    std::vector<CONTENDER> contenders{
        {"own",
         [&] {
             scene.window->tick();
             QApplication::processEvents();
         }},
        {"plain", [&] { poll_plainly(*scene.window->ui.actions, PROGRESS_ROWS::ALL); }}};
    race(contenders, 20);
    const QString what = QString("poll of %1 rows without a change").arg(count);
    figures.ratio(what, contenders[0].best, "every row written", contenders[1].best, 0.05);
    figures.value(what, contenders[0].best.time * 1e3, "ms", POLL_PERIOD / 10);
}

/// All rows of a fresh window change at once, three times over.
STEPS change_all(int count)
{
    SCENE scene(count);
    STEPS steps;
    const auto step = [&](const char* name, const std::function<void()>& work) {
        steps.append({name, cost_of([&] {
                          work();
                          QApplication::processEvents();
                      })});
    };
    const auto poll = [&](int state, int filter) {
        scene.set_states(state);
        scene.window->filter_mask = filter;
        scene.window->tick();
    };
    step("all running", [&] { poll(ACTION_RUNNING, PROGRESS_ROWS::ALL); });
    step("all hidden", [&] { poll(ACTION_RUNNING, PROGRESS_ROWS::ERRORS); });
    step("all shown, failed", [&] { poll(ACTION_FAILED, PROGRESS_ROWS::ALL); });
    return steps;
}

COST sum_of(const STEPS& steps)
{
    COST sum;
    for (const auto& step : steps)
        sum = {sum.time + step.second.time, sum.processor + step.second.processor};
    return sum;
}

void measure_changes(int count, FIGURES& figures)
{
    STEPS steps = change_all(count);
    for (int round = 0; round < 4; ++round) {
        const STEPS again = change_all(count);
        if (sum_of(again).processor < sum_of(steps).processor)
            steps = again;
    }
    const QString what = QString("changes of all %1 rows").arg(count);
    figures.steps(what, steps);
    figures.value(what, sum_of(steps).processor * 1e3, "ms", 300);
}

COST opening(int count)
{
    SCENE scene(count);
    COST best;
    for (int round = 0; round < 3; ++round) {
        const COST cost = cost_of([&] {
            const BUILD_PROGRESS_DIALOG window(*scene.session, scene.configuration, QString(), scene.options,
                                               nullptr, Qt::WindowFlags());
        });
        best = round == 0 ? cost : least(best, cost);
    }
    return best;
}

/// The longest turn of the event loop until the text is complete, and after.
void measure_output(int letters, FIGURES& figures)
{
    const QString line = QString("one line of what an action has to say, %1\n").arg(QString(60, 'x'));
    SCENE scene(2);
    ACTION_INTERFACE& action = *scene.session->selected_actions.first();
    action.output = line.repeated(letters / line.size());
    action.state = ACTION_SUCCEEDED;
    BUILD_PROGRESS_DIALOG& window = *scene.window;
    double longest = 0;
    const auto turn = [&](const std::function<void()>& work) {
        // Of the processor: what others do on the machine is not the window's doing.
        const double seconds = cost_of([&] {
                                   work();
                                   window.tick();
                                   QApplication::processEvents();
                               }).processor;
        longest = std::max(longest, seconds);
    };
    QTreeWidgetItem* const group = window.ui.actions->topLevelItem(0);
    QElapsedTimer time;
    time.start();
    turn([&] { window.ui.actions->setCurrentItem(group->child(0)); });
    const int whole = action.output.size();
    while (window.ui.output->document()->characterCount() <= whole) {
        turn([] {});
        QThread::msleep(1);
    }
    const double seconds = double(time.elapsed()) / 1000;
    const QString what = QString("output of %1 million letters, ").arg(letters / 1000000);
    figures.value(what + "longest turn", longest * 1e3, "ms", 50);
    figures.value(what + "until its end is there", seconds, "s", 0);
    longest = 0;
    turn([&] { window.ui.output->verticalScrollBar()->setValue(INT_MAX); });
    turn([&] { window.resize(window.size() * 1.2); });
    figures.value(what + "to its end, other size", longest * 1e3, "ms", 50);
    longest = 0;
    turn([&] { window.ui.actions->setCurrentItem(group); });
    for (time.restart(); time.elapsed() < 2000;)
        turn([] {});
    figures.value(what + "leaving it", longest * 1e3, "ms", 50);
}

} // namespace

void bench_progress(const BENCH_OPTIONS& options, FIGURES& figures)
{
    const int count = options.quick ? 10000 : 100000;
    settle_heap(); // as the program does ahead of its windows
    measure_polls(count, figures);
    measure_changes(count, figures);
    figures.ratio(QString("opening with %1 rows").arg(count), opening(count),
                  QString("with %1 rows").arg(count / 10), opening(count / 10), 15);
    measure_output(options.quick ? 5000000 : 50000000, figures);
}
