#pragma once

#include <QtCore/QDeadlineTimer>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include <functional>

#include "contracts/database/kv_records.h"

class KV_DATABASE;
struct sqlite3;
struct sqlite3_stmt;

/// Queries over the tables of a database, answered by SQLite. No record is
/// copied: each table is a virtual one, which reads the records where they are.
/// So a query sees every change, and only the tables that it names are loaded. A
/// record is found by its key at once, unless an integer key is spelt in an odd way, as
/// "007"; by another text, integer or boolean from the second search on, until the table
/// changes. Any thread, one at a time; nothing may change while a query runs.
class KV_SQL
{
public:
    /// `owner` is not owned and outlives this.
    explicit KV_SQL(KV_DATABASE& owner) : database(owner) {}
    ~KV_SQL() { close(); }

    std::function<bool()> is_stopped; ///< asked often while a query runs; true ends it. May be empty
    qint64 max_msecs = -1;            ///< that a query may take; -1 for any time

    /// Runs one statement that only reads; `values` take the places of its "?". The
    /// cause why there are no `results`, or empty.
    QString run(const QString& sql, const QVariantList& values, KV_QUERY_RESULTS& results);

    /// Forgets the tables. To be called when the schema changes.
    void close();

    // What the calls of SQLite get at.
    KV_DATABASE& database;
    bool is_declaring = false; ///< a table, which SQLite enters into tables of its own
    bool refuse(const QString& cause);

private:
    bool open();
    bool prepare(const QString& sql, sqlite3_stmt*& statement);
    bool bind(sqlite3_stmt* statement, const QVariantList& values);
    bool step(sqlite3_stmt* statement, KV_QUERY_RESULTS& results);
    bool is_to_end();

    sqlite3* m_handle = nullptr; // null before the first query
    QString m_refusal;           // why the statement may not be run, or not go on; empty when SQLite knows
    QDeadlineTimer m_deadline;
};
