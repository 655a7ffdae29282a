#pragma once

#include <QtCore/QStringList>

/// What an unattended run tells the console, so that a build engineer can follow
/// it in the output of the job. Off until `start` is called; a run with a person
/// in front of it stays quiet. The build thread and the GUI thread both write:
/// each text goes out whole, whoever else writes.
namespace RUN_REPORT {

void start();
bool is_on();

/// One line to standard output; line ends in the text become blanks.
void line(const QString& text);

/// Several in one go, for who has a great many of them.
void lines(const QStringList& texts);

/// A line that says which step the run comes to. A crash names the step too,
/// whether the report is on or not.
void step(const QString& text);

/// Something that does not stop the run and may still not be what was meant, such
/// as a name that leads nowhere: one line to standard output, marked as a remark
/// and kept, so that the summary can say how many there were. GUI thread.
void remark(const QString& text);
const QStringList& remarks(); ///< all that there have been

/// Keeps an error of the start-up, which whoever meets it tells. GUI thread.
void keep_error(const QString& text);
const QStringList& kept_errors();

/// Whether the report is on and goes to a terminal, where `progress` works.
bool has_terminal();

/// Shows the text behind the last line, in place of what this showed before, cut
/// to the width of the terminal. The next line that is told takes its place. Not
/// without a terminal.
void progress(const QString& text);

/// What takes such a text away and brings the cursor back to the start of the
/// line; empty where there was none. Safe in a signal handler.
const char* line_eraser();

/// A text to standard error, whether the report is on or not, as it stands.
void error(const QString& text);

} // namespace RUN_REPORT
