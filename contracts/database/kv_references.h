#pragma once

#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include "contracts/database/kv_records.h"

// How tables refer to each other by lookups. Plain data; any thread.

/// All lookups of a schema, in its order.
QVector<RELATIONSHIP_DATA> kv_relationships(const KV_DATABASE_SCHEMA& schema);

/// Which way a lookup is followed.
enum KV_DIRECTION : int
{
    KV_TO_DEPENDENTS,   ///< to the tables that look up
    KV_TO_DEPENDENCIES, ///< to the tables that are looked up
};

/// The tables one step from `table`, each once, `table` itself left out.
QStringList kv_related_tables(const QVector<RELATIONSHIP_DATA>& relationships, const QString& table,
                              KV_DIRECTION direction);

/// Adds to `tables` all that can be reached from them.
void kv_add_related_tables(const QVector<RELATIONSHIP_DATA>& relationships, QSet<QString>& tables,
                           KV_DIRECTION direction);

/// The field at the end of the chain of lookups that begins at `table.field`;
/// the field itself when it looks up nothing. A chain that bites its tail ends
/// before the field that it has met already. Without table when there is no
/// such field.
METAFIELD_AND_SCHEMA kv_main_dependency(const KV_DATABASE_SCHEMA& schema, const QString& table,
                                        const QString& field);

/// A table with those of its rows left out that are removed already.
struct KV_TABLE_VIEW
{
    const KV_TABLE_DATA* data = nullptr; ///< null for a table that can't be read
    QSet<int> removed_rows = {};
};

/// The `values` that stand in the field of some record.
QSet<QString> kv_values_in_use(const KV_TABLE_VIEW& table, const QString& field, const QSet<QString>& values);
