#include "contracts/database/kv_schema_changes.h"

#include <QtCore/QHash>

#include <algorithm>

namespace {

using TABLE = QSharedPointer<const KV_TABLE_SCHEMA>;

bool has_same_shape(const KV_FIELD_SCHEMA& a, const KV_FIELD_SCHEMA& b)
{
    return a.name == b.name && a.type == b.type && a.key == b.key && a.default_value == b.default_value;
}

bool is_same_field(const KV_FIELD_SCHEMA& a, const KV_FIELD_SCHEMA& b)
{
    return has_same_shape(a, b) && a.description == b.description && a.lookup_table == b.lookup_table &&
           a.lookup_field == b.lookup_field;
}

bool is_same_table(const TABLE& a, const TABLE& b)
{
    return a == b || (a->name == b->name && a->description == b->description &&
                      std::equal(a->fields.begin(), a->fields.end(), b->fields.begin(), b->fields.end(),
                                 is_same_field));
}

bool is_same_query(const KV_QUERY_SCHEMA& a, const KV_QUERY_SCHEMA& b)
{
    return a.name == b.name && a.description == b.description && a.sql == b.sql;
}

template <typename LIST, typename IS_SAME>
bool is_same_list(const LIST& a, const LIST& b, IS_SAME is_same)
{
    return a.isSharedWith(b) || std::equal(a.begin(), a.end(), b.begin(), b.end(), is_same);
}

QHash<QString, TABLE> by_name(const KV_DATABASE_SCHEMA& schema)
{
    QHash<QString, TABLE> tables;
    tables.reserve(schema.tables.size());
    for (const TABLE& table : schema.tables)
        tables.insert(table->name, table);
    return tables;
}

} // namespace

bool kv_has_same_shape(const KV_TABLE_SCHEMA& a, const KV_TABLE_SCHEMA& b)
{
    return std::equal(a.fields.begin(), a.fields.end(), b.fields.begin(), b.fields.end(), has_same_shape);
}

bool kv_is_same_schema(const KV_DATABASE_SCHEMA& a, const KV_DATABASE_SCHEMA& b)
{
    return a.version == b.version && is_same_list(a.tables, b.tables, is_same_table) &&
           is_same_list(a.queries, b.queries, is_same_query);
}

QStringList kv_reshaped_tables(const KV_DATABASE_SCHEMA& before, const KV_DATABASE_SCHEMA& after)
{
    QStringList names;
    const QHash<QString, TABLE> known = by_name(before);
    for (const TABLE& table : after.tables) {
        const TABLE old = known.value(table->name);
        if (!old || (old != table && !kv_has_same_shape(*old, *table)))
            names.append(table->name);
    }
    return names;
}

QStringList kv_removed_tables(const KV_DATABASE_SCHEMA& before, const KV_DATABASE_SCHEMA& after)
{
    QStringList names;
    const QHash<QString, TABLE> known = by_name(after);
    for (const TABLE& table : before.tables)
        if (!known.contains(table->name))
            names.append(table->name);
    names.sort();
    return names;
}
