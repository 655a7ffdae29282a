#include "contracts/database/kv_records.h"

#include <algorithm>

namespace {

// The place of the first one that `matches`, or -1.
template <typename LIST, typename MATCHES>
int first_place(const LIST& list, MATCHES matches)
{
    const auto place = std::find_if(list.begin(), list.end(), matches);
    return place == list.end() ? -1 : int(place - list.begin());
}

} // namespace

int KV_TABLE_SCHEMA::field_index(const QString& field) const
{
    return first_place(fields, [&](const KV_FIELD_SCHEMA& known) { return known.name == field; });
}

int KV_TABLE_SCHEMA::key_index() const
{
    return first_place(fields, [](const KV_FIELD_SCHEMA& field) { return field.key; });
}

const KV_TABLE_SCHEMA* KV_DATABASE_SCHEMA::table(const QString& name) const
{
    return tables.value(table_index(name)).data();
}

int KV_DATABASE_SCHEMA::table_index(const QString& name) const
{
    return first_place(tables, [&](const auto& known) { return known->name == name; });
}

int KV_QUERY_RESULTS::column_index(const QString& column) const
{
    return first_place(columns, [&](const KV_FIELD_SCHEMA& known) { return known.name == column; });
}

// QVector::value is empty for a place that there is not, -1 among them.
QString KV_QUERY_RESULTS::value(int row, const QString& column) const
{
    return records.value(row).fields.value(column_index(column)).value;
}

QString KV_TABLE_DATA::value(int row, const QString& field) const
{
    return schema ? records.value(row).fields.value(schema->field_index(field)).value : QString();
}

const KV_RECORD_DATA* KV_TABLE_DATA::record_with_key(const QString& key) const
{
    const int row = rows_by_key.value(key, -1);
    return row < 0 || row >= records.size() ? nullptr : &records.at(row);
}

void KV_TABLE_DATA::index_keys()
{
    rows_by_key.clear();
    const int key = schema ? schema->key_index() : -1;
    if (key < 0)
        return;
    rows_by_key.reserve(records.size());
    for (int row = records.size(); row-- > 0;)
        rows_by_key.insert(records.at(row).fields.value(key).value, row);
}
