#pragma once

#include <QtCore/QSharedPointer>
#include <QtCore/QString>

#include "contracts/database/kv_records.h"

constexpr qint64 KV_MAX_TABLE_BYTES = qint64(1) << 30;

/// Reads the file of a table; a file that does not exist is a table without
/// records. With `skip_unknown_fields`, fields that the schema does not know
/// are left out instead of being an error, and `has_left_out` tells whether
/// there were any. `table` is left as it was on an error. The result is the error with file, line and column,
/// empty on success.
QString read_database_table(const QString& path, const QSharedPointer<const KV_TABLE_SCHEMA>& schema,
                            bool skip_unknown_fields, KV_TABLE_DATA& table, bool& has_left_out);
