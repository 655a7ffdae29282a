#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QProcess>
#include <QtCore/QStringList>

#include <memory>

class TEMPORARY_TREE;

/// One run of the program in the `tool/` folder of a tree, without a display
/// unless told otherwise. A run that takes longer than its limit is killed and
/// counts as hung, so that no test waits for a button that nobody presses.
class PROGRAM_RUN
{
public:
    explicit PROGRAM_RUN(const TEMPORARY_TREE& tree);
    ~PROGRAM_RUN(); ///< kills a program that still runs

    /// What to set before `start`.
    int limit = 20000;                       ///< milliseconds
    bool plain_locale = false;               ///< LANG and LC_ALL are "C"
    bool unprivileged = false;               ///< permissions count, also when the tests run as root
    bool closed_console = false;             ///< without standard input, output and error
    QString folder = QStringLiteral("tool"); ///< the current folder of the run, relative to the tree
    QString output_file;                     ///< where standard output goes instead of `out`, if not empty
    QProcessEnvironment extra;               ///< more environment variables

    static const int HUNG = -1;
    static const int CRASHED = -2;
    static const int NOT_STARTED = -3;

    /// Runs to the end. Gives the exit status, or one of the values above.
    int run(const QStringList& arguments = QStringList());

    /// The same in two steps, for a test that does something meanwhile.
    bool start(const QStringList& arguments = QStringList());
    int wait();

    /// Waits until the file holds the text; false when the limit is over or the
    /// program has ended.
    bool wait_for_text(const QString& file, const QByteArray& text);

    void send_signal(int number);
    qint64 number() const { return m_process->processId(); } ///< of the process

    QByteArray out; ///< standard output, once the run has ended
    QByteArray err; ///< standard error, once the run has ended
    int signal = 0; ///< that ended a run which crashed

    /// All that there is to say about the run, for a failure message.
    QByteArray report() const;

private:
    Q_DISABLE_COPY(PROGRAM_RUN)

    QProcessEnvironment environment() const;

    const TEMPORARY_TREE& m_tree;
    std::unique_ptr<QProcess> m_process;
    QStringList m_arguments;
    int m_status = NOT_STARTED;
};

/// Fails the test, with all that the run has to say, unless it ended with
/// `expected`.
#define GOX_COMPARE_STATUS(status, expected, run)                                                            \
    do {                                                                                                     \
        const int the_status = (status);                                                                     \
        QVERIFY2(the_status == (expected), (run).report().constData());                                      \
    } while (false)
