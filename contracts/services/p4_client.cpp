#include "contracts/services/p4_client.h"

#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtCore/QProcess>
#include <QtCore/QStandardPaths>

#include "contracts/services/p4_text.h"

namespace {

const int WAIT_FOR_END = 5000; // milliseconds for a client that was told to end

QByteArray input_of(const QStringList& names)
{
    QByteArray input;
    for (const QString& name : names)
        input += P4_TEXT::encode(name) + '\n';
    return input;
}

QStringList arguments_of(const P4_CALL& call)
{
    // Without a folder the client would take the one that the calling shell
    // noted in PWD, and look for its settings there.
    QStringList arguments{QStringLiteral("-d"), QDir::toNativeSeparators(QDir::currentPath())};
    arguments += call.global_options;
    if (!call.names.isEmpty())
        arguments += {QStringLiteral("-x"), QStringLiteral("-")};
    arguments.append(call.command);
    return arguments + call.options;
}

QProcessEnvironment english_environment()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("P4LANGUAGE"), QStringLiteral("en"));
    return environment;
}

QByteArray without_line_end(QByteArray line)
{
    if (line.endsWith('\n'))
        line.chop(1);
    if (line.endsWith('\r'))
        line.chop(1);
    return line;
}

// One run of the client: feeds the lines to the sink while it is going on.
class CLIENT_RUN
{
public:
    CLIENT_RUN(const P4_CALL& call, const P4_CLIENT::LINE_SINK& take_line, int time_limit)
        : m_call(call), m_take_line(take_line), m_time_limit(time_limit)
    {
        m_watch.start();
        // A wait for output has no end while complaints go on, and stores them.
        QObject::connect(&m_process, &QProcess::readyReadStandardError, [this] {
            take_complaints();
            if (is_late())
                m_process.kill();
        });
    }

    P4_ANSWER carry_through(const QString& program)
    {
        m_process.setProcessEnvironment(english_environment());
        m_process.start(program, arguments_of(m_call));
        if (!m_process.waitForStarted(m_time_limit)) {
            fail(QStringLiteral("The Perforce client %1 could not be started: %2")
                     .arg(QDir::toNativeSeparators(program), m_process.errorString()));
        } else {
            m_process.write(input_of(m_call.names));
            m_process.closeWriteChannel();
            follow();
        }
        end_process();
        take_complaints();
        m_answer.complaints.finish();
        return m_answer;
    }

private:
    void fail(const QString& text)
    {
        if (m_answer.failure.isEmpty())
            m_answer.failure = text;
    }
    bool failed() const { return !m_answer.failure.isEmpty(); }

    void follow()
    {
        while (!failed() && m_process.state() != QProcess::NotRunning) {
            const int left = int(m_time_limit - m_watch.elapsed());
            if (left <= 0)
                return fail_for_time();
            // Standard output may be closed long before the client ends.
            if (!m_process.waitForReadyRead(left) && m_process.state() != QProcess::NotRunning)
                m_process.waitForFinished(qMin(left, 50));
            take_output(false);
        }
        take_output(true);
        if (!failed() && is_late() && m_process.exitStatus() != QProcess::NormalExit)
            fail_for_time();
        if (!failed())
            judge_end();
    }

    bool is_late() const { return m_watch.elapsed() >= m_time_limit; }

    void fail_for_time()
    {
        fail(QStringLiteral("The Perforce client did not end within %1 seconds (p4 %2) and was stopped. See "
                            "whether the Perforce server answers, with \"p4 info\".")
                 .arg(m_time_limit / 1000.0)
                 .arg(m_call.command));
    }

    void take_complaints() { m_answer.complaints.add(m_process.readAllStandardError()); }

    void take_output(bool is_all)
    {
        while (!failed() && (m_process.canReadLine() || (is_all && m_process.bytesAvailable() > 0))) {
            const QByteArray line = m_process.readLine(P4_CLIENT::MAX_LINE + 1);
            if (line.size() >= P4_CLIENT::MAX_LINE)
                fail_for_long_line();
            else
                fail(m_take_line(without_line_end(line)));
        }
        if (!failed() && m_process.bytesAvailable() >= P4_CLIENT::MAX_LINE && !m_process.canReadLine())
            fail_for_long_line();
    }

    void fail_for_long_line()
    {
        fail(QStringLiteral("The Perforce client gave a line of more than %1 bytes (p4 %2), which no answer "
                            "of Perforce has.")
                 .arg(P4_CLIENT::MAX_LINE)
                 .arg(m_call.command));
    }

    void judge_end()
    {
        m_answer.exit_code = m_process.exitCode();
        if (m_process.exitStatus() != QProcess::NormalExit)
            fail(QStringLiteral("The Perforce client ended unexpectedly (p4 %1). Try \"p4 info\" in a "
                                "command window, and install the client anew if that fails too.")
                     .arg(m_call.command));
    }

    void end_process()
    {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.kill();
        m_process.waitForFinished(WAIT_FOR_END);
    }

    const P4_CALL& m_call;
    const P4_CLIENT::LINE_SINK& m_take_line;
    const int m_time_limit;
    QElapsedTimer m_watch;
    QProcess m_process;
    P4_ANSWER m_answer;
};

} // namespace

P4_ANSWER P4_CLIENT::run(const P4_CALL& call, const LINE_SINK& take_line) const
{
    // The file itself and not its name: the system might look in other places
    // first, such as the current folder.
    const QString program = QStandardPaths::findExecutable(QStringLiteral("p4"));
    if (program.isEmpty()) {
        P4_ANSWER answer;
        answer.failure = QStringLiteral("The Perforce client \"p4\" was not found. Install the command line "
                                        "client of Perforce and see that its folder stands in PATH.");
        return answer;
    }
    return CLIENT_RUN(call, take_line, time_limit).carry_through(program);
}
