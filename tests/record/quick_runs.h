#pragma once

#include <QtCore/QFile>
#include <QtCore/QProcess>

#include <csignal>

#include "tests/support/temporary_tree.h"

const QString RUNNER = QStringLiteral("tool/runner." GOX_BUILD_TAG ".bin");

/// Runs of the program as children of one process, which has started up once; see
/// quick_runs.cpp. Puts the program into the tree.
class QUICK_RUNS
{
public:
    explicit QUICK_RUNS(const TEMPORARY_TREE& disk) : m_disk(disk)
    {
        disk.lay_out_program();
        QFile::copy(GOX_RUNNER, disk.path(RUNNER));
        m_process.setWorkingDirectory(disk.path("tool"));
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(disk.path(RUNNER), QStringList());
    }
    ~QUICK_RUNS()
    {
        m_process.closeWriteChannel();
        m_process.waitForFinished();
    }

    /// The share; 0 of 0 is all.
    void start(bool only_out_of_date, int number = 0, int count = 0)
    {
        const QString what = only_out_of_date ? "incremental" : "whole";
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
    int next_number()
    {
        while (!m_process.canReadLine())
            if (!m_process.waitForReadyRead(20000))
                qFatal("a run hangs");
        return m_process.readLine().trimmed().toInt();
    }

    const TEMPORARY_TREE& m_disk;
    QProcess m_process;
    int m_child = 0;
};
