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
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& known : tables)
        if (known->name == name)
            return known.data();
    return nullptr;
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
