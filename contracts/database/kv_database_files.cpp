#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <algorithm>

#include "contracts/database/kv_database.h"
#include "contracts/database/kv_schema_reader.h"
#include "contracts/database/kv_table_reader.h"

QStringList KV_DATABASE::files_to_save() const
{
    QStringList files;
    if (m_is_schema_edited)
        files.append(schema_file());
    const QStringList tables = edited_tables();
    for (const QString& table : tables)
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
    WRITTEN written;
    const QString error = write(wanted, with_schema && m_is_schema_edited, written);
    mark_written(written);
    return error.isEmpty() && written.schema ? remove_files() : error;
}

KV_FILE_TO_WRITE KV_DATABASE::table_to_write(const QString& table, const QString& file, QString& error)
{
    const KV_TABLE_VIEW records = view(table, error);
    if (!records.data)
        return {file, {}, {}, 0};
    const QSharedPointer<KV_LOADED_TABLE> loaded = m_tables.value(table);
    const KV_FILE_STAMP stamp = loaded ? loaded->stamp : KV_FILE_STAMP::of(table_file(table));
    // A copy that shares the records: the write comes later.
    const KV_TABLE_DATA data = *records.data;
    return {file, stamp, [data](QIODevice& device) { write_database_table(device, data); },
            KV_MAX_TABLE_BYTES};
}

QString KV_DATABASE::write(QStringList tables, bool with_schema, WRITTEN& written)
{
    QSet<QString> reshaped = m_reshaped;
    if (m_transaction)
        reshaped = (reshaped - m_transaction->removed) + m_transaction->reshaped;
    for (const QString& table : qAsConst(tables))
        with_schema |= reshaped.contains(table);
    if (with_schema)
        tables += reshaped.values();
    tables.removeDuplicates();
    tables.sort();

    QVector<KV_FILE_TO_WRITE> files;
    for (const QString& table : qAsConst(tables)) {
        QString error;
        files.append(table_to_write(table, table_file(table), error));
        if (!error.isEmpty())
            return error;
    }
    if (with_schema)
        files.append({schema_file(), m_schema_stamp,
                      [this](QIODevice& device) { write_database_schema(device, current_schema()); },
                      KV_MAX_SCHEMA_BYTES});
    QVector<int> done;
    const QString error = write_database_files(files, m_progress, done);
    for (const int i : qAsConst(done))
        if (i < tables.size())
            written.tables.append(tables.at(i));
    written.schema = with_schema && done.size() == files.size();
    return error;
}

void KV_DATABASE::mark_written(const WRITTEN& written)
{
    for (const QString& table : written.tables) {
        KV_LOADED_TABLE& loaded = *m_tables.value(table);
        loaded.is_edited = false;
        loaded.stamp = KV_FILE_STAMP::of(table_file(table));
        number_written_lines(loaded.data);
        m_reshaped.remove(table);
    }
    if (!written.schema)
        return;
    m_is_schema_edited = false;
    m_schema_stamp = KV_FILE_STAMP::of(schema_file());
    m_written_schema = m_schema;
}

// The schema that no longer names them is written; names that differ in letter
// case only may be one file.
QString KV_DATABASE::remove_files()
{
    QStringList errors;
    for (const QString& table : removed_tables()) {
        const auto is_same = [&](const QSharedPointer<const KV_TABLE_SCHEMA>& other) {
            return other->name.compare(table, Qt::CaseInsensitive) == 0;
        };
        QFile file(table_file(table));
        const bool is_taken = std::any_of(m_schema.tables.begin(), m_schema.tables.end(), is_same);
        if (is_taken || !file.exists() || file.remove())
            m_files_to_remove.remove(table);
        else
            errors.append(
                QStringLiteral("%1: can't be removed: %2").arg(file.fileName(), file.errorString()));
    }
    return errors.join('\n');
}

QString KV_DATABASE::copy_to(const QString& folder)
{
    const QDir target(folder);
    if (target.exists() && !target.isEmpty())
        return QStringLiteral("%1: this folder is not empty").arg(folder);
    QString error;
    QVector<KV_FILE_TO_WRITE> files;
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : qAsConst(m_schema.tables)) {
        files.append(table_to_write(table->name, target.filePath(table->name + ".xml"), error));
        files.last().stamp = KV_FILE_STAMP();
        if (!error.isEmpty())
            return error;
    }
    if (!m_schema.tables.isEmpty())
        files.append({target.filePath(QStringLiteral("schema.xml")), KV_FILE_STAMP(),
                      [this](QIODevice& device) { write_database_schema(device, m_schema); },
                      KV_MAX_SCHEMA_BYTES});
    if (!target.mkpath(QStringLiteral(".")))
        return QStringLiteral("%1: this folder can't be made").arg(folder);
    QVector<int> written;
    return write_database_files(files, m_progress, written);
}

QString KV_DATABASE::revert()
{
    if (m_transaction)
        return QStringLiteral("a transaction is open");
    QStringList changed = edited_tables();
    m_schema = m_written_schema;
    m_relationships = kv_relationships(m_schema);
    m_is_schema_edited = false;
    m_reshaped.clear();
    m_files_to_remove.clear();
    const QStringList known = m_tables.keys();
    QStringList errors;
    for (const QString& name : known) {
        const int index = m_schema.table_index(name);
        if (index < 0)
            m_removed.append(m_tables.take(name));
        else if (changed.contains(name))
            read(m_schema.tables.at(index), *m_tables.value(name));
        else
            m_tables.value(name)->data.schema = m_schema.tables.at(index);
        if (index >= 0)
            errors.append(m_tables.value(name)->error);
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
    if (m_reshaped.contains(table))
        return QStringLiteral("the fields of table \"%1\" are changed: only all changes together can be "
                              "reverted")
            .arg(table);
    const QSharedPointer<KV_LOADED_TABLE> loaded = m_tables.value(table);
    if (loaded && loaded->is_edited)
        read(m_schema.tables.at(index), *loaded);
    return loaded ? loaded->error : QString();
}
