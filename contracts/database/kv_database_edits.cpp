#include <QtCore/QFileInfo>

#include "contracts/database/kv_database.h"
#include "contracts/database/kv_schema_changes.h"
#include "contracts/database/kv_schema_reader.h"
#include "contracts/database/kv_schema_rules.h"

namespace {

// The values that more records of the table have in the field than before, or
// that fewer have, for a `sign` of 1 or -1.
QSet<QString> values_with_balance(const QHash<QString, KV_WORKING_TABLE>& tables, const QString& table,
                                  const QString& field, int sign)
{
    QSet<QString> values;
    const auto place = tables.constFind(table);
    if (place == tables.constEnd())
        return values;
    const QHash<QString, int> balance = place->balance(field);
    for (auto value = balance.begin(); value != balance.end(); ++value)
        if (value.value() * sign > 0)
            values.insert(value.key());
    return values;
}

} // namespace

QStringList KV_TRANSACTION::changed_tables() const
{
    QStringList names;
    for (auto place = tables.begin(); place != tables.end(); ++place)
        if (place->is_changed())
            names.append(place.key());
    return names;
}

QString KV_DATABASE::begin_transaction(bool saves)
{
    if (m_transaction)
        return QStringLiteral("a transaction is open already");
    m_transaction = KV_TRANSACTION{saves, m_schema, {}};
    return QString();
}

QString KV_DATABASE::end_transaction()
{
    if (!m_transaction)
        return QStringLiteral("no transaction has begun");
    for (KV_WORKING_TABLE& table : m_transaction->tables)
        table.compact();
    QString error = check_references();
    if (!error.isEmpty())
        return error;
    const bool saves = m_transaction->saves;
    const bool is_schema_changed = !kv_is_same_schema(m_schema, m_transaction->schema);
    const SAVE save = save_of(m_transaction->changed_tables(), is_schema_changed);
    if (saves)
        error = write(save);
    if (!error.isEmpty())
        return error;
    take_over_tables();
    take_over_schema();
    m_transaction.reset();
    if (saves)
        mark_written(save);
    return QString();
}

QString KV_DATABASE::terminate_transaction()
{
    if (!m_transaction)
        return QStringLiteral("no transaction has begun");
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

KV_WORKING_TABLE* KV_DATABASE::working(const QString& table, QString& error)
{
    const auto known = m_transaction->tables.find(table);
    if (known != m_transaction->tables.end())
        return &*known;
    if (m_transaction->schema.table_index(table) < 0) {
        error = no_table(table);
        return nullptr;
    }
    const KV_LOADED_TABLE* const loaded = load(table, error);
    if (loaded)
        error = change_problem(table);
    if (!loaded || !error.isEmpty())
        return nullptr;
    KV_WORKING_TABLE copy;
    copy.data = loaded->data;
    return &*m_transaction->tables.insert(table, copy);
}

QString KV_DATABASE::change_records(const QString& table,
                                    const std::function<QString(KV_WORKING_TABLE&)>& change)
{
    QString error;
    if (m_transaction) {
        KV_WORKING_TABLE* const records = working(table, error);
        return records ? change(*records) : error;
    }
    KV_LOADED_TABLE* const loaded = load(table, error);
    if (loaded)
        error = change_problem(table);
    return loaded && error.isEmpty() ? change_alone(*loaded, change) : error;
}

// The records are moved into a transaction of their own and not copied: one
// change of a large table costs no more than one of a small table.
QString KV_DATABASE::change_alone(KV_LOADED_TABLE& loaded,
                                  const std::function<QString(KV_WORKING_TABLE&)>& change)
{
    begin_transaction(false);
    KV_WORKING_TABLE& records = m_transaction->tables[loaded.data.schema->name];
    records.data.schema = loaded.data.schema;
    std::swap(records.data, loaded.data);
    QString error = change(records);
    if (error.isEmpty()) {
        error = check_references();
        if (!error.isEmpty())
            records.undo();
    }
    if (error.isEmpty()) {
        take_over_tables();
    } else {
        std::swap(records.data, loaded.data);
    }
    m_transaction.reset();
    return error;
}

QString KV_DATABASE::change_at_once(const std::function<QString()>& change)
{
    if (!m_transaction) {
        begin_transaction(false);
        QString error = change();
        if (error.isEmpty())
            error = end_transaction();
        m_transaction.reset();
        return error;
    }
    const KV_TRANSACTION before = *m_transaction;
    const QString error = change();
    if (!error.isEmpty())
        *m_transaction = before;
    return error;
}

QString KV_DATABASE::change_schema(const KV_DATABASE_SCHEMA& schema)
{
    const QString problem = kv_schema_problem(schema);
    return problem.isEmpty() ? change_at_once([&] { return apply_schema(schema); }) : problem;
}

QString KV_DATABASE::apply_schema(const KV_DATABASE_SCHEMA& schema)
{
    const QStringList removed = kv_removed_tables(m_transaction->schema, schema);
    for (const QString& table : removed)
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
    if (before == table.data())
        return QString();
    if (!before) {
        const bool is_known = m_written_schema.table_index(name) >= 0;
        if (QFileInfo::exists(table_file(name)) && !is_known)
            return QStringLiteral("%1: there is a file of this name already").arg(table_file(name));
        m_transaction->tables.insert(name, KV_WORKING_TABLE::empty(table));
        return QString();
    }
    if (kv_has_same_shape(*before, *table)) {
        const auto records = m_transaction->tables.find(name);
        if (records != m_transaction->tables.end())
            records->data.schema = table;
        return QString();
    }
    QString error;
    KV_WORKING_TABLE* const records = working(name, error);
    return records ? records->reshape(table) : error;
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
    const QHash<QString, KV_WORKING_TABLE>& tables = m_transaction->tables;
    QSet<QString> values =
        values_with_balance(tables, relationship.table, relationship.field, 1) +
        values_with_balance(tables, relationship.lookup_table, relationship.lookup_field, -1);
    if (values.isEmpty())
        return QString();

    QString error;
    const KV_TABLE_VIEW looked_up = view(relationship.lookup_table, error);
    if (!looked_up.data)
        return error;
    values -= kv_values_in_use(looked_up, relationship.lookup_field, values);
    const KV_TABLE_VIEW looking_up =
        values.isEmpty() ? KV_TABLE_VIEW{looked_up.data} : view(relationship.table, error);
    if (!looking_up.data)
        return error;
    const QSet<QString> lost =
        values.isEmpty() ? values : kv_values_in_use(looking_up, relationship.field, values);
    if (lost.isEmpty())
        return QString();
    QStringList names = lost.values();
    names.sort();
    return QStringLiteral("value \"%1\" of field %2 would not be found in %3")
        .arg(names.first().left(KV_QUOTED_LENGTH), kv_field_text(relationship.table, relationship.field),
             kv_field_text(relationship.lookup_table, relationship.lookup_field));
}

void KV_DATABASE::take_over_tables()
{
    const QStringList changed = m_transaction->changed_tables();
    for (const QString& name : changed) {
        KV_WORKING_TABLE& table = m_transaction->tables[name];
        table.compact();
        QSharedPointer<KV_LOADED_TABLE>& loaded = m_tables[name];
        if (!loaded) {
            loaded = QSharedPointer<KV_LOADED_TABLE>::create();
            loaded->stamp = KV_FILE_STAMP::of(table_file(name));
        }
        std::swap(loaded->data, table.data);
        loaded->error.clear();
        loaded->has_left_out = false;
        loaded->is_edited = true;
        loaded->revision = next_revision();
    }
}

void KV_DATABASE::take_over_schema()
{
    const QStringList removed = kv_removed_tables(m_schema, m_transaction->schema);
    for (const QString& table : removed)
        if (const QSharedPointer<KV_LOADED_TABLE> loaded = m_tables.value(table))
            loaded->forget();
    set_schema(m_transaction->schema);
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : qAsConst(m_schema.tables))
        if (const QSharedPointer<KV_LOADED_TABLE> loaded = m_tables.value(table->name))
            loaded->data.schema = table;
}
