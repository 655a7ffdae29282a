// The trees of the selection window: what they show, which rows can be checked and
// what they report; and that their views and the filter's dialog are fit to be seen.

#include <QtGui/QPaintEvent>
#include <QtTest/QtTest>
#include <QtWidgets/QHeaderView>

#include "contracts/services/plain_row_delegate.h"
#include "selection/data_selection_file_model.h"
#include "selection/data_selection_file_model_filter_proxy.h"
#include "selection/file_tree_view.h"
#include "selection/filter_dialog.h"
#include "tests/selection/file_scene.h"
#include "tests/support/cases.h"
#include "tests/support/view_clicks.h"
#include "tests/support/watched_test.h"

namespace {

using FILTER = DATA_SELECTION_FILTER;
using MODEL = DATA_SELECTION_FILE_MODEL;
using PROXY = DATA_SELECTION_FILE_MODEL_FILTER_PROXY;

const char SMALL_TREE[] = "<raw>/Top.txt a\n<raw>/Maps/Moor.txt b >c >b\n<raw>/Maps/Deep/Well.txt d\n"
                          "<raw>/Maps/Readme.txt\n<raw>/Notes/Old.txt";

/// Notes what it has painted.
struct VIEW : FILE_TREE_VIEW
{
    void paintEvent(QPaintEvent* event) override
    {
        painted += event->region();
        FILE_TREE_VIEW::paintEvent(event);
    }
    QRegion painted;
};

/// Lets no file pass that has no state.
const FILTER NO_FILES{FILTER_PERFORCE_STATUS};

} // namespace

class TST_FILE_TREES : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void trees_data() { add_cases("selection/tst_file_trees.cases", {"files", "root", "selected", "rows"}); }
    void trees()
    {
        const TEST_CASE one = current_case();
        const auto how = QAbstractItemModelTester::FailureReportingMode::QtTest;
        for (const bool locked : {true, false}) {
            FILE_SCENE scene(one["files"], locked);
            auto* const model = new MODEL(&scene.map, one["root"].toInt(), nullptr);
            PROXY proxy(model);
            QCOMPARE(static_cast<const QObject*>(model)->parent(), &proxy);
            QAbstractItemModelTester(model, how);
            QAbstractItemModelTester(&proxy, how);
            for (const QString& name : one["selected"].split(' ', Qt::SkipEmptyParts))
                scene.action(name)->selection_count = 1;
            QCOMPARE(model->check_state(model->index(0, 0)), 0); // not before the first refresh
            proxy.refresh();
            GOX_COMPARE_TEXT(rows_of(*model), one["rows"]);
            GOX_COMPARE_TEXT(rows_of(proxy), one["rows"]);
        }
    }

    // A build writes where the working data is, which puts files of the companion there.
    void folders_keep_their_names_when_files_move()
    {
        FILE_SCENE scene(SMALL_TREE);
        MODEL model(&scene.map, 0, nullptr);
        const QString before = rows_of(model);
        for (FILE_ENTRY& file : scene.files)
            file.physical = PHYSICAL_PATH("/elsewhere/" + file.physical.section('/', -1));
        GOX_COMPARE_TEXT(rows_of(model), before);
        const QString names[] = {"Deep", "Moor.txt"};
        const auto* const deep = model.root.children[0]->children[0];
        QCOMPARE(MODEL::find_folder(QStringRef(&names[0]), &model.root, true), deep);
        QCOMPARE(MODEL::find_folder(QStringRef(&names[0]), deep->parent, false), deep);
        QVERIFY(!MODEL::find_folder(QStringRef(&names[0]), &model.root, false));
        QVERIFY(!MODEL::find_folder(QStringRef(&names[1]), &model.root, true));
    }

    void rows_and_what_are_none()
    {
        FILE_SCENE scene(SMALL_TREE);
        MODEL model(&scene.map, 0, nullptr);
        const QModelIndex maps = row_named(model, "Maps"), moor = row_named(model, "Moor.txt");
        QVERIFY(maps.internalPointer() == &model.root && moor.internalPointer() == model.root.children[0]);
        QCOMPARE(model.root.name.toString(), QString("<raw>"));
        QCOMPARE(model.headerData(0, Qt::Vertical), QVariant("Raw Data"));
        QVERIFY(!model.headerData(1, Qt::Vertical).isValid());
        QCOMPARE(int(maps.flags()), 113);
        QCOMPARE(int(row_named(model, "Readme.txt").flags()), 33);
        QCOMPARE(int(model.flags(QModelIndex())), 0);
        QVector<QImage> icons;
        for (const QModelIndex& index : {maps, moor})
            icons.append(index.data(Qt::DecorationRole).value<QIcon>().pixmap(16, 16).toImage());
        QVERIFY(!icons[0].isNull() && !icons[1].isNull() && icons[0] != icons[1]);
        QSet<ACTION_INTERFACE*> actions;
        model.collect_file_actions(QModelIndex(), actions, actions);
        model.select_index(QModelIndex(), true, true);
        QVERIFY(actions.isEmpty() && !model.file_entry({}) && model.check_state({}) == 0);
        QSignalSpy checks(&model, SIGNAL(item_checked(QModelIndex)));
        QVERIFY(!model.setData(maps, 2, Qt::EditRole) && !model.setData({}, 2, Qt::CheckStateRole));
        QVERIFY(model.setData(maps, 2, Qt::CheckStateRole) && maps.data(Qt::CheckStateRole) == 0);
        QCOMPARE(checks.size(), 1);
    }

    void walks_report_readers_first_and_repeat_themselves()
    {
        FILE_SCENE scene("<raw>/M/1 a b >c >a\n<raw>/M/2 d\n<raw>/M/s/3 e\n<raw>/4 f");
        PROXY proxy(new MODEL(&scene.map, 0, nullptr));
        QString log;
        connect(&proxy, &PROXY::action_selected, this, [&log](ACTION_INTERFACE* action, bool selected) {
            log += (selected ? "+" : "-") + action->display_text(true);
        });
        proxy.select_index(row_named(proxy, "1"), true, false);
        proxy.select_index(row_named(proxy, "M"), false, false);
        proxy.select_all(true);
        QCOMPARE(log, "+a+b+c+a"
                      "-a-b-c-a-d"
                      "+f+a+b+c+a+d+e");
    }

    void each_folder_reports_one_row_too_many()
    {
        FILE_SCENE scene("<raw>/M/1\n<raw>/M/2\n<raw>/M/s/3");
        MODEL model(&scene.map, 0, nullptr);
        QString log;
        const auto note = [&](const QModelIndex& from, const QModelIndex& to, const QVector<int>& roles) {
            log += QString("%1 %2-%3,").arg(from.parent().data().toString()).arg(from.row()).arg(to.row());
            QVERIFY(roles.isEmpty() && from.internalPointer() == to.internalPointer());
            QVERIFY(!to.data().isValid() && !to.flags() && !model.rowCount(to) && !model.file_entry(to));
        };
        connect(&model, &MODEL::dataChanged, this, note);
        model.refresh();
        QCOMPARE(log, " 0-1,M 0-3,s 0-1,");
    }

    void views_stay_as_they_are()
    {
        FILE_SCENE scene(SMALL_TREE);
        PROXY proxy(new MODEL(&scene.map, 0, nullptr));
        VIEW view;
        view.setSortingEnabled(true);
        view.setSelectionMode(QAbstractItemView::ExtendedSelection);
        view.setModel(&proxy);
        view.show();
        view.expandAll();
        QVERIFY(QTest::qWaitForWindowExposed(&view) && view.uniformRowHeights());
        QVERIFY(qobject_cast<PLAIN_ROW_DELEGATE*>(view.itemDelegate()));
        view.selectAll();
        QCOMPARE(view.selectionModel()->selectedIndexes().size(), 8);
        view.collapse(row_named(proxy, "Deep"));
        view.setCurrentIndex(row_named(proxy, "Maps"));
        for (const char* rows :
             {"[ ] Maps <\n.+[ ] Deep\n.[ ] Moor.txt\n.Readme.txt\nNotes\n.Old.txt\n[ ] Top.txt",
              "[ ] Top.txt\nNotes\n.Old.txt\n[ ] Maps <\n.Readme.txt\n.[ ] Moor.txt\n.+[ ] Deep"}) {
            proxy.set_filter(NO_FILES);
            QCOMPARE(proxy.rowCount(row_named(proxy, "Maps")), 1);
            proxy.set_filter(FILTER());
            GOX_COMPARE_TEXT(WINDOW_TEXT::rows(view), rows);
            QTest::mouseClick(view.header()->viewport(), Qt::LeftButton, {}, QPoint(20, 5)); // turns it
        }
        QCoreApplication::processEvents();
        proxy.set_filter(NO_FILES);
        const int shown = proxy.rowCount(row_named(proxy, "Maps"));
        proxy.filter.mode = FILTER_NONE;
        view.painted = QRegion();
        proxy.refresh();
        QCOMPARE(proxy.rowCount(row_named(proxy, "Maps")), shown); // a refresh does not filter anew
        QTRY_COMPARE(view.painted, QRegion(view.viewport()->rect()));
    }

    void the_filter_dialog_has_room()
    {
        const QFont usual = QApplication::font();
        QApplication::setFont(QFont(usual.family(), 16));
        FILTER filter;
        filter.mode = FILTER_PERFORCE_STATUS;
        FILTER_DIALOG dialog(&filter, nullptr, Qt::WindowFlags());
        QVERIFY(dialog.size() == QSize(278, 168) && dialog.maximumSize() == dialog.size());
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        for (const QCheckBox* box : dialog.findChildren<QCheckBox*>())
            QVERIFY(!box->isVisible() || box->size().expandedTo(box->minimumSizeHint()) == box->size());
        QApplication::setFont(usual);
    }
};

QTEST_MAIN(TST_FILE_TREES)
#include "tst_file_trees.moc"
