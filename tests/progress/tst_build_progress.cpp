// The window that watches a build, over a session whose build thread runs.

#include <QtTest/QtTest>

#include <QtCore/QSemaphore>
#include <QtCore/QSettings>
#include <QtWidgets/QScrollBar>

#include "progress/build_progress_dialog.h"
#include "progress/output_pane.h"
#include "progress/remaining_time.h"
#include "tests/session/step_scene.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/watched_test.h"

namespace {

const QColor ORANGE(255, 128, 0, 255);

QSettings settings()
{
    return QSettings("The Ferrule Works", "GOX");
}

/// A session with actions of two processors, and the window over it.
struct SCENE : STEP_SCENE
{
    STEP_ACTION* add(const QString& name, int state = ACTION_NOT_RUN, int of_processor = 0)
    {
        while (session->processors.size() <= of_processor)
            add_processor(QString("processor %1").arg(session->processors.size()));
        STEP_ACTION* const action = new STEP_ACTION(name);
        action->processor = session->processors[of_processor];
        action->state = state;
        action->selection_count = 1;
        action->progress_total = 10;
        session->actions.append(action);
        session->selected_actions.append(action);
        return action;
    }

    /// An action that ends once `gate` is open or, if it obeys, when it is told to.
    STEP_ACTION* add_slow(const QString& name, bool obeys = true)
    {
        STEP_ACTION* const action = add(name);
        action->body = [this, obeys](STEP_ACTION& self) {
            while (!gate.tryAcquire(1, 1))
                if (obeys && self.aborts.loadAcquire() > 0) {
                    text_during_wait = window->ui.current_action->text(); // its thread waits for this one
                    return int(ACTION_FAILED);
                }
            return int(ACTION_SUCCEEDED);
        };
        return action;
    }

    BUILD_PROGRESS_DIALOG& open()
    {
        window.reset(new BUILD_PROGRESS_DIALOG(*session, configuration, QString(), options, nullptr, {}));
        window->show();
        return *window;
    }
    BUILD_PROGRESS_DIALOG& build()
    {
        session->prepare_build(false);
        return open();
    }
    ~SCENE()
    {
        gate.release(10); // whatever still waits after a check that failed
        session->finish_build(true);
    }

    QTreeWidgetItem* row(int group, int number) const
    {
        return window->ui.actions->topLevelItem(group)->child(number);
    }

    QSemaphore gate;
    QString text_during_wait;
    QScopedPointer<BUILD_PROGRESS_DIALOG> window;
};

void click(QWidget* widget)
{
    QTest::mouseClick(widget, Qt::LeftButton, {}, QPoint(8, widget->height() / 2));
}

void click(QTreeWidgetItem* row)
{
    QTreeWidget* const tree = row->treeWidget();
    tree->expandAll();
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualItemRect(row).center());
}

} // namespace

class TST_BUILD_PROGRESS : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void remaining_time();
    void rows_show_states();
    void run_with_a_pause();
    void abort_stays_open();
    void closing_during_a_build();
    void finish_data();
    void finish();
    void output_of_the_current_row();
    void long_output();
    void progress_data();
    void progress();
};

void TST_BUILD_PROGRESS::remaining_time()
{
    const QMap<int, QString> texts{{0, ""},
                                   {1, "1 seSc "},
                                   {10, "10 secs "},
                                   {14, "10 secs "},
                                   {39, "30 secs "},
                                   {119, "1 min "},
                                   {29 * 60, "25 mins "},
                                   {39 * 60, "30 mins "},
                                   {3600 + 14 * 60 + 59, "1 hr "},
                                   {3 * 3600 + 59 * 60, "3 hrs 45 mins "},
                                   {4 * 3600 + 59 * 60, "4 hrs "}};
    for (auto text = texts.cbegin(); text != texts.cend(); ++text)
        QCOMPARE(remaining_time_text(text.key()), text.value());
    QCOMPARE(remaining_seconds(100000, 7, INT_MAX), Q_INT64_C(100000) * INT_MAX / 7 - 100000);
}

void TST_BUILD_PROGRESS::rows_show_states()
{
    SCENE scene;
    // In the order of the states, then unknown ones; the second group has ended.
    for (const int state : {0, 1, 2, 3, 4, 5, 6, 7, -1})
        scene.add(QString::number(state), state);
    scene.add("done", ACTION_SUCCEEDED, 1);
    STEP_ACTION* const late = scene.add("warned", ACTION_SUCCEEDED_WITH_WARNINGS, 1);
    BUILD_PROGRESS_DIALOG& window = scene.open();
    QTreeWidgetItem* const second = window.ui.actions->topLevelItem(1);
    const QVector<QBrush> colours{{}, Qt::blue, Qt::green, ORANGE, Qt::red, Qt::red, Qt::red, {}, {}};
    const QVector<int> shown_by{1, 1, 8, 4, 2, 2, 2, 0, 0};
    for (const int filter : {15, 1, 2, 4, 8, 0, 15}) {
        for (const auto& box : {qMakePair(window.ui.cbUnfinished, 1), qMakePair(window.ui.cbError, 2),
                                qMakePair(window.ui.cbWarning, 4), qMakePair(window.ui.cbCompleted, 8)})
            if (box.first->isChecked() != bool(filter & box.second))
                click(box.first);
        QTRY_COMPARE(second->isHidden(), !(filter & 4));
        for (int row = 0; row < colours.size(); ++row) {
            QTRY_COMPARE(scene.row(0, row)->isHidden(), !(filter & shown_by[row]));
            QCOMPARE(scene.row(0, row)->foreground(0), colours[row]);
        }
        QVERIFY(!window.ui.actions->topLevelItem(0)->isHidden());
        QCOMPARE(window.ui.actions->topLevelItem(0)->foreground(0), QBrush());
    }
    for (int entry = 1; entry < window.ui.listWidget->count(); ++entry)
        QCOMPARE(window.ui.listWidget->item(entry)->foreground().color(), colours[entry].color());
    QCOMPARE(second->text(0), QString("processor 1"));
    QCOMPARE(second->foreground(0), QBrush(ORANGE));
    late->state = ACTION_DEPENDENCY_FAILED;
    QTRY_COMPARE(second->foreground(0), QBrush(Qt::red));
    late->state = ACTION_NOT_RUN; // what is unknown of a row keeps what was known
    QTest::qWait(50);
    QCOMPARE(scene.row(1, 1)->foreground(0), QBrush(Qt::red));
    QVERIFY(window.timer.isActive());
}

void TST_BUILD_PROGRESS::run_with_a_pause()
{
    settings().remove("BuildProgressGeometry");
    SCENE scene;
    scene.add_slow("<b>first</b>\n&");
    scene.add_slow("second");
    BUILD_PROGRESS_DIALOG& window = scene.build();
    QCOMPARE(window.windowTitle(), QString("GOX - Processing... - "));
    QCOMPARE(window.ui.score->text(), QString("0"));
    QTRY_COMPARE(window.ui.current_action->text(), QString("<b>first</b>\n&"));
    QCOMPARE(window.ui.current_action->textFormat(), Qt::PlainText);
    click(window.ui.pause_button);
    QCOMPARE(window.windowTitle(), QString("GOX - Paused - "));
    QCOMPARE(window.ui.pause_button->text(), QString("Resume"));
    QCOMPARE(window.ui.current_action->text(), QString("(PAUSED) "));
    QCOMPARE(scene.row(0, 0)->foreground(0), QBrush(Qt::blue)); // what runs goes on
    scene.gate.release();
    QTRY_COMPARE(scene.row(0, 0)->foreground(0), QBrush(Qt::green));
    QTest::qWait(50);
    QCOMPARE(scene.session->selected_actions[1]->state, 0);
    QVERIFY(window.paused_msecs > 0);
    click(window.ui.pause_button);
    QCOMPARE(window.windowTitle(), QString("GOX - "));
    scene.gate.release();
    QTRY_COMPARE(window.windowTitle(), QString("GOX - Done - "));
    QVERIFY(!window.timer.isActive() && !window.ui.pause_button->isVisible());
    QCOMPARE(window.ui.progress->value(), 20);
    QCOMPARE(window.ui.current_action->text(), QString());
    QTRY_COMPARE(window.focusWidget(), window.ui.more_button);
    QTest::keyClick(window.focusWidget(), Qt::Key_Return);
    QCOMPARE(window.result(), int(QDialog::Accepted));
    QVERIFY(!settings().contains("BuildProgressGeometry"));
}

void TST_BUILD_PROGRESS::abort_stays_open()
{
    SCENE scene;
    scene.add_slow("slow");
    scene.add("never");
    BUILD_PROGRESS_DIALOG& window = scene.build();
    QTRY_COMPARE(window.ui.current_action->text(), QString("slow"));
    click(window.ui.pause_button);
    DIALOG_ANSWERS answers;
    answers.press_default();
    click(window.ui.abort_button);
    QCOMPARE(answers.texts, QStringList{"Aborted."});
    QCOMPARE(scene.text_during_wait, QString("Waiting until this has stopped: slow"));
    QTest::qWait(50);
    QVERIFY(window.aborted && window.timer.isActive() && scene.session->isFinished());
    QCOMPARE(window.windowTitle(), QString("GOX - Aborted - "));
    QCOMPARE(window.ui.current_action->text(), QString(" (ABORTED)"));
    QVERIFY(window.ui.more_button->isVisible() && window.ui.more_button->isEnabled());
    QCOMPARE(window.focusWidget(), window.ui.more_button);
    QVERIFY(!window.ui.pause_button->isVisible() && !window.ui.abort_button->isVisible());
    click(window.ui.exit_button);
    QCOMPARE(window.result(), int(QDialog::Rejected));
    QVERIFY(settings().contains("BuildProgressGeometry"));
}

void TST_BUILD_PROGRESS::closing_during_a_build()
{
    settings().setValue("BuildProgressGeometry", "garbage");
    SCENE scene;
    scene.add_slow("deaf", false);
    BUILD_PROGRESS_DIALOG& window = scene.build();
    QTRY_COMPARE(window.ui.current_action->text(), QString("deaf"));
    DIALOG_ANSWERS answers;
    answers.press_default();
    QTest::keyClick(window.ui.output, Qt::Key_Escape);
    QVERIFY(window.isVisible() && answers.texts.size() == 1);
    answers.answer_with([&](QDialog*) { window.close(); }); // the question goes with its window
    QTest::keyClick(&window, Qt::Key_Escape);
    QVERIFY(!window.isVisible() && !QApplication::activeModalWidget());
    window.show();
    answers.press_yes();
    QTest::keyClick(&window, Qt::Key_Escape);
    QCOMPARE(answers.texts.size(), 3);
    QVERIFY(!window.isVisible() && scene.session->isRunning());
    QVERIFY(settings().value("BuildProgressGeometry").toByteArray().size() > 20);
    window.show_waiting();
    QVERIFY(window.isVisible() && !window.ui.abort_button->isEnabled());
    QCOMPARE(window.ui.current_action->text(), QString("Waiting until this has stopped: deaf"));
    scene.gate.release();
    scene.session->finish_build(true);
    window.hide();
    window.show_waiting();
    QVERIFY(!window.isVisible());
}

void TST_BUILD_PROGRESS::finish_data()
{
    QTest::addColumn<bool>("silent");
    QTest::addColumn<int>("state");
    QTest::addColumn<bool>("dont_stop");
    QTest::addColumn<bool>("closes");
    QTest::newRow("person") << false << int(ACTION_SUCCEEDED) << true << false;
    QTest::newRow("silent") << true << int(ACTION_SUCCEEDED_WITH_WARNINGS) << false << true;
    QTest::newRow("silent, failed") << true << int(ACTION_FAILED_ALONE) << false << false;
    QTest::newRow("silent, failed, not to stop") << true << int(ACTION_FAILED) << true << true;
}

void TST_BUILD_PROGRESS::finish()
{
    QFETCH(bool, silent);
    QFETCH(int, state);
    QFETCH(bool, dont_stop);
    QFETCH(bool, closes);
    SCENE scene;
    scene.configuration.silent = silent;
    char program[] = "gox", option[] = "--dont_stop_on_error";
    char* arguments[] = {program, option};
    QStringList errors;
    scene.options.initialise(dont_stop ? 2 : 1, arguments, errors);
    scene.add("one", state);
    BUILD_PROGRESS_DIALOG& window = scene.open();
    QTRY_COMPARE(window.isVisible(), !closes);
    QCOMPARE(window.timer.isActive(), closes);
    QCOMPARE(window.windowTitle(), QString(closes ? "GOX - Processing... - " : "GOX - Done - "));
    QCOMPARE(window.ui.exit_button->isVisible(), !closes);
    QCOMPARE(window.ui.more_button->isVisible(), !silent);
    if (closes)
        return;
    QVERIFY(silent || window.focusWidget() == window.ui.more_button);
    window.ui.cbCompleted->setFocus();
    for (const bool hidden : {state == ACTION_SUCCEEDED, false}) { // no poll is left to notice
        QTest::keyClick(window.focusWidget(), Qt::Key_Space);
        QVERIFY(window.isVisible());
        QCOMPARE(scene.row(0, 0)->isHidden(), hidden);
    }
    const DIALOG_ANSWERS nothing_is_asked;
    QTest::keyClick(&window, Qt::Key_Escape);
    QVERIFY(!window.isVisible());
}

void TST_BUILD_PROGRESS::output_of_the_current_row()
{
    SCENE scene;
    STEP_ACTION* const done = scene.add("done", ACTION_SUCCEEDED);
    done->output = QString::fromUtf8("<i>no markup</i>\n\xD7\x90\n").repeated(200);
    scene.add("running", ACTION_RUNNING)->output = "growing";
    BUILD_PROGRESS_DIALOG& window = scene.open();
    const auto shown = [&] { return window.ui.output->toPlainText(); };
    click(scene.row(0, 0));
    QCOMPARE(shown(), done->output);
    QScrollBar* const bar = window.ui.output->verticalScrollBar();
    bar->setValue(100);
    bar->setSliderDown(true);
    const QString former = done->output;
    done->output += "more";
    QTest::qWait(50);
    QCOMPARE(shown(), former); // while the bar is held
    bar->setSliderDown(false);
    QTRY_COMPARE(shown(), done->output);
    QCOMPARE(bar->value(), 100);
    click(scene.row(0, 1));
    QCOMPARE(shown(), QString());
    click(scene.row(0, 0));
    QCOMPARE(shown(), done->output);
    click(window.ui.actions->topLevelItem(0));
    QCOMPARE(shown(), QString());
}

void TST_BUILD_PROGRESS::long_output()
{
    SCENE scene;
    const QString lines = QString("a line\r\n").repeated(OUTPUT_PANE::WHOLE_TEXT / 4);
    const QString one_line(OUTPUT_PANE::LONGEST_LINE * 3, 'x');
    scene.add("long", ACTION_SUCCEEDED)->output = lines + one_line;
    scene.add("short", ACTION_SUCCEEDED)->output = QString("line\n").repeated(5000);
    scene.add("waiting");
    BUILD_PROGRESS_DIALOG& window = scene.open();
    click(scene.row(0, 1));
    QScrollBar* const bar = window.ui.output->verticalScrollBar();
    QTRY_VERIFY(bar->maximum() > 20000);
    bar->setValue(20000);
    click(scene.row(0, 0));
    QVERIFY(window.ui.output->document()->characterCount() < OUTPUT_PANE::WHOLE_TEXT);
    const QString expected = QString(lines).remove('\r') +
                             QString(one_line).replace(QRegularExpression("(x{10000})(?=x)"), "\\1\n");
    QTRY_COMPARE(window.ui.output->toPlainText(), expected);
    QCOMPARE(bar->value(), 20000);
    click(scene.row(0, 1));
    QCOMPARE(window.ui.output->toPlainText(), QString("line\n").repeated(5000));
}

void TST_BUILD_PROGRESS::progress_data()
{
    QTest::addColumn<QVector<int>>("totals");
    QTest::addColumn<QVector<int>>("current");
    QTest::addColumn<QVector<int>>("shown"); // total, done and place of the marker
    using NUMBERS = QVector<int>;
    QTest::newRow("beyond its total") << NUMBERS{10, 30} << NUMBERS{20, 0} << NUMBERS{40, 10, 17};
    QTest::newRow("nothing to count") << NUMBERS{0, 0} << NUMBERS{5, 0} << NUMBERS{0, 0, 2};
    QTest::newRow("many units") << NUMBERS{INT_MAX, INT_MAX} << NUMBERS{INT_MAX, 0}
                                << NUMBERS{INT_MAX, INT_MAX / 2, 31};
}

void TST_BUILD_PROGRESS::progress()
{
    QFETCH(QVector<int>, totals);
    QFETCH(QVector<int>, current);
    QFETCH(QVector<int>, shown);
    SCENE scene;
    for (int i = 0; i < totals.size(); ++i) {
        STEP_ACTION* const action = scene.add("one");
        action->progress_total = totals[i];
        action->progress_current = current[i];
    }
    BUILD_PROGRESS_DIALOG& window = scene.open();
    window.start_time = QDateTime::currentDateTime().addSecs(-100);
    window.ui.progress2->resize(100, 22);
    window.tick();
    QCOMPARE(window.ui.progress->maximum(), shown[0]);
    QCOMPARE(window.ui.progress->value(), shown[1]);
    QCOMPARE(window.ui.progress2drag->x(), shown[2]);
    QCOMPARE(window.ui.estimated_time->text(), QString());
    QVERIFY(window.last_estimate_time.isNull());
}

QTEST_MAIN(TST_BUILD_PROGRESS)
#include "tst_build_progress.moc"
