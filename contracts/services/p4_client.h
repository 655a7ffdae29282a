#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <functional>

#include "contracts/services/p4_complaints.h"

/// One call of the `p4` command line client.
struct P4_CALL
{
    QStringList global_options; ///< ahead of the command, such as "-ztag"
    QString command;            ///< "edit", "fstat" and the like
    QStringList options;        ///< of the command
    QStringList names;          ///< what it works on, as Perforce spells it; no line ends in them
};

/// What became of a call.
struct P4_ANSWER
{
    QString failure; ///< why the call could not be carried through; empty when the client ended by itself
    P4_COMPLAINTS complaints;
    int exit_code = 0;
};

/// Runs the client found on PATH, never through a shell. The names go to its
/// standard input, so a list of any length fits whatever the system's limit of a
/// command line is; behind them the input is closed, so a client that asks a
/// question gets no answer and fails. It works from the current folder and
/// speaks English, as its complaints are read here.
///
/// A call blocks until the client has ended, at most for the time limit, however
/// much it writes; then the client is ended. No event loop is needed and none is run. Any one thread
/// at a time.
class P4_CLIENT
{
public:
    /// Takes one line of standard output, without its line end. A text that is
    /// not empty ends the client, and is the failure of the call.
    using LINE_SINK = std::function<QString(const QByteArray& line)>;

    static constexpr int MAX_LINE = 1 << 20; ///< bytes; a longer line fails the call

    P4_ANSWER run(const P4_CALL& call, const LINE_SINK& take_line) const;

    int time_limit = 60000; ///< of one call, in milliseconds
};
