#pragma once

#include <QtCore/QProcess>

#include <csignal>

#include "tests/record/build_model.h"
#include "tests/support/temporary_tree.h"

const QString RUNNER = QStringLiteral("tool/runner." GOX_BUILD_TAG ".bin");

/// Runs of the program in one process or in its children; see quick_runs.cpp.
class QUICK_RUNS
{
public:
    QUICK_RUNS(const TEMPORARY_TREE& disk, const QStringList& arguments)
        : m_disk(disk), m_arguments(arguments)
    {
    }
    ~QUICK_RUNS() { end(); }

    void start(const BUILD_MODEL::RUN& how, int number = 0, int count = 0)
    {
        if (m_runs++ % MOST_RUNS == 0)
            begin();
        const QString what = how.only_out_of_date ? "incremental" : "whole";
        m_process.write(QString("%1 %2 %3\n").arg(what).arg(number).arg(count).toUtf8());
        m_child = next_number();
    }

    // False when the run has ended without it.
    bool wait_for_text(const QString& file, const QByteArray& text)
    {
        while (!m_disk.read(file).contains(text))
            if (m_process.canReadLine() || m_process.waitForReadyRead(2))
                return false;
        return true;
    }

    void send_signal(int number) { ::kill(m_child, number); }
    int wait() { return next_number(); } ///< the status

private:
    static const int MOST_RUNS = 200; // of one process, which does not give all back

    void begin()
    {
        end();
        m_process.setWorkingDirectory(m_disk.path("tool"));
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(m_disk.path(RUNNER), m_arguments);
    }

    void end()
    {
        m_process.closeWriteChannel();
        m_process.waitForFinished();
    }

    int next_number()
    {
        while (!m_process.canReadLine())
            if (!m_process.waitForReadyRead(20000))
                qFatal("a run hangs");
        return m_process.readLine().trimmed().toInt();
    }

    const TEMPORARY_TREE& m_disk;
    const QStringList m_arguments;
    QProcess m_process;
    int m_runs = 0;
    int m_child = 0;
};
