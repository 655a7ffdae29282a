#pragma once

#include <QtCore/QString>

#include "contracts/database/kv_records.h"

class QIODevice;

// Writes what kv_schema_reader.h and kv_table_reader.h read, and gives back what
// they would read letter for letter. Whether the device took it, the device
// tells. One thread at a time.
void write_database_schema(QIODevice& device, const KV_DATABASE_SCHEMA& schema);
void write_database_table(QIODevice& device, const KV_TABLE_DATA& table);

/// Gives each record the line that write_database_table puts it in.
void number_written_lines(KV_TABLE_DATA& table);

/// What a file is to hold: a schema or a table.
struct KV_FILE_CONTENT
{
    const KV_DATABASE_SCHEMA* schema = nullptr; ///< not owned
    KV_TABLE_DATA table = {}; ///< a copy that shares the records; without schema when unused

    bool is_nothing() const { return !schema && !table.schema; }
};

/// Writes a file, whole or not at all, with the permissions of the file at `model`
/// if there is one. The cause why it can't be written, or empty.
QString kv_write_file(const QString& path, const KV_FILE_CONTENT& content, const QString& model);
