#pragma once

#include <QtCore/QSet>
#include <QtCore/QString>

#include "contracts/database/kv_records.h"

// What a schema and its values must obey, whether they come from a file or from
// a caller. Each function gives the cause, without a place, or an empty text
// when all is well. Any thread.

constexpr int KV_MAX_TABLES = 10000;         ///< in a database
constexpr int KV_MAX_QUERIES = 10000;        ///< in a database
constexpr int KV_MAX_FIELDS = 500;           ///< in a table
constexpr int KV_MAX_NAME_LENGTH = 100;      ///< of a table, field or query
constexpr int KV_MAX_VALUE_LENGTH = 2 << 20; ///< of a value that is written, so that it can be read again
constexpr int KV_MAX_QUERY_LENGTH = 100000;  ///< of the text of a query
constexpr int KV_MAX_RECORDS = 10000000;     ///< in a table, and of the results of a query
constexpr int KV_MAX_VALUES = 200000000;     ///< in a table: records times fields
constexpr int KV_QUOTED_LENGTH = 60;         ///< of a foreign text in an error

/// A schema as a whole. `part` becomes the number of the part that is wrong, from 0:
/// the tables, each in front of its fields, then the queries.
QString kv_schema_problem(const KV_DATABASE_SCHEMA& schema, int& part);

/// The text of a query, as far as it can be judged without the tables.
QString kv_query_text_problem(const QString& sql);

/// Whether the parts of a lookup, "table.field", can be names.
QString kv_lookup_form_problem(const QString& target);

/// A text that a table or schema file can't hold.
QString kv_text_problem(const QString& text);

/// A value that is to be stored in a field of a table.
QString kv_value_problem(const KV_FIELD_SCHEMA& field, const QString& value);

/// Whether a value can stand in a field of this type. An empty value stands for
/// "none" everywhere.
bool kv_value_has_type(const QStringRef& value, KV_FIELD_SCHEMA::TYPE type);
QString kv_type_problem(const KV_FIELD_SCHEMA& field, const QStringRef& value);

/// Whether all are integers in the one spelling that a number is written in.
bool kv_are_plain_keys(const QHash<QString, int>& rows_by_key);

/// One more record in a table of that many records and fields.
QString kv_count_problem(qint64 records, int fields);

/// "text", "integer", "real", "boolean": by KV_FIELD_SCHEMA::TYPE.
const QStringList& kv_type_names();
QString kv_type_name(KV_FIELD_SCHEMA::TYPE type);

/// "table.field" as errors name it, "the record with the key ..." for a record,
/// and the errors of who names a field that there is not, or a record of a table
/// without key.
QString kv_field_text(const QString& table, const QString& field);
QString kv_record_text(const KV_TABLE_DATA& table, const KV_RECORD_DATA& record);
QString kv_no_field_text(const QString& table, const QString& field);
QString kv_no_key_text(const QString& table);
