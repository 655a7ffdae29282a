// The operations of KV_XML_QUERY_INTERFACE that belong to services which this
// program does not have. Who calls one learns which, instead of a silence that
// looks like success.

#include "contracts/database/kv_database.h"
#include "contracts/database/kv_xml_query_interface.h"

namespace {

constexpr char MERGING[] = "merging with the depot";
constexpr char SUBMISSIONS[] = "submissions";
constexpr char LOCKS[] = "locks in the depot";
constexpr char DEPOT[] = "version control";
constexpr char EXPORTS[] = "export of tables";
constexpr char LOCALISATION[] = "localisation";
constexpr char IDS[] = "ids of records and fields";
constexpr char DIALOGS[] = "dialogs";

QString absent(KV_DATABASE& database, const char* operation, const char* service)
{
    QString error;
    database.require(error, false, "%1 is not available: this program has no %2 for the database", operation,
                     service);
    return error;
}

} // namespace

// One operation that returns `type`: an empty or false one.
#define GOX_ABSENT(type, operation, arguments, constness, service)                                           \
    type KV_XML_QUERY_INTERFACE::operation arguments constness                                               \
    {                                                                                                        \
        error = absent(*m_database, #operation, service);                                                    \
        return type();                                                                                       \
    }

// The same for an operation that returns the error.
#define GOX_ABSENT_WITH_TEXT(operation, service)                                                             \
    QString KV_XML_QUERY_INTERFACE::operation(const QString&)                                                \
    {                                                                                                        \
        return absent(*m_database, #operation, service);                                                     \
    }

using TEXT = const QString&;
using DIALOG = QDialog*;

GOX_ABSENT(bool, basic_merge, (QString & error, TEXT, KV_QUERY_INTERFACE::GET_LATEST_MODE, bool), , MERGING)
GOX_ABSENT(bool, merge_for_checkin, (QString & error), , MERGING)
GOX_ABSENT(bool, have_latest, (QString & error), const, MERGING)
GOX_ABSENT(bool, is_merge_required, (QString & error), const, MERGING)
GOX_ABSENT(QStringList, get_locally_edited_tables_edited_during_merge, (QString & error), const, MERGING)

GOX_ABSENT_WITH_TEXT(submit_schema_changes_request, SUBMISSIONS)
GOX_ABSENT_WITH_TEXT(submit_request_change, SUBMISSIONS)
GOX_ABSENT_WITH_TEXT(submit_directory_removal, SUBMISSIONS)
GOX_ABSENT(bool, lock_for_submit, (QString & error), , SUBMISSIONS)
GOX_ABSENT(bool, revert_locked, (QString & error), , SUBMISSIONS)
GOX_ABSENT(bool, submit_locked, (QString & error, TEXT), , SUBMISSIONS)

GOX_ABSENT(bool, is_database_locked, (QString & error), const, LOCKS)
GOX_ABSENT(bool, lock_database, (QString & error), , LOCKS)
GOX_ABSENT(bool, unlock_database, (QString & error), , LOCKS)

GOX_ABSENT(QString, perforce_root, (QString & error), const, DEPOT)
GOX_ABSENT(bool, data_changes_in_perforce, (QString & error), const, DEPOT)
GOX_ABSENT(bool, revert, (QString & error, const QStringList&), , DEPOT)

GOX_ABSENT(QStringList, exported_table_list, (QString & error), const, EXPORTS)
GOX_ABSENT(bool, export_tables, (QString & error, const QStringList&), , EXPORTS)
GOX_ABSENT(QStringList, get_tables_requiring_export, (QString & error), const, EXPORTS)
GOX_ABSENT(bool, save_kvad_tables_xml, (QString & error, TEXT), , EXPORTS)

GOX_ABSENT(bool, any_local_tables_requiring_localisation, (QString & error), const, LOCALISATION)
GOX_ABSENT(bool, changes_require_localisation, (QString & error), const, LOCALISATION)
GOX_ABSENT(bool, approve_text, (QString & error, TEXT, TEXT, TEXT), , LOCALISATION)
GOX_ABSENT(bool, reject_text, (QString & error, TEXT, TEXT, TEXT), , LOCALISATION)
GOX_ABSENT(bool, ignore_text, (QString & error, TEXT, TEXT, TEXT), , LOCALISATION)
GOX_ABSENT(bool, unapprove_text_that_contains, (QString & error, TEXT), , LOCALISATION)

GOX_ABSENT(bool, write_out_tables_with_uuids, (QString & error, TEXT), , IDS)
GOX_ABSENT(bool, write_out_schemas_with_field_uuids, (QString & error, TEXT), , IDS)
GOX_ABSENT(bool, table_uuids_match, (QString & error, TEXT), const, IDS)
GOX_ABSENT(bool, refresh_unique_id_lookups_table, (QString & error), , IDS)

GOX_ABSENT(DIALOG, create_local_data_changes_dialog, (QString & error, QWidget*), , DIALOGS)
GOX_ABSENT(DIALOG, create_submission_dialog, (QString & error, QWidget*), , DIALOGS)
GOX_ABSENT(DIALOG, create_submission_plus_data_dialog, (QString & error, QWidget*), , DIALOGS)
GOX_ABSENT(DIALOG, create_request_submission_dialog, (QString & error, QWidget*), , DIALOGS)
