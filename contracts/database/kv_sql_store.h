#pragma once

#include <QtCore/QHash>
#include <QtCore/QPointer>
#include <QtCore/QString>
#include <QtCore/QThread>
#include <QtCore/QVariant>
#include <QtCore/QVector>

#include "contracts/database/kv_records.h"

class QSqlDatabase;

/// Copies of tables in an SQLite database in memory, for queries. The copies
/// are there once; each thread that asks gets a connection of its own to them,
/// since a connection serves the thread that opened it only. One thread at a
/// time all the same: SQLite would refuse a second one.
class KV_SQL_STORE
{
public:
    KV_SQL_STORE();
    ~KV_SQL_STORE();

    /// Makes a copy of the table, unless that of this revision is there. The
    /// cause, or empty.
    QString fill(const KV_TABLE_DATA& table, qint64 revision);

    /// Drops the copy of a table, which may not exist.
    void drop(const QString& table);

    /// Runs a query that kv_query_text_problem found no fault with; `values`
    /// take the places of its "?". The cause, or empty; `results` is left as it
    /// was on an error.
    QString run(const QString& sql, const QVariantList& values, KV_QUERY_RESULTS& results);

private:
    struct CONNECTION
    {
        QPointer<QThread> thread; // null once it is gone
        QString name;
    };

    bool open(QSqlDatabase& connection, QString& error);
    bool open_new(QSqlDatabase& connection, QString& error);
    void close_connections(bool all);

    Q_DISABLE_COPY(KV_SQL_STORE)

    const QString m_name; // of the memory that the connections share
    QVector<CONNECTION> m_connections;
    QHash<QString, qint64> m_revisions; // of the copies that are there, by name in lower case
};
