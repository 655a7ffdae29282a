// The operations of KV_XML_QUERY_INTERFACE that change and save.

#include <QtCore/QFileInfo>

#include "contracts/database/kv_query_state.h"
#include "contracts/database/kv_schema_rules.h"

namespace {

using TEXT = const QString&;
using RECORD = const KV_RECORD_DATA&;

} // namespace

// A list of what differs from the disk.
#define GOX_DIFFERENCE(operation, list)                                                                      \
    QStringList KV_XML_QUERY_INTERFACE::operation(QString& error) const                                      \
    {                                                                                                        \
        return m_state->can_read(error) ? m_state->list : QStringList();                                     \
    }

// An operation that is refused when nothing may be changed, and what it does else.
#define GOX_CHANGE(operation, arguments, work)                                                               \
    bool KV_XML_QUERY_INTERFACE::operation arguments                                                         \
    {                                                                                                        \
        return m_state->change(error, #operation, [&] { return m_state->work; });                            \
    }

GOX_DIFFERENCE(get_changed_tables, edited_tables())
GOX_DIFFERENCE(get_changed_schemas, reshaped_tables())
GOX_DIFFERENCE(get_changed_files, files_to_save())
GOX_DIFFERENCE(get_deleted_tables, removed_tables())

GOX_CHANGE(remove_table, (QString & error, TEXT table), replace_table(table, {}))
GOX_CHANGE(change_schema, (QString & error, const KV_DATABASE_SCHEMA& schema), change_schema(schema))
GOX_CHANGE(begin_transaction, (QString & error, bool save_at_end), begin_transaction(save_at_end))
GOX_CHANGE(end_transaction, (QString & error), end_transaction())
GOX_CHANGE(add_record, (QString & error, TEXT table, RECORD record),
           change_record({KV_EDIT_COMMAND::ADD_RECORD, table, QString(), record}))
GOX_CHANGE(edit_record_data, (QString & error, TEXT table, TEXT key, RECORD record),
           change_record({KV_EDIT_COMMAND::EDIT_RECORD, table, key, record}))
GOX_CHANGE(remove_record, (QString & error, TEXT table, TEXT key),
           change_record({KV_EDIT_COMMAND::REMOVE_RECORD, table, key, {}}))
GOX_CHANGE(remove_record_within_transaction, (QString & error, TEXT table, TEXT key),
           in_transaction() ? m_state->change_record({KV_EDIT_COMMAND::REMOVE_RECORD, table, key, {}})
                            : QString(KV_NO_TRANSACTION))
GOX_CHANGE(apply_edit_commands, (QString & error, const QVector<KV_EDIT_COMMAND>& commands),
           change_records(commands, true))
GOX_CHANGE(save_table, (QString & error, const QStringList& tables), save(tables, false))
GOX_CHANGE(save_schema, (QString & error), save({}, true))
GOX_CHANGE(save_schema, (QString & error, TEXT path), save_schema_to(path))
GOX_CHANGE(save_relationships, (QString & error), save({}, true))
GOX_CHANGE(revert_changes, (QString & error), revert())
GOX_CHANGE(revert_single_table, (QString & error, TEXT table), revert(table))

bool KV_XML_QUERY_INTERFACE::terminate_transaction(QString& error)
{
    return m_state->can_read(error) && m_state->report(error, m_state->terminate_transaction());
}

QString KV_XML_QUERY_INTERFACE::create_db_copy_for_diff(const QString& folder)
{
    QString error;
    m_state->change(error, "create_db_copy_for_diff", [&] { return m_state->copy_to(folder); });
    return error;
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
        return fields.name == table || m_state->current_schema().table_index(table) < 0
                   ? m_state->replace_table(table, {QSharedPointer<KV_TABLE_SCHEMA>::create(fields)})
                   : QStringLiteral("table \"%1\" can't be renamed to \"%2\"")
                         .arg(table, fields.name.left(KV_QUOTED_LENGTH));
    });
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
        return m_state->change_record({KV_EDIT_COMMAND::EDIT_RECORD, table, key, record});
    });
}

bool KV_XML_QUERY_INTERFACE::save_table(QString& error, const QString& table)
{
    return save_table(error, QStringList(table));
}
