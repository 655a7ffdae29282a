#include "session/gox_query_interface.h"

#include "contracts/services/fw_memory.h"

GOX_QUERY_INTERFACE::~GOX_QUERY_INTERFACE() = default;

void* GOX_QUERY_INTERFACE::operator new(std::size_t size) noexcept
{
    return FW::custom_malloc(size, FW::HEAP_DEFAULT);
}

void GOX_QUERY_INTERFACE::operator delete(void* memory)
{
    FW::custom_free(memory);
}
