#include "contracts/paths/paths.h"
#include "execution/run_summary.h"
#include "session/build_session.h"

// Nothing is fetched from the depot ahead of a build, so all that is left to do
// is to start the thread.
bool BUILD_SESSION::prepare_build(bool)
{
    abort_flag = false;      // left by the pass before; finish_build looks at it, and `run` may start late
    PATHS::forget_folders(); // people may have changed the tree while they chose
    report_start(selected_actions.size());
    start(QThread::InheritPriority);
    return true;
}
