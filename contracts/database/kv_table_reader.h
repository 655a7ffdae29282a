#pragma once

#include <QtCore/QString>

#include "contracts/database/kv_records.h"

constexpr qint64 KV_MAX_TABLE_BYTES = qint64(1) << 30;

/// Reads the records of `table`, which has its schema, from a file; one that does
/// not exist leaves it without records. With `skip_unknown_fields`, fields that the
/// schema does not know are left out instead of being an error, and `has_left_out`
/// tells whether there were any. `table` is left as it was on an error. The result
/// is the error with file, line and column, empty on success.
QString read_database_table(const QString& path, bool skip_unknown_fields, KV_TABLE_DATA& table,
                            bool& has_left_out);
