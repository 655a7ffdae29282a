#include <QtCore/QFileInfo>

#include "contracts/database/kv_database.h"
#include "contracts/database/kv_files.h"
#include "contracts/database/kv_schema_rules.h"
#include "contracts/database/kv_schemas.h"

namespace {

// The values that more records of the table have in the field than before, or
// that fewer have, for a `sign` of 1 or -1.
void add_values_with_balance(const QHash<QString, KV_TABLE_CHANGE>& tables, const QString& table,
                             const QString& field, int sign, QSet<QString>& values)
{
    const auto change = tables.constFind(table);
    if (change == tables.constEnd())
        return;
    const QHash<QString, int> balance = change->balance(field);
    for (auto value = balance.begin(); value != balance.end(); ++value)
        if (value.value() * sign > 0)
            values.insert(value.key());
}

} // namespace

QString KV_DATABASE::begin_transaction(bool saves)
{
    if (m_transaction)
        return QStringLiteral("a transaction is open already");
    m_transaction = KV_TRANSACTION{saves, m_schema};
    return QString();
}

QString KV_DATABASE::end_transaction()
{
    if (!m_transaction)
        return KV_NO_TRANSACTION;
    QString error = check_references();
    SAVE save{};
    if (error.isEmpty() && m_transaction->saves) {
        QStringList changed;
        for (auto table = m_transaction->tables.begin(); table != m_transaction->tables.end(); ++table)
            if (table->is_changed())
                changed.append(table.key());
        save = save_of(changed, !kv_is_same_schema(m_schema, m_transaction->schema));
        error = write(save);
    }
    if (!error.isEmpty())
        return error;
    take_over();
    m_transaction.reset();
    mark_written(save);
    return QString();
}

QString KV_DATABASE::terminate_transaction()
{
    if (!m_transaction)
        return KV_NO_TRANSACTION;
    m_transaction.reset();
    return QString();
}

QString KV_DATABASE::change_problem(const QString& table) const
{
    const QSharedPointer<KV_LOADED_TABLE> loaded = m_tables.value(table);
    return loaded && loaded->has_left_out
               ? QStringLiteral("%1: this table can't be changed: its file has fields that the schema does "
                                "not know, and they would be lost")
                     .arg(table_file(table))
               : QString();
}

std::optional<KV_TABLE_CHANGE> KV_DATABASE::current_table(const QString& table, QString& error)
{
    if (m_transaction && m_transaction->tables.contains(table))
        return m_transaction->tables.value(table);
    if (current_schema().table_index(table) < 0) {
        error = no_table(table);
        return {};
    }
    const KV_LOADED_TABLE* const loaded = load(table, error);
    return loaded ? std::optional(KV_TABLE_CHANGE(loaded->data)) : std::nullopt;
}

QString KV_DATABASE::current_record(const QString& table, const QString& key, KV_RECORD_DATA& record)
{
    QString error;
    const std::optional<KV_TABLE_CHANGE> records = current_table(table, error);
    const int row = records ? records->row_of(key) : -1;
    if (row >= 0)
        record = records->record(row);
    return records && row < 0 ? records->no_record(key) : error;
}

// The table among those that the transaction changes; null with an error.
KV_TABLE_CHANGE* KV_DATABASE::change_of(const QString& table, QString& error)
{
    if (!m_transaction->tables.contains(table)) {
        const std::optional<KV_TABLE_CHANGE> change = current_table(table, error);
        if (change)
            error = change_problem(table);
        if (!error.isEmpty())
            return nullptr;
        m_transaction->tables.insert(table, *change);
    }
    return &m_transaction->tables[table];
}

QString KV_DATABASE::change_records(const QVector<KV_EDIT_COMMAND>& commands, bool is_counted)
{
    if (m_transaction)
        return apply(commands, is_counted);
    begin_transaction(false);
    QString error = apply(commands, is_counted);
    if (error.isEmpty())
        error = end_transaction();
    m_transaction.reset();
    return error;
}

QString KV_DATABASE::apply(const QVector<KV_EDIT_COMMAND>& commands, bool is_counted)
{
    QString error;
    QHash<QString, KV_TABLE_CHANGE>& tables = m_transaction->tables;
    for (const KV_EDIT_COMMAND& command : commands)
        if (tables.contains(command.table))
            tables[command.table].begin_step();
    for (int i = 0; i < commands.size() && error.isEmpty(); ++i) {
        if (KV_TABLE_CHANGE* const change = change_of(commands.at(i).table, error))
            error = change->apply(commands.at(i));
        if (!error.isEmpty() && is_counted)
            error = QStringLiteral("command %1: %2").arg(QString::number(i + 1), error);
    }
    for (const KV_EDIT_COMMAND& command : commands)
        if (!error.isEmpty() && tables.contains(command.table))
            tables[command.table].undo_step();
    return error;
}

QString KV_DATABASE::replace_table(const QString& table,
                                   const QVector<QSharedPointer<const KV_TABLE_SCHEMA>>& next)
{
    KV_DATABASE_SCHEMA schema = current_schema();
    const int index = schema.table_index(table);
    if (index < 0)
        return no_table(table);
    schema.tables = schema.tables.mid(0, index) + next + schema.tables.mid(index + 1);
    return change_schema(schema);
}

QString KV_DATABASE::change_schema(const KV_DATABASE_SCHEMA& schema)
{
    int part = 0;
    QString error = kv_schema_problem(schema, part);
    if (!error.isEmpty())
        return error;
    const std::optional<KV_TRANSACTION> before = m_transaction;
    if (!before)
        begin_transaction(false);
    error = apply_schema(schema);
    if (error.isEmpty() && !before)
        error = end_transaction();
    if (!error.isEmpty())
        m_transaction = before;
    return error;
}

QString KV_DATABASE::apply_schema(const KV_DATABASE_SCHEMA& schema)
{
    for (const QString& table : kv_removed_tables(m_transaction->schema, schema))
        m_transaction->tables.remove(table);
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : schema.tables) {
        const QString error = apply_table(table);
        if (!error.isEmpty())
            return error;
    }
    m_transaction->schema = schema;
    m_transaction->schema.version = KV_FORMAT_VERSION;
    return QString();
}

QString KV_DATABASE::apply_table(const QSharedPointer<const KV_TABLE_SCHEMA>& table)
{
    const QString& name = table->name;
    const KV_TABLE_SCHEMA* const before = m_transaction->schema.table(name);
    if (!before && m_written_schema.table_index(name) < 0 && QFileInfo::exists(table_file(name)))
        return QStringLiteral("%1: there is a file of this name already").arg(table_file(name));
    if (!before) {
        m_transaction->tables.insert(name, KV_TABLE_CHANGE::made(table));
    } else if (!kv_has_same_shape(*before, *table)) {
        QString error;
        KV_TABLE_CHANGE* const change = change_of(name, error);
        return change ? change->reshape(table) : error;
    }
    return QString();
}

QString KV_DATABASE::check_references()
{
    const QVector<RELATIONSHIP_DATA> relationships = kv_is_same_schema(m_schema, m_transaction->schema)
                                                         ? m_relationships
                                                         : kv_relationships(m_transaction->schema);
    for (const RELATIONSHIP_DATA& relationship : relationships) {
        const QString error = check_reference(relationship);
        if (!error.isEmpty())
            return error;
    }
    return QString();
}

// Only what this transaction gave or took is judged: references that led
// nowhere before are no reason to refuse a change.
QString KV_DATABASE::check_reference(const RELATIONSHIP_DATA& relationship)
{
    QSet<QString> values;
    const auto& [table, field, lookup_table, lookup_field] = relationship;
    add_values_with_balance(m_transaction->tables, table, field, 1, values);
    add_values_with_balance(m_transaction->tables, lookup_table, lookup_field, -1, values);
    if (values.isEmpty())
        return QString();
    QString error;
    const std::optional<KV_TABLE_CHANGE> looked_up = current_table(lookup_table, error);
    if (looked_up)
        values -= looked_up->values_in_use(lookup_field, values);
    if (!looked_up || values.isEmpty())
        return error;
    const std::optional<KV_TABLE_CHANGE> looking_up = current_table(table, error);
    if (!looking_up)
        return error;
    QStringList lost = looking_up->values_in_use(field, values).values();
    lost.sort();
    return lost.isEmpty() ? QString()
                          : QStringLiteral("value \"%1\" of field %2 would not be found in %3")
                                .arg(lost.first().left(KV_QUOTED_LENGTH), kv_field_text(table, field),
                                     kv_field_text(lookup_table, lookup_field));
}

void KV_DATABASE::take_over()
{
    for (auto change = m_transaction->tables.begin(); change != m_transaction->tables.end(); ++change) {
        if (!change->is_changed())
            continue;
        QSharedPointer<KV_LOADED_TABLE>& loaded = m_tables[change.key()];
        if (!loaded) {
            loaded = QSharedPointer<KV_LOADED_TABLE>::create();
            m_stamps.insert(table_file(change.key()), KV_FILE_STAMP::of(table_file(change.key())));
        }
        KV_LOADED_TABLE next;
        next.is_edited = true;
        next.revision = ++m_last_revision;
        next.has_plain_keys = change->has_plain_keys(loaded->has_plain_keys);
        *loaded = KV_LOADED_TABLE(); // so that the change owns the records alone, and copies none
        next.data = std::move(*change).take();
        *loaded = next;
    }
    if (kv_is_same_schema(m_schema, m_transaction->schema))
        return;
    for (const QString& table : kv_removed_tables(m_schema, m_transaction->schema))
        if (const QSharedPointer<KV_LOADED_TABLE> loaded = m_tables.value(table))
            loaded->forget();
    set_schema(m_transaction->schema);
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : qAsConst(m_schema.tables))
        if (const QSharedPointer<KV_LOADED_TABLE> loaded = m_tables.value(table->name))
            loaded->data.schema = table;
}
