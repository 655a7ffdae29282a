#include "contracts/database/kv_xml_query_interface.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QRandomGenerator>

#include <atomic>

#include "contracts/database/kv_query_state.h"
#include "contracts/database/kv_schema_reader.h"
#include "contracts/database/kv_schema_rules.h"

namespace {

// The records with `value` in the field at `index`.
KV_TABLE_DATA records_with(const KV_TABLE_DATA& table, int index, const QString& value)
{
    KV_TABLE_DATA result;
    result.schema = table.schema;
    if (table.schema->fields.at(index).key) {
        if (const KV_RECORD_DATA* const record = table.record_with_key(value))
            result.records.append(*record);
    } else {
        for (const KV_RECORD_DATA& record : table.records)
            if (record.fields.at(index).value == value)
                result.records.append(record);
    }
    result.index_keys();
    return result;
}

} // namespace

KV_XML_QUERY_INTERFACE::KV_XML_QUERY_INTERFACE(PROGRESS_CALLBACK* progress, const QString& workspace,
                                               bool skip_unknown_fields, bool read_only)
    : m_state(new STATE(progress, workspace, skip_unknown_fields, read_only))
{
}

KV_XML_QUERY_INTERFACE::~KV_XML_QUERY_INTERFACE() = default;

int KV_XML_QUERY_INTERFACE::version() const
{
    return m_state->database.schema().version;
}

QString KV_XML_QUERY_INTERFACE::connect(const QString& path, const QString& workspace,
                                        KV_QUERY_INTERFACE::GET_LATEST_MODE mode, bool load_all)
{
    m_state->workspace = workspace;
    if (mode == KV_QUERY_INTERFACE::GET_LATEST_NEVER)
        return connect_without_merge(path, load_all);
    disconnect();
    return m_state->report(QStringLiteral("%1: the latest tables can't be fetched: this program has no "
                                          "version control for the database")
                               .arg(path));
}

QString KV_XML_QUERY_INTERFACE::connect_without_merge(const QString& path, bool load_all)
{
    disconnect();
    return m_state->report(m_state->database.connect(path, load_all, !m_state->is_read_only));
}

void KV_XML_QUERY_INTERFACE::disconnect()
{
    m_state->queries.reset();
    m_state->database.disconnect();
}

bool KV_XML_QUERY_INTERFACE::is_connected() const
{
    return m_state->database.is_connected();
}

QDateTime KV_XML_QUERY_INTERFACE::latest_mod_date() const
{
    const KV_DATABASE& database = m_state->database;
    QDateTime latest;
    const auto look_at = [&](const QString& path) {
        const QDateTime time = QFileInfo(kv_file_to_read(path)).lastModified().toUTC();
        if (time.isValid() && (!latest.isValid() || latest < time))
            latest = time;
    };
    if (!database.is_connected())
        return latest;
    look_at(database.schema_file());
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : database.schema().tables)
        look_at(database.table_file(table->name));
    return latest;
}

QString KV_XML_QUERY_INTERFACE::connect_string() const
{
    return m_state->database.path();
}

QStringList KV_XML_QUERY_INTERFACE::get_table_names(QString& error) const
{
    QStringList names;
    if (m_state->can_read(error))
        for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : m_state->database.schema().tables)
            names.append(table->name);
    return names;
}

QStringList KV_XML_QUERY_INTERFACE::get_table_names_disconnected(QString& error, const QString& path) const
{
    KV_XML_QUERY_INTERFACE other(nullptr, QString(), false, true);
    if (!m_state->report(error, other.connect_without_merge(path, false)))
        return {};
    return other.get_table_names(error);
}

const KV_DATABASE_SCHEMA* KV_XML_QUERY_INTERFACE::get_database_schema(QString& error) const
{
    return m_state->can_read(error) ? &m_state->database.schema() : nullptr;
}

const KV_TABLE_SCHEMA* KV_XML_QUERY_INTERFACE::get_table_schema(QString& error, const QString& table) const
{
    return m_state->can_read(error, table) ? m_state->database.schema().table(table) : nullptr;
}

KV_DATABASE_DATA KV_XML_QUERY_INTERFACE::get_database_data(QString& error) const
{
    KV_DATABASE_DATA data;
    if (!m_state->can_read(error))
        return data;
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : m_state->database.schema().tables) {
        const KV_TABLE_DATA* const records = get_table_data(error, table->name);
        if (!records)
            return KV_DATABASE_DATA();
        data.tables.append(*records);
    }
    return data;
}

KV_TABLE_DATA KV_XML_QUERY_INTERFACE::get_table_data(QString& error, const QString& table,
                                                     const QString& filter) const
{
    const KV_TABLE_DATA* const data = get_table_data(error, table);
    if (!data)
        return KV_TABLE_DATA();
    if (filter.isEmpty())
        return *data;
    const int end = filter.indexOf('=');
    if (end < 0) {
        m_state->report(
            error, QStringLiteral("filter \"%1\" of table \"%2\" must be field=value").arg(filter, table));
        return KV_TABLE_DATA();
    }
    if (!m_state->can_read(error, table, filter.left(end)))
        return KV_TABLE_DATA();
    return records_with(*data, data->schema->field_index(filter.left(end)), filter.mid(end + 1));
}

const KV_TABLE_DATA* KV_XML_QUERY_INTERFACE::get_table_data(QString& error, const QString& table) const
{
    if (!m_state->can_read(error))
        return nullptr;
    const KV_LOADED_TABLE* const loaded = m_state->database.load(table, error);
    m_state->report(error, error);
    return loaded ? &loaded->data : nullptr;
}

bool KV_XML_QUERY_INTERFACE::clear_table_data(QString& error, const QString& table)
{
    return m_state->can_read(error) && m_state->report(error, m_state->database.forget(table));
}

QVector<KV_QUERY_SCHEMA> KV_XML_QUERY_INTERFACE::get_query_schemas(QString& error) const
{
    return m_state->can_read(error) ? m_state->database.schema().queries : QVector<KV_QUERY_SCHEMA>();
}

const KV_QUERY_SCHEMA* KV_XML_QUERY_INTERFACE::get_query_schema(QString& error, const QString& query) const
{
    if (!m_state->can_read(error))
        return nullptr;
    for (const KV_QUERY_SCHEMA& known : m_state->database.schema().queries)
        if (known.name == query)
            return &known;
    m_state->report(error, QStringLiteral("%1: there is no query \"%2\"")
                               .arg(m_state->database.schema_file(), query.left(KV_QUOTED_LENGTH)));
    return nullptr;
}

void KV_XML_QUERY_INTERFACE::get_query_data(QString& error, KV_QUERY_RESULTS& results,
                                            const QString& query) const
{
    results = KV_QUERY_RESULTS();
    if (const KV_QUERY_SCHEMA* const schema = get_query_schema(error, query))
        m_state->run_query(error, results, schema->sql, {});
}

void KV_XML_QUERY_INTERFACE::get_query_data_from_string(QString& error, KV_QUERY_RESULTS& results,
                                                        const QString& definition) const
{
    KV_QUERY_SCHEMA query;
    results = KV_QUERY_RESULTS();
    const QString problem = read_query_definition(definition, query);
    if (m_state->report(error,
                        problem.isEmpty()
                            ? problem
                            : QStringLiteral("\"%1\": %2").arg(definition.simplified().left(200), problem)))
        m_state->run_query(error, results, query.sql, {});
}

void KV_XML_QUERY_INTERFACE::get_query_data_from_simple_sql(QString& error, KV_QUERY_RESULTS& results,
                                                            const QString& sql,
                                                            const QVariantList& values) const
{
    m_state->run_query(error, results, sql, values);
}

bool KV_XML_QUERY_INTERFACE::is_read_only() const
{
    return m_state->is_read_only;
}

void KV_XML_QUERY_INTERFACE::make_read_only()
{
    m_state->is_read_only = true;
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

const QString& KV_XML_QUERY_INTERFACE::get_last_error() const
{
    return m_state->last_error;
}
