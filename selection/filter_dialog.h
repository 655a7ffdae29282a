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
    void p4_modified(bool checked);
    void p4_added(bool checked);
    void p4_deleted(bool checked);
    void local_all(bool checked);
    void local_modified(bool checked);
    void local_added(bool checked);
    void local_deleted(bool checked);
    void up_to_date(bool checked);
    void unaffected(bool checked);
    void source(bool checked);
    void intermediate(bool checked);
    void target(bool checked);

private:
    void show_filter();
    void connect_boxes();
    void update_enabled();

    Ui::FILTER_DIALOG ui;
    DATA_SELECTION_FILTER* filter;
};
