#include <QtTest/QTest>

#include "tests/contracts/database/database_scene.h"
#include "tests/support/rows.h"
#include "tests/support/watched_test.h"

namespace {

QByteArray table(const QByteArray& records, const QByteArray& name = "packs")
{
    return "<table name=\"" + name + "\">\n" + records + "</table>\n";
}

class RECORDED_PROGRESS : public PROGRESS_CALLBACK
{
public:
    void progress(const QString& text, int done, int total) override
    {
        calls.append(QStringLiteral("%1 %2/%3").arg(text).arg(done).arg(total));
    }
    QStringList calls;
};

} // namespace

using FILTERS = ROWS<QString, QStringList, QString>; // filter, records, expected_error
using FOLDERS = ROWS<QStringList, QString, QString>; // files, folder, expected_error

class TST_KV_XML_QUERY_INTERFACE : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void reads_schema()
    {
        DATABASE_SCENE db;
        db.write("schema.xml", R"(<database><table name="b"><field name="id" type="integer" key="true"/>
        <field name="other" lookup="a.id" description="who"/></table>
        <table name="a"><field name="id" key="true"/></table></database>)");
        QCOMPARE(db.connect_here(), QString());
        QString error = "left over";
        QCOMPARE(db.get_table_names(error), QStringList({"b", "a"}));
        QCOMPARE(error, QString());
        QCOMPARE(db.version(), 1);
        QCOMPARE(db.get_database_schema(error)->tables.size(), 2);
        const KV_TABLE_SCHEMA* const schema = db.get_table_schema(error, "b");
        QCOMPARE(schema->key_index(), 0);
        QCOMPARE(schema->fields.at(0).type, KV_FIELD_SCHEMA::INTEGER);
        QCOMPARE(schema->field_index("other"), 1);
        QCOMPARE(schema->field_index("Other"), -1);
        QCOMPARE(schema->fields.at(1).lookup_table + '.' + schema->fields.at(1).lookup_field,
                 QString("a.id"));
        QCOMPARE(schema->fields.at(1).description, QString("who"));
        QVERIFY(!db.get_table_schema(error, "B"));
        QCOMPARE(db.without_folder(error), QString("schema.xml: there is no table \"B\""));
    }

    void reads_records()
    {
        DATABASE_SCENE db;
        db.write("schema.xml", packs_schema());
        db.write("packs.xml",
                 table("<record name=\"w\xC3\xA4lder\" size=\"-3\" ratio=\"1.5e3\" raw=\"true\"/>\n"
                       "<!-- a > \"b --><record note=\"x=\" name=\"y\">\n</record>\n"
                       "<record name=\"z\" size=\"\"><note>two\n<![CDATA[<lines>]]></note></record>\n"));
        QCOMPARE(db.connect_here(), QString());
        QString error;
        const KV_TABLE_DATA* const data = db.get_table_data(error, "packs");
        QCOMPARE(error, QString());
        QCOMPARE(text_of(data->records), QStringList({QString::fromUtf8("2: w\xC3\xA4lder|-3|1.5e3|true|"),
                                                      "3: y|1||false|x=", "5: z|||false|two\n<lines>"}));
        QCOMPARE(data->records.at(0).fields.at(1).to_integer(), qint64(-3));
        QCOMPARE(data->records.at(0).fields.at(2).to_real(), 1500.0);
        QVERIFY(data->records.at(0).fields.at(3).to_boolean());
        QCOMPARE(data->value(1, "size"), QString("1"));
        QCOMPARE(data->value(3, "size") + data->value(0, "none"), QString());
        QCOMPARE(data->record_with_key("z")->line, 5);
        QVERIFY(!data->record_with_key("x"));
    }

    void filters_data()
    {
        const FILTERS row;
        const QStringList none;
        row("all", "", QStringList({"2: a|1|||u=v", "3: b|2|||", "4: c|1|||"}), "");
        row("some", "size=1", QStringList({"2: a|1|||u=v", "4: c|1|||"}), "");
        row("by key", "name=b", QStringList({"3: b|2|||"}), "");
        row("no such key", "name=d", none, "");
        row("first equal sign", "note=u=v", QStringList({"2: a|1|||u=v"}), "");
        row("empty value", "note=", QStringList({"3: b|2|||", "4: c|1|||"}), "");
        row("letter for letter", "size= 1", none, "");
        row("no such field", "Size=1", none, "table \"packs\" has no field \"Size\"");
        row("no equal sign", "size", none, "filter \"size\" of table \"packs\" must be field=value");
    }
    void filters()
    {
        const auto [filter, records, expected_error] = FILTERS::values();
        DATABASE_SCENE db;
        db.write("schema.xml", packs_schema().replace(" default=\"false\"", ""));
        db.write("packs.xml",
                 table("<record name='a' note='u=v'/>\n<record name='b' size='2'/>\n<record name='c'/>\n"));
        db.connect_here();
        QString error = "left over";
        KV_TABLE_DATA data = db.get_table_data(error, "packs", filter);
        QCOMPARE(text_of(data.records), records);
        QCOMPARE(error, expected_error);
        QCOMPARE(db.get_last_error(), error);
        QCOMPARE(data.schema.isNull(), !error.isEmpty());
        for (int row = 0; row < data.records.size(); ++row)
            QCOMPARE(data.record_with_key(data.value(row, "name")), &qAsConst(data).records.at(row));
        // It is the caller's own.
        data.records.clear();
        QCOMPARE(db.get_table_data(error, "packs")->records.size(), 3);
    }

    void reads_each_table_once()
    {
        RECORDED_PROGRESS progress;
        DATABASE_SCENE db(false, &progress);
        db.write("schema.xml", packs_schema());
        QCOMPARE(db.connect_here(), QString());
        QCOMPARE(progress.calls, QStringList());

        // The file counts as it is when somebody first asks.
        db.write("packs.xml", table("<record name='late'/>"));
        QString error;
        const KV_TABLE_DATA* const data = db.get_table_data(error, "packs");
        QCOMPARE(data->value(0, "name"), QString("late"));
        db.write("packs.xml", "broken");
        QCOMPARE(db.get_table_data(error, "packs"), data);
        QCOMPARE(db.get_table_data(error, "packs", "name=late").records.size(), 1);
        QCOMPARE(progress.calls, QStringList({"Reading table packs 0/1"}));

        QCOMPARE(db.connect_here(), QString());
        QVERIFY(!db.get_table_data(error, "packs"));
    }

    void keeps_broken_table_to_itself()
    {
        DATABASE_SCENE db;
        db.write("schema.xml", R"(<database><table name="good"><field name="x"/></table>
        <table name="bad"><field name="x"/></table></database>)");
        db.write("good.xml", table("<record x='1'/>", "good"));
        db.write("bad.xml", table("<record y='1'/>", "bad"));
        db.write("stray.xml", "not read");
        QCOMPARE(db.connect_here(), QString());
        QString first, again, error;
        QVERIFY(!db.get_table_data(first, "bad"));
        QCOMPARE(db.without_folder(first), QString("bad.xml:2:16: table \"bad\" has no field \"y\""));
        QCOMPARE(db.get_last_error(), first);
        QCOMPARE(db.get_table_data(error, "good")->records.size(), 1);
        db.get_table_data(again, "bad", "x=1");
        QCOMPARE(again, first);
        QVERIFY(!db.get_table_data(error, "stray"));
        QCOMPARE(db.without_folder(error), QString("stray.xml: the schema does not name this table"));
    }

    void reads_all_at_once()
    {
        RECORDED_PROGRESS progress;
        DATABASE_SCENE db(false, &progress);
        db.write("schema.xml", R"(<database><table name="a"><field name="x"/></table><table name="b">
        <field name="x"/></table><table name="c"><field name="x"/></table></database>)");
        db.write("a.xml", "<table name='A'/>");
        db.write("c.xml", "<x/>");
        QCOMPARE(db.without_folder(db.connect_here(true)),
                 QString("a.xml:1:18: this must be table \"a\", not \"A\"\n"
                         "c.xml:1:5: the outermost element must be <table>, not <x>"));
        QVERIFY(!db.is_connected());
        QCOMPARE(progress.calls,
                 QStringList({"Reading table a 0/3", "Reading table b 1/3", "Reading table c 2/3"}));
        db.write("a.xml", table("", "a"));
        QVERIFY(QFile::remove(db.path("c.xml")));
        QCOMPARE(db.connect_here(true), QString());
    }

    void skips_unknown_fields_when_told()
    {
        DATABASE_SCENE db(true);
        db.write("schema.xml", packs_schema());
        db.write("packs.xml",
                 table("<record old='1' name='a' size='2'><older><b/>1</older><note>n</note></record>"));
        db.connect_here();
        QString error;
        QCOMPARE(text_of(db.get_table_data(error, "packs", QString()).records),
                 QStringList("2: a|2||false|n"));
        QCOMPARE(error, QString());
    }

    void accepts_folders_data()
    {
        const FOLDERS row;
        row("empty", QStringList(), ".", "");
        row("no XML file", QStringList("readme.txt"), ".", "");
        row("missing", QStringList(), "none", "none: there is no such folder");
        row("file", QStringList("f"), "f", "f: this is not a folder");
        row("no schema", QStringList({"a.xml", "b.xml"}), ".",
            ".: there is no \"schema.xml\" for the 2 XML file(s) here (a.xml, b.xml)");
        row("no schema for many", QStringList({"a.xml", "b.xml", "c.xml", "d.xml"}), ".",
            ".: there is no \"schema.xml\" for the 4 XML file(s) here (a.xml, b.xml, c.xml, ...)");
    }
    void accepts_folders()
    {
        const auto [files, folder, expected_error] = FOLDERS::values();
        DATABASE_SCENE db;
        for (const QString& file : qAsConst(files))
            db.write(file, "x");
        const QString error = db.connect_without_merge(db.path(folder), false);
        QCOMPARE(db.without_folder(error), expected_error);
        QCOMPARE(db.get_last_error(), error);
        QCOMPARE(db.is_connected(), expected_error.isEmpty());
        QString later;
        QCOMPARE(db.get_table_names(later), QStringList());
        QCOMPARE(later.isEmpty(), db.is_connected());
        QCOMPARE(db.version(), 0);
    }

    void needs_a_connection()
    {
        DATABASE_SCENE db;
        db.write("schema.xml", packs_schema());
        QCOMPARE(db.connect_here(), QString());
        QVERIFY(!db.connect_without_merge(db.path("none"), false).isEmpty());
        for (const bool connected_before : {false, true}) {
            if (connected_before)
                db.connect_here();
            db.disconnect();
            QStringList errors{"", "", "", "", ""};
            QCOMPARE(db.get_table_names(errors[0]), QStringList());
            QVERIFY(!db.get_database_schema(errors[1]) && !db.get_table_schema(errors[2], "packs") &&
                    !db.get_table_data(errors[3], "packs") &&
                    !db.get_table_data(errors[4], "packs", QString()).schema);
            QCOMPARE(errors, QVector<QString>(5, "no database is connected").toList());
            QVERIFY(db.latest_mod_date().isNull() && db.version() == 0);
        }
    }

    void fetches_nothing()
    {
        DATABASE_SCENE db;
        QCOMPARE(db.connect(db.folder(), "other", KV_QUERY_INTERFACE::GET_LATEST_NEVER, false), QString());
        QVERIFY(db.is_connected());
        for (const auto mode : {KV_QUERY_INTERFACE::GET_LATEST_ASK, KV_QUERY_INTERFACE::GET_LATEST_ALWAYS}) {
            QCOMPARE(db.connect(db.folder(), "other", mode, false),
                     db.folder() +
                         ": the latest tables can't be fetched: this program has no version control for "
                         "the database");
            QVERIFY(!db.is_connected());
        }
    }

    void tells_latest_change()
    {
        DATABASE_SCENE db;
        db.connect_here();
        QVERIFY(db.latest_mod_date().isNull());
        FILES::write(db.path("schema.xml"), packs_schema(), FILES::hour(1));
        FILES::write(db.path("stray.xml"), "", FILES::hour(9));
        db.connect_here();
        QCOMPARE(db.latest_mod_date(), FILES::hour(1));
        FILES::write(db.path("packs.xml"), table(""), FILES::hour(2));
        QCOMPARE(db.latest_mod_date(), FILES::hour(2));
        QCOMPARE(db.latest_mod_date().timeSpec(), Qt::UTC);
    }
};

QTEST_GUILESS_MAIN(TST_KV_XML_QUERY_INTERFACE)
#include "tst_kv_xml_query_interface.moc"
