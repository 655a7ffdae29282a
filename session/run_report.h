#pragma once

#include <QtCore/QFile>
#include <QtCore/QString>

/// What an unattended run tells the console, so that a build engineer can follow
/// it in the output of the job. Off until `start` is called; a run with a person
/// in front of it stays quiet. One thread writes at a time: the GUI thread, or
/// the build thread while the GUI thread waits for it.
namespace RUN_REPORT {

void start();
bool is_on();

/// One line to standard output; line ends in the text become blanks.
void line(const QString& text);

/// Something that does not stop the run and may still not be what was meant, such
/// as a name that leads nowhere: one line to standard output, marked as a remark
/// and counted, so that the summary can say how many there were.
void remark(const QString& text);
int remarks(); ///< how many there have been

/// A text to standard error, whether the report is on or not, as it stands.
void error(const QString& text);

} // namespace RUN_REPORT

/// Opens a log for writing, which empties it. False when that can't be done, or
/// when a pipe has the log's name, since that would wait for a reader; only the
/// console of an unattended run hears of that.
bool open_log(QFile& log);

/// Shows an error as a message box (title "GOX", button Ok), or, where the mode
/// of the run hides the box, tells it to standard error alone. GUI thread.
void show_error_box(const QString& text, bool hidden);
