#include "contracts/database/kv_references.h"

QVector<RELATIONSHIP_DATA> kv_relationships(const KV_DATABASE_SCHEMA& schema)
{
    QVector<RELATIONSHIP_DATA> relationships;
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : schema.tables)
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
    QStringList open = tables.values();
    while (!open.isEmpty()) {
        const QStringList next = kv_related_tables(relationships, open.takeLast(), direction);
        for (const QString& table : next)
            if (!tables.contains(table)) {
                tables.insert(table);
                open.append(table);
            }
    }
}

METAFIELD_AND_SCHEMA kv_main_dependency(const KV_DATABASE_SCHEMA& schema, const QString& table,
                                        const QString& field)
{
    METAFIELD_AND_SCHEMA found;
    QSet<QString> met;
    QString next_table = table;
    QString next_field = field;
    while (!next_table.isEmpty() && !met.contains(next_table + '.' + next_field)) {
        met.insert(next_table + '.' + next_field);
        const KV_TABLE_SCHEMA* const known = schema.table(next_table);
        const int index = known ? known->field_index(next_field) : -1;
        if (index < 0)
            break;
        found = {next_table, known->fields.at(index)};
        next_table = found.field.lookup_table;
        next_field = found.field.lookup_field;
    }
    return found;
}

QSet<QString> kv_values_in_use(const KV_TABLE_VIEW& table, const QString& field, const QSet<QString>& values)
{
    QSet<QString> found;
    const int index = table.data->schema->field_index(field);
    if (index < 0 || values.isEmpty())
        return found;
    if (table.data->schema->fields.at(index).key) {
        for (const QString& value : values)
            if (table.data->rows_by_key.contains(value))
                found.insert(value);
        return found;
    }
    const QVector<KV_RECORD_DATA>& records = table.data->records;
    for (int row = 0; row < records.size() && found.size() < values.size(); ++row) {
        const QString& value = records.at(row).fields.at(index).value;
        if (values.contains(value) && !table.removed_rows.contains(row))
            found.insert(value);
    }
    return found;
}
