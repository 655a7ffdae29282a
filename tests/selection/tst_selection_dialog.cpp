// The selection dialog, driven with mouse and keys: what it shows, what it opens,
// and what the actions' selection says afterwards.

#include <QtGui/QScreen>
#include <QtGui/QWindow>
#include <QtTest/QtTest>

#include "contracts/rules/rule_schema.h"
#include "contracts/services/plain_row_delegate.h"
#include "contracts/services/user_settings.h"
#include "graph/graphviz_viewer_widget.h"
#include "selection/chosen_files.h"
#include "tests/selection/gestures.h"
#include "tests/selection/selection_transcript.h"
#include "tests/support/cases.h"
#include "tests/support/watched_test.h"

class TST_SELECTION_DIALOG : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void transcripts_data()
    {
        LAYOUT_RUN::set_program(GOX_TOOL_DIR "/gox_layout." GOX_BUILD_TAG ".bin");
        QDir::setCurrent(QCoreApplication::applicationDirPath());
        QDir().mkpath("GOX/graphviz");
        RULE_SCHEMA::register_schema("<b>Format", QString(), {{"Kind", {}}, {"Level", {}}, {"Unset", {}}});
        add_cases("selection/tst_selection_dialog.cases", {"with", "files", "transcript"});
    }

    void transcripts()
    {
        const TEST_CASE one = current_case();
        SELECTION_SCENE scene(one["files"], one["with"]);
        DATA_SELECTION_DIALOG window(scene.session, QString(), nullptr, {});
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        for (QTreeView* tree : window.findChildren<QTreeView*>())
            tree->expandAll();
        SELECTION_TRANSCRIPT script(scene, window);
        GOX_COMPARE_TEXT(script.play(one["transcript"]), one["transcript"]);
        QTRY_VERIFY(!window.findChild<QWidget*>("ACTION_LIST_DIALOG")); // popups are gone
    }

    void gestures_count_an_action_once_data() { add_cases("selection/gestures.cases", {"files"}); }
    void gestures_count_an_action_once()
    {
        SELECTION_SCENE scene(current_case()["files"]);
        DATA_SELECTION_DIALOG window(scene.session, QString(), nullptr, {});
        window.show();
        PERSON person{scene, window};
        for (QTreeView* tree : person.trees)
            tree->expandAll();
        for (int gesture = 0; gesture < 500; ++gesture) {
            person.make_a_gesture();
            QHash<ACTION_INTERFACE*, int> counts;
            for (ACTION_INTERFACE* action : qAsConst(person.by_hand))
                for (ACTION_INTERFACE* carried : carried_by(action))
                    ++counts[carried];
            for (auto& [name, action] : scene.files.actions)
                if (action.selection_count != counts.value(&action))
                    QFAIL(qPrintable(QString("gesture %1 counts %2 wrong").arg(gesture).arg(name)));
            QCOMPARE(window.chosen_actions, ACTIONS(counts.keyBegin(), counts.keyEnd()));
            QCOMPARE(window.ui.start_button->isEnabled(), !counts.isEmpty());
        }
    }

    void popups_come_up_at_the_cursor_and_on_the_screen()
    {
        SELECTION_SCENE scene("<raw>/models/tank.fbx low high", "popup");
        scene.files.action("low")->selection_count = 1;
        DATA_SELECTION_DIALOG window(scene.session, QString(), nullptr, {});
        window.show();
        QTreeView& tree = *window.ui.raw_data_files;
        QCOMPARE(tree.model()->index(0, 0).data(Qt::CheckStateRole).toInt(), int(Qt::PartiallyChecked));
        QCOMPARE(window.findChildren<QAbstractProxyModel*>().size(), 3); // which end with it
        const QRect screen = QGuiApplication::primaryScreen()->geometry();
        VIEW_CLICKS::click_box(tree, tree.model()->index(0, 0));
        QWidget* popup = QApplication::activePopupWidget();
        QVERIFY(popup && (popup->pos() - QCursor::pos()).manhattanLength() <= 4); // the platform adds a frame
        for (const QListWidget* list : popup->findChildren<QListWidget*>())       // names come from outside
            QVERIFY(qobject_cast<PLAIN_ROW_DELEGATE*>(list->itemDelegate()));
        QCOMPARE(popup->grab().toImage().pixelColor(0, 50),
                 popup->palette().color(QPalette::Disabled, QPalette::Text));
        popup->close();
        for (const QPoint& corner : {screen.bottomRight(), screen.bottomLeft() + QPoint(1000000, 0)}) {
            QCursor::setPos(corner);
            QTest::keyClick(&tree, Qt::Key_Space);
            popup = QApplication::activePopupWidget();
            QVERIFY(popup && screen.adjusted(0, 0, 4, 4).contains(popup->geometry()));
            popup->hide();
        }
        QTRY_VERIFY(!window.findChild<QWidget*>("ACTION_LIST_DIALOG"));
    }

    void geometry()
    {
        SELECTION_SCENE scene("<raw>/tank.fbx low");
        QSettings store = user_settings();
        QWidget far_away;
        far_away.setGeometry(30000, 30000, 9000, 9000);
        for (const QVariant& stored :
             {QVariant(), QVariant(QStringList{"no", "bytes"}),
              QVariant(QByteArray("\x01\xd9\xd0\xcb\x00\x07", 6)), QVariant(far_away.saveGeometry())}) {
            store.setValue("DataSelectionGeometry", stored);
            DATA_SELECTION_DIALOG window(scene.session, QString(), nullptr, {});
            window.show();
            const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
            QVERIFY(screen.intersects(window.geometry()) && window.width() <= screen.width());
            QVERIFY(window.height() >= 495);                      // what the form gives it
            window.windowHandle()->setGeometry(40, 50, 610, 420); // by its frame
            QTRY_COMPARE(window.geometry(), QRect(40, 50, 610, 420));
            window.accept();
            QCOMPARE(store.value("DataSelectionGeometry"), stored);
            window.show();
            window.close();
            QCOMPARE(window.result(), int(QDialog::Rejected));
            const DATA_SELECTION_DIALOG next(scene.session, QString(), nullptr, {});
            QCOMPARE(next.geometry(), QRect(40, 50, 610, 420));
        }
    }
};

QTEST_MAIN(TST_SELECTION_DIALOG)
#include "tst_selection_dialog.moc"
