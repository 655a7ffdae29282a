#include "selection/filter_dialog.h"

FILTER_DIALOG::FILTER_DIALOG(DATA_SELECTION_FILTER* edited, QWidget* parent, Qt::WindowFlags flags)
    : QDialog(parent, flags), filter(edited)
{
    Q_INIT_RESOURCE(gox);
    ui.setupUi(this);
    set_up_mode();
    set_up_boxes();
    update_enabled();
}

void FILTER_DIALOG::set_up_mode()
{
    ui.mode_combobox->setCurrentIndex(filter->mode);
    ui.parameters->setCurrentIndex(filter->mode);
    connect(ui.mode_combobox, SIGNAL(currentIndexChanged(int)), this, SLOT(mode_changed(int)));
}

void FILTER_DIALOG::set_up_boxes()
{
    set_up_box(ui.p4_all_checkbox, filter->p4_all, SLOT(p4_all(bool)));
    set_up_box(ui.p4_modified_checkbox, filter->p4_modified, SLOT(p4_modified(bool)));
    set_up_box(ui.p4_added_checkbox, filter->p4_added, SLOT(p4_added(bool)));
    set_up_box(ui.p4_deleted_checkbox, filter->p4_deleted, SLOT(p4_deleted(bool)));
    set_up_box(ui.local_all_checkbox, filter->local_all, SLOT(local_all(bool)));
    set_up_box(ui.local_modified_checkbox, filter->local_modified, SLOT(local_modified(bool)));
    set_up_box(ui.local_added_checkbox, filter->local_added, SLOT(local_added(bool)));
    set_up_box(ui.local_deleted_checkbox, filter->local_deleted, SLOT(local_deleted(bool)));
    set_up_box(ui.up_to_date_checkbox, filter->up_to_date, SLOT(up_to_date(bool)));
    set_up_box(ui.unaffected_checkbox, filter->unaffected, SLOT(unaffected(bool)));
    set_up_box(ui.unaffected2_checkbox, filter->unaffected, SLOT(unaffected(bool)));
    set_up_box(ui.source_checkbox, filter->source, SLOT(source(bool)));
    set_up_box(ui.intermediate_checkbox, filter->intermediate, SLOT(intermediate(bool)));
    set_up_box(ui.target_checkbox, filter->target, SLOT(target(bool)));
}

void FILTER_DIALOG::set_up_box(QCheckBox* box, bool checked, const char* slot)
{
    box->setChecked(checked);
    connect(box, SIGNAL(clicked(bool)), this, slot);
}

// "All" sets the flags of its group and locks their boxes; without it the boxes
// are free and everything stays as it is.
void FILTER_DIALOG::update_enabled()
{
    const auto update_box = [](bool all, QCheckBox* box, bool& flag) {
        if (all) {
            flag = true;
            box->setChecked(true);
        }
        box->setEnabled(!all);
    };
    const bool all_p4 = ui.p4_all_checkbox->isChecked();
    update_box(all_p4, ui.p4_modified_checkbox, filter->p4_modified);
    update_box(all_p4, ui.p4_added_checkbox, filter->p4_added);
    update_box(all_p4, ui.p4_deleted_checkbox, filter->p4_deleted);
    const bool all_local = ui.local_all_checkbox->isChecked();
    update_box(all_local, ui.local_modified_checkbox, filter->local_modified);
    update_box(all_local, ui.local_added_checkbox, filter->local_added);
    update_box(all_local, ui.local_deleted_checkbox, filter->local_deleted);
}

void FILTER_DIALOG::mode_changed(int index)
{
    filter->mode = index;
    ui.parameters->setCurrentIndex(index);
}

void FILTER_DIALOG::p4_all(bool checked)
{
    filter->p4_all = checked;
    update_enabled();
}

void FILTER_DIALOG::local_all(bool checked)
{
    filter->local_all = checked;
    update_enabled();
}

void FILTER_DIALOG::unaffected(bool checked)
{
    filter->unaffected = checked;
    ui.unaffected_checkbox->setChecked(checked);
    ui.unaffected2_checkbox->setChecked(checked);
}
