// The action list, clicked as a person does, with a listener that selects as the
// selection dialog does.

#include <QtTest/QtTest>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QListWidget>

#include "selection/action_list_dialog.h"
#include "tests/session/step_scene.h"
#include "tests/support/tool_tip.h"
#include "tests/support/view_clicks.h"
#include "tests/support/watched_test.h"

namespace {

// Named like "a1": the short text is the letter alone.
class LETTER_ACTION : public STEP_ACTION
{
public:
    using STEP_ACTION::STEP_ACTION;
    QString display_text(bool long_form) override { return long_form ? name : name.left(1); }
};

// "a1* b1> c1": a1 is selected, b1 pulls c1 along.
QList<ACTION_INTERFACE*> make_actions(const QString& text, PROCESSOR_INTERFACE& processor)
{
    QList<ACTION_INTERFACE*> actions;
    bool is_pulled = false;
    for (const QString& word : text.split(' ', Qt::SkipEmptyParts)) {
        LETTER_ACTION* const action = new LETTER_ACTION(word.left(2));
        action->processor = &processor;
        action->selection_count = word.endsWith('*');
        if (is_pulled)
            actions.last()->add_dependency(*action, true);
        is_pulled = word.endsWith('>');
        actions.append(action);
    }
    return actions;
}

QString rows(const QListWidget& list)
{
    QStringList rows;
    for (int row = 0; row < list.count(); ++row)
        rows.append(QStringLiteral(" -x").mid(list.item(row)->checkState(), 1) + list.item(row)->text());
    return rows.join(',');
}

} // namespace

class tst_action_list : public WATCHED_TEST
{
    Q_OBJECT

public slots:
    void changed(ACTION_INTERFACE* action, bool selected)
    {
        m_heard += (selected ? '+' : '-') + action->display_text(true);
        QSet<ACTION_INTERFACE*> touched;
        selected ? action->select(touched) : action->deselect(touched);
    }
    void started() { m_heard += '('; }
    void ended() { m_heard += ')'; }

private slots:
    void clicks_data();
    void clicks();
    void foreign_text_stays_plain();

private:
    STEP_PROCESSOR m_processor{QStringLiteral("P")};
    QString m_heard;
};

void tst_action_list::clicks_data()
{
    // A click is a row number, or "m" for the merge box; rows begin with their state.
    const char* const lines[] = {
        "none||m||",
        "one|a1|0|+a1|xP / a1",
        "one of two|a1 b1|1|+a1|-<All>,xP / a1, P / b1",
        "all skips what is there|a1 b1* c1|0|(+a1+c1)|x<All>,xP / a1,xP / b1,xP / c1",
        "all twice|a1 b1*|00|(+a1)(-a1-b1)| <All>, P / a1, P / b1",
        "pulled along|a1> b1 c1|1|+a1|-<All>,xP / a1,xP / b1, P / c1",
        "merging|a1* a2|m||-P / a",
        "merged in part|a1* a2|m0|(+a1+a2)|xP / a",
        "merged and cleared|a1* a2*|m0|(-a1-a2)| P / a",
        "merged, one of two|a1 b1* a2|m1|(+a1+a2)|x<All>,xP / a,xP / b",
        "merged, part is not all|a1* b1 a2|m|| <All>,-P / a, P / b",
        "merged, all|a1* b1 a2|m0|(+a1+b1+a2)|x<All>,xP / a,xP / b",
        "unmerged again|a1* a2|m0m|(+a1+a2)|x<All>,xP / a1,xP / a2",
    };
    VIEW_CLICKS::add_table({"actions", "clicked", "heard", "shown"}, lines);
}

void tst_action_list::clicks()
{
    QFETCH(QString, actions);
    QFETCH(QString, clicked);
    const QString sides[] = {"provider", "consumer"};
    for (const int side : {0, 1}) {
        m_heard.clear();
        const QList<ACTION_INTERFACE*> made = make_actions(actions, m_processor);
        ACTION_LIST_DIALOG dialog(made, made, nullptr, {});
        connect(&dialog, SIGNAL(action_selection_changed(ACTION_INTERFACE*, bool)),
                SLOT(changed(ACTION_INTERFACE*, bool)));
        connect(&dialog, SIGNAL(mass_selection_change_started()), SLOT(started()));
        connect(&dialog, SIGNAL(mass_selection_change_ended()), SLOT(ended()));
        dialog.show();
        QListWidget& list = *dialog.findChild<QListWidget*>(sides[side] + "_list");
        const QListWidget& other_list = *dialog.findChild<QListWidget*>(sides[1 - side] + "_list");
        const QString other_rows = rows(other_list);
        for (const QChar& click : clicked)
            if (click == 'm')
                QTest::keyClick(dialog.findChild<QCheckBox*>(sides[side] + "_merge_box"), Qt::Key_Space);
            else
                VIEW_CLICKS::click_box(list, list.model()->index(click.digitValue(), 0));
        QTEST(m_heard, "heard");
        QTEST(rows(list), "shown");
        QCOMPARE(rows(other_list), other_rows);
    }
}

void tst_action_list::foreign_text_stays_plain()
{
    STEP_ACTION action(QStringLiteral("rock&roll  <b>bold</b>\n") + QString(200, 'w'));
    action.processor = &m_processor;
    ACTION_LIST_DIALOG dialog({&action}, {}, nullptr, {});
    dialog.show();
    QListWidget* const list = dialog.findChild<QListWidget*>("provider_list");
    const QRect row = list->visualItemRect(list->item(0));
    QVERIFY(row.height() < 2 * list->fontMetrics().height());
    QCOMPARE(tool_tip_at(list->viewport(), row.topLeft()), "P / " + action.name);
}

QTEST_MAIN(tst_action_list)
#include "tst_action_list.moc"
