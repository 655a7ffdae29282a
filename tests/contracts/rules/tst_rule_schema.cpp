#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

#include "contracts/rules/rule_schema.h"
#include "tests/support/watched_test.h"

class TST_RULE_SCHEMA : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void cleanup();
    void is_registered_once();
    void slots_emit_their_name_data();
    void slots_emit_their_name();
};

void TST_RULE_SCHEMA::cleanup()
{
    qDeleteAll(RULE_SCHEMA::s_schemas);
    RULE_SCHEMA::s_schemas.clear();
}

void TST_RULE_SCHEMA::is_registered_once()
{
    RULE_SCHEMA* const first = RULE_SCHEMA::register_schema("Texture", "pictures", {{"Max size", "pixels"}});
    RULE_SCHEMA* const second =
        RULE_SCHEMA::register_schema("TEXTURE", "other", {{"max SIZE", "other"}, {"Format", "of the file"}});
    QCOMPARE(first, second);
    QCOMPARE(RULE_SCHEMA::s_schemas.value("texture"), first);
    QCOMPARE(first->name, QString("Texture"));
    QCOMPARE(first->description, QString("pictures"));
    QCOMPARE(first->properties.keys(), QStringList({"format", "max size"}));
    QCOMPARE(first->properties.value("max size").name, QString("Max size"));
}

void TST_RULE_SCHEMA::slots_emit_their_name_data()
{
    QTest::addColumn<QByteArray>("operation");
    for (const char* operation : {"add", "add_above", "add_below"})
        QTest::newRow(operation) << QByteArray(operation);
}

void TST_RULE_SCHEMA::slots_emit_their_name()
{
    QFETCH(QByteArray, operation);
    RULE_SCHEMA schema;
    schema.name = "Sound";
    QSignalSpy spy(&schema, '2' + operation + "(QString)");
    QVERIFY(spy.isValid());
    // By text, as the menus of the editor connect them.
    QObject menu;
    QVERIFY(connect(&menu, SIGNAL(objectNameChanged(QString)), &schema, '1' + operation + "()"));
    menu.setObjectName("chosen");
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.first().first().toString(), QString("Sound"));
}

QTEST_GUILESS_MAIN(TST_RULE_SCHEMA)
#include "tst_rule_schema.moc"
