#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QObject>
#include <QtCore/QScopedPointer>
#include <QtCore/QSet>
#include <QtCore/QStringList>
#include <QtCore/QVariant>
#include <QtCore/QVector>

#include <functional>

#include "contracts/database/kv_query_interface.h"
#include "contracts/database/kv_records.h"
#include "contracts/export.h"

class KV_DATABASE;
struct DIGEST;
class PROGRESS_CALLBACK;
class QDialog;
class QWidget;

/// The game database: a folder of XML tables described by one "schema.xml".
///
/// **Reading.** The schema is read when the database is connected, a table when
/// it is asked for the first time; it is kept from then on. A table that can't
/// be read fails those who ask for it, with the same text each time, and nobody
/// else. Queries are answered by SQLite from the same records.
///
/// **Changing.** A change is made in memory and reaches the disk by save_table,
/// save_schema or a transaction that saves. Each operation changes all that it
/// says or nothing. A record is named by the value of its key field, so a table
/// without one can be added to, but its records can't be edited or removed.
/// Types, keys and counts are checked by each operation; lookups too, or at the
/// end of the transaction that it is part of: a value that is new must be found
/// in the field that it refers to, and one that somebody refers to must stay.
/// What a transaction has changed shows in key_exists_within_transaction only,
/// until it has ended well. A change costs the same in a small and in a large
/// table, but for the removal of a record: many of those belong in one transaction.
///
/// **Errors.** Operations that can fail take a QString that they fill with the
/// error, or empty on success, or they return the error, empty on success. The
/// text names file, line, column and cause where there is a place to name.
/// Lists and records are empty and pointers null on an error. A database that
/// was made or set read-only refuses every operation marked "changes" below.
///
/// **Ownership and threads.** Pointers belong to the service. Made and
/// connected on the GUI thread, then used from the GUI thread and from the build
/// thread, by one of them at a time; it takes no locks of its own. It is
/// destroyed when no other thread uses it any more. `connect` and `disconnect`
/// hide those of QObject, which are reached with QObject:: in front.
///
/// Plugins call by position: the order of the operations must not change.
class GOX_CONTRACTS_EXPORT KV_XML_QUERY_INTERFACE : public QObject
{
    Q_OBJECT

public:
    /// `progress` may be null and is not owned. `workspace` is the version
    /// control workspace that the tables are edited in. With
    /// `skip_unknown_fields`, fields of a record that the schema does not know
    /// are left out, and a table that has any can't be changed; otherwise they
    /// are an error. A `read_only` database refuses every change.
    KV_XML_QUERY_INTERFACE(PROGRESS_CALLBACK* progress, const QString& workspace, bool skip_unknown_fields,
                           bool read_only);
    ~KV_XML_QUERY_INTERFACE() override;

    /// Version of the format that the connected database is written in; 0 when
    /// none is connected or it is empty.
    virtual int version() const;

    /// As connect_without_merge, after `workspace` has taken the place of the
    /// constructor's. Nothing is fetched from version control here, so any mode
    /// but GET_LATEST_NEVER is an error.
    virtual QString connect(const QString& path, const QString& workspace,
                            KV_QUERY_INTERFACE::GET_LATEST_MODE mode, bool load_all);

    /// Takes the folder at `path` for the database, in place of one that is
    /// connected; after an error none is. A folder without any XML file is an
    /// empty database. A table of the schema without a file is empty; a table
    /// file that the schema does not name is ignored. A save of the folder that was
    /// cut off is gone on with, or only read when this one is read-only. With
    /// `load_all` every table is read at once and the errors of all broken ones are
    /// returned, a line each.
    virtual QString connect_without_merge(const QString& path, bool load_all);

    /// Drops everything that was read, and what was changed and not saved. All
    /// pointers that were given out are gone with it.
    virtual void disconnect();

    virtual bool is_connected() const;

    /// Time (UTC) of the file that was changed last, among the schema and the
    /// tables that it names; null when there is no file or no connection.
    virtual QDateTime latest_mod_date() const;

    // Merging with the depot: not here, always an error.
    virtual bool basic_merge(QString& error, const QString& path, KV_QUERY_INTERFACE::GET_LATEST_MODE mode,
                             bool load_all);
    virtual bool merge_for_checkin(QString& error);

    virtual QString connect_string() const; ///< the folder; empty when none is connected

    /// Writes the database as it is in memory into `folder`, which is made when
    /// it does not exist and must be empty. What an open transaction has changed
    /// is not part of it. Changes.
    virtual QString create_db_copy_for_diff(const QString& folder);

    // What differs from the disk: tables with changed records or fields, tables
    // with changed fields, the files (full paths) that a save would write, and
    // tables that a save of the schema would remove. All by name or path.
    virtual QStringList get_changed_tables(QString& error) const;
    virtual QStringList get_changed_schemas(QString& error) const;
    virtual QStringList get_changed_files(QString& error) const;
    virtual QStringList get_deleted_tables(QString& error) const;

    // Localisation: not here, always an error.
    virtual bool any_local_tables_requiring_localisation(QString& error) const;
    virtual bool changes_require_localisation(QString& error) const;

    /// Names of the schema's tables in its order; the second reads those of a
    /// database that need not be connected.
    virtual QStringList get_table_names(QString& error) const;
    virtual QStringList get_table_names_disconnected(QString& error, const QString& path) const;

    // Submissions, locks, merging, exports and the depot: not here, always an
    // error.
    virtual QString submit_schema_changes_request(const QString& comment);
    virtual QString submit_request_change(const QString& comment);
    virtual QString submit_directory_removal(const QString& folder);
    virtual bool lock_for_submit(QString& error);
    virtual bool revert_locked(QString& error);
    virtual bool submit_locked(QString& error, const QString& comment);
    virtual bool is_database_locked(QString& error) const;
    virtual bool lock_database(QString& error);
    virtual bool unlock_database(QString& error);
    virtual bool have_latest(QString& error) const;
    virtual bool is_merge_required(QString& error) const;
    virtual QStringList exported_table_list(QString& error) const;
    virtual bool export_tables(QString& error, const QStringList& tables);
    virtual QStringList get_tables_requiring_export(QString& error) const;
    virtual QString perforce_root(QString& error) const;
    virtual bool data_changes_in_perforce(QString& error) const;

    /// Null only on an error. The schema is valid until the connection ends,
    /// that of a table and a query until the schema is changed.
    virtual const KV_DATABASE_SCHEMA* get_database_schema(QString& error) const;
    virtual const KV_TABLE_SCHEMA* get_table_schema(QString& error, const QString& table) const;
    virtual QVector<KV_QUERY_SCHEMA> get_query_schemas(QString& error) const;
    virtual const KV_QUERY_SCHEMA* get_query_schema(QString& error, const QString& query) const;

    /// Adds to `tables` every table that looks up values in one of them, in one
    /// step or in several; the second, every table that they look up values in.
    virtual bool add_dependent_tables_to_set(QString& error, QSet<QString>& tables) const;
    virtual bool add_dependency_tables_to_set(QString& error, QSet<QString>& tables) const;

    /// A new table at the end of the schema; new fields for a table, whose
    /// values are carried over by the names of the fields while new fields get
    /// their defaults; a table out of the schema, which nobody may look up.
    /// `schema` keeps the table's name. Changes.
    virtual bool add_table(QString& error, const KV_TABLE_SCHEMA& schema);
    virtual bool edit_table(QString& error, const QString& table, const KV_TABLE_SCHEMA& schema);
    virtual bool remove_table(QString& error, const QString& table);

    virtual KV_DATABASE_DATA get_database_data(QString& error) const; ///< reads every table

    /// The records of `table` that `filter` lets through, in the order of the
    /// file. The filter is "field=value": the first "=" ends the field's name,
    /// what stands behind it is the whole value, letter for letter. An empty
    /// filter lets all through. Without records and without schema on an error.
    virtual KV_TABLE_DATA get_table_data(QString& error, const QString& table, const QString& filter) const;

    /// The whole table as the service keeps it: the same pointer each time,
    /// valid until the connection ends. Its records change with the table; when
    /// that is removed there are none, until it is reverted or added again. Null
    /// only on an error.
    virtual const KV_TABLE_DATA* get_table_data(QString& error, const QString& table) const;

    /// Frees what was read of a table; it is read again when it is asked for.
    /// Until then a pointer to it shows no records. A table with unsaved
    /// changes is an error.
    virtual bool clear_table_data(QString& error, const QString& table);

    // Queries. Each is one SELECT (or VALUES, or WITH and a SELECT) of SQLite over
    // the tables, whose columns are their fields; a field without value is NULL, a
    // boolean 1 or 0. Everything that could write or reach another file is refused.
    // `results` is without columns on an error, and the error quotes the query.

    /// The query that the schema keeps under this name.
    virtual void get_query_data(QString& error, KV_QUERY_RESULTS& results, const QString& query) const;

    /// The text of a <query> element, as it could stand in the schema.
    virtual void get_query_data_from_string(QString& error, KV_QUERY_RESULTS& results,
                                            const QString& definition) const;

    /// Bare SQL. Each "?" in it stands for one of `values`, in their order, so
    /// that no value need be quoted.
    virtual void get_query_data_from_simple_sql(QString& error, KV_QUERY_RESULTS& results, const QString& sql,
                                                const QVariantList& values) const;

    /// From here on changes wait for the end. One transaction at a time. With
    /// `save_at_end` the end also writes all that was changed in it. Changes.
    virtual bool begin_transaction(QString& error, bool save_at_end);

    /// Makes the changes real. False: nothing became real, nothing was saved, and
    /// the transaction is still open, to be mended or terminated.
    virtual bool end_transaction(QString& error);
    virtual bool in_transaction() const;

    /// Ends the transaction with everything as it was before it.
    virtual bool terminate_transaction(QString& error);

    // Both need an open transaction. Changes.
    virtual bool key_exists_within_transaction(QString& error, const QString& table, const QString& key);
    virtual bool remove_record_within_transaction(QString& error, const QString& table, const QString& key);

    /// A whole new schema: its tables are added, edited and removed as needed,
    /// and its queries replace the old ones. Changes, as do all that follow.
    virtual bool change_schema(QString& error, const KV_DATABASE_SCHEMA& schema);
    virtual bool set_field_description(QString& error, const QString& table, const QString& field,
                                       const QString& description);

    /// `record` has a value for each field of the table, in the schema's order.
    virtual bool add_record(QString& error, const QString& table, const KV_RECORD_DATA& record);
    virtual bool remove_record(QString& error, const QString& table, const QString& key);

    /// The tables that look up values in `table`, or that it looks them up in;
    /// one step only, `table` itself left out. Reads.
    virtual QStringList collect_dependant_tables(QString& error, const QString& table) const;
    virtual QStringList collect_dependency_tables(QString& error, const QString& table) const;

    virtual bool edit_field_data(QString& error, const QString& table, const QString& key,
                                 const QString& field, const QString& value);
    virtual bool edit_record_data(QString& error, const QString& table, const QString& key,
                                  const KV_RECORD_DATA& record);

    // Approval of texts for localisation: not here, always an error.
    virtual bool approve_text(QString& error, const QString& table, const QString& key, const QString& field);
    virtual bool reject_text(QString& error, const QString& table, const QString& key, const QString& field);
    virtual bool ignore_text(QString& error, const QString& table, const QString& key, const QString& field);
    virtual bool unapprove_text_that_contains(QString& error, const QString& text);

    // Each writes what is changed of the tables or the schema; what is not changed
    // is not written. All files are replaced or, on an error, none. When fields
    // were changed, the schema and all tables with changed fields are written
    // together, and the files of removed tables go with them. A file that somebody
    // else changed since it was read is an error and stays as it is.
    virtual bool save_table(QString& error, const QString& table);
    virtual bool save_table(QString& error, const QStringList& tables);
    virtual bool save_schema(QString& error);
    /// Writes the schema to another file, whatever it holds; one of the database's
    /// own is refused, by whichever path or link.
    virtual bool save_schema(QString& error, const QString& path);

    /// Whether a record of any table refers to `value` in the field; whether
    /// `value` is found where the field looks its values up (true for one that
    /// looks up nothing); which fields hold the value and refer to this one.
    virtual bool any_dependents_using_existing_value(QString& error, const QString& table,
                                                     const QString& field, const QString& value) const;
    virtual bool dependency_value_exists(QString& error, const QString& table, const QString& field,
                                         const QString& value) const;
    virtual QVector<RELATIONSHIP_DATA> dependents_of_field_using_value(QString& error, const QString& table,
                                                                       const QString& field,
                                                                       const QString& value) const;

    virtual bool is_read_only() const;
    virtual void make_read_only(); ///< for the rest of the object's life

    /// The lookups from and to `table`, or all for an empty name.
    virtual QVector<RELATIONSHIP_DATA> relationship_data(QString& error, const QString& table) const;

    /// Back to what was read or saved last: everything, or the records of one
    /// table. Changed tables are read again. Changes.
    virtual bool revert_changes(QString& error);
    virtual bool revert_single_table(QString& error, const QString& table);

    // Merging, and ids that files of this format do not carry: always an error.
    virtual QStringList get_locally_edited_tables_edited_during_merge(QString& error) const;
    virtual bool write_out_tables_with_uuids(QString& error, const QString& folder);
    virtual bool write_out_schemas_with_field_uuids(QString& error, const QString& folder);

    /// The value of `wanted` in the record that the field of the record with
    /// `key` refers to. Empty, and no error, when the field is empty.
    virtual QString get_field_lookup_value(QString& error, const QString& table, const QString& key,
                                           const QString& field, const QString& wanted) const;

    /// All values that the field may take, each once, in the order of the table
    /// that it looks them up in.
    virtual QStringList get_field_lookup_values(QString& error, const QString& table,
                                                const QString& field) const;

    /// The field at the end of the chain of lookups that begins with this one.
    virtual METAFIELD_AND_SCHEMA get_main_dependency_field_data(QString& error, const QString& table,
                                                                const QString& field) const;

    // Whether the table can't be changed and saved now (`error` is the reason);
    // and whether records can be added, edited and removed, false with the
    // reason.
    virtual bool table_restricted(QString& error, const QString& table) const;
    virtual bool can_add_table_records(QString& error, const QString& table) const;
    virtual bool can_edit_table_records(QString& error, const QString& table) const;
    virtual bool can_remove_table_records(QString& error, const QString& table) const;

    /// All commands in their order, or none; the error counts them from 1.
    /// Changes.
    virtual bool apply_edit_commands(QString& error, const QVector<KV_EDIT_COMMAND>& commands);

    // Ids that files of this format do not carry: always an error.
    virtual bool table_uuids_match(QString& error, const QString& table) const;
    virtual bool refresh_unique_id_lookups_table(QString& error);

    // Dialogs: not here, always null and an error.
    virtual QDialog* create_local_data_changes_dialog(QString& error, QWidget* parent);
    virtual QDialog* create_submission_dialog(QString& error, QWidget* parent);
    virtual QDialog* create_submission_plus_data_dialog(QString& error, QWidget* parent);
    virtual QDialog* create_request_submission_dialog(QString& error, QWidget* parent);

    /// A number that was not given before, by whichever process: from 1 to
    /// 2^63 - 1, in no order. Any thread.
    virtual quint64 new_unique_global_id();

protected:
    /// The last error that any operation gave; empty before the first.
    virtual const QString& get_last_error() const;

public:
    virtual bool save_relationships(QString& error); ///< they stand in the schema: as save_schema. Changes.

    virtual QStringList get_added_files(QString& error) const; ///< those changed that do not exist yet

    // The depot and another format: not here, always an error.
    virtual bool revert(QString& error, const QStringList& files);
    virtual bool save_kvad_tables_xml(QString& error, const QString& folder);

    /// What ends a query before it has found everything, which is an error then:
    /// `is_stopped`, which may be empty and is asked often on the thread of the query,
    /// or `max_msecs` of time, -1 for any. Without this a query runs to its end.
    void bound_queries(const std::function<bool()>& is_stopped, qint64 max_msecs);

    /// For the program, to tell later whether `table` still says the same: stands for
    /// the bytes of its file, or of the schema's for "schema". Whoever reads is noted as
    /// one who asks for the schema and for each table that he reads records of. Null,
    /// which tells nothing, when what was told is not what the file says now: it is
    /// another file than the one that was read, or the table was changed since the
    /// connection began. A table that the schema does not name has a digest too. Looks
    /// at the disk each time, and reads a file again when it has changed; noted nowhere.
    DIGEST table_digest(const QString& table) const;

private:
    QScopedPointer<KV_DATABASE> m_database;
};
