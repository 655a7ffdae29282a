#include <QtTest/QtTest>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QTreeWidget>

#include <thread>

#include "contracts/actions/dialog_helper.h"
#include "session/start_up_hooks.h"
#include "tests/contracts/rules/rule_cache_holder.h"
#include "tests/session/step_scene.h"
#include "tests/support/cases.h"
#include "tests/support/watched_test.h"

class TST_ACTIONS : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void selection_data() { add_cases("contracts/actions/selection.cases", {"pulls", "do", "counts"}); }
    void selection()
    {
        std::map<QString, STEP_ACTION> actions;
        for (const QString& pull : current_case()["pulls"].split(' '))
            actions[pull.left(1)].add_dependency(actions[pull.right(1)], true);
        QStringList said;
        for (const QString& step : current_case()["do"].split(' ')) {
            QSet<ACTION_INTERFACE*> touched;
            ACTION_INTERFACE& action = actions[step.right(1)];
            step.startsWith('+') ? action.select(touched) : action.deselect(touched);
            said.append(step + ":");
            for (auto& [name, other] : actions)
                said.last() += QString(" %1=%2").arg(name).arg(other.selection_count) +
                               (touched.contains(&other) ? "!" : "");
        }
        GOX_COMPARE_TEXT(said.join('\n'), current_case()["counts"]);
    }

    void dependencies_are_free_of_repeats()
    {
        for (const int count : {1, 16, 17, 200}) { // many are kept in another way
            auto others = std::make_unique<std::array<STEP_ACTION, 200>>();
            STEP_ACTION action;
            for (const bool pulls : {false, true, false})
                for (int i = 0; i < count; ++i) {
                    action.add_dependency((*others)[i], pulls);
                    action.add_dependency(action, true);
                }
            QCOMPARE(action.dependencies.size(), count);
            QCOMPARE(action.pulls.size(), count); // a pull that comes later counts, once
            QCOMPARE(others->front().pulled_by, QVector<ACTION_INTERFACE*>{&action});
            std::make_unique<STEP_ACTION>()->add_dependency(action, true);
            others.reset();
            QVERIFY(action.pulls.isEmpty() && action.pulled_by.isEmpty()); // whoever is gone pulls nobody
        }
    }

    void output()
    {
        STEP_ACTION action, other;
        action.redirect_messages();
        qDebug("one");
        QTest::ignoreMessage(QtDebugMsg, "of another thread"); // it goes where it went before
        std::thread([] { qDebug("of another thread"); }).join();
        other.redirect_messages();
        qWarning("two");
        other.clear_redirections();
        qDebug("three");
        action.add_output_line(QString());
        current_action = &action;
        bool show_box = true, break_in_debugger = false;
        for (const QString box : {"four", "fünf", "four"}) // once for each action
            startup_message_hook(true, FW::UniString(box), show_box, break_in_debugger);
        current_action = nullptr;
        QCOMPARE(action.output + '|' + other.output, QString("one\n\nfour\nfünf\n|two\n"));
        QVERIFY(action.review_needed && !other.review_needed);
        action.state = ACTION_FAILED;
        action.progress_current = 3;
        action.reset();
        QVERIFY(!action.review_needed && !action.state && !action.progress_current &&
                action.output.isEmpty());
    }

    void what_an_author_leaves_out()
    {
        STEP_PROCESSOR processor;
        STEP_ACTION action;
        RULE_CACHE_HOLDER rules;
        LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*> files;
        QVERIFY(action.checks_dependencies() && !action.review_is_failure());
        QVERIFY(processor.scan_directories().isEmpty());
        QVERIFY(processor.collect_virtual_files(files, rules.cache).isEmpty());
        QTest::qSleep(2);
        QCOMPARE(processor.stopwatch.AsMSec(), 0); // counts its actions only
        const int group = STEP_PROCESSOR::new_action_group();
        QVERIFY(group >= 1 && STEP_PROCESSOR::new_action_group() == group + 1);
    }

    void rows_keep_their_action()
    {
        STEP_ACTION action;
        QListWidgetItem item;
        QTreeWidgetItem row;
        DIALOG_HELPER::set_action_pointer(&item, &action);
        DIALOG_HELPER::set_action_pointer(&row, 1, &action);
        QCOMPARE(DIALOG_HELPER::get_action_pointer(&item), &action);
        QCOMPARE(DIALOG_HELPER::get_action_pointer(&row, 1), &action);
        QVERIFY(!DIALOG_HELPER::get_action_pointer(&row, 0) && item.data(Qt::UserRole).isValid());
    }
};

QTEST_MAIN(TST_ACTIONS)
#include "tst_actions.moc"
