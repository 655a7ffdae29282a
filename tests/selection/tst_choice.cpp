// What a choice by hand counts: gestures at random, over every way to choose, and
// the rule in its plainest form beside them.

#include <QtCore/QRandomGenerator>
#include <QtTest/QtTest>
#include <QtWidgets/QAction>
#include <QtWidgets/QListWidget>

#include "contracts/actions/dialog_helper.h"
#include "selection/data_selection_dialog.h"
#include "selection/data_selection_file_model_filter_proxy.h"
#include "settings/preferences_editor_dialog.h"
#include "tests/selection/file_scene.h"
#include "tests/session/step_scene.h"
#include "tests/support/view_clicks.h"
#include "tests/support/watched_test.h"

namespace {

using ACTIONS = QSet<ACTION_INTERFACE*>;
using PROXY = DATA_SELECTION_FILE_MODEL_FILTER_PROXY;

const char TREE[] = "<raw>/d/1 a b, <raw>/d/2 a >b, <raw>/d/e/3 a c, <raw>/d/e/4 a c d, <raw>/f/5 d e, "
                    "<raw>/f/6 a, <raw>/7 e f, <raw>/8, <retail>/r/1 >f g, <retail>/r/2 >g, "
                    "<working>/d/1 >a, <working>/d/2 >c >d, <working>/h/3 >e b a, <working>/h/4 c";

// In each the first pulls the second along.
const char* const PULLS[] = {"ab", "bc", "dc", "eb", "ga", "gd"};

const int GESTURES = 500;

ACTIONS carried_by(ACTION_INTERFACE* action)
{
    ACTIONS carried{action};
    for (ACTION_INTERFACE* pulled : qAsConst(action->pulls))
        carried.unite(carried_by(pulled));
    return carried;
}

QString short_text(const ACTION_INTERFACE* action)
{
    return action->processor->name() + " / ";
}

/// Makes gestures, and notes what they choose.
struct PERSON
{
    PERSON(DATA_SELECTION_DIALOG& window, QCheckBox& popup_setting)
        : window(window),
          popup_setting(popup_setting),
          trees{window.ui.raw_data_files, window.ui.working_data_files, window.ui.retail_build_files}
    {
    }

    bool chance() { return random.bounded(2) == 1; }

    void choose(const ACTIONS& actions, bool selected)
    {
        selected ? by_hand.unite(actions) : by_hand.subtract(actions);
    }

    void find_actions(const QModelIndex& row, bool files_only)
    {
        providers.clear();
        consumers.clear();
        const PROXY& proxy = *static_cast<const PROXY*>(row.model());
        if (!files_only || proxy.file_entry(row))
            return proxy.collect_file_actions(row, providers, consumers);
        for (int child = 0; child < proxy.rowCount(row); ++child)
            if (proxy.file_entry(proxy.index(child, 0, row)))
                proxy.collect_file_actions(proxy.index(child, 0, row), providers, consumers);
    }

    void select_or_unselect_all()
    {
        const bool selected = chance();
        QTest::mouseClick(selected ? window.ui.pushButton : window.ui.pushButton_3, Qt::LeftButton);
        for (int kind = 0; kind < 2; ++kind)
            for (int row = 0; row < trees[kind]->model()->rowCount(); ++row) {
                find_actions(trees[kind]->model()->index(row, 0), false);
                choose(providers + consumers, selected);
            }
    }

    void pick_a_row()
    {
        const int kind = random.bounded(3);
        QTreeView& tree = *trees[kind];
        QModelIndex row = tree.model()->index(0, 0);
        for (int steps = random.bounded(12); steps > 0 && tree.indexBelow(row).isValid(); --steps)
            row = tree.indexBelow(row);
        tree.setCurrentIndex(row);
        const bool selected = row.data(Qt::CheckStateRole).toInt() != Qt::Checked;
        const bool files_only = kind < 2 && chance();
        find_actions(row, files_only);
        popup_setting.setChecked(chance());
        if (files_only)
            (kind == 0 ? window.ui.select_files_only_raw : window.ui.select_files_only_working)->trigger();
        else
            VIEW_CLICKS::click_box(tree, row);
        if (QWidget* const popup = QApplication::activePopupWidget())
            click_in(*popup, chance());
        else
            choose(providers + consumers, selected);
    }

    void click_in(QWidget& popup, bool merged)
    {
        const QString side =
            consumers.isEmpty() || (!providers.isEmpty() && chance()) ? "provider" : "consumer";
        if (merged)
            QTest::keyClick(popup.findChild<QCheckBox*>(side + "_merge_box"), Qt::Key_Space);
        QListWidget& list = *popup.findChild<QListWidget*>(side + "_list");
        const int row = random.bounded(list.count());
        const bool selected = list.item(row)->checkState() != Qt::Checked;
        ACTIONS meant = side == "provider" ? providers : consumers;
        ACTION_INTERFACE* const clicked = DIALOG_HELPER::get_action_pointer(list.item(row));
        if (clicked && merged)
            for (ACTION_INTERFACE* action : ACTIONS(meant)) {
                if (short_text(action) != list.item(row)->text())
                    meant.remove(action);
            }
        else if (clicked)
            meant = {clicked};
        else if (!merged) // leaves alone what shows that state already
            for (int other = 1; other < list.count(); ++other)
                if ((list.item(other)->checkState() == Qt::Checked) == selected)
                    meant.remove(DIALOG_HELPER::get_action_pointer(list.item(other)));
        VIEW_CLICKS::click_box(list, list.model()->index(row, 0));
        choose(meant, selected);
        QTest::keyClick(&popup, Qt::Key_Escape);
    }

    void change_the_filter()
    {
        window.apply_filter();
        by_hand.clear();
    }

    DATA_SELECTION_DIALOG& window;
    QCheckBox& popup_setting;
    QTreeView* const trees[3];
    QRandomGenerator random{1};
    ACTIONS by_hand;
    ACTIONS providers; // of what the gesture is about
    ACTIONS consumers;
};

} // namespace

class tst_choice : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void gestures_count_an_action_once()
    {
        FILE_SCENE files(TREE);
        STEP_PROCESSOR processors[] = {STEP_PROCESSOR("P"), STEP_PROCESSOR("Q")};
        for (const auto& action : files.actions)
            action.second->processor = &processors[action.first < "d"];
        for (const char* pair : PULLS)
            files.action(QString(pair[0]))->add_dependency(*files.action(QString(pair[1])), true);
        STEP_SCENE scene;
        scene.session->file_map = files.map;
        DATA_SELECTION_DIALOG window(scene.session, QString(), nullptr, {});
        window.show();
        PERSON person(window, *scene.session->preferences->findChild<QCheckBox*>("setting_actionselection"));
        for (QTreeView* tree : person.trees)
            tree->expandAll();
        for (int gesture = 0; gesture < GESTURES; ++gesture) {
            const int what = person.random.bounded(10);
            what == 0  ? person.change_the_filter()
            : what < 3 ? person.select_or_unselect_all()
                       : person.pick_a_row();
            QHash<ACTION_INTERFACE*, int> counts;
            for (ACTION_INTERFACE* action : qAsConst(person.by_hand))
                for (ACTION_INTERFACE* carried : carried_by(action))
                    ++counts[carried];
            for (const auto& [name, action] : files.actions)
                if (action->selection_count != counts.value(action.get()))
                    QFAIL(qPrintable(QString("gesture %1 leaves %2 at %3 instead of %4")
                                         .arg(gesture)
                                         .arg(name)
                                         .arg(action->selection_count)
                                         .arg(counts.value(action.get()))));
            QCOMPARE(window.chosen_actions, ACTIONS(counts.keyBegin(), counts.keyEnd()));
            QCOMPARE(window.ui.start_button->isEnabled(), !counts.isEmpty());
        }
        QTRY_VERIFY(!window.findChild<QWidget*>("ACTION_LIST_DIALOG")); // popups are gone
    }
};

QTEST_MAIN(tst_choice)
#include "tst_choice.moc"
