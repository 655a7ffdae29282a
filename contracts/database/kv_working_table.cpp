#include "contracts/database/kv_working_table.h"

#include <algorithm>

#include "contracts/database/kv_schema_rules.h"

namespace {

// Makes records of one shape into records of another.
class RESHAPING
{
public:
    RESHAPING(const KV_TABLE_SCHEMA& from, const KV_TABLE_SCHEMA& to)
    {
        for (const KV_FIELD_SCHEMA& field : to.fields) {
            m_sources.append(from.field_index(field.name));
            m_new_values.append({field.default_value});
        }
    }

    bool gives_defaults() const
    {
        for (int i = 0; i < m_sources.size(); ++i)
            if (m_sources.at(i) < 0 && !m_new_values.at(i).value.isEmpty())
                return true;
        return false;
    }

    // The same for records that are no more: they never had the new fields.
    RESHAPING without_defaults() const
    {
        RESHAPING other = *this;
        other.m_new_values.fill({});
        return other;
    }

    KV_RECORD_DATA operator()(const KV_RECORD_DATA& record) const
    {
        KV_RECORD_DATA result{{}, record.line};
        if (record.fields.isEmpty())
            return result;
        result.fields = m_new_values;
        for (int i = 0; i < m_sources.size(); ++i)
            if (m_sources.at(i) >= 0)
                result.fields[i] = record.fields.at(m_sources.at(i));
        return result;
    }

private:
    QVector<int> m_sources; // of each field the place in the old records, or -1
    QVector<KV_FIELD_DATA> m_new_values;
};

QString value_of(const KV_RECORD_DATA& record, int index)
{
    return record.fields.isEmpty() ? QString() : record.fields.at(index).value;
}

} // namespace

KV_WORKING_TABLE KV_WORKING_TABLE::empty(const QSharedPointer<const KV_TABLE_SCHEMA>& schema)
{
    KV_WORKING_TABLE table;
    table.data.schema = schema;
    table.m_is_changed = true;
    return table;
}

QString KV_WORKING_TABLE::add(const KV_RECORD_DATA& record)
{
    const QString problem =
        kv_count_problem(data.records.size() - m_removed.size(), data.schema->fields.size());
    const QString error = problem.isEmpty() ? check(record, -1) : problem;
    if (!error.isEmpty())
        return error;
    m_last_row = data.records.size();
    data.records.append({record.fields, 0});
    put_key(m_last_row);
    m_given.append(data.records.last());
    m_taken.append(KV_RECORD_DATA());
    return QString();
}

QString KV_WORKING_TABLE::edit(const QString& key, const KV_RECORD_DATA& record)
{
    int row;
    QString error = find(key, row);
    if (error.isEmpty())
        error = check(record, row);
    if (!error.isEmpty())
        return error;
    m_last_row = row;
    m_taken.append(data.records.at(row));
    data.rows_by_key.remove(key);
    data.records[row].fields = record.fields;
    put_key(row);
    m_given.append(data.records.at(row));
    return QString();
}

QString KV_WORKING_TABLE::edit_field(const QString& key, const QString& field, const QString& value)
{
    int row;
    const QString error = find(key, row);
    if (!error.isEmpty())
        return error;
    const int index = data.schema->field_index(field);
    if (index < 0)
        return QStringLiteral("table \"%1\" has no field \"%2\"")
            .arg(data.schema->name, field.left(KV_QUOTED_LENGTH));
    KV_RECORD_DATA record = data.records.at(row);
    record.fields[index].value = value;
    return edit(key, record);
}

QString KV_WORKING_TABLE::remove(const QString& key)
{
    int row;
    const QString error = find(key, row);
    if (!error.isEmpty())
        return error;
    m_last_row = row;
    m_taken.append(data.records.at(row));
    m_given.append(KV_RECORD_DATA());
    data.rows_by_key.remove(key);
    m_removed.insert(row);
    m_is_changed = true;
    return QString();
}

void KV_WORKING_TABLE::undo()
{
    const KV_RECORD_DATA before = m_taken.takeLast();
    const KV_RECORD_DATA after = m_given.takeLast();
    const int key = data.schema->key_index();
    if (key >= 0 && !after.fields.isEmpty())
        data.rows_by_key.remove(after.fields.at(key).value);
    m_removed.remove(m_last_row);
    if (before.fields.isEmpty()) {
        data.records.removeLast();
    } else {
        data.records[m_last_row] = before;
        put_key(m_last_row);
    }
}

QString KV_WORKING_TABLE::reshape(const QSharedPointer<const KV_TABLE_SCHEMA>& schema)
{
    compact();
    const QString problem =
        data.records.isEmpty() ? QString() : kv_count_problem(data.records.size() - 1, schema->fields.size());
    if (!problem.isEmpty())
        return problem;
    KV_WORKING_TABLE result;
    result.data.schema = schema;
    result.data.records.reserve(data.records.size());
    const RESHAPING reshaped(*data.schema, *schema);
    for (const KV_RECORD_DATA& record : qAsConst(data.records)) {
        const KV_RECORD_DATA next = reshaped(record);
        const QString error = result.check(next, -1);
        if (!error.isEmpty())
            return QStringLiteral("%1: %2").arg(kv_record_text(data, record), error);
        result.data.records.append(next);
        result.put_key(result.data.records.size() - 1);
    }
    const RESHAPING older = reshaped.without_defaults();
    std::transform(m_given.begin(), m_given.end(), m_given.begin(), older);
    std::transform(m_taken.begin(), m_taken.end(), m_taken.begin(), older);
    for (int row = 0; row < data.records.size() && reshaped.gives_defaults(); ++row) {
        m_given.append(result.data.records.at(row));
        m_taken.append(older(data.records.at(row)));
    }
    data = result.data;
    m_is_changed = true;
    return QString();
}

void KV_WORKING_TABLE::compact()
{
    if (m_removed.isEmpty())
        return;
    QVector<int> places(data.records.size()); // where each row goes
    int next = 0;
    for (int row = 0; row < data.records.size(); ++row) {
        places[row] = next;
        if (m_removed.contains(row))
            continue;
        if (next < row)
            std::swap(data.records[next], data.records[row]);
        ++next;
    }
    data.records.resize(next);
    m_removed.clear();
    // Keys are not hashed again: that costs ten times as much.
    for (int& row : data.rows_by_key)
        row = places.at(row);
}

QHash<QString, int> KV_WORKING_TABLE::balance(const QString& field) const
{
    QHash<QString, int> counts;
    const int index = data.schema->field_index(field);
    for (int i = 0; i < m_given.size() && index >= 0; ++i) {
        ++counts[value_of(m_given.at(i), index)];
        --counts[value_of(m_taken.at(i), index)];
    }
    counts.remove(QString());
    return counts;
}

// The row of the record with this key.
QString KV_WORKING_TABLE::find(const QString& key, int& row) const
{
    row = data.rows_by_key.value(key, -1);
    if (row >= 0)
        return QString();
    if (data.schema->key_index() < 0)
        return kv_no_key_text(data.schema->name);
    return QStringLiteral("table \"%1\" has no record with the key \"%2\"")
        .arg(data.schema->name, key.left(KV_QUOTED_LENGTH));
}

// Whether the record can stand at `row`, or be a new one for -1.
QString KV_WORKING_TABLE::check(const KV_RECORD_DATA& record, int row) const
{
    const QVector<KV_FIELD_SCHEMA>& fields = data.schema->fields;
    if (record.fields.size() != fields.size())
        return QStringLiteral("a record of table \"%1\" has %2 value(s), not %3")
            .arg(data.schema->name)
            .arg(fields.size())
            .arg(record.fields.size());
    for (int i = 0; i < fields.size(); ++i) {
        const QString& value = record.fields.at(i).value;
        const bool is_known = row >= 0 && data.records.at(row).fields.at(i).value == value;
        const QString problem = is_known ? QString() : kv_value_problem(fields.at(i), value);
        if (!problem.isEmpty())
            return problem;
        if (fields.at(i).key && data.rows_by_key.value(value, row) != row)
            return QStringLiteral("table \"%1\" already has a record with the key \"%2\"")
                .arg(data.schema->name, value.left(KV_QUOTED_LENGTH));
    }
    return QString();
}

void KV_WORKING_TABLE::put_key(int row)
{
    const int key = data.schema->key_index();
    if (key >= 0)
        data.rows_by_key.insert(data.records.at(row).fields.at(key).value, row);
    m_is_changed = true;
}

QString kv_field_text(const QString& table, const QString& field)
{
    return '"' + table + '.' + field + '"';
}

QString kv_record_text(const KV_TABLE_DATA& table, const KV_RECORD_DATA& record)
{
    const int key = table.schema->key_index();
    if (key >= 0)
        return QStringLiteral("the record with the key \"%1\"")
            .arg(record.fields.at(key).value.left(KV_QUOTED_LENGTH));
    return record.line > 0 ? QStringLiteral("the record in line %1").arg(record.line)
                           : QStringLiteral("a new record");
}

QString kv_no_key_text(const QString& table)
{
    return QStringLiteral("table \"%1\" has no key field, so none of its records can be named").arg(table);
}
