#pragma once

#include <QtCore/QStringList>
#include <QtWidgets/QDialog>

#include "contracts/configuration/configuration.h"
#include "ui_configuration_editor_dialog.h"

/// Composes run configurations: loads a file into its widgets and writes the
/// widgets out to another one or to the default, and says which file that is and how
/// GOX is told to run it, or that it will not find it. The configuration of the
/// running process is never touched, and every closing says so.
///
/// What has no widget (`no_progress_dialog`, `p4_option`, `clean_asset_graph`)
/// has its default in every file that is written. The widgets keep what the user
/// left in them from one showing to the next. GUI thread.
class CONFIGURATION_EDITOR_DIALOG : public QDialog
{
    Q_OBJECT

public:
    /// Shows `configuration`, which is only read here. `processor_names` are the
    /// rows of the list, in their order; a processor that the configuration
    /// names and that has no row is dropped.
    CONFIGURATION_EDITOR_DIALOG(const CONFIGURATION& configuration, const QStringList& processor_names,
                                QWidget* parent, Qt::WindowFlags flags = Qt::WindowFlags());

public slots:
    /// Keeps "<All>", the first row, and the rows of the processors in step: it
    /// sets all of them, and any unchecked one unchecks it.
    void processor_changed(QListWidgetItem* item);

    void add_global_rule();    ///< asks for a file; only one below the folder GOX beside the program is taken
    void remove_global_rule(); ///< the current row
    void silent_changed(bool checked); ///< only a silent run looks at the selected files
    void load();                       ///< asks for a file; the widgets stay as they are if it can't be read
    void save(); ///< asks for a name, completes it to that of a configuration and replaces none unasked
    void save_default(); ///< to GOX/default_configuration.xml below the current folder

protected:
    /// Warns that the active configuration stays as it is.
    void closeEvent(QCloseEvent* event) override;

    /// Escape closes the window like its close box, with the warning.
    void keyPressEvent(QKeyEvent* event) override;

private:
    void connect_widgets();
    void enable_directories();
    void show_configuration(const CONFIGURATION& configuration);
    void show_processors(const QVector<QString>& names);
    CONFIGURATION shown_configuration() const;
    QVector<QRadioButton*> merge_buttons() const; ///< in the order of their values, which begin with 1
    void write(const QString& path);
    static QString what_runs(const QString& path);

    Ui::CONFIGURATION_EDITOR_DIALOG ui;
    bool processor_change_running = false; // while the slot itself changes check states
};
