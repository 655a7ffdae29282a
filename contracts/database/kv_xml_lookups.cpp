// The operations of KV_XML_QUERY_INTERFACE about keys and lookups between
// tables, and about what may be changed.

#include <QtCore/QFileInfo>

#include "contracts/database/kv_query_state.h"
#include "contracts/database/kv_references.h"
#include "contracts/database/kv_schema_rules.h"

bool KV_XML_QUERY_INTERFACE::add_dependent_tables_to_set(QString& error, QSet<QString>& tables) const
{
    if (!m_state->can_read(error))
        return false;
    kv_add_related_tables(m_state->database.relationships(), tables, KV_TO_DEPENDENTS);
    return true;
}

bool KV_XML_QUERY_INTERFACE::add_dependency_tables_to_set(QString& error, QSet<QString>& tables) const
{
    if (!m_state->can_read(error))
        return false;
    kv_add_related_tables(m_state->database.relationships(), tables, KV_TO_DEPENDENCIES);
    return true;
}

QStringList KV_XML_QUERY_INTERFACE::collect_dependant_tables(QString& error, const QString& table) const
{
    return m_state->can_read(error, table)
               ? kv_related_tables(m_state->database.relationships(), table, KV_TO_DEPENDENTS)
               : QStringList();
}

QStringList KV_XML_QUERY_INTERFACE::collect_dependency_tables(QString& error, const QString& table) const
{
    return m_state->can_read(error, table)
               ? kv_related_tables(m_state->database.relationships(), table, KV_TO_DEPENDENCIES)
               : QStringList();
}

bool KV_XML_QUERY_INTERFACE::any_dependents_using_existing_value(QString& error, const QString& table,
                                                                 const QString& field,
                                                                 const QString& value) const
{
    return !dependents_of_field_using_value(error, table, field, value).isEmpty();
}

bool KV_XML_QUERY_INTERFACE::dependency_value_exists(QString& error, const QString& table,
                                                     const QString& field, const QString& value) const
{
    if (!m_state->can_read(error, table, field))
        return false;
    const KV_TABLE_SCHEMA& schema = *m_state->database.schema().table(table);
    const KV_FIELD_SCHEMA& known = schema.fields.at(schema.field_index(field));
    if (known.lookup_table.isEmpty())
        return true;
    const KV_TABLE_DATA* const data = get_table_data(error, known.lookup_table);
    return data && !kv_values_in_use({data}, known.lookup_field, {value}).isEmpty();
}

QVector<RELATIONSHIP_DATA> KV_XML_QUERY_INTERFACE::dependents_of_field_using_value(QString& error,
                                                                                   const QString& table,
                                                                                   const QString& field,
                                                                                   const QString& value) const
{
    QVector<RELATIONSHIP_DATA> dependents;
    if (!m_state->can_read(error, table, field))
        return dependents;
    for (const RELATIONSHIP_DATA& relationship : m_state->database.relationships()) {
        if (relationship.lookup_table != table || relationship.lookup_field != field)
            continue;
        const KV_TABLE_DATA* const data = get_table_data(error, relationship.table);
        if (!data)
            return {};
        if (!kv_values_in_use({data}, relationship.field, {value}).isEmpty())
            dependents.append(relationship);
    }
    return dependents;
}

QVector<RELATIONSHIP_DATA> KV_XML_QUERY_INTERFACE::relationship_data(QString& error,
                                                                     const QString& table) const
{
    if (!(table.isEmpty() ? m_state->can_read(error) : m_state->can_read(error, table)))
        return {};
    QVector<RELATIONSHIP_DATA> found;
    for (const RELATIONSHIP_DATA& relationship : m_state->database.relationships())
        if (table.isEmpty() || relationship.table == table || relationship.lookup_table == table)
            found.append(relationship);
    return found;
}

QString KV_XML_QUERY_INTERFACE::get_field_lookup_value(QString& error, const QString& table,
                                                       const QString& key, const QString& field,
                                                       const QString& wanted) const
{
    const KV_TABLE_DATA* const data =
        m_state->can_read(error, table, field) ? get_table_data(error, table) : nullptr;
    if (!data)
        return QString();
    const int row = data->rows_by_key.value(key, -1);
    if (row < 0) {
        m_state->report(error, QStringLiteral("table \"%1\" has no record with the key \"%2\"")
                                   .arg(table, key.left(KV_QUOTED_LENGTH)));
        return QString();
    }
    const KV_FIELD_SCHEMA& known = data->schema->fields.at(data->schema->field_index(field));
    if (known.lookup_table.isEmpty()) {
        m_state->report(error, QStringLiteral("field %1 looks up nothing").arg(kv_field_text(table, field)));
        return QString();
    }
    const QString value = data->value(row, field);
    const KV_TABLE_DATA* const target = m_state->can_read(error, known.lookup_table, wanted)
                                            ? get_table_data(error, known.lookup_table)
                                            : nullptr;
    if (!target || value.isEmpty())
        return QString();
    const int index = target->schema->field_index(known.lookup_field);
    for (int place = 0; place < target->records.size(); ++place)
        if (target->records.at(place).fields.at(index).value == value)
            return target->value(place, wanted);
    m_state->report(error, QStringLiteral("value \"%1\" of field %2 is not found in %3")
                               .arg(value.left(KV_QUOTED_LENGTH), kv_field_text(table, field),
                                    kv_field_text(known.lookup_table, known.lookup_field)));
    return QString();
}

QStringList KV_XML_QUERY_INTERFACE::get_field_lookup_values(QString& error, const QString& table,
                                                            const QString& field) const
{
    QStringList values;
    if (!m_state->can_read(error, table, field))
        return values;
    const KV_TABLE_SCHEMA& schema = *m_state->database.schema().table(table);
    const KV_FIELD_SCHEMA& known = schema.fields.at(schema.field_index(field));
    const KV_TABLE_DATA* const target =
        known.lookup_table.isEmpty() ? nullptr : get_table_data(error, known.lookup_table);
    if (!target)
        return values;
    const int index = target->schema->field_index(known.lookup_field);
    QSet<QString> met{QString()};
    for (const KV_RECORD_DATA& record : target->records) {
        const QString& value = record.fields.at(index).value;
        if (met.contains(value))
            continue;
        met.insert(value);
        values.append(value);
    }
    return values;
}

METAFIELD_AND_SCHEMA KV_XML_QUERY_INTERFACE::get_main_dependency_field_data(QString& error,
                                                                            const QString& table,
                                                                            const QString& field) const
{
    return m_state->can_read(error, table, field)
               ? kv_main_dependency(m_state->database.schema(), table, field)
               : METAFIELD_AND_SCHEMA();
}

bool KV_XML_QUERY_INTERFACE::table_restricted(QString& error, const QString& table) const
{
    return !can_add_table_records(error, table);
}

bool KV_XML_QUERY_INTERFACE::can_add_table_records(QString& error, const QString& table) const
{
    if (!m_state->can_change(error, "a change of the table") || !get_table_data(error, table))
        return false;
    const QString file = m_state->database.table_file(table);
    const QFileInfo info(QFileInfo::exists(file) ? file : m_state->database.path());
    return m_state->report(error, info.isWritable()
                                      ? m_state->database.change_problem(table)
                                      : QStringLiteral("%1: this is write protected").arg(info.filePath()));
}

bool KV_XML_QUERY_INTERFACE::can_edit_table_records(QString& error, const QString& table) const
{
    if (!can_add_table_records(error, table))
        return false;
    return m_state->report(
        error, m_state->database.schema().table(table)->key_index() >= 0 ? QString() : kv_no_key_text(table));
}

bool KV_XML_QUERY_INTERFACE::can_remove_table_records(QString& error, const QString& table) const
{
    return can_edit_table_records(error, table);
}
