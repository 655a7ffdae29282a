#include <QtCore/QFileInfo>
#include <QtTest/QTest>

#include "contracts/paths/paths.h"
#include "contracts/rules/rule_key.h"
#include "contracts/services/p4_connection.h"
#include "tests/contracts/rules/rule_cache_holder.h"
#include "tests/support/files.h"
#include "tests/support/watched_test.h"

class TST_RULE_FILES : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void broken_files_change_nothing_data();
    void broken_files_change_nothing();
    void passes_over_what_it_does_not_know();
    void refuses_files_outside_and_files_again();
    void leaves_unchanged_files_alone();
    void keeps_order_through_save_and_reload();
    void keeps_global_files_apart();
    void writes_new_rules_to_their_folder();
    void writes_to_the_companion_that_has_the_rules();
    void moves_a_rule_to_its_new_folder();
    void empties_a_file_that_lost_its_rules();
    void refuses_to_overwrite_data();
    void refuses_to_overwrite();
    void refuses_what_could_not_be_read_again_data();
    void refuses_what_could_not_be_read_again();

private:
    CACHED_RULE* insert(const char* path, const char* name, const char* value);
    QString save();
    QString values(const QString& path);

    QScopedPointer<TEMPORARY_TREE> m_tree;
    QScopedPointer<RULE_CACHE_HOLDER> m_cache;
};

static const char* const SIMPLE =
    "<rules><rule name='Texture'><property name='a'>1</property></rule></rules>";

void TST_RULE_FILES::init()
{
    m_tree.reset(new TEMPORARY_TREE);
    m_cache.reset(new RULE_CACHE_HOLDER);
    QVERIFY(PATHS::initialise(m_tree->path("tool")));
}

void TST_RULE_FILES::cleanup()
{
    m_cache.reset();
    m_tree.reset();
}

// As the rule editor does it.
CACHED_RULE* TST_RULE_FILES::insert(const char* path, const char* name, const char* value)
{
    CACHED_RULE* const rule = new CACHED_RULE;
    rule->path = LOGICAL_PATH(path);
    rule->physical_path = PATHS::physical_path(rule->path);
    rule->name = name;
    rule->properties.insert("a", QString(value));
    m_cache->cache.rules.insert(rule_key(rule->path, rule->name), rule);
    return rule;
}

QString TST_RULE_FILES::save()
{
    P4_CONNECTION p4(false, true, false);
    return m_cache->cache.save(p4).remove(m_tree->path() + '/');
}

// The values of "a" of the folder's textures after a reload, oldest first.
QString TST_RULE_FILES::values(const QString& folder)
{
    RULE_CACHE_HOLDER again;
    const QString error = again.add(*m_tree, folder + "/rules.gox");
    QString text = error;
    for (const CACHED_RULE* rule : qAsConst(again.cache.rules))
        text.prepend(rule->properties.value("a").toString() + ' ');
    return text.trimmed();
}

void TST_RULE_FILES::broken_files_change_nothing_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("error");
    const auto row = [](const char* name, const QByteArray& text, const char* error) {
        QTest::newRow(name) << text << QString(error);
    };
    const QByteArray good = "<rules>\n<rule name='Good'/>\n";
    row("empty", "", ":1:1: the file is empty");
    row("cut off", good + "<rule na", ":3:9: Premature end of document.");
    row("not XML", "Max size = 5", ":1:2: Start tag expected.");
    row("another file", "<configuration/>",
        ":1:17: the outermost element must be <rules>, not <configuration>");
    row("behind the end", "<rules/>\n<rules/>", ":2:9: Extra content at end of document.");
    row("document type", "<!DOCTYPE r [<!ENTITY a 'b'>]><rules/>",
        ":1:31: a document type declaration is not allowed");
    row("UTF-16", QByteArray("<\0r\0", 4), ":1:1: the file must be in UTF-8");
    row("no name", good + "<rule inherit='true'/></rules>", ":3:23: <rule> needs a name");
    row("misspelt attribute", good + "<rule name='a' inherrit='true'/></rules>",
        ":3:33: <rule> has no attribute \"inherrit\"");
    row("inherit", good + "<rule name='a' inherit='yes'/></rules>",
        ":3:31: inherit must be true or false, not \"yes\"");
    row("files twice", good + "<rule name='a'><files>a</files><files/></rule></rules>",
        ":3:40: <files> stands twice in one rule");
    row("property twice", good + "<rule name='a'><property name='x'/>\n<property name='X'/></rule></rules>",
        ":4:21: the property \"X\" is set twice in one rule");
    row("no text", good + "<rule name='a'><property name='x'><b/></property></rule></rules>",
        ":3:39: <property> can hold text only, not <b>");
    row("text between", good + "Texture</rules>", ":3:9: the text \"Texture\" stands between elements");
    row("later version", "<rules version='2'/>",
        ":1:21: version \"2\" is not known, 1 is the newest that can be read");
    row("deep", good + QByteArray("<x>").repeated(100000), ":3:193: more than 64 elements within each other");
    QByteArray attributes = "<rule";
    for (int i = 0; i < 100000; ++i)
        attributes += " a" + QByteArray::number(i) + "=''";
    row("many attributes", good + attributes + "/></rules>",
        ":3:1: more than 1000 attributes in one element");
    row("many rules", "<rules>" + QByteArray("<rule name='a'/>").repeated(100001) + "</rules>",
        ":1:1600024: more than 100000 rules in one file");
}

void TST_RULE_FILES::broken_files_change_nothing()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, error);
    m_tree->write("raw_data/rules.gox", SIMPLE);
    QCOMPARE(m_cache->add(*m_tree, "raw_data/rules.gox"), QString());
    m_tree->write("raw_data/unit/rules.gox", text);
    QCOMPARE(m_cache->add(*m_tree, "raw_data/unit/rules.gox"), "raw_data/unit/rules.gox" + error);
    QCOMPARE(m_cache->cache.rules.keys(), QStringList("<raw>*texture"));

    // Nothing to write: the broken file is no concern of a save.
    QCOMPARE(save(), QString());
    insert("<raw>/unit", "Texture", "2");
    QCOMPARE(save(), "raw_data/unit/rules.gox: not saved, because it could not be read: "
                     "raw_data/unit/rules.gox" +
                         error);
    QCOMPARE(m_tree->read("raw_data/unit/rules.gox"), text);
}

void TST_RULE_FILES::passes_over_what_it_does_not_know()
{
    m_tree->write("raw_data/rules.gox", "<?xml version='1.0'?>\n<!-- <a b=' -->\n<rules version='1' "
                                        "xmlns:x='y' x:z='1'><later><rule name='no'/></later>"
                                        "<rule name=' Texture '><?note?><later a='1'>text<b/></later>"
                                        "<property name='a'>\n <![CDATA[<1>]]> &amp; </property><property "
                                        "name='b'> </property></rule></rules>");
    QCOMPARE(m_cache->add(*m_tree, "raw_data/rules.gox"), QString());
    QCOMPARE(m_cache->cache.rules.size(), 1);
    QCOMPARE(m_cache->answer("<raw>/x"), QString("a=<1> &"));
}

void TST_RULE_FILES::refuses_files_outside_and_files_again()
{
    m_tree->write("tool/rules.gox", SIMPLE);
    m_tree->write("raw_data/rules.gox", SIMPLE);
    QCOMPARE(m_cache->add(*m_tree, "tool/rules.gox"),
             QString("tool/rules.gox: the file lies outside the data roots"));
    QCOMPARE(m_cache->add(*m_tree, "raw_data/rules.gox"), QString());
    QCOMPARE(m_cache->add(*m_tree, "raw_data/RULES.gox"),
             QString("raw_data/RULES.gox: the file has been read already"));
    QCOMPARE(m_cache->add_global(*m_tree, "tool/GOX/none.rules.gox"),
             QString("tool/GOX/none.rules.gox: can't be opened: No such file or directory"));
    QCOMPARE(m_cache->add(*m_tree, "raw_data/db/rules.gox"),
             QString("raw_data/db/rules.gox: can't be opened: No such file or directory"));
    m_tree->make_folder("raw_data/unit/rules.gox");
    QCOMPARE(m_cache->add(*m_tree, "raw_data/unit/rules.gox"),
             QString("raw_data/unit/rules.gox: can't be opened: it is not a file"));
    QCOMPARE(m_cache->cache.rules.size(), 1);
}

void TST_RULE_FILES::leaves_unchanged_files_alone()
{
    // Written by hand, in an order and with spaces that GOX would not use.
    const QByteArray by_hand = "<rules> <rule name='Texture'><property name='a'> 1 </property></rule>"
                               "<rule name='Sound'/><!-- note --><rule name='Texture'/></rules>";
    m_tree->write("raw_data/unit/rules.gox", by_hand);
    m_tree->write("raw_data/rules.gox", SIMPLE);
    QCOMPARE(m_cache->add(*m_tree, "raw_data/unit/rules.gox"), QString());
    QCOMPARE(m_cache->add(*m_tree, "raw_data/rules.gox"), QString());
    CACHED_RULE* const rule = m_cache->cache.rules.value("<raw>*texture");
    rule->properties.insert("a", QString("2"));
    rule->set_file_filters("*.png,-x");
    rule->inherit_properties = true;
    QCOMPARE(save(), QString());
    QCOMPARE(m_tree->read("raw_data/unit/rules.gox"), by_hand);
    QCOMPARE(m_tree->read("raw_data/rules.gox"), QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                                            "<rules version=\"1\">\n"
                                                            "    <rule name=\"Texture\" inherit=\"true\">\n"
                                                            "        <files>*.png, -x</files>\n"
                                                            "        <property name=\"a\">2</property>\n"
                                                            "    </rule>\n"
                                                            "</rules>\n"));
    m_tree->remove("raw_data/rules.gox");
    QCOMPARE(save(), QString()); // written and remembered: nothing has changed since
    QVERIFY(!m_tree->exists("raw_data/rules.gox"));
}

void TST_RULE_FILES::keeps_order_through_save_and_reload()
{
    m_tree->write("raw_data/rules.gox", "<rules><rule name='Zoo'/><rule name='Art'/></rules>");
    QCOMPARE(m_cache->add(*m_tree, "raw_data/rules.gox"), QString());
    for (const char* value : {"1", "2", "\xc3\xa4 <3> \"&\""})
        insert("<raw>", value[0] == '2' ? "TEXTURE" : "Texture", value);
    QCOMPARE(save(), QString());
    RULE_CACHE_HOLDER again;
    QCOMPARE(again.add(*m_tree, "raw_data/rules.gox"), QString());
    QStringList order;
    for (const CACHED_RULE* rule : qAsConst(again.cache.rules))
        order.prepend(rule->name + rule->properties.value("a").toString());
    QCOMPARE(order.join(' '), QString("Zoo Texture1 TEXTURE2 Texture\xc3\xa4 <3> \"&\" Art"));
    const QByteArray text = m_tree->read("raw_data/rules.gox");
    QVERIFY(text.indexOf("Zoo") < text.indexOf("Art") && text.indexOf("Art") < text.indexOf("Texture"));
}

void TST_RULE_FILES::keeps_global_files_apart()
{
    const QByteArray other = "<rules><rule name='Texture'><property name='a'>other</property></rule></rules>";
    m_tree->write("tool/GOX/one.rules.gox", SIMPLE);
    m_tree->write("tool/GOX/two.rules.gox", other);
    QCOMPARE(m_cache->add_global(*m_tree, "tool/GOX/one.rules.gox"), QString());
    QCOMPARE(m_cache->add_global(*m_tree, "tool/GOX/two.rules.gox"), QString());
    const QList<CACHED_RULE*> newest_first = m_cache->cache.rules.values("<>*texture");
    QCOMPARE(newest_first.size(), 2);
    newest_first.last()->properties.insert("a", QString("changed"));
    QCOMPARE(save(), QString());
    QCOMPARE(m_tree->read("tool/GOX/two.rules.gox"), other);
    QVERIFY(m_tree->read("tool/GOX/one.rules.gox").contains(">changed<"));
}

void TST_RULE_FILES::writes_new_rules_to_their_folder()
{
    insert("<working>/new folder", "Texture", "1");
    QCOMPARE(save(), QString());
    QCOMPARE(values("working_data/new folder"), QString("1"));
    insert("<working>/new folder", "Texture", "2");
    QCOMPARE(save(), QString());
    QCOMPARE(values("working_data/new folder"), QString("1 2"));
    CACHED_RULE* const lost = insert("<elsewhere>", "Texture", "3");
    QCOMPARE(save(), QString("<elsewhere>: the rule \"Texture\" belongs to no folder on disk"));
    lost->path = LOGICAL_PATH("<raw>");
}

void TST_RULE_FILES::writes_to_the_companion_that_has_the_rules()
{
    m_tree->write("old_raw_data/unit/rules.gox", SIMPLE);
    m_tree->make_folder("raw_data/unit");
    QVERIFY(PATHS::initialise(m_tree->path("tool")));
    QCOMPARE(m_cache->add(*m_tree, "old_raw_data/unit/rules.gox"), QString());
    insert("<raw>/unit", "Texture", "2");
    QCOMPARE(save(), QString());
    QVERIFY(!m_tree->exists("raw_data/unit/rules.gox"));
    QCOMPARE(values("old_raw_data/unit"), QString("1 2"));
}

void TST_RULE_FILES::moves_a_rule_to_its_new_folder()
{
    m_tree->write("raw_data/a/rules.gox", SIMPLE);
    QCOMPARE(m_cache->add(*m_tree, "raw_data/a/rules.gox"), QString());
    CACHED_RULE* const rule = m_cache->cache.rules.take("<raw>/a*texture");
    rule->path = LOGICAL_PATH("<raw>/b");
    rule->physical_path = PATHS::physical_path(rule->path);
    m_cache->cache.rules.insert(rule_key(rule->path, rule->name), rule);
    QCOMPARE(save(), QString());
    QCOMPARE(values("raw_data/a"), QString());
    QCOMPARE(values("raw_data/b"), QString("1"));
}

void TST_RULE_FILES::empties_a_file_that_lost_its_rules()
{
    m_tree->write("raw_data/rules.gox", SIMPLE);
    QCOMPARE(m_cache->add(*m_tree, "raw_data/rules.gox"), QString());
    delete m_cache->cache.rules.take("<raw>*texture");
    QCOMPARE(save(), QString());
    QVERIFY(!m_tree->read("raw_data/rules.gox").contains("Texture"));
    QCOMPARE(values("raw_data"), QString());
}

void TST_RULE_FILES::refuses_to_overwrite_data()
{
    QTest::addColumn<QString>("obstacle");
    QTest::addColumn<QString>("error");
    QTest::newRow("changed on disk") << "change"
                                     << "not saved, it has changed on disk since it was read";
    QTest::newRow("appeared") << "appear"
                              << "not saved, a file that has not been read is there already";
    QTest::newRow("read-only") << "protect"
                               << "can't be written: ";
    QTest::newRow("folder is a file") << "block"
                                      << "not saved, its folder can't be made";
}

void TST_RULE_FILES::refuses_to_overwrite()
{
    QFETCH(QString, obstacle);
    QFETCH(QString, error);
    m_tree->write("raw_data/rules.gox", SIMPLE);
    QCOMPARE(m_cache->add(*m_tree, "raw_data/rules.gox"), QString());
    const bool is_elsewhere = obstacle == "appear" || obstacle == "block";
    insert(is_elsewhere ? "<raw>/unit" : "<raw>", "Texture", "2");
    insert("<working>", "Texture", "3");
    if (obstacle == "change")
        m_tree->write("raw_data/rules.gox", "<rules/>");
    else if (obstacle == "appear")
        m_tree->write("raw_data/unit/rules.gox", "<rules/>");
    else if (obstacle == "protect")
        m_tree->set_permissions("raw_data/rules.gox", 0444);
    else
        m_tree->write("raw_data/unit", "a file");
    if (obstacle == "protect" && QFileInfo(m_tree->path("raw_data/rules.gox")).isWritable())
        QSKIP("this user may write to everything");

    const QString file = is_elsewhere ? "raw_data/unit/rules.gox" : "raw_data/rules.gox";
    const QByteArray before = m_tree->read(file);
    const QString told = save();
    QVERIFY2(told.startsWith(file + ": " + error), qPrintable(told));
    QCOMPARE(told.count('\n'), 0);
    QCOMPARE(m_tree->read(file), before);
    QCOMPARE(values("working_data"), QString("3")); // the others are saved all the same
}

void TST_RULE_FILES::refuses_what_could_not_be_read_again_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("property");
    QTest::addColumn<QString>("cause");
    const QString bad = "a rule holds characters that ";
    QTest::newRow("control character") << QString("a\1b") << "x" << bad + "a rule file can't hold";
    QTest::newRow("half a character") << QString(QChar(0xd83c)) << "x" << bad + "a rule file can't hold";
    QTest::newRow("line ends") << QString("a\r\nb") << "x" << bad + "would come back as others";
    QTest::newRow("twice") << QString("1") << "A"
                           << "it could not be read again: ";
}

void TST_RULE_FILES::refuses_what_could_not_be_read_again()
{
    QFETCH(QString, value);
    QFETCH(QString, property);
    QFETCH(QString, cause);
    m_tree->write("raw_data/rules.gox", SIMPLE);
    QCOMPARE(m_cache->add(*m_tree, "raw_data/rules.gox"), QString());
    m_cache->cache.rules.value("<raw>*texture")->properties.insert(property, value);
    const QString told = save();
    QVERIFY2(told.startsWith("raw_data/rules.gox: not saved, " + cause), qPrintable(told));
    QCOMPARE(m_tree->read("raw_data/rules.gox"), QByteArray(SIMPLE));
}

QTEST_GUILESS_MAIN(TST_RULE_FILES)
#include "tst_rule_files.moc"
