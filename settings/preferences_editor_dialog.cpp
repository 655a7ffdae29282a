#include "settings/preferences_editor_dialog.h"

#include <QtGui/QCloseEvent>

#include <algorithm>

#include "contracts/services/plain_message_box.h"
#include "contracts/services/user_settings.h"

namespace {

const char KEY_REVERT_UNCHANGED[] = "RevertUnchangedFiles";
const char KEY_DEBUG_OUTPUT[] = "ShowDeveloperDebugOutput";
const char KEY_ACTION_SELECTION[] = "ShowActionSelectionPopup";
const char KEY_SOURCE_TO_GOX[] = "MoveSourceFilesToGOXChangelist";
const char KEY_GET_LATEST_DATABASE[] = "GetLatestDatabaseNotification";

} // namespace

PREFERENCES_EDITOR_DIALOG::PREFERENCES_EDITOR_DIALOG(QWidget* parent, Qt::WindowFlags flags)
    : QDialog(parent, flags)
{
    ui.setupUi(this);
    connect(ui.button_save, SIGNAL(clicked()), this, SLOT(save()));
    connect(ui.button_cancel, SIGNAL(clicked()), this, SLOT(close()));
    ui.setting_getlatestdatabase->addItems({tr("Ask"), tr("Always"), tr("Never")});
    read_settings();
}

bool PREFERENCES_EDITOR_DIALOG::show_action_selection_popup() const
{
    return ui.setting_actionselection->isChecked();
}

void PREFERENCES_EDITOR_DIALOG::read_settings()
{
    const QSettings store = user_settings();
    ui.setting_revertunchanged->setChecked(store.value(KEY_REVERT_UNCHANGED, true).toBool());
    ui.setting_debugoutput->setChecked(store.value(KEY_DEBUG_OUTPUT, false).toBool());
    ui.setting_actionselection->setChecked(store.value(KEY_ACTION_SELECTION, true).toBool());
    ui.source_to_gox->setChecked(store.value(KEY_SOURCE_TO_GOX, false).toBool());
    const int index = store.value(KEY_GET_LATEST_DATABASE, 0).toInt();
    ui.setting_getlatestdatabase->setCurrentIndex(std::min(index, ui.setting_getlatestdatabase->count() - 1));
}

void PREFERENCES_EDITOR_DIALOG::save()
{
    {
        QSettings store = user_settings();
        store.setValue(KEY_REVERT_UNCHANGED, ui.setting_revertunchanged->isChecked());
        store.setValue(KEY_DEBUG_OUTPUT, ui.setting_debugoutput->isChecked());
        store.setValue(KEY_ACTION_SELECTION, ui.setting_actionselection->isChecked());
        store.setValue(KEY_SOURCE_TO_GOX, ui.source_to_gox->isChecked());
        store.setValue(KEY_GET_LATEST_DATABASE, ui.setting_getlatestdatabase->currentIndex());
    }
    show_plain_box(QMessageBox::Information, this, tr("Preferences have been saved."));
    close();
}

// Escape ends a dialog without a close event.
void PREFERENCES_EDITOR_DIALOG::reject()
{
    close();
}

void PREFERENCES_EDITOR_DIALOG::closeEvent(QCloseEvent* event)
{
    read_settings();
    event->accept();
}
