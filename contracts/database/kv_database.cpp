#include "contracts/database/kv_database.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <atomic>

#include "contracts/database/kv_schema_changes.h"
#include "contracts/database/kv_schema_reader.h"
#include "contracts/database/kv_schema_rules.h"
#include "contracts/database/kv_table_reader.h"
#include "contracts/database/progress_callback.h"

namespace {

constexpr int NAMED_FILES = 3; // of those that an error text could list

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

QString read_folder(const QString& path, const QString& schema_file, KV_DATABASE_SCHEMA& schema)
{
    const QFileInfo file(kv_file_to_read(schema_file));
    if (file.exists() || file.isSymLink())
        return read_database_schema(file.filePath(), schema);
    const QStringList tables = QDir(path).entryList({QStringLiteral("*.xml")}, QDir::Files, QDir::Name);
    if (tables.isEmpty())
        return QString();
    return QStringLiteral("%1: there is no \"schema.xml\" for the %2 XML file(s) here (%3%4)")
        .arg(path)
        .arg(tables.size())
        .arg(QStringList(tables.mid(0, NAMED_FILES)).join(QStringLiteral(", ")),
             tables.size() > NAMED_FILES ? QStringLiteral(", ...") : QString());
}

} // namespace

void KV_LOADED_TABLE::forget()
{
    KV_LOADED_TABLE unread;
    unread.data.schema = data.schema;
    unread.stamp = stamp;
    *this = unread;
}

QString KV_DATABASE::connect(const QString& path, bool load_all, bool may_write)
{
    disconnect();
    m_path = path;
    QString error = check_folder(path);
    if (error.isEmpty())
        error = kv_unfinished_save_problem(path);
    // What hinders it does not hinder reading, and the next save tells it.
    if (error.isEmpty() && may_write)
        kv_finish_save(path);
    m_schema_stamp = KV_FILE_STAMP::of(schema_file());
    if (error.isEmpty())
        error = read_folder(path, schema_file(), m_written_schema);
    m_is_connected = error.isEmpty();
    set_schema(m_written_schema);
    if (m_is_connected && load_all)
        error = this->load_all();
    if (!error.isEmpty())
        disconnect();
    return error;
}

void KV_DATABASE::disconnect()
{
    m_transaction.reset();
    m_is_connected = false;
    m_path.clear();
    m_tables.clear();
    m_written_schema = KV_DATABASE_SCHEMA();
    set_schema(m_written_schema);
}

void KV_DATABASE::set_schema(const KV_DATABASE_SCHEMA& schema)
{
    m_schema = schema;
    m_relationships = kv_relationships(schema);
}

QString KV_DATABASE::no_table(const QString& name) const
{
    const bool has_file = !name.contains('/') && QFileInfo::exists(table_file(name));
    return has_file ? QStringLiteral("%1: the schema does not name this table").arg(table_file(name))
                    : QStringLiteral("%1: there is no table \"%2\"")
                          .arg(schema_file(), name.left(KV_MAX_NAME_LENGTH));
}

KV_LOADED_TABLE* KV_DATABASE::load(const QString& name, QString& error)
{
    QSharedPointer<KV_LOADED_TABLE> loaded = m_tables.value(name);
    if (!loaded || loaded->revision == 0) {
        const int index = m_schema.table_index(name);
        if (index < 0) {
            error = no_table(name);
            return nullptr;
        }
        if (!loaded)
            loaded = *m_tables.insert(name, QSharedPointer<KV_LOADED_TABLE>::create());
        if (m_progress)
            m_progress->progress(QStringLiteral("Reading table %1").arg(name), 0, 1);
        read(m_schema.tables.at(index), *loaded);
    }
    error = loaded->error;
    return error.isEmpty() ? loaded.data() : nullptr;
}

void KV_DATABASE::read(const QSharedPointer<const KV_TABLE_SCHEMA>& table, KV_LOADED_TABLE& loaded)
{
    loaded = KV_LOADED_TABLE();
    loaded.data.schema = table;
    loaded.revision = next_revision();
    loaded.stamp = KV_FILE_STAMP::of(table_file(table->name));
    loaded.error = read_database_table(kv_file_to_read(table_file(table->name)), table, m_skip_unknown_fields,
                                       loaded.data, loaded.has_left_out);
}

qint64 KV_DATABASE::next_revision()
{
    static std::atomic<qint64> s_last{0};
    return ++s_last;
}

QString KV_DATABASE::load_all()
{
    QStringList errors;
    for (int i = 0; i < m_schema.tables.size(); ++i) {
        const QSharedPointer<const KV_TABLE_SCHEMA>& table = m_schema.tables.at(i);
        if (m_progress)
            m_progress->progress(QStringLiteral("Reading table %1").arg(table->name), i,
                                 m_schema.tables.size());
        const auto loaded = QSharedPointer<KV_LOADED_TABLE>::create();
        read(table, *loaded);
        m_tables.insert(table->name, loaded);
        errors.append(loaded->error);
    }
    errors.removeAll(QString());
    return errors.join('\n');
}

QString KV_DATABASE::forget(const QString& table)
{
    if (in_transaction())
        return QStringLiteral("a transaction is open");
    if (m_schema.table_index(table) < 0)
        return no_table(table);
    if (edited_tables().contains(table))
        return QStringLiteral("table \"%1\" has changes that are not saved").arg(table);
    if (const QSharedPointer<KV_LOADED_TABLE> loaded = m_tables.value(table))
        loaded->forget();
    return QString();
}

const KV_DATABASE_SCHEMA& KV_DATABASE::current_schema() const
{
    return m_transaction ? m_transaction->schema : m_schema;
}

KV_TABLE_VIEW KV_DATABASE::view(const QString& table, QString& error)
{
    if (m_transaction) {
        const auto place = m_transaction->tables.constFind(table);
        if (place != m_transaction->tables.constEnd())
            return {&place->data, place->removed_rows()};
        if (m_transaction->schema.table_index(table) < 0) {
            error = no_table(table);
            return {};
        }
    }
    const KV_LOADED_TABLE* const loaded = load(table, error);
    return {loaded ? &loaded->data : nullptr};
}

QStringList KV_DATABASE::edited_tables() const
{
    QStringList tables;
    const QStringList names = reshaped_tables();
    const QSet<QString> reshaped(names.begin(), names.end());
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : m_schema.tables) {
        const QSharedPointer<KV_LOADED_TABLE> loaded = m_tables.value(table->name);
        if (reshaped.contains(table->name) || (loaded && loaded->is_edited))
            tables.append(table->name);
    }
    return tables;
}

QStringList KV_DATABASE::reshaped_tables() const
{
    return kv_reshaped_tables(m_written_schema, m_schema);
}

QStringList KV_DATABASE::removed_tables() const
{
    return kv_removed_tables(m_written_schema, m_schema);
}
