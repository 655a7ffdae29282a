// The program's global heap: all of its own objects come from one place. Memory
// that can't be had is a null pointer for whoever asked, not an exception.

#include "app/memory.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

#ifdef __GLIBC__
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>
#endif

#include "contracts/services/fw_memory.h"

#if defined(__GLIBC__) && !defined(GOX_SANITIZED)

static constexpr int MIB = 1024 * 1024;
static constexpr int USUAL_ROOM = MIB / 8;  // as the C library has it
static constexpr int USUAL_BLOCK = 4 * MIB; // of which a larger one has pages of its own
static constexpr int ROOM_FOR_WINDOWS = 64 * MIB;

// The heap gets room at its end that no page stands behind yet, and the system is asked
// to put large ones there. Ordinary ones cost a tenth of a start-up over a large tree.
void prepare_heap()
{
    const int room = 512 * MIB;
    const int large_block = 32 * MIB;
    const std::uintptr_t large_page = 2 * MIB;
    mallopt(M_TOP_PAD, room);
    mallopt(M_TRIM_THRESHOLD, 2 * room);
    mallopt(M_MMAP_THRESHOLD, large_block);
    const auto former_end = std::uintptr_t(sbrk(0));
    void* volatile asked = std::malloc(large_page); // makes the room
    std::free(asked);
    const auto end = std::uintptr_t(sbrk(0));
    const std::uintptr_t begin = (former_end + large_page - 1) / large_page * large_page;
    if (end > begin)
        madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
    else
        mallopt(M_TOP_PAD, USUAL_ROOM); // there is a limit on memory
}

void settle_heap()
{
    mallopt(M_TOP_PAD, USUAL_ROOM);
    mallopt(M_TRIM_THRESHOLD, 2 * USUAL_BLOCK);
    mallopt(M_MMAP_THRESHOLD, USUAL_BLOCK);
    malloc_trim(ROOM_FOR_WINDOWS);
}

#else

void prepare_heap() {}
void settle_heap() {}

#endif

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
