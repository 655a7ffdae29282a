// What KV_DATABASE reads, writes and reverts.

#include "contracts/database/kv_database.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <algorithm>

#include "contracts/database/kv_schemas.h"
#include "contracts/database/progress_callback.h"
#include "contracts/services/file_replacement.h"
#include "contracts/services/question_log.h"

namespace {

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
    return kv_problem(!tables.isEmpty(), "%1: there is no \"schema.xml\" for the XML files here, such as %2",
                      path, tables.value(0));
}

} // namespace

bool KV_DATABASE::report(QString& error, const QString& text)
{
    error = text;
    if (!text.isEmpty())
        last_error = text;
    return text.isEmpty();
}

bool KV_DATABASE::can_read(QString& error)
{
    static const QString schema(KV_SCHEMA_AS_TABLE);
    QUESTION_LOG::table_asked(schema);
    return require(error, m_is_connected, "no database is connected");
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
    note_stamp(schema_file());
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
    m_unsteady += QSet<QString>(m_stamps.keyBegin(), m_stamps.keyEnd());
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

KV_DATABASE_DATA KV_DATABASE::all_records(QString& error)
{
    KV_DATABASE_DATA data;
    for (const QString& table : kv_table_names(m_schema)) {
        const KV_LOADED_TABLE* const loaded = load(error, table);
        if (!loaded)
            return KV_DATABASE_DATA();
        data.tables.append(loaded->data);
    }
    return data;
}

KV_LOADED_TABLE* KV_DATABASE::load(QString& error, const QString& table, int step, int steps)
{
    QUESTION_LOG::table_asked(table);
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
    note_stamp(file);
    loaded.error =
        read_database_table(kv_file_to_read(file), m_skip_unknown_fields, loaded.data, loaded.has_left_out);
    loaded.has_plain_keys = kv_are_plain_keys(loaded.data.rows_by_key);
}

// Ahead of reading a file.
void KV_DATABASE::note_stamp(const QString& file)
{
    const FILE_STAMP stamp = kv_file_stamp(file);
    if (m_stamps.contains(file) && m_stamps.value(file) != stamp)
        m_unsteady.insert(file);
    m_stamps.insert(file, stamp);
}

DIGEST KV_DATABASE::digest(const QString& table)
{
    static const DIGEST s_no_file = digest_of(QByteArray("no file"));
    if (m_is_connected && table != KV_SCHEMA_AS_TABLE && m_schema.table_index(table) < 0)
        return s_no_file; // what was told stands in the schema
    const QString file = table == KV_SCHEMA_AS_TABLE ? schema_file() : table_file(table);
    if (!m_is_connected || m_unsteady.contains(file))
        return DIGEST();
    const KNOWN_FILE now = m_digests.of(kv_file_to_read(file));
    const DIGEST digest = now.stamp.time == NO_TIME ? s_no_file : now.digest;
    return m_stamps.value(file, now.stamp) == now.stamp ? digest : DIGEST();
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

QStringList KV_DATABASE::edited_tables() const
{
    QStringList tables;
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : m_schema.tables)
        if (m_tables.value(table->name)->is_edited)
            tables.append(table->name);
    return tables;
}

QStringList KV_DATABASE::files_to_save() const
{
    QStringList files;
    if (!kv_is_same_schema(m_schema, m_written_schema))
        files.append(schema_file());
    for (const QString& table : edited_tables())
        files.append(table_file(table));
    return files;
}

QStringList KV_DATABASE::files_of(const KV_DATABASE_SCHEMA& schema) const
{
    QStringList files{schema_file()};
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : schema.tables)
        files.append(table_file(table->name));
    return files;
}

bool KV_DATABASE::save(QString& error, const QStringList& tables, bool with_schema)
{
    if (!is_quiet(error))
        return false;
    QStringList edited;
    for (const QString& table : tables) {
        if (!has_table(error, m_schema, table))
            return false;
        if (m_tables.value(table)->is_edited)
            edited.append(table);
    }
    return finish(error, edited, with_schema && !kv_is_same_schema(m_schema, m_written_schema));
}

bool KV_DATABASE::write(QString& error, const QStringList& tables, bool with_schema)
{
    QVector<KV_FILE_TO_WRITE> files;
    for (const QString& table : tables) {
        std::optional<KV_TABLE_CHANGE> records = current_table(error, table);
        if (!records)
            return false;
        files.append({table_file(table), {}, nullptr, std::move(*records).take()});
    }
    if (with_schema) {
        files.append({schema_file(), {}, &current_schema()});
        for (const QString& table : kv_removed_tables(m_written_schema, current_schema()))
            files.append({table_file(table)});
    }
    for (KV_FILE_TO_WRITE& file : files)
        file.stamp = m_stamps.contains(file.path) ? m_stamps.value(file.path) : kv_file_stamp(file.path);
    if (!files.isEmpty() && !report(error, kv_save_files(m_path, files, m_progress)))
        return false;
    for (const KV_FILE_TO_WRITE& file : qAsConst(files))
        m_stamps.insert(file.path, kv_file_stamp(file.path));
    return true;
}

// Writes the tables and what has to go with them, and makes real what the
// transaction changed, if one is open.
bool KV_DATABASE::finish(QString& error, QStringList tables, bool with_schema)
{
    if (with_schema || !tables.isEmpty()) {
        const QStringList reshaped = kv_reshaped_tables(m_written_schema, current_schema());
        for (const QString& table : reshaped)
            with_schema |= tables.contains(table);
        if (with_schema)
            tables += reshaped;
        tables.removeDuplicates();
        tables.sort();
    }
    if (!write(error, tables, with_schema))
        return false;
    if (m_transaction)
        take_over();
    for (const QString& table : qAsConst(tables)) {
        KV_LOADED_TABLE& loaded = *m_tables.value(table);
        loaded.is_edited = false;
        number_written_lines(loaded.data);
    }
    if (with_schema)
        m_written_schema = m_schema;
    return true;
}

// Names in another letter case too: on some systems they are the same files.
bool KV_DATABASE::is_own_file(const QString& path) const
{
    const auto real_path = [](const QString& file) {
        const QFileInfo info(behind_links(file));
        return (info.dir().canonicalPath() + '/' + info.fileName()).toLower();
    };
    QStringList files = files_of(m_schema) + files_of(m_written_schema) + files_of(current_schema());
    std::transform(files.begin(), files.end(), files.begin(), real_path);
    return files.contains(real_path(path));
}

bool KV_DATABASE::save_schema_to(QString& error, const QString& path)
{
    const QString place = behind_links(path);
    QString cause =
        is_own_file(path) ? QStringLiteral("it is a file of this database") : why_not_replaceable(place);
    if (cause.isEmpty())
        cause = kv_write_file(place, {path, {}, &m_schema});
    return require(error, cause.isEmpty(), "%1: can't be written: %2", path, cause);
}

bool KV_DATABASE::copy_to(QString& error, const QString& folder)
{
    const QDir target(folder);
    const bool is_own = target.exists() && target.canonicalPath() == QDir(m_path).canonicalPath();
    if (!require(error, !target.exists() || target.isEmpty(), "%1: this folder is not empty", folder) ||
        !require(error, !is_own, "%1: this is the folder of the database itself", folder))
        return false;
    QVector<KV_FILE_TO_WRITE> files;
    for (const KV_TABLE_DATA& table : all_records(error).tables)
        files.append({target.filePath(table.schema->name + ".xml"), {}, nullptr, table});
    if (!files.isEmpty())
        files.append({target.filePath("schema.xml"), {}, &m_schema});
    return error.isEmpty() && require(error, target.mkpath("."), "%1: this folder can't be made", folder) &&
           report(error, kv_save_files(folder, files, m_progress));
}

bool KV_DATABASE::revert(QString& error)
{
    if (!is_quiet(error))
        return false;
    const QStringList changed = edited_tables() + kv_removed_tables(m_written_schema, m_schema);
    set_schema(m_written_schema);
    QStringList errors;
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : qAsConst(m_schema.tables)) {
        KV_LOADED_TABLE& loaded = *m_tables.value(table->name);
        if (changed.contains(table->name) && m_stamps.contains(table_file(table->name))) // was read
            read(loaded);
        errors.append(loaded.error);
    }
    errors.removeAll(QString());
    return report(error, errors.join('\n'));
}

bool KV_DATABASE::revert(QString& error, const QString& table)
{
    if (!is_quiet(error) || !has_table(error, m_schema, table))
        return false;
    const bool is_reshaped = kv_reshaped_tables(m_written_schema, m_schema).contains(table);
    if (!require(error, !is_reshaped,
                 "the fields of table \"%1\" are changed: only all changes together can be reverted", table))
        return false;
    KV_LOADED_TABLE& loaded = *m_tables.value(table);
    if (loaded.is_edited)
        read(loaded);
    return report(error, loaded.error);
}
