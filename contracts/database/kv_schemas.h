#pragma once

#include <QtCore/QSet>
#include <QtCore/QStringList>

#include "contracts/database/kv_records.h"
#include "contracts/database/kv_text.h"

// What a schema and its values must obey, whether they come from a file or from
// a caller: each function gives the cause, without a place, or an empty text
// when all is well. Plain data; any thread.

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

/// "table.field" as errors name it, "the record with the key ..." for a record,
/// and the errors of who names a field that there is not, or a record of a table
/// without key.
QString kv_field_text(const QString& table, const QString& field);
QString kv_record_text(const KV_TABLE_DATA& table, const KV_RECORD_DATA& record);
QString kv_no_field_text(const QString& table, const QString& field);
QString kv_no_key_text(const QString& table);

// What the tables of a schema have to do with each other, and how one schema
// differs from another.

/// The tables of a schema, in its order.
QStringList kv_table_names(const KV_DATABASE_SCHEMA& schema);

/// All lookups of a schema, in its order.
QVector<RELATIONSHIP_DATA> kv_relationships(const KV_DATABASE_SCHEMA& schema);

/// One end of a lookup: RELATIONSHIP_DATA's `table` or `lookup_table`.
using KV_END = QString RELATIONSHIP_DATA::*;

/// The tables one step from `table`, each once, `table` itself left out: those that
/// stand at the end `to` of a lookup where it stands at the other.
QStringList kv_related_tables(const QVector<RELATIONSHIP_DATA>& relationships, const QString& table,
                              KV_END to);

/// Adds to `tables` all that can be reached from them.
void kv_add_related_tables(const QVector<RELATIONSHIP_DATA>& relationships, QSet<QString>& tables, KV_END to);

/// The field at the end of the chain of lookups that begins at `table.field`;
/// the field itself when it looks up nothing. A chain that bites its tail ends
/// before the field that it has met already. Without table when there is no
/// such field.
METAFIELD_AND_SCHEMA kv_main_dependency(const KV_DATABASE_SCHEMA& schema, QString table, QString field);

/// Whether the records of one can stand under the other as they are.
bool kv_has_same_shape(const KV_TABLE_SCHEMA& a, const KV_TABLE_SCHEMA& b);

/// Whether a schema file would say the same.
bool kv_is_same_schema(const KV_DATABASE_SCHEMA& a, const KV_DATABASE_SCHEMA& b);

/// The tables of `before` that `after` has no more, sorted.
QStringList kv_removed_tables(const KV_DATABASE_SCHEMA& before, const KV_DATABASE_SCHEMA& after);

/// The tables of `after` that are new or of another shape, in its order.
QStringList kv_reshaped_tables(const KV_DATABASE_SCHEMA& before, const KV_DATABASE_SCHEMA& after);
