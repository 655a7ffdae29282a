#include <QtTest/QTest>

#include "contracts/paths/paths.h"
#include "contracts/rules/rule_key.h"
#include "contracts/services/p4_connection.h"
#include "tests/contracts/rules/rule_cache_holder.h"
#include "tests/support/p4_scene.h"
#include "tests/support/watched_test.h"

class TST_RULES_IN_PERFORCE : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void opens_what_it_saves();
};

// A changed file that is read-only and a new one, saved again and again while
// one obstacle after the other goes away.
void TST_RULES_IN_PERFORCE::opens_what_it_saves()
{
    TEMPORARY_TREE tree;
    RULE_CACHE_HOLDER holder;
    P4_SCENE scene;
    QVERIFY(PATHS::initialise(tree.path("tool")));
    const QString known = "raw_data/rules.gox", fresh = "raw_data/unit/rules.gox";
    const QByteArray before = "<rules><rule name='Texture'><property name='a'>1</property></rule></rules>";
    tree.write(known, before);
    tree.set_permissions(known, 0444);
    QCOMPARE(holder.add(tree, known), QString());
    holder->rules.first()->properties["a"] = QString("2");
    CACHED_RULE* const rule = new CACHED_RULE(*holder->rules.first());
    rule->path = LOGICAL_PATH(QString("<raw>/unit"));
    rule->physical_path = PATHS::physical_path(rule->path);
    holder->rules.insert(rule_key(rule->path, rule->name), rule);
    const auto save = [&] {
        P4_CONNECTION p4(true, true, true);
        return holder->save(p4).remove(tree.path() + '/').split('\n');
    };

    scene.answers("edit", "err Your session has expired, please login again.\nexit 1");
    scene.answers("add",
                  "err Perforce client error:\nerr \tConnect to server failed; check $P4PORT.\nexit 1");
    QStringList told = save();
    QCOMPARE(told.size(), 2);
    QVERIFY(told[0].startsWith(known + ": not saved, it is read-only and could not be opened for edit: "));
    QVERIFY(told[0].contains("session has expired"));
    QVERIFY(told[1].startsWith(fresh + ": saved, but not opened for add: "));
    QVERIFY(told[1].contains("can't be reached"));
    QCOMPARE(tree.read(known), before);
    QVERIFY(tree.read(fresh).contains(">2<"));

    scene.answers("edit", "out //depot/rules.gox#1 - also opened by somebody");
    scene.answers("add", "out //depot/unit/rules.gox#1 - opened for add");
    told = save();
    QCOMPARE(told.size(), 1);
    QVERIFY(told[0].startsWith(known + ": not saved, ") && told[0].contains("by somebody"));

    scene.answers("edit", "writable");
    QCOMPARE(save() + save(), QStringList({QString(), QString()}));
    QVERIFY(tree.read(known).contains(">2<"));
    const auto call = [&](const char* command, const QString& file) {
        return "-d HERE -ztag -x - " + QByteArray(command) + '\n' + tree.path(file).toUtf8() + '\n';
    };
    const QByteArray edit = call("edit", known), add = call("add -f", fresh);
    QCOMPARE(scene.calls(), edit + add + edit + add + edit);
}

QTEST_GUILESS_MAIN(TST_RULES_IN_PERFORCE)
#include "tst_rules_in_perforce.moc"
