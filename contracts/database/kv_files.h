#pragma once

#include <QtCore/QString>

#include "contracts/database/kv_records.h"

// Reads and writes schema files and table files. What is written reads back letter
// for letter. An error that is a result is empty on success; those of reading have
// file, line and column, and leave what they were to fill as it was. One thread at
// a time.

constexpr int KV_FORMAT_VERSION = 1; ///< of the database format that is read and written here

constexpr qint64 KV_MAX_SCHEMA_BYTES = qint64(64) << 20;
constexpr qint64 KV_MAX_TABLE_BYTES = qint64(1) << 30;

QString read_database_schema(const QString& path, KV_DATABASE_SCHEMA& schema);

/// Reads the text of one <query> as it could stand in a schema file, with or
/// without a name. The place in an error is that in the text.
QString read_query_definition(const QString& definition, KV_QUERY_SCHEMA& query);

/// Reads the records of `table`, which has its schema; a file that does not exist
/// leaves it without records. With `skip_unknown_fields`, fields that the schema does
/// not know are left out instead of being an error, and `has_left_out` tells whether
/// there were any.
QString read_database_table(const QString& path, bool skip_unknown_fields, KV_TABLE_DATA& table,
                            bool& has_left_out);

/// The text of a schema file.
QByteArray kv_schema_text(const KV_DATABASE_SCHEMA& schema);

/// Gives each record the line that it is written in.
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
