#pragma once

#include "contracts/export.h"

/// The memory tracker attributes allocations to threads by a small number that
/// the program gives each thread.
namespace MEMORY_TRACKING {

using THREAD_IDENTIFIER = unsigned int (*)();

/// Registers the function that tells the number of the calling thread; 0 is an
/// unknown thread. It may be called from any thread from now on.
GOX_CONTRACTS_EXPORT void register_thread_identifier_fn(THREAD_IDENTIFIER function);

/// The number of the calling thread, 0 while no function is registered.
GOX_CONTRACTS_EXPORT unsigned int current_thread_identifier();

} // namespace MEMORY_TRACKING
