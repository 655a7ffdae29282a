#pragma once

#include <QtCore/QString>
#include <QtCore/QVariant>

#include <functional>
#include <memory>

#include "contracts/database/kv_records.h"

class KV_DATABASE;
struct KV_SQL_CONNECTION;

/// Queries over the tables of a database, answered by SQLite. No record is
/// copied: each table is a virtual one, which reads the records where they are.
/// So a query sees every change, and only the tables that it names are loaded. A
/// record is found by its key at once, unless an integer key is spelt in an odd way, as
/// "007"; by another text, integer or boolean from the second search on, until the table
/// changes. Any thread, one at a time; nothing may change while a query runs.
class KV_SQL
{
public:
    /// `database` is not owned and outlives this.
    explicit KV_SQL(KV_DATABASE& database);
    ~KV_SQL();

    std::function<bool()> is_stopped; ///< asked often while a query runs; true ends it. May be empty
    qint64 max_msecs = -1;            ///< that a query may take; -1 for any time

    /// Runs one statement that only reads; `values` take the places of its "?". The
    /// cause why there are no `results`, or empty.
    QString run(const QString& sql, const QVariantList& values, KV_QUERY_RESULTS& results);

private:
    KV_DATABASE& m_database;
    std::unique_ptr<KV_SQL_CONNECTION> m_connection; // null before the first query
};
