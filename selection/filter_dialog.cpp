#include "selection/filter_dialog.h"

FILTER_DIALOG::FILTER_DIALOG(DATA_SELECTION_FILTER* edited, QWidget* parent, Qt::WindowFlags flags)
    : QDialog(parent, flags), filter(edited)
{
    Q_INIT_RESOURCE(gox);
    ui.setupUi(this);
    show_filter();
    connect_boxes();
    update_enabled();
}

void FILTER_DIALOG::show_filter()
{
    ui.mode_combobox->setCurrentIndex(filter->mode);
    ui.parameters->setCurrentIndex(filter->mode);
    ui.p4_all_checkbox->setChecked(filter->p4_all);
    ui.p4_modified_checkbox->setChecked(filter->p4_modified);
    ui.p4_added_checkbox->setChecked(filter->p4_added);
    ui.p4_deleted_checkbox->setChecked(filter->p4_deleted);
    ui.local_all_checkbox->setChecked(filter->local_all);
    ui.local_modified_checkbox->setChecked(filter->local_modified);
    ui.local_added_checkbox->setChecked(filter->local_added);
    ui.local_deleted_checkbox->setChecked(filter->local_deleted);
    ui.up_to_date_checkbox->setChecked(filter->up_to_date);
    ui.unaffected_checkbox->setChecked(filter->unaffected);
    ui.unaffected2_checkbox->setChecked(filter->unaffected);
    ui.source_checkbox->setChecked(filter->source);
    ui.intermediate_checkbox->setChecked(filter->intermediate);
    ui.target_checkbox->setChecked(filter->target);
}

void FILTER_DIALOG::connect_boxes()
{
    connect(ui.mode_combobox, SIGNAL(currentIndexChanged(int)), this, SLOT(mode_changed(int)));
    connect(ui.p4_all_checkbox, SIGNAL(clicked(bool)), this, SLOT(p4_all(bool)));
    connect(ui.p4_modified_checkbox, SIGNAL(clicked(bool)), this, SLOT(p4_modified(bool)));
    connect(ui.p4_added_checkbox, SIGNAL(clicked(bool)), this, SLOT(p4_added(bool)));
    connect(ui.p4_deleted_checkbox, SIGNAL(clicked(bool)), this, SLOT(p4_deleted(bool)));
    connect(ui.local_all_checkbox, SIGNAL(clicked(bool)), this, SLOT(local_all(bool)));
    connect(ui.local_modified_checkbox, SIGNAL(clicked(bool)), this, SLOT(local_modified(bool)));
    connect(ui.local_added_checkbox, SIGNAL(clicked(bool)), this, SLOT(local_added(bool)));
    connect(ui.local_deleted_checkbox, SIGNAL(clicked(bool)), this, SLOT(local_deleted(bool)));
    connect(ui.up_to_date_checkbox, SIGNAL(clicked(bool)), this, SLOT(up_to_date(bool)));
    connect(ui.unaffected_checkbox, SIGNAL(clicked(bool)), this, SLOT(unaffected(bool)));
    connect(ui.unaffected2_checkbox, SIGNAL(clicked(bool)), this, SLOT(unaffected(bool)));
    connect(ui.source_checkbox, SIGNAL(clicked(bool)), this, SLOT(source(bool)));
    connect(ui.intermediate_checkbox, SIGNAL(clicked(bool)), this, SLOT(intermediate(bool)));
    connect(ui.target_checkbox, SIGNAL(clicked(bool)), this, SLOT(target(bool)));
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

void FILTER_DIALOG::p4_modified(bool checked)
{
    filter->p4_modified = checked;
}

void FILTER_DIALOG::p4_added(bool checked)
{
    filter->p4_added = checked;
}

void FILTER_DIALOG::p4_deleted(bool checked)
{
    filter->p4_deleted = checked;
}

void FILTER_DIALOG::local_all(bool checked)
{
    filter->local_all = checked;
    update_enabled();
}

void FILTER_DIALOG::local_modified(bool checked)
{
    filter->local_modified = checked;
}

void FILTER_DIALOG::local_added(bool checked)
{
    filter->local_added = checked;
}

void FILTER_DIALOG::local_deleted(bool checked)
{
    filter->local_deleted = checked;
}

void FILTER_DIALOG::up_to_date(bool checked)
{
    filter->up_to_date = checked;
}

void FILTER_DIALOG::unaffected(bool checked)
{
    filter->unaffected = checked;
    ui.unaffected_checkbox->setChecked(checked);
    ui.unaffected2_checkbox->setChecked(checked);
}

void FILTER_DIALOG::source(bool checked)
{
    filter->source = checked;
}

void FILTER_DIALOG::intermediate(bool checked)
{
    filter->intermediate = checked;
}

void FILTER_DIALOG::target(bool checked)
{
    filter->target = checked;
}
