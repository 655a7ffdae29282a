#pragma once

#include <QtCore/QHash>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>
#include <QtCore/QVector>

#include "contracts/export.h"

// The records that KV_XML_QUERY_INTERFACE speaks of. All are plain values;
// copies share their contents until one of them is changed. Names of tables and
// fields are matched exactly, letter case included.

/// What a table says about one of its fields.
struct KV_FIELD_SCHEMA
{
    enum TYPE : int
    {
        TEXT,
        INTEGER, ///< fits 64 bits with a sign
        REAL,    ///< a finite decimal number, "." as decimal point
        BOOLEAN, ///< "true" or "false"
    };

    QString name;
    TYPE type = TEXT;
    bool key = false;      ///< its value is never empty and names one record of the table
    QString default_value; ///< value of records that do not give the field; empty when none is set
    QString description;   ///< for people; may be empty
    QString lookup_table;  ///< table whose field `lookup_field` the value refers to; empty when none
    QString lookup_field;
};

/// The fields of one table.
struct KV_TABLE_SCHEMA
{
    QString name;
    QString description;             ///< for people; may be empty
    QVector<KV_FIELD_SCHEMA> fields; ///< in the order of the schema file

    /// Position of a field in `fields` and in every record; -1 when there is
    /// none of that name.
    GOX_CONTRACTS_EXPORT int field_index(const QString& field) const;

    /// Position of the key field; -1 for a table without one.
    GOX_CONTRACTS_EXPORT int key_index() const;
};

/// A query that the schema keeps under a name.
struct KV_QUERY_SCHEMA
{
    QString name;        ///< empty only for a definition that no schema holds
    QString description; ///< for people; may be empty
    QString sql;         ///< one SELECT
};

/// The tables of a database and its named queries.
struct KV_DATABASE_SCHEMA
{
    int version = 0; ///< of the database format; 0 for an empty database
    QVector<QSharedPointer<const KV_TABLE_SCHEMA>> tables; ///< in the order of the schema file, never null
    QVector<KV_QUERY_SCHEMA> queries;                      ///< in the order of the schema file

    /// Null when there is no table of that name. Lives as long as this record.
    GOX_CONTRACTS_EXPORT const KV_TABLE_SCHEMA* table(const QString& name) const;

    /// Position in `tables`; -1 when there is none of that name.
    GOX_CONTRACTS_EXPORT int table_index(const QString& name) const;
};

/// One value of a record.
struct KV_FIELD_DATA
{
    QString value; ///< as the table file spells it, or the field's default; checked against the type

    qint64 to_integer() const { return value.toLongLong(); } ///< 0 for an empty value
    double to_real() const { return value.toDouble(); }      ///< 0 for an empty value
    bool to_boolean() const { return value == QLatin1String("true"); }
};
Q_DECLARE_TYPEINFO(KV_FIELD_DATA, Q_MOVABLE_TYPE);

/// One record of a table.
struct KV_RECORD_DATA
{
    QVector<KV_FIELD_DATA> fields; ///< one for each field of the schema, in its order
    int line = 0; ///< line of the record in its file, from 1, for messages; 0 when it comes from no file
};
Q_DECLARE_TYPEINFO(KV_RECORD_DATA, Q_MOVABLE_TYPE);

/// The records of a table, in the order of its file, or those of them that a
/// query found.
struct KV_TABLE_DATA
{
    QSharedPointer<const KV_TABLE_SCHEMA> schema; ///< null only when there is no data at all
    QVector<KV_RECORD_DATA> records;
    QHash<QString, int> rows_by_key; ///< empty for a table without a key field; index_keys fills it

    /// The value of a field of the record at `row`; empty when there is no such
    /// row or field. Whoever reads many rows asks the schema once for
    /// `field_index` and reads `records[row].fields[index]`.
    GOX_CONTRACTS_EXPORT QString value(int row, const QString& field) const;

    /// The record with this key; null when there is none. Valid until the
    /// records change.
    GOX_CONTRACTS_EXPORT const KV_RECORD_DATA* record_with_key(const QString& key) const;

    /// Makes `rows_by_key` anew. What the service hands out is indexed already;
    /// this is for who changes `records`. Of equal keys the first counts.
    GOX_CONTRACTS_EXPORT void index_keys();
};

/// All tables with their records.
struct KV_DATABASE_DATA
{
    QVector<KV_TABLE_DATA> tables; ///< in the order of the schema
};

/// What a query found.
struct KV_QUERY_RESULTS
{
    /// The columns; of each only name and type are set. A column of a table has
    /// its field's type, a computed one that of its first value.
    QVector<KV_FIELD_SCHEMA> columns;
    QVector<KV_RECORD_DATA> records; ///< a value for each column; `line` is 0

    /// Position of the first column of that name; -1 when there is none.
    GOX_CONTRACTS_EXPORT int column_index(const QString& column) const;

    /// Empty when there is no such row or column.
    GOX_CONTRACTS_EXPORT QString value(int row, const QString& column) const;
};

/// One field that refers to a field of another table, or of the same.
struct RELATIONSHIP_DATA
{
    QString table; ///< the dependent: its values stand in the other one
    QString field;
    QString lookup_table;
    QString lookup_field;
};

/// A field and what its table says about it.
struct METAFIELD_AND_SCHEMA
{
    QString table; ///< empty when there is no such field
    KV_FIELD_SCHEMA field;
};

/// One step of KV_XML_QUERY_INTERFACE::apply_edit_commands.
struct KV_EDIT_COMMAND
{
    enum KIND : int
    {
        ADD_RECORD,    ///< `record`
        EDIT_RECORD,   ///< the record with `key` becomes `record`
        REMOVE_RECORD, ///< the record with `key`
    };

    KIND kind = ADD_RECORD;
    QString table;
    QString key;
    KV_RECORD_DATA record;
};
