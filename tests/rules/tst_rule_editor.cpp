#include <QtCore/QRandomGenerator>
#include <QtGui/QHelpEvent>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QMessageBox>

#include "session/file_entry.h"
#include "tests/rules/rule_editor_scene.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/tool_tip.h"
#include "tests/support/watched_test.h"

class TST_RULE_EDITOR : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void closing_asks(); // first: a notice comes once in a process
    void builds_the_tree();
    void keeps_rules_without_a_place();
    void offers_actions_by_row();
    void is_driven_by_keys();
    void is_driven_by_the_mouse();
    void takes_values_as_they_are();
    void knows_a_property_in_any_spelling();
    void pastes_where_it_stands();
    void shows_folders_with_rules();
    void selects_a_rule();
    void goes_back_and_forth();
};

static QByteArray rule(const QByteArray& kind, const QByteArray& size = QByteArray())
{
    return "<rule name='" + kind + "'><property name='Max size'>" + size + "</property></rule>";
}

static QByteArray rules(const QByteArray& inner)
{
    return "<rules>" + inner + "</rules>";
}

static void answer(DIALOG_ANSWERS& answers, QMessageBox::StandardButton button)
{
    answers.answer_with([button](QDialog* dialog) {
        QTest::mouseClick(qobject_cast<QMessageBox*>(dialog)->button(button), Qt::LeftButton);
    });
}

void TST_RULE_EDITOR::closing_asks()
{
    const QString ask = "There are unsaved changes.\nDo you want to save now?";
    RULE_EDITOR_SCENE scene;
    scene.add_files({"raw_data/a.png"});
    scene.open();
    DIALOG_ANSWERS answers;
    scene.key(Qt::Key_Escape); // nothing to ask
    QVERIFY(!scene.dialog->isVisible());
    QCOMPARE(answers.texts, QStringList());

    scene.dialog->show();
    scene.select("raw");
    scene.choose("Add", "Texture");
    QVERIFY(scene.cache->rules_changed);
    answer(answers, QMessageBox::No);
    answer(answers, QMessageBox::Ok);
    scene.key(Qt::Key_Escape);
    const QString notice =
        "Some rules have been changed. You need to restart GOX if you want to process data.";
    QCOMPARE(answers.texts, QStringList({ask, notice}));
    QVERIFY(!scene.dialog->isVisible());
    QVERIFY(!scene.tree.exists("raw_data/rules.gox"));

    // What is still being typed counts; what can't be saved is asked about again.
    scene.dialog->show();
    scene.select("raw/Texture/Format", 1);
    QTest::keyClicks(scene.editor(), "PNG <1>");
    scene.tree.write("raw_data/rules.gox", rules("appeared"));
    for (int i = 0; i < 2; ++i) {
        answer(answers, QMessageBox::Yes);
        answer(answers, QMessageBox::Ok);
        scene.dialog->show();
        scene.dialog->close();
        if (i == 0)
            scene.tree.remove("raw_data/rules.gox");
    }
    QVERIFY(answers.texts[3].endsWith(": not saved, a file that has not been read is there already"));
    QCOMPARE(answers.texts.mid(4), QStringList({ask, "Rules have been saved."}));
    QVERIFY(scene.tree.read("raw_data/rules.gox").contains(">PNG &lt;1&gt;<"));
    scene.dialog->show();
    scene.dialog->close();
    QCOMPARE(answers.unexpected + answers.waiting(), 0);
}

void TST_RULE_EDITOR::builds_the_tree()
{
    RULE_EDITOR_SCENE scene;
    scene.add_files({"raw_data/Unit/Deep/a.png", "raw_data/Unit/b.png", "raw_data/World/Deep/c.png",
                     "working_data/x.bin", "retail_build/y.bin"});
    scene.add_files({"raw_data/Unit/rules.gox"},
                    rules(rule("Texture", "1") + rule("Sound") + rule("Texture", "2") + rule("unknown")));
    scene.add_files({"raw_data/Empty/New/rules.gox"}, rules("<rule name='Sound' inherit='true'/>"));
    scene.open();
    QCOMPARE(scene.shown(), QString("(working)|raw"
                                    "| Unit|  Texture -|   (<Files>)|   (Format)|   Max size = 1"
                                    "|  Texture -|   (<Files>)|   (Format)|   Max size = 2"
                                    "|  Sound -|   (<Files>)|   (Rate)|  (Deep)| (World)|  (Deep)"
                                    "| Empty|  New|   Sound +|    (<Files>)|    (Rate)"));
    QCOMPARE(scene.row("raw/Unit/Texture")->toolTip(0), QString("Pictures <b>of</b> all kinds"));
    QVERIFY(scene.row("raw/Unit/Texture")->font(0).bold());
    QCOMPARE(scene.row("raw/Unit/Texture/Max size")->toolTip(0), QString("in pixels"));
    QVERIFY(
        scene.row("raw/Unit/Texture/<Files>")->toolTip(0).startsWith("If filled then the rule is limited"));
}

void TST_RULE_EDITOR::keeps_rules_without_a_place()
{
    RULE_EDITOR_SCENE scene;
    scene.add_files({"raw_data/a.png"});
    const QByteArray text = rules(rule("Texture", "1") + rule("Texture", "2"));
    scene.add_files({"working_data/gone/rules.gox"}, text);
    scene.tree.write("tool/GOX/x.rules.gox", text);
    QCOMPARE(scene.cache.add_global(scene.tree, "tool/GOX/x.rules.gox"), QString());
    DIALOG_ANSWERS answers;
    answer(answers, QMessageBox::Ok);
    answer(answers, QMessageBox::Ok);
    scene.open();
    const QString illegal = "Illegal rule path: <working>/gone";
    QCOMPARE(answers.texts, QStringList({illegal, illegal}));
    QCOMPARE(scene.shown(), QString("(raw)"));
    QCOMPARE(scene.cache->rules.size(), 4);
    scene.cache->rules.value("<working>/gone*texture")->properties.clear();
    QCOMPARE(scene.cache->save(scene.p4), QString());
    QVERIFY(scene.tree.read("working_data/gone/rules.gox") != text);
}

void TST_RULE_EDITOR::offers_actions_by_row()
{
    RULE_EDITOR_SCENE scene;
    scene.add_files({"raw_data/a.png", "raw_data/rules.gox"}, rules(rule("Texture") + rule("Sound")));
    scene.open();
    const QString history = "Undo, Redo";
    const QString on_rule = "Add above, Add below, Delete, Cut, Copy, " + history;
    const auto menu_of = [&](const QString& path) {
        scene.select(path);
        return scene.menu();
    };
    QCOMPARE(scene.menu(), history);
    QCOMPARE(menu_of("raw"), "Add, " + history);
    QCOMPARE(menu_of("raw/Texture/Format"), history);
    QCOMPARE(menu_of("raw/Texture"), on_rule);
    scene.control('c');
    const QString with_paste = QString(on_rule).replace(" Undo", " Paste above, Paste below, Undo");
    QCOMPARE(scene.menu(), with_paste);
    QCOMPARE(menu_of("raw/Sound"), on_rule);
    QCOMPARE(menu_of("raw"), "Add, Paste, " + history);
    QVERIFY(!scene.cache->rules_changed);
    for (QAction* action : scene.rows()->actions())
        if (action->menu() && action->isVisible())
            QCOMPARE(action->menu()->actions().value(1)->text(), QString("Texture"));
}

void TST_RULE_EDITOR::is_driven_by_keys()
{
    RULE_EDITOR_SCENE scene;
    scene.add_files({"raw_data/a.png", "raw_data/rules.gox"}, rules(rule("Texture", "1")));
    scene.open();
    CACHED_RULE* const texture = scene.cache->rules.first();
    const auto values = [&] { return RULE_EDITOR_SCENE::values(*texture); };
    for (int key : {Qt::Key_Right, Qt::Key_Down, Qt::Key_Space, Qt::Key_Right, Qt::Key_Down})
        scene.key(key);
    QCOMPARE(values(), QString("+[] Max size=1"));
    QCOMPARE(scene.rows()->currentItem()->text(0), QString("<Files>"));
    QVERIFY(!scene.editor());

    for (int start : {Qt::Key_F2, Qt::Key_Return, Qt::Key_Space}) {
        scene.key(start);
        QCOMPARE(QApplication::focusWidget(), scene.editor());
        QTest::keyClicks(scene.editor(), " *.png,-a* ");
        scene.key(Qt::Key_Return);
        QTRY_COMPARE(QApplication::focusWidget(), scene.rows());
        QCOMPARE(values(), QString("+[*.png, -a*] Max size=1"));
        QCOMPARE(scene.editor()->text(), QString("*.png,-a*"));
        QCOMPARE(scene.row("raw/Texture/<Files>")->foreground(0), QBrush(Qt::black));
        scene.control('z');
        QCOMPARE(values(), QString("+[] Max size=1"));
        QCOMPARE(scene.row("raw/Texture/<Files>")->foreground(0), QBrush(Qt::gray));
    }
    // From value to value; what was typed stays, Escape drops it.
    scene.key(Qt::Key_F2);
    scene.key(Qt::Key_Down);
    QTest::keyClicks(QApplication::focusWidget(), "PNG");
    scene.key(Qt::Key_Tab);
    QTest::keyClicks(QApplication::focusWidget(), "2");
    scene.key(Qt::Key_Up);
    QCOMPARE(values(), QString("+[] Format=PNG Max size=2"));
    QTest::keyClicks(QApplication::focusWidget(), "x");
    scene.key(Qt::Key_Escape);
    QCOMPARE(QApplication::focusWidget(), scene.rows());
    QCOMPARE(scene.editor()->text(), QString("PNG"));
    // In an editor in which nothing was typed, undo is that of the dialog.
    scene.key(Qt::Key_F2);
    QTest::keyClicks(scene.editor(), "yz");
    QTest::keyClick(scene.editor(), 'z', Qt::ControlModifier);
    QCOMPARE(values(), QString("+[] Format=PNG Max size=2"));
    while (scene.editor() && scene.editor()->isUndoAvailable())
        scene.editor()->undo();
    QTest::keyClick(scene.editor(), 'z', Qt::ControlModifier);
    QCOMPARE(values(), QString("+[] Format=PNG Max size=1"));
    QCOMPARE(scene.rows()->currentItem()->text(0), QString("Max size"));
    scene.control('y');
    QCOMPARE(values(), QString("+[] Format=PNG Max size=2"));
    for (int i = 0; i < 9; ++i)
        scene.control('z');
    QCOMPARE(values(), QString("-[] Max size=1"));
    scene.select("raw/Texture");
    scene.key(Qt::Key_Delete);
    QVERIFY(scene.cache->rules.isEmpty());
    QCOMPARE(scene.shown(), QString("raw")); // and nothing turns it gray again
}

void TST_RULE_EDITOR::is_driven_by_the_mouse()
{
    RULE_EDITOR_SCENE scene;
    scene.add_files({"raw_data/a.png", "raw_data/rules.gox"}, rules(rule("Texture", "1")));
    scene.open();
    scene.rows()->expandAll();
    const auto click = [&](const QString& path, int x) {
        QRect cell = scene.rows()->visualItemRect(scene.row(path));
        cell.setLeft(scene.rows()->columnViewportPosition(1));
        QTest::mouseClick(scene.rows()->viewport(), Qt::LeftButton, {}, {cell.left() + x, cell.center().y()});
    };
    click("raw/Texture", 10); // on the box
    click("raw/Texture/Max size", 40);
    QTest::keyClicks(QApplication::focusWidget(), "23");
    click("raw/Texture/Format", 40);
    QTest::keyClicks(QApplication::focusWidget(), "x");
    scene.dialog->findChild<QAbstractButton*>("checkBox")->setFocus();
    QCOMPARE(RULE_EDITOR_SCENE::values(*scene.cache->rules.first()), QString("+[] Format=x Max size=23"));
    QCOMPARE(tool_tip_at(scene.rows()->viewport(),
                         scene.rows()->visualItemRect(scene.row("raw/Texture")).topLeft()),
             QString("Pictures <b>of</b> all kinds"));
}

void TST_RULE_EDITOR::takes_values_as_they_are()
{
    for (const QString& value :
         {QString("<b>bold</b> & <img src='x'>"), QString("one\ntwo\r\n\tthree"), QString(50000, 'x')}) {
        RULE_EDITOR_SCENE scene;
        scene.add_files({"raw_data/a.png", "raw_data/rules.gox"}, rules(rule("Texture", "1")));
        QVariant& property = scene.cache->rules.first()->properties["Max size"];
        property = value;
        scene.open();
        scene.select("raw/Texture/Max size", 1);
        scene.key(Qt::Key_Return);
        scene.key(Qt::Key_F2);
        scene.key(Qt::Key_Escape);
        scene.select("raw/Texture/Format", 1); // looking at a value does not change it
        QCOMPARE(property.toString(), value);
        QVERIFY(!scene.cache->rules_changed);
        scene.select("raw/Texture/Max size", 1);
        QTest::keyClick(scene.editor(), Qt::Key_End);
        QTest::keyClick(scene.editor(), 'y');
        scene.key(Qt::Key_Up);
        QCOMPARE(scene.cache->save(scene.p4), QString());
        RULE_CACHE_HOLDER again;
        QCOMPARE(again.add(scene.tree, "raw_data/rules.gox"), QString());
        QCOMPARE(again->rules.first()->properties["Max size"].toString(), value + 'y');
    }
}

// The schema's table need not be keyed by name, and may come after the rules.
void TST_RULE_EDITOR::knows_a_property_in_any_spelling()
{
    RULE_SCHEMA late;
    late.name = "Late";
    late.properties.insert("1", {"Bit RATE", ""});
    for (bool is_late : {false, true}) {
        RULE_EDITOR_SCENE scene;
        if (!is_late)
            RULE_SCHEMA::s_schemas.insert("late", &late);
        const QByteArray text = rules(
            "<rule name='Late'><property name='bit rate'>8</property><property name='x'>y</property></rule>");
        scene.add_files({"raw_data/a.png", "raw_data/rules.gox"}, text);
        QCOMPARE(scene.cache->rules.first()->properties.firstKey(),
                 QString(is_late ? "bit rate" : "Bit RATE"));
        RULE_SCHEMA::s_schemas.insert("late", &late);
        QCOMPARE(RULE_SCHEMA::register_schema("late", "", {{"BIT rate", ""}})->properties.size(), 1);
        scene.open();
        QCOMPARE(scene.shown(), QString("raw| Late -|  (<Files>)|  Bit RATE = 8"));
        scene.row("raw/Late/Bit RATE")->setText(1, "9");
        QCOMPARE(RULE_EDITOR_SCENE::values(*scene.cache->rules.first()), QString("-[] Bit RATE=9 x=y"));
        QCOMPARE(scene.cache.answer("<raw>/a.png", "Late"), QString("bit rate=9 x=y"));
        scene.choose("Undo");
        scene.tree.set_permissions("raw_data/rules.gox", 0444);
        QCOMPARE(scene.cache->save(scene.p4), QString()); // nothing to write
        scene.tree.set_permissions("raw_data/rules.gox", 0644);
        scene.choose("Redo");
        QCOMPARE(scene.cache->save(scene.p4), QString());
        QCOMPARE(scene.tree.read("raw_data/rules.gox"), QByteArray(text).replace('8', '9'));
        RULE_SCHEMA::s_schemas.remove("late");
    }
}

void TST_RULE_EDITOR::pastes_where_it_stands()
{
    RULE_EDITOR_SCENE scene;
    scene.add_files({"raw_data/Unit/a.png", "raw_data/Other Place/b.png"});
    scene.add_files({"raw_data/Unit/rules.gox"},
                    rules(rule("Texture", "1") + rule("Sound") + rule("Texture", "3")));
    scene.open();
    const auto order = [&](const RULE_CACHE& cache, const QString& key) {
        QString text;
        for (const CACHED_RULE* rule : cache.rules.values(key))
            text.prepend(rule->properties.value("Max size", "new").toString() + ' ');
        return text.trimmed();
    };
    const QString unit = "<raw>/unit*texture";
    scene.select("raw/Unit/Texture 2");
    scene.choose("Copy");
    scene.select("raw/Unit/Texture 1");
    scene.choose("Paste above");
    scene.select("raw/Unit/Texture 2");
    scene.choose("Add below", "Texture");
    scene.select("raw/Unit");
    scene.choose("Add", "Texture");
    QCOMPARE(order(scene.cache.cache, unit), QString("3 1 new 3 new"));
    scene.select("raw/Unit/Texture 2");
    scene.control('x');
    scene.select("raw/Other Place");
    scene.control('v');
    const CACHED_RULE* const pasted = scene.cache->rules.value("<raw>/other place*texture");
    QVERIFY(pasted);
    QCOMPARE(static_cast<const QString&>(pasted->physical_path), scene.tree.path("raw_data/Other Place"));
    QCOMPARE(order(scene.cache.cache, unit), QString("3 new 3 new"));
    for (int i = 0; i < 5; ++i)
        scene.control('z');
    QCOMPARE(order(scene.cache.cache, unit), QString("1 3"));
    for (int i = 0; i < 5; ++i)
        scene.control('y');

    DIALOG_ANSWERS answers;
    answer(answers, QMessageBox::Ok);
    QTest::mouseClick(scene.dialog->findChild<QAbstractButton*>("save_button"), Qt::LeftButton);
    QCOMPARE(answers.texts, QStringList("Rules have been saved."));
    RULE_CACHE_HOLDER again;
    for (const char* folder : {"Unit", "Other Place"})
        QCOMPARE(again.add(scene.tree, QString("raw_data/%1/rules.gox").arg(folder)), QString());
    QCOMPARE(order(again.cache, unit), QString("3 new 3 new"));
    QCOMPARE(order(again.cache, "<raw>/other place*texture"), QString("1"));
}

void TST_RULE_EDITOR::shows_folders_with_rules()
{
    RULE_EDITOR_SCENE scene;
    scene.add_files({"raw_data/a/b/x.png", "raw_data/c/y.png", "working_data/z.bin"});
    scene.add_files({"raw_data/a/rules.gox"}, rules("<rule name='Sound'/>"));
    scene.open();
    for (const char* folder : {"raw/c", "working"}) {
        scene.select(folder);
        scene.choose("Add", "Sound");
    }
    scene.choose("Undo");
    scene.choose("Undo");
    QTest::mouseClick(scene.dialog->findChild<QAbstractButton*>("checkBox"), Qt::LeftButton, {}, {5, 5});
    const QString only_rules = "raw| a|  Sound -|   (<Files>)|   (Rate)";
    QCOMPARE(scene.shown(), only_rules);
    scene.choose("Redo");
    scene.choose("Redo");
    QCOMPARE(scene.shown(), only_rules + "| c|  Sound -|   (<Files>)|   (Rate)");
    QVERIFY(scene.row("working")->isHidden()); // a top row is not brought back
    scene.dialog->findChild<QAbstractButton*>("checkBox")->setFocus();
    scene.key(Qt::Key_Space);
    QVERIFY(scene.shown().contains("(b)"));
}

void TST_RULE_EDITOR::selects_a_rule()
{
    RULE_EDITOR_SCENE scene;
    scene.add_files({"raw_data/One/a.png", "raw_data/Two/b.png"});
    scene.add_files({"raw_data/One/rules.gox"}, rules(rule("Texture", "1")));
    scene.add_files({"raw_data/Two/rules.gox"}, rules(rule("Texture", "1") + rule("Texture", "2")));
    scene.open();
    scene.row("raw/Two")->setHidden(true);
    scene.select("raw");
    scene.dialog->select_rule(nullptr, "Format");
    scene.dialog->select_rule(scene.cache->rules.value("<raw>/one*texture"), "Format");
    QCOMPARE(scene.rows()->currentItem(), scene.row("raw")); // nothing but the rule itself is there
    const CACHED_RULE* const oldest = scene.cache->rules.values("<raw>/two*texture").last();
    scene.dialog->select_rule(oldest, "Format"); // passes over the rule itself
    QCOMPARE(scene.rows()->currentItem(), scene.row("raw/Two/Texture 2/Format"));
    QVERIFY(!scene.row("raw/Two")->isHidden());
    scene.dialog->select_rule(oldest, "Rate");
    QCOMPARE(scene.rows()->currentItem(), scene.row("raw/Two/Texture 2"));
}

// One edit by chance on a row by chance, as far as the menu offers one there.
static void edit_somewhere(const RULE_EDITOR_SCENE& scene, QRandomGenerator& random)
{
    const QList<QTreeWidgetItem*> rows =
        scene.rows()->findItems(QString(), Qt::MatchContains | Qt::MatchRecursive);
    QTreeWidgetItem* const row = rows.at(random.bounded(rows.size()));
    scene.rows()->setCurrentItem(row);
    QStringList entries = scene.menu().split(", ");
    entries.removeAll("Undo");
    entries.removeAll("Redo");
    if (entries.isEmpty())
        row->setText(1, random.bounded(3) ? QString::number(random.bounded(1000)) : QString());
    else if (entries.contains("Cut") && random.bounded(4) == 0)
        scene.key(Qt::Key_Space);
    else {
        const QString entry = entries.at(random.bounded(entries.size()));
        scene.choose(entry, !entry.startsWith("Add") ? QString() : random.bounded(2) ? "Sound" : "Texture");
    }
}

// Any number of edits undone gives the rules and rows back, and redone the edits.
void TST_RULE_EDITOR::goes_back_and_forth()
{
    QRandomGenerator random(11);
    for (int round = 0; round < 10; ++round) {
        RULE_EDITOR_SCENE scene;
        scene.add_files({"raw_data/A/x.png", "raw_data/b/C/y.png"});
        scene.add_files({"raw_data/A/rules.gox", "raw_data/b/C/rules.gox"},
                        rules(rule("Texture", "1") + rule("Sound") + rule("Texture", "2") + rule("Sound")));
        scene.open();
        const auto state = [&] { return scene.cached() + "\n\n" + scene.shown(RULE_EDITOR_SCENE::BY_KIND); };
        const QString start = state();
        for (int step = 0; step < 60; ++step)
            edit_somewhere(scene, random);
        QStringList states{state()};
        QAction* const undo = scene.action("Undo");
        QAction* const redo = scene.action("Redo");
        for (; undo->isEnabled(); states.prepend(state()))
            undo->trigger();
        QCOMPARE(states.first(), start);
        QVERIFY(states.size() > 30);
        for (const QString& expected : qAsConst(states)) {
            QCOMPARE(state(), expected);
            redo->trigger();
        }
        QVERIFY(!redo->isEnabled());
        QCOMPARE(scene.cache->save(scene.p4), QString());
        RULE_CACHE_HOLDER again;
        for (const char* file :
             {"raw_data/A/rules.gox", "raw_data/b/C/rules.gox", "raw_data/b/rules.gox", "raw_data/rules.gox"})
            if (scene.tree.exists(file))
                QCOMPARE(again.add(scene.tree, file), QString());
        QCOMPARE(RULE_EDITOR_SCENE::cached(again.cache), scene.cached());
    }
}

QTEST_MAIN(TST_RULE_EDITOR)
#include "tst_rule_editor.moc"
