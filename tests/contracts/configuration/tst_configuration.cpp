#include <QtCore/QFileInfo>
#include <QtTest/QTest>

#include "contracts/configuration/configuration.h"
#include "contracts/configuration/configuration_file_name.h"
#include "tests/support/cases.h"
#include "tests/support/rows.h"
#include "tests/support/spelled_bytes.h"
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

QString shown(const CONFIGURATION& c)
{
    QStringList lists, flags;
    for (const auto* list : {&c.processors, &c.directories, &c.global_rules})
        lists.append(QStringList(list->begin(), list->end()).join(", "));
    for (const QStringList& list : {c.selected_providers, c.selected_consumers})
        lists.append(list.join(", "));
    for (const auto& [name, flag] : FLAGS)
        if (c.*flag)
            flags.append(name);
    return lists.join("; ") + "; " + QString::number(c.merge_db_for_checkin) + '\n' + flags.join(' ');
}

CONFIGURATION unusual()
{
    CONFIGURATION c;
    c.processors = {"textures", "packs"};
    c.directories = {"..."};
    c.global_rules = {"x.rules.gox"};
    c.silent = true;
    c.keep_output = false;
    c.merge_db_for_checkin = 2;
    c.selected_consumers = QStringList{"-....bak", "<raw>/a, b/..."};
    return c;
}

using SAVES = ROWS<QString, QString, QString>; // file, processor, why it is not saved
using NAMES = ROWS<QString, QString>;          // typed, repaired

} // namespace

class TST_CONFIGURATION : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void reads_data() { add_cases("contracts/configuration/configuration.cases", {"text", "read"}); }
    void reads()
    {
        const TEMPORARY_TREE tree;
        const QString path = tree.path("c.xml");
        FILES::write(path, spelled_bytes(current_case()["text"]));
        CONFIGURATION c = unusual();
        QString error;
        QStringList passed_over;
        const bool is_read = c.load(path, error, passed_over);
        if (passed_over.size() > 5)
            passed_over = QStringList("98 more") + passed_over.mid(99);
        QStringList said = QStringList(is_read ? shown(c) : '!' + error) + passed_over;
        GOX_COMPARE_TEXT(said.join('\n').replace(path, "FILE"), current_case()["read"]);
        if (!is_read)
            QCOMPARE(shown(c), shown(unusual()));
    }

    void comes_back()
    {
        QCOMPARE(shown(CONFIGURATION()), QString("; ; ; ; ; 3\nkeep_output load_asset_graph"));
        const TEMPORARY_TREE tree;
        const QString path = tree.path(QStringLiteral("ä_configuration.xml"));
        QVector<CONFIGURATION> records{CONFIGURATION(), unusual()};
        records.last().global_rules = {QStringLiteral(" ä/\U0001f3ae <&>\"'.rules.gox"), " "};
        for (const auto& [name, flag] : FLAGS) {
            records.append(CONFIGURATION());
            records.last().*flag = !(records.last().*flag);
        }
        for (CONFIGURATION& record : records) {
            CONFIGURATION again = unusual();
            for (const auto& [name, flag] : FLAGS)
                again.*flag = !(record.*flag); // so that nothing comes through by chance
            QString error;
            QVERIFY(record.save(path, false) && again.load(path, error));
            if (record.global_rules.size() > 1)
                record.global_rules = {record.global_rules.first().trimmed()};
            QCOMPARE(shown(again), shown(record));
        }
    }

    void saves_data()
    {
        const SAVES row;
        row("well", "c.xml", "a", "");
        row("no such folder", "none/c.xml", "a", "No such file or directory");
        row("a folder", "raw_data", "a", "it is a folder");
        row("control character", "c.xml", "a\1b", "an entry has characters that XML can't hold");
        row("half a character", "c.xml", QChar(0xdc00), "an entry has characters that XML can't hold");
    }
    void saves()
    {
        const auto [file, processor, cause] = SAVES::values();
        const TEMPORARY_TREE tree;
        const QString path = tree.path(file);
        tree.write("c.xml", "former");
        CONFIGURATION c;
        c.processors = {processor};
        QString error;
        QCOMPARE(c.save(path, false, error), cause.isEmpty());
        QCOMPARE(error, cause.isEmpty() ? QString() : path + ": can't be written: " + cause);
        QCOMPARE(tree.read("c.xml") == "former", !cause.isEmpty());
        // Written again only when it has changed.
        const auto is_written = [&](bool only_if_changed) {
            FILES::set_time(tree.path("c.xml"), FILES::hour(1));
            return c.save(path, only_if_changed) && QFileInfo(path).lastModified().toUTC() != FILES::hour(1);
        };
        QVERIFY(!is_written(true));
        QCOMPARE(is_written(false), cause.isEmpty());
        c.retail = true;
        QCOMPARE(is_written(true), cause.isEmpty());
    }

    void repairs_names_data()
    {
        const NAMES row;
        for (const char* name : {"a_configuration.xml", "GOX/a_Configuration.XML", "a", "a.xml.bak", ""})
            row(name, name, name);
        row("extension", "a.XML", "a_configuration.xml");
        row("without its blank", "aconfiguration.xml", "aconfiguration_configuration.xml");
        row("no extension", "aCONFIGURATION", "aCONFIGURATION.xml");
        row("nothing in front", ".xml", "_configuration.xml");
    }
    void repairs_names()
    {
        const auto [typed, repaired] = NAMES::values();
        QCOMPARE(repaired_configuration_file_name(typed), repaired);
    }
};

QTEST_GUILESS_MAIN(TST_CONFIGURATION)
#include "tst_configuration.moc"
