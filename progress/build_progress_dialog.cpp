#include "progress/build_progress_dialog.h"

#include <QtGui/QGuiApplication>
#include <QtGui/QKeyEvent>
#include <QtWidgets/QMenu>
#include <QtWidgets/QScrollBar>

#include <algorithm>
#include <cstdlib>

#include "contracts/actions/action_interface.h"
#include "contracts/actions/dialog_helper.h"
#include "contracts/configuration/configuration.h"
#include "contracts/services/command_line_options.h"
#include "contracts/services/find_line.h"
#include "contracts/services/plain_message_box.h"
#include "contracts/services/qt_workarounds.h"
#include "contracts/services/user_settings.h"
#include "progress/output_pane.h"
#include "progress/output_search.h"
#include "progress/remaining_time.h"
#include "progress/row_actions.h"
#include "progress/row_texts.h"
#include "progress/state_row_delegate.h"
#include "session/build_session.h"

namespace {

const char KEY_GEOMETRY[] = "BuildProgressGeometry";

const int POLL_PERIOD = 20; // milliseconds

// Seconds.
const int ESTIMATE_PERIOD = 2;
const int SHORTEST_BASE_OF_ESTIMATE = 5;

const int MARKER_MARGIN = 2; // pixels

// Like QTime's own, which is on its way out: the clock may pass midnight.
int milliseconds_since(const QTime& time)
{
    const int milliseconds_a_day = 24 * 60 * 60 * 1000;
    const int elapsed = time.msecsTo(QTime::currentTime());
    return elapsed < 0 ? elapsed + milliseconds_a_day : elapsed;
}

// Escape is easily pressed by mistake, and the build may have run for hours.
class ESCAPE_QUESTION : public QObject
{
public:
    explicit ESCAPE_QUESTION(BUILD_PROGRESS_DIALOG* window) : QObject(window), m_window(window) {}

    bool eventFilter(QObject*, QEvent* event) override
    {
        const bool would_end_a_build = event->type() == QEvent::KeyPress &&
                                       static_cast<QKeyEvent*>(event)->matches(QKeySequence::Cancel) &&
                                       m_window->timer.isActive() && m_window->session->isRunning();
        return would_end_a_build &&
               !confirm_in_plain_box(m_window,
                                     BUILD_PROGRESS_DIALOG::tr("The build is still running.\n"
                                                               "Do you want to abort it and leave GOX?"));
    }

private:
    BUILD_PROGRESS_DIALOG* const m_window;
};

// The blanks that keep the texts apart are room, not something to cut off, and get
// no ground.
class LEGEND_DELEGATE : public STATE_ROW_DELEGATE
{
public:
    using STATE_ROW_DELEGATE::STATE_ROW_DELEGATE;

    QString displayText(const QVariant& value, const QLocale&) const override
    {
        return value.toString().trimmed();
    }

    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override
    {
        STATE_ROW_DELEGATE::initStyleOption(option, index);
        const int margins = 2 * (option->widget->style()->pixelMetric(QStyle::PM_FocusFrameHMargin) + 1);
        const int text = option->fontMetrics.horizontalAdvance(option->text + ' '); // or it is cut off
        option->rect.setWidth(std::min(option->rect.width(), text + margins));
    }
};

} // namespace

BUILD_PROGRESS_DIALOG::BUILD_PROGRESS_DIALOG(BUILD_SESSION& the_session,
                                             const CONFIGURATION& the_configuration, const QString&,
                                             const COMMAND_LINE_OPTIONS& the_options, QWidget* parent,
                                             Qt::WindowFlags flags)
    : QDialog(parent, flags),
      session(&the_session),
      configuration(&the_configuration),
      options(&the_options),
      output_frozen(false),
      aborted(false),
      paused(false),
      paused_msecs(0),
      filter_mask(PROGRESS_ROWS::ALL)
{
    ui.setupUi(this);
    m_output = new OUTPUT_PANE(ui.output);
    setWindowTitle(windowTitle() + " - " + title_suffix);
    QT_WORKAROUNDS::restore_geometry(this, user_settings().value(KEY_GEOMETRY).toByteArray());
    ui.more_button->hide();
    ui.exit_button->hide();
    connect_widgets();
    timer.start(POLL_PERIOD);
    ui.actions->setItemDelegate(new STATE_ROW_DELEGATE(QPalette::Base, ui.actions));
    m_rows.build(ui.actions, session->selected_actions);
    colour_legend();
    fit_legend();
    bound_name();
    ui.frame->hide();
    ui.progress2->hide();
    tick_clock = QTime::currentTime();
    tick();
    clicked_here();
}

void BUILD_PROGRESS_DIALOG::connect_widgets()
{
    for (QCheckBox* const box : {ui.cbError, ui.cbWarning, ui.cbUnfinished, ui.cbCompleted})
        connect(box, SIGNAL(stateChanged(int)), this, SLOT(filter_changed()));
    connect(&timer, SIGNAL(timeout()), this, SLOT(tick()));
    connect(&m_last_look, SIGNAL(timeout()), this, SLOT(look_again()));
    connect(ui.actions, SIGNAL(itemSelectionChanged()), this, SLOT(action_selected()));
    const QScrollBar* const bar = ui.output->verticalScrollBar();
    connect(bar, SIGNAL(sliderPressed()), this, SLOT(output_scrollbar_pressed()));
    connect(bar, SIGNAL(sliderReleased()), this, SLOT(output_scrollbar_released()));
    connect(ui.pause_button, SIGNAL(clicked()), this, SLOT(toggle_paused()));
    connect(ui.abort_button, SIGNAL(clicked()), this, SLOT(abort()));
    connect(ui.more_button, SIGNAL(clicked()), this, SLOT(accept()));
    connect(ui.exit_button, SIGNAL(clicked()), this, SLOT(reject()));
    connect(ui.game_button, SIGNAL(clicked()), this, SLOT(clicked_here()));
    installEventFilter(new ESCAPE_QUESTION(this));
    const auto* const rows = new ROW_ACTIONS(ui.actions, m_rows, *session);
    connect(rows, SIGNAL(search()), this, SLOT(search_output()));
    connect(ui.output, SIGNAL(customContextMenuRequested(QPoint)), this, SLOT(show_output_menu(QPoint)));
    ui.output->setContextMenuPolicy(Qt::CustomContextMenu);
}

// A row for each state, in order, up to the first of those that failed, in the
// colours of the tree. Brushes without a style, which only lend their
// colour, are not taken by the item's own setters.
void BUILD_PROGRESS_DIALOG::colour_legend()
{
    for (int state = ACTION_RUNNING; state <= ACTION_FAILED; ++state) // what waits has the default colour
        ui.listWidget->item(state)->setData(Qt::ForegroundRole,
                                            QBrush(PROGRESS_ROWS::colour_of(state), Qt::NoBrush));
    ui.listWidget->item(ACTION_SUCCEEDED)->setData(Qt::BackgroundRole, QBrush(Qt::black, Qt::NoBrush));
}

// The legend lies on the window like a label. Its room is fixed, so it takes the
// largest font, up to that of the window, with which all of it can be seen.
void BUILD_PROGRESS_DIALOG::fit_legend()
{
    QListWidget& legend = *ui.listWidget;
    legend.setItemDelegate(new LEGEND_DELEGATE(QPalette::Window, &legend));
    legend.setWrapping(false); // or what has no room left would not be seen at all
    legend.viewport()->setAutoFillBackground(false);
    const QSize room = legend.minimumSize();
    QFont font = legend.font();
    const int smallest = 6 * 4; // quarters of a point
    for (int size = int(QFontInfo(font).pointSizeF() * 4); size >= smallest; --size) {
        font.setPointSizeF(size / 4.0);
        const QFontMetrics metrics(font);
        int width = 0;
        for (int row = 0; row < legend.count(); ++row) {
            QListWidgetItem& item = *legend.item(row);
            const QString text = item.text().trimmed() + QStringLiteral("   "); // the gap to the next one
            item.setSizeHint(QSize(metrics.horizontalAdvance(text), room.height()));
            width += item.sizeHint().width();
        }
        if (width <= room.width() && metrics.height() <= room.height())
            break;
    }
    legend.setFont(font);
}

void BUILD_PROGRESS_DIALOG::tick()
{
    const PROGRESS_ROWS::SUMMARY summary = m_rows.refresh(filter_mask);
    if (summary.running)
        ui.current_action->setText(paused ? tr("(PAUSED) ") : summary.running->display_text(true));
    ui.progress->setMaximum(summary.total);
    ui.progress->setValue(summary.done);
    move_marker(summary.done, summary.total);
    if (paused)
        paused_msecs += milliseconds_since(tick_clock);
    if (summary.finished)
        finish(summary.failed);
    else
        estimate(summary.done, summary.total);
    action_selected();
    tick_clock = QTime::currentTime();
}

void BUILD_PROGRESS_DIALOG::move_marker(int done, int total)
{
    const qint64 way = ui.progress2->width() - ui.progress2drag->width() - 2 * MARKER_MARGIN;
    const qint64 x = total == 0 ? 0 : way * done / total;
    ui.progress2drag->move(int(x) + MARKER_MARGIN, ui.progress2drag->y());
}

// A null time is 0 seconds away from any other, so that the first estimate waits
// for a last one.
void BUILD_PROGRESS_DIALOG::estimate(int done, int total)
{
    const QDateTime now = QDateTime::currentDateTime();
    if (start_time.isNull())
        start_time = now;
    const int elapsed = int(start_time.secsTo(now)) - paused_msecs / 1000;
    if (last_estimate_time.secsTo(now) <= ESTIMATE_PERIOD || elapsed < SHORTEST_BASE_OF_ESTIMATE || done == 0)
        return;
    const QString text = remaining_time_text(remaining_seconds(elapsed, done, total));
    ui.estimated_time->setText(aborted ? tr(" (ABORTED)") : paused ? text + tr(" (PAUSED)") : text);
    last_estimate_time = now;
}

void BUILD_PROGRESS_DIALOG::finish(bool any_failed)
{
    const bool needs_nobody =
        configuration->silent && (!any_failed || options->exists(QStringLiteral("dont_stop_on_error")));
    const bool has_found_something = session->end_of_run_check();
    if (needs_nobody) {
        close();
        return;
    }
    setWindowTitle(tr("GOX - Done - ") + title_suffix);
    offer_leaving(!has_found_something && !configuration->silent);
    ui.estimated_time->setText(QString());
    ui.estimated_time_label->setEnabled(false);
    ui.progress2->setEnabled(false);
    ui.progress2drag->hide();
    ui.current_action->setText(QString());
    if (ui.progress->maximum() == 0) { // which shows that something is still going on
        ui.progress->setMaximum(1);
        ui.progress->setValue(1);
    }
    timer.stop();
    // The last action may still be reviewed and get the last lines of its output.
    if (session->isRunning())
        m_last_look.start(POLL_PERIOD);
}

void BUILD_PROGRESS_DIALOG::look_again()
{
    if (session->isRunning())
        return;
    m_last_look.stop();
    tick();
}

void BUILD_PROGRESS_DIALOG::offer_leaving(bool can_go_back)
{
    ui.pause_button->hide();
    ui.abort_button->hide();
    for (QPushButton* const button : {ui.more_button, ui.exit_button})
        button->setEnabled(true); // ahead of the focus, which a disabled one does not take
    ui.more_button->setVisible(can_go_back);
    if (ui.exit_button->isHidden()) // for the first time; later the person may be elsewhere
        ui.more_button->setFocus(Qt::OtherFocusReason);
    ui.exit_button->show();
    ui.exit_button->setDefault(!can_go_back);
}

void BUILD_PROGRESS_DIALOG::action_selected()
{
    if (output_frozen)
        return;
    QTreeWidgetItem* const row = ui.actions->currentItem();
    const ACTION_INTERFACE* const action = row ? DIALOG_HELPER::get_action_pointer(row, 0) : nullptr;
    m_output->show_text(action ? ROW_TEXTS::of_output(*action, *session) : QString());
}

// The line stands below the output, whichever width that has: from its first use
// on, the two share the output's place.
void BUILD_PROGRESS_DIALOG::search_output()
{
    if (!m_find_line) {
        QWidget* const place = new QWidget;
        ui.splitter->replaceWidget(ui.splitter->indexOf(ui.output), place);
        QVBoxLayout* const column = new QVBoxLayout(place);
        column->setContentsMargins(0, 0, 0, 0);
        m_find_line = new FIND_LINE(place);
        new OUTPUT_SEARCH(*ui.output, *m_find_line);
        column->addWidget(ui.output);
        column->addWidget(m_find_line);
    }
    m_find_line->open();
}

void BUILD_PROGRESS_DIALOG::show_output_menu(const QPoint& place)
{
    QMenu* const menu = ui.output->createStandardContextMenu(place);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addSeparator();
    menu->addAction(tr("Search..."), this, SLOT(search_output()))->setShortcut(QKeySequence::Find);
    menu->popup(ui.output->viewport()->mapToGlobal(place));
}

void BUILD_PROGRESS_DIALOG::output_scrollbar_pressed()
{
    output_frozen = true;
}

void BUILD_PROGRESS_DIALOG::output_scrollbar_released()
{
    output_frozen = false;
}

void BUILD_PROGRESS_DIALOG::toggle_paused()
{
    paused = !paused;
    session->pause_flag = paused;
    setWindowTitle((paused ? tr("GOX - Paused - ") : tr("GOX - ")) + title_suffix);
    ui.pause_button->setText(paused ? tr("Resume") : tr("Pause"));
    tick();
}

void BUILD_PROGRESS_DIALOG::abort()
{
    if (session->isRunning())
        say_waiting();
    session->finish_build(true);
    setWindowTitle(tr("GOX - Aborted - ") + title_suffix);
    offer_leaving(!configuration->silent);
    aborted = true;
    ui.current_action->setText(tr(" (ABORTED)"));
    show_plain_box(QMessageBox::Information, nullptr, tr("Aborted."));
}

// At once, since no event is handled until the wait is over.
void BUILD_PROGRESS_DIALOG::say_waiting()
{
    ACTION_INTERFACE* const running = m_rows.running();
    ui.current_action->setText(running
                                   ? tr("Waiting until this has stopped: %1").arg(running->display_text(true))
                                   : tr("Waiting for the build to stop..."));
    for (QPushButton* const button : {ui.pause_button, ui.abort_button, ui.more_button, ui.exit_button})
        button->setEnabled(false);
    repaint();
}

void BUILD_PROGRESS_DIALOG::show_waiting()
{
    // A build whose actions have all ended only has its logs to close.
    if (!session->isRunning() || m_rows.refresh(filter_mask).finished)
        return;
    timer.stop();
    m_last_look.stop();
    say_waiting();
    QGuiApplication::sync(); // the screen has let go of the window
    move(pos());             // or else it may come back at another place
    QT_WORKAROUNDS::show_at_once(this);
}

void BUILD_PROGRESS_DIALOG::clicked_here()
{
    const int left = ui.game_left_spacer->geometry().width();
    const int right = ui.game_right_spacer->geometry().width();
    ui.game_left_spacer->changeSize(std::rand() % (left + right + 1), 1, QSizePolicy::Fixed,
                                    QSizePolicy::Fixed);
    ui.score->setText(QString::number(ui.score->text().toInt() + 1));
}

void BUILD_PROGRESS_DIALOG::filter_changed()
{
    filter_mask = (ui.cbUnfinished->isChecked() ? PROGRESS_ROWS::UNFINISHED : 0) |
                  (ui.cbError->isChecked() ? PROGRESS_ROWS::ERRORS : 0) |
                  (ui.cbWarning->isChecked() ? PROGRESS_ROWS::WARNINGS : 0) |
                  (ui.cbCompleted->isChecked() ? PROGRESS_ROWS::COMPLETED : 0);
    if (!timer.isActive())
        tick();
}

void BUILD_PROGRESS_DIALOG::changeEvent(QEvent* event)
{
    QDialog::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        bound_name();
}

// A name of several lines must not push the window about.
void BUILD_PROGRESS_DIALOG::bound_name()
{
    ui.widget->setMaximumHeight(ui.label_2->sizeHint().height());
}

void BUILD_PROGRESS_DIALOG::reject()
{
    user_settings().setValue(KEY_GEOMETRY, saveGeometry());
    QDialog::reject();
}
