#include "contracts/database/kv_database.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include "contracts/database/kv_files.h"
#include "contracts/database/kv_schema_rules.h"
#include "contracts/database/kv_schemas.h"
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

QString KV_DATABASE::connect(const QString& path, bool load_all, bool may_write)
{
    disconnect();
    m_path = path;
    QString error = check_folder(path);
    if (error.isEmpty())
        error = kv_unfinished_save_problem(path);
    if (error.isEmpty() && may_write)
        kv_finish_save(path);
    m_stamps.insert(schema_file(), KV_FILE_STAMP::of(schema_file()));
    if (error.isEmpty())
        error = read_folder(path, schema_file(), m_written_schema);
    set_schema(m_written_schema);
    m_is_connected = error.isEmpty();
    QStringList errors{error};
    for (int i = 0; i < m_schema.tables.size() && load_all; ++i) {
        load(m_schema.tables.at(i)->name, error, i, m_schema.tables.size());
        errors.append(error);
    }
    errors.removeAll(QString());
    if (!errors.isEmpty())
        disconnect();
    return errors.join('\n');
}

void KV_DATABASE::disconnect()
{
    m_transaction.reset();
    m_is_connected = false;
    m_path.clear();
    m_tables.clear();
    m_stamps.clear();
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

KV_LOADED_TABLE* KV_DATABASE::load(const QString& name, QString& error, int step, int steps)
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
            m_progress->progress(QStringLiteral("Reading table %1").arg(name), step, steps);
        read(m_schema.tables.at(index), *loaded);
    }
    error = loaded->error;
    return error.isEmpty() ? loaded.data() : nullptr;
}

void KV_DATABASE::read(const QSharedPointer<const KV_TABLE_SCHEMA>& table, KV_LOADED_TABLE& loaded)
{
    const QString file = table_file(table->name);
    loaded = KV_LOADED_TABLE{{table, {}, {}}};
    loaded.revision = ++m_last_revision;
    m_stamps.insert(file, KV_FILE_STAMP::of(file));
    loaded.error =
        read_database_table(kv_file_to_read(file), m_skip_unknown_fields, loaded.data, loaded.has_left_out);
    loaded.has_plain_keys = kv_are_plain_keys(loaded.data.rows_by_key);
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
