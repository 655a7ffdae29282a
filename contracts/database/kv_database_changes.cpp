// What KV_DATABASE changes, within transactions.

#include <QtCore/QFileInfo>

#include "contracts/database/kv_database.h"
#include "contracts/database/kv_schemas.h"

bool KV_DATABASE::begin_transaction(QString& error, bool saves)
{
    if (!require(error, !m_transaction, "a transaction is open already"))
        return false;
    m_transaction = KV_TRANSACTION{saves, m_schema};
    return true;
}

bool KV_DATABASE::end_transaction(QString& error)
{
    if (!has_begun(error))
        return false;
    const bool has_schema = !kv_is_same_schema(m_schema, m_transaction->schema);
    const auto relationships = has_schema ? kv_relationships(m_transaction->schema) : m_relationships;
    const QHash<QString, KV_TABLE_CHANGE>& tables = m_transaction->tables;
    for (const RELATIONSHIP_DATA& one : relationships)
        if ((tables.contains(one.table) || tables.contains(one.lookup_table)) && !check_reference(error, one))
            return false;
    QStringList changed;
    for (auto table = tables.begin(); table != tables.end(); ++table)
        if (m_transaction->saves && table->is_changed())
            changed.append(table.key());
    return finish(error, changed, m_transaction->saves && has_schema);
}

bool KV_DATABASE::terminate_transaction(QString& error)
{
    const bool is_begun = has_begun(error);
    m_transaction.reset();
    return is_begun;
}

// Does the work in the open transaction, or in one that ends with it.
template <typename WORK>
bool KV_DATABASE::change(QString& error, WORK work)
{
    if (m_transaction)
        return work();
    m_transaction = KV_TRANSACTION{false, m_schema};
    const bool is_done = work() && end_transaction(error);
    m_transaction.reset();
    return is_done;
}

std::optional<KV_TABLE_CHANGE> KV_DATABASE::current_table(QString& error, const QString& table)
{
    if (m_transaction && m_transaction->tables.contains(table))
        return m_transaction->tables.value(table);
    const KV_LOADED_TABLE* const loaded =
        has_table(error, current_schema(), table) ? load(error, table) : nullptr;
    return loaded ? std::optional(KV_TABLE_CHANGE(loaded->data)) : std::nullopt;
}

// The table among those that the transaction changes.
KV_TABLE_CHANGE* KV_DATABASE::change_of(QString& error, const QString& table)
{
    if (!m_transaction->tables.contains(table)) {
        const std::optional<KV_TABLE_CHANGE> change = current_table(error, table);
        if (!change || !is_whole(error, table))
            return nullptr;
        m_transaction->tables.insert(table, *change);
    }
    return &m_transaction->tables[table];
}

bool KV_DATABASE::change_records(QString& error, const QVector<KV_EDIT_COMMAND>& commands, bool is_counted)
{
    return change(error, [&] { return apply(error, commands, is_counted); });
}

bool KV_DATABASE::apply(QString& error, const QVector<KV_EDIT_COMMAND>& commands, bool is_counted)
{
    QHash<QString, KV_TABLE_CHANGE>& tables = m_transaction->tables;
    for (const KV_EDIT_COMMAND& command : commands)
        if (tables.contains(command.table))
            tables[command.table].begin_step();
    for (int i = 0; i < commands.size() && error.isEmpty(); ++i) {
        if (KV_TABLE_CHANGE* const change = change_of(error, commands.at(i).table))
            report(error, change->apply(commands.at(i)));
        if (!error.isEmpty() && is_counted)
            report(error, kv_text("command %1: %2", i + 1, error));
    }
    for (const KV_EDIT_COMMAND& command : commands)
        if (!error.isEmpty() && tables.contains(command.table))
            tables[command.table].undo_step();
    return error.isEmpty();
}

bool KV_DATABASE::replace_table(QString& error, const QString& table,
                                const QVector<QSharedPointer<const KV_TABLE_SCHEMA>>& next)
{
    KV_DATABASE_SCHEMA schema = current_schema();
    if (!has_table(error, schema, table))
        return false;
    const int index = schema.table_index(table);
    schema.tables = schema.tables.mid(0, index) + next + schema.tables.mid(index + 1);
    return change_schema(error, schema);
}

bool KV_DATABASE::change_schema(QString& error, const KV_DATABASE_SCHEMA& schema)
{
    int part = 0;
    return report(error, kv_schema_problem(schema, part)) &&
           change(error, [&] { return apply_schema(error, schema); });
}

bool KV_DATABASE::apply_schema(QString& error, const KV_DATABASE_SCHEMA& schema)
{
    const KV_TRANSACTION before = *m_transaction;
    for (const QString& table : kv_removed_tables(before.schema, schema))
        m_transaction->tables.remove(table);
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : schema.tables)
        if (!apply_table(error, table)) {
            m_transaction = before;
            return false;
        }
    m_transaction->schema = schema;
    m_transaction->schema.version = KV_FORMAT_VERSION;
    return true;
}

bool KV_DATABASE::apply_table(QString& error, const QSharedPointer<const KV_TABLE_SCHEMA>& table)
{
    const QString& name = table->name;
    const KV_TABLE_SCHEMA* const before = m_transaction->schema.table(name);
    if (!before && m_written_schema.table_index(name) < 0 && QFileInfo::exists(table_file(name)))
        return report(error, kv_text("%1: there is a file of this name already", table_file(name)));
    if (!before)
        m_transaction->tables.insert(name, KV_TABLE_CHANGE({table, {}, {}}, true));
    if (!before || kv_has_same_shape(*before, *table))
        return true;
    KV_TABLE_CHANGE* const change = change_of(error, name);
    return change && report(error, change->reshape(table));
}

// Only what this transaction gave or took is judged: references that led
// nowhere before are no reason to refuse a change.
bool KV_DATABASE::check_reference(QString& error, const RELATIONSHIP_DATA& relationship)
{
    const auto& [table, field, lookup_table, lookup_field] = relationship;
    const QHash<QString, KV_TABLE_CHANGE>& tables = m_transaction->tables;
    QSet<QString> values = tables.value(table).values_with_balance(field, 1);
    values |= tables.value(lookup_table).values_with_balance(lookup_field, -1);
    if (values.isEmpty())
        return true;
    const std::optional<KV_TABLE_CHANGE> looked_up = current_table(error, lookup_table);
    if (looked_up)
        values -= looked_up->values_in_use(lookup_field, values);
    if (!looked_up || values.isEmpty())
        return looked_up.has_value();
    const std::optional<KV_TABLE_CHANGE> looking_up = current_table(error, table);
    if (!looking_up)
        return false;
    QStringList lost = looking_up->values_in_use(field, values).values();
    lost.sort();
    return require(error, lost.isEmpty(), "value \"%1\" of field %2 would not be found in %3",
                   lost.value(0).left(KV_QUOTED_LENGTH), kv_field_text(table, field),
                   kv_field_text(lookup_table, lookup_field));
}

void KV_DATABASE::take_over()
{
    if (!kv_is_same_schema(m_schema, m_transaction->schema)) {
        set_schema(m_transaction->schema);
        m_unsteady.insert(schema_file());
    }
    for (auto change = m_transaction->tables.begin(); change != m_transaction->tables.end(); ++change) {
        if (!change->is_changed())
            continue;
        const QString file = table_file(change.key());
        m_unsteady.insert(file);
        if (!m_stamps.contains(file))
            m_stamps.insert(file, kv_file_stamp(file));
        KV_LOADED_TABLE& loaded = *m_tables.value(change.key());
        const QSharedPointer<const KV_TABLE_SCHEMA> schema = loaded.data.schema; // that of the transaction
        const bool has_plain_keys = change->has_plain_keys(loaded.has_plain_keys);
        loaded = KV_LOADED_TABLE(); // so that the change owns the records alone, and copies none
        loaded.data = std::move(*change).take();
        loaded.data.schema = schema;
        loaded.revision = ++m_last_revision;
        loaded.has_plain_keys = has_plain_keys;
        loaded.is_edited = true;
    }
    m_transaction.reset();
}
