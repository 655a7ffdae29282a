#pragma once

#include <QtCore/QString>

#include "contracts/database/kv_records.h"

constexpr int KV_FORMAT_VERSION = 1;    ///< of the database format that is read here
constexpr int KV_MAX_TABLES = 10000;    ///< in a database
constexpr int KV_MAX_FIELDS = 500;      ///< in a table
constexpr int KV_MAX_NAME_LENGTH = 100; ///< of a table or field

/// Reads a schema file into `schema`, which is left as it was on an error. The
/// result is the error with file, line and column, empty on success.
QString read_database_schema(const QString& path, KV_DATABASE_SCHEMA& schema);

/// Whether a value can stand in a field of this type. An empty value stands for
/// "none" everywhere.
bool kv_value_has_type(const QStringRef& value, KV_FIELD_SCHEMA::TYPE type);

/// "text", "integer", "real" or "boolean".
QString kv_type_name(KV_FIELD_SCHEMA::TYPE type);
