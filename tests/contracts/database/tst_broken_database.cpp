#include <QtTest/QTest>

#include "tests/contracts/database/database_scene.h"
#include "tests/support/watched_test.h"

// What a file holds and the beginning of the error that it must give.
class TST_BROKEN_DATABASE : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void schema_data();
    void schema();
    void table_data();
    void table();
    void cut_off_table();
    void misspelt_table_file();
};

namespace {

QByteArray deep(int levels)
{
    return QByteArray("<a>").repeated(levels) + QByteArray("</a>").repeated(levels);
}

QByteArray fields(int count)
{
    QByteArray result;
    for (int i = 0; i < count; ++i)
        result += "<field name=\"f" + QByteArray::number(i) + "\"/>";
    return result;
}

QByteArray attributes(int count)
{
    QByteArray result;
    for (int i = 0; i < count; ++i)
        result += " f" + QByteArray::number(i) + "=''";
    return result;
}

void columns()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("expected_error");
}

} // namespace

void TST_BROKEN_DATABASE::schema_data()
{
    columns();
    const auto row = [](const char* name, const QByteArray& bytes, const char* error) {
        QTest::newRow(name) << bytes << QString(error);
    };
    const auto in_table = [](const QByteArray& content) {
        return "<database>\n<table name='t'>" + content + "</table></database>";
    };
    row("empty", "", "schema.xml:1:1: the file is empty");
    row("not XML", "tables", "schema.xml:1:");
    row("cut off", "<database>\n<table name='a'>", "schema.xml:2:17: ");
    row("more behind", "<database/>\n<database/>", "schema.xml:2:");
    row("wide", QByteArray("<\0d\0/\0>\0", 8), "schema.xml:1:1: the file must be in UTF-8");
    row("entities", "<!DOCTYPE d [<!ENTITY a 'b'>]><database/>",
        "schema.xml:1:31: a document type declaration is not allowed");
    row("deep", "<database>" + deep(70) + "</database>", "schema.xml:1:14: <database> can't hold <a>");
    row("other file", "<table name='t'/>", "schema.xml:1:18: the outermost element must be <database>");
    row("later version", "<database version='2'/>", "schema.xml:1:24: version \"2\" is not known");
    row("unknown attribute", "<database tables='1'/>", "schema.xml:1:23: <database> has no attribute");
    row("table without name", "<database><table/></database>", "schema.xml:1:19: a table must have a name");
    row("path as name", "<database><table name='../t'/></database>",
        "schema.xml:1:31: \"../t\" can't be the name of a table: letters from a to z");
    row("schema as name", "<database><table name='Schema'/></database>",
        "schema.xml:1:33: no table can be called \"Schema\": its file would be the schema's");
    row("equal tables", "<database><table name='t'><field name='f'/></table>\n<table name='T'/></database>",
        "schema.xml:2:18: there are two tables called \"T\"");
    row("table without field", in_table(""), "schema.xml:2:25: table \"t\" has no field");
    row("unknown element", in_table("<key/>"), "schema.xml:2:23: <table> can't hold <key>");
    row("equal fields", in_table("<field name='a'/>\n<field name='a'/>"),
        "schema.xml:3:18: table \"t\" has two fields called \"a\"");
    row("digit first", in_table("<field name='1a'/>"),
        "schema.xml:2:35: \"1a\" can't be the name of a field");
    row("unknown type", in_table("<field name='a' type='int'/>"),
        "schema.xml:2:45: the type of field \"a\" must be text, integer, real or boolean, not \"int\"");
    row("odd key", in_table("<field name='a' key='1'/>"), "schema.xml:2:42: \"key\" must be true or false");
    row("two keys", in_table("<field name='a' key='true'/><field name='b' key='true'/>"),
        "schema.xml:2:73: table \"t\" has two key fields, \"a\" and \"b\"");
    row("key with default", in_table("<field name='a' key='true' default='x'/>"),
        "schema.xml:2:57: key field \"a\" can't have a default");
    row("default of other type", in_table("<field name='a' type='real' default='nan'/>"),
        "schema.xml:2:60: default \"nan\" of field \"a\" is not of type real");
    row("odd lookup", in_table("<field name='a' lookup='b'/>"),
        "schema.xml:2:45: \"lookup\" must be table.field");
    row("lookup of nothing", in_table("<field name='a' lookup='t.b'/>"),
        "schema.xml:2:47: there is no field \"t.b\" to look up");
    row("name that XML keeps", in_table("<field name='xmlns'/>"),
        "schema.xml:2:38: no field can be called \"xmlns\"");
    row("query without name", "<database><query>SELECT 1</query></database>",
        "schema.xml:1:34: a query must have a name");
    row("query that writes", "<database>\n<query name='q'>DELETE FROM t</query></database>",
        "schema.xml:2:38: query \"q\": it must begin with SELECT");
    row("equal queries",
        "<database><query name='q'>SELECT 1</query>\n<query name='q'>SELECT 1</query></database>",
        "schema.xml:2:33: query \"q\": there are two queries called \"q\"");
    row("elements in a query", "<database><query name='q'><b/></query></database>",
        "schema.xml:1:31: <query> can hold text only");
    row("too many fields", in_table(fields(501)), "schema.xml:2:");
}

void TST_BROKEN_DATABASE::schema()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, expected_error);
    DATABASE_SCENE db;
    db.write("schema.xml", bytes);
    const QString error = db.without_folder(db.connect_here());
    QVERIFY2(error.startsWith(expected_error), qPrintable(error));
    QVERIFY2(error.size() > expected_error.size() || !error.endsWith(' '), "no cause is named");
    QVERIFY(!db.is_connected());
}

void TST_BROKEN_DATABASE::table_data()
{
    columns();
    const auto row = [](const char* name, const QByteArray& bytes, const char* error) {
        QTest::newRow(name) << bytes << QString(error);
    };
    const auto record = [](const QByteArray& rest) {
        return "<table name='packs'>\n<record name='a'/>\n<record " + rest + "</table>";
    };
    row("empty", "", "packs.xml:1:1: the file is empty");
    row("not XML", "\x01\x02", "packs.xml:1:");
    row("binary", QByteArray(100, '\0'), "packs.xml:1:1: the file must be in UTF-8");
    row("other encoding", "<?xml version='1.0' encoding='UTF-7'?><table name='packs'/>",
        "packs.xml:1:39: the file must be in UTF-8, not in UTF-7");
    row("not UTF-8", record("name='b'\n note='gr\xFC\xDF" + QByteArray(100000, 'x') + "'/>"),
        "packs.xml:4:10: the bytes here are not UTF-8");
    row("entities", "<!DOCTYPE t [<!ENTITY a 'b'>]><table name='packs'/>",
        "packs.xml:1:31: a document type declaration is not allowed");
    row("other table", "<table name='a'/>", "packs.xml:1:18: this must be table \"packs\", not \"a\"");
    row("text", "<table name='packs'>x</table>", "packs.xml:1:23: the text \"x\" stands between elements");
    row("unknown element", "<table name='packs'><row/></table>", "packs.xml:1:27: <table> can't hold <row>");
    row("unknown field", record("name='b' sise='1'/>"),
        "packs.xml:3:28: table \"packs\" has no field \"sise\"");
    row("unknown long field", record("name='b'><sise/></record>"),
        "packs.xml:3:25: table \"packs\" has no field \"sise\"");
    row("deep", record("name='b'><note>" + deep(70) + "</note></record>"),
        "packs.xml:3:27: <note> can hold text only, not <a>");
    row("given twice", record("name='b' note='1'><note>2</note></record>"),
        "packs.xml:3:41: the record gives field \"note\" twice");
    row("no key", record("size='1'/>"), "packs.xml:3:19: the record has no value in the key field \"name\"");
    row("equal keys", record("name='a'/>"),
        "packs.xml:3:19: key \"a\" is already that of the record in line 2");
    row("no integer", record("name='b' size='1.0'/>"),
        "packs.xml:3:30: value \"1.0\" of field \"size\" is not of type integer");
    row("large integer", record("name='b' size='9223372036854775808'/>"), "packs.xml:3:46: value \"9223");
    row("no real", record("name='b' ratio='1,5'/>"), "packs.xml:3:31: value \"1,5\" of field \"ratio\"");
    row("infinite", record("name='b' ratio='inf'/>"), "packs.xml:3:31: value \"inf\" of field \"ratio\"");
    row("no boolean", record("name='b' raw='True'/>"), "packs.xml:3:30: value \"True\" of field \"raw\"");
    row("attributes without end", record("name='b'" + attributes(200000) + "/>"), "packs.xml:3:");
    row("attributes behind quotes in a comment",
        record("name='b'/><!-- \"' > --><record" + attributes(200000)), "packs.xml:3:");
    row("tag without end", record("name='b' note='" + QByteArray(40 << 20, 'x') + "'/>"), "packs.xml:3:");
    row("text without end", record("name='b'><note>" + QByteArray(40 << 20, 'x') + "</note></record>"),
        "packs.xml:3:");
}

void TST_BROKEN_DATABASE::table()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, expected_error);
    DATABASE_SCENE db;
    db.write("schema.xml", packs_schema());
    db.write("packs.xml", bytes);
    QCOMPARE(db.connect_here(), QString());
    QString error;
    QVERIFY(!db.get_table_data(error, "packs"));
    error = db.without_folder(error);
    QVERIFY2(error.startsWith(expected_error), qPrintable(error));
    QVERIFY2(error.size() < 200, "an error is for reading");
    if (QByteArray(QTest::currentDataTag()).startsWith("attributes"))
        QVERIFY2(error.endsWith("more than 1000 attributes in one element"), qPrintable(error));
    if (QByteArray(QTest::currentDataTag()).endsWith("without end") && bytes.size() > (20 << 20))
        QVERIFY2(error.endsWith("a tag or text of more than 16777216 bytes"), qPrintable(error));
}

void TST_BROKEN_DATABASE::cut_off_table()
{
    const QByteArray whole = "<?xml version='1.0'?>\n<table name='packs'>\n<record name='a' size='2'/>\n"
                             "<record name='b'><note>n</note></record><!-- > --></table>";
    DATABASE_SCENE db;
    db.write("schema.xml", packs_schema());
    for (int length = 0; length <= whole.size(); ++length) {
        db.write("packs.xml", whole.left(length));
        QCOMPARE(db.connect_here(), QString());
        QString error;
        const KV_TABLE_DATA* const data = db.get_table_data(error, "packs");
        QCOMPARE(data != nullptr, length == whole.size());
        QCOMPARE(error.startsWith(db.path("packs.xml:")), !data);
    }
}

void TST_BROKEN_DATABASE::misspelt_table_file()
{
    DATABASE_SCENE db;
    db.write("schema.xml", packs_schema());
    db.write("Packs.xml", "<table name='packs'/>");
    if (QFile::exists(db.path("packs.xml")))
        QSKIP("names do not tell letter case apart here");
    db.connect_here();
    QString error;
    QVERIFY(!db.get_table_data(error, "packs"));
    QCOMPARE(db.without_folder(error),
             QString("Packs.xml: the file of this table must be called \"packs.xml\""));
}

QTEST_GUILESS_MAIN(TST_BROKEN_DATABASE)
#include "tst_broken_database.moc"
