#include "contracts/database/kv_schemas.h"

#include <algorithm>

#include "contracts/database/kv_files.h"

namespace {

using TABLE = QSharedPointer<const KV_TABLE_SCHEMA>;

// The tables that have no like in `others`.
template <typename IS_LIKE>
QStringList tables_without_like(const KV_DATABASE_SCHEMA& schema, const KV_DATABASE_SCHEMA& others,
                                IS_LIKE is_like)
{
    QHash<QString, TABLE> known;
    for (const TABLE& table : others.tables)
        known.insert(table->name, table);
    QStringList names;
    for (const TABLE& table : schema.tables)
        if (const TABLE other = known.value(table->name); !other || !is_like(*other, *table))
            names.append(table->name);
    return names;
}

} // namespace

QStringList kv_table_names(const KV_DATABASE_SCHEMA& schema)
{
    return tables_without_like(schema, {}, kv_has_same_shape);
}

QVector<RELATIONSHIP_DATA> kv_relationships(const KV_DATABASE_SCHEMA& schema)
{
    QVector<RELATIONSHIP_DATA> relationships;
    for (const TABLE& table : schema.tables)
        for (const KV_FIELD_SCHEMA& field : table->fields)
            if (!field.lookup_table.isEmpty())
                relationships.append({table->name, field.name, field.lookup_table, field.lookup_field});
    return relationships;
}

QStringList kv_related_tables(const QVector<RELATIONSHIP_DATA>& relationships, const QString& table,
                              KV_END to)
{
    QStringList tables;
    const KV_END from =
        to == &RELATIONSHIP_DATA::table ? &RELATIONSHIP_DATA::lookup_table : &RELATIONSHIP_DATA::table;
    for (const RELATIONSHIP_DATA& one : relationships)
        if (one.*from == table && one.*to != table && !tables.contains(one.*to))
            tables.append(one.*to);
    return tables;
}

void kv_add_related_tables(const QVector<RELATIONSHIP_DATA>& relationships, QSet<QString>& tables, KV_END to)
{
    for (QStringList open = tables.values(); !open.isEmpty();)
        for (const QString& table : kv_related_tables(relationships, open.takeLast(), to))
            if (!tables.contains(table)) {
                tables.insert(table);
                open.append(table);
            }
}

METAFIELD_AND_SCHEMA kv_main_dependency(const KV_DATABASE_SCHEMA& schema, QString table, QString field)
{
    METAFIELD_AND_SCHEMA found;
    QSet<QString> met;
    while (const KV_TABLE_SCHEMA* const known = schema.table(table)) {
        const int index = known->field_index(field);
        if (index < 0 || met.contains(table + '.' + field))
            break;
        met.insert(table + '.' + field);
        found = {table, known->fields.at(index)};
        table = found.field.lookup_table;
        field = found.field.lookup_field;
    }
    return found;
}

bool kv_has_same_shape(const KV_TABLE_SCHEMA& a, const KV_TABLE_SCHEMA& b)
{
    const auto is_same = [](const KV_FIELD_SCHEMA& one, const KV_FIELD_SCHEMA& other) {
        return one.name == other.name && one.type == other.type && one.key == other.key &&
               one.default_value == other.default_value;
    };
    return std::equal(a.fields.begin(), a.fields.end(), b.fields.begin(), b.fields.end(), is_same);
}

bool kv_is_same_schema(const KV_DATABASE_SCHEMA& a, const KV_DATABASE_SCHEMA& b)
{
    const bool is_shared = a.tables.isSharedWith(b.tables) && a.queries.isSharedWith(b.queries);
    return a.version == b.version && (is_shared || kv_schema_text(a) == kv_schema_text(b));
}

QStringList kv_removed_tables(const KV_DATABASE_SCHEMA& before, const KV_DATABASE_SCHEMA& after)
{
    QStringList names = tables_without_like(before, after, [](auto&, auto&) { return true; });
    names.sort();
    return names;
}

QStringList kv_reshaped_tables(const KV_DATABASE_SCHEMA& before, const KV_DATABASE_SCHEMA& after)
{
    return tables_without_like(after, before, kv_has_same_shape);
}
