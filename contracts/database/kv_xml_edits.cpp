// The operations of KV_XML_QUERY_INTERFACE that change and save.

#include <QtCore/QFileInfo>

#include "contracts/database/kv_query_state.h"
#include "contracts/database/kv_schema_rules.h"

namespace {

QString run_command(KV_DATABASE& database, const KV_EDIT_COMMAND& command)
{
    return database.change_records(command.table, [&](KV_WORKING_TABLE& records) {
        switch (command.kind) {
        case KV_EDIT_COMMAND::ADD_RECORD:
            return records.add(command.record);
        case KV_EDIT_COMMAND::EDIT_RECORD:
            return records.edit(command.key, command.record);
        case KV_EDIT_COMMAND::REMOVE_RECORD:
            return records.remove(command.key);
        }
        return QStringLiteral("there is no command %1").arg(int(command.kind));
    });
}

} // namespace

QString KV_XML_QUERY_INTERFACE::create_db_copy_for_diff(const QString& folder)
{
    QString error;
    if (m_state->can_change(error, "create_db_copy_for_diff"))
        m_state->report(error, m_state->database.copy_to(folder));
    return error;
}

QStringList KV_XML_QUERY_INTERFACE::get_changed_tables(QString& error) const
{
    return m_state->can_read(error) ? m_state->database.edited_tables() : QStringList();
}

QStringList KV_XML_QUERY_INTERFACE::get_changed_schemas(QString& error) const
{
    return m_state->can_read(error) ? m_state->database.reshaped_tables() : QStringList();
}

QStringList KV_XML_QUERY_INTERFACE::get_changed_files(QString& error) const
{
    return m_state->can_read(error) ? m_state->database.files_to_save() : QStringList();
}

QStringList KV_XML_QUERY_INTERFACE::get_deleted_tables(QString& error) const
{
    return m_state->can_read(error) ? m_state->database.removed_tables() : QStringList();
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
    if (!m_state->can_change(error, "add_table"))
        return false;
    KV_DATABASE_SCHEMA schema = m_state->database.current_schema();
    schema.tables.append(QSharedPointer<KV_TABLE_SCHEMA>::create(table));
    return m_state->report(error, m_state->database.change_schema(schema));
}

bool KV_XML_QUERY_INTERFACE::edit_table(QString& error, const QString& table, const KV_TABLE_SCHEMA& fields)
{
    if (!m_state->can_change(error, "edit_table"))
        return false;
    KV_DATABASE_SCHEMA schema = m_state->database.current_schema();
    const int index = schema.table_index(table);
    if (index < 0)
        return m_state->report(error, m_state->database.no_table(table));
    if (fields.name != table)
        return m_state->report(error, QStringLiteral("table \"%1\" can't be renamed to \"%2\"")
                                          .arg(table, fields.name.left(KV_QUOTED_LENGTH)));
    schema.tables[index] = QSharedPointer<KV_TABLE_SCHEMA>::create(fields);
    return m_state->report(error, m_state->database.change_schema(schema));
}

bool KV_XML_QUERY_INTERFACE::remove_table(QString& error, const QString& table)
{
    if (!m_state->can_change(error, "remove_table"))
        return false;
    KV_DATABASE_SCHEMA schema = m_state->database.current_schema();
    const int index = schema.table_index(table);
    if (index < 0)
        return m_state->report(error, m_state->database.no_table(table));
    schema.tables.remove(index);
    return m_state->report(error, m_state->database.change_schema(schema));
}

bool KV_XML_QUERY_INTERFACE::change_schema(QString& error, const KV_DATABASE_SCHEMA& schema)
{
    return m_state->can_change(error, "change_schema") &&
           m_state->report(error, m_state->database.change_schema(schema));
}

bool KV_XML_QUERY_INTERFACE::set_field_description(QString& error, const QString& table, const QString& field,
                                                   const QString& description)
{
    if (!m_state->can_change(error, "set_field_description"))
        return false;
    const KV_TABLE_SCHEMA* const known = m_state->database.current_schema().table(table);
    KV_TABLE_SCHEMA changed = known ? *known : KV_TABLE_SCHEMA();
    const int index = changed.field_index(field);
    if (index < 0)
        return m_state->report(
            error,
            QStringLiteral("there is no field %1").arg(kv_field_text(table, field).left(KV_QUOTED_LENGTH)));
    changed.fields[index].description = description;
    return edit_table(error, table, changed);
}

bool KV_XML_QUERY_INTERFACE::begin_transaction(QString& error, bool save_at_end)
{
    return m_state->can_change(error, "begin_transaction") &&
           m_state->report(error, m_state->database.begin_transaction(save_at_end));
}

bool KV_XML_QUERY_INTERFACE::end_transaction(QString& error)
{
    return m_state->can_change(error, "end_transaction") &&
           m_state->report(error, m_state->database.end_transaction());
}

bool KV_XML_QUERY_INTERFACE::in_transaction() const
{
    return m_state->database.in_transaction();
}

bool KV_XML_QUERY_INTERFACE::terminate_transaction(QString& error)
{
    return m_state->can_read(error) && m_state->report(error, m_state->database.terminate_transaction());
}

bool KV_XML_QUERY_INTERFACE::key_exists_within_transaction(QString& error, const QString& table,
                                                           const QString& key)
{
    if (!m_state->can_read(error))
        return false;
    if (!in_transaction())
        return m_state->report(error, QStringLiteral("no transaction has begun"));
    const KV_TABLE_VIEW view = m_state->database.view(table, error);
    return m_state->report(error, error) && view.data->rows_by_key.contains(key);
}

bool KV_XML_QUERY_INTERFACE::remove_record_within_transaction(QString& error, const QString& table,
                                                              const QString& key)
{
    if (!m_state->can_change(error, "remove_record_within_transaction"))
        return false;
    return in_transaction() ? remove_record(error, table, key)
                            : m_state->report(error, QStringLiteral("no transaction has begun"));
}

bool KV_XML_QUERY_INTERFACE::add_record(QString& error, const QString& table, const KV_RECORD_DATA& record)
{
    const KV_EDIT_COMMAND command{KV_EDIT_COMMAND::ADD_RECORD, table, QString(), record};
    return m_state->can_change(error, "add_record") &&
           m_state->report(error, run_command(m_state->database, command));
}

bool KV_XML_QUERY_INTERFACE::remove_record(QString& error, const QString& table, const QString& key)
{
    const KV_EDIT_COMMAND command{KV_EDIT_COMMAND::REMOVE_RECORD, table, key, {}};
    return m_state->can_change(error, "remove_record") &&
           m_state->report(error, run_command(m_state->database, command));
}

bool KV_XML_QUERY_INTERFACE::edit_field_data(QString& error, const QString& table, const QString& key,
                                             const QString& field, const QString& value)
{
    if (!m_state->can_change(error, "edit_field_data"))
        return false;
    return m_state->report(error, m_state->database.change_records(table, [&](KV_WORKING_TABLE& records) {
        return records.edit_field(key, field, value);
    }));
}

bool KV_XML_QUERY_INTERFACE::edit_record_data(QString& error, const QString& table, const QString& key,
                                              const KV_RECORD_DATA& record)
{
    const KV_EDIT_COMMAND command{KV_EDIT_COMMAND::EDIT_RECORD, table, key, record};
    return m_state->can_change(error, "edit_record_data") &&
           m_state->report(error, run_command(m_state->database, command));
}

bool KV_XML_QUERY_INTERFACE::apply_edit_commands(QString& error, const QVector<KV_EDIT_COMMAND>& commands)
{
    if (!m_state->can_change(error, "apply_edit_commands"))
        return false;
    const auto run_all = [&] {
        for (int i = 0; i < commands.size(); ++i) {
            const QString cause = run_command(m_state->database, commands.at(i));
            if (!cause.isEmpty())
                return QStringLiteral("command %1: %2").arg(i + 1).arg(cause);
        }
        return QString();
    };
    return m_state->report(error, m_state->database.change_at_once(run_all));
}

bool KV_XML_QUERY_INTERFACE::save_table(QString& error, const QString& table)
{
    return save_table(error, QStringList(table));
}

bool KV_XML_QUERY_INTERFACE::save_table(QString& error, const QStringList& tables)
{
    return m_state->can_change(error, "save_table") &&
           m_state->report(error, m_state->database.save(tables, false));
}

bool KV_XML_QUERY_INTERFACE::save_schema(QString& error)
{
    return m_state->can_change(error, "save_schema") &&
           m_state->report(error, m_state->database.save({}, true));
}

bool KV_XML_QUERY_INTERFACE::save_schema(QString& error, const QString& path)
{
    return m_state->can_change(error, "save_schema") &&
           m_state->report(error, m_state->database.save_schema_to(path));
}

bool KV_XML_QUERY_INTERFACE::save_relationships(QString& error)
{
    return m_state->can_change(error, "save_relationships") && save_schema(error);
}

bool KV_XML_QUERY_INTERFACE::revert_changes(QString& error)
{
    return m_state->can_change(error, "revert_changes") && m_state->report(error, m_state->database.revert());
}

bool KV_XML_QUERY_INTERFACE::revert_single_table(QString& error, const QString& table)
{
    return m_state->can_change(error, "revert_single_table") &&
           m_state->report(error, m_state->database.revert(table));
}
