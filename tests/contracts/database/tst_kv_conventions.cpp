#include <QtCore/QRegularExpression>
#include <QtTest/QTest>

#include "tests/contracts/database/database_commands.h"
#include "tests/support/watched_test.h"

namespace {

// Every operation that changes something, and how it is named in the error.
constexpr char CHANGES[] = R"(
create_db_copy_for_diff FOLDER/copy => create_db_copy_for_diff
fields new id => add_table
fields packs id => edit_table
remove_table packs => remove_table
begin_transaction true => begin_transaction
end_transaction => end_transaction
remove_record_within_transaction packs a => remove_record_within_transaction
tables log => change_schema
set_field_description packs note x => set_field_description
add log x => add_record
remove packs a => remove_record
set packs a note x => edit_field_data
edit packs a z||| => edit_record_data
all remove packs a => apply_edit_commands
save_table packs => save_table
save_table packs log => save_table
save_schema => save_schema
save_schema FOLDER/copy.xml => save_schema
save_relationships => save_relationships
revert_changes => revert_changes
revert_single_table log => revert_single_table
can_add_table_records packs => a change of the table
can_edit_table_records packs => a change of the table
can_remove_table_records packs => a change of the table
table_restricted packs => a change of the table
)";

} // namespace

// What plugins rely on whatever they call: the places of the operations, who
// may change something, and how a failure is told.
class TST_KV_CONVENTIONS : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void keeps_the_order_of_operations()
    {
        const QString expected =
            "version connect connect_without_merge disconnect is_connected latest_mod_date basic_merge "
            "merge_for_checkin connect_string create_db_copy_for_diff get_changed_tables get_changed_schemas "
            "get_changed_files get_deleted_tables any_local_tables_requiring_localisation "
            "changes_require_localisation get_table_names get_table_names_disconnected "
            "submit_schema_changes_request submit_request_change submit_directory_removal lock_for_submit "
            "revert_locked submit_locked is_database_locked lock_database unlock_database have_latest "
            "is_merge_required exported_table_list export_tables get_tables_requiring_export perforce_root "
            "data_changes_in_perforce get_database_schema get_table_schema get_query_schemas "
            "get_query_schema "
            "add_dependent_tables_to_set add_dependency_tables_to_set add_table edit_table remove_table "
            "get_database_data get_table_data get_table_data clear_table_data get_query_data "
            "get_query_data_from_string get_query_data_from_simple_sql begin_transaction end_transaction "
            "in_transaction terminate_transaction key_exists_within_transaction "
            "remove_record_within_transaction change_schema set_field_description add_record remove_record "
            "collect_dependant_tables collect_dependency_tables edit_field_data edit_record_data "
            "approve_text "
            "reject_text ignore_text unapprove_text_that_contains save_table save_table save_schema "
            "save_schema "
            "any_dependents_using_existing_value dependency_value_exists dependents_of_field_using_value "
            "is_read_only make_read_only relationship_data revert_changes revert_single_table "
            "get_locally_edited_tables_edited_during_merge write_out_tables_with_uuids "
            "write_out_schemas_with_field_uuids get_field_lookup_value get_field_lookup_values "
            "get_main_dependency_field_data table_restricted can_add_table_records can_edit_table_records "
            "can_remove_table_records apply_edit_commands table_uuids_match refresh_unique_id_lookups_table "
            "create_local_data_changes_dialog create_submission_dialog create_submission_plus_data_dialog "
            "create_request_submission_dialog new_unique_global_id get_last_error save_relationships "
            "get_added_files revert save_kvad_tables_xml";
        const QString header =
            QString::fromUtf8(FILES::bytes(GOX_SOURCE_DIR "/contracts/database/kv_xml_query_interface.h"));
        QRegularExpressionMatchIterator matches =
            QRegularExpression("virtual [^;(]*?(\\w+)\\(").globalMatch(header);
        QStringList operations;
        while (matches.hasNext())
            operations.append(matches.next().captured(1));
        QCOMPARE(operations.join(' '), expected);
    }

    void refuses_changes_data()
    {
        QTest::addColumn<QString>("operation");
        for (const QStringList& row : rows_of(CHANGES))
            QTest::newRow(qPrintable(row.at(0))) << row.at(1);
    }
    // Read-only from the beginning, and with changes and a transaction pending.
    void refuses_changes()
    {
        QFETCH(QString, operation);
        DATABASE_SCENE pending;
        pending.connect_stock();
        QString error;
        for (const char* const command : {"can_remove_table_records packs", "table_restricted packs",
                                          "can_add_table_records log", "add log y"})
            QCOMPARE(run(pending, command), QString());
        QVERIFY(!pending.can_edit_table_records(error, "log"));
        QCOMPARE(run(pending, "begin_transaction true"), QString());
        pending.make_read_only();
        DB read_only(nullptr, QString(), false, true);
        QCOMPARE(read_only.connect_without_merge(pending.folder(), true), QString());
        const QByteArray before = FILES::bytes(pending.path("log.xml"));
        for (DB* const db : {&read_only, static_cast<DB*>(&pending)}) {
            QCOMPARE(run(*db, QString(QTest::currentDataTag()).replace("FOLDER", pending.folder())),
                     QString("the database is open for reading only: %1 is refused").arg(operation));
            QCOMPARE(db->get_table_data(error, "log")->records.size(), db == &pending ? 2 : 1);
            QVERIFY(db->get_table_data(error, "packs")->record_with_key("a"));
        }
        QCOMPARE(FILES::bytes(pending.path("log.xml")), before);
        QCOMPARE(FILES::below(pending.folder()).size(), 4);
    }

    // One of each service, and of each kind of result.
    void names_what_is_absent()
    {
        DATABASE_SCENE db;
        db.connect_stock();
        QString error;
        const auto check = [&](bool is_done, const QString& operation, const QString& service) {
            QVERIFY(!is_done);
            QCOMPARE(error,
                     operation + " is not available: this program has no " + service + " for the database");
            QCOMPARE(db.get_last_error(), error);
        };
        check(db.basic_merge(error, "p", KV_QUERY_INTERFACE::GET_LATEST_ASK, false), "basic_merge",
              "merging with the depot");
        error = db.submit_request_change("comment");
        check(false, "submit_request_change", "submissions");
        check(db.is_database_locked(error), "is_database_locked", "locks in the depot");
        check(!db.perforce_root(error).isEmpty(), "perforce_root", "version control");
        check(!db.exported_table_list(error).isEmpty(), "exported_table_list", "export of tables");
        check(db.approve_text(error, "t", "k", "f"), "approve_text", "localisation");
        check(db.table_uuids_match(error, "packs"), "table_uuids_match", "ids of records and fields");
        check(db.create_submission_dialog(error, nullptr), "create_submission_dialog", "dialogs");
    }

    void gives_ids_once()
    {
        DB one(nullptr, QString(), false, true), other(nullptr, QString(), false, true);
        QSet<quint64> ids;
        for (int i = 0; i < 10000; ++i)
            for (const quint64 id : {one.new_unique_global_id(), other.new_unique_global_id()}) {
                QVERIFY(qint64(id) > 0);
                ids.insert(id);
            }
        QCOMPARE(ids.size(), 20000);
    }
};

QTEST_GUILESS_MAIN(TST_KV_CONVENTIONS)
#include "tst_kv_conventions.moc"
