#pragma once

#include <QtCore/QHash>
#include <QtCore/QSharedPointer>
#include <QtCore/QStringList>

#include <functional>
#include <optional>

#include "contracts/database/kv_folder_save.h"
#include "contracts/database/kv_records.h"
#include "contracts/database/kv_table_change.h"

class PROGRESS_CALLBACK;

constexpr char KV_NO_TRANSACTION[] = "no transaction has begun";

/// A table as it is kept between the calls. It stays at its place in memory
/// until the connection ends, whatever happens to the table.
struct KV_LOADED_TABLE
{
    KV_TABLE_DATA data = {};
    QString error = {};          ///< empty when the table could be read
    qint64 revision = 0;         ///< another one after each change; 0 while it is not read
    bool has_plain_keys = false; ///< kv_are_plain_keys: what a query asks for is what `rows_by_key` has
    bool has_left_out = false;   ///< its file holds values that would be lost if it were written
    bool is_edited = false;      ///< since it was read or written last

    /// Drops all but the fields: it is read when it is asked for.
    void forget() { *this = KV_LOADED_TABLE{{data.schema, {}, {}}}; }
};

/// What a transaction has changed so far. Nobody else sees it before the end.
struct KV_TRANSACTION
{
    bool saves = false;                          ///< the end writes what was changed
    KV_DATABASE_SCHEMA schema = {};              ///< as it is to become
    QHash<QString, KV_TABLE_CHANGE> tables = {}; ///< by name: those that a change was tried on
};

/// The database behind KV_XML_QUERY_INTERFACE, whose comments tell what each operation
/// promises: the folder, what was read of it, what was changed and not yet written, and
/// the transaction that is open. A change by itself is a transaction that ends at once.
/// Errors are texts that are empty on success. One thread at a time.
class KV_DATABASE
{
public:
    KV_DATABASE(PROGRESS_CALLBACK* progress, bool skip_unknown_fields)
        : m_progress(progress), m_skip_unknown_fields(skip_unknown_fields)
    {
    }

    /// With `may_write` a save that was cut off is gone on with.
    QString connect(const QString& path, bool load_all, bool may_write);
    void disconnect();
    bool is_connected() const { return m_is_connected; }
    const QString& path() const { return m_path; }
    const KV_DATABASE_SCHEMA& schema() const { return m_schema; }
    const QVector<RELATIONSHIP_DATA>& relationships() const { return m_relationships; }

    QString table_file(const QString& table) const { return m_path + '/' + table + ".xml"; }
    QString schema_file() const { return m_path + "/schema.xml"; }
    QString no_table(const QString& name) const; ///< the error that says so

    /// Null with an error when there is no such table or it can't be read. The step
    /// is for who is told of the progress.
    KV_LOADED_TABLE* load(const QString& table, QString& error, int step = 0, int steps = 1);

    /// Why the table can't be changed, as far as its file tells; empty when it
    /// can, or when it is not read.
    QString change_problem(const QString& table) const;

    QString forget(const QString& table);

    bool in_transaction() const { return m_transaction.has_value(); }
    QString begin_transaction(bool saves);
    QString end_transaction();
    QString terminate_transaction();

    /// Changes records: within the open transaction, or by itself. All commands or
    /// none; with `is_counted`, the error tells which one it is about.
    QString change_records(const QVector<KV_EDIT_COMMAND>& commands, bool is_counted);
    QString change_record(const KV_EDIT_COMMAND& command) { return change_records({command}, false); }

    /// The schema as the open transaction has it, and a new one in its place.
    const KV_DATABASE_SCHEMA& current_schema() const
    {
        return m_transaction ? m_transaction->schema : m_schema;
    }
    QString change_schema(const KV_DATABASE_SCHEMA& schema);

    /// The same with `next`, one table or none, in the place of `table`.
    QString replace_table(const QString& table, const QVector<QSharedPointer<const KV_TABLE_SCHEMA>>& next);

    /// The table as the open transaction has it; null with an error.
    std::optional<KV_TABLE_CHANGE> current_table(const QString& table, QString& error);

    /// One of its records; not changed on an error.
    QString current_record(const QString& table, const QString& key, KV_RECORD_DATA& record);

    QStringList edited_tables() const; ///< with records or fields that are not written yet
    QStringList reshaped_tables() const;
    QStringList removed_tables() const; ///< whose files still have to go
    QStringList files_to_save() const;

    /// Writes those of `tables` that are edited, the schema if `with_schema` or if they
    /// need it, and what goes with that.
    QString save(const QStringList& tables, bool with_schema);
    QString save_schema_to(const QString& path) const;
    QString copy_to(const QString& folder);
    QString revert();
    QString revert(const QString& table);

private:
    struct SAVE
    {
        QStringList tables; // whose files are written
        bool schema;        // and files of removed tables go
    };

    void read(const QSharedPointer<const KV_TABLE_SCHEMA>& table, KV_LOADED_TABLE& loaded);
    KV_TABLE_CHANGE* change_of(const QString& table, QString& error);
    QString apply(const QVector<KV_EDIT_COMMAND>& commands, bool is_counted);
    QString apply_schema(const KV_DATABASE_SCHEMA& schema);
    QString apply_table(const QSharedPointer<const KV_TABLE_SCHEMA>& table);
    QString check_reference(const RELATIONSHIP_DATA& relationship);
    QString check_references();
    void take_over();
    void set_schema(const KV_DATABASE_SCHEMA& schema);
    bool is_own_file(const QString& path) const;
    SAVE save_of(const QStringList& tables, bool with_schema) const;
    QString write(const SAVE& save);
    void mark_written(const SAVE& save);

    PROGRESS_CALLBACK* m_progress;
    bool m_skip_unknown_fields;
    bool m_is_connected = false;
    QString m_path;
    qint64 m_last_revision = 0;
    KV_DATABASE_SCHEMA m_schema;
    QVector<RELATIONSHIP_DATA> m_relationships; // of m_schema
    KV_DATABASE_SCHEMA m_written_schema;        // as it was read or written last
    QHash<QString, KV_FILE_STAMP> m_stamps;     // by path: of files when they were read or written last
    QHash<QString, QSharedPointer<KV_LOADED_TABLE>> m_tables; // that were asked for, removed ones too
    std::optional<KV_TRANSACTION> m_transaction;
};
