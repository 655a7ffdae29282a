#include "contracts/database/kv_xml_query_interface.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QHash>

#include "contracts/database/kv_schema_reader.h"
#include "contracts/database/kv_table_reader.h"
#include "contracts/database/progress_callback.h"

namespace {

constexpr int NAMED_FILES = 3; // of those that an error text could list

struct LOADED_TABLE
{
    KV_TABLE_DATA data;
    QString error; // empty when the table could be read
};

QString schema_path(const QString& folder)
{
    return folder + "/schema.xml";
}

QString table_path(const QString& folder, const QString& table)
{
    return folder + '/' + table + ".xml";
}

QString check_folder(const QString& path)
{
    const QFileInfo info(path);
    if (!info.exists())
        return QStringLiteral("%1: there is no such folder").arg(path);
    if (!info.isDir())
        return QStringLiteral("%1: this is not a folder").arg(path);
    if (!info.isReadable() || !info.isExecutable())
        return QStringLiteral("%1: this folder can't be read").arg(path);
    return QString();
}

QString read_folder(const QString& path, KV_DATABASE_SCHEMA& schema)
{
    const QFileInfo file(schema_path(path));
    if (file.exists() || file.isSymLink())
        return read_database_schema(schema_path(path), schema);
    const QStringList tables = QDir(path).entryList({QStringLiteral("*.xml")}, QDir::Files, QDir::Name);
    if (tables.isEmpty())
        return QString();
    return QStringLiteral("%1: there is no \"schema.xml\" for the %2 XML file(s) here (%3%4)")
        .arg(path)
        .arg(tables.size())
        .arg(QStringList(tables.mid(0, NAMED_FILES)).join(QStringLiteral(", ")),
             tables.size() > NAMED_FILES ? QStringLiteral(", ...") : QString());
}

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

struct KV_XML_QUERY_INTERFACE::STATE
{
    PROGRESS_CALLBACK* progress;
    QString workspace;
    bool skip_unknown_fields;
    bool read_only;
    bool connected = false;
    QString path;
    KV_DATABASE_SCHEMA schema;
    QHash<QString, QSharedPointer<LOADED_TABLE>> tables; // those that have been asked for
    QString last_error;

    // Fills `error`, which is empty on success; true then.
    bool report(QString& error, const QString& text)
    {
        error = text;
        if (!text.isEmpty())
            last_error = text;
        return text.isEmpty();
    }

    QString no_table(const QString& name) const
    {
        const bool has_file = QFileInfo::exists(table_path(path, name)) && !name.contains('/');
        return has_file
                   ? QStringLiteral("%1: the schema does not name this table").arg(table_path(path, name))
                   : QStringLiteral("%1: there is no table \"%2\"").arg(schema_path(path), name);
    }

    const LOADED_TABLE* load(const QString& name, int done, int total)
    {
        const auto known = tables.constFind(name);
        if (known != tables.constEnd())
            return known->data();
        for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : qAsConst(schema.tables)) {
            if (table->name != name)
                continue;
            if (progress)
                progress->progress(QStringLiteral("Reading table %1").arg(name), done, total);
            const auto loaded = QSharedPointer<LOADED_TABLE>::create();
            loaded->error =
                read_database_table(table_path(path, name), table, skip_unknown_fields, loaded->data);
            return tables.insert(name, loaded)->data();
        }
        return nullptr;
    }

    QString load_all()
    {
        QStringList errors;
        for (int i = 0; i < schema.tables.size(); ++i)
            errors.append(load(schema.tables.at(i)->name, i, schema.tables.size())->error);
        errors.removeAll(QString());
        return errors.join('\n');
    }
};

KV_XML_QUERY_INTERFACE::KV_XML_QUERY_INTERFACE(PROGRESS_CALLBACK* progress, const QString& workspace,
                                               bool skip_unknown_fields, bool read_only)
    : m_state(new STATE{progress, workspace, skip_unknown_fields, read_only, false, {}, {}, {}, {}})
{
}

KV_XML_QUERY_INTERFACE::~KV_XML_QUERY_INTERFACE() = default;

int KV_XML_QUERY_INTERFACE::version() const
{
    return m_state->schema.version;
}

QString KV_XML_QUERY_INTERFACE::connect(const QString& path, const QString& workspace,
                                        KV_QUERY_INTERFACE::GET_LATEST_MODE mode, bool load_all)
{
    m_state->workspace = workspace;
    if (mode == KV_QUERY_INTERFACE::GET_LATEST_NEVER)
        return connect_without_merge(path, load_all);
    disconnect();
    QString error;
    m_state->report(error, QStringLiteral("%1: the latest tables can't be fetched: this program has no "
                                          "version control for the database")
                               .arg(path));
    return error;
}

QString KV_XML_QUERY_INTERFACE::connect_without_merge(const QString& path, bool load_all)
{
    disconnect();
    m_state->path = path;
    KV_DATABASE_SCHEMA schema;
    QString error;
    if (!m_state->report(error, check_folder(path)) || !m_state->report(error, read_folder(path, schema)))
        return error;
    m_state->schema = schema;
    m_state->connected = true;
    if (load_all && !m_state->report(error, m_state->load_all()))
        disconnect();
    return error;
}

void KV_XML_QUERY_INTERFACE::disconnect()
{
    m_state->connected = false;
    m_state->tables.clear();
    m_state->schema = KV_DATABASE_SCHEMA();
    m_state->path.clear();
}

bool KV_XML_QUERY_INTERFACE::is_connected() const
{
    return m_state->connected;
}

QDateTime KV_XML_QUERY_INTERFACE::latest_mod_date() const
{
    QDateTime latest;
    const auto look_at = [&](const QString& path) {
        const QDateTime time = QFileInfo(path).lastModified().toUTC();
        if (time.isValid() && (!latest.isValid() || latest < time))
            latest = time;
    };
    if (!m_state->connected)
        return latest;
    look_at(schema_path(m_state->path));
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : qAsConst(m_state->schema.tables))
        look_at(table_path(m_state->path, table->name));
    return latest;
}

QStringList KV_XML_QUERY_INTERFACE::get_table_names(QString& error) const
{
    QStringList names;
    if (check_connected(error))
        for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : qAsConst(m_state->schema.tables))
            names.append(table->name);
    return names;
}

const KV_DATABASE_SCHEMA* KV_XML_QUERY_INTERFACE::get_database_schema(QString& error) const
{
    return check_connected(error) ? &m_state->schema : nullptr;
}

const KV_TABLE_SCHEMA* KV_XML_QUERY_INTERFACE::get_table_schema(QString& error, const QString& table) const
{
    if (!check_connected(error))
        return nullptr;
    const KV_TABLE_SCHEMA* const schema = m_state->schema.table(table);
    if (!schema)
        m_state->report(error, m_state->no_table(table));
    return schema;
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
    const int field = data->schema->field_index(filter.left(end));
    if (field < 0) {
        m_state->report(error,
                        QStringLiteral("table \"%1\" has no field \"%2\"").arg(table, filter.left(end)));
        return KV_TABLE_DATA();
    }
    return records_with(*data, field, filter.mid(end + 1));
}

const KV_TABLE_DATA* KV_XML_QUERY_INTERFACE::get_table_data(QString& error, const QString& table) const
{
    if (!check_connected(error))
        return nullptr;
    const LOADED_TABLE* const loaded = m_state->load(table, 0, 1);
    return m_state->report(error, loaded ? loaded->error : m_state->no_table(table)) ? &loaded->data
                                                                                     : nullptr;
}

bool KV_XML_QUERY_INTERFACE::is_read_only() const
{
    return m_state->read_only;
}

void KV_XML_QUERY_INTERFACE::make_read_only()
{
    m_state->read_only = true;
}

const QString& KV_XML_QUERY_INTERFACE::get_last_error() const
{
    return m_state->last_error;
}

bool KV_XML_QUERY_INTERFACE::check_connected(QString& error) const
{
    return m_state->report(error,
                           m_state->connected ? QString() : QStringLiteral("no database is connected"));
}
