#include <QtCore/QFileInfo>
#include <QtTest/QTest>

#include "contracts/configuration/configuration.h"
#include "contracts/configuration/configuration_file_name.h"
#include "tests/support/files.h"
#include "tests/support/temporary_tree.h"
#include "tests/support/watched_test.h"

class TST_CONFIGURATION : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void has_defaults();
    void comes_back_data();
    void comes_back();
    void keeps_what_a_file_does_not_name();
    void bad_files_change_nothing_data();
    void bad_files_change_nothing();
    void reads_long_lists();
    void refuses_to_save_data();
    void refuses_to_save();
    void writes_again_only_when_changed();
    void repairs_names_data();
    void repairs_names();
};

// Every member, in declared order.
static QString shown(const CONFIGURATION& c)
{
    const auto list = [](const auto& entries) {
        return QStringList(entries.begin(), entries.end()).join('|');
    };
    const auto flags = {c.retail, c.silent, c.no_progress_dialog, c.p4_option, c.scan_perforce};
    const auto more_flags = {c.keep_output, c.load_asset_graph, c.clean_asset_graph, c.get_latest};
    QString text = list(c.processors) + ';' + list(c.directories) + ';' + list(c.global_rules) + ';';
    for (bool flag : flags)
        text += flag ? '1' : '0';
    text += QString::number(c.merge_db_for_checkin);
    for (bool flag : more_flags)
        text += flag ? '1' : '0';
    return text + ';' + c.selected_providers.join('|') + ';' + c.selected_consumers.join('|');
}

static CONFIGURATION unusual()
{
    CONFIGURATION c;
    c.processors = {"textures", "packs"};
    c.directories = {"..."};
    c.silent = true;
    c.keep_output = false;
    c.merge_db_for_checkin = 1;
    c.selected_consumers = QStringList{"-....bak", "<raw>/a, b/..."};
    return c;
}

void TST_CONFIGURATION::has_defaults()
{
    QCOMPARE(shown(CONFIGURATION()), QString(";;;0000031100;;"));
}

void TST_CONFIGURATION::comes_back_data()
{
    QTest::addColumn<QString>("changed");
    for (const char* name :
         {"nothing", "retail", "silent", "no_progress_dialog", "p4_option", "scan_perforce", "keep_output",
          "load_asset_graph", "clean_asset_graph", "get_latest", "lists", "number", "not ASCII"})
        QTest::newRow(name) << QString(name);
}

void TST_CONFIGURATION::comes_back()
{
    QFETCH(QString, changed);
    CONFIGURATION c;
    const QMap<QString, bool*> flags{{"retail", &c.retail},
                                     {"silent", &c.silent},
                                     {"no_progress_dialog", &c.no_progress_dialog},
                                     {"p4_option", &c.p4_option},
                                     {"scan_perforce", &c.scan_perforce},
                                     {"keep_output", &c.keep_output},
                                     {"load_asset_graph", &c.load_asset_graph},
                                     {"clean_asset_graph", &c.clean_asset_graph},
                                     {"get_latest", &c.get_latest}};
    if (flags.contains(changed))
        *flags[changed] = !*flags[changed];
    else if (changed == "lists")
        c = unusual();
    else if (changed == "number")
        c.merge_db_for_checkin = -7;
    else if (changed == "not ASCII")
        c.global_rules = {QString("\xc3\xa4/\xf0\x9f\x8e\xae <&>\"'.rules.gox")};

    const TEMPORARY_TREE tree;
    const QString path = tree.path(QString("\xc3\xa4_configuration.xml"));
    QVERIFY(c.save(path, false));
    // The flags of the target are all turned, so that nothing comes through by chance.
    CONFIGURATION again;
    again.retail = again.silent = again.no_progress_dialog = again.p4_option = again.scan_perforce = true;
    again.keep_output = again.load_asset_graph = false;
    again.clean_asset_graph = again.get_latest = true;
    again.processors = again.directories = again.global_rules = {"other"};
    again.selected_providers = again.selected_consumers = QStringList("other");
    QString error;
    QVERIFY2(again.load(path, error), qPrintable(error));
    QCOMPARE(shown(again), shown(c));
    QCOMPARE(error, QString());
    if (flags.contains(changed))
        QVERIFY(tree.read(QString("\xc3\xa4_configuration.xml"))
                    .contains(QString("<%1>%2</").arg(changed, *flags[changed] ? "true" : "false").toUtf8()));
}

void TST_CONFIGURATION::keeps_what_a_file_does_not_name()
{
    const TEMPORARY_TREE tree;
    tree.write("c.xml",
               "<configuration>\n"
               "<processors> <processor>\n one </processor><unknown/></processors>\n"
               "<selected_consumers/>\n"
               "<!-- <silent>maybe</silent> -->\n"
               "<sillent>true</sillent><deep><silent>false</silent><processors>x</processors></deep>\n"
               "<retail> true </retail>\n"
               "</configuration>");
    CONFIGURATION c = unusual();
    QString error;
    QVERIFY2(c.load(tree.path("c.xml"), error), qPrintable(error));
    QCOMPARE(shown(c), QString("one;...;;1100010100;;"));
}

void TST_CONFIGURATION::bad_files_change_nothing_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("error");
    const auto row = [](const char* name, const QByteArray& text, const char* error) {
        QTest::newRow(name) << text << QString(error);
    };
    const QByteArray start =
        "<configuration>\n<retail>true</retail>\n<processors><processor>a</processor></processors>\n";
    const QByteArray end = "\n</configuration>";
    row("empty", "", ":1:1: the file is empty");
    row("blank", "\n\n", ":1:1: Premature end of document.");
    row("cut off", start + "<silent>tr", ":4:11: Premature end of document.");
    row("cut off at the end", start, ":4:1: Premature end of document.");
    row("not XML", "retail = true", ":1:2: Start tag expected.");
    row("binary", QByteArray("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16),
        ":1:1: the line holds bytes that are not UTF-8");
    row("other root", "<rules/>", ":1:9: the outermost element must be <configuration>, not <rules>");
    row("flag", start + "<silent>maybe</silent>" + end,
        ":4:23: <silent> must be true or false, not \"maybe\"");
    row("flag without value", start + "<silent/>" + end, ":4:10: <silent> must be true or false, not \"\"");
    row("number", start + "<merge_db_for_checkin>ask</merge_db_for_checkin>" + end,
        ":4:49: <merge_db_for_checkin> must be a whole number, not \"ask\"");
    row("large number", start + "<merge_db_for_checkin>99999999999</merge_db_for_checkin>" + end,
        ":4:57: <merge_db_for_checkin> must be a whole number, not \"99999999999\"");
    row("element in a flag", start + "<silent>true<x/></silent>" + end,
        ":4:17: <silent> can hold text only, not <x>");
    row("text in a list", start + "<directories>...</directories>" + end,
        ":4:18: the text \"...\" stands between elements");
    row("empty entry", start + "<directories><directory/></directories>" + end,
        ":4:26: <directory> is empty");
    row("twice", start + "<retail>false</retail>" + end, ":4:9: <retail> stands twice");
    row("attribute", start + "<silent value='true'/>" + end, ":4:23: <silent> has no attribute \"value\"");
    row("later version", "<configuration version='7'/>",
        ":1:29: version \"7\" is not known, 1 is the newest that can be read");
    row("deep", start + QByteArray("<a>").repeated(1000000),
        ":4:193: more than 64 elements within each other");
    row("entity", start + "<silent>&yes;</silent>" + end, ":4:14: Entity 'yes' not declared.");
    row("entities within entities",
        "<!DOCTYPE c [<!ENTITY a 'true'><!ENTITY b "
        "'&a;&a;'>]><configuration><silent>&b;</silent></configuration>",
        ":1:54: a document type declaration is not allowed");
    row("wrong letters", start + "<x>caf\xe9</x>" + end, ":4:1: the line holds bytes that are not UTF-8");
    row("wrong letters at the end", start + "\xc3", ":4:1: the line holds bytes that are not UTF-8");
    row("other encoding", "<?xml version='1.0' encoding='latin1'?><configuration/>",
        ":1:40: the file must be in UTF-8, not in latin1");
}

void TST_CONFIGURATION::bad_files_change_nothing()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, error);
    const TEMPORARY_TREE tree;
    const QString path = tree.path("tool/GOX/bad_configuration.xml");
    FILES::write(path, text);
    CONFIGURATION c = unusual();
    QString told;
    QVERIFY(!c.load(path, told));
    QCOMPARE(told, path + error);
    QCOMPARE(shown(c), shown(unusual()));
    QVERIFY(!c.load(path + "x", told));
    QCOMPARE(told, path + "x: can't be opened: No such file or directory");
}

void TST_CONFIGURATION::reads_long_lists()
{
    const TEMPORARY_TREE tree;
    tree.write("c.xml", "<configuration><selected_providers>" +
                            QByteArray("<pattern>a</pattern>").repeated(200000) +
                            "</selected_providers></configuration>");
    CONFIGURATION c;
    QString error;
    QVERIFY(c.load(tree.path("c.xml"), error));
    QCOMPARE(c.selected_providers.size(), 200000);

    tree.write("large.xml", "<configuration>" + QByteArray(64 << 20, ' ') + "</configuration>");
    QVERIFY(!c.load(tree.path("large.xml"), error));
    QCOMPARE(error, tree.path("large.xml") + ": can't be opened: it is larger than 67108864 bytes");
}

void TST_CONFIGURATION::refuses_to_save_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("entry");
    QTest::newRow("no such folder") << "none/c.xml"
                                    << "a";
    QTest::newRow("a folder") << "raw_data"
                              << "a";
    QTest::newRow("control character") << "c.xml" << QString("a\1b");
    QTest::newRow("half a character") << "c.xml" << QString(QChar(0xdc00));
}

void TST_CONFIGURATION::refuses_to_save()
{
    QFETCH(QString, file);
    QFETCH(QString, entry);
    const TEMPORARY_TREE tree;
    tree.write("c.xml", "former");
    const QStringList before = FILES::below(tree.path());
    CONFIGURATION c;
    c.processors = {entry};
    QVERIFY(!c.save(tree.path(file), false));
    QCOMPARE(tree.read("c.xml"), QByteArray("former"));
    QCOMPARE(FILES::below(tree.path()), before);
}

void TST_CONFIGURATION::writes_again_only_when_changed()
{
    const TEMPORARY_TREE tree;
    const QString path = tree.path("c.xml");
    CONFIGURATION c;
    QVERIFY(c.save(path, true));
    const auto is_written = [&](bool only_if_changed) {
        FILES::set_time(path, FILES::hour(1));
        return c.save(path, only_if_changed) && QFileInfo(path).lastModified().toUTC() != FILES::hour(1);
    };
    QVERIFY(!is_written(true));
    QVERIFY(is_written(false));
    c.retail = true;
    QVERIFY(is_written(true));
}

void TST_CONFIGURATION::repairs_names_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("repaired");
    const auto row = [](const char* typed, const char* repaired) {
        QTest::newRow(typed) << QString(typed) << QString(repaired);
    };
    row("a_configuration.xml", "a_configuration.xml");
    row("GOX/a_Configuration.XML", "GOX/a_Configuration.XML");
    row("a.xml", "a_configuration.xml");
    row("a.XML", "a_configuration.xml");
    row("aconfiguration.xml", "aconfiguration_configuration.xml");
    row("a_configuration", "a_configuration.xml");
    row("aCONFIGURATION", "aCONFIGURATION.xml");
    row("configuration", "configuration.xml");
    row("a", "a");
    row("a.xml.bak", "a.xml.bak");
    row(".xml", "_configuration.xml");
    row("", "");
}

void TST_CONFIGURATION::repairs_names()
{
    QFETCH(QString, typed);
    QTEST(repaired_configuration_file_name(typed), "repaired");
}

QTEST_GUILESS_MAIN(TST_CONFIGURATION)
#include "tst_configuration.moc"
