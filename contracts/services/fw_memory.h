#pragma once

#include <cstddef>
#include <new>
#include <vector>

#include "contracts/export.h"

/// The process-wide heap. All heap memory of the program's own code comes from
/// here through the global operator new. Any thread.
namespace FW {

enum HEAPS : int
{
    HEAP_DEFAULT = 0, ///< the only heap in use
};

/// `size` bytes, aligned for any type, or null when there is no memory. A size
/// of 0 gives a pointer that can be freed.
GOX_CONTRACTS_EXPORT void* custom_malloc(std::size_t size, HEAPS heap);

/// Gives memory of custom_malloc back; null is allowed.
GOX_CONTRACTS_EXPORT void custom_free(void* memory);

/// Allocator of the vectors that must fail in the standard way: memory that
/// can't be had is std::bad_alloc here, where operator new gives null.
template <typename T>
struct STANDARD_ALLOCATOR
{
    using value_type = T;

    STANDARD_ALLOCATOR() = default;
    template <typename U>
    STANDARD_ALLOCATOR(const STANDARD_ALLOCATOR<U>&)
    {
    }

    T* allocate(std::size_t count)
    {
        void* const memory =
            count > std::size_t(-1) / sizeof(T) ? nullptr : custom_malloc(count * sizeof(T), HEAP_DEFAULT);
        if (!memory)
            throw std::bad_alloc();
        return static_cast<T*>(memory);
    }
    void deallocate(T* memory, std::size_t) { custom_free(memory); }

    friend bool operator==(const STANDARD_ALLOCATOR&, const STANDARD_ALLOCATOR&) { return true; }
    friend bool operator!=(const STANDARD_ALLOCATOR&, const STANDARD_ALLOCATOR&) { return false; }
};

/// A vector that fails in the standard way.
template <typename T>
using VECTOR = std::vector<T, STANDARD_ALLOCATOR<T>>;

} // namespace FW
