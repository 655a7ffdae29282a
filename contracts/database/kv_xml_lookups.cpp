// The operations of KV_XML_QUERY_INTERFACE about keys and lookups between
// tables, and about what may be changed.

#include <QtCore/QFileInfo>

#include <algorithm>

#include "contracts/database/kv_query_state.h"
#include "contracts/database/kv_schema_rules.h"
#include "contracts/database/kv_schemas.h"

bool KV_XML_QUERY_INTERFACE::add_dependent_tables_to_set(QString& error, QSet<QString>& tables) const
{
    if (m_state->can_read(error))
        kv_add_related_tables(m_state->relationships(), tables, KV_TO_DEPENDENTS);
    return error.isEmpty();
}

bool KV_XML_QUERY_INTERFACE::add_dependency_tables_to_set(QString& error, QSet<QString>& tables) const
{
    if (m_state->can_read(error))
        kv_add_related_tables(m_state->relationships(), tables, KV_TO_DEPENDENCIES);
    return error.isEmpty();
}

QStringList KV_XML_QUERY_INTERFACE::collect_dependant_tables(QString& error, const QString& table) const
{
    return m_state->can_read(error, table)
               ? kv_related_tables(m_state->relationships(), table, KV_TO_DEPENDENTS)
               : QStringList();
}

QStringList KV_XML_QUERY_INTERFACE::collect_dependency_tables(QString& error, const QString& table) const
{
    return m_state->can_read(error, table)
               ? kv_related_tables(m_state->relationships(), table, KV_TO_DEPENDENCIES)
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
    const KV_FIELD_SCHEMA* const known = m_state->field(error, table, field);
    if (!known || known->lookup_table.isEmpty())
        return known;
    const KV_TABLE_DATA* const data = m_state->records(error, known->lookup_table);
    return data && !KV_TABLE_CHANGE(*data).values_in_use(known->lookup_field, {value}).isEmpty();
}

QVector<RELATIONSHIP_DATA> KV_XML_QUERY_INTERFACE::dependents_of_field_using_value(QString& error,
                                                                                   const QString& table,
                                                                                   const QString& field,
                                                                                   const QString& value) const
{
    QVector<RELATIONSHIP_DATA> dependents;
    if (!m_state->field(error, table, field))
        return dependents;
    for (const RELATIONSHIP_DATA& relationship : m_state->relationships()) {
        if (relationship.lookup_table != table || relationship.lookup_field != field)
            continue;
        const KV_TABLE_DATA* const data = m_state->records(error, relationship.table);
        if (!data)
            return {};
        if (!KV_TABLE_CHANGE(*data).values_in_use(relationship.field, {value}).isEmpty())
            dependents.append(relationship);
    }
    return dependents;
}

QVector<RELATIONSHIP_DATA> KV_XML_QUERY_INTERFACE::relationship_data(QString& error,
                                                                     const QString& table) const
{
    QVector<RELATIONSHIP_DATA> found;
    if (table.isEmpty() ? m_state->can_read(error) : m_state->can_read(error, table))
        for (const RELATIONSHIP_DATA& relationship : m_state->relationships())
            if (table.isEmpty() || relationship.table == table || relationship.lookup_table == table)
                found.append(relationship);
    return found;
}

QString KV_XML_QUERY_INTERFACE::get_field_lookup_value(QString& error, const QString& table,
                                                       const QString& key, const QString& field,
                                                       const QString& wanted) const
{
    const KV_FIELD_SCHEMA* const known = m_state->field(error, table, field);
    const KV_TABLE_DATA* const data = known ? m_state->records(error, table) : nullptr;
    const KV_RECORD_DATA* const record = data ? data->record_with_key(key) : nullptr;
    if (data && !record)
        m_state->report(error, KV_TABLE_CHANGE(*data).no_record(key));
    else if (data && known->lookup_table.isEmpty())
        m_state->report(error, QStringLiteral("field %1 looks up nothing").arg(kv_field_text(table, field)));
    if (!error.isEmpty() || !m_state->field(error, known->lookup_table, wanted))
        return QString();
    const QString value = record->fields.at(data->schema->field_index(field)).value;
    const KV_TABLE_DATA* const target = m_state->records(error, known->lookup_table);
    if (!target || value.isEmpty())
        return QString();
    const int index = target->schema->field_index(known->lookup_field);
    for (int row = 0; row < target->records.size(); ++row)
        if (target->records.at(row).fields.at(index).value == value)
            return target->value(row, wanted);
    m_state->report(error, QStringLiteral("value \"%1\" of field %2 is not found in %3")
                               .arg(value.left(KV_QUOTED_LENGTH), kv_field_text(table, field),
                                    kv_field_text(known->lookup_table, known->lookup_field)));
    return QString();
}

QStringList KV_XML_QUERY_INTERFACE::get_field_lookup_values(QString& error, const QString& table,
                                                            const QString& field) const
{
    QStringList values;
    const KV_FIELD_SCHEMA* const known = m_state->field(error, table, field);
    const KV_TABLE_DATA* const target =
        known && !known->lookup_table.isEmpty() ? m_state->records(error, known->lookup_table) : nullptr;
    if (!target)
        return values;
    const int index = target->schema->field_index(known->lookup_field);
    for (const KV_RECORD_DATA& record : target->records)
        values.append(record.fields.at(index).value);
    values.removeDuplicates();
    values.removeOne(QString());
    return values;
}

METAFIELD_AND_SCHEMA KV_XML_QUERY_INTERFACE::get_main_dependency_field_data(QString& error,
                                                                            const QString& table,
                                                                            const QString& field) const
{
    return m_state->field(error, table, field) ? kv_main_dependency(m_state->schema(), table, field)
                                               : METAFIELD_AND_SCHEMA();
}

bool KV_XML_QUERY_INTERFACE::table_restricted(QString& error, const QString& table) const
{
    return !can_add_table_records(error, table);
}

bool KV_XML_QUERY_INTERFACE::can_add_table_records(QString& error, const QString& table) const
{
    if (!m_state->can_change(error, "a change of the table") || !m_state->records(error, table))
        return false;
    const QString file = m_state->table_file(table);
    const QFileInfo info(QFileInfo::exists(file) ? file : m_state->path());
    return m_state->report(error, info.isWritable()
                                      ? m_state->change_problem(table)
                                      : QStringLiteral("%1: this is write protected").arg(info.filePath()));
}

bool KV_XML_QUERY_INTERFACE::can_edit_table_records(QString& error, const QString& table) const
{
    if (!can_add_table_records(error, table))
        return false;
    const bool has_key = m_state->schema().table(table)->key_index() >= 0;
    return m_state->report(error, has_key ? QString() : kv_no_key_text(table));
}

bool KV_XML_QUERY_INTERFACE::can_remove_table_records(QString& error, const QString& table) const
{
    return can_edit_table_records(error, table);
}
