#pragma once

#include <QtCore/QHash>
#include <QtCore/QSharedPointer>
#include <QtCore/QStringList>

#include <optional>

#include "contracts/database/kv_files.h"
#include "contracts/database/kv_records.h"
#include "contracts/database/kv_sql.h"
#include "contracts/database/kv_table_change.h"
#include "contracts/database/kv_text.h"
#include "contracts/services/file_digests.h"

class PROGRESS_CALLBACK;

/// The schema among the tables that are asked for; no table is called so.
constexpr char KV_SCHEMA_AS_TABLE[] = "schema";

/// A table as it is kept between the calls. It stays at its place in memory
/// until the connection ends, whatever happens to the table.
struct KV_LOADED_TABLE
{
    KV_TABLE_DATA data = {};
    QString error = {};          ///< empty when the table could be read
    qint64 revision = 0;         ///< another one after each change; 0 while it is not read
    bool has_plain_keys = false; ///< kv_are_plain_keys: what a query asks for is what `rows_by_key` has
    bool has_left_out = false;   ///< its file holds values that would be lost if it were written
    bool is_edited = false;      ///< its records or fields, since it was read or written last

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

/// What KV_XML_QUERY_INTERFACE keeps, whose comments tell what each operation promises:
/// the folder, what was read of it, what was changed and not yet written, and the
/// transaction that is open. A change by itself is a transaction that ends at once.
/// What can fail fills `error`, which is empty before, and answers false, null or
/// nothing then. One thread at a time.
class KV_DATABASE
{
public:
    KV_DATABASE(PROGRESS_CALLBACK* progress, bool skip_unknown_fields, bool read_only)
        : is_read_only(read_only), m_progress(progress), m_skip_unknown_fields(skip_unknown_fields)
    {
    }

    bool is_read_only;
    QString last_error; ///< of those that were reported
    KV_SQL queries{*this};

    /// Takes the cause of a failure, or none, and tells whether there is none.
    bool report(QString& error, const QString& text);

    /// The same of one cause.
    template <typename... VALUES>
    bool require(QString& error, bool is_good, const char* form, const VALUES&... values)
    {
        return report(error, kv_problem(!is_good, form, values...));
    }

    // What the operations ask first. These empty the error. Whoever reads anything
    // depends on the schema, so that is noted here, and a table by `load`.
    bool can_read(QString& error);
    bool can_read(QString& error, const QString& table);
    bool can_change(QString& error, const char* operation);
    bool has_begun(QString& error) { return require(error, in_transaction(), "no transaction has begun"); }

    bool connect(QString& error, const QString& path, bool load_all);
    void disconnect();
    bool is_connected() const { return m_is_connected; }
    const QString& path() const { return m_path; }
    const KV_DATABASE_SCHEMA& schema() const { return m_schema; }
    const KV_DATABASE_SCHEMA& written_schema() const { return m_written_schema; } ///< as it is on the disk
    const QVector<RELATIONSHIP_DATA>& relationships() const { return m_relationships; }

    QString table_file(const QString& table) const { return m_path + '/' + table + ".xml"; }
    QString schema_file() const { return m_path + "/schema.xml"; }

    /// The field and the records as they are outside of the transaction.
    const KV_FIELD_SCHEMA* field(QString& error, const QString& table, const QString& field);
    const KV_TABLE_DATA* records(QString& error, const QString& table);
    KV_DATABASE_DATA all_records(QString& error);

    /// The step is for who is told of the progress.
    KV_LOADED_TABLE* load(QString& error, const QString& table, int step = 0, int steps = 1);
    bool forget(QString& error, const QString& table);

    /// What KV_XML_QUERY_INTERFACE::table_digest says.
    DIGEST digest(const QString& table);

    bool in_transaction() const { return m_transaction.has_value(); }
    bool begin_transaction(QString& error, bool saves);
    bool end_transaction(QString& error);
    bool terminate_transaction(QString& error);

    /// Changes records: within the open transaction, or by itself. All commands or
    /// none; with `is_counted`, the error tells which one it is about.
    bool change_records(QString& error, const QVector<KV_EDIT_COMMAND>& commands, bool is_counted = false);

    /// The schema as the open transaction has it, and a new one in its place.
    const KV_DATABASE_SCHEMA& current_schema() const
    {
        return m_transaction ? m_transaction->schema : m_schema;
    }
    bool change_schema(QString& error, const KV_DATABASE_SCHEMA& schema);

    /// The same with `next`, one table or none, in the place of `table`.
    bool replace_table(QString& error, const QString& table,
                       const QVector<QSharedPointer<const KV_TABLE_SCHEMA>>& next);

    /// The table as the open transaction has it.
    std::optional<KV_TABLE_CHANGE> current_table(QString& error, const QString& table);

    /// Whether the table can be changed, as far as its file tells.
    bool is_whole(QString& error, const QString& table);

    QStringList edited_tables() const; ///< with records or fields that are not written yet
    QStringList files_to_save() const;
    QStringList files_of(const KV_DATABASE_SCHEMA& schema) const; ///< that of the schema first

    /// Writes those of `tables` that are edited, the schema if `with_schema` or if they
    /// need it, and what goes with that.
    bool save(QString& error, const QStringList& tables, bool with_schema);
    bool save_schema_to(QString& error, const QString& path);
    bool copy_to(QString& error, const QString& folder);
    bool revert(QString& error);
    bool revert(QString& error, const QString& table);

private:
    bool is_quiet(QString& error) { return require(error, !m_transaction, "a transaction is open"); }
    bool has_table(QString& error, const KV_DATABASE_SCHEMA& schema, const QString& table);
    void read(KV_LOADED_TABLE& loaded);
    void note_stamp(const QString& file);
    template <typename WORK>
    bool change(QString& error, WORK work);
    KV_TABLE_CHANGE* change_of(QString& error, const QString& table);
    bool apply(QString& error, const QVector<KV_EDIT_COMMAND>& commands, bool is_counted);
    bool apply_schema(QString& error, const KV_DATABASE_SCHEMA& schema);
    bool apply_table(QString& error, const QSharedPointer<const KV_TABLE_SCHEMA>& table);
    bool check_reference(QString& error, const RELATIONSHIP_DATA& relationship);
    void take_over();
    void set_schema(const KV_DATABASE_SCHEMA& schema);
    bool is_own_file(const QString& path) const;
    bool write(QString& error, const QStringList& tables, bool with_schema);
    bool finish(QString& error, QStringList tables, bool with_schema);

    PROGRESS_CALLBACK* m_progress;
    bool m_skip_unknown_fields;
    bool m_is_connected = false;
    QString m_path;
    qint64 m_last_revision = 0;
    KV_DATABASE_SCHEMA m_schema;
    QVector<RELATIONSHIP_DATA> m_relationships; // of m_schema
    KV_DATABASE_SCHEMA m_written_schema;        // as it was read or written last
    QHash<QString, FILE_STAMP> m_stamps;        // by path: of files when they were read or written last
    QHash<QString, QSharedPointer<KV_LOADED_TABLE>> m_tables; // of the schema, and those that were removed
    std::optional<KV_TRANSACTION> m_transaction;
    FILE_DIGESTS m_digests;
    QSet<QString> m_unsteady; // files that were told in more than one state
};
