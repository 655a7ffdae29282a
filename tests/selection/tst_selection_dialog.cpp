// The selection dialog over a real session, driven with mouse and keys; what
// counts is what the actions' selection says afterwards.

#include <QtCore/QSettings>
#include <QtGui/QScreen>
#include <QtTest/QtTest>
#include <QtWidgets/QAction>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QTreeWidget>

#include "contracts/rules/rule_schema.h"
#include "graph/graphviz_viewer_widget.h"
#include "selection/data_selection_dialog.h"
#include "selection/data_selection_file_model_filter_proxy.h"
#include "settings/preferences_editor_dialog.h"
#include "tests/selection/file_scene.h"
#include "tests/session/step_scene.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/view_clicks.h"
#include "tests/support/watched_test.h"

using namespace VIEW_CLICKS;

namespace {

// What each action reads and writes; "high" also pulls the jeep along.
const char* const ACTIONS[][3] = {{"low", "<raw>/models/tank.fbx", "<working>/old models/far/away/tank.low"},
                                  {"high", "<raw>/models/tank.fbx", "<working>/models/tank.high"},
                                  {"jeep", "<raw>/models/jeep.fbx", "<working>/models/jeep.mdl"},
                                  {"grass", "<raw>/textures/grass.png", "<working>/grass.dds"},
                                  {"pack", "<raw>/unused.txt", "<retail>/pack.bin"}};

class SCENE : public STEP_SCENE
{
public:
    SCENE()
    {
        tree.write("old_working_data/Old Models/Far/Away/tank.low", "x");
        PATHS::initialise(tree.path("tool"));
        STEP_PROCESSOR* const processor = add_processor(QStringLiteral("Models"));
        for (const auto& action : ACTIONS) {
            processor->add(action[0])->reads.append(action[1]);
            static_cast<STEP_ACTION*>(processor->actions.last())->writes(action[2]);
            tree.write(QString(action[1]).replace("<raw>", "raw_data"), "x");
        }
        processor->actions[1]->add_dependency(*processor->actions[2], true);
        tree.write("raw_data/notes.txt", "x");
        const QByteArray rule("<rules><rule name=\"&lt;b>Format\" inherit=\"true\"><property name=");
        tree.write("raw_data/rules.gox", rule + "\"Level\">9</property></rule></rules>");
        const QByteArray twice = rule.mid(7) + "\"Kind\">BC7</property></rule>";
        tree.write("raw_data/textures/rules.gox", "<rules>" + twice + twice + "</rules>");
        start_up();
        file("<raw>/unused.txt")->consumers.clear(); // leaves "pack" to the retail tree
        set_popup(false);
    }

    void set_popup(bool on)
    {
        session->preferences->findChild<QCheckBox*>("setting_actionselection")->setChecked(on);
    }

    QString selected() const
    {
        QStringList names;
        for (ACTION_INTERFACE* action : session->actions)
            if (action->selection_count >= 1)
                names.append(action->display_text(true));
        return names.join(' ');
    }
};

class WINDOW : public DATA_SELECTION_DIALOG
{
public:
    explicit WINDOW(SCENE& scene) : DATA_SELECTION_DIALOG(scene.session, QString(), nullptr, {}), scene(scene)
    {
        show();
        for (QTreeView* tree : findChildren<QTreeView*>())
            tree->expandAll();
    }

    QModelIndex row(const QString& name) const { return row_named(*raw_data_proxy, name); }

    void change(const QString& name, bool selected)
    {
        for (ACTION_INTERFACE* action : scene.session->actions)
            if (action->display_text(true) == name)
                QMetaObject::invokeMethod(this, "action_selection_changed", Q_ARG(ACTION_INTERFACE*, action),
                                          Q_ARG(bool, selected));
    }

    SCENE& scene;
};

void click(QPushButton* button)
{
    button->show();
    QTest::mouseClick(button, Qt::LeftButton);
}

void press(QWidget* widget, const QVector<Qt::Key>& keys)
{
    for (const Qt::Key key : keys)
        QTest::keyClick(widget, key);
}

QString entries(const QWidget* menu)
{
    QStringList texts;
    for (const QAction* action : menu->actions())
        texts.append(action->text());
    return texts.join(',');
}

} // namespace

class tst_selection_dialog : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void check_selects_data()
    {
        // Actions selected before, rows marked in this order, the row that is ticked
        // (none: the space bar instead; with ">" only its files), actions selected after.
        const char* const lines[] = {
            "folder|||models|low high jeep",
            "file pulls another along|||tank.fbx|low high jeep",
            "in part becomes whole|low||tank.fbx|low high jeep",
            "whole is cleared|low high||tank.fbx|",
            "outside of the marked rows||jeep.fbx|grass.png|grass",
            "first marked row decides|jeep|jeep.fbx grass.png|grass.png|",
            "marked the other way round||grass.png jeep.fbx|jeep.fbx|jeep grass",
            "space bar||grass.png jeep.fbx||jeep grass",
            "no action, no box||notes.txt|notes.txt|",
            "files only|||>models|low high jeep",
        };
        add_table({"before", "marked", "ticked", "after"}, lines);
    }

    void check_selects()
    {
        QFETCH(QString, before);
        QFETCH(QString, marked);
        QFETCH(QString, ticked);
        QFETCH(QString, after);
        SCENE scene;
        WINDOW window(scene);
        QTreeView& tree = *window.ui.raw_data_files;
        QVERIFY(window.focusWidget() == &tree && !window.ui.start_button->isEnabled());
        for (const QString& name : before.split(' ', Qt::SkipEmptyParts))
            window.change(name, true);
        for (const QString& name : marked.split(' ', Qt::SkipEmptyParts))
            click_row(tree, window.row(name), Qt::ControlModifier);
        const QItemSelection selection = tree.selectionModel()->selection();
        QSignalSpy changes(window.raw_data_proxy->sourceModel(),
                           SIGNAL(dataChanged(QModelIndex, QModelIndex)));
        window.raw_data_proxy->refresh();
        const int once = changes.size(); // one a folder
        if (ticked.startsWith('>')) {
            tree.selectionModel()->setCurrentIndex(window.row(ticked.mid(1)), QItemSelectionModel::NoUpdate);
            window.ui.select_files_only_raw->trigger();
        } else if (ticked.isEmpty()) {
            press(&tree, {Qt::Key_Space});
        } else {
            click_box(tree, window.row(ticked));
        }
        QCOMPARE(scene.selected(), after);
        QCOMPARE(changes.size(), ticked == "notes.txt" ? once : 2 * once);
        QCOMPARE(window.ui.start_button->isEnabled(), !after.isEmpty());
        if (ticked.isEmpty() || !marked.contains(ticked)) // a click on a marked row unmarks the others
            QCOMPARE(tree.selectionModel()->selection(), selection);
    }

    void popup_changes_the_selection()
    {
        SCENE scene;
        scene.set_popup(true);
        WINDOW window(scene);
        click_box(*window.ui.raw_data_files, window.row("grass.png"));
        QVERIFY(!QApplication::activePopupWidget()); // one action is no choice
        QCOMPARE(scene.selected(), QString("grass"));
        click_box(*window.ui.raw_data_files, window.row("tank.fbx"));
        const QPointer<QWidget> popup = QApplication::activePopupWidget();
        QVERIFY(popup && (popup->pos() - QCursor::pos()).manhattanLength() <= 4); // the platform adds a frame
        QCOMPARE(scene.selected(), QString("grass"));
        QListWidget* const consumers = popup->findChild<QListWidget*>("consumer_list");
        QCOMPARE(popup->focusWidget(), consumers); // there is nothing in the other list
        click_box(*consumers, consumers->model()->index(1, 0));
        QCOMPARE(scene.selected(), QString("low grass"));
        QCOMPARE(window.row("tank.fbx").data(Qt::CheckStateRole).toInt(), int(Qt::PartiallyChecked));
        press(consumers, {Qt::Key_Escape});
        QVERIFY(window.isVisible());
        QTRY_VERIFY(!popup);

        const QRect screen = QGuiApplication::primaryScreen()->geometry();
        QCursor::setPos(screen.bottomRight());
        press(window.ui.raw_data_files, {Qt::Key_Space});
        QVERIFY(QApplication::activePopupWidget());
        QVERIFY(screen.adjusted(0, 0, 4, 4).contains(QApplication::activePopupWidget()->geometry()));
    }

    void start_follows_the_choice()
    {
        SCENE scene;
        WINDOW window(scene);
        window.change("high", true);
        window.change("jeep", true);
        window.change("high", false);
        QCOMPARE(scene.selected(), QString("jeep")); // still held once
        QCOMPARE(window.chosen_actions.size(), 1);
        QVERIFY(window.ui.start_button->isEnabled());
        for (const bool rules_changed : {true, false}) {
            scene.session->rule_cache.rules_changed = rules_changed;
            window.change("grass", rules_changed);
            press(window.ui.raw_data_files, {Qt::Key_Return});
            QCOMPARE(window.isVisible(), rules_changed);
        }
        QCOMPARE(window.result(), int(QDialog::Accepted));
    }

    void escape_asks_before_a_choice_is_lost()
    {
        SCENE scene;
        WINDOW window(scene);
        DIALOG_ANSWERS answers;
        window.change("grass", true);
        answers.press_default();
        press(window.ui.raw_data_files, {Qt::Key_Escape});
        QVERIFY(window.isVisible() && answers.texts.size() == 1);
        window.close();
        QVERIFY(!window.isVisible() && answers.texts.size() == 1);
        window.show();
        answers.press_yes();
        press(&window, {Qt::Key_Escape});
        QVERIFY(!window.isVisible() && answers.texts.size() == 2);
        window.change("grass", false);
        window.show();
        press(&window, {Qt::Key_Escape});
        QVERIFY(!window.isVisible() && answers.texts.size() == 2);
    }

    // A build writes where the working data is, which puts files of the companion there.
    void names_stay_when_a_build_moves_files()
    {
        SCENE scene;
        WINDOW window(scene);
        const QString rows = tree_text(*window.working_data_proxy);
        QVERIFY(rows.contains("Old Models|.[ ]Far|..[ ]Away|...[ ]tank.low"));
        window.change("low", true);
        scene.session->plan_build();
        scene.session->prepare_build(false);
        scene.session->finish_build(false);
        const FILE_ENTRY& file = *scene.file("<working>/old models/far/away/tank.low");
        QCOMPARE(file.physical, scene.tree.path("working_data/old models/far/away/tank.low"));
        window.change("low", false);
        QCOMPARE(tree_text(*window.working_data_proxy), rows);
    }

    void start_asks_for_missing_files()
    {
        for (const QString& answer : {QString(), QString("reject_button"), QString("accept_button")}) {
            SCENE scene;
            QByteArray words[] = {"gox", "--offline"};
            char* arguments[] = {words[0].data(), words[1].data()};
            QStringList errors;
            scene.options.initialise(answer.isEmpty() ? 2 : 1, arguments, errors);
            scene.configuration.get_latest = answer.isEmpty(); // then there is nothing to ask
            scene.configuration.retail = !answer.isEmpty();
            for (const char* missing : {"<raw>/textures/grass.png", "<raw>/models/jeep.fbx"}) {
                scene.file(missing)->p4_state = FILE_STATE_ADDED;
                scene.file(missing)->local_state = FILE_STATE_NO_CHANGE;
            }
            WINDOW window(scene);
            window.change("grass", true); // nobody wants the jeep, which is missing too
            DIALOG_ANSWERS answers;
            QString shown;
            if (!answer.isEmpty())
                answers.answer_with([&](QDialog* dialog) {
                    const QListWidget* const list = dialog->findChild<QListWidget*>();
                    shown = list->count() == 1 ? list->item(0)->text() : QString("several");
                    click(dialog->findChild<QPushButton*>(answer));
                });
            QCOMPARE(window.ui.get_latest_checkbox->isEnabled(), !answer.isEmpty());
            QCOMPARE(window.ui.perforce->isEnabled(), !answer.isEmpty());
            QCOMPARE(window.ui.retail_build_files->isHidden(), answer.isEmpty());
            QCOMPARE(window.raw_data_proxy->get_latest, answer.isEmpty());
            click(window.ui.start_button);
            QVERIFY(window.result() == QDialog::Accepted && answers.unexpected == 0);
            QCOMPARE(shown, answer.isEmpty() ? QString() : scene.tree.path("raw_data/textures/grass.png"));
        }
    }

    void select_all_and_filter()
    {
        SCENE scene;
        WINDOW window(scene);
        DIALOG_ANSWERS answers;
        for (const Qt::Key key : {Qt::Key_Home, Qt::Key_Down}) { // no filter, then one that hides all files
            answers.answer_with([key](QDialog* dialog) {
                press(dialog->findChild<QComboBox*>("mode_combobox"), {key});
                dialog->reject();
            });
            click(window.ui.pushButton_2);
            QCOMPARE(scene.selected(), QString());
            QCOMPARE(window.retail_build_proxy->filter.mode, key == Qt::Key_Down ? 1 : 0);
            click(window.ui.pushButton);
            QCOMPARE(scene.selected(), QString("low high jeep grass")); // not what only retail files lead to
        }
        click(window.ui.pushButton_3);
        QVERIFY(scene.selected().isEmpty() && !window.ui.start_button->isEnabled());
    }

    void rules_of_a_file()
    {
        RULE_SCHEMA::register_schema("<b>Format", QString(), {{"Kind", {}}, {"Level", {}}, {"Unset", {}}});
        SCENE scene;
        WINDOW window(scene);
        window.set_perforce(&scene.p4);
        window.change("grass", true);
        DIALOG_ANSWERS answers;
        QStringList rows;
        answers.answer_with([&](QDialog* dialog) {
            QTreeWidget* const tree = dialog->findChild<QTreeWidget*>("rules");
            for (QTreeWidgetItemIterator item(tree); *item; ++item)
                rows.append(QStringList{(*item)->text(0), (*item)->text(1), (*item)->text(2)}.join('|'));
            tree->setCurrentItem(tree->topLevelItem(0));
            press(tree, {Qt::Key_Return}); // the rule itself leads nowhere
            QVERIFY(dialog->isVisible());
            const QPoint property = tree->visualItemRect(tree->topLevelItem(0)->child(0)).center();
            QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, property);
            QTest::mouseDClick(tree->viewport(), Qt::LeftButton, {}, property);
        });
        answers.answer_with([](QDialog* editor) { // at the first of the folder's other rules
            QTreeWidget* const tree = editor->findChild<QTreeWidget*>("rules");
            QCOMPARE(tree->currentItem()->text(0), QString("Kind"));
            QCOMPARE(tree->currentItem()->parent()->parent()->indexOfChild(tree->currentItem()->parent()), 0);
            press(tree, {Qt::Key_F2});
            QTest::keyClicks(tree->findChild<QLineEdit*>(), "raw");
            press(editor, {Qt::Key_Escape});
        });
        for (int box = 0; box < 2; ++box) // unsaved changes, a restart is needed
            answers.answer_with([](QDialog* dialog) { press(dialog, {Qt::Key_Escape}); });
        for (const char* name : {"grass.png", "textures"}) { // a folder has no rules to show
            window.ui.raw_data_files->setCurrentIndex(window.row(name));
            window.ui.view_raw_data_rules->trigger();
        }
        QCOMPARE(rows, QStringList({"<b>Format||", "Kind|BC7|<raw>/textures", "Level|9|<raw>"}));
        QVERIFY(answers.texts.size() == 4 && answers.unexpected + answers.waiting() == 0);
        const CACHED_RULE& edited =
            *scene.session->rule_cache.rules.values("<raw>/textures*<b>format").last();
        QCOMPARE(edited.properties["Kind"], QVariant("raw"));
        QVERIFY(window.chosen_actions.size() == 1 && !window.ui.start_button->isEnabled());
        answers.answer_with([](QDialog* editor) { // the same editor, as it was left
            QTreeWidget* const tree = editor->findChild<QTreeWidget*>("rules");
            QCOMPARE(tree->currentItem()->text(1), QString("raw"));
            QVERIFY(QTest::qWaitForWindowActive(editor));
            QTest::keyClick(tree, Qt::Key_Z, Qt::ControlModifier);
            editor->close();
        });
        click(window.ui.pushButton_4);
        QCOMPARE(edited.properties["Kind"], QVariant("BC7"));
    }

    void graph_and_configuration_editor()
    {
        LAYOUT_RUN::set_program(GOX_TOOL_DIR "/gox_layout." GOX_BUILD_TAG ".bin");
        SCENE scene;
        WINDOW window(scene);
        window.change("grass", true);
        const QString folder = QDir::currentPath();
        const QString graph_folder = QCoreApplication::applicationDirPath() + "/GOX/graphviz";
        QVERIFY(QDir().mkpath(graph_folder));
        DIALOG_ANSWERS answers;
        for (const char* button : {"pushButton_2", "pushButton"}) // cancels, generates
            answers.answer_with([button](QDialog* settings) {
                QTimer::singleShot(0, settings->findChild<QPushButton*>(button), SLOT(click()));
            });
        answers.answer_with([&](QDialog* dialog) {
            const auto* const viewer = dialog->findChild<GRAPHVIZ_VIEWER_WIDGET*>();
            QTRY_VERIFY(viewer->state() == GRAPHVIZ_VIEWER_WIDGET::STATE::SHOWN);
            QCOMPARE(viewer->picture()->nodes.size(), 3); // the action and what it reads and writes
            QCOMPARE(QDir::currentPath(), graph_folder);
            dialog->close();
        });
        for (const int windows : {1, 3}) {
            click(window.ui.pushButton_6);
            QCOMPARE(answers.texts.size(), windows);
            QCOMPARE(QDir::currentPath(), folder);
        }
        for (int opening = 0; opening < 2; ++opening) { // what was left in it stays
            answers.answer_with([opening](QDialog* dialog) {
                QListWidgetItem* const row = dialog->findChild<QListWidget*>("processors")->item(1);
                QCOMPARE(row->text(), QString("Models"));
                QCOMPARE(row->checkState(), opening == 0 ? Qt::Checked : Qt::Unchecked);
                row->setCheckState(Qt::Unchecked);
                dialog->close();
            });
            answers.press_default();
            click(window.ui.pushButton_5);
        }
        QVERIFY(answers.texts.size() == 7 && answers.unexpected + answers.waiting() == 0);
    }

    void menus()
    {
        SCENE scene;
        WINDOW window(scene);
        window.ui.select_files_only_working->trigger(); // no current row
        window.ui.view_retail_build_actions->trigger();
        QCOMPARE(entries(window.ui.retail_build_files), QString("View actions"));
        QTreeView& tree = *window.ui.raw_data_files;
        tree.setCurrentIndex(window.row("grass.png"));
        DIALOG_ANSWERS answers;
        answers.answer_with([](QDialog* dialog) {
            QListWidget* const list = dialog->findChild<QListWidget*>("consumer_list");
            click_box(*list, list->model()->index(0, 0));
            dialog->reject();
        });
        QTimer::singleShot(0, &tree, [] {
            QWidget* const menu = QApplication::activePopupWidget();
            QCOMPARE(entries(menu), QString("View rules,View actions,Select files only"));
            press(menu, {Qt::Key_Down, Qt::Key_Down, Qt::Key_Return});
        });
        QContextMenuEvent menu_key(QContextMenuEvent::Keyboard,
                                   tree.visualRect(tree.currentIndex()).center());
        QApplication::sendEvent(&tree, &menu_key);
        QCOMPARE(scene.selected(), QString("grass"));
        window.ui.select_files_only_raw->trigger();
        QCOMPARE(scene.selected(), QString());
        window.change("grass", true);

        click(window.ui.perforce);
        QWidget* const menu = QApplication::activePopupWidget();
        QCOMPARE(entries(menu), QString("Check in selected,Revert selected,Select checked-out"));
        answers.press_default();
        press(menu, {Qt::Key_Up, Qt::Key_Return});
        QCOMPARE(answers.texts, QStringList({"GOX", "Files selected."}));
        QCOMPARE(scene.selected(), QString());
    }

    void geometry()
    {
        SCENE scene;
        QSettings store("The Ferrule Works", "GOX");
        QWidget far_away;
        far_away.setGeometry(30000, 30000, 9000, 9000);
        for (const QVariant& stored :
             {QVariant(), QVariant(QStringList{"no", "bytes"}),
              QVariant(QByteArray("\x01\xd9\xd0\xcb\x00\x07", 6)), QVariant(far_away.saveGeometry())}) {
            store.setValue("DataSelectionGeometry", stored);
            WINDOW window(scene);
            const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
            QVERIFY(screen.intersects(window.geometry()) && window.width() <= screen.width());
            QVERIFY(window.height() >= 495); // what the form gives it
            window.setGeometry(40, 50, 610, 420);
            window.accept();
            QCOMPARE(store.value("DataSelectionGeometry"), stored);
            window.show();
            window.close();
            QCOMPARE(window.result(), int(QDialog::Rejected));
            QCOMPARE(WINDOW(scene).geometry(), QRect(40, 50, 610, 420));
        }
    }
};

QTEST_MAIN(tst_selection_dialog)
#include "tst_selection_dialog.moc"
