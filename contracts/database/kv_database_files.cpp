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

QStringList KV_DATABASE::reshaped_tables() const
{
    return kv_reshaped_tables(m_written_schema, m_schema);
}

QStringList KV_DATABASE::removed_tables() const
{
    return kv_removed_tables(m_written_schema, m_schema);
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
    return finish(error, save_of(edited, with_schema && !kv_is_same_schema(m_schema, m_written_schema)));
}

KV_DATABASE::SAVE KV_DATABASE::save_of(const QStringList& tables, bool with_schema) const
{
    SAVE save{tables, with_schema};
    const QStringList reshaped = kv_reshaped_tables(m_written_schema, current_schema());
    for (const QString& table : reshaped)
        save.schema |= tables.contains(table);
    if (save.schema)
        save.tables += reshaped;
    save.tables.removeDuplicates();
    save.tables.sort();
    return save;
}

bool KV_DATABASE::write(QString& error, const SAVE& save)
{
    QVector<KV_FILE_TO_WRITE> files;
    const auto add = [&](const QString& path, const KV_FILE_CONTENT& content) {
        files.append(
            {path, m_stamps.contains(path) ? m_stamps.value(path) : KV_FILE_STAMP::of(path), content});
    };
    for (const QString& table : save.tables) {
        std::optional<KV_TABLE_CHANGE> records = current_table(error, table);
        if (!records)
            return false;
        add(table_file(table), {nullptr, std::move(*records).take()});
    }
    if (save.schema) {
        add(schema_file(), {&current_schema()});
        for (const QString& table : kv_removed_tables(m_written_schema, current_schema()))
            add(table_file(table), {});
    }
    if (!files.isEmpty() && !report(error, kv_save_files(m_path, files, m_progress)))
        return false;
    for (const KV_FILE_TO_WRITE& file : qAsConst(files))
        m_stamps.insert(file.path, KV_FILE_STAMP::of(file.path));
    return true;
}

// Writes, and makes real what the transaction changed, if one is open.
bool KV_DATABASE::finish(QString& error, const SAVE& save)
{
    if (!write(error, save))
        return false;
    if (m_transaction)
        take_over();
    for (const QString& table : save.tables) {
        KV_LOADED_TABLE& loaded = *m_tables.value(table);
        loaded.is_edited = false;
        number_written_lines(loaded.data);
    }
    if (save.schema)
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
        cause = kv_write_file(place, {&m_schema}, place);
    return cause.isEmpty() || report(error, QStringLiteral("%1: can't be written: %2").arg(path, cause));
}

bool KV_DATABASE::copy_to(QString& error, const QString& folder)
{
    const QDir target(folder);
    if (target.exists() && !target.isEmpty())
        return report(error, QStringLiteral("%1: this folder is not empty").arg(folder));
    if (target.exists() && target.canonicalPath() == QDir(m_path).canonicalPath())
        return report(error, QStringLiteral("%1: this is the folder of the database itself").arg(folder));
    QVector<KV_FILE_TO_WRITE> files;
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : qAsConst(m_schema.tables)) {
        const KV_LOADED_TABLE* const loaded = load(error, table->name);
        if (!loaded)
            return false;
        files.append({target.filePath(table->name + ".xml"), {}, {nullptr, loaded->data}});
    }
    if (!m_schema.tables.isEmpty())
        files.append({target.filePath(QStringLiteral("schema.xml")), {}, {&m_schema, {}}});
    return report(error, target.mkpath(QStringLiteral("."))
                             ? kv_save_files(folder, files, m_progress)
                             : QStringLiteral("%1: this folder can't be made").arg(folder));
}

bool KV_DATABASE::revert(QString& error)
{
    if (!is_quiet(error))
        return false;
    const QStringList changed = edited_tables() + removed_tables();
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
    if (reshaped_tables().contains(table))
        return report(error,
                      QStringLiteral("the fields of table \"%1\" are changed: only all changes together "
                                     "can be reverted")
                          .arg(table));
    KV_LOADED_TABLE& loaded = *m_tables.value(table);
    if (loaded.is_edited)
        read(loaded);
    return report(error, loaded.error);
}
