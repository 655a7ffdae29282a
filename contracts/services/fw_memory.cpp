#include "contracts/services/fw_memory.h"

#include <cstdlib>

void* FW::custom_malloc(std::size_t size, HEAPS)
{
    return std::malloc(size ? size : 1);
}

void FW::custom_free(void* memory)
{
    std::free(memory);
}
