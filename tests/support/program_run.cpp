#include "tests/support/program_run.h"

#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtCore/QThread>

#ifdef Q_OS_UNIX
#include <csignal>
#include <grp.h>
#include <unistd.h>
#endif

#include "tests/support/cases.h"
#include "tests/support/files.h"
#include "tests/support/temporary_tree.h"

namespace {

class CHILD_PROCESS : public QProcess
{
public:
    explicit CHILD_PROCESS(const PROGRAM_RUN& run) : m_run(run) {}

protected:
    // Runs in the child between fork and exec.
    void setupChildProcess() override
    {
#ifdef Q_OS_UNIX
        const uid_t nobody = 65534;
        if (m_run.unprivileged && ::getuid() == 0)
            if (::setgroups(0, nullptr) != 0 || ::setgid(nobody) != 0 || ::setuid(nobody) != 0)
                ::_exit(127);
        for (int stream = 0; m_run.closed_console && stream <= 2; ++stream)
            ::close(stream);
#endif
    }

private:
    const PROGRAM_RUN& m_run;
};

} // namespace

PROGRAM_RUN::PROGRAM_RUN(const TEMPORARY_TREE& tree) : m_tree(tree) {}

PROGRAM_RUN::~PROGRAM_RUN()
{
    if (m_process && m_process->state() != QProcess::NotRunning) {
        m_process->kill();
        m_process->waitForFinished();
    }
}

QProcessEnvironment PROGRAM_RUN::environment() const
{
    QProcessEnvironment result = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "LANGUAGE"})
        result.remove(name);
    for (const char* name : {"LANG", "LC_ALL"})
        result.insert(name, plain_locale ? "C" : "C.UTF-8");
    // Runs are too short for machine code of the plugin's expressions to be worth its making.
    result.insert("QT_ENABLE_REGEXP_JIT", "0");
    // No settings of the person who runs the tests are read or written.
    for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR"})
        result.insert(name, m_tree.path());
    if (IS_WINDOWS && !extra.contains("DISPLAY"))
        result.insert("QT_QPA_PLATFORM", "offscreen");
    result.insert(extra);
    return result;
}

bool PROGRAM_RUN::start(const QStringList& arguments)
{
    m_process = std::make_unique<CHILD_PROCESS>(*this);
    m_arguments = arguments;
    m_status = NOT_STARTED;
    m_process->setProcessEnvironment(environment());
    m_process->setWorkingDirectory(m_tree.path(folder));
    m_process->setStandardOutputFile(output_file);
    m_process->start(m_tree.program(), arguments, QIODevice::ReadOnly);
    return m_process->waitForStarted(limit);
}

int PROGRAM_RUN::wait()
{
    if (m_process->error() == QProcess::FailedToStart)
        return m_status;
    const bool hangs = m_process->state() != QProcess::NotRunning && !m_process->waitForFinished(limit);
    if (hangs) {
        m_process->kill();
        m_process->waitForFinished();
    }
    const bool crashed = m_process->exitStatus() != QProcess::NormalExit;
    signal = crashed ? m_process->exitCode() : 0;
    m_status = hangs ? int(HUNG) : crashed ? int(CRASHED) : m_process->exitCode();
    out = m_process->readAllStandardOutput();
    err = m_process->readAllStandardError();
    return m_status;
}

int PROGRAM_RUN::run(const QStringList& arguments)
{
    start(arguments);
    return wait();
}

bool PROGRAM_RUN::wait_for_text(const QString& file, const QByteArray& text)
{
    QElapsedTimer watch;
    watch.start();
    while (!FILES::bytes(file).contains(text)) {
        if (watch.elapsed() > limit || m_process->waitForFinished(0) ||
            m_process->state() == QProcess::NotRunning)
            return false;
        QThread::msleep(2);
    }
    return true;
}

void PROGRAM_RUN::send_signal(int number)
{
#ifdef Q_OS_UNIX
    if (m_process && m_process->state() == QProcess::Running)
        ::kill(pid_t(m_process->processId()), number);
#else
    Q_UNUSED(number)
#endif
}

QByteArray PROGRAM_RUN::report() const
{
    return "gox " + m_arguments.join(' ').toUtf8() + " ended with " + QByteArray::number(m_status) +
           "\nstandard output:\n" + out + "\nstandard error:\n" + err;
}
