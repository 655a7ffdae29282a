// The program's global heap: all of its own objects come from one place. Memory
// that can't be had is a null pointer for whoever asked, not an exception.

#include <cstddef>
#include <new>

#include "contracts/services/fw_memory.h"

void* operator new(std::size_t size)
{
    return FW::custom_malloc(size, FW::HEAP_DEFAULT);
}

void* operator new[](std::size_t size)
{
    return FW::custom_malloc(size, FW::HEAP_DEFAULT);
}

void operator delete(void* memory) noexcept
{
    FW::custom_free(memory);
}

void operator delete[](void* memory) noexcept
{
    FW::custom_free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    FW::custom_free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
    FW::custom_free(memory);
}

// The library's own forms of these would go round the heap in some builds.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return FW::custom_malloc(size, FW::HEAP_DEFAULT);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return FW::custom_malloc(size, FW::HEAP_DEFAULT);
}

void operator delete(void* memory, const std::nothrow_t&) noexcept
{
    FW::custom_free(memory);
}

void operator delete[](void* memory, const std::nothrow_t&) noexcept
{
    FW::custom_free(memory);
}
