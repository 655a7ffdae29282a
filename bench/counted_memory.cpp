#include "bench/counted_memory.h"

#include <cstddef>

namespace {

thread_local long s_requests = 0;

} // namespace

// The C library's own functions, which those below stand before.
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_realloc(void* memory, std::size_t size);

extern "C" __attribute__((visibility("default"))) void* malloc(std::size_t size)
{
    ++s_requests;
    return __libc_malloc(size);
}

extern "C" __attribute__((visibility("default"))) void* realloc(void* memory, std::size_t size)
{
    ++s_requests;
    return __libc_realloc(memory, size);
}

long memory_requests()
{
    return s_requests;
}
