#include "contracts/database/kv_database.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include "contracts/database/kv_schemas.h"
#include "contracts/database/progress_callback.h"

namespace {

constexpr int NAMED_FILES = 3; // of those that an error text could list

QString folder_problem(const QString& path)
{
    const QFileInfo info(path);
    return kv_first({
        kv_problem(!info.exists(), "%1: there is no such folder", path),
        kv_problem(!info.isDir(), "%1: this is not a folder", path),
        kv_problem(!info.isReadable() || !info.isExecutable(), "%1: this folder can't be read", path),
    });
}

QString read_folder(const QString& path, const QString& schema_file, KV_DATABASE_SCHEMA& schema)
{
    const QFileInfo file(kv_file_to_read(schema_file));
    if (file.exists() || file.isSymLink())
        return read_database_schema(file.filePath(), schema);
    const QStringList tables = QDir(path).entryList({QStringLiteral("*.xml")}, QDir::Files, QDir::Name);
    if (tables.isEmpty())
        return QString();
    return kv_text("%1: there is no \"schema.xml\" for the %2 XML file(s) here (%3%4)", path, tables.size(),
                   QStringList(tables.mid(0, NAMED_FILES)).join(QStringLiteral(", ")),
                   tables.size() > NAMED_FILES ? QStringLiteral(", ...") : QString());
}

} // namespace

bool KV_DATABASE::report(QString& error, const QString& text)
{
    error = text;
    if (!text.isEmpty())
        last_error = text;
    return text.isEmpty();
}

bool KV_DATABASE::can_read(QString& error, const QString& table)
{
    return can_read(error) && has_table(error, m_schema, table);
}

bool KV_DATABASE::can_change(QString& error, const char* operation)
{
    return require(error, !is_read_only, "the database is open for reading only: %1 is refused", operation) &&
           can_read(error);
}

bool KV_DATABASE::has_table(QString& error, const KV_DATABASE_SCHEMA& schema, const QString& table)
{
    if (schema.table_index(table) >= 0)
        return true;
    const bool has_file = !table.contains('/') && QFileInfo::exists(table_file(table));
    return report(error, has_file ? kv_text("%1: the schema does not name this table", table_file(table))
                                  : kv_text("%1: there is no table \"%2\"", schema_file(),
                                            table.left(KV_MAX_NAME_LENGTH)));
}

bool KV_DATABASE::connect(QString& error, const QString& path, bool load_all)
{
    disconnect();
    m_path = path;
    const bool is_folder =
        report(error, folder_problem(path)) && report(error, kv_unfinished_save_problem(path));
    if (is_folder && !is_read_only)
        kv_finish_save(path);
    m_stamps.insert(schema_file(), KV_FILE_STAMP::of(schema_file()));
    m_is_connected = is_folder && report(error, read_folder(path, schema_file(), m_written_schema));
    set_schema(m_written_schema);
    QStringList errors{error};
    for (int i = 0; i < m_schema.tables.size() && load_all; ++i) {
        load(error, m_schema.tables.at(i)->name, i, m_schema.tables.size());
        errors.append(error);
    }
    errors.removeAll(QString());
    if (!errors.isEmpty())
        disconnect();
    return report(error, errors.join('\n'));
}

void KV_DATABASE::disconnect()
{
    m_transaction.reset();
    m_is_connected = false;
    m_path.clear();
    m_stamps.clear();
    m_written_schema = KV_DATABASE_SCHEMA();
    set_schema(m_written_schema);
    m_tables.clear();
}

// A table that is gone stays at its place, without records.
void KV_DATABASE::set_schema(const KV_DATABASE_SCHEMA& schema)
{
    for (const QString& table : kv_removed_tables(m_schema, schema))
        m_tables.value(table)->forget();
    queries.close();
    m_schema = schema;
    m_relationships = kv_relationships(schema);
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : schema.tables) {
        QSharedPointer<KV_LOADED_TABLE>& loaded = m_tables[table->name];
        if (!loaded)
            loaded = QSharedPointer<KV_LOADED_TABLE>::create();
        loaded->data.schema = table;
    }
}

const KV_FIELD_SCHEMA* KV_DATABASE::field(QString& error, const QString& table, const QString& field)
{
    if (!can_read(error, table))
        return nullptr;
    const KV_TABLE_SCHEMA& known = *m_schema.table(table);
    const int index = known.field_index(field);
    report(error, index < 0 ? kv_no_field_text(table, field) : QString());
    return index < 0 ? nullptr : &known.fields.at(index);
}

const KV_TABLE_DATA* KV_DATABASE::records(QString& error, const QString& table)
{
    const KV_LOADED_TABLE* const loaded = can_read(error) ? load(error, table) : nullptr;
    return loaded ? &loaded->data : nullptr;
}

KV_LOADED_TABLE* KV_DATABASE::load(QString& error, const QString& table, int step, int steps)
{
    const QSharedPointer<KV_LOADED_TABLE> loaded = m_tables.value(table);
    if (!loaded || loaded->revision == 0) {
        if (!has_table(error, m_schema, table))
            return nullptr;
        if (m_progress)
            m_progress->progress(kv_text("Reading table %1", table), step, steps);
        read(*loaded);
    }
    return report(error, loaded->error) ? loaded.data() : nullptr;
}

void KV_DATABASE::read(KV_LOADED_TABLE& loaded)
{
    const QString file = table_file(loaded.data.schema->name);
    loaded.forget();
    loaded.revision = ++m_last_revision;
    m_stamps.insert(file, KV_FILE_STAMP::of(file));
    loaded.error =
        read_database_table(kv_file_to_read(file), m_skip_unknown_fields, loaded.data, loaded.has_left_out);
    loaded.has_plain_keys = kv_are_plain_keys(loaded.data.rows_by_key);
}

bool KV_DATABASE::forget(QString& error, const QString& table)
{
    if (!is_quiet(error) || !has_table(error, m_schema, table))
        return false;
    KV_LOADED_TABLE& loaded = *m_tables.value(table);
    if (!loaded.is_edited)
        loaded.forget();
    return require(error, !loaded.is_edited, "table \"%1\" has changes that are not saved", table);
}

bool KV_DATABASE::is_whole(QString& error, const QString& table)
{
    return require(error, !m_tables.value(table)->has_left_out,
                   "%1: this table can't be changed: its file has fields that the schema does not know, and "
                   "they would be lost",
                   table_file(table));
}
