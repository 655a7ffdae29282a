#pragma once

#include <QtWidgets/QDialog>

#include "selection/data_selection_filter.h"
#include "ui_filter_dialog.h"

/// Edits a filter of the file trees. Each click writes to it at once; there is
/// nothing to accept or to take back, the dialog is just closed. Whoever opened it
/// compares the filter afterwards. GUI thread.
class FILTER_DIALOG : public QDialog
{
    Q_OBJECT

public:
    /// `edited` is not owned and outlives the dialog. Where an "All" of it is set,
    /// the three flags of its group are set right away.
    FILTER_DIALOG(DATA_SELECTION_FILTER* edited, QWidget* parent, Qt::WindowFlags flags);

private slots:
    void mode_changed(int index);
    void p4_all(bool checked);
    void p4_modified(bool checked) { filter->p4_modified = checked; }
    void p4_added(bool checked) { filter->p4_added = checked; }
    void p4_deleted(bool checked) { filter->p4_deleted = checked; }
    void local_all(bool checked);
    void local_modified(bool checked) { filter->local_modified = checked; }
    void local_added(bool checked) { filter->local_added = checked; }
    void local_deleted(bool checked) { filter->local_deleted = checked; }
    void up_to_date(bool checked) { filter->up_to_date = checked; }
    void unaffected(bool checked);
    void source(bool checked) { filter->source = checked; }
    void intermediate(bool checked) { filter->intermediate = checked; }
    void target(bool checked) { filter->target = checked; }

private:
    void set_up_mode();
    void set_up_boxes();
    void set_up_box(QCheckBox* box, bool checked, const char* slot);
    void update_enabled();

    Ui::FILTER_DIALOG ui;
    DATA_SELECTION_FILTER* filter;
};
