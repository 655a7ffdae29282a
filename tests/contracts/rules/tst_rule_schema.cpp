#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

#include "contracts/rules/rule_schema.h"
#include "tests/support/watched_test.h"

class TST_RULE_SCHEMA : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void is_registered_once()
    {
        RULE_SCHEMA* const first =
            RULE_SCHEMA::register_schema("Texture", "pictures", {{"Max size", "pixels"}});
        RULE_SCHEMA* const second = RULE_SCHEMA::register_schema(
            "TEXTURE", "other", {{"max SIZE", "other"}, {"Format", "of the file"}});
        QCOMPARE(first, second);
        QCOMPARE(RULE_SCHEMA::s_schemas.value("texture"), first);
        QCOMPARE(first->name, QString("Texture"));
        QCOMPARE(first->description, QString("pictures"));
        QCOMPARE(first->properties.keys(), QStringList({"format", "max size"}));
        QCOMPARE(first->properties.value("max size").name, QString("Max size"));
    }

    void slots_emit_their_name()
    {
        RULE_SCHEMA schema;
        schema.name = "Sound";
        for (const QByteArray operation : {"add", "add_above", "add_below"}) {
            QSignalSpy spy(&schema, '2' + operation + "(QString)");
            QVERIFY(QMetaObject::invokeMethod(&schema, operation)); // by name, as menus connect them
            QCOMPARE(spy.count(), 1);
            QCOMPARE(spy.first().first().toString(), QString("Sound"));
        }
    }
};

QTEST_GUILESS_MAIN(TST_RULE_SCHEMA)
#include "tst_rule_schema.moc"
