#pragma once

#include "contracts/export.h"

/// While it watches, a request to end the process from outside (SIGINT,
/// SIGTERM, the close of a console) sets a flag, so that a build which is
/// stopped still closes its logs. A second request ends the process at once, as
/// if nobody watched. Only one watcher works at a time. Any thread may own it.
class GOX_CONTRACTS_EXPORT ABORT_WATCHER
{
public:
    /// `flag` must outlive the watcher.
    explicit ABORT_WATCHER(volatile bool& flag);
    ~ABORT_WATCHER(); ///< ends the watch and restores what was there before

    void start(); ///< nothing while another watcher works

private:
    Q_DISABLE_COPY(ABORT_WATCHER)

    volatile bool& m_flag;
    bool m_watching = false;
};
