#pragma once

#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QVector>

#include "contracts/database/kv_records.h"

/// The records of one table while they are changed. Types, counts and keys are
/// checked at once, lookups are not: what they need to know, `balance` tells. Each operation gives the cause
/// why it changed nothing, empty on success. Plain data; one thread at a time.
class KV_WORKING_TABLE
{
public:
    /// Its keys are always right. Removed records stay among `records` until
    /// `compact`, so that many removals cost no more than one.
    KV_TABLE_DATA data;

    /// A new table, which counts as changed.
    static KV_WORKING_TABLE empty(const QSharedPointer<const KV_TABLE_SCHEMA>& schema);

    QString add(const KV_RECORD_DATA& record);
    QString edit(const QString& key, const KV_RECORD_DATA& record);
    QString edit_field(const QString& key, const QString& field, const QString& value);
    QString remove(const QString& key);

    /// Takes the only successful operation back, before `compact`; `is_changed`
    /// stays.
    void undo();

    /// Gives the records the fields of `schema`: values are carried over by the
    /// field's name, new fields get their defaults. After an error the records
    /// are as they were.
    QString reshape(const QSharedPointer<const KV_TABLE_SCHEMA>& schema);

    /// Drops the removed records.
    void compact();

    const QSet<int>& removed_rows() const { return m_removed; }
    bool is_changed() const { return m_is_changed; }

    /// How many records more have each value in the field now than before the
    /// first operation, negative when they are fewer. Without the empty value.
    QHash<QString, int> balance(const QString& field) const;

private:
    QString find(const QString& key, int& row) const;
    QString check(const KV_RECORD_DATA& record, int row) const;
    void put_key(int row);

    QSet<int> m_removed; // rows
    int m_last_row = -1; // of the last operation
    bool m_is_changed = false;
    // A pair for each operation: a record as it became, empty when it was removed,
    // and as it had been, empty when it was added.
    QVector<KV_RECORD_DATA> m_given;
    QVector<KV_RECORD_DATA> m_taken;
};

/// "table.field" as errors name it, "the record with the key ..." for a record,
/// and the error of who names a record of a table without key.
QString kv_field_text(const QString& table, const QString& field);
QString kv_record_text(const KV_TABLE_DATA& table, const KV_RECORD_DATA& record);
QString kv_no_key_text(const QString& table);
