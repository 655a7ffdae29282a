#pragma once

#include <QtCore/QString>

#include "contracts/database/kv_records.h"

constexpr int KV_FORMAT_VERSION = 1; ///< of the database format that is read and written here

constexpr qint64 KV_MAX_SCHEMA_BYTES = qint64(64) << 20;

/// Reads a schema file into `schema`, which is left as it was on an error. The
/// result is the error with file, line and column, empty on success.
QString read_database_schema(const QString& path, KV_DATABASE_SCHEMA& schema);

/// Reads the text of one <query> as it could stand in a schema file, with or
/// without a name. The place in an error is that in the text.
QString read_query_definition(const QString& definition, KV_QUERY_SCHEMA& query);
