#include "contracts/services/memory_tracking.h"

#include <atomic>

namespace {

std::atomic<MEMORY_TRACKING::THREAD_IDENTIFIER> s_identifier{nullptr};

}

void MEMORY_TRACKING::register_thread_identifier_fn(THREAD_IDENTIFIER function)
{
    s_identifier = function;
}

unsigned int MEMORY_TRACKING::current_thread_identifier()
{
    const THREAD_IDENTIFIER function = s_identifier;
    return function ? function() : 0;
}
