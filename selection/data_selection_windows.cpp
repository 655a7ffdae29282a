#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtGui/QCursor>
#include <QtGui/QGuiApplication>
#include <QtGui/QScreen>
#include <QtWidgets/QMenu>

#include "contracts/actions/processor_interface.h"
#include "contracts/paths/paths.h"
#include "contracts/rules/rule_schema.h"
#include "contracts/services/plain_message_box.h"
#include "graph/graph_settings_dialog.h"
#include "rules/rule_editor_dialog.h"
#include "rules/rule_list_dialog.h"
#include "selection/action_list_dialog.h"
#include "selection/action_order.h"
#include "selection/data_selection_dialog.h"
#include "selection/data_selection_file_model_filter_proxy.h"
#include "selection/filter_dialog.h"
#include "session/build_session.h"
#include "settings/configuration_editor_dialog.h"
#include "settings/preferences_editor_dialog.h"

namespace {

// As near to the cursor as the screen lets all of the window be seen.
void move_to_cursor(QWidget& window)
{
    const QPoint cursor = QCursor::pos();
    const QScreen* screen = QGuiApplication::screenAt(cursor);
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    const QRect available = screen->availableGeometry();
    const QSize size = window.size().expandedTo(window.minimumSizeHint());
    const QPoint last = available.bottomRight() + QPoint(1, 1) - QPoint(size.width(), size.height());
    window.move(qMax(available.left(), qMin(cursor.x(), last.x())),
                qMax(available.top(), qMin(cursor.y(), last.y())));
}

QMap<RULE_SCHEMA*, RULE> rules_of(const FILE_ENTRY& file, const RULE_CACHE& cache)
{
    const LOGICAL_PATH path = PATHS::logical_path(file.physical);
    QMap<RULE_SCHEMA*, RULE> resolved;
    for (RULE_SCHEMA* schema : QMap<QString, RULE_SCHEMA*>(RULE_SCHEMA::s_schemas)) {
        const RULE rule = cache.answer(path, schema->name);
        if (rule.found)
            resolved.insert(schema, rule);
    }
    return resolved;
}

// Empty for a rule of a folder, which the rule editor shows.
PHYSICAL_PATH file_of_global(const CACHED_RULE& rule, const RULE_CACHE& cache)
{
    return rule.path == LOGICAL_PATH(QStringLiteral("<>")) ? cache.file_of(rule) : PHYSICAL_PATH();
}

} // namespace

void DATA_SELECTION_DIALOG::show_action_list(const QSet<ACTION_INTERFACE*>& providers,
                                             const QSet<ACTION_INTERFACE*>& consumers, bool popup)
{
    open_action_list(
        in_order_of(session->actions, QVector<ACTION_INTERFACE*>(providers.begin(), providers.end())),
        in_order_of(session->actions, QVector<ACTION_INTERFACE*>(consumers.begin(), consumers.end())), popup);
}

void DATA_SELECTION_DIALOG::open_action_list(const QList<ACTION_INTERFACE*>& providers,
                                             const QList<ACTION_INTERFACE*>& consumers, bool popup)
{
    const auto listen_to = [this](const ACTION_LIST_DIALOG& list) {
        connect(&list, SIGNAL(action_selection_changed(ACTION_INTERFACE*, bool)), this,
                SLOT(action_selection_changed(ACTION_INTERFACE*, bool)));
        connect(&list, SIGNAL(mass_selection_change_started()), this, SLOT(mass_selection_change_started()));
        connect(&list, SIGNAL(mass_selection_change_ended()), this, SLOT(mass_selection_change_ended()));
    };
    if (popup) {
        ACTION_LIST_DIALOG* const list = new ACTION_LIST_DIALOG(providers, consumers, this, Qt::Popup);
        list->setAttribute(Qt::WA_DeleteOnClose);
        move_to_cursor(*list);
        listen_to(*list);
        list->show();
    } else {
        ACTION_LIST_DIALOG list(providers, consumers, this, Qt::WindowFlags());
        listen_to(list);
        list.exec();
    }
}

void DATA_SELECTION_DIALOG::view_actions(const QModelIndex& index)
{
    const PROXY* const proxy = proxy_of(index);
    if (!proxy)
        return;
    QVector<ACTION_INTERFACE*> providers;
    QVector<ACTION_INTERFACE*> consumers;
    proxy->collect_file_actions(index, providers, consumers);
    open_action_list(in_order_of(session->actions, providers), in_order_of(session->actions, consumers),
                     false);
}

void DATA_SELECTION_DIALOG::view_raw_data_actions()
{
    view_actions(ui.raw_data_files->currentIndex());
}

void DATA_SELECTION_DIALOG::view_working_data_actions()
{
    view_actions(ui.working_data_files->currentIndex());
}

void DATA_SELECTION_DIALOG::view_retail_build_actions()
{
    view_actions(ui.retail_build_files->currentIndex());
}

void DATA_SELECTION_DIALOG::view_rules(const QModelIndex& index)
{
    const PROXY* const proxy = proxy_of(index);
    const FILE_ENTRY* const file = proxy ? proxy->file_entry(index) : nullptr;
    if (!file)
        return;
    RULE_LIST_DIALOG list(rules_of(*file, session->rule_cache), nullptr, Qt::WindowFlags());
    list.tell_files(file->physical, session->rule_cache);
    if (list.exec() != QDialog::Accepted)
        return;
    const PHYSICAL_PATH global_file = file_of_global(*list.chosen_rule, session->rule_cache);
    if (global_file == PHYSICAL_PATH())
        run_rule_editor(list.chosen_rule, list.chosen_property, file->physical);
    else
        show_plain_box(QMessageBox::Information, this,
                       tr("This value comes from a global rule. To change it, edit the file\n%1\n"
                          "and start GOX again.")
                           .arg(global_file));
}

void DATA_SELECTION_DIALOG::view_raw_data_rules()
{
    view_rules(ui.raw_data_files->currentIndex());
}

void DATA_SELECTION_DIALOG::view_working_data_rules()
{
    view_rules(ui.working_data_files->currentIndex());
}

// Rules hold for files.
void DATA_SELECTION_DIALOG::offer_rules()
{
    const auto is_file = [](const PROXY* proxy, const QTreeView* tree) {
        return proxy && proxy->file_entry(tree->currentIndex());
    };
    ui.view_raw_data_rules->setEnabled(is_file(raw_data_proxy, ui.raw_data_files));
    ui.view_working_data_rules->setEnabled(is_file(working_data_proxy, ui.working_data_files));
}

void DATA_SELECTION_DIALOG::show_filter_dialog()
{
    const DATA_SELECTION_FILTER former = filter;
    FILTER_DIALOG dialog(&filter, this, Qt::WindowFlags());
    dialog.setWindowTitle(tr("GOX - Filter"));
    dialog.exec();
    if (filter != former)
        apply_filter();
}

void DATA_SELECTION_DIALOG::perforce()
{
    if (!m_perforce_menu) {
        m_perforce_menu = new QMenu(this);
        m_perforce_menu->addAction(tr("Check in selected"), this, SLOT(check_in_selected()));
        m_perforce_menu->addAction(tr("Revert selected"), this, SLOT(revert_selected()));
        m_perforce_menu->addAction(tr("Select checked-out"), this, SLOT(select_checked_out()));
    }
    m_perforce_menu->popup(ui.perforce->mapToGlobal(ui.perforce->rect().bottomLeft()));
}

void DATA_SELECTION_DIALOG::preferences_editor()
{
    session->preferences->exec();
}

void DATA_SELECTION_DIALOG::rule_editor()
{
    run_rule_editor(nullptr, QString(), PHYSICAL_PATH());
}

void DATA_SELECTION_DIALOG::configuration_editor()
{
    if (!configuration_editor_dialog) {
        QStringList names;
        for (PROCESSOR_INTERFACE* processor : QVector<PROCESSOR_INTERFACE*>(session->processors))
            names.append(processor->name());
        configuration_editor_dialog = new CONFIGURATION_EDITOR_DIALOG(*session->configuration, names, this);
    }
    configuration_editor_dialog->exec();
}

void DATA_SELECTION_DIALOG::graph()
{
    // Graphviz looks for its own files in the current folder.
    const QString former = QDir::currentPath();
    QDir::setCurrent(QCoreApplication::applicationDirPath() + QStringLiteral("/GOX/graphviz"));
    GRAPH_SETTINGS_DIALOG(session, this, Qt::WindowFlags()).exec();
    QDir::setCurrent(former);
}

// Shows the rule editor at that property of that rule of a file, or as it was left.
void DATA_SELECTION_DIALOG::run_rule_editor(CACHED_RULE* rule, const QString& property,
                                            const PHYSICAL_PATH& file)
{
    if (!rule_editor_dialog && m_p4)
        rule_editor_dialog =
            new RULE_EDITOR_DIALOG(session->rule_cache, session->file_map, *m_p4, this, Qt::WindowFlags());
    if (!rule_editor_dialog)
        return;
    if (rule) {
        rule_editor_dialog->show_folder(PHYSICAL_PATH(file.section('/', 0, -2)));
        rule_editor_dialog->show_folder(rule->physical_path);
        rule_editor_dialog->select_rule(rule, property);
    }
    rule_editor_dialog->exec();
    if (session->rule_cache.rules_changed) // the files were judged by rules that no longer hold
        ui.start_button->setEnabled(false);
}

void DATA_SELECTION_DIALOG::set_perforce(P4_CONNECTION* p4)
{
    m_p4 = p4;
}
