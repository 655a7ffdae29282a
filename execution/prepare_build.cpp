#include "session/build_session.h"

// Nothing is fetched from the depot ahead of a build, so all that is left to do
// is to start the thread.
bool BUILD_SESSION::prepare_build(bool)
{
    start(QThread::InheritPriority);
    return true;
}
