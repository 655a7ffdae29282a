#include <QtTest/QTest>
#include <QtWidgets/QTreeWidget>

#include "contracts/rules/cached_rule.h"
#include "contracts/rules/rule_schema.h"
#include "contracts/services/plain_row_delegate.h"
#include "rules/rule_list_dialog.h"
#include "tests/support/cases.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/tool_tip.h"
#include "tests/support/watched_test.h"
#include "tests/support/window_text.h"

class TST_RULE_LIST : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void shows_values_and_origins();
    void property_is_chosen_data();
    void property_is_chosen();
    void rows_are_plain();

private:
    // The rules of one file: of two folders, and none of a third kind.
    QMap<RULE_SCHEMA*, RULE> resolved()
    {
        m_near.path = LOGICAL_PATH("<raw>/unit");
        m_far.path = LOGICAL_PATH("<raw>");
        RULE_SCHEMA* const texture = RULE_SCHEMA::register_schema(
            "Texture", "", {{"Max size", ""}, {"Format", ""}, {"Left open", ""}});
        return {{texture, {this, {{"max size", {"512", &m_near}}, {"format", {m_long, &m_far}}}}}};
    }

    CACHED_RULE m_near, m_far;
    const QString m_long = "<b>" + QString(200, 'w') + "</b>";
};

void TST_RULE_LIST::shows_values_and_origins()
{
    RULE_LIST_DIALOG empty({}, nullptr, {});
    GOX_COMPARE_TEXT(WINDOW_TEXT::form(empty), "window \"GOX - Rules\"\nrules");
    RULE_LIST_DIALOG dialog(resolved(), nullptr, {});
    dialog.show();
    const QTreeWidget& rows = *dialog.findChild<QTreeWidget*>();
    GOX_COMPARE_TEXT(WINDOW_TEXT::rows(rows),
                     "Texture |  | \n.Format | " + m_long + " | <raw>\n.Max size | 512 | <raw>/unit");
    const QTreeWidgetItem* const rule = rows.topLevelItem(0);
    QVERIFY(rule->font(0).bold() && !rule->child(0)->font(0).bold());
    const QString hint = "Double-click this if you want to edit";
    const auto tip = [&](int child, int column) {
        const QModelIndex index = rows.model()->index(child, column, rows.model()->index(0, 0));
        return tool_tip_at(rows.viewport(), rows.visualRect(index).topLeft());
    };
    QCOMPARE(tip(0, 1), m_long + "\n\n" + hint); // what is cut off is told
    for (int column = 0; column < 3; ++column)
        QCOMPARE(tip(1, column), hint);
}

void TST_RULE_LIST::property_is_chosen_data()
{
    QTest::addColumn<int>("child"); // -1: the rule itself
    QTest::addColumn<int>("key");   // 0: a double click
    QTest::addColumn<QString>("chosen");
    QTest::newRow("double click on a property") << 1 << 0 << "Max size of <raw>/unit";
    QTest::newRow("double click on a rule") << -1 << 0 << "";
    QTest::newRow("Return") << 0 << int(Qt::Key_Return) << "Format of <raw>";
    QTest::newRow("Enter") << 1 << int(Qt::Key_Enter) << "Max size of <raw>/unit";
    QTest::newRow("Return without a row") << -2 << int(Qt::Key_Return) << "";
    QTest::newRow("Escape") << 0 << int(Qt::Key_Escape) << "";
}

void TST_RULE_LIST::property_is_chosen()
{
    QFETCH(int, child);
    QFETCH(int, key);
    RULE_LIST_DIALOG dialog(resolved(), nullptr, {});
    DIALOG_ANSWERS answers;
    answers.answer_with([&](QDialog*) {
        QTreeWidget& rows = *dialog.findChild<QTreeWidget*>();
        QTreeWidgetItem* const rule = rows.topLevelItem(0);
        rows.setCurrentItem(child == -2 ? nullptr : child < 0 ? rule : rule->child(child));
        const QPoint place = rows.visualItemRect(rows.currentItem() ? rows.currentItem() : rule).center();
        QTest::mouseClick(rows.viewport(), key || child == -2 ? Qt::NoButton : Qt::LeftButton, {}, place);
        if (key)
            QTest::keyClick(&rows, Qt::Key(key));
        else
            QTest::mouseDClick(rows.viewport(), Qt::LeftButton, {}, place);
        if (dialog.isVisible())
            dialog.reject();
    });
    const bool is_accepted = dialog.exec() == QDialog::Accepted;
    const QString chosen =
        is_accepted ? dialog.chosen_property + " of " + dialog.chosen_rule->path : QString("");
    QTEST(chosen, "chosen");
}

void TST_RULE_LIST::rows_are_plain()
{
    struct OPEN_DELEGATE : PLAIN_ROW_DELEGATE
    {
        using PLAIN_ROW_DELEGATE::initStyleOption;
        using PLAIN_ROW_DELEGATE::PLAIN_ROW_DELEGATE;
    } delegate(nullptr);
    QCOMPARE(delegate.displayText("a\r\nb\nc\rd\u2028e\u2029<b>f", {}),
             QString("a\u21b5b\u21b5c\u21b5d\u21b5e\u21b5<b>f"));
    QCOMPARE(delegate.displayText(QString(1001, 'x'), {}), QString(1000, 'x'));
    for (const bool is_dark : {false, true}) { // the outline of check boxes is seen on both
        QStyleOptionViewItem option;
        option.palette = QPalette(QColor(is_dark ? "#202020" : "#f0f0f0"));
        option.palette.setColor(QPalette::Base, is_dark ? "#101010" : "#ffffff");
        const QColor before = option.palette.window().color();
        delegate.initStyleOption(&option, {});
        QCOMPARE(option.palette.window().color() == before, !is_dark);
        QVERIFY(!is_dark || option.palette.window().color().lightness() > 100);
    }
}

QTEST_MAIN(TST_RULE_LIST)
#include "tst_rule_list.moc"
