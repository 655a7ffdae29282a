#include "contracts/services/stop_watch.h"

#include <algorithm>
#include <limits>

namespace Tallyline {

StopWatch::StopWatch(CONDITION condition)
{
    if (condition == RUNNING)
        m_interval.start();
}

StopWatch& StopWatch::Start()
{
    m_interval.start();
    return *this;
}

StopWatch& StopWatch::Stop()
{
    if (m_interval.isValid()) {
        m_measured += m_interval.nsecsElapsed();
        m_interval.invalidate();
    }
    return *this;
}

int StopWatch::AsSec() const
{
    return AsMSec() / 1000;
}

int StopWatch::AsMSec() const
{
    const qint64 running = m_interval.isValid() ? m_interval.nsecsElapsed() : 0;
    return int(std::min<qint64>((m_measured + running) / 1000000, std::numeric_limits<int>::max()));
}

} // namespace Tallyline
