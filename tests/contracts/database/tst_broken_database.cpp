#include <QtTest/QTest>

#include "tests/contracts/database/database_scene.h"
#include "tests/support/rows.h"
#include "tests/support/watched_test.h"

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

using BROKEN = ROWS<QByteArray, QString>; // bytes, error behind the name of the file

} // namespace

// What a file holds and the beginning of the error that it must give.
class TST_BROKEN_DATABASE : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void schema_data()
    {
        const BROKEN row;
        const auto in_table = [](const QByteArray& content) {
            return "<database>\n<table name='t'>" + content + "</table></database>";
        };
        row("deep", "<database>" + deep(70) + "</database>", ":1:14: <database> can't hold <a>");
        row("other file", "<table name='t'/>", ":1:18: the outermost element must be <database>");
        row("later version", "<database version='2'/>", ":1:24: version \"2\" is not known");
        row("unknown attribute", "<database tables='1'/>", ":1:23: <database> has no attribute");
        row("table without name", "<database><table/></database>", ":1:19: a table must have a name");
        row("path as name", "<database><table name='../t'/></database>",
            ":1:31: \"../t\" can't be the name of a table: letters from a to z");
        row("schema as name", "<database><table name='Schema'/></database>",
            ":1:33: no table can be called \"Schema\": its file would be the schema's");
        row("equal tables",
            "<database><table name='t'><field name='f'/></table>\n<table name='T'/></database>",
            ":2:18: there are two tables called \"T\"");
        row("table without field", in_table(""), ":2:25: table \"t\" has no field");
        row("unknown element", in_table("<key/>"), ":2:23: <table> can't hold <key>");
        row("equal fields", in_table("<field name='a'/>\n<field name='a'/>"),
            ":3:18: table \"t\" has two fields called \"a\"");
        row("digit first", in_table("<field name='1a'/>"), ":2:35: \"1a\" can't be the name of a field");
        row("unknown type", in_table("<field name='a' type='int'/>"),
            ":2:45: the type of field \"a\" must be text, integer, real or boolean, not \"int\"");
        row("odd key", in_table("<field name='a' key='1'/>"), ":2:42: \"key\" must be true or false");
        row("two keys", in_table("<field name='a' key='true'/><field name='b' key='true'/>"),
            ":2:73: table \"t\" has two key fields, \"a\" and \"b\"");
        row("key with default", in_table("<field name='a' key='true' default='x'/>"),
            ":2:57: key field \"a\" can't have a default");
        row("default of other type", in_table("<field name='a' type='real' default='nan'/>"),
            ":2:60: default \"nan\" of field \"a\" is not of type real");
        row("odd lookup", in_table("<field name='a' lookup='b'/>"), ":2:45: \"lookup\" must be table.field");
        row("lookup of nothing", in_table("<field name='a' lookup='t.b'/>"),
            ":2:47: there is no field \"t.b\" to look up");
        row("name that XML keeps", in_table("<field name='xmlns'/>"),
            ":2:38: no field can be called \"xmlns\"");
        row("query without name", "<database><query>SELECT 1</query></database>",
            ":1:34: a query must have a name");
        row("query that writes", "<database>\n<query name='q'>DELETE FROM t</query></database>",
            ":2:38: query \"q\": it must begin with SELECT");
        row("equal queries",
            "<database><query name='q'>SELECT 1</query>\n<query name='q'>SELECT 1</query></database>",
            ":2:33: query \"q\": there are two queries called \"q\"");
        row("elements in a query", "<database><query name='q'><b/></query></database>",
            ":1:31: <query> can hold text only");
        row("too many fields", in_table(fields(501)), ":2:");
    }
    void schema()
    {
        const auto [bytes, expected_error] = BROKEN::values();
        DATABASE_SCENE db;
        db.write("schema.xml", bytes);
        const QString error = db.without_folder(db.connect_here());
        QVERIFY2(error.startsWith("schema.xml" + expected_error), qPrintable(error));
        QVERIFY2(error.size() > expected_error.size() + 10 || !error.endsWith(' '), "no cause is named");
        QVERIFY(!db.is_connected());
    }

    void table_data()
    {
        const BROKEN row;
        const auto record = [](const QByteArray& rest) {
            return "<table name='packs'>\n<record name='a'/>\n<record " + rest + "</table>";
        };
        row("empty", "", ":1:1: the file is empty");
        row("not XML", "\x01\x02", ":1:");
        row("binary", QByteArray(100, '\0'), ":1:1: the file must be in UTF-8");
        row("other encoding", "<?xml version='1.0' encoding='UTF-7'?><table name='packs'/>",
            ":1:39: the file must be in UTF-8, not in UTF-7");
        row("not UTF-8", record("name='b'\n note='gr\xFC\xDF" + QByteArray(100000, 'x') + "'/>"),
            ":4:10: the bytes here are not UTF-8");
        row("entities", "<!DOCTYPE t [<!ENTITY a 'b'>]><table name='packs'/>",
            ":1:31: a document type declaration is not allowed");
        row("other table", "<table name='a'/>", ":1:18: this must be table \"packs\", not \"a\"");
        row("text", "<table name='packs'>x</table>", ":1:23: the text \"x\" stands between elements");
        row("unknown element", "<table name='packs'><row/></table>", ":1:27: <table> can't hold <row>");
        row("unknown field", record("name='b' sise='1'/>"), ":3:28: table \"packs\" has no field \"sise\"");
        row("unknown long field", record("name='b'><sise/></record>"),
            ":3:25: table \"packs\" has no field \"sise\"");
        row("deep", record("name='b'><note>" + deep(70) + "</note></record>"),
            ":3:27: <note> can hold text only, not <a>");
        row("given twice", record("name='b' note='1'><note>2</note></record>"),
            ":3:41: the record gives field \"note\" twice");
        row("no key", record("size='1'/>"), ":3:19: the record has no value in the key field \"name\"");
        row("equal keys", record("name='a'/>"), ":3:19: key \"a\" is already that of the record in line 2");
        row("no integer", record("name='b' size='1.0'/>"),
            ":3:30: value \"1.0\" of field \"size\" is not of type integer");
        row("large integer", record("name='b' size='9223372036854775808'/>"), ":3:46: value \"9223");
        row("no real", record("name='b' ratio='1,5'/>"), ":3:31: value \"1,5\" of field \"ratio\"");
        row("infinite", record("name='b' ratio='inf'/>"), ":3:31: value \"inf\" of field \"ratio\"");
        row("no boolean", record("name='b' raw='True'/>"), ":3:30: value \"True\" of field \"raw\"");
        row("attributes without end", record("name='b'" + attributes(200000) + "/>"), ":3:");
        row("attributes behind quotes in a comment",
            record("name='b'/><!-- \"' > --><record" + attributes(200000)), ":3:");
        row("tag without end", record("name='b' note='" + QByteArray(40 << 20, 'x') + "'/>"), ":3:");
        row("text without end", record("name='b'><note>" + QByteArray(40 << 20, 'x') + "</note></record>"),
            ":3:");
    }
    void table()
    {
        const auto [bytes, expected_error] = BROKEN::values();
        DATABASE_SCENE db;
        db.write("schema.xml", packs_schema());
        db.write("packs.xml", bytes);
        QCOMPARE(db.connect_here(), QString());
        QString error;
        QVERIFY(!db.get_table_data(error, "packs"));
        error = db.without_folder(error);
        QVERIFY2(error.startsWith("packs.xml" + expected_error), qPrintable(error));
        QVERIFY2(error.size() < 200, "an error is for reading");
        if (QByteArray(QTest::currentDataTag()).startsWith("attributes"))
            QVERIFY2(error.endsWith("more than 1000 attributes in one element"), qPrintable(error));
        if (QByteArray(QTest::currentDataTag()).endsWith("without end") && bytes.size() > (20 << 20))
            QVERIFY2(error.endsWith("a tag or text of more than 16777216 bytes"), qPrintable(error));
    }

    void cut_off_table()
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

    void misspelt_table_file()
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
};

QTEST_GUILESS_MAIN(TST_BROKEN_DATABASE)
#include "tst_broken_database.moc"
