#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QTimer>
#include <QtWidgets/QDialog>

#include "progress/progress_rows.h"
#include "ui_build_progress_dialog.h"

class BUILD_SESSION;
class COMMAND_LINE_OPTIONS;
class CONFIGURATION;
class FIND_LINE;
class OUTPUT_PANE;

/// The modal window that watches a build, lets a person pause and abort it and
/// read what each action has to say.
///
/// One is made for each build, once its thread has been started. It hears
/// nothing from that thread: `timer` looks at the actions every 20 milliseconds.
/// `exec` gives QDialog::Accepted when the person wants to go back to the file
/// selection and QDialog::Rejected when the program is to end; the build may
/// still run then, and finish_build has to stop it. Where a silent run has
/// nothing to show to a person, the window closes by itself. Escape asks before it
/// ends a build; the close box does not. What a person does with rows is in
/// ROW_ACTIONS, the search in the output (Ctrl+F) in OUTPUT_SEARCH.
///
/// Names and output of actions are shown as plain text. GUI thread.
class BUILD_PROGRESS_DIALOG : public QDialog
{
    Q_OBJECT

public:
    /// The first two and the options are not owned and must outlive the window;
    /// `spare_text` is not used.
    BUILD_PROGRESS_DIALOG(BUILD_SESSION& session, const CONFIGURATION& configuration,
                          const QString& spare_text, const COMMAND_LINE_OPTIONS& options, QWidget* parent,
                          Qt::WindowFlags flags);

    /// For the time after `exec`, ahead of finish_build: when an action has not
    /// ended by then, puts the window back on the screen with the name of the
    /// action that the program waits for, since it answers to nothing until that
    /// action has stopped. Returns once the window has been drawn.
    void show_waiting();

    Ui::BUILD_PROGRESS_DIALOG ui;
    BUILD_SESSION* session;
    const CONFIGURATION* configuration;
    const COMMAND_LINE_OPTIONS* options;
    QTimer timer;                 ///< the poll; stops at the end of the build, but not for an abort
    QDateTime start_time;         ///< of the first poll that found something to do; null before
    QDateTime last_estimate_time; ///< when the estimate was last written; null before
    QTime tick_clock;             ///< when the last poll ended
    QString title_suffix;         ///< ends every title; empty
    bool output_frozen;           ///< the scroll bar of the output is being held
    bool aborted;                 ///< the person has pressed Abort
    bool paused;
    int paused_msecs; ///< milliseconds that the build was paused
    int filter_mask;  ///< bits of PROGRESS_ROWS::FILTER: which rows stay visible

public slots:
    void tick();                      ///< one poll: rows, progress, end of the build, output
    void action_selected();           ///< shows the output of the tree's current action
    void output_scrollbar_pressed();  ///< keeps the output as it is, until
    void output_scrollbar_released(); ///< the scroll bar is let go
    void abort();                     ///< stops the build and says so; waits for the action in hand
    void toggle_paused();             ///< the action in hand still goes on to its end
    void clicked_here();              ///< one point in the game
    void filter_changed();            ///< rows of the kinds that are not checked hide

    /// Remembers where the window is, which going back to the file selection
    /// does not, and closes it.
    void reject() override;

protected:
    void changeEvent(QEvent* event) override;

private slots:
    void look_again();
    void search_output(); ///< opens the line for it, or goes back into it
    void show_output_menu(const QPoint& place);

private:
    void connect_widgets();
    void colour_legend();
    void fit_legend();
    void bound_name();
    void move_marker(int done, int total);
    void estimate(int done, int total);
    void finish(bool any_failed);
    void offer_leaving(bool can_go_back);
    void say_waiting();

    PROGRESS_ROWS m_rows;
    OUTPUT_PANE* m_output;
    FIND_LINE* m_find_line = nullptr; // until it is wanted
    QTimer m_last_look;               // from the end of all actions to that of the build thread
};
