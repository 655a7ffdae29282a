#include <QtCore/QFileInfo>
#include <QtTest/QTest>

#include "contracts/configuration/configuration.h"
#include "contracts/configuration/configuration_file_name.h"
#include "tests/support/files.h"
#include "tests/support/rows.h"
#include "tests/support/temporary_tree.h"
#include "tests/support/watched_test.h"

namespace {

constexpr std::pair<const char*, bool CONFIGURATION::*> FLAGS[] = {
    {"retail", &CONFIGURATION::retail},
    {"silent", &CONFIGURATION::silent},
    {"no_progress_dialog", &CONFIGURATION::no_progress_dialog},
    {"p4_option", &CONFIGURATION::p4_option},
    {"scan_perforce", &CONFIGURATION::scan_perforce},
    {"keep_output", &CONFIGURATION::keep_output},
    {"load_asset_graph", &CONFIGURATION::load_asset_graph},
    {"clean_asset_graph", &CONFIGURATION::clean_asset_graph},
    {"get_latest", &CONFIGURATION::get_latest}};

// Every member.
QString shown(const CONFIGURATION& c)
{
    QString text;
    for (const auto* list : {&c.processors, &c.directories, &c.global_rules})
        text += QStringList(list->begin(), list->end()).join('|') + ';';
    for (const auto& [name, flag] : FLAGS)
        text += c.*flag ? '1' : '0';
    return text + ';' + QString::number(c.merge_db_for_checkin) + ';' + c.selected_providers.join('|') + ';' +
           c.selected_consumers.join('|');
}

CONFIGURATION unusual()
{
    CONFIGURATION c;
    c.processors = {"textures", "packs"};
    c.directories = {"..."};
    c.global_rules = {QString::fromUtf8("\u00e4/\U0001f3ae <&>\"'.rules.gox")};
    c.silent = true;
    c.keep_output = false;
    c.merge_db_for_checkin = -7;
    c.selected_consumers = QStringList{"-....bak", "<raw>/a, b/..."};
    return c;
}

using BROKEN_FILES = ROWS<QByteArray, QString>;
using UNWRITABLE = ROWS<QString, QString>; // file, processor

} // namespace

class TST_CONFIGURATION : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void comes_back()
    {
        QCOMPARE(shown(CONFIGURATION()), QString(";;;000001100;3;;"));
        const TEMPORARY_TREE tree;
        const QString path = tree.path(QString::fromUtf8("\u00e4_configuration.xml"));
        QVector<CONFIGURATION> records{CONFIGURATION(), unusual()};
        for (const auto& [name, flag] : FLAGS) {
            records.append(CONFIGURATION());
            records.last().*flag = !(records.last().*flag);
        }
        for (const CONFIGURATION& record : qAsConst(records)) {
            CONFIGURATION again; // all that it holds is other, so that nothing comes through by chance
            for (const auto& [name, flag] : FLAGS)
                again.*flag = !(record.*flag);
            again.processors = again.directories = again.global_rules = {"other"};
            again.selected_providers = again.selected_consumers = QStringList("other");
            QString error;
            QVERIFY(record.save(path, false));
            QVERIFY2(again.load(path, error), qPrintable(error));
            QCOMPARE(shown(again), shown(record));
            for (const auto& [name, flag] : FLAGS)
                QVERIFY(FILES::bytes(path).contains(QByteArray("<") + name +
                                                    (record.*flag ? ">true<" : ">false<")));
        }
    }

    void keeps_what_a_file_does_not_name()
    {
        const TEMPORARY_TREE tree;
        tree.write("c.xml",
                   "<configuration>\n"
                   "<processors> <processor>\n one </processor><unknown/></processors>\n"
                   "<selected_consumers/><global_rules/>\n"
                   "<!-- <silent>maybe</silent> -->\n"
                   "<sillent>true</sillent><deep><silent>false</silent><processors>x</processors></deep>\n"
                   "<retail> true </retail>\n"
                   "</configuration>");
        CONFIGURATION c = unusual();
        QString error;
        QStringList passed_over;
        QVERIFY2(c.load(tree.path("c.xml"), error, passed_over), qPrintable(error));
        QCOMPARE(shown(c), QString("one;...;;110000100;-7;;"));
        const QString behind = " is not known and is passed over";
        QCOMPARE(passed_over.join('\n').remove(tree.path("c.xml")),
                 ":3:28: <unknown>" + behind + "\n:6:10: <sillent>" + behind +
                     "; did you mean <silent>?\n:6:30: <deep>" + behind);
    }

    void bad_files_change_nothing_data()
    {
        const QByteArray start =
            "<configuration>\n<retail>true</retail>\n<processors><processor>a</processor></processors>\n";
        const QByteArray end = "\n</configuration>";
        const BROKEN_FILES row;
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
        row("flag without value", start + "<silent/>" + end,
            ":4:10: <silent> must be true or false, not \"\"");
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
        row("attribute", start + "<silent value='true'/>" + end,
            ":4:23: <silent> has no attribute \"value\"");
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

    void bad_files_change_nothing()
    {
        const auto [text, error] = BROKEN_FILES::values();
        const TEMPORARY_TREE tree;
        const QString path = tree.path("tool/GOX/bad_configuration.xml");
        FILES::write(path, text);
        CONFIGURATION c = unusual();
        QString told;
        QVERIFY(!c.load(path, told));
        QCOMPARE(told, path + error);
        QCOMPARE(shown(c), shown(unusual()));
    }

    void bounds_of_size()
    {
        const TEMPORARY_TREE tree;
        tree.write("c.xml", "<configuration><selected_providers>" +
                                QByteArray("<pattern>a</pattern>").repeated(200000) +
                                "</selected_providers></configuration>");
        CONFIGURATION c;
        QString error;
        QVERIFY(c.load(tree.path("c.xml"), error));
        QCOMPARE(c.selected_providers.size(), 200000);
        tree.write("c.xml", "<configuration>" + QByteArray(64 << 20, ' ') + "</configuration>");
        QVERIFY(!c.load(tree.path("c.xml"), error));
        QCOMPARE(error, tree.path("c.xml") + ": can't be opened: it is larger than 67108864 bytes");
        tree.write("c.xml", "<configuration>" + QByteArray("<x/>").repeated(200) + "</configuration>");
        QStringList passed_over;
        QVERIFY(c.load(tree.path("c.xml"), error, passed_over));
        QCOMPARE(passed_over.size(), 101);
        QVERIFY(!c.load(tree.path("none"), error));
        QCOMPARE(error, tree.path("none") + ": can't be opened: No such file or directory");
    }

    void refuses_to_save_data()
    {
        const UNWRITABLE row;
        row("no such folder", "none/c.xml", "a");
        row("a folder", "raw_data", "a");
        row("control character", "c.xml", "a\1b");
        row("half a character", "c.xml", QString(QChar(0xdc00)));
    }
    void refuses_to_save()
    {
        const auto [file, processor] = UNWRITABLE::values();
        const TEMPORARY_TREE tree;
        tree.write("c.xml", "former");
        const QStringList before = FILES::below(tree.path());
        CONFIGURATION c;
        c.processors = {processor};
        QVERIFY(!c.save(tree.path(file), false));
        QCOMPARE(tree.read("c.xml"), QByteArray("former"));
        QCOMPARE(FILES::below(tree.path()), before);
    }

    void writes_again_only_when_changed()
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

    void repairs_names()
    {
        for (const QString name : {"a_configuration.xml", "GOX/a_Configuration.XML", "a", "a.xml.bak", ""})
            QCOMPARE(repaired_configuration_file_name(name), name);
        const std::pair<const char*, const char*> rows[] = {
            {"a.xml", "a_configuration.xml"},
            {"a.XML", "a_configuration.xml"},
            {"aconfiguration.xml", "aconfiguration_configuration.xml"},
            {"a_configuration", "a_configuration.xml"},
            {"aCONFIGURATION", "aCONFIGURATION.xml"},
            {".xml", "_configuration.xml"}};
        for (const auto& [typed, repaired] : rows)
            QCOMPARE(repaired_configuration_file_name(typed), QString(repaired));
    }
};

QTEST_GUILESS_MAIN(TST_CONFIGURATION)
#include "tst_configuration.moc"
