#include <QtTest/QTest>

#include "tests/contracts/database/database_commands.h"
#include "tests/support/watched_test.h"

namespace {

// P, R and L stand for the tables as they were.
const QString PACKS = "packs(name,size,note,region): a|1||n; b|-5|x|; c|1||lost";
const QString REGIONS = "regions(code,scale,open): n|2.50|; s|1|true";
const QString LOG = "log(text): t";

constexpr char GOOD[] = R"(
add packs d|7||s => P; d|7||s / R / L
add log u => P / R / L; u
set packs b note  => packs(name,size,note,region): a|1||n; b|-5||; c|1||lost / R / L
set packs b name z => packs(name,size,note,region): a|1||n; z|-5|x|; c|1||lost / R / L
set packs c size 2 => packs(name,size,note,region): a|1||n; b|-5|x|; c|2||lost / R / L
edit packs a e|||s => packs(name,size,note,region): e|||s; b|-5|x|; c|1||lost / R / L
remove packs a => packs(name,size,note,region): b|-5|x|; c|1||lost / R / L
remove regions s => P / regions(code,scale,open): n|2.50| / L
all add packs d|||w & add regions w|| & remove packs a & edit regions n m|| => packs(name,size,note,region): b|-5|x|; c|1||lost; d|||w / regions(code,scale,open): m||; s|1|true; w|| / L
all add packs d|||lost & remove packs d & add log u => P / R / L; u
all add regions lost|| & remove regions lost & add log u => P / R / L; u
fields new id* => P / R / L / new(id): 
fields packs flag=f,name*,size=9,region => packs(flag,name,size,region): f|a|1|n; f|b|-5|; f|c|1|lost / R / L
remove_table packs => R / L
tables log regions => L / R
set_field_description packs note new => P / R / L
)";

constexpr char BAD[] = R"(
add packs a|1|| => table "packs" already has a record with the key "a"
add packs |1|| => the record has no value in the key field "name"
add packs d => a record of table "packs" has 4 value(s), not 1
add packs d|x|| => value "x" of field "size" is not of type integer
add packs d|||w => value "w" of field "packs.region" would not be found in "regions.code"
add units d => schema.xml: there is no table "units"
add stray d => stray.xml: the schema does not name this table
set packs b name a => table "packs" already has a record with the key "a"
set packs z note x => table "packs" has no record with the key "z"
set packs a Note x => table "packs" has no field "Note"
set regions n code m => value "n" of field "packs.region" would not be found in "regions.code"
remove regions n => value "n" of field "packs.region" would not be found in "regions.code"
remove log t => table "log" has no key field, so none of its records can be named
all remove packs a & add log a|b => command 2: a record of table "log" has 1 value(s), not 2
fields stray id* => stray.xml: there is a file of this name already
fields Packs id* => there are two tables called "Packs"
fields regions scale => there is no field "regions.code" to look up
fields packs name*,size,note:real,region => the record with the key "b": value "x" of field "note" is not of type real
fields packs name,size*,note,region => the record with the key "c": table "packs" already has a record with the key "1"
fields packs name*,size,note,region,more=zz>regions.code => value "zz" of field "packs.more" would not be found in "regions.code"
remove_table regions => there is no field "regions.code" to look up
set_field_description packs Note x => there is no field "packs.Note"
)";

// What can't be done with and without an open transaction.
constexpr char IN_TRANSACTION[] = R"(
begin_transaction true
save_table packs
save_schema
revert_changes
revert_single_table packs
clear_table_data packs
)";
constexpr char WITHOUT_TRANSACTION[] = R"(
end_transaction
terminate_transaction
key_exists_within_transaction packs a
remove_record_within_transaction packs b
)";

} // namespace

// Changes of records and fields, by themselves and in a transaction, and what
// of them is found again by who reads the files.
class TST_KV_EDITS : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void edits_data()
    {
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QString>("expected_error");
        for (const QStringList& row : rows_of(GOOD)) {
            QStringList tables = row.at(1).split(" / ");
            for (QString& table : tables)
                for (const QString& known : {PACKS, REGIONS, LOG})
                    if (table.at(0) == known.at(0).toUpper())
                        table.replace(0, 1, known);
            QTest::newRow(qPrintable(row.at(0))) << tables.join(" / ") << QString();
        }
        for (const QStringList& row : rows_of(BAD))
            QTest::newRow(qPrintable(row.at(0))) << PACKS + " / " + REGIONS + " / " + LOG << row.at(1);
    }
    void edits()
    {
        QFETCH(QString, expected);
        QFETCH(QString, expected_error);
        for (const bool in_transaction : {false, true}) {
            DATABASE_SCENE db;
            db.connect_stock();
            db.write("stray.xml", "somebody's");
            const QStringList before = content(db);
            QString ignored;
            if (in_transaction)
                QCOMPARE(run(db, "begin_transaction"), QString());
            QString error = run(db, QTest::currentDataTag());
            if (in_transaction) {
                QCOMPARE(content(db), before);
                if (error.isEmpty())
                    error = run(db, "end_transaction");
                if (!error.isEmpty())
                    QCOMPARE(run(db, "terminate_transaction"), QString());
            }
            QCOMPARE(db.without_folder(error), expected_error);
            if (!error.isEmpty())
                QCOMPARE(db.get_last_error(), error);
            QCOMPARE(content_text(db), expected + " / ");
            QCOMPARE(db.get_changed_files(ignored).isEmpty(), !expected_error.isEmpty());

            QVERIFY2(db.save_table(error, db.get_changed_tables(error)), qPrintable(error));
            QCOMPARE(run(db, "save_schema"), QString());
            QCOMPARE(db.get_changed_files(error), QStringList());
            DB reader(nullptr, QString(), false, true);
            QCOMPARE(reader.connect_without_merge(db.folder(), true), QString());
            QCOMPARE(content(reader), content(db)); // with their lines
            QCOMPARE(FILES::bytes(db.path("stray.xml")), QByteArray("somebody's"));
            QCOMPARE(QFile::exists(db.path("packs.xml")), expected.contains("packs"));
        }
    }

    void odd_values_data()
    {
        QTest::addColumn<QString>("value");
        for (const char* const value :
             {" spaces ", "\t\ttabs\t", "\n", "\r", "a\r\nb\rc\n", "<a href=\"x\">&amp;'</a>]]>", "-->", "1"})
            QTest::newRow(qPrintable(QString(value).toHtmlEscaped())) << QString(value);
        QTest::newRow("long") << QString(100000, '&');
        QTest::newRow("beyond 16 bits") << QString::fromUtf8("\xF0\x9F\x8F\xB0 \xEF\xBF\xBD");
    }
    // As a value, a key, a default, a description and in a query.
    void odd_values()
    {
        QFETCH(QString, value);
        DATABASE_SCENE db;
        db.connect_stock();
        QString error;
        KV_TABLE_SCHEMA schema = *db.get_table_schema(error, "packs");
        schema.description = schema.fields[2].description = schema.fields[2].default_value = value;
        QVERIFY2(db.edit_table(error, "packs", schema), qPrintable(error));
        for (const QString& text : {value, QString(), value + "!"})
            QVERIFY2(db.add_record(error, "packs", record_of({value + text, "", text, ""})),
                     qPrintable(error));
        KV_DATABASE_SCHEMA all = *db.get_database_schema(error);
        all.queries.first().sql = "SELECT 1, '" + QString(value).replace('\'', "''").left(50) + "'";
        QVERIFY2(db.change_schema(error, all), qPrintable(error));
        QCOMPARE(run(db, "save_schema"), QString());
        const QStringList saved = content(db);
        QCOMPARE(db.connect_here(), QString());
        QCOMPARE(content(db), saved);
        QCOMPARE(db.get_table_data(error, "packs")->value(5, "note"), value + "!");
        QCOMPARE(db.get_table_schema(error, "packs")->fields.at(2).description, value);
        QCOMPARE(db.get_query_schemas(error).first().sql, all.queries.first().sql);
    }

    void refuses_values()
    {
        DATABASE_SCENE db;
        db.connect_stock();
        const QString place = " can't stand in a file of the database";
        const QMap<QString, QString> errors{
            {"\x1b", "the character U+001b" + place},
            {QChar(0xd800), "the character U+d800" + place},
            {QString(3 << 20, 'x'), "a text of more than 2097152 characters"}};
        for (auto row = errors.begin(); row != errors.end(); ++row) {
            QCOMPARE(run(db, "add log " + row.key()), "field \"text\": " + row.value());
            QCOMPARE(run(db, "set_field_description log text " + row.key()), row.value());
        }
    }

    void transaction_shows_at_its_end()
    {
        DATABASE_SCENE db;
        db.connect_stock();
        QString error;
        const QStringList before = content(db);
        const KV_TABLE_DATA* const packs = db.get_table_data(error, "packs");
        for (const char* const command :
             {"begin_transaction", "add packs d|||", "remove_record_within_transaction packs a",
              "key_exists_within_transaction packs d", "add log kept"})
            QCOMPARE(run(db, command), QString());
        QVERIFY(db.in_transaction());
        QCOMPARE(run(db, "key_exists_within_transaction packs a"), QString("false"));
        // The part that fails is undone, what was done before it is not.
        QCOMPARE(run(db, "all add log lost & remove packs b & remove packs a"),
                 QString("command 3: table \"packs\" has no record with the key \"a\""));
        QCOMPARE(content(db), before);
        QCOMPARE(run(db, "end_transaction"), QString());
        QCOMPARE(db.get_table_data(error, "packs"), packs);
        QCOMPARE(packs->rows_by_key.value("c"), 1);
        QCOMPARE(content_text(db), "packs(name,size,note,region): b|-5|x|; c|1||lost; d||| / " + REGIONS +
                                       " / " + LOG + "; kept / ");
        QVERIFY(!db.in_transaction());
        QCOMPARE(db.connect_here(), QString()); // nothing was saved
        QCOMPARE(content(db), before);
    }

    void transaction_waits_for_lookups()
    {
        DATABASE_SCENE db;
        db.connect_stock();
        for (const char* const command : {"begin_transaction", "add packs d|||w", "remove regions n"})
            QCOMPARE(run(db, command), QString());
        QVERIFY(run(db, "end_transaction").startsWith("value \"n\" of field \"packs.region\" would not be"));
        QCOMPARE(run(db, "remove packs a"), QString());
        QVERIFY(run(db, "end_transaction").startsWith("value \"w\" of field \"packs.region\" would not be"));
        QVERIFY(db.in_transaction());
        QCOMPARE(run(db, "set regions s code w"), QString());
        QCOMPARE(run(db, "end_transaction"), QString());
        QVERIFY(
            content_text(db).startsWith("packs(name,size,note,region): b|-5|x|; c|1||lost; d|||w / regions"
                                        "(code,scale,open): w|1|true"));
        // A new field's default is new to each record, also when one of them goes.
        for (const char* const command :
             {"begin_transaction", "fields packs name*,more=zz>regions.code", "remove packs b"})
            QCOMPARE(run(db, command), QString());
        QVERIFY(run(db, "end_transaction").startsWith("value \"zz\" of field \"packs.more\" would not be"));
    }

    void changes_nothing_at_the_wrong_time()
    {
        DATABASE_SCENE db;
        db.connect_stock();
        for (const QStringList& row : rows_of(WITHOUT_TRANSACTION))
            QCOMPARE(run(db, row.at(0)), QString("no transaction has begun"));
        run(db, "begin_transaction");
        for (const QStringList& row : rows_of(IN_TRANSACTION))
            QVERIFY2(run(db, row.at(0)).startsWith("a transaction is open"), qPrintable(row.at(0)));
        QVERIFY(db.in_transaction());
    }

    void tells_what_is_changed()
    {
        DATABASE_SCENE db;
        db.connect_stock();
        QString error;
        for (const char* const command : {"set packs a size 3", "remove_table log", "fields new id*"})
            QCOMPARE(run(db, command), QString());
        QCOMPARE(db.get_changed_tables(error), QStringList({"packs", "new"}));
        QCOMPARE(db.get_changed_schemas(error), QStringList("new"));
        QCOMPARE(db.get_deleted_tables(error), QStringList("log"));
        QCOMPARE(db.get_changed_files(error),
                 QStringList({db.path("schema.xml"), db.path("packs.xml"), db.path("new.xml")}));
        QCOMPARE(db.get_added_files(error), QStringList(db.path("new.xml")));
        // What a transaction tries is nobody's yet.
        for (const QString& command :
             {QString("begin_transaction"), QString("add packs d|||"), QString("remove_table new"),
              "create_db_copy_for_diff " + db.path("copy"), QString("terminate_transaction")})
            QCOMPARE(run(db, command), QString());
        QCOMPARE(run(db, "create_db_copy_for_diff " + db.path("copy")),
                 db.path("copy: this folder is not empty"));
        DB copy(nullptr, QString(), false, true);
        QCOMPARE(copy.connect_without_merge(db.path("copy"), true), QString());
        QCOMPARE(content_text(copy), content_text(db));
        // The fields of a table go with the schema, and what is not changed stays.
        const QByteArray regions = FILES::bytes(db.path("regions.xml"));
        QCOMPARE(run(db, "save_table new"), QString());
        QCOMPARE(db.get_changed_files(error), QStringList(db.path("packs.xml")));
        QVERIFY(!QFile::exists(db.path("log.xml")));
        QCOMPARE(FILES::bytes(db.path("regions.xml")), regions);
    }

    void clears_and_reverts()
    {
        DATABASE_SCENE db;
        db.connect_stock();
        QString error;
        const QStringList before = content(db);
        const KV_TABLE_DATA* const packs = db.get_table_data(error, "packs");
        QCOMPARE(run(db, "set packs a size 3"), QString());
        QCOMPARE(run(db, "clear_table_data packs"),
                 QString("table \"packs\" has changes that are not saved"));
        QCOMPARE(run(db, "revert_single_table packs"), QString());
        QCOMPARE(content(db), before);
        QCOMPARE(run(db, "clear_table_data packs"), QString());
        QVERIFY(packs->records.isEmpty());
        db.write("packs.xml", "<table name='packs'><record name='late'/></table>");
        QCOMPARE(db.get_table_data(error, "packs"), packs);
        QCOMPARE(packs->value(0, "name"), QString("late"));

        // The pointer outlives its table, and shows the next one of that name.
        for (const char* const command : {"remove_table packs", "fields packs id*", "add packs 1"}) {
            QCOMPARE(packs->records.size(), *command == 'r' ? 1 : 0);
            QCOMPARE(run(db, command), QString());
        }
        QCOMPARE(packs->value(0, "id"), QString("1"));
        QCOMPARE(run(db, "revert_changes"), QString());
        QCOMPARE(db.get_table_data(error, "packs"), packs);
        QCOMPARE(packs->value(0, "name"), QString("late"));

        for (const char* const command : {"remove_table packs", "fields new id*", "add new 1",
                                          "fields regions code*,scale", "revert_changes"})
            QCOMPARE(run(db, command), QString());
        QCOMPARE(content(db).mid(1), before.mid(1));
        QCOMPARE(db.get_changed_files(error) + db.get_deleted_tables(error), QStringList());
    }

    void keeps_values_that_it_skipped()
    {
        DATABASE_SCENE db(true);
        db.write("schema.xml", packs_schema());
        db.write("packs.xml", "<table name='packs'><record name='a' older='1'/></table>");
        db.connect_here();
        const QString expected = db.path("packs.xml: this table can't be changed: its file has fields that ");
        for (const char* const command :
             {"set packs a size 2", "fields packs name*", "table_restricted packs"})
            QVERIFY(run(db, command).startsWith(expected));
    }

    void many_edits_stay_in_order()
    {
        DATABASE_SCENE db;
        db.connect_stock();
        QString error, expected = "n s";
        QCOMPARE(run(db, "begin_transaction true"), QString());
        QVERIFY(!run(db, "remove packs z").isEmpty());
        const QByteArray packs = FILES::bytes(db.path("packs.xml"));
        for (int i = 0; i < 2000; ++i) {
            const QString key = "k" + QString::number(i);
            QVERIFY(db.add_record(error, "regions", record_of({key, "", ""})));
            if (i % 3 == 0)
                QVERIFY(db.remove_record(error, "regions", key));
            else
                expected += ' ' + key;
        }
        QCOMPARE(run(db, "end_transaction"), QString());
        QCOMPARE(FILES::bytes(db.path("packs.xml")), packs); // tried, but not changed
        db.connect_here();
        QCOMPARE(db.get_field_lookup_values(error, "packs", "region").join(' '), expected);
    }
};

QTEST_GUILESS_MAIN(TST_KV_EDITS)
#include "tst_kv_edits.moc"
