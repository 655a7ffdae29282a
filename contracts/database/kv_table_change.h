#pragma once

#include <QtCore/QMap>
#include <QtCore/QSet>

#include "contracts/database/kv_records.h"

/// A table as somebody is changing it: the records as they were, shared with
/// who keeps them, and over them the rows that are changed. So a change costs
/// what is changed, whatever the size of the table. Types, counts and keys are
/// checked at once, lookups are not: what they need to know, `values_with_balance` tells.
/// Plain data; one thread at a time.
class KV_TABLE_CHANGE
{
public:
    /// Nothing is changed yet, unless it is a table that there was not.
    explicit KV_TABLE_CHANGE(const KV_TABLE_DATA& before = {}, bool is_new = false);

    bool is_changed() const { return m_is_reshaped || !m_changed.isEmpty(); }

    /// kv_are_plain_keys, for a table that had them before or not.
    bool has_plain_keys(bool before) const;

    int row_of(const QString& key) const;        ///< -1 when no record has this key
    KV_RECORD_DATA record(int row) const;        ///< without fields where there is none
    QString no_record(const QString& key) const; ///< the error that says so

    /// The cause why it changed nothing, empty on success.
    QString apply(const KV_EDIT_COMMAND& command);

    /// Takes back all that was applied since `begin_step`.
    void begin_step() { m_undo.clear(); }
    void undo_step();

    /// Gives the records the fields of `schema`: values are carried over by the
    /// field's name, new fields get their defaults. The cause why it changed
    /// nothing, empty on success.
    QString reshape(const QSharedPointer<const KV_TABLE_SCHEMA>& schema);

    /// The table with all changes. Nothing is copied when nobody else shares the
    /// records.
    KV_TABLE_DATA take() &&;

    /// The values that more records have in the field than before, or that fewer have,
    /// for a `sign` of 1 or -1. Without the empty value.
    QSet<QString> values_with_balance(const QString& field, int sign) const;

    /// The `values` that stand in the field of some record.
    QSet<QString> values_in_use(const QString& field, const QSet<QString>& values) const;

private:
    struct UNDO
    {
        int row;
        bool was_changed;
        KV_RECORD_DATA before;
    };

    QString put(int row, KV_RECORD_DATA record);
    QString check(const KV_RECORD_DATA& record, int row) const;
    void set(int row, const KV_RECORD_DATA& record);

    KV_TABLE_DATA m_base;
    KV_TABLE_DATA m_original;            // as it was before other fields came, if they did
    bool m_is_reshaped = false;          // or new
    int m_key = -1;                      // place of the key field
    int m_count = 0;                     // of the records that there are now
    QMap<int, KV_RECORD_DATA> m_changed; // by row, without fields when removed; new ones follow the base's
    QHash<QString, int> m_rows_by_key;   // that differ from those of the base, -1 for keys that are gone
    QVector<UNDO> m_undo;
};
