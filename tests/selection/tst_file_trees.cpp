// The trees of the selection window: what they show, which rows can be checked,
// what they report, their filter and colours, and the filter's own dialog.

#include <QtGui/QPaintEvent>
#include <QtTest/QtTest>
#include <QtWidgets/QHeaderView>

#include <memory>

#include "selection/data_selection_file_model.h"
#include "selection/data_selection_file_model_filter_proxy.h"
#include "selection/file_tree_view.h"
#include "selection/filter_dialog.h"
#include "tests/selection/file_scene.h"
#include "tests/support/view_clicks.h"
#include "tests/support/watched_test.h"

namespace {

using FILTER = DATA_SELECTION_FILTER;
using MODEL = DATA_SELECTION_FILE_MODEL;
using PROXY = DATA_SELECTION_FILE_MODEL_FILTER_PROXY;

const char SMALL_TREE[] = "<raw>/Top.txt a, <raw>/Maps/Moor.txt b >b, <raw>/Maps/Deep/Well.txt c, "
                          "<raw>/Maps/Readme.txt, <raw>/Notes/Old.txt";

/// A file of each kind that filters tell apart, in one folder.
struct FILTER_SCENE : FILE_SCENE
{
    FILTER_SCENE()
        : FILE_SCENE("<raw>/f/dl, <raw>/f/dp, <raw>/f/ml, <raw>/f/mp, <raw>/f/nl, <raw>/f/np, "
                     "<raw>/f/s a, <raw>/f/t >a, <raw>/f/u, <raw>/f/w a >a")
    {
        for (const QString& name : QStringList{"dl", "dp", "ml", "mp", "nl", "np"})
            (name[1] == 'l' ? file(name).local_state : file(name).p4_state) =
                QString("?dnm").indexOf(name[0]);
        file("t").out_of_date_target = true;
        file("w").out_of_date_source = true;
        file("t").out_of_date_target_latest = true;
        file("s").out_of_date_source_latest = true;
    }
};

QString files_in_first_folder(const PROXY& proxy)
{
    return tree_text(proxy)
        .remove(QRegularExpression("^[^|]*\\|?\\.?|\\[.\\]"))
        .replace("|.", " ")
        .remove('.');
}

FILTER filter_without_flags(int mode)
{
    return {mode, false, false, false, false, false, false, false, false, false, false, false, false, false};
}

/// What a widget has painted so far.
struct PAINTED : QObject
{
    explicit PAINTED(QWidget* widget) { widget->installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Paint)
            region += static_cast<QPaintEvent*>(event)->region();
        return false;
    }
    QRegion region;
};

} // namespace

class TST_FILE_TREES : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void trees_data();
    void trees();
    void many_sub_folders_keep_their_names_apart();
    void odd_indexes();
    void check_states_data();
    void check_states();
    void walks_report_actions();
    void each_folder_reports_one_row_too_many();
    void views_paint_again_and_pass_clicks_data();
    void views_paint_again_and_pass_clicks();
    void filter();
    void large_trees_keep_what_is_expanded();
    void latest_revisions_colour_at_once_and_filter_later();
    void filter_dialog_writes_with_each_click();
    void filter_dialog_has_room();
};

void TST_FILE_TREES::trees_data()
{
    QTest::addColumn<QString>("files");
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("rows");

    QTest::newRow("folders first, boxes where actions are")
        << SMALL_TREE << 0
        << "[ ]Maps|.[ ]Deep|..[ ]Well.txt|.[ ]Moor.txt|.Readme.txt|Notes|.Old.txt|[ ]Top.txt";
    QTest::newRow("others around it")
        << "<raw>/A/x, <retail>/B/x, <working>/C/x, <working>/D/x" << 2 << "B|.x";
    QTest::newRow("missing root, others behind it") << "<working>/C/x" << 0 << "";
    QTest::newRow("missing root, others before it") << "<raw>/C/x" << 1 << "";
    QTest::newRow("no files") << "" << 0 << "";
    QTest::newRow("two spellings") << "<raw>/M/a/1, <raw>/m/b/2" << 0 << "M|.a|..1|m|.b|..2";
    QTest::newRow("broken run shows what stands in the map")
        << "<raw>/a/1=<raw>/X/1, <raw>/b/2=<raw>/Y/2, <raw>/c/3=<raw>/X/3" << 0 << "X|.1|.2|Y|.2";
    QTest::newRow("missing entry") << "<raw>/a/1=null, <raw>/a/2 >w" << 0 << "[ ]a|.|.[ ]2";
    QTest::newRow("names are plain text") << QString("<raw>/<b>Bold&amp;/\"q\"\nline\u202Ertl") << 0
                                          << QString("<b>Bold&amp;|.\"q\"\nline\u202Ertl");
}

void TST_FILE_TREES::trees()
{
    QFETCH(QString, files);
    QFETCH(int, kind);
    const auto how = QAbstractItemModelTester::FailureReportingMode::QtTest;
    for (const bool locked : {true, false}) {
        FILE_SCENE scene(files, locked);
        auto* const model = new MODEL(&scene.map, kind, nullptr);
        PROXY proxy(model);
        const QAbstractItemModelTester of_model(model, how);
        const QAbstractItemModelTester of_proxy(&proxy, how);
        QTEST(tree_text(*model), "rows");
        QTEST(tree_text(proxy), "rows");
        const QString header = QStringList{"Raw Data", "Working Data", "Retail Data"}[kind];
        QCOMPARE(proxy.headerData(0, Qt::Horizontal).toString(), header);
        QVERIFY(model->headerData(0, Qt::Vertical) == header &&
                !model->headerData(1, Qt::Vertical).isValid());
    }
}

// The last folder goes back to one far in front: a broken run finds it again.
void TST_FILE_TREES::many_sub_folders_keep_their_names_apart()
{
    QStringList files;
    QStringList rows;
    for (int i = 100; i < 180; ++i) {
        files.append(QString("<raw>/m%1/f=<raw>/N%1/f").arg(i));
        rows.append(QString(i == 103 ? "N%1|.s|..g|.f" : "N%1|.f").arg(i));
    }
    files.append("<raw>/zzzz/s/g=<raw>/N103/s/g");
    FILE_SCENE scene(files.join(", "));
    QCOMPARE(tree_text(MODEL(&scene.map, 0, nullptr)), rows.join('|'));
}

void TST_FILE_TREES::odd_indexes()
{
    FILE_SCENE scene(SMALL_TREE);
    MODEL model(&scene.map, 0, nullptr);
    const QModelIndex maps = row_named(model, "Maps");
    const QModelIndex moor = row_named(model, "Moor.txt");
    QVERIFY(maps.internalPointer() == &model.root && moor.internalPointer() == model.root.children[0]);
    QCOMPARE(int(maps.flags()), 113);
    QCOMPARE(int(row_named(model, "Readme.txt").flags()), 33);
    QCOMPARE(int(model.flags(QModelIndex())), 0);
    for (const QModelIndex& index : {maps, moor}) {
        const QImage icon = index.data(Qt::DecorationRole).value<QIcon>().pixmap(16, 16).toImage();
        QVERIFY(!icon.isNull() && qAlpha(icon.pixel(8, 10)) > 0);
    }
    QSet<ACTION_INTERFACE*> actions;
    model.collect_file_actions(QModelIndex(), actions, actions);
    model.select_index(QModelIndex(), true, true);
    QVERIFY(actions.isEmpty() && !model.file_entry(QModelIndex()) && model.check_state(QModelIndex()) == 0);
    QSignalSpy checks(&model, SIGNAL(item_checked(QModelIndex)));
    QVERIFY(!model.setData(maps, 2, Qt::EditRole) && !model.setData(QModelIndex(), 2, Qt::CheckStateRole));
    QVERIFY(model.setData(maps, 2, Qt::CheckStateRole) && maps.data(Qt::CheckStateRole) == 0);
    QCOMPARE(checks.size(), 1);
}

void TST_FILE_TREES::check_states_data()
{
    QTest::addColumn<QString>("files");
    QTest::addColumn<QString>("rows"); // with "b" selected

    QTest::newRow("a file's actions differ") << "<raw>/M/1 a >b, <raw>/M/2 b"
                                             << "[-]M|.[-]1|.[x]2";
    QTest::newRow("unaffected take no part") << "<raw>/M/1, <raw>/M/2 b, <raw>/M/s/3"
                                             << "[x]M|.s|..3|.1|.[x]2";
    QTest::newRow("none, then all") << "<raw>/M/1 a, <raw>/M/2 b"
                                    << "[-]M|.[ ]1|.[x]2";
    QTest::newRow("all, then none below") << "<raw>/M/n/1 b, <raw>/M/o/p/2 a"
                                          << "[-]M|.[x]n|..[x]1|.[ ]o|..[ ]p|...[ ]2";
    QTest::newRow("settled early, folders go on") << "<raw>/M/1 a b, <raw>/M/2 b, <raw>/M/s/3 b"
                                                  << "[-]M|.[x]s|..[x]3|.[-]1|.[x]2";
    QTest::newRow("an action on both sides") << "<raw>/M/1 b >b"
                                             << "[x]M|.[x]1";
}

void TST_FILE_TREES::check_states()
{
    QFETCH(QString, files);
    FILE_SCENE scene(files);
    MODEL model(&scene.map, 0, nullptr);
    scene.action("b")->selection_count = 1;
    QCOMPARE(model.check_state(row_named(model, "M")), 0);
    model.refresh();
    QTEST(tree_text(model), "rows");
    scene.action("b")->selection_count = 0;
    model.refresh();
    QVERIFY(!tree_text(model).contains(QRegularExpression("[-x]\\]")));
}

void TST_FILE_TREES::walks_report_actions()
{
    FILE_SCENE scene("<raw>/M/1 a b >c >a, <raw>/M/2 d, <raw>/M/s/3 e, <raw>/4 f");
    PROXY proxy(new MODEL(&scene.map, 0, nullptr));
    QString log;
    connect(&proxy, &PROXY::action_selected, this, [&](ACTION_INTERFACE* action, bool selected) {
        for (const auto& each : scene.actions)
            if (each.second.get() == action)
                log += (selected ? "+" : "-") + each.first;
    });
    const QModelIndex folder = row_named(proxy, "M");
    proxy.select_index(row_named(proxy, "1"), true, false);
    QCOMPARE(std::exchange(log, ""), "+a+b+c+a");
    proxy.select_index(folder, false, false);
    QCOMPARE(std::exchange(log, ""), "-a-b-c-a-d");

    proxy.set_filter(filter_without_flags(FILTER_PERFORCE_STATUS));
    QCOMPARE(tree_text(proxy), "[ ]M|.[ ]s");
    proxy.select_index(folder, true, true); // hidden files too
    QCOMPARE(std::exchange(log, ""), "+a+b+c+a+d+e");
    proxy.select_all(true);
    QCOMPARE(log, "+f+a+b+c+a+d+e");
    QSet<ACTION_INTERFACE*> providers;
    QSet<ACTION_INTERFACE*> consumers;
    proxy.collect_file_actions(folder, providers, consumers);
    QCOMPARE(providers, (QSet<ACTION_INTERFACE*>{scene.action("a"), scene.action("c")}));
    QCOMPARE(consumers.size(), 4);
}

void TST_FILE_TREES::each_folder_reports_one_row_too_many()
{
    FILE_SCENE scene("<raw>/M/1, <raw>/M/2, <raw>/M/s/3");
    MODEL model(&scene.map, 0, nullptr);
    MODEL no_rows(&scene.map, 1, nullptr);
    QString log;
    const auto note = [&](const QModelIndex& from, const QModelIndex& to, const QVector<int>& roles) {
        log += QString("%1 %2-%3,").arg(from.parent().data().toString()).arg(from.row()).arg(to.row());
        QVERIFY(roles.isEmpty() && from.internalPointer() == to.internalPointer());
        QVERIFY(!to.data().isValid() && !to.flags() && !model.rowCount(to) && !model.file_entry(to));
    };
    connect(&model, &MODEL::dataChanged, this, note);
    connect(&no_rows, &MODEL::dataChanged, this, note);
    model.refresh();
    no_rows.refresh();
    QCOMPARE(log, " 0-1,M 0-3,s 0-1,");
}

void TST_FILE_TREES::views_paint_again_and_pass_clicks_data()
{
    QTest::addColumn<bool>("own_view");
    QTest::addColumn<bool>("turned");
    QTest::addColumn<QString>("order");
    const QString in_order = "Maps Deep Well.txt Moor.txt Readme.txt Notes Old.txt Top.txt";
    QTest::newRow("plain view") << false << false << in_order;
    QTest::newRow("own view") << true << false << in_order;
    QTest::newRow("own view, sorted the other way")
        << true << true << "Top.txt Notes Old.txt Maps Readme.txt Moor.txt Deep Well.txt";
}

void TST_FILE_TREES::views_paint_again_and_pass_clicks()
{
    QFETCH(bool, own_view);
    QFETCH(bool, turned);
    FILE_SCENE scene(SMALL_TREE);
    PROXY proxy(new MODEL(&scene.map, 0, nullptr));
    const std::unique_ptr<QTreeView> view(own_view ? new FILE_TREE_VIEW : new QTreeView);
    view->setSortingEnabled(true);
    view->setModel(&proxy);
    view->resize(300, 300);
    view->show();
    QVERIFY(QTest::qWaitForWindowExposed(view.get()));
    if (turned)
        QTest::mouseClick(view->header()->viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(20, 5));
    for (const bool all : {false, true}) { // what a filter gives back takes its place
        proxy.set_filter(all ? FILTER() : filter_without_flags(FILTER_PERFORCE_STATUS));
        view->expandAll();
    }
    QStringList names;
    for (QModelIndex at = proxy.index(0, 0); at.isValid(); at = view->indexBelow(at))
        names.append(at.data().toString());
    QTEST(names.join(' '), "order");

    QCoreApplication::processEvents();
    const PAINTED painted(view->viewport());
    proxy.refresh();
    QTRY_VERIFY(QRegion(view->viewport()->rect()).subtracted(painted.region).isEmpty());

    QSignalSpy checks(&proxy, SIGNAL(item_checked(QModelIndex)));
    VIEW_CLICKS::click_box(*view, row_named(proxy, "Readme.txt")); // has none
    VIEW_CLICKS::click_box(*view, row_named(proxy, "Well.txt"));
    QCOMPARE(checks.size(), 1);
    QCOMPARE(checks[0][0].value<QModelIndex>(), row_named(proxy, "Well.txt"));
}

void TST_FILE_TREES::filter()
{
    const struct
    {
        int mode;
        bool FILTER::*flag; // the one that is set
        const char* files;
    } cases[] = {
        {FILTER_NONE, nullptr, "dl dp ml mp nl np s t u w"},
        {FILTER_DATA_TYPE + 1, nullptr, "dl dp ml mp nl np s t u w"},
        {FILTER_PERFORCE_STATUS, nullptr, ""},
        {FILTER_PERFORCE_STATUS, &FILTER::p4_all, ""},
        {FILTER_PERFORCE_STATUS, &FILTER::p4_modified, "mp"},
        {FILTER_PERFORCE_STATUS, &FILTER::p4_added, "np"},
        {FILTER_PERFORCE_STATUS, &FILTER::p4_deleted, "dp"},
        {FILTER_PERFORCE_STATUS, &FILTER::local_all, ""},
        {FILTER_PERFORCE_STATUS, &FILTER::local_modified, "ml"},
        {FILTER_PERFORCE_STATUS, &FILTER::local_added, "nl"},
        {FILTER_PERFORCE_STATUS, &FILTER::local_deleted, "dl"},
        {FILTER_DATE, nullptr, "t w"},
        {FILTER_DATE, &FILTER::up_to_date, "s t w"},
        {FILTER_DATE, &FILTER::unaffected, "dl dp ml mp nl np t u w"},
        {FILTER_DATA_TYPE, &FILTER::unaffected, "dl dp ml mp nl np u"},
        {FILTER_DATA_TYPE, &FILTER::source, "s"},
        {FILTER_DATA_TYPE, &FILTER::intermediate, "w"},
        {FILTER_DATA_TYPE, &FILTER::target, "t"},
    };
    FILTER_SCENE scene;
    PROXY proxy(new MODEL(&scene.map, 0, nullptr));
    proxy.sort(0, Qt::DescendingOrder);
    for (const auto& each : cases) {
        FILTER filter = filter_without_flags(each.mode);
        if (each.flag)
            filter.*each.flag = true;
        proxy.set_filter(filter);
        QCOMPARE(files_in_first_folder(proxy), each.files);
        proxy.set_filter(FILTER());
        QCOMPARE(files_in_first_folder(proxy), cases[0].files);
    }
}

void TST_FILE_TREES::large_trees_keep_what_is_expanded()
{
    QStringList files{"<raw>/b/c/x", "<raw>/b/c/y a"};
    for (int i = 0; i < 2000; ++i)
        files.append(QString("<raw>/a/%1").arg(i));
    FILE_SCENE scene(files.join(", "));
    PROXY proxy(new MODEL(&scene.map, 0, nullptr));
    FILE_TREE_VIEW view;
    view.setModel(&proxy);
    view.setSortingEnabled(true);
    view.expandAll();
    view.setCurrentIndex(row_named(proxy, "y"));
    FILTER affected = filter_without_flags(FILTER_DATA_TYPE);
    affected.source = true;
    for (const bool all : {false, true}) {
        proxy.set_filter(all ? FILTER() : affected);
        const QModelIndex folder = row_named(proxy, "c");
        QVERIFY(view.isExpanded(folder) && view.currentIndex() == row_named(proxy, "y"));
        QCOMPARE(tree_text(proxy, folder), all ? "x|[ ]y" : "[ ]y");
        QCOMPARE(view.indexBelow(folder).data().toString(), all ? "x" : "y");
        QCOMPARE(proxy.rowCount(row_named(proxy, "a")), all ? 2000 : 0);
    }
    proxy.sort(0, Qt::AscendingOrder);
    for (const FILTER& filter : {affected, FILTER()})
        proxy.set_filter(filter);
    QCOMPARE(tree_text(proxy, row_named(proxy, "c")), QString("[ ]y|x"));
}

void TST_FILE_TREES::latest_revisions_colour_at_once_and_filter_later()
{
    FILTER_SCENE scene;
    auto* const model = new MODEL(&scene.map, 0, nullptr);
    PROXY proxy(model);
    const auto colours = [&] {
        QString text;
        for (const char* name : {"f", "s", "t", "u", "w"})
            text += row_named(proxy, name).data(Qt::ForegroundRole).value<QColor>().name() + " ";
        return text;
    };
    QCOMPARE(colours(), "#000000 #000000 #000000 #a0a0a4 #000000 ");
    QVERIFY(!row_named(proxy, "t").data(Qt::ForegroundRole).isValid());
    QSignalSpy changes(model, SIGNAL(dataChanged(QModelIndex, QModelIndex)));
    proxy.set_get_latest(true);
    QCOMPARE(changes.size(), 2);
    QCOMPARE(colours(), "#000000 #000000 #ff0000 #a0a0a4 #00ff00 ");

    proxy.set_get_latest(false);
    proxy.set_filter(filter_without_flags(FILTER_DATE));
    proxy.set_get_latest(true);
    QCOMPARE(files_in_first_folder(proxy), "t w");
    proxy.set_filter(proxy.filter);
    QCOMPARE(files_in_first_folder(proxy), "s t");
}

void TST_FILE_TREES::filter_dialog_writes_with_each_click()
{
    FILTER filter;
    FILTER expected;
    filter.p4_modified = false; // "All" sets it
    FILTER_DIALOG dialog(&filter, nullptr, Qt::WindowFlags());
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog) && filter == expected);
    auto* const mode = dialog.findChild<QComboBox*>("mode_combobox");
    const auto box = [&](const QString& name) { return dialog.findChild<QCheckBox*>(name + "_checkbox"); };
    const auto click = [&](const QString& name) {
        while (!box(name)->isVisible() && mode->currentIndex() < FILTER_DATA_TYPE)
            QTest::keyClick(mode, Qt::Key_Down);
        QTest::mouseClick(box(name), Qt::LeftButton, Qt::NoModifier, QPoint(8, box(name)->height() / 2));
    };
    click("p4_added"); // locked
    click("p4_all");
    expected.mode = FILTER_PERFORCE_STATUS;
    expected.p4_all = false;
    QVERIFY(filter == expected && box("p4_deleted")->isEnabled() && !box("local_deleted")->isEnabled());
    const std::pair<const char*, bool FILTER::*> boxes[] = {{"local_all", &FILTER::local_all},
                                                            {"p4_modified", &FILTER::p4_modified},
                                                            {"p4_added", &FILTER::p4_added},
                                                            {"p4_deleted", &FILTER::p4_deleted},
                                                            {"local_modified", &FILTER::local_modified},
                                                            {"local_added", &FILTER::local_added},
                                                            {"local_deleted", &FILTER::local_deleted},
                                                            {"up_to_date", &FILTER::up_to_date},
                                                            {"unaffected2", &FILTER::unaffected},
                                                            {"source", &FILTER::source},
                                                            {"intermediate", &FILTER::intermediate},
                                                            {"target", &FILTER::target}};
    for (const auto& [name, flag] : boxes) {
        click(name);
        expected.*flag = false;
        expected.mode = mode->currentIndex();
        QVERIFY2(filter == expected && filter != FILTER(), name);
    }
    QVERIFY(expected.mode == FILTER_DATA_TYPE && !box("unaffected")->isChecked());
    click("unaffected");
    QVERIFY(filter.unaffected && box("unaffected2")->isChecked());

    const FILTER_DIALOG again(&filter, nullptr, Qt::WindowFlags());
    for (const QCheckBox* each : again.findChildren<QCheckBox*>())
        QCOMPARE(each->isChecked(), each->text() == "Unaffected");
}

void TST_FILE_TREES::filter_dialog_has_room()
{
    const QFont usual = QApplication::font();
    for (const double size : {9.0, 16.0}) {
        QFont font = usual;
        font.setPointSizeF(size);
        QApplication::setFont(font);
        FILTER filter;
        filter.mode = FILTER_PERFORCE_STATUS;
        FILTER_DIALOG dialog(&filter, nullptr, Qt::WindowFlags());
        QVERIFY(dialog.size() == QSize(278, 168) && dialog.maximumSize() == dialog.size());
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        for (const QCheckBox* box : dialog.findChildren<QCheckBox*>())
            QVERIFY(!box->isVisible() || box->size().expandedTo(box->minimumSizeHint()) == box->size());
    }
    QApplication::setFont(usual);
}

QTEST_MAIN(TST_FILE_TREES)
#include "tst_file_trees.moc"
