// The operations of KV_XML_QUERY_INTERFACE that change and save, and those that tell what may be changed.

#include "contracts/database/kv_xml_query_interface.h"

#include <QtCore/QFileInfo>

#include "contracts/database/kv_database.h"
#include "contracts/database/kv_schemas.h"
#include "contracts/services/file_replacement.h"

using TEXT = const QString&;
using RECORD = const KV_RECORD_DATA&;

// An operation that is refused when nothing may be changed, and what it does else.
#define GOX_CHANGE(operation, arguments, work)                                                               \
    bool KV_XML_QUERY_INTERFACE::operation arguments                                                         \
    {                                                                                                        \
        return m_database->can_change(error, #operation) && m_database->work;                                \
    }

GOX_CHANGE(remove_table, (QString & error, TEXT table), replace_table(error, table, {}))
GOX_CHANGE(change_schema, (QString & error, const KV_DATABASE_SCHEMA& schema), change_schema(error, schema))
GOX_CHANGE(begin_transaction, (QString & error, bool save_at_end), begin_transaction(error, save_at_end))
GOX_CHANGE(end_transaction, (QString & error), end_transaction(error))
GOX_CHANGE(add_record, (QString & error, TEXT table, RECORD record),
           change_records(error, {{KV_EDIT_COMMAND::ADD_RECORD, table, {}, record}}))
GOX_CHANGE(edit_record_data, (QString & error, TEXT table, TEXT key, RECORD record),
           change_records(error, {{KV_EDIT_COMMAND::EDIT_RECORD, table, key, record}}))
GOX_CHANGE(remove_record, (QString & error, TEXT table, TEXT key),
           change_records(error, {{KV_EDIT_COMMAND::REMOVE_RECORD, table, key, {}}}))
GOX_CHANGE(remove_record_within_transaction, (QString & error, TEXT table, TEXT key),
           has_begun(error) && remove_record(error, table, key))
GOX_CHANGE(apply_edit_commands, (QString & error, const QVector<KV_EDIT_COMMAND>& commands),
           change_records(error, commands, true))
GOX_CHANGE(save_table, (QString & error, TEXT table), save(error, {table}, false))
GOX_CHANGE(save_table, (QString & error, const QStringList& tables), save(error, tables, false))
GOX_CHANGE(save_schema, (QString & error), save(error, {}, true))
GOX_CHANGE(save_schema, (QString & error, TEXT path), save_schema_to(error, path))
GOX_CHANGE(save_relationships, (QString & error), save(error, {}, true))
GOX_CHANGE(revert_changes, (QString & error), revert(error))
GOX_CHANGE(revert_single_table, (QString & error, TEXT table), revert(error, table))

bool KV_XML_QUERY_INTERFACE::terminate_transaction(QString& error)
{
    return m_database->can_read(error) && m_database->terminate_transaction(error);
}

bool KV_XML_QUERY_INTERFACE::key_exists_within_transaction(QString& error, TEXT table, TEXT key)
{
    if (!m_database->can_read(error) || !m_database->has_begun(error))
        return false;
    const std::optional<KV_TABLE_CHANGE> records = m_database->current_table(error, table);
    return records && records->row_of(key) >= 0;
}

QString KV_XML_QUERY_INTERFACE::create_db_copy_for_diff(const QString& folder)
{
    QString error;
    if (m_database->can_change(error, "create_db_copy_for_diff"))
        m_database->copy_to(error, folder);
    return error;
}

bool KV_XML_QUERY_INTERFACE::add_table(QString& error, const KV_TABLE_SCHEMA& table)
{
    KV_DATABASE_SCHEMA schema = m_database->current_schema();
    schema.tables.append(QSharedPointer<KV_TABLE_SCHEMA>::create(table));
    return m_database->can_change(error, "add_table") && m_database->change_schema(error, schema);
}

bool KV_XML_QUERY_INTERFACE::edit_table(QString& error, TEXT table, const KV_TABLE_SCHEMA& fields)
{
    return m_database->can_change(error, "edit_table") &&
           m_database->require(error, fields.name == table || !m_database->current_schema().table(table),
                               "table \"%1\" can't be renamed to \"%2\"", table,
                               fields.name.left(KV_QUOTED_LENGTH)) &&
           m_database->replace_table(error, table, {QSharedPointer<KV_TABLE_SCHEMA>::create(fields)});
}

bool KV_XML_QUERY_INTERFACE::set_field_description(QString& error, TEXT table, TEXT field, TEXT description)
{
    const KV_TABLE_SCHEMA* const known = m_database->current_schema().table(table);
    KV_TABLE_SCHEMA changed = known ? *known : KV_TABLE_SCHEMA{table, {}, {}};
    const int index = changed.field_index(field);
    if (index >= 0)
        changed.fields[index].description = description;
    return m_database->can_change(error, "set_field_description") &&
           m_database->report(error, known && index < 0 ? kv_no_field_text(table, field) : QString()) &&
           edit_table(error, table, changed);
}

bool KV_XML_QUERY_INTERFACE::edit_field_data(QString& error, TEXT table, TEXT key, TEXT field, TEXT value)
{
    if (!m_database->can_change(error, "edit_field_data"))
        return false;
    std::optional<KV_TABLE_CHANGE> records = m_database->current_table(error, table);
    if (!records)
        return false;
    KV_RECORD_DATA record = records->record(records->row_of(key));
    const int index = m_database->current_schema().table(table)->field_index(field);
    if (record.fields.isEmpty() || index < 0)
        return m_database->report(error, record.fields.isEmpty() ? records->no_record(key)
                                                                 : kv_no_field_text(table, field));
    record.fields[index].value = value;
    records.reset(); // a table that is shared would be copied to be changed
    return edit_record_data(error, table, key, record);
}

bool KV_XML_QUERY_INTERFACE::table_restricted(QString& error, const QString& table) const
{
    return !can_add_table_records(error, table);
}

bool KV_XML_QUERY_INTERFACE::can_add_table_records(QString& error, const QString& table) const
{
    if (!m_database->can_change(error, "a change of the table") || !m_database->records(error, table))
        return false;
    const QString file = m_database->table_file(table);
    const bool is_there = QFileInfo::exists(file);
    const QString place = is_there ? file : m_database->path();
    const bool is_writable = is_there ? QFileInfo(place).isWritable() : takes_new_files(place);
    return m_database->require(error, is_writable, "%1: this is write protected", place) &&
           m_database->is_whole(error, table);
}

bool KV_XML_QUERY_INTERFACE::can_edit_table_records(QString& error, const QString& table) const
{
    return can_add_table_records(error, table) && (m_database->schema().table(table)->key_index() >= 0 ||
                                                   m_database->report(error, kv_no_key_text(table)));
}

bool KV_XML_QUERY_INTERFACE::can_remove_table_records(QString& error, const QString& table) const
{
    return can_edit_table_records(error, table);
}
