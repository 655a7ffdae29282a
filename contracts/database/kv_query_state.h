#pragma once

#include <QtCore/QString>

#include <optional>

#include "contracts/database/kv_database.h"
#include "contracts/database/kv_sql_store.h"
#include "contracts/database/kv_xml_query_interface.h"

/// What KV_XML_QUERY_INTERFACE keeps, and the gates that its operations pass.
struct KV_XML_QUERY_INTERFACE::STATE
{
    STATE(PROGRESS_CALLBACK* progress, const QString& workspace, bool skip_unknown_fields, bool read_only)
        : database(progress, skip_unknown_fields), workspace(workspace), is_read_only(read_only)
    {
    }

    KV_DATABASE database;
    QString workspace;
    bool is_read_only;
    QString last_error;
    std::optional<KV_SQL_STORE> queries; // none before the first query of a connection

    /// Fills `error` with the text, which is empty on success; true then.
    bool report(QString& error, const QString& text);

    /// The other convention: gives the text back.
    QString report(const QString& text);

    /// False with an error when there is nothing to read, or no such table.
    bool can_read(QString& error);
    bool can_read(QString& error, const QString& table);
    bool can_read(QString& error, const QString& table, const QString& field);

    /// False with an error when `operation` may not change anything.
    bool can_change(QString& error, const char* operation);

    /// What belongs to a service that this program does not have.
    QString absent(const char* operation, const char* service);

    void run_query(QString& error, KV_QUERY_RESULTS& results, const QString& sql, const QVariantList& values);

private:
    QString fill_and_run(KV_QUERY_RESULTS& results, const QString& sql, const QVariantList& values);
};
