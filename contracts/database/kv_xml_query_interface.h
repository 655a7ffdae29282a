#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QObject>
#include <QtCore/QScopedPointer>
#include <QtCore/QStringList>

#include "contracts/database/kv_query_interface.h"
#include "contracts/database/kv_records.h"
#include "contracts/export.h"

class PROGRESS_CALLBACK;

/// The game database: a folder of XML tables described by one "schema.xml".
///
/// The schema is read when the database is connected, a table when it is asked
/// for the first time; it is kept from then on. A table that can't be read
/// fails those who ask for it, with the same text each time, and nobody else.
///
/// Operations that can fail take a QString that they fill with the error, or
/// empty on success, or they return the error, empty on success. The text names
/// file, line, column and cause where there is a place to name.
///
/// Made and connected on the GUI thread, then used from the GUI thread and from
/// the build thread, by one of them at a time; it takes no locks of its own.
/// `connect` and `disconnect` hide those of QObject, which are reached with
/// QObject:: in front.
class GOX_CONTRACTS_EXPORT KV_XML_QUERY_INTERFACE : public QObject
{
    Q_OBJECT

public:
    /// `progress` may be null and is not owned. `workspace` is the version
    /// control workspace that the tables are edited in. With
    /// `skip_unknown_fields`, fields of a record that the schema does not know
    /// are left out; otherwise they are an error. A `read_only` database
    /// refuses every change.
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
    /// file that the schema does not name is ignored. With `load_all` every
    /// table is read at once and the errors of all broken ones are returned, a
    /// line each.
    virtual QString connect_without_merge(const QString& path, bool load_all);

    /// Drops everything that was read. What get_database_schema,
    /// get_table_schema and the second get_table_data gave is gone with it.
    virtual void disconnect();

    virtual bool is_connected() const;

    /// Time (UTC) of the file that was changed last, among the schema and the
    /// tables that it names; null when there is no file or no connection.
    virtual QDateTime latest_mod_date() const;

    /// Names of the schema's tables in its order.
    virtual QStringList get_table_names(QString& error) const;

    /// Null only on an error. Valid until the connection ends.
    virtual const KV_DATABASE_SCHEMA* get_database_schema(QString& error) const;
    virtual const KV_TABLE_SCHEMA* get_table_schema(QString& error, const QString& table) const;

    /// The records of `table` that `filter` lets through, in the order of the
    /// file. The filter is "field=value": the first "=" ends the field's name,
    /// what stands behind it is the whole value, letter for letter. An empty
    /// filter lets all through. Without records and without schema on an error.
    virtual KV_TABLE_DATA get_table_data(QString& error, const QString& table, const QString& filter) const;

    /// The whole table as the service keeps it: the same pointer each time,
    /// valid until the connection ends. Null only on an error.
    virtual const KV_TABLE_DATA* get_table_data(QString& error, const QString& table) const;

    virtual bool is_read_only() const;
    virtual void make_read_only(); ///< for the rest of the object's life

protected:
    /// The last error that any operation gave; empty before the first.
    virtual const QString& get_last_error() const;

private:
    struct STATE;

    bool check_connected(QString& error) const;

    QScopedPointer<STATE> m_state;
};
