#include "contracts/database/kv_schemas.h"

#include <algorithm>

#include "contracts/database/kv_files.h"

namespace {

using TABLE = QSharedPointer<const KV_TABLE_SCHEMA>;

QHash<QString, TABLE> by_name(const KV_DATABASE_SCHEMA& schema)
{
    QHash<QString, TABLE> tables;
    for (const TABLE& table : schema.tables)
        tables.insert(table->name, table);
    return tables;
}

} // namespace

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
                              KV_DIRECTION direction)
{
    QStringList tables;
    for (const RELATIONSHIP_DATA& relationship : relationships) {
        const bool to_dependents = direction == KV_TO_DEPENDENTS;
        const QString& from = to_dependents ? relationship.lookup_table : relationship.table;
        const QString& to = to_dependents ? relationship.table : relationship.lookup_table;
        if (from == table && to != table && !tables.contains(to))
            tables.append(to);
    }
    return tables;
}

void kv_add_related_tables(const QVector<RELATIONSHIP_DATA>& relationships, QSet<QString>& tables,
                           KV_DIRECTION direction)
{
    for (QStringList open = tables.values(); !open.isEmpty();) {
        const QStringList next = kv_related_tables(relationships, open.takeLast(), direction);
        for (const QString& table : next)
            if (!tables.contains(table)) {
                tables.insert(table);
                open.append(table);
            }
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

QStringList kv_reshaped_tables(const KV_DATABASE_SCHEMA& before, const KV_DATABASE_SCHEMA& after)
{
    QStringList names;
    const QHash<QString, TABLE> known = by_name(before);
    for (const TABLE& table : after.tables) {
        const TABLE old = known.value(table->name);
        if (!old || !kv_has_same_shape(*old, *table))
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
