#include "selection/data_selection_dialog.h"

#include <QtGui/QCloseEvent>
#include <QtGui/QKeyEvent>

#include "contracts/configuration/configuration.h"
#include "contracts/services/command_line_options.h"
#include "contracts/services/plain_message_box.h"
#include "contracts/services/qt_workarounds.h"
#include "contracts/services/user_settings.h"
#include "selection/data_selection_file_model.h"
#include "selection/data_selection_file_model_filter_proxy.h"
#include "session/build_session.h"

namespace {

const char KEY_GEOMETRY[] = "DataSelectionGeometry";

enum ROOT_KIND : int
{
    ROOT_RAW_DATA,
    ROOT_WORKING_DATA,
    ROOT_RETAIL_BUILD
};

} // namespace

DATA_SELECTION_DIALOG::DATA_SELECTION_DIALOG(BUILD_SESSION* session, const QString&, QWidget* parent,
                                             Qt::WindowFlags flags)
    : QDialog(parent, flags), session(session)
{
    ui.setupUi(this);
    connect_widgets();
    const bool online = !session->options->exists(QStringLiteral("offline"));
    ui.get_latest_checkbox->setEnabled(online);
    ui.perforce->setEnabled(online);
    if (!session->configuration->retail)
        ui.retail_build_files->hide();
    const QSettings store = user_settings();
    QT_WORKAROUNDS::restore_geometry(this, store.value(KEY_GEOMETRY).toByteArray());
    ui.start_button->setEnabled(false);
    set_up_trees();
    add_context_actions();
    ui.get_latest_checkbox->setChecked(session->configuration->get_latest);
    apply_filter();
    hide_unused_widgets();
    ui.raw_data_files->setFocus();
}

void DATA_SELECTION_DIALOG::connect_widgets()
{
    connect(ui.get_latest_checkbox, SIGNAL(toggled(bool)), this, SLOT(get_latest_toggled(bool)));
    connect(ui.pushButton, SIGNAL(clicked()), this, SLOT(select_all()));
    connect(ui.pushButton_3, SIGNAL(clicked()), this, SLOT(unselect_all()));
    connect(ui.pushButton_2, SIGNAL(clicked()), this, SLOT(show_filter_dialog()));
    connect(ui.perforce, SIGNAL(clicked()), this, SLOT(perforce()));
    connect(ui.pushButton_7, SIGNAL(clicked()), this, SLOT(preferences_editor()));
    connect(ui.pushButton_4, SIGNAL(clicked()), this, SLOT(rule_editor()));
    connect(ui.pushButton_5, SIGNAL(clicked()), this, SLOT(configuration_editor()));
    connect(ui.pushButton_6, SIGNAL(clicked()), this, SLOT(graph()));
    connect(ui.start_button, SIGNAL(clicked()), this, SLOT(start()));
    ui.start_button->installEventFilter(this);
}

void DATA_SELECTION_DIALOG::set_up_trees()
{
    raw_data_proxy = set_up_tree(ui.raw_data_files, ROOT_RAW_DATA);
    working_data_proxy = set_up_tree(ui.working_data_files, ROOT_WORKING_DATA);
    retail_build_proxy = set_up_tree(ui.retail_build_files, ROOT_RETAIL_BUILD);
    for (const PROXY* proxy : {raw_data_proxy, working_data_proxy, retail_build_proxy}) {
        connect(proxy, SIGNAL(item_checked(QModelIndex)), this, SLOT(item_checked(QModelIndex)));
        connect(proxy, SIGNAL(action_selected(ACTION_INTERFACE*, bool)), this,
                SLOT(action_selection_changed(ACTION_INTERFACE*, bool)));
    }
}

DATA_SELECTION_FILE_MODEL_FILTER_PROXY* DATA_SELECTION_DIALOG::set_up_tree(QTreeView* tree, int root_kind)
{
    PROXY* const proxy = new PROXY(new DATA_SELECTION_FILE_MODEL(&session->file_map, root_kind, nullptr));
    proxy->setParent(this);
    tree->setModel(proxy);
    connect(tree->selectionModel(), SIGNAL(currentChanged(QModelIndex, QModelIndex)), this,
            SLOT(offer_rules()));
    return proxy;
}

void DATA_SELECTION_DIALOG::add_context_actions()
{
    QTreeView* const raw = ui.raw_data_files;
    add_context_action(raw, ui.view_raw_data_rules, SLOT(view_raw_data_rules()));
    add_context_action(raw, ui.view_raw_data_actions, SLOT(view_raw_data_actions()));
    add_context_action(raw, ui.select_files_only_raw, SLOT(select_files_only_raw()));
    QTreeView* const working = ui.working_data_files;
    add_context_action(working, ui.view_working_data_rules, SLOT(view_working_data_rules()));
    add_context_action(working, ui.view_working_data_actions, SLOT(view_working_data_actions()));
    add_context_action(working, ui.select_files_only_working, SLOT(select_files_only_working()));
    add_context_action(ui.retail_build_files, ui.view_retail_build_actions,
                       SLOT(view_retail_build_actions()));
}

void DATA_SELECTION_DIALOG::add_context_action(QTreeView* tree, QAction* action, const char* slot)
{
    tree->addAction(action);
    connect(action, SIGNAL(triggered()), this, slot);
}

void DATA_SELECTION_DIALOG::hide_unused_widgets()
{
    QWidget* const unused[] = {ui.label,        ui.label_2,      ui.get_latest_checkbox,
                               ui.perforce,     ui.pushButton_2, ui.pushButton_4,
                               ui.pushButton_5, ui.pushButton_6, ui.pushButton_7};
    for (QWidget* widget : unused)
        widget->hide();
}

bool DATA_SELECTION_DIALOG::eventFilter(QObject* watched, QEvent* event)
{
    if (watched != ui.start_button)
        return QDialog::eventFilter(watched, event);
    switch (event->type()) {
    case QEvent::ToolTip:
    case QEvent::FocusIn: // a screen reader reads the tool tip then
        ui.start_button->setToolTip(tip_of_start(true));
        break;
    case QEvent::Leave:
    case QEvent::FocusOut:
    case QEvent::EnabledChange: // the choice may change, and a count with it
        ui.start_button->setToolTip(tip_of_start(false));
        break;
    default:
        break;
    }
    return QDialog::eventFilter(watched, event);
}

void DATA_SELECTION_DIALOG::done(int result)
{
    // A window that only its frame was moved with counts as one without a place, and
    // would come up in the middle of the screen again.
    setAttribute(Qt::WA_Moved);
    QDialog::done(result);
}

void DATA_SELECTION_DIALOG::closeEvent(QCloseEvent* event)
{
    user_settings().setValue(KEY_GEOMETRY, saveGeometry());
    QDialog::closeEvent(event);
}

void DATA_SELECTION_DIALOG::keyPressEvent(QKeyEvent* event)
{
    if (!event->matches(QKeySequence::Cancel) || chosen_actions.isEmpty() ||
        confirm_in_plain_box(this, tr("Do you want to leave GOX?\nWhat you have chosen will be lost.")))
        QDialog::keyPressEvent(event);
}
