#pragma once

/// Attributes allocations to threads by a small number that the program gives each
/// thread. This heap keeps no such account.
namespace MEMORY_TRACKING {

using THREAD_IDENTIFIER = unsigned int (*)();

/// Registers the function that tells the number of the calling thread; 0 is an
/// unknown thread. As no account is kept, nobody asks it.
inline void register_thread_identifier_fn(THREAD_IDENTIFIER) {}

} // namespace MEMORY_TRACKING
