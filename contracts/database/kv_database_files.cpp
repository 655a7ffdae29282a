#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <algorithm>

#include "contracts/database/kv_database.h"
#include "contracts/database/kv_schemas.h"
#include "contracts/services/file_replacement.h"

QStringList KV_DATABASE::files_to_save() const
{
    QStringList files;
    if (!kv_is_same_schema(m_schema, m_written_schema))
        files.append(schema_file());
    for (const QString& table : edited_tables())
        files.append(table_file(table));
    return files;
}

QString KV_DATABASE::save(const QStringList& tables, bool with_schema)
{
    if (m_transaction)
        return QStringLiteral("a transaction is open");
    const QStringList edited = edited_tables();
    QStringList wanted;
    for (const QString& table : tables) {
        if (m_schema.table_index(table) < 0)
            return no_table(table);
        if (edited.contains(table))
            wanted.append(table);
    }
    const SAVE save = save_of(wanted, with_schema && !kv_is_same_schema(m_schema, m_written_schema));
    const QString error = write(save);
    if (error.isEmpty())
        mark_written(save);
    return error;
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

QString KV_DATABASE::write(const SAVE& save)
{
    QString error;
    QVector<KV_FILE_TO_WRITE> files;
    const auto add = [&](const QString& path, const KV_FILE_CONTENT& content) {
        files.append(
            {path, m_stamps.contains(path) ? m_stamps.value(path) : KV_FILE_STAMP::of(path), content});
    };
    for (const QString& table : save.tables) {
        std::optional<KV_TABLE_CHANGE> records = current_table(table, error);
        if (!records)
            return error;
        add(table_file(table), {nullptr, std::move(*records).take()});
    }
    if (save.schema) {
        add(schema_file(), {&current_schema()});
        for (const QString& table : kv_removed_tables(m_written_schema, current_schema()))
            add(table_file(table), {});
    }
    if (!files.isEmpty())
        error = kv_save_files(m_path, files, m_progress);
    for (const KV_FILE_TO_WRITE& file : qAsConst(files))
        if (error.isEmpty())
            m_stamps.insert(file.path, KV_FILE_STAMP::of(file.path));
    return error;
}

void KV_DATABASE::mark_written(const SAVE& save)
{
    for (const QString& table : save.tables) {
        KV_LOADED_TABLE& loaded = *m_tables.value(table);
        loaded.is_edited = false;
        number_written_lines(loaded.data);
    }
    if (save.schema)
        m_written_schema = m_schema;
}

// Names in another letter case too: on some systems they are the same files.
bool KV_DATABASE::is_own_file(const QString& path) const
{
    const auto real_path = [](const QString& file) {
        const QFileInfo info(behind_links(file));
        return (info.dir().canonicalPath() + '/' + info.fileName()).toLower();
    };
    QStringList files{schema_file()};
    for (const KV_DATABASE_SCHEMA* const schema : {&m_schema, &m_written_schema, &current_schema()})
        for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : schema->tables)
            files.append(table_file(table->name));
    const QString wanted = real_path(path);
    return std::any_of(files.begin(), files.end(),
                       [&](const QString& file) { return real_path(file) == wanted; });
}

QString KV_DATABASE::save_schema_to(const QString& path) const
{
    const QString place = behind_links(path);
    QString cause =
        is_own_file(path) ? QStringLiteral("it is a file of this database") : why_not_replaceable(place);
    if (cause.isEmpty())
        cause = kv_write_file(place, {&m_schema}, place);
    return cause.isEmpty() ? cause : QStringLiteral("%1: can't be written: %2").arg(path, cause);
}

QString KV_DATABASE::copy_to(const QString& folder)
{
    const QDir target(folder);
    if (target.exists() && !target.isEmpty())
        return QStringLiteral("%1: this folder is not empty").arg(folder);
    if (target.exists() && target.canonicalPath() == QDir(m_path).canonicalPath())
        return QStringLiteral("%1: this is the folder of the database itself").arg(folder);
    QString error;
    QVector<KV_FILE_TO_WRITE> files;
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : qAsConst(m_schema.tables)) {
        const KV_LOADED_TABLE* const loaded = load(table->name, error);
        if (!loaded)
            return error;
        files.append({target.filePath(table->name + ".xml"), {}, {nullptr, loaded->data}});
    }
    if (!m_schema.tables.isEmpty())
        files.append({target.filePath(QStringLiteral("schema.xml")), {}, {&m_schema, {}}});
    if (!target.mkpath(QStringLiteral(".")))
        return QStringLiteral("%1: this folder can't be made").arg(folder);
    return kv_save_files(folder, files, m_progress);
}

QString KV_DATABASE::revert()
{
    if (m_transaction)
        return QStringLiteral("a transaction is open");
    const QStringList changed = edited_tables() + removed_tables();
    set_schema(m_written_schema);
    QStringList errors;
    for (auto loaded = m_tables.begin(); loaded != m_tables.end(); ++loaded) {
        const int index = m_schema.table_index(loaded.key());
        if (index < 0)
            (*loaded)->forget();
        else if (changed.contains(loaded.key()))
            read(m_schema.tables.at(index), **loaded);
        else
            (*loaded)->data.schema = m_schema.tables.at(index);
        if (index >= 0)
            errors.append((*loaded)->error);
    }
    errors.removeAll(QString());
    return errors.join('\n');
}

QString KV_DATABASE::revert(const QString& table)
{
    if (m_transaction)
        return QStringLiteral("a transaction is open");
    const int index = m_schema.table_index(table);
    if (index < 0)
        return no_table(table);
    if (reshaped_tables().contains(table))
        return QStringLiteral("the fields of table \"%1\" are changed: only all changes together can be "
                              "reverted")
            .arg(table);
    const QSharedPointer<KV_LOADED_TABLE> loaded = m_tables.value(table);
    if (loaded && loaded->is_edited)
        read(m_schema.tables.at(index), *loaded);
    return loaded ? loaded->error : QString();
}
