#include <QtNetwork/QUdpSocket>
#include <QtTest/QtTest>
#include <QtWidgets/QDialog>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QTreeView>

#include <cstdio>

#include "app/run_cycle.h"
#include "contracts/services/file_stamp.h"
#include "tests/plugins/scripted_processor.h"
#include "tests/session/step_scene.h"
#include "tests/support/cases.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/watched_test.h"
#include "tests/support/window_text.h"

namespace {

// A session that has started up over two raw files, the cycle over it, and what
// comes of it in the order in which it comes.
class ROAD : public STEP_SCENE
{
public:
    explicit ROAD(const TEST_CASE& one) : m_persons(one.lines("person"))
    {
        if (!m_server.bind(QHostAddress::LocalHost, 0, QUdpSocket::DontShareAddress))
            qFatal("%s", qPrintable(m_server.errorString()));
        configuration.silent = one["set"].contains("silent");
        configuration.no_progress_dialog = one["set"].contains("no_progress_dialog");
        tree.write("raw_data/one.txt", "1", FILES::hour(1));
        tree.write("raw_data/two.txt", "2", FILES::hour(1));
        session->processors = scripted_processors(
            SCRIPT::parse("trace trace.txt\nprocessor p\n" + one["script"], "script"), tree.path("tool"));
        const QString library = QCoreApplication::applicationFilePath();
        session->library_stamps.insert(library, stamp_of_file(library));
        for (const PROCESSOR_INTERFACE* processor : qAsConst(session->processors))
            session->processor_libraries.insert(processor, library);
        for (int i = 0; i < m_persons.size(); ++i)
            m_answers.answer_with([this](QDialog* dialog) { answer(*dialog, m_persons.takeFirst()); });
    }

    QString run()
    {
        start_up();
        PROGRESS_WIDGET splash(nullptr, Qt::WindowFlags());
        splash.show();
        Tallyline::StopWatch watch;
        Tallyline::Context packets("localhost", m_server.localPort(), "GOX", 44);
        INCREMENTAL_PLAN plan;
        RUN_CYCLE cycle(*session, configuration, {}, plan, p4, splash, packets, watch, {true, true, false});
        const auto status = cycle.run();
        note_packets();
        for (const QString& call : QString::fromUtf8(tree.read("tool/trace.txt")).split('\n'))
            if (call.contains(" execute "))
                m_log.append("executed " + call.section(' ', -1));
        for (ACTION_INTERFACE* action : qAsConst(session->actions))
            if (action->output.contains("nothing to do"))
                m_log.append(action->display_text(false) + " had nothing to do");
        m_log.append("splash: " + splash.progress() + (splash.isVisible() ? " still there" : ""));
        m_log.append((status ? QString("status %1").arg(*status) : QString("failure")) +
                     (cycle.was_stopped() ? ", stopped" : ""));
        if (session->isRunning() || m_answers.waiting() || m_answers.unexpected)
            m_log.append("not at an end: " + m_answers.texts.join(", "));
        return m_log.join('\n');
    }

private:
    void note_packets()
    {
        for (; m_server.hasPendingDatagrams();) {
            QByteArray packet(int(m_server.pendingDatagramSize()), 0);
            m_server.readDatagram(packet.data(), packet.size());
            const QString fields = QString::fromUtf8(packet).section(' ', 1).trimmed();
            m_log.append("packet " + QString(fields).replace(QRegularExpression("Secs=\\d+i"), "Secs=*"));
        }
    }

    void answer(QDialog& dialog, const QString& acts)
    {
        note_packets();
        m_log.append(qobject_cast<QMessageBox*>(&dialog) ? "box" : dialog.objectName());
        for (const QString& act : acts.split(", "))
            take(dialog, act.section(' ', 0, 0), act.section(' ', 1));
    }

    void take(QDialog& dialog, const QString& word, const QString& name)
    {
        QTreeView* const raw = dialog.findChild<QTreeView*>("raw_data_files");
        if (word == "tick") {
            raw->setCurrentIndex(raw->model()->index(name.toInt(), 0));
            QTest::keyClick(raw, Qt::Key_Space);
            m_log.append(WINDOW_TEXT::rows(*raw));
        } else if (word == "press") {
            auto* const button = dialog.findChild<QPushButton*>(name);
            m_log.append((button->isVisible() ? "press " : "hidden ") + name);
            if (button->isVisible())
                QTest::mouseClick(button, Qt::LeftButton);
        } else if (word == "ends") {
            QTRY_COMPARE_WITH_TIMEOUT(dialog.windowTitle(), QString("GOX - Done - "), 20000);
        } else if (word == "closes") {
            QTRY_VERIFY_WITH_TIMEOUT(!dialog.isVisible(), 20000);
        } else if (word == "runs") {
            QTRY_VERIFY_WITH_TIMEOUT(tree.read("tool/trace.txt").contains("execute one"), 20000);
        } else if (word == "interrupt") {
            session->abort_flag = true;
        } else if (word == "agree") {
            auto* const button = qobject_cast<QPushButton*>(dialog.focusWidget());
            button ? button->click() : dialog.reject();
        } else {
            dialog.close();
        }
    }

    QStringList m_persons; // what is done in each window
    QStringList m_log;
    QUdpSocket m_server;
    DIALOG_ANSWERS m_answers;
};

} // namespace

/// The cycle of choosing, building and choosing again, as a person drives it.
class TST_RUN_CYCLE : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void roads_data() { add_cases("app/run_cycle.cases", {"script", "set", "person", "log"}); }
    void roads()
    {
        const QString asked = QString("roads:%1").arg(QTest::currentDataTag());
        if (!QCoreApplication::arguments().contains(asked))
            return take_road_alone(asked);
        const TEST_CASE one = current_case();
        ROAD road(one);
        GOX_COMPARE_TEXT(road.run(), one["log"]);
    }

private:
    // The cycle keeps its selection window for the length of the process. What the
    // process says is this one's, so that a warning of Qt in it fails the test.
    static void take_road_alone(const QString& road)
    {
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(QCoreApplication::applicationFilePath(), {road});
        QVERIFY2(process.waitForFinished(120000), qPrintable(process.errorString()));
        const QByteArray output = process.readAll();
        std::puts(output.constData());
        QVERIFY(process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0);
        QVERIFY(output.contains("3 passed")); // the road has been found
    }
};

QTEST_MAIN(TST_RUN_CYCLE)
#include "tst_run_cycle.moc"
