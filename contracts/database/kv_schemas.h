#pragma once

#include <QtCore/QSet>
#include <QtCore/QStringList>

#include "contracts/database/kv_records.h"

// What the tables of a schema have to do with each other, and how one schema
// differs from another. Plain data; any thread.

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
