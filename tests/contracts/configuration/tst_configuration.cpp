#include <QtCore/QFileInfo>
#include <QtTest/QTest>

#include "contracts/configuration/configuration.h"
#include "contracts/configuration/configuration_file_name.h"
#include "tests/support/cases.h"
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

} // namespace

class TST_CONFIGURATION : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void reads_data() { add_cases("contracts/configuration/configuration.cases", {"text", "read", "saved"}); }
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
        const QStringList said = QStringList(is_read ? shown(c) : '!' + error) + passed_over;
        GOX_COMPARE_TEXT(said.join('\n').replace(path, "FILE"), current_case()["read"]);
        if (current_case().has("saved"))
            GOX_COMPARE_TEXT(c.save(path, true) ? tree.read("c.xml") : "", current_case()["saved"] + '\n');
        else if (!is_read)
            QCOMPARE(shown(c), shown(unusual()));
    }

    void saves_data() { add_cases("contracts/configuration/saves.cases", {"file", "processor", "cause"}); }
    void saves()
    {
        const QString file = current_case()["file"], cause = current_case()["cause"];
        const TEMPORARY_TREE tree;
        tree.write("c.xml", "former");
        CONFIGURATION c;
        QCOMPARE(shown(c), QString("; ; ; ; ; 3\nkeep_output load_asset_graph"));
        c.processors = {QString::fromUtf8(spelled_bytes(current_case()["processor"])), " "};
        QString error;
        QCOMPARE(c.save(tree.path(file), false, error), cause.isEmpty());
        GOX_COMPARE_TEXT(error,
                         cause.isEmpty() ? QString() : tree.path(file) + ": can't be written: " + cause);
        const auto is_written = [&](bool only_if_changed) {
            FILES::set_time(tree.path("c.xml"), FILES::hour(1));
            c.save(tree.path(file), only_if_changed);
            return QFileInfo(tree.path("c.xml")).lastModified().toUTC() != FILES::hour(1);
        };
        QVERIFY(!is_written(true));
        QCOMPARE(is_written(false), cause.isEmpty());
        c.retail = true;
        QCOMPARE(is_written(true), cause.isEmpty());
        QCOMPARE(
            tree.read("c.xml").contains("<processors>\n        <processor>a</processor>\n    </processors>"),
            cause.isEmpty());
    }

    void repairs_names_data() { add_cases("contracts/configuration/names.cases", {"names"}); }
    void repairs_names()
    {
        for (const QString& name : current_case().lines("names"))
            QCOMPARE(repaired_configuration_file_name(name.section(" -> ", 0, 0)), name.section(" -> ", -1));
    }
};

QTEST_GUILESS_MAIN(TST_CONFIGURATION)
#include "tst_configuration.moc"
