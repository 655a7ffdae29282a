#pragma once

#include <QtWidgets/QDialog>

#include "ui_graph_settings_dialog.h"

class BUILD_SESSION;

/// Asks what to draw, then shows the graph. Nothing is stored: each dialog starts
/// from the form's defaults. Modal, GUI thread, while no build runs.
class GRAPH_SETTINGS_DIALOG : public QDialog
{
    Q_OBJECT

public:
    /// The session is not owned and must outlive the dialog.
    GRAPH_SETTINGS_DIALOG(BUILD_SESSION* session, QWidget* parent, Qt::WindowFlags flags);

public slots:
    /// Hides this dialog, draws the session's actions as they are selected now and
    /// shows the graph in a modal window. Returns when that has been closed.
    void generate();

private:
    Ui::GRAPH_SETTINGS_DIALOG ui;
    BUILD_SESSION* session;
};
