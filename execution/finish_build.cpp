// The end of a build, and what makes the session ready for the next one.

#include "contracts/actions/action_interface.h"
#include "contracts/actions/processor_interface.h"
#include "execution/run_summary.h"
#include "session/build_session.h"

namespace {

const unsigned long LOOK_INTERVAL = 20; // milliseconds

}

void BUILD_SESSION::finish_build(bool abort)
{
    if (!abort) {
        // A request to end from outside sets the flag that `run` looks at
        // between actions; the action in hand has to hear of it too.
        while (!wait(LOOK_INTERVAL)) {
            if (abort_flag) {
                report_stop();
                finish_build(true);
                return;
            }
            report_progress();
        }
        return;
    }
    abort_flag = true;
    abort_selected_actions();
    pause_flag = false;
    // `run` clears the flag when it starts, which may be only now.
    while (!wait(LOOK_INTERVAL))
        abort_flag = true;
}

void BUILD_SESSION::abort_selected_actions()
{
    for (ACTION_INTERFACE* action : QVector<ACTION_INTERFACE*>(actions))
        if (action->selection_count >= 1 && action->state <= ACTION_RUNNING)
            action->abort();
}

void BUILD_SESSION::reset_for_more()
{
    for (PROCESSOR_INTERFACE* processor : QVector<PROCESSOR_INTERFACE*>(processors))
        processor->reset();
    for (ACTION_INTERFACE* action : QVector<ACTION_INTERFACE*>(actions))
        action->reset();
}
