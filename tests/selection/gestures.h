#pragma once

#include <QtCore/QRandomGenerator>
#include <QtTest/QTest>
#include <QtWidgets/QListWidget>

#include "selection/data_selection_dialog.h"
#include "selection/data_selection_file_model_filter_proxy.h"
#include "tests/selection/file_scene.h"
#include "tests/support/view_clicks.h"

using ACTIONS = QSet<ACTION_INTERFACE*>;

inline ACTIONS carried_by(ACTION_INTERFACE* action)
{
    ACTIONS carried{action};
    for (ACTION_INTERFACE* pulled : qAsConst(action->pulls))
        carried.unite(carried_by(pulled));
    return carried;
}

inline bool is_checked(const QModelIndex& row)
{
    return row.data(Qt::CheckStateRole) == Qt::Checked;
}

/// Makes gestures at random in the selection window, over every way to choose, and
/// notes what they choose.
struct PERSON
{
    bool chance() { return random.bounded(2) == 1; }

    void choose(const ACTIONS& actions, bool selected)
    {
        selected ? by_hand.unite(actions) : by_hand.subtract(actions);
    }

    void find_actions(const QModelIndex& row, bool files_only)
    {
        const auto& proxy = static_cast<const DATA_SELECTION_FILE_MODEL_FILTER_PROXY&>(*row.model());
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
        for (const QTreeView* tree : {trees[0], trees[1]})
            for (int row = 0; row < tree->model()->rowCount(); ++row)
                find_actions(tree->model()->index(row, 0), false);
        choose(providers + consumers, selected);
    }

    void pick_a_row()
    {
        const int kind = random.bounded(3);
        QTreeView& tree = *trees[kind];
        QModelIndex row = tree.model()->index(0, 0);
        for (int steps = random.bounded(12); steps > 0 && tree.indexBelow(row).isValid(); --steps)
            row = tree.indexBelow(row);
        tree.setCurrentIndex(row);
        const bool selected = !is_checked(row);
        const bool files_only = kind < 2 && chance();
        find_actions(row, files_only);
        scene.show_popups(chance());
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
        const bool left = consumers.isEmpty() || (!providers.isEmpty() && chance());
        const QString side = left ? "provider" : "consumer";
        if (merged)
            QTest::keyClick(popup.findChild<QCheckBox*>(side + "_merge_box"), Qt::Key_Space);
        QListWidget& list = *popup.findChild<QListWidget*>(side + "_list");
        const QModelIndex clicked = list.model()->index(random.bounded(list.count()), 0);
        const bool selected = !is_checked(clicked);
        ACTIONS meant;
        for (ACTION_INTERFACE* action : left ? providers : consumers) {
            const QModelIndex row = row_named(*list.model(), "P / " + action->display_text(!merged));
            if (clicked.data() == "<All>" ? merged || is_checked(row) != selected : row == clicked)
                meant.insert(action);
        }
        VIEW_CLICKS::click_box(list, clicked);
        choose(meant, selected);
        QTest::keyClick(&popup, Qt::Key_Escape);
    }

    void make_a_gesture()
    {
        providers.clear();
        consumers.clear();
        const int what = random.bounded(10);
        if (what > 2)
            return pick_a_row();
        if (what > 0)
            return select_or_unselect_all();
        window.apply_filter();
        by_hand.clear();
    }

    SELECTION_SCENE& scene;
    DATA_SELECTION_DIALOG& window;
    const QVector<QTreeView*> trees = {window.ui.raw_data_files, window.ui.working_data_files,
                                       window.ui.retail_build_files};
    QRandomGenerator random{1};
    ACTIONS by_hand = {};
    ACTIONS providers = {}; // of what the gesture is about
    ACTIONS consumers = {};
};
