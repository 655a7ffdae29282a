#include <QtCore/QFileInfo>

#include "contracts/database/kv_database.h"
#include "contracts/database/kv_schema_reader.h"
#include "contracts/database/kv_schema_rules.h"

namespace {

// Whether a table file of one says the same under the other.
bool has_same_shape(const KV_TABLE_SCHEMA& a, const KV_TABLE_SCHEMA& b)
{
    if (a.fields.size() != b.fields.size())
        return false;
    for (int i = 0; i < a.fields.size(); ++i) {
        const KV_FIELD_SCHEMA& one = a.fields.at(i);
        const KV_FIELD_SCHEMA& other = b.fields.at(i);
        if (one.name != other.name || one.type != other.type || one.key != other.key ||
            one.default_value != other.default_value)
            return false;
    }
    return true;
}

QString value_of(const KV_RECORD_DATA& record, int index)
{
    return record.fields.isEmpty() ? QString() : record.fields.at(index).value;
}

// The values of a field in `records` that are not in the same records as they
// are in `others`.
void collect_values(const QVector<KV_RECORD_DATA>& records, const QVector<KV_RECORD_DATA>& others, int index,
                    QSet<QString>& values)
{
    for (int i = 0; i < records.size() && index >= 0; ++i) {
        const QString value = value_of(records.at(i), index);
        if (!value.isEmpty() && value != value_of(others.at(i), index))
            values.insert(value);
    }
}

} // namespace

QStringList KV_TRANSACTION::changed_tables() const
{
    QStringList names;
    for (auto place = tables.begin(); place != tables.end(); ++place)
        if (place->is_changed() || reshaped.contains(place.key()))
            names.append(place.key());
    return names;
}

QString KV_DATABASE::begin_transaction(bool saves)
{
    if (m_transaction)
        return QStringLiteral("a transaction is open already");
    m_transaction.reset(new KV_TRANSACTION);
    m_transaction->saves = saves;
    m_transaction->schema = m_schema;
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
    WRITTEN written;
    if (m_transaction->saves)
        error = write(m_transaction->changed_tables(), m_transaction->is_schema_changed, written);
    if (!error.isEmpty() && written.tables.isEmpty() && !written.schema)
        return error;
    take_over_tables();
    if (m_transaction->is_schema_changed)
        take_over_schema();
    m_transaction.reset();
    mark_written(written);
    return error.isEmpty() && written.schema ? remove_files() : error;
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
    if (m_transaction->removed.contains(table)) {
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
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : qAsConst(m_transaction->schema.tables)) {
        if (schema.table_index(table->name) >= 0)
            continue;
        m_transaction->tables.remove(table->name);
        m_transaction->reshaped.remove(table->name);
        m_transaction->removed.insert(table->name);
    }
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : schema.tables) {
        const QString error = apply_table(table);
        if (!error.isEmpty())
            return error;
    }
    m_transaction->schema = schema;
    m_transaction->schema.version = KV_FORMAT_VERSION;
    m_transaction->is_schema_changed = true;
    return QString();
}

QString KV_DATABASE::apply_table(const QSharedPointer<const KV_TABLE_SCHEMA>& table)
{
    const QString& name = table->name;
    const KV_TABLE_SCHEMA* const before = m_transaction->schema.table(name);
    if (before == table.data())
        return QString();
    if (!before) {
        const bool is_known = m_transaction->removed.contains(name) || m_files_to_remove.contains(name);
        if (QFileInfo::exists(table_file(name)) && !is_known)
            return QStringLiteral("%1: there is a file of this name already").arg(table_file(name));
        m_transaction->tables[name].data.schema = table;
        m_transaction->reshaped.insert(name);
        return QString();
    }
    if (has_same_shape(*before, *table)) {
        const auto records = m_transaction->tables.find(name);
        if (records != m_transaction->tables.end())
            records->data.schema = table;
        return QString();
    }
    QString error;
    KV_WORKING_TABLE* const records = working(name, error);
    m_transaction->reshaped.insert(name);
    return records ? records->reshape(table) : error;
}

QString KV_DATABASE::check_references()
{
    const QVector<RELATIONSHIP_DATA> relationships =
        m_transaction->is_schema_changed ? kv_relationships(m_transaction->schema) : m_relationships;
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
    const auto dependent = m_transaction->tables.constFind(relationship.table);
    if (dependent != m_transaction->tables.constEnd())
        collect_values(dependent->given, dependent->taken,
                       dependent->data.schema->field_index(relationship.field), values);
    const auto target = m_transaction->tables.constFind(relationship.lookup_table);
    if (target != m_transaction->tables.constEnd())
        collect_values(target->taken, target->given,
                       target->data.schema->field_index(relationship.lookup_field), values);
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
        loaded->is_edited = true;
        loaded->revision = next_revision();
        std::swap(loaded->data, table.data);
    }
}

void KV_DATABASE::take_over_schema()
{
    for (const QString& table : qAsConst(m_transaction->removed)) {
        const bool is_back = m_transaction->schema.table_index(table) >= 0;
        if (!is_back && m_written_schema.table_index(table) >= 0)
            m_files_to_remove.insert(table);
        m_reshaped.remove(table);
        if (!is_back && m_tables.contains(table))
            m_removed.append(m_tables.take(table));
    }
    m_reshaped += m_transaction->reshaped;
    m_files_to_remove -= m_transaction->reshaped;
    m_schema = m_transaction->schema;
    m_relationships = kv_relationships(m_schema);
    m_is_schema_edited = true;
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : qAsConst(m_schema.tables))
        if (const QSharedPointer<KV_LOADED_TABLE> loaded = m_tables.value(table->name))
            loaded->data.schema = table;
}
