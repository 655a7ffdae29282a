#pragma once

#include "contracts/database/kv_xml_query_interface.h"

/// The database of this program: the query service as it stands, freed through
/// the program's own heap.
class GOX_QUERY_INTERFACE : public KV_XML_QUERY_INTERFACE
{
public:
    using KV_XML_QUERY_INTERFACE::KV_XML_QUERY_INTERFACE;
    ~GOX_QUERY_INTERFACE() override;

    static void* operator new(std::size_t size) noexcept;
    static void operator delete(void* memory);
};
