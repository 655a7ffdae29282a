#include "contracts/database/kv_xml_query_interface.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QRandomGenerator>

#include <atomic>

#include "contracts/database/kv_files.h"
#include "contracts/database/kv_query_state.h"
#include "contracts/database/kv_schema_rules.h"

namespace {

constexpr int QUOTED_QUERY_LENGTH = 200;

QString quoted(const QString& query)
{
    const QString line = query.simplified();
    return '"' + line.left(QUOTED_QUERY_LENGTH) + (line.size() > QUOTED_QUERY_LENGTH ? "...\"" : "\"");
}

} // namespace

bool KV_XML_QUERY_INTERFACE::STATE::report(QString& error, const QString& text)
{
    error = text;
    if (!text.isEmpty())
        last_error = text;
    return text.isEmpty();
}

QString KV_XML_QUERY_INTERFACE::STATE::report(const QString& text)
{
    QString error;
    report(error, text);
    return error;
}

bool KV_XML_QUERY_INTERFACE::STATE::can_read(QString& error)
{
    return report(error, is_connected() ? QString() : QStringLiteral("no database is connected"));
}

bool KV_XML_QUERY_INTERFACE::STATE::can_read(QString& error, const QString& table)
{
    return can_read(error) && (schema().table(table) || report(error, no_table(table)));
}

const KV_FIELD_SCHEMA* KV_XML_QUERY_INTERFACE::STATE::field(QString& error, const QString& table,
                                                            const QString& field)
{
    if (!can_read(error, table))
        return nullptr;
    const KV_TABLE_SCHEMA& known = *schema().table(table);
    const int index = known.field_index(field);
    report(error, index < 0 ? kv_no_field_text(table, field) : QString());
    return index < 0 ? nullptr : &known.fields.at(index);
}

const KV_TABLE_DATA* KV_XML_QUERY_INTERFACE::STATE::records(QString& error, const QString& table)
{
    const KV_LOADED_TABLE* const loaded = can_read(error) ? load(table, error) : nullptr;
    report(error, error);
    return loaded ? &loaded->data : nullptr;
}

bool KV_XML_QUERY_INTERFACE::STATE::can_change(QString& error, const char* operation)
{
    return is_read_only ? report(error, QStringLiteral("the database is open for reading only: %1 is refused")
                                            .arg(QLatin1String(operation)))
                        : can_read(error);
}

void KV_XML_QUERY_INTERFACE::STATE::run_query(QString& error, KV_QUERY_RESULTS& results, const QString& sql,
                                              const QVariantList& values)
{
    results = KV_QUERY_RESULTS();
    if (!can_read(error))
        return;
    const QString cause = queries.run(sql, values, results);
    report(error, cause.isEmpty() ? cause : QStringLiteral("query %1: %2").arg(quoted(sql), cause));
}

// Without version control for the tables a workspace says nothing.
KV_XML_QUERY_INTERFACE::KV_XML_QUERY_INTERFACE(PROGRESS_CALLBACK* progress, const QString&,
                                               bool skip_unknown_fields, bool read_only)
    : m_state(new STATE(progress, skip_unknown_fields, read_only))
{
}

KV_XML_QUERY_INTERFACE::~KV_XML_QUERY_INTERFACE() = default;

#define GOX_STATE(type, operation, value)                                                                    \
    type KV_XML_QUERY_INTERFACE::operation() const                                                           \
    {                                                                                                        \
        return m_state->value;                                                                               \
    }

GOX_STATE(int, version, schema().version)
GOX_STATE(bool, is_connected, is_connected())
GOX_STATE(QString, connect_string, path())
GOX_STATE(bool, is_read_only, is_read_only)
GOX_STATE(bool, in_transaction, in_transaction())
GOX_STATE(const QString&, get_last_error, last_error)

QString KV_XML_QUERY_INTERFACE::connect(const QString& path, const QString&,
                                        KV_QUERY_INTERFACE::GET_LATEST_MODE mode, bool load_all)
{
    if (mode == KV_QUERY_INTERFACE::GET_LATEST_NEVER)
        return connect_without_merge(path, load_all);
    disconnect();
    return m_state->report(QStringLiteral("%1: the latest tables can't be fetched: this program has no "
                                          "version control for the database")
                               .arg(path));
}

QString KV_XML_QUERY_INTERFACE::connect_without_merge(const QString& path, bool load_all)
{
    return m_state->report(m_state->connect(path, load_all, !m_state->is_read_only));
}

void KV_XML_QUERY_INTERFACE::disconnect()
{
    m_state->disconnect();
}

QDateTime KV_XML_QUERY_INTERFACE::latest_mod_date() const
{
    QDateTime latest;
    const auto look_at = [&](const QString& path) {
        const QDateTime time = QFileInfo(kv_file_to_read(path)).lastModified().toUTC();
        if (time.isValid() && (!latest.isValid() || latest < time))
            latest = time;
    };
    if (!m_state->is_connected())
        return latest;
    look_at(m_state->schema_file());
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : m_state->schema().tables)
        look_at(m_state->table_file(table->name));
    return latest;
}

QStringList KV_XML_QUERY_INTERFACE::get_table_names(QString& error) const
{
    QStringList names;
    if (m_state->can_read(error))
        for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : m_state->schema().tables)
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
    return m_state->can_read(error) ? &m_state->schema() : nullptr;
}

const KV_TABLE_SCHEMA* KV_XML_QUERY_INTERFACE::get_table_schema(QString& error, const QString& table) const
{
    return m_state->can_read(error, table) ? m_state->schema().table(table) : nullptr;
}

KV_DATABASE_DATA KV_XML_QUERY_INTERFACE::get_database_data(QString& error) const
{
    KV_DATABASE_DATA data;
    if (!m_state->can_read(error))
        return data;
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : m_state->schema().tables) {
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
    const KV_TABLE_DATA* const data = m_state->records(error, table);
    if (!data || filter.isEmpty())
        return data ? *data : KV_TABLE_DATA();
    const int end = filter.indexOf('=');
    if (end < 0)
        m_state->report(
            error, QStringLiteral("filter \"%1\" of table \"%2\" must be field=value").arg(filter, table));
    const KV_FIELD_SCHEMA* const field = end < 0 ? nullptr : m_state->field(error, table, filter.left(end));
    if (!field)
        return KV_TABLE_DATA();
    KV_TABLE_DATA found{data->schema, {}, {}};
    const int index = data->schema->field_index(field->name);
    const KV_RECORD_DATA* const named = field->key ? data->record_with_key(filter.mid(end + 1)) : nullptr;
    for (int row = 0; row < data->records.size() && !field->key; ++row)
        if (data->records.at(row).fields.at(index).value == filter.midRef(end + 1))
            found.records.append(data->records.at(row));
    if (named)
        found.records.append(*named);
    found.index_keys();
    return found;
}

const KV_TABLE_DATA* KV_XML_QUERY_INTERFACE::get_table_data(QString& error, const QString& table) const
{
    return m_state->records(error, table);
}

bool KV_XML_QUERY_INTERFACE::clear_table_data(QString& error, const QString& table)
{
    return m_state->can_read(error) && m_state->report(error, m_state->forget(table));
}

QVector<KV_QUERY_SCHEMA> KV_XML_QUERY_INTERFACE::get_query_schemas(QString& error) const
{
    return m_state->can_read(error) ? m_state->schema().queries : QVector<KV_QUERY_SCHEMA>();
}

const KV_QUERY_SCHEMA* KV_XML_QUERY_INTERFACE::get_query_schema(QString& error, const QString& query) const
{
    if (!m_state->can_read(error))
        return nullptr;
    for (const KV_QUERY_SCHEMA& known : m_state->schema().queries)
        if (known.name == query)
            return &known;
    m_state->report(error, QStringLiteral("%1: there is no query \"%2\"")
                               .arg(m_state->schema_file(), query.left(KV_QUOTED_LENGTH)));
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
    if (m_state->report(error, problem.isEmpty() ? problem
                                                 : QStringLiteral("%1: %2").arg(quoted(definition), problem)))
        m_state->run_query(error, results, query.sql, {});
}

void KV_XML_QUERY_INTERFACE::get_query_data_from_simple_sql(QString& error, KV_QUERY_RESULTS& results,
                                                            const QString& sql,
                                                            const QVariantList& values) const
{
    m_state->run_query(error, results, sql, values);
}

void KV_XML_QUERY_INTERFACE::bound_queries(const std::function<bool()>& is_stopped, qint64 max_msecs)
{
    m_state->queries.is_stopped = is_stopped;
    m_state->queries.max_msecs = max_msecs;
}

// Without one nothing that asked the table is taken for up to date.
QByteArray KV_XML_QUERY_INTERFACE::table_digest(const QString&) const
{
    return QByteArray();
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
