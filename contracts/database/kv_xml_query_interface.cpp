// The operations of KV_XML_QUERY_INTERFACE that read.

#include "contracts/database/kv_xml_query_interface.h"

#include <QtCore/QFileInfo>
#include <QtCore/QRandomGenerator>

#include <algorithm>
#include <atomic>

#include "contracts/database/kv_database.h"
#include "contracts/database/kv_schemas.h"

namespace {

constexpr int QUOTED_QUERY_LENGTH = 200;

using TEXT = const QString&;
using RELATIONSHIPS = QVector<RELATIONSHIP_DATA>;

QString quoted(const QString& query)
{
    const QString line = query.simplified();
    return '"' + line.left(QUOTED_QUERY_LENGTH) + (line.size() > QUOTED_QUERY_LENGTH ? "...\"" : "\"");
}

// The first row from `from` on whose field has the value, or -1.
int row_with(const KV_TABLE_DATA& table, int field, const QString& value, int from = 0)
{
    const auto has_value = [&](const KV_RECORD_DATA& record) {
        return record.fields.at(field).value == value;
    };
    if (table.schema->fields.at(field).key) {
        const int row = table.rows_by_key.value(value, -1);
        return row < from ? -1 : row;
    }
    const auto end = table.records.end(), found = std::find_if(table.records.begin() + from, end, has_value);
    return found == end ? -1 : int(found - table.records.begin());
}

bool has_value(const KV_TABLE_DATA* table, const QString& field, const QString& value)
{
    return table && row_with(*table, table->schema->field_index(field), value) >= 0;
}

} // namespace

// Without version control for the tables a workspace says nothing.
KV_XML_QUERY_INTERFACE::KV_XML_QUERY_INTERFACE(PROGRESS_CALLBACK* progress, const QString&,
                                               bool skip_unknown_fields, bool read_only)
    : m_database(new KV_DATABASE(progress, skip_unknown_fields, read_only))
{
}

KV_XML_QUERY_INTERFACE::~KV_XML_QUERY_INTERFACE() = default;

// An operation that answers what the database is.
#define GOX_STATE(type, operation, value)                                                                    \
    type KV_XML_QUERY_INTERFACE::operation() const                                                           \
    {                                                                                                        \
        return m_database->value;                                                                            \
    }

// An operation that answers `value`, or nothing when the database, or what else `can_read` asks for,
// is not there.
#define GOX_READ(type, operation, arguments, can_read, value)                                                \
    type KV_XML_QUERY_INTERFACE::operation arguments const                                                   \
    {                                                                                                        \
        if (m_database->can_read)                                                                            \
            return value;                                                                                    \
        return {};                                                                                           \
    }

GOX_STATE(int, version, schema().version)
GOX_STATE(bool, is_connected, is_connected())
GOX_STATE(QString, connect_string, path())
GOX_STATE(bool, is_read_only, is_read_only)
GOX_STATE(bool, in_transaction, in_transaction())
GOX_STATE(const QString&, get_last_error, last_error)

GOX_READ(QStringList, get_changed_tables, (QString & error), can_read(error), m_database->edited_tables())
GOX_READ(QStringList, get_changed_schemas, (QString & error), can_read(error),
         kv_reshaped_tables(m_database->written_schema(), m_database->schema()))
GOX_READ(QStringList, get_changed_files, (QString & error), can_read(error), m_database->files_to_save())
GOX_READ(QStringList, get_deleted_tables, (QString & error), can_read(error),
         kv_removed_tables(m_database->written_schema(), m_database->schema()))

GOX_READ(QStringList, get_table_names, (QString & error), can_read(error),
         kv_table_names(m_database->schema()))
GOX_READ(const KV_DATABASE_SCHEMA*, get_database_schema, (QString & error), can_read(error),
         &m_database->schema())
GOX_READ(const KV_TABLE_SCHEMA*, get_table_schema, (QString & error, TEXT table), can_read(error, table),
         m_database->schema().table(table))
GOX_READ(QVector<KV_QUERY_SCHEMA>, get_query_schemas, (QString & error), can_read(error),
         m_database->schema().queries)
GOX_READ(KV_DATABASE_DATA, get_database_data, (QString & error), can_read(error),
         m_database->all_records(error))
GOX_READ(const KV_TABLE_DATA*, get_table_data, (QString & error, TEXT table), can_read(error),
         m_database->records(error, table))
GOX_READ(bool, any_dependents_using_existing_value, (QString & error, TEXT table, TEXT field, TEXT value),
         can_read(error), !dependents_of_field_using_value(error, table, field, value).isEmpty())
GOX_READ(METAFIELD_AND_SCHEMA, get_main_dependency_field_data, (QString & error, TEXT table, TEXT field),
         field(error, table, field), kv_main_dependency(m_database->schema(), table, field))

GOX_READ(bool, add_dependent_tables_to_set, (QString & error, QSet<QString>& tables), can_read(error),
         (kv_add_related_tables(m_database->relationships(), tables, &RELATIONSHIP_DATA::table), true))
GOX_READ(bool, add_dependency_tables_to_set, (QString & error, QSet<QString>& tables), can_read(error),
         (kv_add_related_tables(m_database->relationships(), tables, &RELATIONSHIP_DATA::lookup_table), true))
GOX_READ(QStringList, collect_dependant_tables, (QString & error, TEXT table), can_read(error, table),
         kv_related_tables(m_database->relationships(), table, &RELATIONSHIP_DATA::table))
GOX_READ(QStringList, collect_dependency_tables, (QString & error, TEXT table), can_read(error, table),
         kv_related_tables(m_database->relationships(), table, &RELATIONSHIP_DATA::lookup_table))

QString KV_XML_QUERY_INTERFACE::connect(const QString& path, const QString&,
                                        KV_QUERY_INTERFACE::GET_LATEST_MODE mode, bool load_all)
{
    if (mode == KV_QUERY_INTERFACE::GET_LATEST_NEVER)
        return connect_without_merge(path, load_all);
    disconnect();
    QString error;
    m_database->require(error, false,
                        "%1: the latest tables can't be fetched: this program has no version control for the "
                        "database",
                        path);
    return error;
}

QString KV_XML_QUERY_INTERFACE::connect_without_merge(const QString& path, bool load_all)
{
    QString error;
    m_database->connect(error, path, load_all);
    return error;
}

void KV_XML_QUERY_INTERFACE::disconnect()
{
    m_database->disconnect();
}

QDateTime KV_XML_QUERY_INTERFACE::latest_mod_date() const
{
    qint64 latest = NO_TIME;
    const QStringList files = is_connected() ? m_database->files_of(m_database->schema()) : QStringList();
    for (const QString& file : files)
        latest = qMax(latest, kv_file_stamp(file).time);
    return latest == NO_TIME ? QDateTime() : QDateTime::fromMSecsSinceEpoch(latest, Qt::UTC);
}

QStringList KV_XML_QUERY_INTERFACE::get_added_files(QString& error) const
{
    QStringList files = get_changed_files(error);
    files.erase(std::remove_if(files.begin(), files.end(), QOverload<const QString&>::of(&QFileInfo::exists)),
                files.end());
    return files;
}

QStringList KV_XML_QUERY_INTERFACE::get_table_names_disconnected(QString& error, const QString& path) const
{
    KV_XML_QUERY_INTERFACE other(nullptr, QString(), false, true);
    if (!m_database->report(error, other.connect_without_merge(path, false)))
        return {};
    return other.get_table_names(error);
}

KV_TABLE_DATA KV_XML_QUERY_INTERFACE::get_table_data(QString& error, const QString& table,
                                                     const QString& filter) const
{
    const KV_TABLE_DATA* const data = m_database->records(error, table);
    if (!data || filter.isEmpty())
        return data ? *data : KV_TABLE_DATA();
    const int end = filter.indexOf('=');
    if (!m_database->require(error, end >= 0, "filter \"%1\" of table \"%2\" must be field=value", filter,
                             table) ||
        !m_database->field(error, table, filter.left(end)))
        return KV_TABLE_DATA();
    KV_TABLE_DATA found{data->schema, {}, {}};
    const int field = data->schema->field_index(filter.left(end));
    const QString value = filter.mid(end + 1);
    for (int row = -1; (row = row_with(*data, field, value, row + 1)) >= 0;)
        found.records.append(data->records.at(row));
    found.index_keys();
    return found;
}

bool KV_XML_QUERY_INTERFACE::clear_table_data(QString& error, const QString& table)
{
    return m_database->can_read(error) && m_database->forget(error, table);
}

const KV_QUERY_SCHEMA* KV_XML_QUERY_INTERFACE::get_query_schema(QString& error, const QString& query) const
{
    if (!m_database->can_read(error))
        return nullptr;
    for (const KV_QUERY_SCHEMA& known : m_database->schema().queries)
        if (known.name == query)
            return &known;
    m_database->require(error, false, "%1: there is no query \"%2\"", m_database->schema_file(),
                        query.left(KV_QUOTED_LENGTH));
    return nullptr;
}

void KV_XML_QUERY_INTERFACE::get_query_data(QString& error, KV_QUERY_RESULTS& results,
                                            const QString& query) const
{
    results = KV_QUERY_RESULTS();
    if (const KV_QUERY_SCHEMA* const schema = get_query_schema(error, query))
        get_query_data_from_simple_sql(error, results, schema->sql, {});
}

void KV_XML_QUERY_INTERFACE::get_query_data_from_string(QString& error, KV_QUERY_RESULTS& results,
                                                        const QString& definition) const
{
    KV_QUERY_SCHEMA query;
    results = KV_QUERY_RESULTS();
    const QString problem = read_query_definition(definition, query);
    if (m_database->require(error, problem.isEmpty(), "%1: %2", quoted(definition), problem))
        get_query_data_from_simple_sql(error, results, query.sql, {});
}

void KV_XML_QUERY_INTERFACE::get_query_data_from_simple_sql(QString& error, KV_QUERY_RESULTS& results,
                                                            const QString& sql,
                                                            const QVariantList& values) const
{
    results = KV_QUERY_RESULTS();
    if (!m_database->can_read(error))
        return;
    const QString cause = m_database->queries.run(sql, values, results);
    m_database->require(error, cause.isEmpty(), "query %1: %2", quoted(sql), cause);
}

bool KV_XML_QUERY_INTERFACE::dependency_value_exists(QString& error, TEXT table, TEXT field, TEXT value) const
{
    const KV_FIELD_SCHEMA* const known = m_database->field(error, table, field);
    if (!known || known->lookup_table.isEmpty())
        return known;
    return has_value(m_database->records(error, known->lookup_table), known->lookup_field, value);
}

RELATIONSHIPS KV_XML_QUERY_INTERFACE::dependents_of_field_using_value(QString& error, TEXT table, TEXT field,
                                                                      TEXT value) const
{
    RELATIONSHIPS dependents;
    m_database->field(error, table, field);
    for (const RELATIONSHIP_DATA& one : m_database->relationships())
        if (one.lookup_table == table && one.lookup_field == field && error.isEmpty() &&
            has_value(m_database->records(error, one.table), one.field, value))
            dependents.append(one);
    return error.isEmpty() ? dependents : RELATIONSHIPS();
}

RELATIONSHIPS KV_XML_QUERY_INTERFACE::relationship_data(QString& error, TEXT table) const
{
    RELATIONSHIPS found;
    if (table.isEmpty() ? m_database->can_read(error) : m_database->can_read(error, table))
        for (const RELATIONSHIP_DATA& one : m_database->relationships())
            if (table.isEmpty() || one.table == table || one.lookup_table == table)
                found.append(one);
    return found;
}

QString KV_XML_QUERY_INTERFACE::get_field_lookup_value(QString& error, const QString& table,
                                                       const QString& key, const QString& field,
                                                       const QString& wanted) const
{
    const KV_FIELD_SCHEMA* const known = m_database->field(error, table, field);
    const KV_TABLE_DATA* const data = known ? m_database->records(error, table) : nullptr;
    const KV_RECORD_DATA* const record = data ? data->record_with_key(key) : nullptr;
    if (data && !record)
        m_database->report(error, KV_TABLE_CHANGE(*data).no_record(key));
    else if (data)
        m_database->require(error, !known->lookup_table.isEmpty(), "field %1 looks up nothing",
                            kv_field_text(table, field));
    if (!error.isEmpty() || !m_database->field(error, known->lookup_table, wanted))
        return QString();
    const QString value = record->fields.at(data->schema->field_index(field)).value;
    const KV_TABLE_DATA* const target = m_database->records(error, known->lookup_table);
    if (!target || value.isEmpty())
        return QString();
    const int row = row_with(*target, target->schema->field_index(known->lookup_field), value);
    m_database->require(error, row >= 0, "value \"%1\" of field %2 is not found in %3",
                        value.left(KV_QUOTED_LENGTH), kv_field_text(table, field),
                        kv_field_text(known->lookup_table, known->lookup_field));
    return target->value(row, wanted);
}

QStringList KV_XML_QUERY_INTERFACE::get_field_lookup_values(QString& error, const QString& table,
                                                            const QString& field) const
{
    QStringList values;
    const KV_FIELD_SCHEMA* const known = m_database->field(error, table, field);
    const KV_TABLE_DATA* const target =
        known && !known->lookup_table.isEmpty() ? m_database->records(error, known->lookup_table) : nullptr;
    if (!target)
        return values;
    const int index = target->schema->field_index(known->lookup_field);
    for (const KV_RECORD_DATA& record : target->records)
        values.append(record.fields.at(index).value);
    values.removeDuplicates();
    values.removeOne(QString());
    return values;
}

void KV_XML_QUERY_INTERFACE::bound_queries(const std::function<bool()>& is_stopped, qint64 max_msecs)
{
    m_database->queries.is_stopped = is_stopped;
    m_database->queries.max_msecs = max_msecs;
}

DIGEST KV_XML_QUERY_INTERFACE::table_digest(const QString& table) const
{
    return m_database->digest(table);
}

void KV_XML_QUERY_INTERFACE::make_read_only()
{
    m_database->is_read_only = true;
}

quint64 KV_XML_QUERY_INTERFACE::new_unique_global_id()
{
    // A random start for each process and an odd step: no number comes twice in
    // this one, and the rows of two processes hardly ever cross.
    static std::atomic<quint64> s_next{QRandomGenerator::system()->generate64()};
    constexpr quint64 STEP = 0x9e3779b97f4a7c15;
    quint64 id = 0;
    while (id == 0)
        id = s_next.fetch_add(STEP) & (~quint64(0) >> 1);
    return id;
}
