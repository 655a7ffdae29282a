#pragma once

#include <QtCore/QElapsedTimer>

#include "contracts/export.h"

namespace Tallyline {

/// Measures time over one or several intervals. It runs from construction; a
/// further Start while it runs begins the current interval anew. One thread.
class GOX_CONTRACTS_EXPORT StopWatch
{
public:
    enum CONDITION
    {
        RUNNING,
        STOPPED
    };
    explicit StopWatch(CONDITION condition = RUNNING);

    StopWatch& Start(); ///< starts an interval; measured intervals add up
    StopWatch& Stop();  ///< ends the interval; nothing when none runs
    int AsSec() const;  ///< whole seconds measured, a running interval included
    int AsMSec() const; ///< milliseconds measured, a running interval included

private:
    QElapsedTimer m_interval; // invalid while no interval runs
    qint64 m_measured = 0;    // nanoseconds of the ended intervals
};

} // namespace Tallyline
