#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <algorithm>

#include "contracts/database/kv_database.h"
#include "contracts/database/kv_schemas.h"
#include "contracts/services/file_replacement.h"

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
        file.stamp = m_stamps.contains(file.path) ? m_stamps.value(file.path) : KV_FILE_STAMP::of(file.path);
    if (!files.isEmpty() && !report(error, kv_save_files(m_path, files, m_progress)))
        return false;
    for (const KV_FILE_TO_WRITE& file : qAsConst(files))
        m_stamps.insert(file.path, KV_FILE_STAMP::of(file.path));
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
    const QString wanted = real_path(path);
    const QStringList files = files_of(m_schema) + files_of(m_written_schema) + files_of(current_schema());
    return std::any_of(files.begin(), files.end(),
                       [&](const QString& file) { return real_path(file) == wanted; });
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
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : qAsConst(m_schema.tables)) {
        const KV_LOADED_TABLE* const loaded = load(error, table->name);
        if (!loaded)
            return false;
        files.append({target.filePath(table->name + ".xml"), {}, nullptr, loaded->data});
    }
    if (!m_schema.tables.isEmpty())
        files.append({target.filePath("schema.xml"), {}, &m_schema});
    return require(error, target.mkpath("."), "%1: this folder can't be made", folder) &&
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
