#pragma once

#include <QtCore/QString>

/// From here on a crash leaves a last word: a fatal signal, or an exception that
/// nobody catches, writes what the process was at (WORK_AT_HAND), the cause and
/// the call stack to standard error and into call_stack.txt in the folder that is
/// the current one now. The process then ends as it would have ended without
/// that. Main thread, ahead of all others.
///
/// Programs that are built with a sanitizer leave the signals to it.
void install_crash_report();

/// From here on the last word goes into the file of this name in the folder that is the
/// current one now. Main thread.
void name_call_stack(const QString& name);

/// From here on the last word goes to standard error alone.
void leave_no_call_stack();

/// While one lives, nobody but the program itself is to end the process: an exit()
/// leaves a last word too, and its status is 1 in place of 0. The latest one
/// should be younger than the libraries that may call exit(), because what they do
/// at the end comes first otherwise. Main thread.
class EXIT_WATCH
{
public:
    EXIT_WATCH();
    ~EXIT_WATCH();

private:
    Q_DISABLE_COPY(EXIT_WATCH)
};
