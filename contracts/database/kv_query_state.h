#pragma once

#include <QtCore/QString>

#include "contracts/database/kv_database.h"
#include "contracts/database/kv_sql.h"
#include "contracts/database/kv_xml_query_interface.h"

/// What KV_XML_QUERY_INTERFACE keeps, and the gates that its operations pass. The
/// gates fill `error` with a text, which is empty on success.
struct KV_XML_QUERY_INTERFACE::STATE : KV_DATABASE
{
    STATE(PROGRESS_CALLBACK* progress, bool skip_unknown_fields, bool read_only)
        : KV_DATABASE(progress, skip_unknown_fields), is_read_only(read_only)
    {
    }

    bool is_read_only;
    QString last_error;
    KV_SQL queries{*this};

    /// Whether the text is empty.
    bool report(QString& error, const QString& text);

    /// Gives the text back: the other convention.
    QString report(const QString& text);

    /// False or null when there is nothing to read, or no such table or field.
    bool can_read(QString& error);
    bool can_read(QString& error, const QString& table);
    const KV_FIELD_SCHEMA* field(QString& error, const QString& table, const QString& field);
    const KV_TABLE_DATA* records(QString& error, const QString& table);

    /// False when `operation` may not change anything.
    bool can_change(QString& error, const char* operation);

    /// Lets `change`, which gives an error, work if it may.
    template <typename CHANGE>
    bool change(QString& error, const char* operation, CHANGE change)
    {
        return can_change(error, operation) && report(error, change());
    }

    /// What belongs to a service that this program does not have.
    QString absent(const char* operation, const char* service);

    void run_query(QString& error, KV_QUERY_RESULTS& results, const QString& sql, const QVariantList& values);
};
