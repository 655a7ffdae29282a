#include "contracts/database/kv_table_change.h"

#include <algorithm>

#include "contracts/database/kv_schemas.h"

namespace {

// Drops `rows`, which are sorted. Keys are not hashed again: that costs ten times
// as much as counting.
void drop_rows(KV_TABLE_DATA& table, const QVector<int>& rows)
{
    auto gone = rows.begin();
    int next = rows.first();
    for (int row = next; row < table.records.size(); ++row) {
        if (gone != rows.end() && *gone == row)
            ++gone;
        else
            std::swap(table.records[next++], table.records[row]);
    }
    table.records.resize(next);
    for (int& row : table.rows_by_key)
        row -= int(std::lower_bound(rows.begin(), rows.end(), row) - rows.begin());
}

} // namespace

KV_TABLE_CHANGE::KV_TABLE_CHANGE(const KV_TABLE_DATA& before, bool is_new)
    : m_base(before),
      m_is_reshaped(is_new),
      m_key(before.schema ? before.schema->key_index() : -1),
      m_count(before.records.size())
{
}

bool KV_TABLE_CHANGE::has_plain_keys(bool before) const
{
    return (m_is_reshaped ? kv_are_plain_keys(m_base.rows_by_key) : before) &&
           kv_are_plain_keys(m_rows_by_key);
}

int KV_TABLE_CHANGE::row_of(const QString& key) const
{
    const auto changed = m_rows_by_key.constFind(key);
    return changed != m_rows_by_key.constEnd() ? *changed : m_base.rows_by_key.value(key, -1);
}

KV_RECORD_DATA KV_TABLE_CHANGE::record(int row) const
{
    const auto changed = m_changed.constFind(row);
    return changed != m_changed.constEnd() ? *changed : m_base.records.value(row);
}

QString KV_TABLE_CHANGE::no_record(const QString& key) const
{
    return m_key < 0 ? kv_no_key_text(m_base.schema->name)
                     : kv_text("table \"%1\" has no record with the key \"%2\"", m_base.schema->name,
                               key.left(KV_QUOTED_LENGTH));
}

QString KV_TABLE_CHANGE::apply(const KV_EDIT_COMMAND& command)
{
    if (command.kind == KV_EDIT_COMMAND::ADD_RECORD) {
        const QString problem = kv_count_problem(m_count, m_base.schema->fields.size());
        const int last = m_changed.isEmpty() ? -1 : m_changed.lastKey();
        return problem.isEmpty() ? put(qMax(last + 1, m_base.records.size()), command.record) : problem;
    }
    const int row = row_of(command.key);
    if (row < 0)
        return no_record(command.key);
    if (command.kind == KV_EDIT_COMMAND::EDIT_RECORD)
        return put(row, command.record);
    if (command.kind != KV_EDIT_COMMAND::REMOVE_RECORD)
        return kv_text("there is no command %1", int(command.kind));
    set(row, KV_RECORD_DATA());
    return QString();
}

QString KV_TABLE_CHANGE::put(int row, KV_RECORD_DATA record)
{
    const QString error = check(record, row);
    record.line = this->record(row).line;
    if (error.isEmpty())
        set(row, record);
    return error;
}

// Whether the record can stand at `row`.
QString KV_TABLE_CHANGE::check(const KV_RECORD_DATA& record, int row) const
{
    const QVector<KV_FIELD_SCHEMA>& fields = m_base.schema->fields;
    const KV_RECORD_DATA before = this->record(row);
    if (record.fields.size() != fields.size())
        return kv_text("a record of table \"%1\" has %2 value(s), not %3", m_base.schema->name, fields.size(),
                       record.fields.size());
    for (int i = 0; i < fields.size(); ++i) {
        const QString& value = record.fields.at(i).value;
        const bool is_known = !before.fields.isEmpty() && before.fields.at(i).value == value;
        const QString problem = is_known ? QString() : kv_value_problem(fields.at(i), value);
        if (!problem.isEmpty())
            return problem;
    }
    const QString key = record.fields.value(m_key).value;
    const int owner = m_key < 0 ? -1 : row_of(key);
    return owner < 0 || owner == row ? QString()
                                     : kv_text("table \"%1\" already has a record with the key \"%2\"",
                                               m_base.schema->name, key.left(KV_QUOTED_LENGTH));
}

// Whatever changes a row does it here. A record without fields is none.
void KV_TABLE_CHANGE::set(int row, const KV_RECORD_DATA& record)
{
    const KV_RECORD_DATA before = this->record(row);
    m_undo.append({row, m_changed.contains(row), before});
    if (m_key >= 0 && !before.fields.isEmpty())
        m_rows_by_key.insert(before.fields.at(m_key).value, -1);
    if (m_key >= 0 && !record.fields.isEmpty())
        m_rows_by_key.insert(record.fields.at(m_key).value, row);
    m_count += int(before.fields.isEmpty()) - int(record.fields.isEmpty());
    if (record.fields.isEmpty() && row >= m_base.records.size())
        m_changed.remove(row);
    else
        m_changed.insert(row, record);
}

void KV_TABLE_CHANGE::undo_step()
{
    const QVector<UNDO> steps = m_undo;
    for (auto step = steps.rbegin(); step != steps.rend(); ++step) {
        set(step->row, step->before);
        if (!step->was_changed)
            m_changed.remove(step->row);
    }
    m_undo.clear();
}

QString KV_TABLE_CHANGE::reshape(const QSharedPointer<const KV_TABLE_SCHEMA>& schema)
{
    const KV_TABLE_DATA table = KV_TABLE_CHANGE(*this).take();
    KV_TABLE_CHANGE next(KV_TABLE_DATA{schema, {}, {}}, true);
    next.m_original = m_is_reshaped ? m_original : m_base;
    if (const QString problem = kv_count_problem(qint64(m_count) - 1, schema->fields.size());
        !problem.isEmpty())
        return problem;
    KV_RECORD_DATA record;
    QVector<int> sources; // of each field the place in the old records, or -1
    for (const KV_FIELD_SCHEMA& field : schema->fields) {
        sources.append(table.schema->field_index(field.name));
        record.fields.append({field.default_value});
    }
    next.m_base.records.reserve(m_count);
    for (const KV_RECORD_DATA& old : table.records) {
        for (int i = 0; i < sources.size(); ++i)
            if (sources.at(i) >= 0)
                record.fields[i] = old.fields.at(sources.at(i));
        record.line = old.line;
        const QString error = next.check(record, -1);
        if (!error.isEmpty())
            return kv_text("%1: %2", kv_record_text(table, old), error);
        if (next.m_key >= 0)
            next.m_base.rows_by_key.insert(record.fields.at(next.m_key).value, next.m_count);
        next.m_base.records.append(record);
        ++next.m_count;
    }
    *this = next;
    return QString();
}

KV_TABLE_DATA KV_TABLE_CHANGE::take() &&
{
    KV_TABLE_DATA table;
    std::swap(table, m_base);
    const int size = table.records.size();
    for (auto key = m_rows_by_key.constBegin(); key != m_rows_by_key.constEnd(); ++key)
        if (*key < 0)
            table.rows_by_key.remove(key.key());
    QVector<int> removed;
    for (auto row = m_changed.constBegin(); row != m_changed.constEnd(); ++row) {
        const int place = qMin(row.key(), table.records.size());
        if (row->fields.isEmpty())
            removed.append(place);
        else if (place < size)
            table.records[place] = *row;
        else
            table.records.append(*row);
        if (m_key >= 0 && !row->fields.isEmpty())
            table.rows_by_key.insert(row->fields.at(m_key).value, place);
    }
    if (!removed.isEmpty())
        drop_rows(table, removed);
    return table;
}

QSet<QString> KV_TABLE_CHANGE::values_with_balance(const QString& field, int sign) const
{
    if (!is_changed())
        return {};
    QHash<QString, int> balance; // how many records more have the value than before
    const int index = m_base.schema->field_index(field);
    const int old_index = m_original.schema ? m_original.schema->field_index(field) : -1;
    if (m_is_reshaped)
        for (const KV_RECORD_DATA& record : m_base.records)
            ++balance[record.fields.value(index).value];
    for (const KV_RECORD_DATA& record : m_original.records)
        --balance[record.fields.value(old_index).value];
    for (auto row = m_changed.begin(); row != m_changed.end(); ++row) {
        ++balance[row->fields.value(index).value];
        --balance[m_base.records.value(row.key()).fields.value(index).value];
    }
    QSet<QString> values;
    for (auto value = balance.begin(); value != balance.end(); ++value)
        if (*value * sign > 0 && !value.key().isEmpty())
            values.insert(value.key());
    return values;
}

QSet<QString> KV_TABLE_CHANGE::values_in_use(const QString& field, const QSet<QString>& values) const
{
    QSet<QString> found;
    const int index = m_base.schema->field_index(field);
    if (index >= 0 && index == m_key) {
        for (const QString& value : values)
            if (row_of(value) >= 0)
                found.insert(value);
        return found;
    }
    const auto look_at = [&](const KV_RECORD_DATA& record) {
        const QString value = record.fields.value(index).value;
        if (values.contains(value))
            found.insert(value);
    };
    std::for_each(m_changed.begin(), m_changed.end(), look_at);
    for (int row = 0; row < m_base.records.size() && found.size() < values.size(); ++row)
        if (!m_changed.contains(row))
            look_at(m_base.records.at(row));
    return found;
}
