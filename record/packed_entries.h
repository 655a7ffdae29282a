#pragma once

#include <QtCore/QByteArray>

#include <array>

#include "contracts/services/file_digests.h"
#include "record/build_entry.h"

// The bytes of the rows of a record, and back. What can't be read gives false and leaves
// the result as good for nothing.

constexpr int PACKED_ENTRY_SIZE = 57;
using PACKED_ENTRY = std::array<char, PACKED_ENTRY_SIZE>;

/// Entries lie in rows of so many: reading them is several times quicker.
constexpr int BLOCK_ENTRIES = 64;

PACKED_ENTRY pack_entry(const BUILD_ENTRY& entry);
bool unpack_entry(const char* bytes, int size, BUILD_ENTRY& entry);

QByteArray pack_surroundings(const SURROUNDINGS& surroundings);
bool unpack_surroundings(const QByteArray& bytes, SURROUNDINGS& surroundings);

QByteArray pack_library(const KNOWN_FILE& library);
bool unpack_library(const QByteArray& bytes, KNOWN_FILE& library);

/// All but the name, which has a column of its own.
QByteArray pack_details(const BUILD_ENTRY_DETAILS& details);
bool unpack_details(const QByteArray& bytes, BUILD_ENTRY_DETAILS& details);

/// What stands ahead of packed details, so that they are never taken for those of another
/// entry or of the same action's run before.
quint64 details_checksum(const BUILD_ENTRY& entry, const QByteArray& name, const QByteArray& packed);
