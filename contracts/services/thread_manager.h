#pragma once

#include "contracts/export.h"

namespace FW {

/// Sets up the process's worker threads, QThreadPool::globalInstance(), for libraries
/// that split up their work. The program itself runs its actions on one thread.
class GOX_CONTRACTS_EXPORT THREAD_MANAGER
{
public:
    /// `threads`: number of workers, 0 for one per core. `keep_alive`: idle
    /// workers stay instead of ending after a while. Main thread, once.
    void initialize(int threads, bool keep_alive);
};

} // namespace FW

namespace UTILITYDLL {

/// The process-wide object.
GOX_CONTRACTS_EXPORT FW::THREAD_MANAGER& thread_manager();

} // namespace UTILITYDLL
