#include <QtCore/QRandomGenerator>

#include "tests/rules/rule_editor_script.h"
#include "tests/support/cases.h"
#include "tests/support/watched_test.h"

class TST_RULE_EDITOR : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void talks_data() { add_cases("rules/rule_editor.cases", {"script"}); }
    void talks()
    {
        RULE_EDITOR_SCRIPT script;
        const QString wanted = current_case()["script"];
        GOX_COMPARE_TEXT(script.play(wanted), wanted);
    }
    void takes_values_as_they_are();
    void knows_a_property_in_any_spelling();
    void goes_back_and_forth();
};

void TST_RULE_EDITOR::takes_values_as_they_are()
{
    for (const QString& value :
         {QString("<b>bold</b> & <img src='x'>"), QString("one\ntwo\r\n\tthree"), QString(50000, 'x')}) {
        RULE_EDITOR_SCRIPT script;
        script.play("> files raw_data/a.png\n> file raw_data Texture");
        CACHED_RULE& rule = *script.cache().rules.first();
        rule.set_property("Max size", value);
        script.play("> make\n> value raw/Texture/Max size\n> press Return F2 Escape\n"
                    "> value raw/Texture/Format");
        QCOMPARE(rule.property("Max size"), value); // looking at it has not changed it
        QVERIFY(!script.cache().rules_changed);
        script.play("> value raw/Texture/Max size\n> press F2 End\n> type - y\n> press Up");
        QCOMPARE(rule.property("Max size"), value + 'y');
        QCOMPARE(script.carry_out("save"), QString("done")); // and read again it is the same
    }
}

// The schema's table need not be keyed by name, and may come after the rules.
void TST_RULE_EDITOR::knows_a_property_in_any_spelling()
{
    RULE_SCHEMA late;
    late.name = "R&B";
    late.properties.insert("1", {"Bit RATE", ""});
    for (const QString before : {"Bit RATE", "bit rate"}) {
        RULE_EDITOR_SCRIPT script;
        script.carry_out("files raw_data/a.png");
        if (before == "Bit RATE")
            RULE_SCHEMA::s_schemas.insert("r&b", &late);
        script.carry_out("file raw_data <rules><rule name='R&amp;B'><property name='bit rate'>8</property>"
                         "<property name='x'>y</property></rule></rules>");
        QCOMPARE(script.carry_out("rules"), "<raw>: R&B " + before + "=8 x=y\nas they were");
        RULE_SCHEMA::s_schemas.insert("r&b", &late);
        QCOMPARE(RULE_SCHEMA::register_schema("r&b", "", {{"BIT rate", ""}})->properties.size(), 1);
        for (const char* command : {"make", "select raw"})
            script.carry_out(command);
        QVERIFY(script.carry_out("menu").contains("\n.R&&B\n")); // no letter is a shortcut
        for (const char* command : {"value raw/R&B/Bit RATE", "press F2 Backspace 9 Return"})
            script.carry_out(command);
        QCOMPARE(script.carry_out("rules"), QString("<raw>: R&B Bit RATE=9 x=y\nchanged"));
        QCOMPARE(script.carry_out("ask <raw>/a.png R&B").section(';', 0, 0),
                 QString("bit rate=9@<raw> x=y@<raw>"));
        QCOMPARE(script.carry_out("save"), QString("done"));
        QVERIFY(script.carry_out("diff raw_data")
                    .endsWith("><property name='bit rate'>9</property>"
                              "<property name='x'>y</property></rule></rules>"));
        RULE_SCHEMA::s_schemas.remove("r&b");
    }
}

// One edit by chance on a row by chance, as far as the menu offers one there.
static void edit_somewhere(const RULE_EDITOR_SCRIPT& script, QRandomGenerator& random)
{
    const auto any_of = [&](const auto& list) { return list.at(random.bounded(list.size())); };
    QTreeWidgetItem* const row =
        any_of(script.rows().findItems(QString(), Qt::MatchContains | Qt::MatchRecursive));
    script.rows().setCurrentItem(row);
    QList<QAction*> entries = script.offered();
    for (int i = entries.size() - 1; i >= 0; --i)
        if (entries[i]->isSeparator() || QString("Undo Redo").contains(entries[i]->text()))
            entries.removeAt(i);
    if (entries.isEmpty())
        row->setText(1, random.bounded(3) ? QString::number(random.bounded(1000)) : QString());
    else if (row->data(1, Qt::CheckStateRole).isValid() && random.bounded(4) == 0)
        QTest::keyClick(&script.rows(), Qt::Key_Space);
    else
        any_of(entries)->trigger();
}

// Any number of edits undone gives the rules and rows back, and redone the edits.
void TST_RULE_EDITOR::goes_back_and_forth()
{
    QRandomGenerator random(11);
    for (int round = 0; round < 10; ++round) {
        RULE_EDITOR_SCRIPT script;
        for (const char* command : {"files raw_data/A/x.png raw_data/b/C/y.png",
                                    "file raw_data/A Texture a=1; Sound; Texture a=2; Sound",
                                    "file raw_data/b/C Texture a=1; Sound; Texture a=2; Sound", "make"})
            QCOMPARE(script.carry_out(command), QString());
        const QString start = script.state();
        for (int step = 0; step < 60; ++step)
            edit_somewhere(script, random);
        QStringList states{script.state()};
        QAction* const undo = script.rows().actions().at(11);
        QAction* const redo = script.rows().actions().at(12);
        for (; undo->isEnabled(); states.prepend(script.state()))
            undo->trigger();
        QCOMPARE(states.first(), start);
        QVERIFY(states.size() > 30);
        for (const QString& expected : qAsConst(states)) {
            QCOMPARE(script.state(), expected);
            redo->trigger();
        }
        QVERIFY(!redo->isEnabled());
        QCOMPARE(script.carry_out("save"), QString("done"));
    }
}

QTEST_MAIN(TST_RULE_EDITOR)
#include "tst_rule_editor.moc"
