#pragma once

#include <QtCore/QThreadPool>

#include "contracts/export.h"

namespace FW {

/// Worker threads for the libraries and for plugins that want to split up the
/// work of one action. The program itself runs its actions on one thread.
class GOX_CONTRACTS_EXPORT THREAD_MANAGER
{
public:
    /// `threads`: number of workers, 0 for one per core. `keep_alive`: idle
    /// workers stay instead of ending after a while. Main thread, once.
    void initialize(int threads, bool keep_alive);

    /// The workers. Any thread may start work; whoever does waits for it before
    /// its action ends.
    QThreadPool& workers() { return m_workers; }

private:
    QThreadPool m_workers;
};

} // namespace FW

namespace UTILITYDLL {

/// The process-wide object.
GOX_CONTRACTS_EXPORT FW::THREAD_MANAGER& thread_manager();

} // namespace UTILITYDLL
