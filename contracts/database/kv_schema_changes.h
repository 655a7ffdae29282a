#pragma once

#include <QtCore/QStringList>

#include "contracts/database/kv_records.h"

// How one schema differs from another. Plain data; any thread.

/// Whether the records of one can stand under the other as they are.
bool kv_has_same_shape(const KV_TABLE_SCHEMA& a, const KV_TABLE_SCHEMA& b);

/// Whether a schema file would say the same.
bool kv_is_same_schema(const KV_DATABASE_SCHEMA& a, const KV_DATABASE_SCHEMA& b);

/// The tables of `after` that are new or of another shape, in its order.
QStringList kv_reshaped_tables(const KV_DATABASE_SCHEMA& before, const KV_DATABASE_SCHEMA& after);

/// The tables of `before` that `after` has no more, sorted.
QStringList kv_removed_tables(const KV_DATABASE_SCHEMA& before, const KV_DATABASE_SCHEMA& after);
