#pragma once

#include "contracts/services/file_digests.h"
#include "record/build_entry.h"
#include "record/packed_entries.h"
#include "record/record_file.h"

/// The tables of a record whose rows count in its seal.
enum class SEALED_TABLE : quint64
{
    ENTRIES = 1, ///< blocks of BLOCK_ENTRIES entries, the last one of fewer
    SURROUNDINGS = 2,
    LIBRARIES = 3,
};

/// What a row adds to the sum of the seal.
quint64 row_hash(SEALED_TABLE table, qint64 row, const char* bytes, int size);

/// What one record holds, but for the details. The place of an entry here is its slot.
struct RECORD_ROWS
{
    QVector<BUILD_ENTRY> entries; ///< `surroundings` are places in the list below
    QVector<SURROUNDINGS> surroundings;
    QVector<KNOWN_FILE> libraries;
    quint64 sum = 0; ///< of the hashes of all rows, modulo 2^64
};

/// Reads all of it, inside a transaction and after `check`. What does not match the
/// seal, in whatever way it came about, is damage, and `rows` are good for nothing then.
bool read_rows(RECORD_FILE& file, RECORD_ROWS& rows);

/// Whether the record, inside a transaction, holds the same as `rows` were read from.
bool has_seal_of(RECORD_FILE& file, const RECORD_ROWS& rows);
