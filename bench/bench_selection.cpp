// The file trees of the selection window: opening them, and what a click costs.

#include <QtCore/QCoreApplication>
#include <QtCore/QPointer>
#include <QtWidgets/QApplication>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QListWidget>

#include <memory>

#include "bench/bench_session.h"
#include "bench/counted_memory.h"
#include "bench/measure.h"
#include "selection/data_selection_dialog.h"
#include "selection/data_selection_file_model.h"
#include "selection/data_selection_file_model_filter_proxy.h"
#include "selection/file_tree_view.h"
#include "session/file_entry.h"
#include "settings/preferences_editor_dialog.h"

namespace {

using MODEL = DATA_SELECTION_FILE_MODEL;
using PROXY = DATA_SELECTION_FILE_MODEL_FILTER_PROXY;

constexpr int FILES_OF_ACTION = 2;

/// A locked file map, and actions that each read two raw files and write one
/// working file.
struct SCENE
{
    /// `files` raw files, `folder_size` in each folder, 20 such folders in one
    /// above it unless `is_flat`; with `has_others`, four working files and one
    /// retail file for five raw ones.
    SCENE(int files, int folder_size, bool is_flat, bool has_others);

    void add(const QString& root, const QString& name);

    MODEL::FILE_MAP map;
    int count = 0;
    std::vector<std::unique_ptr<FILE_ENTRY>> entries;
    std::vector<std::unique_ptr<BENCH_ACTION>> actions;
};

void SCENE::add(const QString& root, const QString& name)
{
    entries.push_back(std::make_unique<FILE_ENTRY>());
    entries.back()->physical = PHYSICAL_PATH("/data/tree/" + root + "_data/" + name);
    map.map.insert(LOGICAL_PATH("<" + root + ">/" + name.toLower()), entries.back().get());
    if (++count % 2 == 0)
        entries.back()->local_state = FILE_STATE_MODIFIED;
}

SCENE::SCENE(int files, int folder_size, bool is_flat, bool has_others)
{
    for (int i = 0; i < files; ++i) {
        const int folder = i / folder_size;
        QString name =
            QString("Set%1/Name_of_%2.tga").arg(folder, 6, 10, QChar('0')).arg(i, 7, 10, QChar('0'));
        if (!is_flat)
            name = QString("Areas/Area%1/").arg(folder / 20) + name;
        add("raw", name);
        FILE_ENTRY* const raw = entries.back().get();
        if (i % FILES_OF_ACTION == 0)
            actions.push_back(std::make_unique<BENCH_ACTION>(nullptr, i / FILES_OF_ACTION));
        raw->consumers.append(actions.back().get());
        if (has_others && i % 5 != 0) {
            add("working", name);
            if (i % FILES_OF_ACTION == 0)
                entries.back()->providers.append(actions.back().get());
        }
        if (has_others && i % 5 == 0)
            add("retail", name);
    }
    map.lock(true);
}

/// The three trees alone, as the selection window has them.
class TREES
{
public:
    explicit TREES(SCENE& scene, QTreeView* raw_view = new FILE_TREE_VIEW);

    void refresh(); ///< and paints
    PROXY& raw() { return *m_proxies[0]; }
    QTreeView& raw_view() { return *m_views[0]; }

private:
    std::unique_ptr<PROXY> m_proxies[3];
    std::unique_ptr<QTreeView> m_views[3];
};

TREES::TREES(SCENE& scene, QTreeView* raw_view)
{
    for (int kind = 0; kind < 3; ++kind) {
        m_proxies[kind] = std::make_unique<PROXY>(new MODEL(&scene.map, kind, nullptr));
        m_views[kind].reset(kind == 0 ? raw_view : new FILE_TREE_VIEW);
        m_views[kind]->setSortingEnabled(true);
        m_views[kind]->setModel(m_proxies[kind].get());
        m_views[kind]->resize(300, 500);
        m_views[kind]->show();
    }
}

void TREES::refresh()
{
    for (const auto& proxy : m_proxies)
        proxy->refresh();
    QCoreApplication::processEvents();
}

/// The plain way: a node and a name for each file and folder.
struct PLAIN_NODE
{
    ~PLAIN_NODE() { qDeleteAll(children); }

    QString name;
    FILE_ENTRY* file = nullptr;
    QMap<QString, PLAIN_NODE*> children;
};

void build_plainly(const SCENE& scene)
{
    PLAIN_NODE root;
    for (auto place = scene.map.begin(); place != scene.map.end(); ++place) {
        PLAIN_NODE* node = &root;
        for (const QString& part : static_cast<const QString&>(place.key()).split('/')) {
            PLAIN_NODE*& child = node->children[part];
            if (!child)
                child = new PLAIN_NODE;
            node = child;
            node->name = part;
        }
        node->file = place.value();
    }
}

void open_trees(SCENE& scene, const BENCH_OPTIONS& options, FIGURES& figures)
{
    long requests = 0;
    std::vector<CONTENDER> ways{{"models",
                                 [&] {
                                     requests = memory_requests();
                                     const MODEL raw(&scene.map, 0, nullptr);
                                     const MODEL working(&scene.map, 1, nullptr);
                                     const MODEL retail(&scene.map, 2, nullptr);
                                     requests = memory_requests() - requests;
                                 }},
                                {"plain", [&] { build_plainly(scene); }}};
    race(ways, options.quick ? 2 : 3);
    const QString what = QString("trees of %1 files").arg(scene.count);
    figures.value(what, ways[0].best.processor / scene.count * 1e6, "us a file", 1.5);
    figures.ratio(what, ways[0].best, "a node a file", ways[1].best, 0.6);
    figures.value(what + ", memory", double(requests) / scene.count, "pieces a file", 0.1);
}

// The window itself, without the popup, and a person who ticks its first folder.
COST click_and_back(SCENE& scene)
{
    BENCH_SESSION session;
    session->file_map = scene.map;
    session->preferences->findChild<QCheckBox*>(QStringLiteral("setting_actionselection"))->setChecked(false);
    DATA_SELECTION_DIALOG window(&*session, QString(), nullptr, Qt::WindowFlags());
    window.show();
    window.ui.raw_data_files->expandAll();
    PROXY& raw = *window.raw_data_proxy;
    const QModelIndex folder = raw.index(0, 0);
    const auto click = [&] {
        raw.setData(folder, QVariant(), Qt::CheckStateRole);
        QCoreApplication::processEvents();
    };
    COST best;
    for (int round = -1; round < 5; ++round) {
        const COST cost = cost_of(click);
        if (window.chosen_actions.size() != int(scene.actions.size()) ||
            raw.check_state(folder) != Qt::Checked)
            give_up("a click does not select what is below");
        click();
        if (!window.chosen_actions.isEmpty())
            give_up("a second click does not take the first one back");
        best = round <= 0 ? cost : least(best, cost);
    }
    return best;
}

void click_a_folder(const BENCH_OPTIONS& options, FIGURES& figures)
{
    const int count = options.quick ? 10000 : 100000;
    COST costs[2];
    for (int size = 0; size < 2; ++size) {
        const int files = size == 0 ? count : 10 * count;
        SCENE scene(files, files, true, false);
        costs[size] = click_and_back(scene);
        figures.value(QString("check of %1 files").arg(files), costs[size].processor / files * 1e6,
                      "us a file", 0);
    }
    figures.ratio(QString("check of %1 files").arg(10 * count), costs[1], QString("of %1 files").arg(count),
                  costs[0], 15);
}

COST refresh_expanded(SCENE& scene, QTreeView* view, int rounds)
{
    view->setUniformRowHeights(true);
    TREES trees(scene, view);
    trees.raw_view().expandAll();
    QCoreApplication::processEvents();
    COST best = cost_of([&] { trees.refresh(); });
    for (int round = 0; round < rounds; ++round)
        best = least(best, cost_of([&] { trees.refresh(); }));
    return best;
}

void refresh_all(SCENE& scene, FIGURES& figures)
{
    const COST own = refresh_expanded(scene, new FILE_TREE_VIEW, 3);
    const COST plain = refresh_expanded(scene, new QTreeView, 0);
    const QString what = QString("refresh of %1 files, expanded").arg(scene.count);
    figures.value(what, own.processor / scene.count * 1e6, "us a file", 0);
    figures.ratio(what, own, "plain view", plain, 0.35);
}

void filter_all(SCENE& scene, FIGURES& figures)
{
    TREES trees(scene);
    trees.raw_view().expandAll();
    QCoreApplication::processEvents();
    DATA_SELECTION_FILTER half;
    half.mode = FILTER_PERFORCE_STATUS;
    const auto change = [&](const DATA_SELECTION_FILTER& filter) {
        trees.raw().set_filter(filter);
        QCoreApplication::processEvents();
    };
    const COST hide = cost_of([&] { change(half); });
    const COST show = cost_of([&] { change(DATA_SELECTION_FILTER()); });
    figures.value("filter that hides half, expanded", hide.processor / scene.count * 1e6, "us a file", 10);
    figures.value("no filter again, expanded", show.processor / scene.count * 1e6, "us a file", 10);
}

// What a person waits for who opens a folder of folders and clicks in it.
COST open_and_refresh(int folders)
{
    SCENE scene(folders * FILES_OF_ACTION, FILES_OF_ACTION, true, false);
    std::unique_ptr<TREES> trees;
    return cost_of([&] {
        trees = std::make_unique<TREES>(scene);
        trees->refresh();
        trees->raw_view().expandAll();
        trees->refresh();
        trees->raw_view().collapseAll();
        trees->refresh();
    });
}

void many_folders(const BENCH_OPTIONS& options, FIGURES& figures)
{
    const int count = options.quick ? 1000 : 5000;
    COST small = open_and_refresh(count);
    COST large = open_and_refresh(10 * count);
    for (int round = 0; round < 3; ++round) {
        small = least(small, open_and_refresh(count));
        large = least(large, open_and_refresh(10 * count));
    }
    const QString what = QString("trees with %1 folders in one").arg(10 * count);
    figures.value(what, large.processor / count / 10 * 1e6, "us a folder", 0);
    figures.ratio(what, large, QString("with %1").arg(count), small, 15);
}

/// A folder whose files have that many actions, ten a file.
struct POPUP_SCENE
{
    explicit POPUP_SCENE(int count);

    BENCH_PROCESSOR processor{nullptr};
    std::vector<std::unique_ptr<BENCH_ACTION>> actions;
    std::vector<std::unique_ptr<FILE_ENTRY>> entries;
    BENCH_SESSION session;
};

POPUP_SCENE::POPUP_SCENE(int count)
{
    for (int i = 0; i < count; ++i) {
        if (i % 10 == 0) {
            const QString name = QString("Set/Name_of_%1.tga").arg(i, 7, 10, QChar('0'));
            entries.push_back(std::make_unique<FILE_ENTRY>());
            entries.back()->physical = PHYSICAL_PATH("/data/tree/raw_data/" + name);
            session->file_map.map.insert(LOGICAL_PATH("<raw>/" + name.toLower()), entries.back().get());
        }
        actions.push_back(std::make_unique<BENCH_ACTION>(&processor, i));
        session->actions.append(actions.back().get());
        entries.back()->consumers.append(actions.back().get());
    }
    session->file_map.lock(true);
}

COST click_for_popup(POPUP_SCENE& scene)
{
    DATA_SELECTION_DIALOG window(&*scene.session, QString(), nullptr, Qt::WindowFlags());
    window.show();
    PROXY& raw = *window.raw_data_proxy;
    const auto click = [&] {
        raw.setData(raw.index(0, 0), QVariant(), Qt::CheckStateRole);
        QCoreApplication::processEvents();
    };
    COST best;
    for (int round = 0; round < 3; ++round) {
        const COST cost = cost_of(click);
        best = round == 0 ? cost : least(best, cost);
        const QPointer<QWidget> popup = QApplication::activePopupWidget();
        if (!popup ||
            popup->findChild<QListWidget*>("consumer_list")->count() != int(scene.actions.size()) + 1)
            give_up("a click does not open the list of all actions");
        popup->hide();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        if (popup)
            give_up("a list of actions stays behind");
    }
    return best;
}

// The plain way: all that a row shows lies in the row, and each is added by itself.
COST open_plain_list(const POPUP_SCENE& scene)
{
    QListWidget list;
    list.setUniformItemSizes(true);
    return cost_of([&] {
        QSet<ACTION_INTERFACE*> actions; // as files share them
        for (const auto& entry : scene.entries)
            for (ACTION_INTERFACE* action : entry->consumers)
                actions.insert(action);
        for (ACTION_INTERFACE* action : actions) {
            auto* const row =
                new QListWidgetItem(action->processor->name() + " / " + action->display_text(true));
            row->setData(Qt::UserRole, QVariant::fromValue(static_cast<void*>(action)));
            row->setCheckState(action->selection_count >= 1 ? Qt::Checked : Qt::Unchecked);
            list.addItem(row);
        }
        list.show();
        QCoreApplication::processEvents();
    });
}

void list_actions(const BENCH_OPTIONS& options, FIGURES& figures)
{
    POPUP_SCENE scene(options.quick ? 100000 : 1000000);
    const COST own = click_for_popup(scene);
    const COST plain = least(open_plain_list(scene), open_plain_list(scene));
    const QString what = QString("popup of %1 actions").arg(scene.actions.size());
    figures.value(what, own.processor / double(scene.actions.size()) * 1e6, "us an action", 1);
    figures.ratio(what, own, "a plain list", plain, 0.35);
}

} // namespace

void bench_selection(const BENCH_OPTIONS& options, FIGURES& figures)
{
    list_actions(options, figures); // before others have broken the heap into pieces
    {
        SCENE scene(options.quick ? 100000 : 500000, 25, false, true);
        open_trees(scene, options, figures);
        refresh_all(scene, figures);
        filter_all(scene, figures);
    }
    click_a_folder(options, figures);
    many_folders(options, figures);
}
