#pragma once

#include <QtWidgets/QDialog>

#include "ui_preferences_editor_dialog.h"

/// The per-user preferences. The session keeps one object for the whole run: its
/// widgets are the preferences in memory, and the per-user settings store is
/// their lasting form. GUI thread.
class PREFERENCES_EDITOR_DIALOG : public QDialog
{
    Q_OBJECT

public:
    /// Reads the stored preferences; a missing or unreadable one has its default.
    PREFERENCES_EDITOR_DIALOG(QWidget* parent, Qt::WindowFlags flags);

    /// Whether a list of actions pops up when files are chosen. While the dialog
    /// is open, this is what it shows.
    bool show_action_selection_popup() const;

    void reject() override; ///< closes, so that Escape drops the changes too

public slots:
    void save(); ///< stores the preferences, says so and closes

protected:
    /// Goes back to the stored preferences, so that closing without `save` drops
    /// all changes.
    void closeEvent(QCloseEvent* event) override;

private:
    void read_settings();

    Ui::PREFERENCES_EDITOR_DIALOG ui;
};
