#include <QtCore/QRandomGenerator>
#include <QtTest/QTest>

#include "contracts/paths/paths.h"
#include "contracts/rules/rule_key.h"
#include "session/file_entry.h"
#include "tests/contracts/rules/rule_cache_holder.h"
#include "tests/support/watched_test.h"

class TST_RULE_CACHE : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void resolves_data();
    void resolves();
    void names_the_origin();
    void keeps_equal_keys_newest_first();
    void sees_edits_at_once();
    void answers_alike_before_and_after_validation();
    void tells_folders_without_files();
};

// A rule in short: "Texture+ a=1 b=2 | *.png" inherits because of its "+".
static QByteArray rule_xml(const QString& text)
{
    const QStringList halves = text.split(" | ");
    QStringList words = halves.first().split(' ');
    QString name = words.takeFirst();
    const bool inherits = name.endsWith('+');
    name.remove('+');
    QString xml = QString("<rule name=\"%1\" inherit=\"%2\">").arg(name, inherits ? "true" : "false");
    if (halves.size() == 2)
        xml += "<files>" + halves.last() + "</files>";
    for (const QString& word : qAsConst(words))
        xml +=
            QString("<property name=\"%1\">%2</property>").arg(word.section('=', 0, 0), word.section('=', 1));
    return (xml + "</rule>").toUtf8();
}

// Each line is "file: rule"; the rules of a file keep the order of the lines.
static void lay_out_rules(const TEMPORARY_TREE& tree, RULE_CACHE_HOLDER& cache, const QString& lines)
{
    QStringList order;
    QMap<QString, QByteArray> files;
    for (const QString& line : lines.split('\n', Qt::SkipEmptyParts)) {
        const QString file = line.section(": ", 0, 0);
        if (!order.contains(file))
            order.append(file);
        files[file] += rule_xml(line.section(": ", 1));
    }
    for (const QString& file : qAsConst(order)) {
        tree.write(file, "<rules>" + files[file] + "</rules>");
        const bool is_global = file.startsWith("tool/");
        QCOMPARE(is_global ? cache.add_global(tree, file) : cache.add(tree, file), QString());
    }
}

void TST_RULE_CACHE::resolves_data()
{
    QTest::addColumn<QString>("rules");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("answer");

    const QString chain = "raw_data/rules.gox: Texture a=root b=root d=root\n"
                          "raw_data/Unit/rules.gox: Texture+ b=unit c=unit\n"
                          "raw_data/Unit/Deep/rules.gox: texture+ c=deep\n"
                          "tool/GOX/x.rules.gox: Texture d=global e=global\n";
    QTest::newRow("no rule") << ""
                             << "<raw>/a.png"
                             << "none";
    QTest::newRow("nearest first") << chain << "<raw>/unit/deep/a.png"
                                   << "a=root b=unit c=deep d=root";
    QTest::newRow("folders below") << chain << "<raw>/unit/deep/er/and/er/a"
                                   << "a=root b=unit c=deep d=root";
    QTest::newRow("a level up") << chain << "<raw>/unit/a.png"
                                << "a=root b=unit c=unit d=root";
    QTest::newRow("no inheritance ends the walk") << chain << "<raw>/a.png"
                                                  << "a=root b=root d=root";
    QTest::newRow("like-named folder") << chain << "<raw>/unit1/a.png"
                                       << "a=root b=root d=root";
    QTest::newRow("other root, global only") << chain << "<working>/unit/a.png"
                                             << "d=global e=global";
    QTest::newRow("letter case of the path") << chain << "<raw>/UNIT/Deep/A.PNG"
                                             << "a=root b=unit c=deep d=root";

    QTest::newRow("global rules stand last") << "raw_data/rules.gox: Texture+ a=root\n"
                                                "tool/GOX/1.rules.gox: Texture+ a=1 b=1 c=1\n"
                                                "tool/GOX/2.rules.gox: Texture+ a=2 b=2\n"
                                             << "<raw>/x"
                                             << "a=root b=2 c=1";
    QTest::newRow("newest first in a folder") << "raw_data/rules.gox: Texture+ a=old b=old\n"
                                                 "raw_data/rules.gox: Texture+ a=new\n"
                                              << "<raw>/x"
                                              << "a=new b=old";
    QTest::newRow("newest ends the walk in its folder") << "raw_data/rules.gox: Texture+ a=old b=old\n"
                                                           "raw_data/rules.gox: Texture a=new\n"
                                                        << "<raw>/x"
                                                        << "a=new";
    QTest::newRow("a filtered rule does not end the walk") << "raw_data/rules.gox: Texture a=old\n"
                                                              "raw_data/rules.gox: Texture a=new | *.tga\n"
                                                           << "<raw>/x.png"
                                                           << "a=old";
    QTest::newRow("filters see the path below the folder")
        << "raw_data/unit/rules.gox: Texture a=1 | deep/*.png\n"
        << "<raw>/unit/deep/x.png"
        << "a=1";
    QTest::newRow("a star stays in the folder") << "raw_data/unit/rules.gox: Texture a=1 | *.png\n"
                                                << "<raw>/unit/deep/x.png"
                                                << "none";
    QTest::newRow("global filters see the whole path") << "tool/GOX/x.rules.gox: Texture a=1 | <raw>/...\n"
                                                       << "<working>/x.png"
                                                       << "none";
    QTest::newRow("another kind") << "raw_data/rules.gox: Sound a=1\n"
                                  << "<raw>/x"
                                  << "none";
    QTest::newRow("no properties") << "raw_data/rules.gox: TEXTURE\n"
                                   << "<raw>/x"
                                   << "";
    QTest::newRow("property names in lower case")
        << "raw_data/rules.gox: Texture+ Max=1\nraw_data/rules.gox: Texture+ MAX=2\n"
        << "<raw>/x"
        << "max=2";
    QTest::newRow("not ASCII") << QString("raw_data/\xc3\x84rger/rules.gox: Texture a=\xc3\x9c | \xc3\x84*\n")
                               << QString("<raw>/\xc3\xa4rger/\xc3\xa4x") << QString("a=\xc3\x9c");
}

void TST_RULE_CACHE::resolves()
{
    QFETCH(QString, rules);
    QFETCH(QString, path);
    QFETCH(QString, answer);
    const TEMPORARY_TREE tree;
    QVERIFY(PATHS::initialise(tree.path("tool")));
    RULE_CACHE_HOLDER cache;
    rules.replace("<raw>/", "&lt;raw&gt;/");
    lay_out_rules(tree, cache, rules);
    QCOMPARE(cache.answer(path), answer);
    QCOMPARE(cache.answer(path, "tEXTURE"), answer);
    cache->validate_cache(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>());
    QCOMPARE(cache.answer(path), answer);
}

void TST_RULE_CACHE::names_the_origin()
{
    const TEMPORARY_TREE tree;
    QVERIFY(PATHS::initialise(tree.path("tool")));
    RULE_CACHE_HOLDER cache;
    lay_out_rules(tree, cache, "raw_data/rules.gox: Texture b=1\nraw_data/Unit/rules.gox: Texture+ a=1\n");
    const RULE rule = cache->get(LOGICAL_PATH("<raw>/unit/x"), "Texture");
    const CACHED_RULE* const unit = cache->rules.value("<raw>/unit*texture");
    QCOMPARE(rule.found, static_cast<const void*>(unit));
    QCOMPARE(static_cast<const CACHED_RULE*>(rule.values["a"].origin), unit);
    QCOMPARE(static_cast<const CACHED_RULE*>(rule.values["b"].origin), cache->rules.value("<raw>*texture"));
    QCOMPARE(static_cast<const QString&>(unit->path), QString("<raw>/unit"));
    QCOMPARE(static_cast<const QString&>(unit->physical_path), tree.path("raw_data/Unit"));
    QCOMPARE(rule.value("A"), QString("1"));
    QCOMPARE(rule.value("c", "else"), QString("else"));
}

void TST_RULE_CACHE::keeps_equal_keys_newest_first()
{
    const TEMPORARY_TREE tree;
    QVERIFY(PATHS::initialise(tree.path("tool")));
    RULE_CACHE_HOLDER cache;
    lay_out_rules(tree, cache,
                  "raw_data/rules.gox: Texture n=1\nraw_data/rules.gox: Sound n=5\n"
                  "raw_data/rules.gox: TEXTURE n=2\nraw_data/rules.gox: Texture n=3\n");
    QStringList order;
    for (const CACHED_RULE* rule : cache->rules.values(rule_key("<RAW>", "Texture")))
        order.append(rule->properties.value("n").toString());
    QCOMPARE(order.join(' '), QString("3 2 1"));
    const QMap<QString, CACHED_RULE*>& as_map = cache->rules;
    QCOMPARE(as_map.size(), 4);
}

void TST_RULE_CACHE::sees_edits_at_once()
{
    const TEMPORARY_TREE tree;
    QVERIFY(PATHS::initialise(tree.path("tool")));
    RULE_CACHE_HOLDER cache;
    lay_out_rules(tree, cache, "raw_data/rules.gox: Texture a=1\n");
    cache->validate_cache(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>());

    CACHED_RULE* const rule = new CACHED_RULE;
    rule->path = LOGICAL_PATH("<raw>/unit");
    rule->name = "Texture";
    rule->properties.insert("a", "2");
    cache->rules.insert(rule_key(rule->path, rule->name), rule);
    QCOMPARE(cache.answer("<raw>/unit/x"), QString("a=2"));
    rule->set_file_filters("*.png");
    QCOMPARE(cache.answer("<raw>/unit/x"), QString("a=1"));
    rule->set_file_filters("");
    cache->rules.remove(rule_key(rule->path, rule->name));
    delete rule;
    QCOMPARE(cache.answer("<raw>/unit/x"), QString("a=1"));
}

void TST_RULE_CACHE::answers_alike_before_and_after_validation()
{
    QRandomGenerator random(3);
    const QStringList folders{"", "/a", "/a/b", "/a/b/c", "/ab", "/a/b*c"};
    for (int round = 0; round < 100; ++round) {
        RULE_CACHE_HOLDER cache;
        for (int i = random.bounded(8); i >= 0; --i) {
            CACHED_RULE* const rule = new CACHED_RULE;
            rule->path = LOGICAL_PATH("<raw>" + folders.at(random.bounded(folders.size())));
            rule->name = random.bounded(4) ? "Texture" : "Sound";
            rule->inherit_properties = random.bounded(3);
            rule->properties.insert(QString("p%1").arg(random.bounded(3)), QString::number(i));
            cache->rules.insert(rule_key(rule->path, rule->name), rule);
        }
        QStringList before;
        QStringList after;
        for (const QString& folder : folders)
            before.append(cache.answer("<raw>" + folder + "/file"));
        cache->validate_cache(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>());
        for (const QString& folder : folders)
            after.append(cache.answer("<raw>" + folder + "/file"));
        QCOMPARE(after, before);
    }
}

void TST_RULE_CACHE::tells_folders_without_files()
{
    const TEMPORARY_TREE tree;
    QVERIFY(PATHS::initialise(tree.path("tool")));
    RULE_CACHE_HOLDER cache;
    lay_out_rules(tree, cache,
                  "raw_data/unit/rules.gox: Texture\nraw_data/unit/deep/rules.gox: Texture\n"
                  "raw_data/unit1/rules.gox: Texture\ntool/GOX/x.rules.gox: Texture\n");
    LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*> files;
    files.insert(LOGICAL_PATH("<raw>/unit/a.png"), nullptr);
    files.insert(LOGICAL_PATH("<raw>/unit10/a.png"), nullptr);
    cache->validate_cache(files);
    QCOMPARE(cache->folders_without_files(), QStringList({"<raw>/unit/deep", "<raw>/unit1"}));
    cache->add_new_file_to_cache(LOGICAL_PATH("<raw>/unit/deep/er/new.png"));
    QCOMPARE(cache->folders_without_files(), QStringList({"<raw>/unit1"}));
    QCOMPARE(cache.answer("<raw>/unit/deep/er/new.png"), QString());
}

QTEST_GUILESS_MAIN(TST_RULE_CACHE)
#include "tst_rule_cache.moc"
