#include <QtWidgets/QTreeWidget>

#include "contracts/rules/rule_schema.h"
#include "contracts/services/plain_row_delegate.h"
#include "rules/rule_list_dialog.h"
#include "tests/contracts/rules/rule_script.h"
#include "tests/support/cases.h"
#include "tests/support/watched_test.h"
#include "tests/support/window_text.h"
#include "tests/support/window_transcript.h"

class RULE_LIST_SCRIPT : public RULE_SCRIPT, public WINDOW_TRANSCRIPT
{
public:
    RULE_LIST_SCRIPT()
    {
        add("make", [&](const QString& file) { make(file); });
        add("rows", [&](const QString&) { return WINDOW_TEXT::rows(rows()); });
        add("select", [&](const QString& name) { rows().setCurrentItem(row(name)); });
        add("double-click", [&](const QString& name) {
            const QPoint place = rows().visualItemRect(row(name)).center();
            QTest::mouseClick(rows().viewport(), Qt::LeftButton, {}, place);
            QTest::mouseDClick(rows().viewport(), Qt::LeftButton, {}, place);
        });
        add("tips", [&](const QString& name) {
            QStringList tips{row(name)->font(0).bold() ? "bold" : "plain"};
            const int top = rows().visualItemRect(row(name)).top();
            for (int column = 0; column < 3; ++column)
                tips += tip_at(rows().viewport(), {rows().columnViewportPosition(column) + 50, top});
            return tips.join(" | ");
        });
        add("chosen", [&](const QString&) {
            const RULE_LIST_DIALOG& dialog = *m_dialog;
            const QString result = dialog.isVisible() ? "open" : dialog.result() ? "accepted" : "rejected";
            return result + (dialog.chosen_rule
                                 ? ", " + dialog.chosen_property + " of " + dialog.chosen_rule->path
                                 : QString());
        });
    }

private:
    QString told(QString said) override { return RULE_SCRIPT::told(WINDOW_TRANSCRIPT::told(said)); }

    void make(const QString& file)
    {
        RULE_SCHEMA* const texture = RULE_SCHEMA::register_schema(
            "Texture", "", {{"Max size", ""}, {"Format", ""}, {"Left open", ""}});
        const RULE rule = m_cache.answer(PATHS::logical_path(PHYSICAL_PATH(m_tree.path(file))), "Texture");
        m_dialog.reset(new RULE_LIST_DIALOG(rule.found ? QMap<RULE_SCHEMA*, RULE>{{texture, rule}}
                                                       : QMap<RULE_SCHEMA*, RULE>(),
                                            nullptr, {}));
        m_dialog->tell_files(PHYSICAL_PATH(m_tree.path(file)), m_cache);
        window = m_dialog.data();
    }

    QTreeWidget& rows() const { return *m_dialog->findChild<QTreeWidget*>(); }
    QTreeWidgetItem* row(const QString& name) const
    {
        return rows().findItems(name, Qt::MatchExactly | Qt::MatchRecursive).value(0);
    }

    QScopedPointer<RULE_LIST_DIALOG> m_dialog;
};

class TST_RULE_LIST : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void talks_data() { add_cases("rules/rule_list.cases", {"script"}); }
    void talks()
    {
        RULE_LIST_SCRIPT script;
        const QString wanted = current_case()["script"];
        GOX_COMPARE_TEXT(script.play(wanted), wanted);
    }

    void rows_are_plain()
    {
        const PLAIN_ROW_DELEGATE delegate(nullptr);
        QCOMPARE(delegate.displayText("a\r\nb\nc\rd\u2028e\u2029<b>f", {}),
                 QString("a\u21b5b\u21b5c\u21b5d\u21b5e\u21b5<b>f"));
        QCOMPARE(delegate.displayText(QString(1001, 'x'), {}), QString(1000, 'x'));
    }
};

QTEST_MAIN(TST_RULE_LIST)
#include "tst_rule_list.moc"
