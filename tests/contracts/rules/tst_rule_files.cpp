#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtTest/QTest>

#include <algorithm>

#include "contracts/paths/paths.h"
#include "contracts/rules/rule_key.h"
#include "contracts/services/p4_connection.h"
#include "tests/contracts/rules/rule_cache_holder.h"
#include "tests/support/files.h"
#include "tests/support/full_disk.h"
#include "tests/support/rows.h"
#include "tests/support/watched_test.h"

static const char* const SIMPLE =
    "<rules><rule name='Texture'><property name='a'>1</property></rule></rules>";

using BROKEN_FILES = ROWS<QByteArray, QString>;         // text, error
using EDITS = ROWS<QByteArray, QString, QByteArray>;    // before, commands, after
using OBSTACLES = ROWS<QString, QString, QString>;      // file, error, what appears
using MOVES = ROWS<QString, QString, QString, QString>; // moves, obstacles, what save says, on disk
using UNREADABLE = ROWS<QString, QString, QString>;     // value, property, cause

class TST_RULE_FILES : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void init()
    {
        m_tree.reset(new TEMPORARY_TREE);
        m_cache.reset(new RULE_CACHE_HOLDER);
        QVERIFY(PATHS::initialise(m_tree->path("tool")));
    }

    void cleanup()
    {
        m_cache.reset();
        m_tree.reset();
    }

    void broken_files_change_nothing_data()
    {
        const BROKEN_FILES row;
        const QByteArray good = "<rules>\n<rule name='Good'/>\n";
        row("cut off", good + "<rule na", ":3:9: Premature end of document.");
        row("another file", "<configuration/>",
            ":1:17: the outermost element must be <rules>, not <configuration>");
        row("behind the end", "<rules/>\n<rules/>", ":2:9: Extra content at end of document.");
        row("UTF-16", QByteArray("<\0r\0", 4), ":1:1: the file must be in UTF-8");
        row("no name", good + "<rule inherit='true'/></rules>", ":3:23: <rule> needs a name");
        row("misspelt attribute", good + "<rule name='a' inherrit='true'/></rules>",
            ":3:33: <rule> has no attribute \"inherrit\"");
        row("inherit", good + "<rule name='a' inherit='yes'/></rules>",
            ":3:31: inherit must be true or false, not \"yes\"");
        row("files twice", good + "<rule name='a'><files>a</files><files/></rule></rules>",
            ":3:40: <files> stands twice in one rule");
        row("property twice",
            good + "<rule name='a'><property name='x'/>\n<property name='X'/></rule></rules>",
            ":4:21: the property \"X\" is set twice in one rule");
        row("no text", good + "<rule name='a'><property name='x'><b/></property></rule></rules>",
            ":3:39: <property> can hold text only, not <b>");
        row("later version", "<rules version='2'/>",
            ":1:21: version \"2\" is not known, 1 is the newest that can be read");
        QByteArray attributes = "<rule";
        for (int i = 0; i < 100000; ++i)
            attributes += " a" + QByteArray::number(i) + "=''";
        row("many attributes", good + attributes + "/></rules>",
            ":3:1: more than 1000 attributes in one element");
        row("many rules", "<rules>" + QByteArray("<rule name='a'/>").repeated(100001) + "</rules>",
            ":1:1600024: more than 100000 rules in one file");
    }
    void broken_files_change_nothing()
    {
        const auto [text, error] = BROKEN_FILES::values();
        m_tree->write("raw_data/rules.gox", SIMPLE);
        QCOMPARE(add("raw_data/rules.gox"), QString());
        m_tree->write("raw_data/unit/rules.gox", text);
        QCOMPARE(add("raw_data/unit/rules.gox"), "raw_data/unit/rules.gox" + error);
        QCOMPARE(m_cache->cache.rules.keys(), QStringList("<raw>*texture"));

        // Nothing to write: the broken file is no concern of a save.
        QCOMPARE(save(), QString());
        insert("<raw>/unit", "Texture", "2");
        QCOMPARE(save(), "raw_data/unit/rules.gox: not saved, because it could not be read: "
                         "raw_data/unit/rules.gox" +
                             error);
        QCOMPARE(m_tree->read("raw_data/unit/rules.gox"), text);
        m_tree->remove("raw_data/unit/rules.gox");
        QCOMPARE(save() + save(), QString());
        QCOMPARE(values("raw_data/unit"), QString("2"));
    }

    void passes_over_what_it_does_not_know()
    {
        m_tree->write("raw_data/rules.gox",
                      "<?xml version='1.0'?>\n<!-- <a b=' -->\n<rules version='1' "
                      "xmlns:x='y' x:z='1'><later><rule name='no'/></later>"
                      "<rule name=' Texture '><?note?><later a='1'>text<b/></later>"
                      "<property name='a'>\n <![CDATA[<1>]]> &amp; </property><property "
                      "name='b'> </property></rule></rules>");
        QCOMPARE(add("raw_data/rules.gox"), QString());
        QCOMPARE(m_cache->cache.rules.size(), 1);
        QCOMPARE(m_cache->answer("<raw>/x"), QString("a=<1> &"));
    }

    void refuses_files_outside_and_files_again()
    {
        m_tree->write("tool/rules.gox", SIMPLE);
        m_tree->write("raw_data/rules.gox", SIMPLE);
        QCOMPARE(add("tool/rules.gox"), QString("tool/rules.gox: the file lies outside the data roots"));
        QCOMPARE(add("raw_data/rules.gox"), QString());
        QCOMPARE(add("raw_data/RULES.gox"), QString("raw_data/RULES.gox: the file has been read already"));
        QCOMPARE(m_cache->add_global(*m_tree, "tool/GOX/none.rules.gox"),
                 QString("tool/GOX/none.rules.gox: can't be opened: No such file or directory"));
        QCOMPARE(add("raw_data/db/rules.gox"),
                 QString("raw_data/db/rules.gox: can't be opened: No such file or directory"));
        m_tree->make_folder("raw_data/unit/rules.gox");
        QCOMPARE(add("raw_data/unit/rules.gox"),
                 QString("raw_data/unit/rules.gox: can't be opened: it is not a file"));
        QCOMPARE(m_cache->cache.rules.size(), 1);
    }

    void edits_files_in_place_data()
    {
        const EDITS row;
        const QByteArray by_hand = "<?xml version='1.0'?>\r\n<!-- of <Ann> -->\r\n"
                                   "<rules xmlns:x='y' x:z='1'> <!-- old first -->\r\n"
                                   "\t<rule inherit='false' name='Texture'> <!-- a > b -->\r\n"
                                   "\t\t<property name=\"a\">\r\n 1 <!-- why -->\r\n</property>\r\n"
                                   "\t\t<later a='>'>text<b/></later>\r\n"
                                   "\t</rule> <!-- one -->\r\n"
                                   "\t<!-- two -->\r\n"
                                   "\t<rule name='Texture' />\r\n"
                                   "\t<rule name='Sound'/><?note?>\r\n"
                                   "</rules>\r\n";
        const auto changed = [&](const char* from, const char* to) {
            return QByteArray(by_hand).replace(from, to);
        };
        row("value", by_hand, "1.a=<2>", changed("\r\n 1 <!-- why -->\r\n", "&lt;2&gt;<!-- why -->"));
        row("inherit", by_hand, "1.inherit=1", changed("'false'", "'true'"));
        row("inherit, absent", by_hand, "2.inherit=1",
            changed("'Texture' />", "'Texture' inherit=\"true\" />"));
        row("value of another", by_hand, "2.b=x",
            changed("'Texture' />", "'Texture' >\r\n\t\t<property name=\"b\">x</property>\r\n\t</rule>"));
        row("value beside others", by_hand, "1.b=x 1.files=*.png",
            changed("</later>\r\n",
                    "</later>\r\n\t\t<files>*.png</files>\r\n\t\t<property name=\"b\">x</property>\r\n"));
        row("no value", by_hand,
            "1.a=", changed("\r\n\t\t<property name=\"a\">\r\n 1 <!-- why -->\r\n</property>", ""));
        row("removed", by_hand, "-2", changed("\r\n\t<rule name='Texture' />", ""));
        const char* const added = "\t<rule name=\"Texture\" inherit=\"false\">\r\n"
                                  "\t\t<property name=\"a\">new</property>\r\n\t</rule>\r\n";
        row("first", by_hand, "+1", changed("\t<rule inherit", added + QByteArray("\t<rule inherit")));
        row("between", by_hand, "+2", changed("\t<!-- two", added + QByteArray("\t<!-- two")));
        row("last", by_hand, "+3",
            changed("\t<rule name='Sound'", added + QByteArray("\t<rule name='Sound'")));
        row("removed and added", by_hand, "-2 +2",
            changed("\t<!-- two -->\r\n\t<rule name='Texture' />\r\n",
                    added + QByteArray("\t<!-- two -->\r\n")));
        row("another at the address of one that is gone", by_hand, "2!",
            changed("\t<!-- two -->\r\n\t<rule name='Texture' />\r\n",
                    added + QByteArray("\t<!-- two -->\r\n")));
        const char* const three = "<rules><rule name='Texture'><property name='a'>1</property></rule>"
                                  "<rule name='texture'/><rule name='Texture'><files/></rule></rules>";
        const QByteArray tail = "<rule name='texture'/><rule name='Texture'><files>*.png</files></rule>";
        row("one line", three, "3.files=*.png 1>2",
            "<rules><rule name='texture'/>\n"
            "    <rule name=\"Texture\" inherit=\"false\">\n"
            "        <property name=\"a\">1</property>\n    </rule>\n"
            "<rule name='Texture'><files>*.png</files></rule></rules>");
        row("none left", three, "-1 -1 -1", "<rules></rules>");
        row("first of all", "<x:rules xmlns:x='y'/>", "+1",
            "<x:rules xmlns:x='y'>\n    <rule name=\"Texture\" inherit=\"false\">\n"
            "        <property name=\"a\">new</property>\n    </rule>\n</x:rules>");
        row("no file", "", "+1 1.inherit=1 1.files=*.png,-x 1.a=2 1.B&\"=3 +2",
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<rules version=\"1\">\n"
            "    <rule name=\"Texture\" inherit=\"true\">\n"
            "        <files>*.png, -x</files>\n"
            "        <property name=\"B&amp;&quot;\">3</property>\n"
            "        <property name=\"a\">2</property>\n"
            "    </rule>\n"
            "    <rule name=\"Texture\" inherit=\"false\">\n"
            "        <property name=\"a\">new</property>\n"
            "    </rule>\n"
            "</rules>\n");
    }
    void edits_files_in_place()
    {
        const auto [before, commands, after] = EDITS::values();
        const QString file = "raw_data/rules.gox";
        if (!before.isEmpty()) {
            m_tree->write(file, before);
            QCOMPARE(add(file), QString());
        }
        edit(commands);
        QCOMPARE(save(), QString());
        QCOMPARE(m_tree->read(file), after);
        m_tree->remove(file);
        QCOMPARE(save(), QString()); // written and remembered: nothing has changed since
        QVERIFY(!m_tree->exists(file));
        // What was written last is what is edited next.
        m_tree->write(file, after);
        const QString all = values("raw_data");
        for (const char* next : {"+1", "1.a=3", "-1"}) {
            edit(next);
            QCOMPARE(save(), QString());
        }
        QCOMPARE(values("raw_data"), all);
    }

    void leaves_unchanged_files_alone()
    {
        // In an order and with spaces that GOX would not use.
        const QByteArray by_hand = "<rules> <rule name='Texture'><property name='a'> 1 </property></rule>"
                                   "<rule name='Sound'/><!-- note --><rule name='Texture'/></rules>";
        const QStringList global{"tool/GOX/one.rules.gox", "tool/GOX/two.rules.gox"};
        const QString unit = "raw_data/unit/rules.gox";
        m_tree->write(unit, by_hand, FILES::hour(1));
        QCOMPARE(add(unit), QString());
        for (const QString& file : global) {
            m_tree->write(file, SIMPLE);
            QCOMPARE(m_cache->add_global(*m_tree, file), QString());
        }
        m_cache->cache.rules.values("<>*texture").last()->properties["a"] = QString("changed");
        QCOMPARE(save(), QString());
        QVERIFY(m_tree->read(global.first()).contains(">changed<"));
        QCOMPARE(m_tree->read(global.last()), QByteArray(SIMPLE));
        QCOMPARE(m_tree->read(unit), by_hand);
        QCOMPARE(QFileInfo(m_tree->path(unit)).lastModified(), FILES::hour(1));
    }

    void writes_rules_to_their_folder()
    {
        for (const char* value : {"1", "2"}) {
            insert("<working>/new folder", "Texture", value);
            QCOMPARE(save(), QString());
        }
        QCOMPARE(values("working_data/new folder"), QString("1 2"));
        CACHED_RULE* const rule = insert("<elsewhere>", "Texture", "3");
        QCOMPARE(save(), QString("<elsewhere>: the rule \"Texture\" belongs to no folder on disk"));

        // Moved; and where only the companion has rules, with them in front of it.
        m_tree->write("old_raw_data/unit/rules.gox", SIMPLE);
        m_tree->make_folder("raw_data/unit");
        QVERIFY(PATHS::initialise(m_tree->path("tool")));
        QCOMPARE(add("old_raw_data/unit/rules.gox"), QString());
        m_cache->cache.rules.remove("<elsewhere>*texture");
        for (const char* folder : {"<raw>/unit", "<raw>/b"}) {
            m_cache->cache.rules.remove(rule_key(rule->path, rule->name), rule);
            rule->path = LOGICAL_PATH(QString(folder));
            rule->physical_path = PATHS::physical_path(rule->path);
            m_cache->cache.rules.insert(rule_key(rule->path, rule->name), rule);
            QCOMPARE(save(), QString());
            QCOMPARE(values("raw_data/unit"), QString(folder[6] == 'u' ? "1 3" : "1"));
            QCOMPARE(m_tree->read("old_raw_data/unit/rules.gox"), QByteArray(SIMPLE));
        }
        QCOMPARE(values("raw_data/b"), QString("3"));

        // A folder that is gone does not come back for rules that are gone too.
        m_tree->remove("raw_data/b");
        m_cache->cache.rules.remove("<raw>/b*texture");
        QCOMPARE(save(), QString());
        QVERIFY(!m_tree->exists("raw_data/b"));
        delete rule;
    }

    void refuses_to_overwrite_data()
    {
        const OBSTACLES row;
        const QString known = "raw_data/rules.gox";
        const QString fresh = "raw_data/unit/rules.gox";
        const QString there = "not saved, a file that has not been read is there already";
        row("changed on disk", known, "not saved, it has changed on disk since it was read", known);
        row("appeared", fresh, there, fresh);
#ifdef Q_OS_UNIX
        row("appeared, spelled otherwise", fresh, there, "raw_data/unit/Rules.GOX");
#endif
        row("folder in its place", fresh, there, fresh + "/x");
        row("read-only", known, "not saved, it is read-only", "");
        row("its folder is a file", fresh, "not saved, its folder can't be made", "raw_data/unit");
#ifdef Q_OS_UNIX
        row("no space left", fresh, "not saved, can't be written: ", "");
#endif
    }
    void refuses_to_overwrite()
    {
        const auto [file, error, appearing] = OBSTACLES::values();
        m_tree->write("raw_data/rules.gox", SIMPLE);
        QCOMPARE(add("raw_data/rules.gox"), QString());
        const bool is_known = file == "raw_data/rules.gox";
        insert(is_known ? "<raw>" : "<raw>/unit", "Texture", "2");
        const bool is_full = error.endsWith("written: ");
        if (is_full)
            m_cache->cache.rules.value("<raw>/unit*texture")->set_file_filters(QString(100000, 'x'));
        m_tree->write("tool/GOX/x.rules.gox", SIMPLE);
        QCOMPARE(m_cache->add_global(*m_tree, "tool/GOX/x.rules.gox"), QString());
        m_cache->cache.rules.value("<>*texture")->properties["a"] = QString("3");
        if (!appearing.isEmpty())
            m_tree->write(appearing, "<rules/>");
        else if (is_known)
            m_tree->set_permissions(file, 0444);
        const QString found = QFileInfo(m_tree->path(file)).isDir() ? appearing : file;
        const QByteArray before = m_tree->read(found);
        QStringList told;
        {
            const FULL_DISK disk(is_full);
            told = save().split('\n');
        }
        QVERIFY2(told.first().startsWith(file + ": " + error), qPrintable(told.first()));
        QCOMPARE(told.mid(1), QStringList("tool/GOX/x.rules.gox: saved")); // the others are, all the same
        QVERIFY(m_tree->read("tool/GOX/x.rules.gox").contains(">3<"));
        QCOMPARE(m_tree->read(found), before);
        // Once the obstacle is gone, saving again does it.
        if (!is_known) {
            m_tree->remove("raw_data/unit");
            QCOMPARE(save(), QString());
            QCOMPARE(values("raw_data/unit"), QString("2"));
        }
    }

    // The folders a, b and c have the textures 1 2, 3 and 4, and d a broken file. A
    // move such as "1>b" cuts and pastes; the files named then are read-only.
    void moves_without_loss_data()
    {
        const MOVES row;
        const QString read_only = ": not saved, it is read-only";
        const QString because = " because %1 could not be saved: it is read-only";
        const QString held = ": not written," + because;
        const QString kept = ": saved, and still holds the rules that have left it," + because;
        row("one", "1>b", "", "", "a: 2; b: 3 1; c: 4");
        row("its target fails, others don't", "1>b 4>e", "b",
            "a" + held.arg('b') + "|b" + read_only + "|c: saved|e: saved", "a: 1 2; b: 3; c: ; e: 4");
        row("edited where it is now", "1>b=9", "b", "a" + held.arg('b') + "|b" + read_only,
            "a: 1 2; b: 3; c: 4");
        row("removed elsewhere", "1>b 4>", "b", "a" + held.arg('b') + "|b" + read_only + "|c: saved",
            "a: 1 2; b: 3; c: ");
        row("one waits for the other", "1>b 3>c", "c",
            "a" + held.arg('c') + "|b" + held.arg('c') + "|c" + read_only, "a: 1 2; b: 3; c: 4");
        row("swapped", "1>b 3>a", "", "", "a: 2 3; b: 1; c: 4");
        row("swapped, the first fails", "1>b 3>a", "a", "a" + read_only + "|b" + held.arg('a'),
            "a: 1 2; b: 3; c: 4");
        row("swapped, the second fails", "1>b 3>a", "b", "a" + kept.arg('b') + "|b" + read_only,
            "a: 1 2 3; b: 3; c: 4");
        row("in a ring", "1>b 3>c 4>a", "c", "a" + kept.arg('c') + "|b" + held.arg('c') + "|c" + read_only,
            "a: 1 2 4; b: 3; c: 4");
        row("into a broken file", "1>d", "",
            "a: not written, because d could not be saved: because it could not be read: d:1:8: Premature "
            "end of document.|d: not saved, because it could not be read: d:1:8: Premature end of document.",
            "a: 1 2; b: 3; c: 4");
        const QString nowhere = "the rule \"Texture\" belongs to no folder on disk";
        row("to no folder", "1>nowhere", "",
            "<raw2>/nowhere: " + nowhere +
                "|a: not written, because <raw2>/nowhere could not be saved: " + nowhere,
            "a: 1 2; b: 3; c: 4");
    }
    void moves_without_loss()
    {
        const auto [moves, blocked, told, on_disk] = MOVES::values();
        const auto file = [](const QString& folder) { return "raw_data/" + folder + "/rules.gox"; };
        auto& rules = m_cache->cache.rules;
        for (const QString content : {"a12", "b3", "c4"}) {
            QByteArray text = "<rules>";
            for (const QChar value : content.mid(1))
                text += QByteArray(SIMPLE).mid(7).replace("</rules>", "").replace('1', value.toLatin1());
            m_tree->write(file(content.left(1)), text + "</rules>");
            QCOMPARE(add(file(content.left(1))), QString());
        }
        m_tree->write(file("d"), "<rules>");
        QVERIFY(!add(file("d")).isEmpty());

        for (const QString& move : moves.split(' ')) {
            const auto rule = std::find_if(rules.begin(), rules.end(), [&](const CACHED_RULE* known) {
                return known->property("a") == move.left(1);
            });
            const QScopedPointer<CACHED_RULE> cut(*rule);
            rules.erase(rule);
            const QString target = move.section('>', 1).section('=', 0, 0);
            if (target.isEmpty())
                continue;
            CACHED_RULE* const pasted = new CACHED_RULE(*cut);
            pasted->path = LOGICAL_PATH((target == "nowhere" ? "<raw2>/" : "<raw>/") + target);
            pasted->physical_path = PATHS::physical_path(pasted->path);
            pasted->set_property("A", move.section('=', 1) + (move.contains('=') ? "" : move.left(1)));
            rules.insert(rule_key(pasted->path, pasted->name), pasted);
        }
        for (const QChar folder : blocked)
            m_tree->set_permissions(file(folder), 0444);
        QString error = save().replace(QRegularExpression("raw_data/(.)/rules.gox"), "\\1");
        QCOMPARE(error.replace('\n', '|'), told);
        QCOMPARE(all_values(), on_disk);

        for (const QChar folder : blocked)
            m_tree->set_permissions(file(folder), 0644);
        m_tree->remove(file("d"));
        QCOMPARE(save().isEmpty(), !moves.contains("nowhere"));
        for (const QChar folder : QString("abcde")) {
            QString expected;
            for (const CACHED_RULE* rule : rules.values(QString("<raw>/%1*texture").arg(folder)))
                expected.prepend(rule->property("a") + ' ');
            if (m_tree->exists(file(folder)) && !moves.contains("nowhere"))
                QCOMPARE(values(file(folder).section('/', 0, 1)), expected.trimmed());
        }
    }

    void refuses_what_could_not_be_read_again_data()
    {
        const UNREADABLE row;
        const QString bad =
            "the rule \"Texture\" holds characters that can't stand in a rule file, in its property ";
        row("control character", QString("a\1b"), "x", bad + "\"x\"");
        row("half a character", QString(QChar(0xd83c)), "x", bad + "\"x\"");
        row("in its name", "1", QString("a\1b"), bad + "\"a\1b\"");
        row("twice", "1", "A", "the rule \"Texture\" has a property twice");
    }
    void refuses_what_could_not_be_read_again()
    {
        const auto [value, property, cause] = UNREADABLE::values();
        m_tree->write("raw_data/rules.gox", SIMPLE);
        QCOMPARE(add("raw_data/rules.gox"), QString());
        m_cache->cache.rules.value("<raw>*texture")->properties.insert(property, value);
        QCOMPARE(save(), "raw_data/rules.gox: not saved, " + cause);
        QCOMPARE(m_tree->read("raw_data/rules.gox"), QByteArray(SIMPLE));
    }

private:
    QString add(const QString& file)
    {
        return m_cache->add(*m_tree, file);
    }

    // As the rule editor does it.
    CACHED_RULE* insert(const char* path, const char* name, const char* value)
    {
        CACHED_RULE* const rule = new CACHED_RULE;
        rule->path = LOGICAL_PATH(path);
        rule->physical_path = PATHS::physical_path(rule->path);
        rule->name = name;
        rule->properties.insert("a", QString(value));
        m_cache->cache.rules.insert(rule_key(rule->path, rule->name), rule);
        return rule;
    }

    // Each word is an edit of the textures of <raw>: "2.a=x" sets a property of the
    // second, "2.files=*.png" its filters, "2.inherit=1"; "-2" removes it, "+2"
    // inserts a new one there, "2>1" takes it from one place to another.
    void edit(const QString& commands)
    {
        const QString key = "<raw>*texture";
        for (const QString& command : commands.split(' ')) {
            QList<CACHED_RULE*> rules = m_cache->cache.rules.values(key);
            std::reverse(rules.begin(), rules.end());
            const QString value = command.section('=', 1);
            const QString target = command.section('=', 0, 0).section('.', 1);
            const int place =
                command.section('.', 0, 0).section('>', 0, 0).remove(QRegularExpression("[-+!]")).toInt() - 1;
            if (command.endsWith('!')) {
                const CACHED_RULE again = *rules[place];
                rules[place]->~CACHED_RULE();
                *new (rules[place]) CACHED_RULE = again;
                rules[place]->properties["a"] = "new";
            } else if (command.startsWith('-')) {
                delete rules.takeAt(place);
            } else if (command.startsWith('+')) {
                rules.insert(place, insert("<raw>", "Texture", "new"));
            } else if (command.section('=', 0, 0).contains('>')) {
                rules.move(place, command.section('>', 1).toInt() - 1);
            } else if (target == "files") {
                rules[place]->set_file_filters(value);
            } else if (target == "inherit") {
                rules[place]->inherit_properties = value == "1";
            } else if (value.isEmpty()) {
                rules[place]->properties.remove(target);
            } else {
                rules[place]->properties[target] = value;
            }
            m_cache->cache.rules.remove(key);
            for (CACHED_RULE* const rule : qAsConst(rules))
                m_cache->cache.rules.insert(key, rule);
        }
    }

    QString save()
    {
        P4_CONNECTION p4(false, true, false);
        return m_cache->cache.save(p4).remove(m_tree->path() + '/');
    }

    // The values of "a" of the folder's textures after a reload, oldest first.
    QString values(const QString& folder)
    {
        RULE_CACHE_HOLDER again;
        const QString error = again.add(*m_tree, folder + "/rules.gox");
        QString text = error;
        for (const CACHED_RULE* rule : qAsConst(again.cache.rules))
            text.prepend(rule->property("a") + " ");
        return text.trimmed();
    }

    // Of all folders but the broken one.
    QString all_values()
    {
        QStringList parts;
        for (const QString folder : {"a", "b", "c", "e"})
            if (m_tree->exists("raw_data/" + folder + "/rules.gox"))
                parts.append(folder + ": " + values("raw_data/" + folder));
        return parts.join("; ");
    }

    QScopedPointer<TEMPORARY_TREE> m_tree;
    QScopedPointer<RULE_CACHE_HOLDER> m_cache;
};

QTEST_GUILESS_MAIN(TST_RULE_FILES)
#include "tst_rule_files.moc"
