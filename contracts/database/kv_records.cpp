#include "contracts/database/kv_records.h"

#include <algorithm>

int KV_TABLE_SCHEMA::field_index(const QString& field) const
{
    const auto is_called = [&](const KV_FIELD_SCHEMA& known) { return known.name == field; };
    const auto place = std::find_if(fields.begin(), fields.end(), is_called);
    return place == fields.end() ? -1 : int(place - fields.begin());
}

int KV_TABLE_SCHEMA::key_index() const
{
    const auto is_key = [](const KV_FIELD_SCHEMA& field) { return field.key; };
    const auto place = std::find_if(fields.begin(), fields.end(), is_key);
    return place == fields.end() ? -1 : int(place - fields.begin());
}

const KV_TABLE_SCHEMA* KV_DATABASE_SCHEMA::table(const QString& name) const
{
    const int index = table_index(name);
    return index < 0 ? nullptr : tables.at(index).data();
}

int KV_DATABASE_SCHEMA::table_index(const QString& name) const
{
    const auto is_called = [&](const auto& known) { return known->name == name; };
    const auto place = std::find_if(tables.begin(), tables.end(), is_called);
    return place == tables.end() ? -1 : int(place - tables.begin());
}

int KV_QUERY_RESULTS::column_index(const QString& column) const
{
    const auto is_called = [&](const KV_FIELD_SCHEMA& known) { return known.name == column; };
    const auto place = std::find_if(columns.begin(), columns.end(), is_called);
    return place == columns.end() ? -1 : int(place - columns.begin());
}

QString KV_QUERY_RESULTS::value(int row, const QString& column) const
{
    const int index = column_index(column);
    return index < 0 || row < 0 || row >= records.size() ? QString()
                                                         : records.at(row).fields.value(index).value;
}

QString KV_TABLE_DATA::value(int row, const QString& field) const
{
    const int index = schema ? schema->field_index(field) : -1;
    if (index < 0 || row < 0 || row >= records.size())
        return QString();
    const KV_RECORD_DATA& record = records.at(row);
    return index < record.fields.size() ? record.fields.at(index).value : QString();
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
