// The operations of KV_XML_QUERY_INTERFACE that change and save.

#include <QtCore/QFileInfo>

#include "contracts/database/kv_query_state.h"
#include "contracts/database/kv_schema_rules.h"

QString KV_XML_QUERY_INTERFACE::create_db_copy_for_diff(const QString& folder)
{
    QString error;
    m_state->change(error, "create_db_copy_for_diff", [&] { return m_state->copy_to(folder); });
    return error;
}

QStringList KV_XML_QUERY_INTERFACE::get_changed_tables(QString& error) const
{
    return m_state->can_read(error) ? m_state->edited_tables() : QStringList();
}

QStringList KV_XML_QUERY_INTERFACE::get_changed_schemas(QString& error) const
{
    return m_state->can_read(error) ? m_state->reshaped_tables() : QStringList();
}

QStringList KV_XML_QUERY_INTERFACE::get_changed_files(QString& error) const
{
    return m_state->can_read(error) ? m_state->files_to_save() : QStringList();
}

QStringList KV_XML_QUERY_INTERFACE::get_deleted_tables(QString& error) const
{
    return m_state->can_read(error) ? m_state->removed_tables() : QStringList();
}

QStringList KV_XML_QUERY_INTERFACE::get_added_files(QString& error) const
{
    QStringList added;
    for (const QString& file : get_changed_files(error))
        if (!QFileInfo::exists(file))
            added.append(file);
    return added;
}

bool KV_XML_QUERY_INTERFACE::add_table(QString& error, const KV_TABLE_SCHEMA& table)
{
    return m_state->change(error, "add_table", [&] {
        KV_DATABASE_SCHEMA schema = m_state->current_schema();
        schema.tables.append(QSharedPointer<KV_TABLE_SCHEMA>::create(table));
        return m_state->change_schema(schema);
    });
}

bool KV_XML_QUERY_INTERFACE::edit_table(QString& error, const QString& table, const KV_TABLE_SCHEMA& fields)
{
    return m_state->change(error, "edit_table", [&] {
        KV_DATABASE_SCHEMA schema = m_state->current_schema();
        const int index = schema.table_index(table);
        if (index < 0)
            return m_state->no_table(table);
        if (fields.name != table)
            return QStringLiteral("table \"%1\" can't be renamed to \"%2\"")
                .arg(table, fields.name.left(KV_QUOTED_LENGTH));
        schema.tables[index] = QSharedPointer<KV_TABLE_SCHEMA>::create(fields);
        return m_state->change_schema(schema);
    });
}

bool KV_XML_QUERY_INTERFACE::remove_table(QString& error, const QString& table)
{
    return m_state->change(error, "remove_table", [&] {
        KV_DATABASE_SCHEMA schema = m_state->current_schema();
        const int index = schema.table_index(table);
        if (index < 0)
            return m_state->no_table(table);
        schema.tables.remove(index);
        return m_state->change_schema(schema);
    });
}

bool KV_XML_QUERY_INTERFACE::change_schema(QString& error, const KV_DATABASE_SCHEMA& schema)
{
    return m_state->change(error, "change_schema", [&] { return m_state->change_schema(schema); });
}

bool KV_XML_QUERY_INTERFACE::set_field_description(QString& error, const QString& table, const QString& field,
                                                   const QString& description)
{
    if (!m_state->can_change(error, "set_field_description"))
        return false;
    const KV_TABLE_SCHEMA* const known = m_state->current_schema().table(table);
    const int index = known ? known->field_index(field) : -1;
    if (index < 0)
        return m_state->report(
            error,
            QStringLiteral("there is no field %1").arg(kv_field_text(table, field).left(KV_QUOTED_LENGTH)));
    KV_TABLE_SCHEMA changed = *known;
    changed.fields[index].description = description;
    return edit_table(error, table, changed);
}

bool KV_XML_QUERY_INTERFACE::begin_transaction(QString& error, bool save_at_end)
{
    return m_state->change(error, "begin_transaction",
                           [&] { return m_state->begin_transaction(save_at_end); });
}

bool KV_XML_QUERY_INTERFACE::end_transaction(QString& error)
{
    return m_state->change(error, "end_transaction", [&] { return m_state->end_transaction(); });
}

bool KV_XML_QUERY_INTERFACE::in_transaction() const
{
    return m_state->in_transaction();
}

bool KV_XML_QUERY_INTERFACE::terminate_transaction(QString& error)
{
    return m_state->can_read(error) && m_state->report(error, m_state->terminate_transaction());
}

bool KV_XML_QUERY_INTERFACE::key_exists_within_transaction(QString& error, const QString& table,
                                                           const QString& key)
{
    if (!m_state->can_read(error))
        return false;
    if (!in_transaction())
        return m_state->report(error, KV_NO_TRANSACTION);
    const std::optional<KV_TABLE_CHANGE> records = m_state->current_table(table, error);
    return m_state->report(error, error) && records->row_of(key) >= 0;
}

bool KV_XML_QUERY_INTERFACE::remove_record_within_transaction(QString& error, const QString& table,
                                                              const QString& key)
{
    return m_state->change(error, "remove_record_within_transaction", [&] {
        return in_transaction()
                   ? m_state->change_records({{KV_EDIT_COMMAND::REMOVE_RECORD, table, key, {}}}, false)
                   : QString(KV_NO_TRANSACTION);
    });
}

bool KV_XML_QUERY_INTERFACE::add_record(QString& error, const QString& table, const KV_RECORD_DATA& record)
{
    return m_state->change(error, "add_record", [&] {
        return m_state->change_records({{KV_EDIT_COMMAND::ADD_RECORD, table, QString(), record}}, false);
    });
}

bool KV_XML_QUERY_INTERFACE::remove_record(QString& error, const QString& table, const QString& key)
{
    return m_state->change(error, "remove_record", [&] {
        return m_state->change_records({{KV_EDIT_COMMAND::REMOVE_RECORD, table, key, {}}}, false);
    });
}

bool KV_XML_QUERY_INTERFACE::edit_field_data(QString& error, const QString& table, const QString& key,
                                             const QString& field, const QString& value)
{
    return m_state->change(error, "edit_field_data", [&] {
        KV_RECORD_DATA record;
        QString problem = m_state->current_record(table, key, record);
        const KV_TABLE_SCHEMA* const schema = m_state->current_schema().table(table);
        const int index = problem.isEmpty() ? schema->field_index(field) : -1;
        if (problem.isEmpty() && index < 0)
            problem = kv_no_field_text(table, field);
        if (!problem.isEmpty())
            return problem;
        record.fields[index].value = value;
        return m_state->change_records({{KV_EDIT_COMMAND::EDIT_RECORD, table, key, record}}, false);
    });
}

bool KV_XML_QUERY_INTERFACE::edit_record_data(QString& error, const QString& table, const QString& key,
                                              const KV_RECORD_DATA& record)
{
    return m_state->change(error, "edit_record_data", [&] {
        return m_state->change_records({{KV_EDIT_COMMAND::EDIT_RECORD, table, key, record}}, false);
    });
}

bool KV_XML_QUERY_INTERFACE::apply_edit_commands(QString& error, const QVector<KV_EDIT_COMMAND>& commands)
{
    return m_state->change(error, "apply_edit_commands",
                           [&] { return m_state->change_records(commands, true); });
}

bool KV_XML_QUERY_INTERFACE::save_table(QString& error, const QString& table)
{
    return save_table(error, QStringList(table));
}

bool KV_XML_QUERY_INTERFACE::save_table(QString& error, const QStringList& tables)
{
    return m_state->change(error, "save_table", [&] { return m_state->save(tables, false); });
}

bool KV_XML_QUERY_INTERFACE::save_schema(QString& error)
{
    return m_state->change(error, "save_schema", [&] { return m_state->save({}, true); });
}

bool KV_XML_QUERY_INTERFACE::save_schema(QString& error, const QString& path)
{
    return m_state->change(error, "save_schema", [&] { return m_state->save_schema_to(path); });
}

bool KV_XML_QUERY_INTERFACE::save_relationships(QString& error)
{
    return m_state->change(error, "save_relationships", [&] { return m_state->save({}, true); });
}

bool KV_XML_QUERY_INTERFACE::revert_changes(QString& error)
{
    return m_state->change(error, "revert_changes", [&] { return m_state->revert(); });
}

bool KV_XML_QUERY_INTERFACE::revert_single_table(QString& error, const QString& table)
{
    return m_state->change(error, "revert_single_table", [&] { return m_state->revert(table); });
}
