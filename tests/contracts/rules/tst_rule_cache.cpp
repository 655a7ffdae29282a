#include <QtTest/QTest>

#include "contracts/paths/paths.h"
#include "contracts/rules/rule_key.h"
#include "session/file_entry.h"
#include "tests/contracts/rules/rule_cache_holder.h"
#include "tests/support/rows.h"
#include "tests/support/watched_test.h"

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
static void lay_out_rules(RULE_CACHE_HOLDER& cache, const QString& lines)
{
    const TEMPORARY_TREE tree;
    QVERIFY(PATHS::initialise(tree.path("tool")));
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

using ANSWERS = ROWS<QString, QString, QString>; // rules, path, answer

class TST_RULE_CACHE : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void resolves_data()
    {
        const ANSWERS row;
        const QString chain = "raw_data/rules.gox: Texture a=root b=root d=root\n"
                              "raw_data/Unit/rules.gox: Texture+ b=unit c=unit\n"
                              "raw_data/Unit/Deep/rules.gox: texture+ c=deep\n"
                              "tool/GOX/x.rules.gox: Texture d=global e=global\n";
        const QString deep = "a=root b=unit c=deep d=root";
        row("no rule", "", "<raw>/a.png", "none");
        row("nearest first", chain, "<raw>/unit/deep/a.png", deep);
        row("folders below", chain, "<raw>/unit/deep/er/and/er/a", deep);
        row("a level up", chain, "<raw>/unit/a.png", "a=root b=unit c=unit d=root");
        row("no inheritance ends the walk", chain, "<raw>/a.png", "a=root b=root d=root");
        row("like-named folder", chain, "<raw>/unit1/a.png", "a=root b=root d=root");
        row("other root, global only", chain, "<working>/unit/a.png", "d=global e=global");
        row("a star in the name of a folder", "raw_data/a*b/rules.gox: Texture a=1", "<raw>/a/x", "none");
        row("below a star", "raw_data/a*b/rules.gox: Texture a=1", "<raw>/a*b/x", "a=1");
        row("letter case of the path", chain, "<raw>/UNIT/Deep/A.PNG", deep);

        const QString in_root = "raw_data/rules.gox: ";
        row("global rules stand last",
            in_root + "Texture+ a=root\ntool/GOX/1.rules.gox: Texture+ a=1 b=1 c=1\n"
                      "tool/GOX/2.rules.gox: Texture+ a=2 b=2",
            "<raw>/x", "a=root b=2 c=1");
        row("newest first in a folder", in_root + "Texture+ a=old b=old\n" + in_root + "Texture+ a=new",
            "<raw>/x", "a=new b=old");
        row("newest ends the walk in its folder",
            in_root + "Texture+ a=old b=old\n" + in_root + "Texture a=new", "<raw>/x", "a=new");
        row("a filtered rule does not end the walk",
            in_root + "Texture a=old\n" + in_root + "Texture a=new | *.tga", "<raw>/x.png", "a=old");
        row("filters see the path below the folder", "raw_data/unit/rules.gox: Texture a=1 | deep/*.png",
            "<raw>/unit/deep/x.png", "a=1");
        row("a star stays in the folder", "raw_data/unit/rules.gox: Texture a=1 | *.png",
            "<raw>/unit/deep/x.png", "none");
        row("global filters see the whole path", "tool/GOX/x.rules.gox: Texture a=1 | <raw>/...",
            "<working>/x.png", "none");
        row("another kind", in_root + "Sound a=1", "<raw>/x", "none");
        row("no properties", in_root + "TEXTURE", "<raw>/x", "");
        row("property names in lower case", in_root + "Texture+ Max=1\n" + in_root + "Texture+ MAX=2",
            "<raw>/x", "max=2");
        row("not ASCII", "raw_data/\u00c4rger/rules.gox: Texture a=\u00dc | \u00c4*",
            "<raw>/\u00e4rger/\u00e4x", "a=\u00dc");
    }
    void resolves()
    {
        const auto [rules, path, answer] = ANSWERS::values();
        RULE_CACHE_HOLDER cache;
        lay_out_rules(cache, QString(rules).replace("<raw>/", "&lt;raw&gt;/"));
        QCOMPARE(cache.answer(path), answer);
        QCOMPARE(cache.answer(path, "tEXTURE"), answer);
        cache->validate_cache(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>());
        QCOMPARE(cache.answer(path), answer);
    }

    void tells_the_last_change()
    {
        const TEMPORARY_TREE tree;
        QVERIFY(PATHS::initialise(tree.path("tool")));
        RULE_CACHE_HOLDER cache;
        const auto add = [&](const QString& file, const QByteArray& rules, int hour) {
            tree.write(file, "<rules>" + rules + "</rules>", FILES::hour(hour));
            return file.startsWith("tool/") ? cache.add_global(tree, file) : cache.add(tree, file);
        };
        QCOMPARE(add("raw_data/rules.gox", rule_xml("Texture a=1"), 3) +
                     add("raw_data/Unit/rules.gox", "", 5) + // the rule in it was taken out
                     add("raw_data/Unit/deep/rules.gox", rule_xml("Sound+ a=1"), 4) +
                     add("raw_data/other/rules.gox", rule_xml("Texture a=1"), 9) +
                     add("tool/GOX/1.rules.gox", rule_xml("Texture a=1"), 7) +
                     add("tool/GOX/2.rules.gox", rule_xml("Texture a=1"), 6),
                 QString());
        const auto hour = [&](const char* path, const char* kind = "tEXTURE") {
            return FILES::hour(0).secsTo(cache->last_change(LOGICAL_PATH(path), kind)) / 3600.;
        };
        for (int i = 0; i < 2; ++i) {
            QCOMPARE(hour("<raw>/x"), 3.); // its rule ends the walk
            QCOMPARE(hour("<raw>/unit/deep/x"), 5.);
            QCOMPARE(hour("<raw>/unit/deep/x", "Sound"), 7.);
            QCOMPARE(hour("<working>/x"), 7.);
            cache->validate_cache(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>());
        }
        QVERIFY(RULE_CACHE_HOLDER()->last_change(LOGICAL_PATH("<raw>/x"), "Texture").isNull());
    }

    void names_the_origin()
    {
        RULE_CACHE_HOLDER cache;
        lay_out_rules(cache, "raw_data/rules.gox: Texture b=1\nraw_data/Unit/rules.gox: Texture+ a=1\n");
        const RULE rule = cache->get(LOGICAL_PATH("<raw>/unit/x"), "Texture");
        const CACHED_RULE* const unit = cache->rules.value("<raw>/unit*texture");
        QCOMPARE(rule.found, static_cast<const void*>(unit));
        QCOMPARE(static_cast<const CACHED_RULE*>(rule.values["a"].origin), unit);
        QCOMPARE(static_cast<const CACHED_RULE*>(rule.values["b"].origin),
                 cache->rules.value("<raw>*texture"));
        QCOMPARE(static_cast<const QString&>(unit->path), QString("<raw>/unit"));
        QVERIFY(unit->physical_path.right(14) == QString("/raw_data/Unit"));
        QCOMPARE(rule.value("A") + rule.value("c", "else"), QString("1else"));
    }

    void sees_edits_at_once()
    {
        RULE_CACHE_HOLDER cache;
        lay_out_rules(cache, "raw_data/rules.gox: Texture a=1\n");
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

    void tells_folders_without_files()
    {
        RULE_CACHE_HOLDER cache;
        lay_out_rules(cache, "raw_data/unit/rules.gox: Texture\nraw_data/unit/deep/rules.gox: Texture\n"
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
};

QTEST_GUILESS_MAIN(TST_RULE_CACHE)
#include "tst_rule_cache.moc"
