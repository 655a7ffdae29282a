#include <QtTest/QtTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QTreeView>

#include <optional>

#include "app/run_cycle.h"
#include "progress/build_progress_dialog.h"
#include "selection/data_selection_dialog.h"
#include "tests/plugins/scripted_processor.h"
#include "tests/session/step_scene.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/watched_test.h"

/// The cycle of choosing, building and choosing again, as a person drives it.
class tst_run_cycle : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void choose_build_choose_again();
    void nothing_chosen();
    void cancelled_after_a_build();
    void aborted();
    void window_closed_during_the_build();
    void interrupted_from_outside();
    void without_a_progress_window();
    void silent_with_the_window();
    void silent_failure_waits();
};

namespace {

const char ALL_GOOD[] = "trace trace.txt\nprocessor p\n"
                        "action one\n reads <raw>/one.txt\n writes <working>/one.out\n"
                        "action two\n reads <raw>/two.txt\n writes <working>/two.out\n";
const char LONG[] = "trace trace.txt\nprocessor p\n"
                    "action one\n reads <raw>/one.txt\n takes 60000\n"
                    "action two\n reads <raw>/two.txt\n";

// A session that has started up over two raw files, and the cycle over it.
struct CYCLE_SCENE : STEP_SCENE
{
    explicit CYCLE_SCENE(const char* script)
    {
        tree.write("raw_data/one.txt", "1");
        tree.write("raw_data/two.txt", "2");
        session->processors = scripted_processors(SCRIPT::parse(script, "script.txt"), tree.path("tool"));
        is_started = start_up();
    }

    std::optional<int> run()
    {
        return RUN_CYCLE(*session, configuration, p4, splash, metrics, watch, true).run();
    }

    // The actions that were executed, in their order.
    QStringList executed() const
    {
        QStringList names;
        for (const QString& line : QString::fromUtf8(tree.read("tool/trace.txt")).split('\n'))
            if (line.contains(" execute "))
                names.append(line.section(' ', -1));
        return names;
    }

    bool is_started;
    PROGRESS_WIDGET splash{nullptr, Qt::WindowFlags()};
    Tallyline::StopWatch watch;
    DIALOG_ANSWERS answers;
};

bool is_checked(QTreeView* tree, int row)
{
    return tree->model()->index(row, 0).data(Qt::CheckStateRole).toInt() == Qt::Checked;
}

void tick(QTreeView* tree, int row)
{
    tree->setCurrentIndex(tree->model()->index(row, 0));
    QTest::keyClick(tree, Qt::Key_Space);
}

template <typename WINDOW>
WINDOW* as(QDialog* dialog)
{
    WINDOW* const window = qobject_cast<WINDOW*>(dialog);
    if (!window)
        qFatal("another window came up: %s", qPrintable(dialog->windowTitle()));
    return window;
}

// Ticks the raw file of that row and starts the build.
std::function<void(QDialog*)> choose(int row)
{
    return [row](QDialog* dialog) {
        auto* const window = as<DATA_SELECTION_DIALOG>(dialog);
        tick(window->ui.raw_data_files, row);
        QTest::mouseClick(window->ui.start_button, Qt::LeftButton);
    };
}

void wait_for_end(BUILD_PROGRESS_DIALOG* window)
{
    QTRY_COMPARE_WITH_TIMEOUT(window->windowTitle(), QStringLiteral("GOX - Done - "), 20000);
}

std::function<void(QDialog*)> press_at_end(const char* button)
{
    return [button](QDialog* dialog) {
        wait_for_end(as<BUILD_PROGRESS_DIALOG>(dialog));
        QTest::mouseClick(dialog->findChild<QPushButton*>(button), Qt::LeftButton);
    };
}

void wait_until_runs(BUILD_SESSION* session)
{
    QTRY_VERIFY_WITH_TIMEOUT(session->selected_actions.first()->state == ACTION_RUNNING, 20000);
}

} // namespace

void tst_run_cycle::choose_build_choose_again()
{
    CYCLE_SCENE scene(ALL_GOOD);
    scene.answers.answer_with(choose(0));
    scene.answers.answer_with(press_at_end("more_button"));
    QStringList kept;
    scene.answers.answer_with([&](QDialog* dialog) {
        QTreeView* const raw = as<DATA_SELECTION_DIALOG>(dialog)->ui.raw_data_files;
        kept << QString::number(is_checked(raw, 0)) << QString::number(is_checked(raw, 1));
        choose(1)(dialog);
    });
    scene.answers.answer_with(press_at_end("exit_button"));
    QVERIFY(scene.is_started);
    QCOMPARE(scene.run(), std::optional<int>(0));
    QCOMPARE(kept, QStringList({"1", "0"}));
    QCOMPARE(scene.executed(), QStringList({"one", "one", "two"}));
    QCOMPARE(scene.answers.waiting(), 0);
    QCOMPARE(scene.answers.unexpected, 0);
    QVERIFY(scene.tree.exists("working_data/two.out"));
}

void tst_run_cycle::nothing_chosen()
{
    CYCLE_SCENE scene(ALL_GOOD);
    scene.answers.answer_with([](QDialog* dialog) { dialog->close(); });
    QCOMPARE(scene.run(), std::optional<int>(0));
    QCOMPARE(scene.answers.texts, QStringList("GOX - Select Data Files To Build"));
}

void tst_run_cycle::cancelled_after_a_build()
{
    // The plan of the build is still there, and none of it has run since.
    CYCLE_SCENE scene(ALL_GOOD);
    scene.answers.answer_with(choose(0));
    scene.answers.answer_with(press_at_end("more_button"));
    scene.answers.answer_with([](QDialog* dialog) { dialog->close(); });
    QCOMPARE(scene.run(), std::optional<int>(1));
    QCOMPARE(scene.executed(), QStringList("one"));
}

void tst_run_cycle::aborted()
{
    CYCLE_SCENE scene(LONG);
    scene.answers.answer_with(choose(0));
    scene.answers.answer_with([&](QDialog* dialog) {
        wait_until_runs(scene.session);
        scene.answers.press_default();
        QTest::mouseClick(as<BUILD_PROGRESS_DIALOG>(dialog)->findChild<QPushButton*>("abort_button"),
                          Qt::LeftButton);
        QTest::mouseClick(dialog->findChild<QPushButton*>("exit_button"), Qt::LeftButton);
    });
    QCOMPARE(scene.run(), std::optional<int>(1));
    QVERIFY(scene.session->isFinished());
    QCOMPARE(scene.executed(), QStringList("one"));
    QCOMPARE(scene.answers.texts.last(), QStringLiteral("Aborted."));
}

void tst_run_cycle::window_closed_during_the_build()
{
    CYCLE_SCENE scene(LONG);
    scene.answers.answer_with(choose(0));
    scene.answers.answer_with([&](QDialog* dialog) {
        wait_until_runs(scene.session);
        dialog->close();
    });
    QCOMPARE(scene.run(), std::optional<int>(1));
    QVERIFY(scene.session->isFinished());
    QCOMPARE(scene.executed(), QStringList("one"));
}

void tst_run_cycle::interrupted_from_outside()
{
    CYCLE_SCENE scene(LONG);
    scene.configuration.silent = true;
    scene.answers.answer_with([&](QDialog*) {
        wait_until_runs(scene.session);
        scene.session->abort_flag = true;
        QTRY_VERIFY(!QApplication::activeModalWidget());
    });
    QCOMPARE(scene.run(), std::optional<int>(1));
    QCOMPARE(scene.executed(), QStringList("one"));
}

void tst_run_cycle::without_a_progress_window()
{
    CYCLE_SCENE scene(ALL_GOOD);
    scene.configuration.no_progress_dialog = true;
    scene.answers.answer_with(choose(1));
    QCOMPARE(scene.run(), std::optional<int>(0));
    QCOMPARE(scene.answers.texts, QStringList("GOX - Select Data Files To Build"));
    QCOMPARE(scene.executed(), QStringList("two"));
}

void tst_run_cycle::silent_with_the_window()
{
    CYCLE_SCENE scene(ALL_GOOD);
    scene.configuration.silent = true;
    bool closed_itself = false;
    scene.answers.answer_with([&](QDialog* dialog) {
        as<BUILD_PROGRESS_DIALOG>(dialog);
        QTRY_VERIFY_WITH_TIMEOUT(!dialog->isVisible(), 20000);
        closed_itself = true;
    });
    QCOMPARE(scene.run(), std::optional<int>(0));
    QVERIFY(closed_itself);
    QCOMPARE(scene.executed(), QStringList({"one", "two"}));
}

void tst_run_cycle::silent_failure_waits()
{
    CYCLE_SCENE scene("processor p\naction one\n ends 4\n");
    scene.configuration.silent = true;
    bool offers_more = true;
    scene.answers.answer_with([&](QDialog* dialog) {
        wait_for_end(as<BUILD_PROGRESS_DIALOG>(dialog));
        offers_more = dialog->findChild<QPushButton*>("more_button")->isVisible();
        QTest::mouseClick(dialog->findChild<QPushButton*>("exit_button"), Qt::LeftButton);
    });
    QCOMPARE(scene.run(), std::optional<int>(1));
    QVERIFY(!offers_more);
}

QTEST_MAIN(tst_run_cycle)
#include "tst_run_cycle.moc"
